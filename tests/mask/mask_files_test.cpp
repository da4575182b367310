// Mask files: the 8-bit BMP writer and reader, the codec path, and every refusal text.
#include "mask_fixtures.h"
#include "platform/bitmap.h"

#include <algorithm>
#include <filesystem>
#include <string>

namespace {

using namespace vardell::test;

// A mask file as another program would write it: 1078-byte preamble, then `rows` rows of value
// x + 10 * row (bottom row first).
std::vector<std::uint8_t> MaskBmp(int width, int height, int bitCount, int rows,
                                  DWORD infoSize = 40) {
  const int stride = DibStride(width, bitCount);  // 64-bit inside: huge widths do not overflow
  std::vector<std::uint8_t> v(1078, 0);
  BITMAPINFOHEADER{infoSize, width, height, 1, static_cast<WORD>(bitCount), 0, 0, 0, 0, 0, 0}.Store(
      &v[14]);
  for (int i = 0; i < 256; ++i)
    v[54 + 4 * i] = v[55 + 4 * i] = v[56 + 4 * i] = static_cast<std::uint8_t>(i);
  for (int row = 0; row < rows; ++row)
    for (int x = 0; x < stride; ++x) v.push_back(static_cast<std::uint8_t>(x + 10 * row));
  BITMAPFILEHEADER{BITMAP_FILE_TYPE, static_cast<DWORD>(v.size()), 0, 0, 1078}.Store(v.data());
  return v;
}

TEST(MaskFiles, StoredBitmapHasTheFixedPreambleAndReadsBack) {
  TempDir dir;
  const std::string path = dir.File("m.bmp");
  CMask mask, back;
  Load(mask, {{0, 50, 100, 150, 200}, {3, 53, 103, 153, 203}, {6, 56, 106, 156, 206}});
  ErrorRecorder errors;
  ASSERT_TRUE(mask.StoreMask(path.c_str(), 0, 0));
  const auto bytes = ReadBytes(path);
  // Type, file size, offset of the rows, biSizeImage (one stride), palette entry 77.
  const auto le = [&](int at) { return vardell::LoadLE<DWORD>(&bytes[at]); };
  EXPECT_EQ(std::vector<DWORD>({le(0) & 0xFFFF, le(2), le(10), le(34), le(54 + 4 * 77)}),
            std::vector<DWORD>({0x4D42, 1102, 1078, 8, 0x4D4D4D}));
  // The rows follow bottom-up, as in memory.
  EXPECT_EQ(std::vector<BYTE>(bytes.begin() + 1078, bytes.end()), Bytes(mask));
  ASSERT_TRUE(back.LoadMask(path.c_str()));
  EXPECT_TRUE(CMask::GetMaskSize(CString(path.c_str())) == CSize(5, 3) && Read(back) == Read(mask));
  // The reduced form has no codec picture to read and falls back to the BMP reader.
  EXPECT_TRUE(back.LoadMask(path.c_str(), 1, 2) && back.GetMaskSize() == CSize(5, 3));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(MaskFiles, JpegThroughTheCodecInGray) {
  TempDir dir;
  const std::string path = dir.File("m.jpg");
  CMask mask, back;
  ASSERT_TRUE(mask.CreateMask(16, 8, 128));
  mask.Rectangle(CRect(0, 0, 8, 8), 255);
  ErrorRecorder errors;
  ASSERT_TRUE(mask.StoreMask(path.c_str(), 1, 95));
  auto bytes = ReadBytes(path);
  // A baseline frame header of one component (length 11): a grey JPEG.
  const BYTE greyFrame[] = {0xFF, 0xC0, 0x00, 0x0B};
  EXPECT_NE(std::search(bytes.begin(), bytes.end(), greyFrame, greyFrame + 4), bytes.end());
  ASSERT_TRUE(back.LoadMask(path.c_str()));  // not "BM": the codec reads it
  ASSERT_EQ(back.GetMaskSize(), CSize(16, 8));
  EXPECT_NEAR(*back.GetPixel(2, 3) - *back.GetPixel(13, 3), 127, 4);
  EXPECT_TRUE(back.LoadMask(path.c_str(), 1, 2) && back.GetMaskSize() == CSize(8, 4));
  // a >= b reads at full size.
  EXPECT_TRUE(back.LoadMask(path.c_str(), 3, 2) && back.GetMaskSize() == CSize(16, 8));
  EXPECT_TRUE(errors.texts().empty());
  // A readable header over broken data: one message, and no endless hand-over between readers.
  bytes.resize(bytes.size() * 2 / 3);
  WriteBytes(path, bytes);
  EXPECT_FALSE(back.LoadMask(path.c_str()));
  EXPECT_EQ(errors.Single(), path + " is not a bitmap format!");
}

TEST(MaskFiles, LoadAndStoreRefusalsWithTheirExactTexts) {
  TempDir dir;
  ErrorRecorder errors;
  CMask mask;
  const std::string path = dir.File("x.bmp"), nowhere = dir.File("no/such/dir.bmp");
  EXPECT_FALSE(mask.StoreMask(path.c_str(), 0, 0));
  EXPECT_EQ(errors.Single(), "Picture" + path + "'s buffer is NULL!");
  auto headerOnly = MaskBmp(100, 100, 8, 0);
  headerOnly.resize(54);
  // valid: whether the mask counts as valid afterwards (-1: not checked); sized: whether
  // GetMaskSize refuses the file with the same text.
  const struct {
    const char* name;
    std::vector<std::uint8_t> bytes;
    const char* text;
    int valid;
    bool sized;
  } cases[] = {
      {"text", std::vector<std::uint8_t>(3000, 'x'), " is not a bitmap format!", -1, true},
      {"tiny", {'B', 'M', 1}, " is not a bitmap format!", -1, false},
      // A colour bitmap is refused, but keeps its buffer and counts as valid: intended.
      {"colour", MaskBmp(6, 4, 24, 4), " is not a gray scale bitmap file!", 1, true},
      {"damaged", MaskBmp(6, 4, 8, 4, 12), " is a damaged bitmap file!", -1, true},
      // Headers whose rows cannot be in the file: the data, or even the palette, is missing.
      {"nodata", headerOnly, "'s length is incorrect.!", 0, false},
      {"cut", MaskBmp(100, 100, 8, 50), "'s length is incorrect.!", 0, false},
      // Sizes no mask buffer can hold, and top-down rows, are damaged headers here.
      {"huge", MaskBmp(0x7FFFFFF0, 0x7FFFFFF0, 8, 0), " is a damaged bitmap file!", -1, false},
      {"topdown", MaskBmp(4, -4, 8, 4), " is a damaged bitmap file!", -1, false},
  };
  for (const auto& c : cases) {
    const std::string path = dir.File(c.name);
    WriteBytes(path, c.bytes);
    errors.Clear();
    EXPECT_FALSE(mask.LoadMask(path.c_str()));
    EXPECT_EQ(errors.Single(), path + c.text);
    EXPECT_TRUE(c.valid < 0 || mask.IsValid() == c.valid) << c.name;
    if (!c.sized) continue;
    errors.Clear();
    EXPECT_EQ(CMask::GetMaskSize(CString(path.c_str())), CSize(0, 0));
    EXPECT_EQ(errors.Single(), path + c.text);
  }
  const std::string missing = dir.File("missing.bmp");
  errors.Clear();
  EXPECT_FALSE(mask.LoadMask(missing.c_str()));
  EXPECT_EQ(CMask::GetMaskSize(CString(missing.c_str())), CSize(0, 0));
  EXPECT_EQ(errors.texts(),
            std::vector<std::string>(2, "Bitmap file " + missing + " can not be open!"));
  // Within the slack, missing rows are not checked and read as 0.
  const std::string shortFile = dir.File("short.bmp");
  WriteBytes(shortFile, MaskBmp(40, 40, 8, 10));
  errors.Clear();
  ASSERT_TRUE(mask.LoadMask(shortFile.c_str()));
  EXPECT_TRUE(*mask.GetPixel(3, 30) == 93 && *mask.GetPixel(3, 0) == 0);
  EXPECT_TRUE(errors.texts().empty());
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
