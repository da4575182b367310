#include "platform/find_file.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vardell::test {
namespace {

TEST(MatchFileName, DosWildcardRules) {
  const char* const matches[][2] = {
      {"*.8BF", "A.B.8bf"}, {"*.*", "README"}, {"a?.txt", "a.txt"},       {"a.*", "a"},
      {"*.", "noext"},      {"?.?", "a"},      {"*blur*", "SoftBlur.8bf"}};
  const char* const misses[][2] = {{"*.8bf", "plugin.8bfx"},  // no 8.3 alias here
                                   {"a?.txt", "abc.txt"},
                                   {"a.*", "ab"},
                                   {"*.", "has.ext"},
                                   {"?.?", "ab"}};
  for (const auto& m : matches) EXPECT_TRUE(MatchFileName(m[0], m[1])) << m[0] << " " << m[1];
  for (const auto& m : misses) EXPECT_FALSE(MatchFileName(m[0], m[1])) << m[0] << " " << m[1];
  // Many stars cost no backtracking.
  EXPECT_FALSE(MatchFileName("*a*a*a*a*a*a*a*a*a*a*a*a*b", std::string(200, 'a')));
}

std::vector<std::pair<std::string, DWORD>> FindAll(const std::string& pattern) {
  std::vector<std::pair<std::string, DWORD>> found;
  WIN32_FIND_DATA data;
  HANDLE h = FindFirstFile(pattern.c_str(), &data);
  if (h == INVALID_HANDLE_VALUE) return found;
  do found.emplace_back(data.cFileName, data.dwFileAttributes);
  while (FindNextFile(h, &data));
  EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
  EXPECT_FALSE(FindNextFile(h, &data));
  EXPECT_TRUE(FindClose(h));
  return found;
}

TEST(FindFirstFile, ListsMatchesSortedWithAttributesAndFailuresSetTheLastError) {
  TempDir dir;
  WriteBytes(dir.File("b.8BF"), std::vector<std::uint8_t>(70000, 1));
  WriteBytes(dir.File("a.8bf"), {});
  WriteBytes(dir.File("c.txt"), {});
  std::filesystem::create_directory(dir.path() / "x.8bf");
  const std::string folder = dir.path().string() + "/";
  using Found = std::vector<std::pair<std::string, DWORD>>;
  EXPECT_EQ(FindAll(folder + "*.8bf"), (Found{{"a.8bf", FILE_ATTRIBUTE_NORMAL},
                                              {"b.8BF", FILE_ATTRIBUTE_NORMAL},
                                              {"x.8bf", FILE_ATTRIBUTE_DIRECTORY}}));
  const Found all = FindAll(folder + "*");
  ASSERT_EQ(all.size(), 6u);
  EXPECT_EQ(Found(all.begin(), all.begin() + 2),
            (Found{{".", FILE_ATTRIBUTE_DIRECTORY}, {"..", FILE_ATTRIBUTE_DIRECTORY}}));

  WIN32_FIND_DATA data;
  HANDLE h = FindFirstFile((folder + "B.8bf").c_str(), &data);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_STREQ(data.cFileName, "b.8BF");
  EXPECT_TRUE(data.nFileSizeLow == 70000u && data.nFileSizeHigh == 0u);
  EXPECT_GT(data.ftLastWriteTime.dwHighDateTime, 0x01D00000u);  // after 2014
  FindClose(h);

  EXPECT_EQ(FindFirstFile((folder + "*.bmp").c_str(), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(FindFirstFile((folder + "missing/*").c_str(), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
  EXPECT_FALSE(FindNextFile(INVALID_HANDLE_VALUE, &data));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_FALSE(FindClose(nullptr));
}

}  // namespace
}  // namespace vardell::test
