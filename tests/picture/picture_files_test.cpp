#include "bmp_builder.h"
#include "picture/picture.h"
#include "platform/byte_order.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace vardell::test;

// Runs a Pillow script with the system Python and answers what it printed; empty when Pillow is
// not there.
std::string RunPillow(const std::string& script, const std::string& args) {
  if (!std::filesystem::exists("/usr/bin/python3")) return "";
  const std::string command = "/usr/bin/python3 -c '" + script + "' " + args + " 2>/dev/null";
  std::string out;
  if (FILE* pipe = ::popen(command.c_str(), "r")) {
    char buffer[4096];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    ::pclose(pipe);
  }
  return out;
}

TEST(PictureFilesTest, LoadsBitmapRowsFromOffset54WhateverTheHeaderSays) {
  TempDir dir;
  const std::string plain = dir.File("plain.bmp"), table = dir.File("table.bmp");
  WriteBytes(plain, MakeBmp({.width = 5, .height = 2}));
  // Eight bytes of colour table and a bfOffBits that skips them: rows are still read from 54.
  WriteBytes(
      table,
      MakeBmp({.width = 3, .height = 2, .offBits = 62, .afterHeaders = {1, 2, 3, 4, 5, 6, 7, 8}}));
  ErrorRecorder errors;
  CPicture p;
  ASSERT_TRUE(p.LoadPicture(plain.c_str()));
  EXPECT_EQ(p.GetPictureSize(), CSize(5, 2));
  EXPECT_EQ(p.GetDataSize(), 32);
  EXPECT_EQ(CPicture::GetDataSize(plain.c_str()), 30);  // no row padding: intended
  EXPECT_EQ(std::vector<BYTE>(p.GetPixel(4, 0), p.GetPixel(4, 0) + 3),
            (std::vector<BYTE>{4, 1, 17}));  // top row = file row 1
  ASSERT_TRUE(p.LoadPicture(table.c_str()));
  EXPECT_EQ(std::vector<BYTE>(p.GetBuffer(), p.GetBuffer() + 10),
            (std::vector<BYTE>{1, 2, 3, 4, 5, 6, 7, 8, 0, 0}));
  EXPECT_TRUE(errors.texts().empty());
}

