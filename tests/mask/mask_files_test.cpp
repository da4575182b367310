// Mask files: the 8-bit BMP writer and reader, the codec path, and every refusal text.
#include "mask/mask.h"
#include "platform/bitmap.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace vardell::test;

std::uint32_t LE(const std::vector<std::uint8_t>& v, std::size_t at, int bytes) {
  std::uint32_t r = 0;
  for (int i = 0; i < bytes; ++i) r |= std::uint32_t{v[at + i]} << (8 * i);
  return r;
}

void PutLE(std::vector<std::uint8_t>& v, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) v[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// A mask file as another program would write it: 1078-byte preamble, then `rows` rows of value
// x + 10 * row (bottom row first).
std::vector<std::uint8_t> MaskBmp(int width, int height, int bitCount, int rows,
                                  std::uint32_t infoSize = 40) {
  const int stride = DibStride(width, bitCount);  // 64-bit inside: huge widths do not overflow
  std::vector<std::uint8_t> v(1078, 0);
  v[0] = 'B', v[1] = 'M';
  PutLE(v, 10, 1078, 4);
  PutLE(v, 14, infoSize, 4);
  PutLE(v, 18, static_cast<std::uint32_t>(width), 4);
  PutLE(v, 22, static_cast<std::uint32_t>(height), 4);
  PutLE(v, 26, 1, 2);
  PutLE(v, 28, static_cast<std::uint32_t>(bitCount), 2);
  for (int i = 0; i < 256; ++i)
    v[54 + 4 * i] = v[55 + 4 * i] = v[56 + 4 * i] = static_cast<std::uint8_t>(i);
  for (int row = 0; row < rows; ++row)
    for (int x = 0; x < stride; ++x) v.push_back(static_cast<std::uint8_t>(x + 10 * row));
  PutLE(v, 2, static_cast<std::uint32_t>(v.size()), 4);
  return v;
}

// What Pillow reads from a file: "mode width height" and the pixels top row first.
std::string PillowPixels(const std::string& path) {
  if (!std::filesystem::exists("/usr/bin/python3")) return "";
  const std::string script =
      "import sys; from PIL import Image; im = Image.open(sys.argv[1]); "
      "print(im.mode, im.size[0], im.size[1], *list(im.convert(\"L\").getdata()))";
  const std::string command = "/usr/bin/python3 -c '" + script + "' '" + path + "' 2>/dev/null";
  std::string out;
  if (FILE* pipe = ::popen(command.c_str(), "r")) {
    char buffer[4096];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    ::pclose(pipe);
  }
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

TEST(MaskFiles, StoredBitmapHasTheFixedPreambleAndReadsBackEverywhere) {
  TempDir dir;
  const std::string path = dir.File("m.bmp");
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(5, 3, 0));
  std::ostringstream expected;
  expected << "L 5 3";
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 5; ++x) {
      *mask.GetPixel(x, y) = static_cast<BYTE>(x * 50 + y * 3);
      expected << ' ' << x * 50 + y * 3;
    }
  ErrorRecorder errors;
  ASSERT_TRUE(mask.StoreMask(path.c_str(), 0, 0));
  const auto bytes = ReadBytes(path);
  ASSERT_EQ(bytes.size(), 1078u + 8 * 3);
  EXPECT_EQ(LE(bytes, 0, 2), 0x4D42u);
  EXPECT_EQ(LE(bytes, 2, 4), 1078u + 24);  // bfSize
  EXPECT_EQ(LE(bytes, 10, 4), 1078u);      // bfOffBits
  EXPECT_EQ(LE(bytes, 34, 4), 8u);         // biSizeImage: one stride
  EXPECT_EQ(LE(bytes, 54 + 4 * 77, 4), 0x004D4D4Du);
  const std::string pillow = PillowPixels(path);
  if (!pillow.empty()) {
    EXPECT_EQ(pillow, expected.str());
  }

  CMask back;
  ASSERT_TRUE(back.LoadMask(path.c_str()));
  EXPECT_EQ(CMask::GetMaskSize(CString(path.c_str())), CSize(5, 3));
  ASSERT_EQ(back.GetMaskSize(), CSize(5, 3));
  EXPECT_EQ(std::vector<BYTE>(back.GetBuffer(), back.GetBuffer() + 24),
            std::vector<BYTE>(mask.GetBuffer(), mask.GetBuffer() + 24));
  // The reduced form has no codec picture to read and falls back to the BMP reader.
  ASSERT_TRUE(back.LoadMask(path.c_str(), 1, 2));
  EXPECT_EQ(back.GetMaskSize(), CSize(5, 3));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(MaskFiles, JpegThroughTheCodecInGray) {
  TempDir dir;
  const std::string path = dir.File("m.jpg");
  CMask mask;
  ASSERT_TRUE(mask.CreateMask(16, 8, 128));
  mask.Rectangle(CRect(0, 0, 8, 8), 255);
  ErrorRecorder errors;
  ASSERT_TRUE(mask.StoreMask(path.c_str(), 1, 95));
  const std::string pillow = PillowPixels(path);
  if (!pillow.empty()) {
    EXPECT_EQ(pillow.substr(0, 7), "L 16 8 ");
  }

  CMask back;
  ASSERT_TRUE(back.LoadMask(path.c_str()));  // not "BM": the codec reads it
  ASSERT_EQ(back.GetMaskSize(), CSize(16, 8));
  EXPECT_EQ(back.GetInfoHeader().biSizeImage, 16u);
  EXPECT_NEAR(*back.GetPixel(2, 3), 255, 3);
  EXPECT_NEAR(*back.GetPixel(13, 3), 128, 3);
  EXPECT_EQ(CMask::GetMaskSize(CString(path.c_str())), CSize(16, 8));
  ASSERT_TRUE(back.LoadMask(path.c_str(), 1, 2));
  EXPECT_EQ(back.GetMaskSize(), CSize(8, 4));
  ASSERT_TRUE(back.LoadMask(path.c_str(), 3, 2));  // a >= b reads at full size
  EXPECT_EQ(back.GetMaskSize(), CSize(16, 8));
  EXPECT_TRUE(errors.texts().empty());

  // A readable header over broken data: one message, and no endless hand-over between readers.
  auto bytes = ReadBytes(path);
  bytes.resize(bytes.size() * 2 / 3);
  WriteBytes(path, bytes);
  EXPECT_FALSE(back.LoadMask(path.c_str()));
  EXPECT_EQ(errors.Single(), path + " is not a bitmap format!");
}

TEST(MaskFiles, RefusalsWithTheirExactTexts) {
  TempDir dir;
  ErrorRecorder errors;
  CMask mask;
  const auto expectLoad = [&](const std::string& path, const std::string& text) {
    errors.Clear();
    EXPECT_FALSE(mask.LoadMask(path.c_str())) << path;
    EXPECT_EQ(errors.Single(), path + text);
  };
  const std::string missing = dir.File("missing.bmp");
  errors.Clear();
  EXPECT_FALSE(mask.LoadMask(missing.c_str()));
  EXPECT_EQ(errors.Single(), "Bitmap file " + missing + " can not be open!");
  errors.Clear();
  EXPECT_EQ(CMask::GetMaskSize(CString(missing.c_str())), CSize(0, 0));
  EXPECT_EQ(errors.Single(), "Bitmap file " + missing + " can not be open!");

  const std::string text = dir.File("text.bmp"), tiny = dir.File("tiny.bmp");
  WriteBytes(text, std::vector<std::uint8_t>(3000, 'x'));
  WriteBytes(tiny, {'B', 'M', 1});
  expectLoad(text, " is not a bitmap format!");
  expectLoad(tiny, " is not a bitmap format!");
  errors.Clear();
  EXPECT_EQ(CMask::GetMaskSize(CString(text.c_str())), CSize(0, 0));
  EXPECT_EQ(errors.Single(), text + " is not a bitmap format!");

  // A colour bitmap is refused, but keeps its buffer and counts as valid: intended.
  const std::string colour = dir.File("colour.bmp");
  WriteBytes(colour, MaskBmp(6, 4, 24, 4));
  expectLoad(colour, " is not a gray scale bitmap file!");
  EXPECT_TRUE(mask.IsValid());
  errors.Clear();
  EXPECT_EQ(CMask::GetMaskSize(CString(colour.c_str())), CSize(0, 0));
  EXPECT_EQ(errors.Single(), colour + " is not a gray scale bitmap file!");

  const std::string damaged = dir.File("damaged.bmp");
  WriteBytes(damaged, MaskBmp(6, 4, 8, 4, 12));
  expectLoad(damaged, " is a damaged bitmap file!");

  // Headers whose rows cannot be in the file: the data, or even the palette, is missing.
  const std::string noData = dir.File("nodata.bmp"), cut = dir.File("cut.bmp");
  auto headerOnly = MaskBmp(100, 100, 8, 0);
  headerOnly.resize(54);
  WriteBytes(noData, headerOnly);
  expectLoad(noData, "'s length is incorrect.!");
  EXPECT_FALSE(mask.IsValid());
  WriteBytes(cut, MaskBmp(100, 100, 8, 50));
  expectLoad(cut, "'s length is incorrect.!");
  EXPECT_FALSE(mask.IsValid());
  // Sizes no mask buffer can hold, and top-down rows, are damaged headers here.
  const std::string huge = dir.File("huge.bmp");
  WriteBytes(huge, MaskBmp(0x7FFFFFF0, 0x7FFFFFF0, 8, 0));
  expectLoad(huge, " is a damaged bitmap file!");
  const std::string topDown = dir.File("topdown.bmp");
  WriteBytes(topDown, MaskBmp(4, -4, 8, 4));
  expectLoad(topDown, " is a damaged bitmap file!");

  // Within the slack, missing rows are not checked and read as 0.
  const std::string shortFile = dir.File("short.bmp");
  WriteBytes(shortFile, MaskBmp(40, 40, 8, 10));
  errors.Clear();
  ASSERT_TRUE(mask.LoadMask(shortFile.c_str()));
  EXPECT_EQ(*mask.GetPixel(3, 39), 3);
  EXPECT_EQ(*mask.GetPixel(3, 30), 93);
  EXPECT_EQ(*mask.GetPixel(3, 0), 0);
  EXPECT_TRUE(errors.texts().empty());
}

TEST(MaskFiles, StoreRefusals) {
  TempDir dir;
  ErrorRecorder errors;
  CMask mask;
  const std::string path = dir.File("x.bmp");
  EXPECT_FALSE(mask.StoreMask(path.c_str(), 0, 0));
  EXPECT_EQ(errors.Single(), "Picture" + path + "'s buffer is NULL!");
  ASSERT_TRUE(mask.CreateMask(4, 4, 1));
  const std::string nowhere = dir.File("no/such/dir.bmp");
  errors.Clear();
  EXPECT_FALSE(mask.StoreMask(nowhere.c_str(), 0, 0));
  EXPECT_EQ(errors.Single(), "Can not open file " + nowhere + "for reading.");
  if (std::filesystem::exists("/dev/full")) {
    errors.Clear();
    EXPECT_FALSE(mask.StoreMask("/dev/full", 0, 0));
    EXPECT_EQ(errors.Single(), "Writting file /dev/full failed.");
  }
  errors.Clear();
  EXPECT_FALSE(mask.StoreMask(nowhere.c_str(), 1, 90));  // the codec's failure, no text of ours
  EXPECT_TRUE(errors.texts().empty());
}

}  // namespace
