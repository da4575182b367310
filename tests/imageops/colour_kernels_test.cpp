// The SSE2 twins of the colour kernels against their scalar definitions: seeded random rows of
// every length up to two vectors and a tail, with guard bytes behind each row.
#include "imageops/colour_kernels.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

namespace k = vardell::imageops_kernels;
using vardell::test::Rng;

constexpr int kGuard = 16;

std::vector<BYTE> RandomRow(Rng& rng, std::size_t pixels) {
  std::vector<BYTE> row(3 * pixels + kGuard);
  for (auto& b : row) b = rng.Byte();
  return row;
}

int RandomOffset(Rng& rng) {
  static const int special[] = {0,      1,         -1,         255,        -255,
                                256,    -256,      1000,       -1000,      32767,
                                -32768, 65536 + 7, -65536 - 7, 0x7FFFFFFF, -0x7FFFFFFF - 1};
  return rng.Range(0, 2) == 0 ? special[rng.Range(0, 14)] : rng.Range(-300, 300);
}

TEST(ColourKernelsTest, OffsetTwinsAgree) {
  Rng rng(601);
  for (int trial = 0; trial < 400; ++trial) {
    const std::size_t n = static_cast<std::size_t>(trial % 40);
    const k::Offsets d{RandomOffset(rng), RandomOffset(rng), RandomOffset(rng)};
    const auto row = RandomRow(rng, n);
    auto a = row, b = row, c = row, e = row;
    k::AdjustRowTable(a.data(), n, d);
    k::AdjustRowTableSse2(b.data(), n, d);
    k::AdjustRowMmxScalar(c.data(), n, d);
    k::AdjustRowMmxSse2(e.data(), n, d);
    ASSERT_EQ(a, b) << "table, trial " << trial;
    ASSERT_EQ(c, e) << "mmx, trial " << trial;
  }
}

TEST(ColourKernelsTest, MmxOffsetsAreSixteenBitWords) {
  std::vector<BYTE> row = {10, 20, 30};
  k::AdjustRowMmxScalar(row.data(), 1, {65536 + 5, -65536 - 5, 65536 * 3});
  EXPECT_EQ(row, (std::vector<BYTE>{15, 15, 30}));
  k::AdjustRowTable(row.data(), 1, {65536 + 5, -65536 - 5, 0});
  EXPECT_EQ(row, (std::vector<BYTE>{255, 0, 30}));
}

TEST(ColourKernelsTest, GrayTwinsAgree) {
  Rng rng(602);
  for (std::size_t n = 0; n < 40; ++n) {
    const auto row = RandomRow(rng, n);
    auto a = row, b = row;
    k::GrayRow(a.data(), n);
    k::GrayRowSse2(b.data(), n);
    ASSERT_EQ(a, b) << n;
    std::vector<BYTE> ga(n + kGuard, 7), gb(n + kGuard, 7);
    k::GrayBytesRow(row.data(), ga.data(), n);
    k::GrayBytesRowSse2(row.data(), gb.data(), n);
    ASSERT_EQ(ga, gb) << n;
  }
  // Every (blue, green, red) weight combination at the extremes, through the vector path.
  std::vector<BYTE> row(48);
  for (int i = 0; i < 48; ++i) row[i] = static_cast<BYTE>((i * 37) % 3 == 0 ? 255 : i * 11);
  auto a = row, b = row;
  k::GrayRow(a.data(), 16);
  k::GrayRowSse2(b.data(), 16);
  EXPECT_EQ(a, b);
  const BYTE white[3] = {255, 255, 255};
  EXPECT_EQ(k::GrayOf(white), 255);
}

}  // namespace
