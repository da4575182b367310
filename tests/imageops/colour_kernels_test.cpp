// The vector twins of the colour kernels (SSE2, and AVX2 when built in) against their scalar
// definitions: seeded random rows of every length up to two vectors and a tail, with guard bytes
// behind each row.
#include "imageops/colour_kernels.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <vector>

namespace {

namespace k = vardell::imageops_kernels;
using vardell::test::Rng;

std::vector<BYTE> RandomRow(Rng& rng, std::size_t pixels) {
  std::vector<BYTE> row(3 * pixels + 16);
  for (auto& b : row) b = rng.Byte();
  return row;
}

TEST(ColourKernelsTest, OffsetTwinsAgree) {
  Rng rng(601);
  const int special[] = {0, 255, -256, 32767, -32768, 65536 + 7, -65536 - 7, INT32_MAX, INT32_MIN};
  const auto offset = [&] {
    return rng.Range(0, 1) ? special[rng.Range(0, 8)] : rng.Range(-300, 300);
  };
  for (int trial = 0; trial < 400; ++trial) {
    const std::size_t n = static_cast<std::size_t>(trial % 40);
    const k::Offsets d{offset(), offset(), offset()};
    const auto row = RandomRow(rng, n);
    auto a = row, b = row, c = row, e = row;
    k::AdjustRowTable(a.data(), n, d);
    k::AdjustRowTableSse2(b.data(), n, d);
    k::AdjustRowMmxScalar(c.data(), n, d);
    k::AdjustRowMmxSse2(e.data(), n, d);
    ASSERT_TRUE(a == b && c == e) << "trial " << trial;
  }
}

struct Twins {
  const char* name;
  void (*gray)(BYTE*, std::size_t) noexcept;
  void (*grayBytes)(const BYTE*, BYTE*, std::size_t) noexcept;
  void (*hue)(BYTE*, std::size_t, int, bool, int, const vardell::hwv::HueTables&) noexcept;
};
const Twins kTwins[] = {
    {"sse2", k::GrayRowSse2, k::GrayBytesRowSse2, k::HueRowSse2},
#if VARDELL_HAVE_AVX2
    {"avx2", k::GrayRowAvx2, k::GrayBytesRowAvx2, k::HueRowAvx2},
#endif
};

// Both gray kernels on the pixels of row, scalar and twin.
bool GrayAgrees(const Twins& twin, const std::vector<BYTE>& row, std::size_t n) {
  auto a = row, b = row;
  std::vector<BYTE> ga(n + 16, 7), gb(n + 16, 7);
  k::GrayRow(a.data(), n);
  twin.gray(b.data(), n);
  k::GrayBytesRow(row.data(), ga.data(), n);
  twin.grayBytes(row.data(), gb.data(), n);
  return a == b && ga == gb;
}

TEST(ColourKernelsTest, GrayTwinsAgree) {
  Rng rng(602);
  std::vector<BYTE> pairs(3 * 65536);
  for (const Twins& twin : kTwins) {
    for (std::size_t n = 0; n < 80; ++n)
      ASSERT_TRUE(GrayAgrees(twin, RandomRow(rng, n), n)) << twin.name << " " << n;
    // Every (green, red) pair in one row of 65536 pixels, with blue at its ends and middle.
    for (int blue : {0, 128, 255}) {
      for (std::size_t i = 0; i < 65536; ++i)
        pairs[3 * i] = BYTE(blue), pairs[3 * i + 1] = BYTE(i), pairs[3 * i + 2] = BYTE(i >> 8);
      ASSERT_TRUE(GrayAgrees(twin, pairs, 65536)) << twin.name << " blue " << blue;
    }
  }
}

TEST(ColourKernelsTest, HueTwinsAgreeOnEveryKindOfColour) {
  // Colours on a grid of step 5 (channel orders, ties, gray and black all occur), then every
  // near-gray triple (M, M - 1, M - 2) in all channel orders, where half-way X is common.
  std::vector<BYTE> grid;
  for (int r = 0; r < 256; r += 5)
    for (int g = 0; g < 256; g += 5)
      for (int b = 0; b < 256; b += 5) grid.insert(grid.end(), {BYTE(b), BYTE(g), BYTE(r)});
  for (int m = 2; m < 256; ++m) {
    const BYTE c[3] = {BYTE(m), BYTE(m - 1), BYTE(m - 2)};
    for (int o = 0; o < 6; ++o)
      grid.insert(grid.end(), {c[o % 3], c[(o + 1 + o / 3) % 3], c[(o + 2 - o / 3) % 3]});
  }
  const auto& tables = vardell::hwv::Tables();
  for (const Twins& twin : kTwins) {
    const auto agree = [&](std::vector<BYTE> a, std::size_t n, int dh, bool withW, int ds) {
      auto b = a;
      k::HueRow(a.data(), n, dh, withW, ds, tables);
      twin.hue(b.data(), n, dh, withW, ds, tables);
      return a == b;
    };
    for (auto [dh, withW, ds] :
         {std::tuple{137, false, 0}, {-59, true, 20}, {360, true, -300}, {1, true, 2000}})
      ASSERT_TRUE(agree(grid, grid.size() / 3, dh, withW, ds)) << twin.name << " " << dh;
    // Every hue shift on random rows with tails.
    Rng rng(603);
    for (int dh = 0; dh < 360; ++dh) {
      const auto n = static_cast<std::size_t>(dh % 40);
      ASSERT_TRUE(agree(RandomRow(rng, n), n, dh, dh % 2 == 1, dh - 180)) << twin.name << " " << dh;
    }
  }
}

}  // namespace
