#include "hostutil/paths.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

TEST(ChangeExtensionTest, ReplacesTheLastComponentsExtension) {
  EXPECT_EQ(ChangeExtension("dir/pic.jpg", "bmp"), "dir/pic.bmp");
  EXPECT_EQ(ChangeExtension("pic.tar.gz", ".tmp"), "pic.tar.tmp");
  EXPECT_EQ(ChangeExtension("C:\\a.b\\pic", "msk"), "C:\\a.b\\pic.msk");
  EXPECT_EQ(ChangeExtension("a/.profile", "txt"), "a/.profile.txt");
  // 0xB1 0x5C is one GBK character: its trail byte is no separator.
  EXPECT_EQ(ChangeExtension("x\xB1\x5C.jpg", "bmp"), "x\xB1\x5C.bmp");
}

TEST(GetTempFileNameTest, NonzeroUniqueOnlyFormsTheName) {
  vardell::test::TempDir dir;
  const std::string folder = dir.path().string();
  char out[MAX_PATH];
  EXPECT_EQ(GetTempFileNameA(folder.c_str(), "vardell", 0x1A2B, out), 0x1A2Bu);
  EXPECT_EQ(out, folder + "/var1A2B.tmp");
  EXPECT_FALSE(fs::exists(out));
  EXPECT_EQ(GetTempFileNameA((folder + "/").c_str(), "p", 0x12345, out), 0x12345u);
  EXPECT_EQ(out, folder + "/p2345.tmp");
  // Three characters of prefix, a double-byte one counting once.
  EXPECT_EQ(GetTempFileNameA("d", "\xD6\xD0\xCE\xC4xy", 1, out), 1u);
  EXPECT_STREQ(out, "d/\xD6\xD0\xCE\xC4x1.tmp");
  // Failures: a missing folder, null arguments, a path or name too long.
  const std::string longest(MAX_PATH - 14, 'a');
  EXPECT_EQ(GetTempFileNameA((folder + "/missing").c_str(), "x", 0, out), 0u);
  EXPECT_EQ(GetTempFileNameA((longest + "a").c_str(), "x", 5, out), 0u);
  EXPECT_EQ(GetTempFileNameA(longest.c_str(), "\xD6\xD0\xD6\xD0\xD6\xD0", 5, out), 0u);
  EXPECT_EQ(GetTempFileNameA(longest.c_str(), "abc", 0xFFFF, out), 0xFFFFu);
  EXPECT_EQ(out, longest + "/abcFFFF.tmp");
}

TEST(GetTempFileNameTest, ZeroUniqueCreatesDistinctEmptyFiles) {
  vardell::test::TempDir dir;
  char a[MAX_PATH], b[MAX_PATH];
  const UINT first = GetTempFileNameA(dir.path().c_str(), "vdl", 0, a);
  const UINT second = GetTempFileName(dir.path().c_str(), "vdl", 0, b);
  ASSERT_TRUE(first != 0 && second != 0 && first != second);
  char expected[MAX_PATH];
  GetTempFileNameA(dir.path().c_str(), "vdl", first, expected);
  EXPECT_STREQ(a, expected);
  EXPECT_TRUE(fs::is_regular_file(a) && fs::file_size(a) == 0 && fs::file_size(b) == 0);
  // The default work folder ends with a separator and takes temporary files.
  ASSERT_EQ(strWorkPath.Right(1), "/");
  ASSERT_NE(GetTempFileName(strWorkPath, "tst", 0, a), 0u);
  EXPECT_EQ(fs::path(a).parent_path(), fs::path(strWorkPath.str()).parent_path());
  EXPECT_TRUE(fs::remove(a));
}

}  // namespace
