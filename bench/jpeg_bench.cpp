// Decoding a 12-megapixel JPEG with ReadBitmap at 1/1, 1/2, 1/4 and 1/8, side by side with
// libjpeg-turbo's TurboJPEG decoder called directly into the same bottom-up padded layout.
// Both sides get a fresh destination buffer each time (ReadBitmap must hand out a new one);
// TurboJpegReusedBuffer shows what that allocation costs. ReadBitmap reads the file each time,
// TurboJPEG decodes from memory.
#include "jpegcodec/jpeg_codec.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

#ifdef VARDELL_HAVE_TURBOJPEG
#include <turbojpeg.h>
#endif

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

std::size_t Stride(int width) { return std::size_t(width * 24 + 31) / 32 * 4; }

// coffee.jpg decoded at 16/8 and enlarged bilinearly to 4000 x 3000, so the file has real picture
// content, stored once at quality 90 in a temporary file.
class TestPicture {
 public:
  TestPicture() {
    int sw = 0, sh = 0;
    BYTE* src = ReadBitmap(VARDELL_SAMPLES_DIR "/coffee.jpg", &sw, &sh, 16, 8);
    if (!src) return;
    const std::size_t sstride = Stride(sw), stride = Stride(kWidth);
    std::vector<BYTE> big(stride * kHeight);
    for (int y = 0; y < kHeight; ++y) {
      const int fy = y * (sh - 1) * 256 / (kHeight - 1);  // 8-bit fractions
      const BYTE* r0 = src + std::size_t(fy >> 8) * sstride;
      const BYTE* r1 = (fy >> 8) + 1 < sh ? r0 + sstride : r0;
      BYTE* out = big.data() + std::size_t(y) * stride;
      for (int x = 0; x < kWidth; ++x) {
        const int fx = x * (sw - 1) * 256 / (kWidth - 1);
        const int x0 = fx >> 8, x1 = x0 + 1 < sw ? x0 + 1 : x0, ax = fx & 255, ay = fy & 255;
        for (int c = 0; c < 3; ++c) {
          const int top = r0[3 * x0 + c] * (256 - ax) + r0[3 * x1 + c] * ax;
          const int bottom = r1[3 * x0 + c] * (256 - ax) + r1[3 * x1 + c] * ax;
          out[3 * x + c] = BYTE((top * (256 - ay) + bottom * ay + 32768) >> 16);
        }
      }
    }
    delete[] src;
    m_path = (std::filesystem::temp_directory_path() /
              ("vardell_jpeg_bench_" + std::to_string(::getpid()) + ".jpg"))
                 .string();
    if (!StoreBitmap(big.data(), CSize(kWidth, kHeight), m_path.c_str(), 0, 0, 90)) return;
    std::ifstream in(m_path, std::ios::binary);
    m_bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  ~TestPicture() {
    if (!m_path.empty()) std::remove(m_path.c_str());
  }
  const std::string& path() const { return m_path; }
  const std::vector<unsigned char>& bytes() const { return m_bytes; }
  bool ok() const { return !m_bytes.empty(); }

 private:
  std::string m_path;
  std::vector<unsigned char> m_bytes;
};

const TestPicture& Picture() {
  static TestPicture picture;
  return picture;
}

void ReadBitmapScaled(benchmark::State& state) {
  const TestPicture& picture = Picture();
  if (!picture.ok()) return state.SkipWithError("could not make the test picture");
  const int den = static_cast<int>(state.range(0));
  for (auto _ : state) {
    int w = 0, h = 0;
    BYTE* bits = ReadBitmap(picture.path().c_str(), &w, &h, 1, den);
    if (!bits) return state.SkipWithError("ReadBitmap failed");
    benchmark::DoNotOptimize(bits);
    delete[] bits;
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t(kWidth / den) * (kHeight / den));
}
BENCHMARK(ReadBitmapScaled)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);

#ifdef VARDELL_HAVE_TURBOJPEG
void TurboJpeg(benchmark::State& state, bool reuse) {
  const TestPicture& picture = Picture();
  if (!picture.ok()) return state.SkipWithError("could not make the test picture");
  const int den = static_cast<int>(state.range(0));
  const int w = kWidth / den, h = kHeight / den;
  const std::size_t stride = Stride(w), bytes = stride * (h + 1) + 8;
  tjhandle handle = tjInitDecompress();
  std::vector<BYTE> reused(reuse ? bytes : 0);
  for (auto _ : state) {
    BYTE* bits = reuse ? reused.data() : new BYTE[bytes];
    if (tjDecompress2(handle, picture.bytes().data(), picture.bytes().size(), bits, w,
                      static_cast<int>(stride), h, TJPF_BGR, TJFLAG_BOTTOMUP) != 0) {
      state.SkipWithError(tjGetErrorStr2(handle));
      if (!reuse) delete[] bits;
      break;
    }
    benchmark::DoNotOptimize(bits);
    if (!reuse) delete[] bits;
  }
  tjDestroy(handle);
  state.SetItemsProcessed(state.iterations() * std::int64_t(w) * h);
}
// What a caller of the direct decoder does for one file: read it, make a decompressor, decode into
// a new buffer. This is the like-for-like peer of ReadBitmap, which starts from a path.
void TurboJpegFromFile(benchmark::State& state) {
  const TestPicture& picture = Picture();
  if (!picture.ok()) return state.SkipWithError("could not make the test picture");
  const int den = static_cast<int>(state.range(0));
  const int w = kWidth / den, h = kHeight / den;
  const std::size_t stride = Stride(w), bytes = stride * (h + 1) + 8;
  for (auto _ : state) {
    std::FILE* f = std::fopen(picture.path().c_str(), "rb");
    if (!f) return state.SkipWithError("cannot open the test picture");
    std::vector<BYTE> data(picture.bytes().size());
    const std::size_t got = std::fread(data.data(), 1, data.size(), f);
    std::fclose(f);
    tjhandle handle = tjInitDecompress();
    BYTE* bits = new BYTE[bytes];
    const int rc = tjDecompress2(handle, data.data(), got, bits, w, static_cast<int>(stride), h,
                                 TJPF_BGR, TJFLAG_BOTTOMUP);
    tjDestroy(handle);
    benchmark::DoNotOptimize(bits);
    delete[] bits;
    if (rc != 0) return state.SkipWithError("tjDecompress2 failed");
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t(w) * h);
}
BENCHMARK(TurboJpegFromFile)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);

void TurboJpegFreshBuffer(benchmark::State& state) { TurboJpeg(state, false); }
void TurboJpegReusedBuffer(benchmark::State& state) { TurboJpeg(state, true); }
BENCHMARK(TurboJpegFreshBuffer)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(TurboJpegReusedBuffer)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
