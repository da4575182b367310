#include "platform/lstrcmp.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Pair {
  const char* a;
  const char* b;
  int sign;  // of lstrcmp(a, b)
};

// Comparisons recorded on the platform (word sort, default locale).
constexpr Pair kPinned[] = {
    {"AAA", "aaa", 1},
    {"AAA", "aab", -1},
    {"AAA", "Aab", -1},
    {"aa", "AB", -1},
    {"aa", "Aab", -1},
    {"aB", "Aab", 1},
    {"Ba", "bab", -1},
    {".AAA", "Aab", -1},
    {".AAA", "A.ab", -1},
    {"EndDialog", "_Property", 1},
    {"osp_vba.sreg0070", "_IEWWBrowserComp", 1},
    {"osp_vba.sreg0031", "OriginalDatabase", 1},
    {"r", "\\", 1},
    {"a", "{", 1},
    {"A", "{", 1},
    {"{100}{83}{71}{71}{71}", "Global_DataAccess_JRO", -1},
    {"3.5", "4.0", -1},
    {"3.520.4403.2", "4.0.2927.10", -1},
    {"-o", "/m", 1},
    {"'o", "/m", 1},
    {"'o", "-o", -1},
    {"'", "-", -1},
    {"`o", "/m", 1},
    {"`o", "-m", -1},
    {"a-", "a", 1},
    {"#", ".", -1},
    {"_", ".", 1},
    // Where the word sort and byte order disagree.
    {"abc", "ABD", -1},
    {"Zebra", "apple", 1},
    {"a", "B", -1},
    {"co-op", "coop", 1},
    {"co-op", "cop", -1},
    {"_x", "A", -1},
};

TEST(Lstrcmp, PinnedPairsGiveExactlyMinusOneZeroOrOne) {
  for (const Pair& p : kPinned) {
    SCOPED_TRACE(std::string(p.a) + " vs " + p.b);
    EXPECT_EQ(lstrcmp(p.a, p.b), p.sign);
    EXPECT_EQ(lstrcmp(p.b, p.a), -p.sign);
  }
  EXPECT_EQ(lstrcmp("Same-Text", "Same-Text"), 0);
  EXPECT_EQ(lstrcmp("", ""), 0);
  EXPECT_EQ(lstrcmp("", "a"), -1);
}

TEST(Lstrcmp, NullArguments) {
  EXPECT_EQ(lstrcmp(nullptr, nullptr), 0);
  EXPECT_EQ(lstrcmp("", nullptr), 1);
  EXPECT_EQ(lstrcmp(nullptr, ""), -1);
  EXPECT_EQ(lstrcmpi(nullptr, "x"), -1);
}

TEST(Lstrcmpi, IgnoresCaseButKeepsTheOtherLevels) {
  EXPECT_EQ(lstrcmpi("AAA", "aaa"), 0);
  EXPECT_EQ(lstrcmpi("abc", "ABD"), -1);
  EXPECT_EQ(lstrcmpi("Co-op", "coop"), 1);
  EXPECT_EQ(lstrcmpi("_x", "A"), -1);
}

TEST(Lstrcmp, DoubleByteCharactersAreOneUnit) {
  // Trail bytes in the ASCII range are neither case-folded nor taken for hyphens.
  EXPECT_NE(lstrcmpi("\x81\x41", "\x81\x61"), 0);
  EXPECT_EQ(lstrcmp("\xB0\xA1", "\xB0\xA2"), -1);  // GB2312 level 1: byte (pinyin) order
  EXPECT_EQ(lstrcmp("z", "\xB0\xA1"), -1);         // after every ASCII letter
}

}  // namespace
