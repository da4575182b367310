#include "picture_fixtures.h"

#include <climits>

namespace {

using namespace vardell::test;

TEST(PictureFilesTest, LoadsBitmapRowsFromOffset54WhateverTheHeaderSays) {
  TempDir dir;
  const std::string plain = WriteFile(dir, "plain.bmp", MakeBmp({.width = 5, .height = 2}));
  // Eight bytes of colour table and a bfOffBits that skips them: rows are still read from 54.
  const std::string table = WriteFile(
      dir, "table.bmp",
      MakeBmp({.width = 3, .height = 2, .offBits = 62, .afterHeaders = {1, 2, 3, 4, 5, 6, 7, 8}}));
  ErrorRecorder errors;
  CPicture p;
  ASSERT_TRUE(p.LoadPicture(plain.c_str()));
  EXPECT_EQ(CPicture::GetDataSize(plain.c_str()), 30);  // no row padding: intended
  ExpectSampled(p, Picks(5, 5), Picks(2, 2));
  ASSERT_TRUE(p.LoadPicture(table.c_str()));
  EXPECT_EQ(std::vector<BYTE>(p.GetBuffer(), p.GetBuffer() + 10),
            (std::vector<BYTE>{1, 2, 3, 4, 5, 6, 7, 8, 0, 0}));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(PictureFilesTest, MalformedBitmapsAreRefusedWithTheirTexts) {
  TempDir dir;
  std::vector<BYTE> truncated = MakeBmp({.width = 4, .height = 4}), tiny = MakeBmp({});
  truncated.pop_back();
  std::vector<BYTE> huge = MakeBmp({.width = 100000, .height = 100000, .rows = 0});
  huge.resize(100, 0);
  tiny.resize(30);
  const std::string kNotBmp = "Can not read @ as a jpg file|@ is not a bitmap format!",
                    kDamaged = "@ is a damaged bitmap file!",
                    kNotTrue = "@ is not a true-color bitmap file!",
                    kLength = "@'s length is incorrect.!", kOpen = "Bitmap file @ can not be open!";
  // The texts of each file, '@' for its path, '|' between texts.
  const std::pair<std::string, std::string> cases[] = {
      {dir.File("missing.bmp"), kOpen},
      {WriteFile(dir, "empty.bmp", {}), kNotBmp},
      {WriteFile(dir, "short.bmp", tiny), kDamaged},
      {WriteFile(dir, "gray.bmp", MakeBmp({.width = 3, .height = 2, .bitCount = 8})), kNotTrue},
      {WriteFile(dir, "topdown.bmp", MakeBmp({.width = 3, .height = -2, .rows = 2})), kDamaged},
      {WriteFile(dir, "truncated.bmp", truncated), kLength},
      {WriteFile(dir, "huge.bmp", huge), kLength},
      // 3 GB of pixel data behind a 2 x 2 header, kept sparse.
      {WriteFile(dir, "oversized.bmp", MakeBmp({.width = 2, .height = 2}), 3ull << 30),
       "Can't not alloc memory!"},
  };
  for (const auto& [path, texts] : cases) {
    const bool keepsOldPicture = texts == kOpen || texts == kNotBmp;  // refused before reading
    ErrorRecorder errors;
    CPicture p;
    ASSERT_TRUE(p.CreatePicture(2, 2, 9));
    EXPECT_FALSE(p.LoadPicture(path.c_str())) << path;
    std::string got;
    for (const std::string& text : errors.texts()) got += (got.empty() ? "" : "|") + text;
    std::string want = texts;
    for (std::size_t at; (at = want.find('@')) != std::string::npos;) want.replace(at, 1, path);
    EXPECT_EQ(got, want);
    EXPECT_EQ(p.IsValid(), keepsOldPicture) << path;
    EXPECT_EQ(p.GetPictureSize(), keepsOldPicture ? CSize(2, 2) : CSize(0, 0)) << path;
  }

  EXPECT_EQ(CPicture::GetDataSize(dir.File("huge.bmp").c_str()), 0);  // beyond an int
}

TEST(PictureFilesTest, StoreWritesOneRowStrideAsImageSize) {
  TempDir dir;
  const std::string path = dir.File("out.bmp"), noDir = dir.File("no/such/dir.bmp");
  ErrorRecorder errors;
  CPicture p, back;
  EXPECT_FALSE(p.StorePicture(path.c_str(), 0, 0, 0));
  EXPECT_EQ(errors.Single(), "Picture" + path + "'s buffer is NULL!");
  errors.Clear();

  ASSERT_TRUE(p.CreatePicture(5, 3, 0));
  for (int i = 0; i < p.GetDataSize(); ++i) p.GetBuffer()[i] = static_cast<BYTE>(i * 7);
  ASSERT_TRUE(p.StorePicture(path.c_str(), 0, 0, 0));
  const std::vector<BYTE> bytes = ReadBytes(path);
  // Type, file size, offset, header size, bits a pixel, and biSizeImage: one row's stride.
  using vardell::LoadLE;
  EXPECT_EQ((std::vector<DWORD>{LoadLE<WORD>(&bytes[0]), LoadLE<DWORD>(&bytes[2]),
                                LoadLE<DWORD>(&bytes[10]), LoadLE<DWORD>(&bytes[14]),
                                LoadLE<WORD>(&bytes[28]), LoadLE<DWORD>(&bytes[34])}),
            (std::vector<DWORD>{0x4D42, 102, 54, 40, 24, 16}));
  ASSERT_TRUE(back.LoadPicture(path.c_str()));
  EXPECT_EQ(Bytes(back), Bytes(p));

  EXPECT_FALSE(p.StorePicture(noDir.c_str(), 0, 0, 0));
  EXPECT_EQ(errors.Single(), "Can not open file " + noDir + "for reading.");
  errors.Clear();
  if (std::filesystem::exists("/dev/full")) {
    EXPECT_FALSE(p.StorePicture("/dev/full", 0, 0, 0));
    EXPECT_EQ(errors.Single(), "Writting file /dev/full failed.");
  }
}

TEST(PicturePreviewTest, SamplesFileRowsAndColumnsFromTheBottom) {
  TempDir dir;
  const std::string tall = WriteFile(dir, "tall.bmp", MakeBmp({.width = 8, .height = 400})),
                    odd = WriteFile(dir, "odd.bmp", MakeBmp({.width = 6, .height = 5})),
                    wide = WriteFile(dir, "wide.bmp", MakeBmp({.width = 400, .height = 1})),
                    narrow = WriteFile(dir, "narrow.bmp", MakeBmp({.width = 1, .height = 400}));
  ErrorRecorder errors;
  CPicture p;
  // 400 rows to 100: file rows 0, 4, 8, ... ; 8 columns to 2: columns 0 and 4.
  ASSERT_TRUE(p.LoadPicture(tall.c_str(), 1, 4));
  ExpectSampled(p, {0, 4}, Picks(400, 100));
  EXPECT_EQ(p.GetLineBuffer(0)[6] | p.GetLineBuffer(0)[7], 0);  // padding is zeroed
  // 6 x 5 by 2/3 is 4 x 3: columns (i * 6) / 4, rows (j * 5) / 3.
  ASSERT_TRUE(p.LoadPicture(odd.c_str(), 2, 3));
  ExpectSampled(p, {0, 1, 3, 4}, {0, 1, 3});
  // No reduction at all: num >= den, or a factor that is not a fraction.
  for (auto [num, den] : {std::pair{3, 3}, {-1, 0}}) {
    ASSERT_TRUE(p.LoadPicture(odd.c_str(), num, den));
    EXPECT_EQ(p.GetPictureSize(), CSize(6, 5));
  }
  // Only a zero height means full size. Wanted (200, 0): the file's own size.
  ASSERT_TRUE(p.LoadPicture(wide.c_str(), 1, 2));
  ExpectSampled(p, Picks(400, 400), {0});
  // Wanted (0, 200): the width is not tested, so a picture 0 pixels wide.
  ASSERT_TRUE(p.LoadPicture(narrow.c_str(), 1, 2));
  EXPECT_EQ(p.GetPictureSize(), CSize(0, 200));
  EXPECT_TRUE(p.ClearPicture(RGB(1, 2, 3)));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(PicturePreviewTest, HugeFilesLoadReducedWithoutVisitingEveryRow) {
  TempDir dir;
  // 30000 x 30000 pixels: 2.7 GB of rows, kept sparse (all zero).
  const std::string path =
      WriteFile(dir, "large.bmp", MakeBmp({.width = 30000, .height = 30000, .rows = 0}),
                54 + 90000ull * 30000);
  ErrorRecorder errors;
  CPicture p;
  ASSERT_TRUE(p.LoadPicture(path.c_str(), 1, 100));
  EXPECT_EQ(p.GetPictureSize(), CSize(300, 300));
  EXPECT_TRUE(errors.texts().empty());
  // Rows of no bytes, as many as a header can claim: once row by row, this took minutes.
  const std::string thin =
      WriteFile(dir, "thin.bmp", MakeBmp({.width = 0, .height = INT_MAX, .rows = 0}));
  ASSERT_TRUE(p.LoadPicture(thin.c_str(), 1, 4));
  EXPECT_EQ(p.GetPictureSize(), CSize(0, INT_MAX));
}

TEST(PicturePreviewTest, JpegAndMalformedFiles) {
  TempDir dir;
  const std::string jpeg = SamplePath("coffee.jpg"), jpg = " as a jpg file",
                    gray = WriteFile(dir, "gray.bmp",
                                     MakeBmp({.width = 8, .height = 8, .bitCount = 8})),
                    missing = dir.File("missing.bmp"),
                    open = "Bitmap file " + missing + " can not be open!";
  {
    ErrorRecorder errors;
    CPicture p;
    ASSERT_TRUE(p.LoadPicture(jpeg.c_str(), 1, 2));
    EXPECT_EQ(p.GetPictureSize(), CSize(300, 200));
    // The bitmap reader has its say before the codec takes over.
    EXPECT_EQ(errors.Single(), jpeg + " is not a bitmap format!");
  }
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {gray, {gray + " is not a true-color bitmap file!", "Can not read " + gray + jpg}},
      // The size query, the preview's size choice and its own open each report the missing file.
      {missing, {open, open, open, "Can not read " + missing + jpg}},
  };
  for (const auto& [path, texts] : cases) {
    ErrorRecorder errors;
    CPicture p;
    ASSERT_TRUE(p.CreatePicture(3, 3, 1));
    EXPECT_FALSE(p.LoadPicture(path.c_str(), 1, 4)) << path;
    EXPECT_EQ(errors.texts(), texts);
    EXPECT_EQ(p.GetBuffer()[0], 1);
  }
}

}  // namespace