TEST(PictureFilesTest, MalformedBitmapsAreRefusedWithTheirTexts) {
  TempDir dir;
  auto make = [&](const std::string& name, const std::vector<BYTE>& bytes) {
    WriteBytes(dir.File(name), bytes);
    return dir.File(name);
  };
  std::vector<BYTE> truncated = MakeBmp({.width = 4, .height = 4});
  truncated.resize(truncated.size() - 1);
  std::vector<BYTE> huge = MakeBmp({.width = 100000, .height = 100000, .rows = 0});
  huge.resize(100, 0);
  const std::vector<BYTE> bm = {'B', 'M'}, tiny = MakeBmp({});
  // 3 GB of pixel data behind a 2 x 2 header, kept sparse.
  const std::string oversized = make("oversized.bmp", MakeBmp({.width = 2, .height = 2}));
  std::filesystem::resize_file(oversized, 3ull << 30);
  struct Case {
    std::string path;
    std::vector<std::string> tails;  // appended to the path, "" for a text without it
    bool keepsOldPicture;
  };
  const Case cases[] = {
      {dir.File("missing.bmp"), {"Bitmap file @ can not be open!"}, true},
      {dir.path().string(), {"Bitmap file @ can not be open!"}, true},
      {make("empty.bmp", {}), {"Can not read @ as a jpg file", "@ is not a bitmap format!"}, true},
      {make("bm.bmp", bm), {"Can not read @ as a jpg file", "@ is not a bitmap format!"}, true},
      {make("short.bmp", std::vector<BYTE>(tiny.begin(), tiny.begin() + 30)),
       {"@ is a damaged bitmap file!"},
       false},
      {make("core.bmp", MakeBmp({.infoSize = 12})), {"@ is a damaged bitmap file!"}, false},
      {make("gray.bmp", MakeBmp({.width = 3, .height = 2, .bitCount = 8})),
       {"@ is not a true-color bitmap file!"},
       false},
      {make("rgba.bmp", MakeBmp({.width = 3, .height = 2, .bitCount = 32})),
       {"@ is not a true-color bitmap file!"},
       false},
      {make("topdown.bmp", MakeBmp({.width = 3, .height = -2, .rows = 2})),
       {"@ is a damaged bitmap file!"},
       false},
      {make("negwidth.bmp", MakeBmp({.width = -3, .height = 2, .stride = 12})),
       {"@ is a damaged bitmap file!"},
       false},
      {make("truncated.bmp", truncated), {"@'s length is incorrect.!"}, false},
      {make("huge.bmp", huge), {"@'s length is incorrect.!"}, false},
      {oversized, {"Can't not alloc memory!"}, false},
  };
  for (const Case& c : cases) {
    ErrorRecorder errors;
    CPicture p;
    ASSERT_TRUE(p.CreatePicture(2, 2, 9));
    EXPECT_FALSE(p.LoadPicture(c.path.c_str())) << c.path;
    std::vector<std::string> expected;
    for (std::string tail : c.tails)
      expected.push_back(
          tail.find('@') == std::string::npos ? tail : tail.replace(tail.find('@'), 1, c.path));
    EXPECT_EQ(errors.texts(), expected);
    EXPECT_EQ(p.IsValid(), c.keepsOldPicture) << c.path;
    if (c.keepsOldPicture) {
      EXPECT_EQ(p.GetPictureSize(), CSize(2, 2));
    }
  }

  // Zero dimensions and trailing bytes are harmless.
  ErrorRecorder errors;
  CPicture p;
  std::vector<BYTE> trailing = MakeBmp({.width = 2, .height = 2});
  trailing.resize(trailing.size() + 5000, 1);
  ASSERT_TRUE(p.LoadPicture(make("trailing.bmp", trailing).c_str()));
  EXPECT_EQ(p.GetPictureSize(), CSize(2, 2));
  ASSERT_TRUE(p.LoadPicture(make("zero.bmp", MakeBmp({.width = 0, .height = 3})).c_str()));
  EXPECT_EQ(p.GetPictureSize(), CSize(0, 3));
  EXPECT_EQ(p.GetDataSize(), 0);
  EXPECT_TRUE(p.ClearPicture(RGB(1, 2, 3)));
  EXPECT_TRUE(errors.texts().empty());
  EXPECT_EQ(CPicture::GetPictureSize(dir.File("huge.bmp").c_str()), CSize(100000, 100000));
  EXPECT_EQ(CPicture::GetDataSize(dir.File("huge.bmp").c_str()), 0);  // beyond an int
}

TEST(PictureFilesTest, StoreWritesOneRowStrideAsImageSize) {
  TempDir dir;
  const std::string path = dir.File("out.bmp");
  ErrorRecorder errors;
  CPicture p;
  EXPECT_FALSE(p.StorePicture(path.c_str(), 0, 0, 0));
  EXPECT_EQ(errors.Single(), "Picture" + path + "'s buffer is NULL!");
  errors.Clear();

  ASSERT_TRUE(p.CreatePicture(5, 3, 0));
  for (int i = 0; i < p.GetDataSize(); ++i) p.GetBuffer()[i] = static_cast<BYTE>(i * 7);
  ASSERT_TRUE(p.StorePicture(path.c_str(), 0, 0, 0));
  const std::vector<BYTE> bytes = ReadBytes(path);
  ASSERT_EQ(bytes.size(), 54u + 16 * 3);
  using vardell::LoadLE;
  EXPECT_EQ(LoadLE<WORD>(&bytes[0]), 0x4D42);
  EXPECT_EQ(LoadLE<DWORD>(&bytes[2]), 102u);
  EXPECT_EQ(LoadLE<DWORD>(&bytes[10]), 54u);
  EXPECT_EQ(LoadLE<DWORD>(&bytes[14]), 40u);
  EXPECT_EQ(LoadLE<WORD>(&bytes[28]), 24);
  EXPECT_EQ(LoadLE<DWORD>(&bytes[34]), 16u);  // biSizeImage: one row's stride
  EXPECT_TRUE(std::equal(bytes.begin() + 54, bytes.end(), p.GetBuffer()));
  CPicture back;
  ASSERT_TRUE(back.LoadPicture(path.c_str()));
  EXPECT_EQ(0, std::memcmp(back.GetBuffer(), p.GetBuffer(), 48));

  const std::string noDir = dir.File("no/such/dir.bmp");
  EXPECT_FALSE(p.StorePicture(noDir.c_str(), 0, 0, 0));
  EXPECT_EQ(errors.Single(), "Can not open file " + noDir + "for reading.");
  errors.Clear();
  if (std::filesystem::exists("/dev/full")) {
    EXPECT_FALSE(p.StorePicture("/dev/full", 0, 0, 0));
    EXPECT_EQ(errors.Single(), "Writting file /dev/full failed.");
  }
}

