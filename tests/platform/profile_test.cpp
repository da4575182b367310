#include "platform/profile.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vardell::test::TempDir;
using vardell::test::WriteBytes;

void WriteText(const std::string& path, const std::string& text) {
  WriteBytes(path, std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(Profile, StringRulesOfThePlatform) {
  TempDir dir;
  const std::string file = dir.File("p.ini");
  WriteText(file,
            "[ section1 ]\r\nname1 = val1 \r\nname2=\"val2\"\rname3='q\nname4\nname1=second\n"
            "[other]\nname1=other\n");
  char buf[64];
  EXPECT_EQ(4u, GetPrivateProfileString("Section1", "NaMe1", "d", buf, 64, file.c_str()));
  EXPECT_STREQ("val1", buf);
  GetPrivateProfileString("section1", "name2", "d", buf, 64, file.c_str());
  EXPECT_STREQ("val2", buf);
  GetPrivateProfileString("section1", "name3", "d", buf, 64, file.c_str());
  EXPECT_STREQ("'q", buf);
  // A line without '=' is no key; the default loses its trailing blanks.
  EXPECT_EQ(7u, GetPrivateProfileString("section1", "name4", "one two  ", buf, 64, file.c_str()));
  EXPECT_STREQ("one two", buf);
  EXPECT_EQ(0u, GetPrivateProfileString("section1", "", nullptr, buf, 64, file.c_str()));
  EXPECT_STREQ("", buf);
  EXPECT_EQ(3u, GetPrivateProfileString("section1", "name1", "", buf, 4, file.c_str()));
  EXPECT_STREQ("val", buf);
  buf[0] = 'x';
  EXPECT_EQ(0u, GetPrivateProfileString("section1", "name1", "", buf, 0, file.c_str()));
  EXPECT_EQ('x', buf[0]);
  GetPrivateProfileString("section1", "name1", "", buf, 64, dir.File("missing.ini").c_str());
  EXPECT_STREQ("", buf);
}

TEST(Profile, IntegersWrapAndTakeHex) {
  TempDir dir;
  const std::string file = dir.File("i.ini");
  WriteText(file,
            "[n]\na=1\nb=+1\nc=-1\nd=4294967296\ne=4294967297\nf=-4294967297\ng=42A94967297\n"
            "h=B4294967297\ni=0x10\nj=\nCOUNT= 3 \n");
  const char* f = file.c_str();
  EXPECT_EQ(1u, GetPrivateProfileInt("n", "a", 7, f));
  EXPECT_EQ(1u, GetPrivateProfileInt("n", "b", 7, f));
  EXPECT_EQ(0xFFFFFFFFu, GetPrivateProfileInt("n", "c", 7, f));
  EXPECT_EQ(0u, GetPrivateProfileInt("n", "d", 7, f));
  EXPECT_EQ(1u, GetPrivateProfileInt("n", "e", 7, f));
  EXPECT_EQ(0xFFFFFFFFu, GetPrivateProfileInt("n", "f", 7, f));
  EXPECT_EQ(42u, GetPrivateProfileInt("n", "g", 7, f));
  EXPECT_EQ(0u, GetPrivateProfileInt("n", "h", 7, f));
  EXPECT_EQ(16u, GetPrivateProfileInt("n", "i", 7, f));
  EXPECT_EQ(7u, GetPrivateProfileInt("n", "j", 7, f));
  EXPECT_EQ(3u, GetPrivateProfileInt("N", "count", 7, f));
  EXPECT_EQ(7u, GetPrivateProfileInt("n", "missing", 7, f));
}

TEST(Profile, ApplicationReadsTheFileItNames) {
  TempDir dir;
  WriteText(dir.File("app.ini"), "[PenStyle]\ncount=2\nPen1=\"name.bmp\"\n");
  CWinApp app;
  app.m_pszProfileName = dir.File("app.ini").c_str();
  EXPECT_EQ(2u, app.GetProfileInt("PenStyle", "count", 0));
  EXPECT_STREQ("name.bmp", app.GetProfileString("PenStyle", "Pen1"));
  EXPECT_STREQ("", app.GetProfileString("PenStyle", "Pen0"));
}

}  // namespace
