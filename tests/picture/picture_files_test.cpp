#include "picture_fixtures.h"

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

}  // namespace