TEST(PictureFilesTest, JpegFilesGoThroughTheCodec) {
  ErrorRecorder errors;
  const std::string jpeg = SamplePath("coffee.jpg");
  CPicture p;
  ASSERT_TRUE(p.LoadPicture(jpeg.c_str()));
  EXPECT_EQ(p.GetPictureSize(), CSize(600, 400));
  EXPECT_EQ(CPicture::GetPictureSize(jpeg.c_str()), CSize(600, 400));
  EXPECT_EQ(CPicture::GetDataSize(jpeg.c_str()), 720000);
  EXPECT_TRUE(errors.texts().empty());
}

TEST(PictureFilesTest, PillowReadsOurBitmapExactlyAndOurJpegClosely) {
  TempDir dir;
  const std::string bmp = dir.File("pattern.bmp"), jpg = dir.File("pattern.jpg");
  CPicture p;
  ASSERT_TRUE(p.CreatePicture(7, 5, 0));
  // A smooth picture, so that JPEG at quality 95 stays close to it.
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 7; ++x) {
      BYTE* q = p.GetPixel(x, y);
      q[0] = static_cast<BYTE>(40 + 10 * x), q[1] = static_cast<BYTE>(60 + 12 * y), q[2] = 150;
    }
  ASSERT_TRUE(p.StorePicture(bmp.c_str(), 0, 0, 0));
  ASSERT_TRUE(p.StorePicture(jpg.c_str(), 1, 0, 95));
  CPicture back;  // our JPEG read back by our codec: same size, same orientation
  ASSERT_TRUE(back.LoadPicture(jpg.c_str()));
  ASSERT_EQ(back.GetPictureSize(), CSize(7, 5));
  for (int i = 0; i < back.GetDataSize(); i += 3)
    EXPECT_NEAR(back.GetBuffer()[i], p.GetBuffer()[i], 6);
  const std::string dump =
      "import sys\nfrom PIL import Image\n"
      "for f in sys.argv[1:]:\n"
      "  im = Image.open(f).convert(\"RGB\"); print(im.size[0], im.size[1])\n"
      "  print(\" \".join(str(v) for px in im.getdata() for v in px))";
  std::istringstream out(RunPillow(dump, bmp + " " + jpg));
  for (int file = 0; file < 2; ++file) {
    int w = 0, h = 0;
    if (!(out >> w >> h)) GTEST_SKIP() << "Pillow is not available";
    ASSERT_EQ(CSize(w, h), CSize(7, 5));
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 7; ++x) {
        int rgb[3];
        out >> rgb[0] >> rgb[1] >> rgb[2];
        const BYTE* q = p.GetPixel(x, y);
        for (int c = 0; c < 3; ++c) {
          const int ours = q[2 - c];
          if (file == 0)
            ASSERT_EQ(rgb[c], ours) << x << "," << y;
          else
            EXPECT_NEAR(rgb[c], ours, 6) << x << "," << y;
        }
      }
  }
}

}  // namespace
