#include "pens/pen_styles.h"

#include "platform/profile.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

namespace {

using vardell::test::TempDir;

void UseProfile(const TempDir& dir, const std::string& text) {
  const std::string path = dir.File("pens.ini");
  vardell::test::WriteBytes(path, std::vector<std::uint8_t>(text.begin(), text.end()));
  AfxGetApp()->m_pszProfileName = path.c_str();
}

TEST(PenStyles, ReadFromTheProfileAndJoinedToTheCurrentDirectory) {
  TempDir dir;
  char cwd[200];
  ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
  UseProfile(dir, "[penstyle]\nCOUNT=2\nPen0=a.bmp\nPen1=\"name.bmp\"\n");
  ReadPenStyles();
  ASSERT_EQ(2, PenStyleList().GetSize());
  EXPECT_EQ(std::string(cwd) + "/a.bmp", std::string(PenStyleList()[0]));
  EXPECT_EQ(std::string(cwd) + "/name.bmp", std::string(PenStyleList()[1]));

  // A count that is not a number reads as 0 and empties the list; missing entries stay empty.
  UseProfile(dir, "[PenStyle]\ncount=abc\n");
  ReadPenStyles();
  EXPECT_EQ(0, PenStyleList().GetSize());
  UseProfile(dir, "[PenStyle]\ncount= 1 \n");
  ReadPenStyles();
  ASSERT_EQ(1, PenStyleList().GetSize());
  EXPECT_EQ(std::string(cwd) + "/", std::string(PenStyleList()[0]));
  AfxGetApp()->m_pszProfileName = "vardell.ini";
}

}  // namespace
