#include "bmp_builder.h"
#include "picture/picture.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace vardell::test;

// Checks that picture row j from the bottom, column i, holds file pixel (columns[i], rows[j]).
void ExpectSampled(const CPicture& p, const std::vector<int>& columns,
                   const std::vector<int>& rows) {
  ASSERT_EQ(p.GetPictureSize(),
            CSize(static_cast<int>(columns.size()), static_cast<int>(rows.size())));
  for (std::size_t j = 0; j < rows.size(); ++j)
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const BYTE* q = p.GetPixel(static_cast<int>(i), p.Height() - 1 - static_cast<int>(j));
      const std::vector<BYTE> got(q, q + 3);
      const std::vector<BYTE> want = {PatternB(columns[i], rows[j]), PatternG(columns[i], rows[j]),
                                      PatternR(columns[i], rows[j])};
      ASSERT_EQ(got, want) << "column " << i << " row " << j;
    }
}

std::vector<int> Every(int step, int count) {
  std::vector<int> v;
  for (int i = 0; i < count; ++i) v.push_back(i * step);
  return v;
}

TEST(PicturePreviewTest, SamplesFileRowsAndColumnsFromTheBottom) {
  TempDir dir;
  const std::string tall = dir.File("tall.bmp"), odd = dir.File("odd.bmp");
  WriteBytes(tall, MakeBmp({.width = 8, .height = 400}));
  WriteBytes(odd, MakeBmp({.width = 6, .height = 5}));
  ErrorRecorder errors;
  CPicture p;
  // 400 rows to 100: file rows 0, 4, 8, ... ; 8 columns to 2: columns 0 and 4.
  ASSERT_TRUE(p.LoadPicture(tall.c_str(), 1, 4));
  ExpectSampled(p, {0, 4}, Every(4, 100));
  EXPECT_EQ(p.GetLineBuffer(0)[6] | p.GetLineBuffer(0)[7], 0);  // padding is zeroed
  // 6 x 5 by 2/3 is 4 x 3: columns (i * 6) / 4, rows (j * 5) / 3.
  ASSERT_TRUE(p.LoadPicture(odd.c_str(), 2, 3));
  ExpectSampled(p, {0, 1, 3, 4}, {0, 1, 3});
  // No reduction at all: num >= den, or a factor that is not a fraction.
  ASSERT_TRUE(p.LoadPicture(odd.c_str(), 3, 3));
  ExpectSampled(p, Every(1, 6), Every(1, 5));
  ASSERT_TRUE(p.LoadPicture(odd.c_str(), -1, 0));
  EXPECT_EQ(p.GetPictureSize(), CSize(6, 5));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(PicturePreviewTest, ReadsOnlyTheSampledRowsOfAFileTooLargeToLoad) {
  TempDir dir;
  const std::string path = dir.File("large.bmp");
  // 30000 x 30000 pixels: 2.7 GB of rows, kept sparse (all zero).
  WriteBytes(path, MakeBmp({.width = 30000, .height = 30000, .rows = 0}));
  std::filesystem::resize_file(path, 54 + 90000ull * 30000);
  ErrorRecorder errors;
  CPicture p;
  ASSERT_TRUE(p.LoadPicture(path.c_str(), 1, 100));
  EXPECT_EQ(p.GetPictureSize(), CSize(300, 300));
  EXPECT_EQ(std::count(p.GetBuffer(), p.GetBuffer() + p.GetDataSize(), 0), 900 * 300);
  EXPECT_TRUE(errors.texts().empty());
  EXPECT_FALSE(p.LoadPicture(path.c_str()));
  EXPECT_EQ(errors.Single(), "Can't not alloc memory!");
  EXPECT_FALSE(p.IsValid());
}

TEST(PicturePreviewTest, OnlyAZeroHeightMeansFullSize) {
  TempDir dir;
  const std::string wide = dir.File("wide.bmp"), narrow = dir.File("narrow.bmp");
  WriteBytes(wide, MakeBmp({.width = 400, .height = 1}));
  WriteBytes(narrow, MakeBmp({.width = 1, .height = 400}));
  ErrorRecorder errors;
  CPicture p;
  // Wanted (200, 0): the height is 0, so the file's own size.
  ASSERT_TRUE(p.LoadPicture(wide.c_str(), 1, 2));
  ExpectSampled(p, Every(1, 400), {0});
  // Wanted (0, 200): the width is not tested, so a picture 0 pixels wide.
  ASSERT_TRUE(p.LoadPicture(narrow.c_str(), 1, 2));
  EXPECT_TRUE(p.IsValid());
  EXPECT_EQ(p.GetPictureSize(), CSize(0, 200));
  EXPECT_EQ(p.GetDataSize(), 0);
  EXPECT_TRUE(p.ClearPicture(RGB(1, 2, 3)));
  EXPECT_TRUE(p.StorePicture(dir.File("empty.bmp").c_str(), 0, 0, 0));
  CPicture copy;
  EXPECT_FALSE(p.Duplicate(copy));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(PicturePreviewTest, JpegFilesFallBackToTheCodec) {
  const std::string jpeg = SamplePath("coffee.jpg");
  ErrorRecorder errors;
  CPicture p;
  ASSERT_TRUE(p.LoadPicture(jpeg.c_str(), 1, 2));
  EXPECT_EQ(p.GetPictureSize(), CSize(300, 200));
  // The bitmap reader has its say before the codec takes over.
  EXPECT_EQ(errors.Single(), jpeg + " is not a bitmap format!");
}

TEST(PicturePreviewTest, MalformedFilesKeepThePictureAndReportTheirTexts) {
  TempDir dir;
  const std::string gray = dir.File("gray.bmp"), cut = dir.File("cut.bmp"),
                    missing = dir.File("missing.bmp");
  WriteBytes(gray, MakeBmp({.width = 8, .height = 8, .bitCount = 8}));
  WriteBytes(cut, MakeBmp({.width = 8, .height = 400, .rows = 300}));
  const std::string jpg = " as a jpg file";
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {gray, {gray + " is not a true-color bitmap file!", "Can not read " + gray + jpg}},
      {cut, {cut + "'s length is incorrect.!", "Can not read " + cut + jpg}},
      // The size query, the preview's size choice and its own open each report the missing file.
      {missing,
       {"Bitmap file " + missing + " can not be open!",
        "Bitmap file " + missing + " can not be open!",
        "Bitmap file " + missing + " can not be open!", "Can not read " + missing + jpg}},
  };
  for (const auto& [path, texts] : cases) {
    ErrorRecorder errors;
    CPicture p;
    ASSERT_TRUE(p.CreatePicture(3, 3, 1));
    EXPECT_FALSE(p.LoadPicture(path.c_str(), 1, 4)) << path;
    EXPECT_EQ(errors.texts(), texts);
    EXPECT_EQ(p.GetPictureSize(), CSize(3, 3));
    EXPECT_EQ(p.GetBuffer()[0], 1);
  }
}

}  // namespace
