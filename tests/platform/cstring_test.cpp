#include "platform/cstring.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(CStringTest, SlicesClampTheirArguments) {
  CString s("abcdef");
  EXPECT_EQ(s.Mid(2), "cdef");
  EXPECT_EQ(s.Mid(2, 3), "cde");
  EXPECT_EQ(s.Mid(4, 10), "ef");
  EXPECT_EQ(s.Mid(-3, 2), "ab");
  EXPECT_EQ(s.Mid(9), "");
  EXPECT_EQ(s.Mid(1, -1), "");
  EXPECT_EQ(s.Left(-1), "");
  EXPECT_EQ(s.Left(99), "abcdef");
  EXPECT_EQ(s.Right(2), "ef");
  EXPECT_EQ(s.Right(99), "abcdef");
  EXPECT_EQ(s.Right(-5), "");
  EXPECT_EQ(s.SpanIncluding("abx"), "ab");
  EXPECT_EQ(s.SpanExcluding("dz"), "abc");
}

TEST(CStringTest, FindReverseFindAndFindOneOf) {
  CString s("a\\b/c\\d.txt");
  EXPECT_EQ(s.Find('\\'), 1);
  EXPECT_EQ(s.Find('\\', 2), 5);
  EXPECT_EQ(s.Find('\\', 6), -1);
  EXPECT_EQ(s.Find('a', -4), 0);
  EXPECT_EQ(s.Find('a', 99), -1);
  EXPECT_EQ(s.Find("c\\"), 4);
  EXPECT_EQ(s.Find("txt", 9), -1);
  EXPECT_EQ(s.Find("", 3), 3);
  EXPECT_EQ(s.Find("", 12), -1);
  EXPECT_EQ(s.ReverseFind('\\'), 5);
  EXPECT_EQ(s.ReverseFind('?'), -1);
  EXPECT_EQ(s.FindOneOf("/."), 3);
  EXPECT_EQ(s.FindOneOf("qyz"), -1);
}

TEST(CStringTest, EditingOperationsAnswerCountsAndLengths) {
  CString s("a-b--c");
  EXPECT_EQ(s.Replace("--", "+++"), 1);
  EXPECT_EQ(s, "a-b+++c");
  EXPECT_EQ(s.Replace('-', '_'), 1);
  EXPECT_EQ(s.Replace("", "x"), 0);
  EXPECT_EQ(s.Replace("+", ""), 3);
  EXPECT_EQ(s, "a_bc");
  EXPECT_EQ(s.Remove('_'), 1);
  EXPECT_EQ(s, "abc");
  EXPECT_EQ(s.Insert(1, "XY"), 5);
  EXPECT_EQ(s.Insert(99, '!'), 6);  // past the end: appended
  EXPECT_EQ(s, "aXYbc!");
  EXPECT_EQ(s.Delete(1, 2), 4);
  EXPECT_EQ(s.Delete(3, 99), 3);
  EXPECT_EQ(s.Delete(-2, 1), 2);
  EXPECT_EQ(s, "bc");
  CString repeated("aaa");
  EXPECT_EQ(repeated.Replace("aa", "a"), 1);  // matches do not overlap
  EXPECT_EQ(repeated, "aa");
}

TEST(CStringTest, TrimRemovesOnlyTheEnds) {
  CString s(" \t x y \r\n");
  s.TrimLeft();
  EXPECT_EQ(s, "x y \r\n");
  s.TrimRight();
  EXPECT_EQ(s, "x y");
  CString t("xxabxx");
  t.TrimLeft('x');
  EXPECT_EQ(t, "abxx");
  t.TrimRight("bx");
  EXPECT_EQ(t, "a");
  EXPECT_EQ(CString("  both  ").Trim(), "both");
  CString all("   ");
  all.TrimRight();
  EXPECT_TRUE(all.IsEmpty());
  // Bytes above 0x7F (GBK text) are never taken for blanks.
  CString gbk("\xA1\xA1 ");
  gbk.Trim();
  EXPECT_EQ(gbk, "\xA1\xA1");
}

TEST(CStringTest, FormatAndBuffers) {
  CString s;
  s.Format("%s=%d;%05.1f;%c", "w", -12, 3.14159, 'z');
  EXPECT_EQ(s, "w=-12;003.1;z");
  CString long_;
  long_.Format("%0300d", 7);  // longer than any fixed buffer
  EXPECT_EQ(long_.GetLength(), 300);
  EXPECT_EQ(long_.Right(2), "07");

  CString b("abc");
  char* p = b.GetBuffer(10);
  std::strcpy(p, "hello, world");
  b.ReleaseBuffer();
  EXPECT_EQ(b, "hello, world");
  p = b.GetBuffer(0);
  p[5] = '\0';
  b.ReleaseBuffer();
  EXPECT_EQ(b, "hello");
  p = b.GetBufferSetLength(3);
  EXPECT_EQ(std::string(p, 3), "hel");
  b.ReleaseBuffer(2);
  EXPECT_EQ(b, "he");
  b.ReleaseBuffer(50);  // never longer than the buffer
  EXPECT_EQ(b, "he");
}

TEST(CStringTest, GbkAndUtf8RoundTrip) {
  const char* utf8 = "\xE6\x9F\x94\xE5\x8C\x96";  // 柔化
  CString gbk = vardell::Utf8ToGbk(utf8);
  EXPECT_EQ(gbk, "\xC8\xE1\xBB\xAF");
  EXPECT_EQ(gbk.GetLength(), 4);  // lengths count bytes
  EXPECT_EQ(vardell::GbkToUtf8(gbk.view()), utf8);
  EXPECT_EQ(vardell::GbkToUtf8("ab"), "ab");
  // A character GBK cannot hold, and a broken sequence, each become one '?'.
  EXPECT_EQ(vardell::Utf8ToGbk("a\xF0\x9F\x98\x80z"), "a?z");
  EXPECT_EQ(vardell::GbkToUtf8("\xC8"), "?");
  EXPECT_EQ(vardell::GbkToUtf8("x\xFF"
                               "y"),
            "x?y");
}

}  // namespace
