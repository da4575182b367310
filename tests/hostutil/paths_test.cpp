#include "hostutil/paths.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

TEST(ChangeExtensionTest, ReplacesTheLastComponentsExtension) {
  EXPECT_EQ(ChangeExtension("dir/pic.jpg", "bmp"), "dir/pic.bmp");
  EXPECT_EQ(ChangeExtension("dir/pic.jpg", ".bmp"), "dir/pic.bmp");
  EXPECT_EQ(ChangeExtension("pic.tar.gz", ""), "pic.tar");
  EXPECT_EQ(ChangeExtension("pic.", "msk"), "pic.msk");
  // Dots in folder names are not extensions, with either separator.
  EXPECT_EQ(ChangeExtension("C:\\a.b\\pic", "msk"), "C:\\a.b\\pic.msk");
  EXPECT_EQ(ChangeExtension("a.b/pic", ".msk"), "a.b/pic.msk");
  EXPECT_EQ(ChangeExtension("a/.profile", "txt"), "a/.profile.txt");
  EXPECT_EQ(ChangeExtension("", "bmp"), ".bmp");
  // 0xB1 0x5C is one GBK character: its trail byte is no separator.
  EXPECT_EQ(ChangeExtension("x\xB1\x5C.jpg", "bmp"), "x\xB1\x5C.bmp");
}

std::string Name(const char* path, const char* prefix, UINT unique, UINT* result = nullptr) {
  char out[MAX_PATH];
  const UINT r = GetTempFileNameA(path, prefix, unique, out);
  if (result) *result = r;
  return r ? std::string(out) : std::string();
}

TEST(GetTempFileNameTest, NonzeroUniqueOnlyFormsTheName) {
  vardell::test::TempDir dir;
  const std::string folder = dir.path().string();
  UINT r = 0;
  EXPECT_EQ(Name(folder.c_str(), "vardell", 0x1A2B, &r), folder + "/var1A2B.tmp");
  EXPECT_EQ(r, 0x1A2Bu);
  EXPECT_FALSE(fs::exists(folder + "/var1A2B.tmp"));
  // Only the low 16 bits name the file; the answer is the number as given.
  EXPECT_EQ(Name((folder + "/").c_str(), "p", 0x12345, &r), folder + "/p2345.tmp");
  EXPECT_EQ(r, 0x12345u);
  EXPECT_EQ(Name("", nullptr, 7), "7.tmp");
  // A prefix is cut after three characters, a double-byte one counting once.
  EXPECT_EQ(Name("d", "\xD6\xD0\xCE\xC4xy", 1), "d/\xD6\xD0\xCE\xC4x1.tmp");
}

TEST(GetTempFileNameTest, ZeroUniqueCreatesDistinctEmptyFiles) {
  vardell::test::TempDir dir;
  const std::string folder = dir.path().string();
  UINT first = 0, second = 0;
  const std::string a = Name(folder.c_str(), "vdl", 0, &first);
  const std::string b = Name(folder.c_str(), "vdl", 0, &second);
  ASSERT_NE(first, 0u);
  ASSERT_NE(second, 0u);
  EXPECT_NE(first, second);
  char hex[16];
  std::snprintf(hex, sizeof hex, "%X", first);
  EXPECT_EQ(a, folder + "/vdl" + hex + ".tmp");
  for (const std::string& name : {a, b}) {
    ASSERT_TRUE(fs::is_regular_file(name)) << name;
    EXPECT_EQ(fs::file_size(name), 0u) << name;
  }
  // The alias and the default work folder, which ends with a separator.
  ASSERT_FALSE(strWorkPath.IsEmpty());
  EXPECT_EQ(strWorkPath[strWorkPath.GetLength() - 1], '/');
  char out[MAX_PATH];
  ASSERT_NE(GetTempFileName(strWorkPath, "tst", 0, out), 0u);
  EXPECT_EQ(fs::path(out).parent_path(), fs::path(strWorkPath.str()).parent_path());
  EXPECT_TRUE(fs::remove(out));
}

TEST(GetTempFileNameTest, FailuresAnswerZero) {
  vardell::test::TempDir dir;
  char out[MAX_PATH] = "unchanged";
  EXPECT_EQ(GetTempFileNameA((dir.path() / "missing").c_str(), "x", 0, out), 0u);
  EXPECT_EQ(GetTempFileNameA(nullptr, "x", 5, out), 0u);
  EXPECT_EQ(GetTempFileNameA("/tmp", "x", 5, nullptr), 0u);
  const std::string longest(MAX_PATH - 14, 'a'), tooLong(MAX_PATH - 13, 'a');
  EXPECT_NE(GetTempFileNameA(longest.c_str(), "abc", 0xFFFF, out), 0u);
  EXPECT_EQ(std::string(out), longest + "/abcFFFF.tmp");
  EXPECT_EQ(GetTempFileNameA(tooLong.c_str(), "x", 5, out), 0u);
  // Three double-byte characters would push the name past MAX_PATH.
  EXPECT_EQ(GetTempFileNameA(longest.c_str(), "\xD6\xD0\xD6\xD0\xD6\xD0", 0xFFFF, out), 0u);
}

}  // namespace
