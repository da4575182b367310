#include "jpegcodec/jpeg_codec.h"
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

}  // namespace
}  // namespace vardell::test
