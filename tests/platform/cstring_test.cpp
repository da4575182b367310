#include "platform/cstring.h"

#include "platform_fixtures.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using vardell::test::Calls;
using vardell::test::Join;

TEST(CStringTest, SlicesAndSearchesClampTheirArguments) {
  const CString s("abcdef"), p("a\\b/c\\d.txt");
  EXPECT_EQ(Join(s.Mid(2), s.Mid(2, 3), s.Mid(4, 10), s.Mid(-3, 2), s.Mid(9), s.Mid(1, -1),
                 s.Left(-1), s.Left(99), s.Right(2), s.Right(99), s.Right(-5),
                 s.SpanIncluding("abx"), s.SpanExcluding("dz")),
            "cdef|cde|ef|ab||||abcdef|ef|abcdef||ab|abc");
  EXPECT_EQ(Join(p.Find('\\'), p.Find('\\', 2), p.Find('\\', 6), p.Find('a', -4), p.Find('a', 99),
                 p.Find("c\\"), p.Find("txt", 9), p.Find("", 3), p.Find("", 12),
                 p.ReverseFind('\\'), p.ReverseFind('?'), p.FindOneOf("/."), p.FindOneOf("qyz")),
            "1|5|-1|0|-1|4|-1|3|-1|5|-1|3|-1");
}

TEST(CStringTest, EditingOperationsAnswerCountsAndLengths) {
  CString s("a-b--c");
  // Braces run the calls in order; Insert past the end appends.
  EXPECT_EQ((Calls{s.Replace("--", "+++"), s.Replace('-', '_'), s.Replace("", "x"),
                   s.Replace("+", ""), s.Remove('_'), s.Insert(1, "XY"), s.Insert(99, '!')}),
            (Calls{1, 1, 0, 3, 1, 5, 6}));
  EXPECT_EQ(s, "aXYbc!");
  EXPECT_EQ((Calls{s.Delete(1, 2), s.Delete(3, 99), s.Delete(-2, 1)}), (Calls{4, 3, 2}));
  EXPECT_EQ(s, "bc");
  CString repeated("aaa");
  EXPECT_EQ(repeated.Replace("aa", "a"), 1);  // matches do not overlap
  EXPECT_EQ(repeated, "aa");

  CString t(" \t x y \r\n"), x("xxabxx"), all("   "), gbk("\xA1\xA1 ");
  t.TrimLeft();
  t.TrimRight();
  x.TrimLeft('x');
  EXPECT_EQ(x, "abxx");
  x.TrimRight("bx");
  all.TrimRight();
  gbk.Trim();  // bytes above 0x7F (GBK text) are never taken for blanks
  EXPECT_TRUE(t == "x y" && x == "a" && all.IsEmpty() && gbk == "\xA1\xA1");
  EXPECT_EQ(CString("  both  ").Trim(), "both");
}

TEST(CStringTest, FormatAndBuffers) {
  CString s;
  s.Format("%s=%d;%05.1f;%c", "w", -12, 3.14159, 'z');
  EXPECT_EQ(s, "w=-12;003.1;z");
  s.Format("%0300d", 7);  // longer than any fixed buffer
  EXPECT_TRUE(s.GetLength() == 300 && s.Right(2) == "07");

  CString b("abc");
  std::strcpy(b.GetBuffer(10), "hello, world");
  b.ReleaseBuffer();
  EXPECT_EQ(b, "hello, world");
  b.GetBuffer(0)[5] = '\0';
  b.ReleaseBuffer();
  EXPECT_EQ(b, "hello");
  EXPECT_EQ(std::string(b.GetBufferSetLength(3), 3), "hel");
  b.ReleaseBuffer(2);
  EXPECT_EQ(b, "he");
  b.ReleaseBuffer(50);  // never longer than the buffer
  EXPECT_EQ(b, "he");
}

TEST(CStringTest, GbkAndUtf8RoundTrip) {
  const char* utf8 = "\xE6\x9F\x94\xE5\x8C\x96";  // 柔化
  const CString gbk = vardell::Utf8ToGbk(utf8);
  EXPECT_EQ(gbk, "\xC8\xE1\xBB\xAF");
  EXPECT_EQ(vardell::GbkToUtf8(gbk.view()), utf8);
  // A character GBK cannot hold, and a broken sequence, each become one '?'.
  EXPECT_EQ(vardell::Utf8ToGbk("a\xF0\x9F\x98\x80z"), "a?z");
  EXPECT_EQ(vardell::GbkToUtf8("\xC8"), "?");
}

}  // namespace
