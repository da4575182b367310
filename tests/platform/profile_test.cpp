#include "platform/profile.h"

#include "platform_fixtures.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vardell::test::Join;
using vardell::test::TempDir;

void WriteText(const std::string& path, const std::string& text) {
  vardell::test::WriteBytes(path, std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(Profile, StringRulesOfThePlatform) {
  TempDir dir;
  const std::string file = dir.File("p.ini");
  WriteText(file,
            "[ section1 ]\r\nname1 = val1 \r\nname2=\"val2\"\rname3='q\nname4\nname1=second\n"
            "[other]\nname1=other\n");
  // "length:text" of one read into a buffer of `size` that holds "x" before.
  auto get = [&](const char* key, const char* def, DWORD size = 64, std::string path = "") {
    char buf[64] = "x";
    const DWORD n = GetPrivateProfileString("section1", key, def, buf, size,
                                            (path.empty() ? file : path).c_str());
    return std::to_string(n) + ":" + buf;
  };
  EXPECT_EQ(Join(get("NaMe1", "d"), get("name2", "d"), get("name3", "d")), "4:val1|4:val2|2:'q");
  // A line without '=' is no key; the default loses its trailing blanks.
  EXPECT_EQ(get("name4", "one two  "), "7:one two");
  EXPECT_EQ(get("", nullptr), "0:");
  EXPECT_EQ(get("name1", "", 4), "3:val");
  EXPECT_EQ(get("name1", "", 0), "0:x");
  EXPECT_EQ(get("name1", "", 64, dir.File("missing.ini")), "0:");
}

TEST(Profile, IntegersWrapAndTakeHex) {
  TempDir dir;
  const std::string file = dir.File("i.ini");
  WriteText(file,
            "[n]\na=1\nb=+1\nc=-1\nd=4294967296\ne=4294967297\nf=-4294967297\ng=42A94967297\n"
            "h=B4294967297\ni=0x10\nj=\nCOUNT= 3 \n");
  std::string got;
  for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "count", "missing"})
    got += std::to_string(GetPrivateProfileInt("N", key, 7, file.c_str())) + " ";
  EXPECT_EQ(got, "1 1 4294967295 0 1 4294967295 42 0 16 7 3 7 ");

  WriteText(dir.File("app.ini"), "[PenStyle]\ncount=2\nPen1=\"name.bmp\"\n");
  CWinApp app;
  app.m_pszProfileName = dir.File("app.ini").c_str();
  EXPECT_EQ(2u, app.GetProfileInt("PenStyle", "count", 0));
  EXPECT_STREQ("name.bmp", app.GetProfileString("PenStyle", "Pen1"));
  EXPECT_STREQ("", app.GetProfileString("PenStyle", "Pen0"));
}

}  // namespace
