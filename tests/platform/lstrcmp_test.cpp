#include "platform/lstrcmp.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

// Comparisons recorded on the platform (word sort, default locale), as "a<b", "a>b" or "a=b"
// separated by blanks; from "abc" on, pairs where the word sort and byte order disagree.
constexpr const char* kPinned =
    "AAA>aaa AAA<aab AAA<Aab aa<AB aa<Aab aB>Aab Ba<bab .AAA<Aab .AAA<A.ab EndDialog>_Property "
    "osp_vba.sreg0070>_IEWWBrowserComp osp_vba.sreg0031>OriginalDatabase r>\\ a>{ A>{ "
    "{100}{83}{71}{71}{71}<Global_DataAccess_JRO 3.5<4.0 3.520.4403.2<4.0.2927.10 -o>/m 'o>/m "
    "'o<-o '<- `o>/m `o<-m a->a #<. _>. <a = Same-Text=Same-Text "
    "abc<ABD Zebra>apple a<B co-op>coop co-op<cop _x<A";

TEST(Lstrcmp, PinnedPairsGiveExactlyMinusOneZeroOrOne) {
  std::istringstream pairs(kPinned);
  for (std::string pair; pairs >> pair;) {
    SCOPED_TRACE(pair);
    const std::size_t at = pair.find_first_of("<=>");
    const std::string a = pair.substr(0, at), b = pair.substr(at + 1);
    const int sign = pair[at] == '<' ? -1 : pair[at] == '>';
    EXPECT_EQ(lstrcmp(a.c_str(), b.c_str()), sign);
    EXPECT_EQ(lstrcmp(b.c_str(), a.c_str()), -sign);
  }
  EXPECT_EQ(lstrcmp(nullptr, nullptr), 0);
  EXPECT_EQ(lstrcmp("", nullptr), 1);
  EXPECT_EQ(lstrcmpi(nullptr, "x"), -1);
}

TEST(Lstrcmpi, IgnoresCaseButKeepsTheOtherLevels) {
  EXPECT_EQ(lstrcmpi("AAA", "aaa"), 0);
  EXPECT_EQ(lstrcmpi("Co-op", "coop"), 1);
  EXPECT_EQ(lstrcmpi("_x", "A"), -1);
  // Double-byte characters are one unit: trail bytes in the ASCII range are
  // neither case-folded nor taken for hyphens.
  EXPECT_NE(lstrcmpi("\x81\x41", "\x81\x61"), 0);
  EXPECT_EQ(lstrcmp("\xB0\xA1", "\xB0\xA2"),
            -1);                            // GB2312 level 1: byte (pinyin) order
  EXPECT_EQ(lstrcmp("z", "\xB0\xA1"), -1);  // after every ASCII letter
}

}  // namespace
