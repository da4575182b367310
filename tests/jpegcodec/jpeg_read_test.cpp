#include "jpegcodec/jpeg_codec.h"
#include "jpeg_test_util.h"

#include <cmath>
#include <cstdio>

#include <jpeglib.h>

namespace vardell::test {
namespace {

std::string Scale(int m) { return "-scale " + std::to_string(m) + "/8"; }

// chelsea.bmp (451 x 300, sizes no scale divides) stored as a 4:2:0 JPEG.
std::string OddSizedJpeg(const TempDir& dir) {
  Dib bmp = LoadBmp(SamplePath("chelsea.bmp"));
  const std::string path = dir.File("chelsea.jpg");
  EXPECT_TRUE(StoreBitmap(bmp.bits.data(), CSize(451, 300), path.c_str(), 0, 0, 85));
  return path;
}

class SampleScales : public ::testing::TestWithParam<const char*> {};

TEST_P(SampleScales, EveryDecoderScaleEqualsDjpeg) {
  if (!HaveDjpeg()) GTEST_SKIP() << "djpeg not found";
  TempDir dir;
  const std::string path = SamplePath(GetParam());
  int error = -1;
  const CSize size = GetBitmapSize(path.c_str(), &error);
  ASSERT_EQ(error, 0);
  EXPECT_EQ(size, std::string(GetParam()) == "coffee.jpg" ? CSize(600, 400) : CSize(512, 512));
  EXPECT_EQ(GetBitmapSize(path.c_str(), nullptr), size);
  for (int m = 1; m <= 16; ++m) {
    SCOPED_TRACE(Scale(m));
    const Dib ours = Ours(path, m, 8);
    const Dib ref = Djpeg(Scale(m), path, dir);
    ASSERT_EQ(ours.width, size.cx * m / 8);
    ASSERT_EQ(ours.height, size.cy * m / 8);
    ASSERT_EQ(ref.width, ours.width);
    ASSERT_EQ(ref.height, ours.height);
    EXPECT_EQ(DifferentRows(ours, ref, ours.width, ours.height), 0);
  }
  for (int m : {8, 3, 13}) {
    SCOPED_TRACE("gray " + Scale(m));
    const Dib ours = Ours(path, m, 8, TRUE);
    const Dib ref = Djpeg("-grayscale " + Scale(m), path, dir);
    ASSERT_EQ(ref.bpp, 1);
    ASSERT_EQ(ours.width, ref.width);
    ASSERT_EQ(ours.height, ref.height);
    EXPECT_EQ(DifferentRows(ours, ref, ours.width, ours.height), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleScales, ::testing::Values("coffee.jpg", "astronaut.jpg"));

TEST(ReadBitmap, OddSizesTruncateAndKeepTheDecodersPixels) {
  if (!HaveDjpeg()) GTEST_SKIP() << "djpeg not found";
  TempDir dir;
  const std::string path = OddSizedJpeg(dir);
  for (int m = 1; m <= 16; ++m) {
    SCOPED_TRACE(Scale(m));
    const Dib ours = Ours(path, m, 8);
    const Dib ref = Djpeg(Scale(m), path, dir);
    ASSERT_EQ(ours.width, 451 * m / 8);
    ASSERT_EQ(ours.height, 300 * m / 8);
    ASSERT_EQ(ref.width, (451 * m + 7) / 8);
    EXPECT_EQ(DifferentRows(ours, ref, ours.width, ours.height), 0);
  }
  // 2/16 is the scale 1/8.
  const Dib ours = Ours(path, 2, 16);
  EXPECT_EQ(DifferentRows(ours, Djpeg(Scale(1), path, dir), 56, 37), 0);
}

TEST(ReadBitmap, OtherRatiosSampleTheSmallestCoveringScale) {
  if (!HaveDjpeg()) GTEST_SKIP() << "djpeg not found";
  TempDir dir;
  const std::string path = OddSizedJpeg(dir);
  struct Case {
    int num, den, m;
  };
  for (Case c : {Case{1, 3, 3}, Case{2, 3, 6}, Case{5, 2, 16}, Case{100, 301, 3}}) {
    SCOPED_TRACE(std::to_string(c.num) + "/" + std::to_string(c.den));
    const Dib ours = Ours(path, c.num, c.den);
    const Dib ref = Djpeg(Scale(c.m), path, dir);
    ASSERT_EQ(ours.width, 451 * c.num / c.den);
    ASSERT_EQ(ours.height, 300 * c.num / c.den);
    int bad = 0;
    for (int y = 0; y < ours.height; ++y)
      for (int x = 0; x < ours.width; ++x)
        bad += std::memcmp(ours.Row(y) + 3 * x,
                           ref.Row(y * ref.height / ours.height) + 3 * (x * ref.width / ours.width),
                           3) != 0;
    EXPECT_EQ(bad, 0);
  }
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

TEST(ReadBitmap, CmykAndYcckBecomeRgbLikeDjpeg) {
  if (!HaveDjpeg()) GTEST_SKIP() << "djpeg not found";
  TempDir dir;
  for (J_COLOR_SPACE space : {JCS_CMYK, JCS_YCCK}) {
    const std::string path = CmykJpeg(dir, space);
    for (int m : {8, 4}) {
      SCOPED_TRACE(path + " " + Scale(m));
      const Dib ours = Ours(path, m, 8);
      const Dib ref = Djpeg(Scale(m), path, dir);
      ASSERT_EQ(ours.width, 67 * m / 8);
      EXPECT_EQ(DifferentRows(ours, ref, ours.width, ours.height), 0);
      const Dib gray = Ours(path, m, 8, TRUE);
      ASSERT_EQ(gray.width, ours.width);
      int worst = 0;
      for (int y = 0; y < ours.height; ++y)
        for (int x = 0; x < ours.width; ++x) {
          const BYTE* p = ours.Row(y) + 3 * x;
          const double luma = 0.299 * p[2] + 0.587 * p[1] + 0.114 * p[0];
          worst = std::max(worst, int(std::lround(std::abs(gray.Row(y)[x] - luma))));
        }
      EXPECT_LE(worst, 1);
    }
  }
}

TEST(ReadBitmap, GrayFileIsReplicatedInto24Bits) {
  TempDir dir;
  Dib gray = MakeDib(37, 23, 1);
  for (int y = 0; y < 23; ++y)
    for (int x = 0; x < 37; ++x) gray.Row(y)[x] = BYTE(x * 7 + y * 3);
  const std::string path = dir.File("gray.jpg");
  ASSERT_TRUE(StoreBitmap(gray.bits.data(), CSize(37, 23), path.c_str(), 0, 1, 90));
  for (int m : {8, 5}) {
    const Dib g = Ours(path, m, 8, TRUE);
    const Dib c = Ours(path, m, 8);
    ASSERT_EQ(c.width, 37 * m / 8);
    ASSERT_EQ(g.width, c.width);
    int bad = 0;
    for (int y = 0; y < c.height; ++y)
      for (int x = 0; x < c.width; ++x)
        for (int k = 0; k < 3; ++k) bad += c.Row(y)[3 * x + k] != g.Row(y)[x];
    EXPECT_EQ(bad, 0) << Scale(m);
    if (HaveDjpeg()) {
      EXPECT_EQ(DifferentRows(g, Djpeg(Scale(m), path, dir), g.width, g.height), 0);
    }
  }
}

}  // namespace
}  // namespace vardell::test
