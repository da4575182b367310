#include "platform/raster_ops.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace vardell::kernels;

// The result bit for pattern, source and destination bits, straight from the truth table.
std::uint32_t ByTable(BYTE code, std::uint32_t p, std::uint32_t s, std::uint32_t d) {
  std::uint32_t out = 0;
  for (int bit = 0; bit < 24; ++bit) {
    const int index = 4 * ((p >> bit) & 1) + 2 * ((s >> bit) & 1) + ((d >> bit) & 1);
    out |= static_cast<std::uint32_t>((code >> index) & 1) << bit;
  }
  return out;
}

TEST(RasterOps, EveryCodeFollowsItsTruthTable) {
  vardell::test::Rng rng(4242);
  std::vector<std::uint32_t> src(37), dst(37), expected(37);
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const std::uint32_t p = rng.Next() | 0xFF000000;  // bits above the colour never leak out
    for (std::size_t i = 0; i < src.size(); ++i) {
      src[i] = rng.Next();
      dst[i] = rng.Next() & kColourBits;
      expected[i] = ByTable(static_cast<BYTE>(code), p, src[i], dst[i]);
      ASSERT_EQ(EvalRop3(static_cast<BYTE>(code), p, src[i], dst[i]), expected[i]);
    }
    // The row kernel, fast paths included, agrees with the evaluator.
    RopRow(static_cast<BYTE>(code), dst.data(), src.data(), p, dst.size());
    ASSERT_EQ(dst, expected);
  }
}

TEST(RasterOps, MixModesAsTernaryCodes) {
  EXPECT_EQ(Rop2ToRop3(R2_XORPEN), 0x5A);  // P ^ D
  EXPECT_EQ(Rop2ToRop3(17), 0xAA);         // unknown: leaves the destination
  EXPECT_TRUE(RopUsesPattern(Rop3Index(MERGECOPY)) && RopUsesSource(Rop3Index(MERGECOPY)));
  EXPECT_FALSE(RopUsesSource(Rop3Index(PATINVERT)) || RopUsesPattern(Rop3Index(SRCCOPY)));
}

}  // namespace
