#include "jpegcodec/jpeg_codec.h"
#include "jpegcodec/jpeg_codec_internal.h"
#include "jpeg_test_util.h"

#include <cmath>
#include <cstdio>

#include <jpeglib.h>

namespace vardell::test {
namespace {

// A sample, and chelsea.bmp (451 x 300, sizes no scale divides) stored as a 4:2:0 JPEG: our sizes
// truncate and keep the decoder's pixels; other ratios sample the smallest covering scale (2/16 is
// 1/8).
TEST(ReadBitmap, ScalesAndRatiosEqualDjpeg) {
  if (!HaveDjpeg()) GTEST_SKIP() << "djpeg not found";
  TempDir dir;
  const std::string coffee = SamplePath("coffee.jpg");
  int error = -1;
  EXPECT_EQ(GetBitmapSize(coffee.c_str(), &error), CSize(600, 400));
  EXPECT_EQ(error, 0);
  // Its markers are longer than the read buffer.
  EXPECT_EQ(GetBitmapSize(SamplePath("astronaut.jpg").c_str(), nullptr), CSize(512, 512));
  for (int m : {1, 8, 16}) ExpectLikeDjpeg(coffee, CSize(600, 400), m, 8, m, FALSE, dir);
  ExpectLikeDjpeg(coffee, CSize(600, 400), 3, 8, 3, TRUE, dir);
  Dib bmp = LoadBmp(SamplePath("chelsea.bmp"));
  const std::string path = dir.File("chelsea.jpg");
  ASSERT_TRUE(StoreBitmap(bmp.bits.data(), CSize(451, 300), path.c_str(), 0, 0, 85));
  for (auto [num, den, m] : {std::tuple{5, 8, 5}, {2, 16, 1}, {2, 3, 6}, {5, 2, 16}})
    ExpectLikeDjpeg(path, CSize(451, 300), num, den, m, FALSE, dir);
}

// A 4-component file written the way Adobe does (inverted CMYK, Adobe marker), plain or YCCK.
std::string CmykJpeg(const TempDir& dir, J_COLOR_SPACE space) {
  const std::string path = dir.File(space == JCS_YCCK ? "ycck.jpg" : "cmyk.jpg");
  std::FILE* file = std::fopen(path.c_str(), "wb");
  jpeg_compress_struct c{};
  jpeg_error_mgr err;
  c.err = jpeg_std_error(&err);
  jpeg_create_compress(&c);
  jpeg_stdio_dest(&c, file);
  c.image_width = 67, c.image_height = 45, c.input_components = 4, c.in_color_space = JCS_CMYK;
  jpeg_set_defaults(&c);
  jpeg_set_colorspace(&c, space);
  jpeg_start_compress(&c, TRUE);
  std::vector<JSAMPLE> row(67 * 4);
  for (int y = 0; y < 45; ++y) {
    for (int x = 0; x < 67; ++x) {
      JSAMPLE* p = &row[4 * x];
      p[0] = JSAMPLE(x * 255 / 66), p[1] = JSAMPLE(y * 255 / 44), p[2] = JSAMPLE((x + y) * 2);
      p[3] = JSAMPLE(255 - x * y / 12);
    }
    JSAMPROW r = row.data();
    jpeg_write_scanlines(&c, &r, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  std::fclose(file);
  return path;
}

// Four-component files become RGB as djpeg makes it; their grey is that RGB's luma.
TEST(ReadBitmap, CmykAndYcckBecomeRgbLikeDjpeg) {
  if (!HaveDjpeg()) GTEST_SKIP() << "djpeg not found";
  TempDir dir;
  for (J_COLOR_SPACE space : {JCS_CMYK, JCS_YCCK}) {
    const std::string path = CmykJpeg(dir, space);
    ExpectLikeDjpeg(path, CSize(67, 45), 4, 8, 4, FALSE, dir);
    const Dib ours = Ours(path, 4, 8), gray = Ours(path, 4, 8, TRUE);
    ASSERT_EQ(gray.width, ours.width);
    int worst = 0;
    for (int y = 0; y < ours.height; ++y)
      for (int x = 0; x < ours.width; ++x) {
        const BYTE* p = ours.At(x, y);
        const double luma = 0.299 * p[2] + 0.587 * p[1] + 0.114 * p[0];
        worst = std::max(worst, int(std::lround(std::abs(*gray.At(x, y) - luma))));
      }
    EXPECT_LE(worst, 1);
  }
}

// Malformed input fails cleanly: null, error codes, no crash, no leak, no read outside a buffer
// (the sanitizer build checks the last two).

// Where the entropy-coded data of the first scan begins.
std::size_t ScanStart(const std::vector<std::uint8_t>& f) {
  for (std::size_t i = 2; i + 3 < f.size(); ++i)
    if (f[i] == 0xFF && f[i + 1] == 0xDA) return i + 2 + (f[i + 2] << 8 | f[i + 3]);
  return 0;
}

TEST(ReadBitmap, BadRatiosAndFilesFailCleanly) {
  TempDir dir;
  ErrorRecorder errors;
  const std::string coffee = SamplePath("coffee.jpg");
  int w = -7, h = -7, error = 0;
  for (auto [num, den] : {std::pair{0, 1}, {1, 0}, {-1, 2}, {1, 401}, {40000, 1}})
    EXPECT_EQ(ReadBitmap(coffee.c_str(), &w, &h, num, den), nullptr) << num << "/" << den;
  EXPECT_EQ(CSize(w, h), CSize(-7, -7));
  BYTE* one_pixel = ReadBitmap(coffee.c_str(), &w, &h, 1, 400);
  ASSERT_NE(one_pixel, nullptr);
  EXPECT_EQ(CSize(w, h), CSize(1, 1));
  delete[] one_pixel;

  WriteBytes(dir.File("empty.jpg"), {});
  for (const auto& [path, code] : {std::pair{dir.File("empty.jpg"), kJpegNotJpeg},
                                   {dir.path().string(), kJpegCannotOpen},
                                   {SamplePath("chelsea.bmp"), kJpegNotJpeg}}) {
    EXPECT_EQ(GetBitmapSize(path.c_str(), &error), CSize()) << path;
    EXPECT_EQ(error, code) << path;
    EXPECT_EQ(ReadBitmap(path.c_str(), &w, &h, 1, 1), nullptr) << path;
  }
  EXPECT_EQ(GetBitmapSize(nullptr, &error), CSize());
  EXPECT_EQ(error, kJpegCannotOpen);
  EXPECT_EQ(ReadBitmap(nullptr, nullptr, nullptr, 1, 1), nullptr);
  EXPECT_TRUE(errors.texts().empty());  // the codec never talks to the user
}

// Cut before the first scan the header is incomplete; cut after it the size is known but the
// pixels are not.
TEST(ReadBitmap, TruncatedFilesFail) {
  TempDir dir;
  const std::vector<std::uint8_t> whole = ReadBytes(SamplePath("coffee.jpg"));
  const std::size_t scan = ScanStart(whole);
  ASSERT_GT(scan, 0u);
  for (std::size_t cut : {std::size_t{2}, scan - 1, scan + 10, whole.size() / 2}) {
    SCOPED_TRACE("cut at " + std::to_string(cut));
    const std::string path = dir.File("cut.jpg");
    WriteBytes(path, std::vector<std::uint8_t>(whole.begin(), whole.begin() + cut));
    int error = -1, w, h;
    EXPECT_EQ(GetBitmapSize(path.c_str(), &error), cut < scan ? CSize() : CSize(600, 400));
    EXPECT_EQ(error, cut < scan ? kJpegNotJpeg : 0);
    EXPECT_EQ(ReadBitmap(path.c_str(), &w, &h, 1, 1), nullptr);
    EXPECT_EQ(ReadBitmap(path.c_str(), &w, &h, 1, 8, TRUE), nullptr);
  }
}

// Seeded byte corruption of small files of every kind we write, read at several ratios from a
// file and from memory: both agree, and a success has the size its header promises.
TEST(ReadBitmap, CorruptionCorpusFailsCleanly) {
  TempDir dir;
  Dib small = Ours(SamplePath("coffee.jpg"), 1, 8);  // 75 x 50
  Dib gray = Ours(SamplePath("coffee.jpg"), 1, 8, TRUE);
  std::vector<std::vector<std::uint8_t>> seeds;
  for (int kind = 0; kind < 4; ++kind) {
    const Dib& d = kind == 3 ? gray : small;
    const std::string path = dir.File("seed.jpg");
    ASSERT_TRUE(StoreBitmap(const_cast<BYTE*>(d.bits.data()), CSize(75, 50), path.c_str(), kind & 1,
                            kind == 3, kind == 2 ? 60 : 90));
    seeds.push_back(ReadBytes(path));
  }
  const std::pair<int, int> ratios[] = {{1, 1}, {3, 8}, {5, 2}};
  Rng rng(20240611);
  int ok = 0;
  for (int round = 0; round < 150; ++round) {
    std::vector<std::uint8_t> f = seeds[rng.Range(0, 3)];
    for (int k = rng.Range(1, 4); k > 0; --k) f[rng.Range(2, int(f.size()) - 1)] = rng.Byte();
    if (rng.Range(0, 4) == 0) f.resize(rng.Range(0, int(f.size())));
    const auto [num, den] = ratios[rng.Range(0, 2)];
    const BOOL want_gray = rng.Range(0, 1);
    SCOPED_TRACE("round " + std::to_string(round));
    const std::string path = dir.File("case.jpg");
    WriteBytes(path, f);
    int error = -1, w = 0, h = 0, mw = 0, mh = 0;
    const CSize size = GetBitmapSize(path.c_str(), &error);
    BYTE* bits = ReadBitmap(path.c_str(), &w, &h, num, den, want_gray);
    BYTE* mem = jpeg::ReadBitmapFromMemory(f.data(), f.size(), &mw, &mh, num, den, want_gray);
    ASSERT_EQ(bits == nullptr, mem == nullptr);
    if (bits) {
      ++ok;
      EXPECT_EQ(error, 0);
      EXPECT_EQ(CSize(w, h), CSize(size.cx * num / den, size.cy * num / den));
      const std::size_t bytes = std::size_t((w * (want_gray ? 8 : 24) + 31) / 32 * 4) * (h + 1);
      EXPECT_EQ(std::memcmp(bits, mem, bytes + 8), 0);
    }
    delete[] bits;
    delete[] mem;
  }
  EXPECT_GT(ok, 10);
  EXPECT_GT(150 - ok, 10);
}

}  // namespace
}  // namespace vardell::test
