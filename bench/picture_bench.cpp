// Bitmap file speed of CPicture on a 12-megapixel picture (4000 x 3000): whole loads and stores,
// and reduced previews that read only the sampled rows. The plain read and write of the same bytes
// are the floor the file operations are compared with.
#include "picture/picture.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

// The test picture's file, written once at start-up and removed at exit.
class PictureFile {
 public:
  PictureFile() {
    const auto dir = std::filesystem::temp_directory_path();
    const std::string stem = "vardell-bench-" + std::to_string(::getpid());
    m_path = (dir / (stem + ".bmp")).string();
    m_out = (dir / (stem + "-out.bmp")).string();
    CPicture p;
    p.CreatePicture(kWidth, kHeight, 0);
    for (int y = 0; y < kHeight; ++y) {
      BYTE* row = p.GetLineBuffer(y);
      for (int x = 0; x < 3 * kWidth; ++x) row[x] = static_cast<BYTE>(x * 7 + y * 13);
    }
    p.StorePicture(m_path.c_str(), 0, 0, 0);
  }
  ~PictureFile() {
    std::error_code ec;
    std::filesystem::remove(m_path, ec);
    std::filesystem::remove(m_out, ec);
  }
  const std::string& path() const { return m_path; }
  const std::string& out() const { return m_out; }

 private:
  std::string m_path, m_out;
};

const PictureFile& File() {
  static const PictureFile file;
  return file;
}

void SetBytes(benchmark::State& state, std::int64_t bytes) {
  state.SetBytesProcessed(state.iterations() * bytes);
}

void BM_LoadBitmap(benchmark::State& state) {
  CPicture p;
  for (auto _ : state) {
    if (!p.LoadPicture(File().path().c_str())) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(p.GetBuffer());
  }
  SetBytes(state, p.GetDataSize());
}
BENCHMARK(BM_LoadBitmap)->Unit(benchmark::kMillisecond);

void BM_StoreBitmap(benchmark::State& state) {
  CPicture p;
  p.LoadPicture(File().path().c_str());
  for (auto _ : state)
    if (!p.StorePicture(File().out().c_str(), 0, 0, 0)) state.SkipWithError("store failed");
  SetBytes(state, p.GetDataSize());
}
BENCHMARK(BM_StoreBitmap)->Unit(benchmark::kMillisecond);

// LoadPicture(path, 1, n): the preview reads every n-th row and keeps every n-th column.
void BM_LoadPreview(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  CPicture p;
  for (auto _ : state) {
    if (!p.LoadPicture(File().path().c_str(), 1, n)) state.SkipWithError("preview failed");
    benchmark::DoNotOptimize(p.GetBuffer());
  }
  state.counters["rows"] = p.Height();
}
BENCHMARK(BM_LoadPreview)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);

// Floors: the same bytes read in one call into a fresh buffer, and written in one call.
void BM_FloorReadFile(benchmark::State& state) {
  const auto size = std::filesystem::file_size(File().path());
  for (auto _ : state) {
    std::unique_ptr<BYTE[]> bytes(new BYTE[size]);
    const int fd = ::open(File().path().c_str(), O_RDONLY);
    benchmark::DoNotOptimize(::read(fd, bytes.get(), size));
    ::close(fd);
  }
  SetBytes(state, static_cast<std::int64_t>(size));
}
BENCHMARK(BM_FloorReadFile)->Unit(benchmark::kMillisecond);

void BM_FloorWriteFile(benchmark::State& state) {
  const auto size = std::filesystem::file_size(File().path());
  std::vector<BYTE> bytes(size, 0x55);
  for (auto _ : state) {
    const int fd = ::open(File().out().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    benchmark::DoNotOptimize(::write(fd, bytes.data(), size));
    ::close(fd);
  }
  SetBytes(state, static_cast<std::int64_t>(size));
}
BENCHMARK(BM_FloorWriteFile)->Unit(benchmark::kMillisecond);

}  // namespace
