// The vector twins of the colour kernels (SSE2, and AVX2 when built in) against their scalar
// definitions: seeded random rows of every length up to two vectors and a tail, with guard bytes
// behind each row.
#include "imageops/colour_kernels.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
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
  static const int special[] = {0,         255,        -256,       32767,    -32768,
                                65536 + 7, -65536 - 7, 0x7FFFFFFF, INT32_MIN};
  return rng.Range(0, 2) == 0 ? special[rng.Range(0, 8)] : rng.Range(-300, 300);
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
    ASSERT_TRUE(a == b && c == e) << "trial " << trial;
  }
}

struct GrayTwin {
  const char* name;
  void (*row)(BYTE*, std::size_t) noexcept;
  void (*bytes)(const BYTE*, BYTE*, std::size_t) noexcept;
};
const GrayTwin kGrayTwins[] = {
    {"sse2", k::GrayRowSse2, k::GrayBytesRowSse2},
#if VARDELL_HAVE_AVX2
    {"avx2", k::GrayRowAvx2, k::GrayBytesRowAvx2},
#endif
};

TEST(ColourKernelsTest, GrayTwinsAgree) {
  Rng rng(602);
  for (const GrayTwin& twin : kGrayTwins) {
    for (std::size_t n = 0; n < 80; ++n) {
      const auto row = RandomRow(rng, n);
      auto a = row, b = row;
      std::vector<BYTE> ga(n + kGuard, 7), gb(n + kGuard, 7);
      k::GrayRow(a.data(), n);
      twin.row(b.data(), n);
      k::GrayBytesRow(row.data(), ga.data(), n);
      twin.bytes(row.data(), gb.data(), n);
      ASSERT_TRUE(a == b && ga == gb) << twin.name << " " << n;
    }
    // Every (green, red) pair in one row of 65536 pixels, with blue at and near its ends.
    std::vector<BYTE> row(3 * 65536), a, b;
    std::vector<BYTE> ga(65536), gb(65536);
    for (int blue : {0, 128, 255}) {
      for (std::size_t i = 0; i < 65536; ++i)
        row[3 * i] = BYTE(blue), row[3 * i + 1] = BYTE(i), row[3 * i + 2] = BYTE(i >> 8);
      a = row, b = row;
      k::GrayRow(a.data(), 65536);
      twin.row(b.data(), 65536);
      k::GrayBytesRow(row.data(), ga.data(), 65536);
      twin.bytes(row.data(), gb.data(), 65536);
      ASSERT_TRUE(a == b && ga == gb) << twin.name << " blue " << blue;
    }
  }
}

TEST(ColourKernelsTest, HueTwinsAgreeOnEveryKindOfColour) {
  // Colours on a grid of step 5 (channel orders, ties, gray and black all occur), then every
  // near-gray triple (M, M - 1, M - 2) in all channel orders, where half-way X is common.
  std::vector<BYTE> row;
  for (int r = 0; r < 256; r += 5)
    for (int g = 0; g < 256; g += 5)
      for (int b = 0; b < 256; b += 5) row.insert(row.end(), {BYTE(b), BYTE(g), BYTE(r)});
  for (int m = 2; m < 256; ++m) {
    const BYTE c[3] = {BYTE(m), BYTE(m - 1), BYTE(m - 2)};
    for (int o = 0; o < 6; ++o)
      row.insert(row.end(), {c[o % 3], c[(o + 1 + o / 3) % 3], c[(o + 2 - o / 3) % 3]});
  }
  using HueKernel = void (*)(BYTE*, std::size_t, int, bool, int, const vardell::hwv::HueTables&);
  const std::pair<const char*, HueKernel> twins[] = {
    {"sse2", k::HueRowSse2},
#if VARDELL_HAVE_AVX2
    {"avx2", k::HueRowAvx2},
#endif
  };
  const auto& tables = vardell::hwv::Tables();
  const std::size_t n = row.size() / 3;
  const int cases[][3] = {{0, 0, 0}, {137, 0, 0}, {-59, 1, 20}, {360, 1, -300}, {1, 1, 2000}};
  for (const auto& [name, twin] : twins) {
    for (const auto& c : cases) {
      auto a = row, b = row;
      k::HueRow(a.data(), n, c[0], c[1] != 0, c[2], tables);
      twin(b.data(), n, c[0], c[1] != 0, c[2], tables);
      ASSERT_TRUE(a == b) << name << " case " << c[0] << "," << c[1] << "," << c[2];
    }
    // Every hue shift on a few random rows with tails.
    Rng rng(603);
    for (int dh = 0; dh < 360; ++dh) {
      const std::size_t len = static_cast<std::size_t>(dh % 40);
      const auto random = RandomRow(rng, len);
      auto a = random, b = random;
      k::HueRow(a.data(), len, dh, dh % 2 == 1, dh - 180, tables);
      twin(b.data(), len, dh, dh % 2 == 1, dh - 180, tables);
      ASSERT_EQ(a, b) << name << " " << dh;
    }
  }
}

}  // namespace
