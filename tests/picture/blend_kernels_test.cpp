// The SSE2 twins of the compositing kernels against their scalar definitions: seeded random rows
// of every length up to three vectors, guard bytes after each row, in-place calls.
#include "picture/blend_kernels.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace {

using vardell::ByteTables;
using vardell::test::Rng;
namespace k = vardell::kernels;

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t kGuard = 16;
constexpr std::uint8_t kGuardByte = 0xA5;

std::uint8_t Weight(Rng& rng) {
  static const std::uint8_t kEdges[] = {0, 1, 128, 254, 255};
  return (rng.Next() & 1) ? kEdges[rng.Range(0, 4)] : rng.Byte();
}

Bytes RandomRow(Rng& rng, std::size_t n) {
  Bytes row(n + kGuard, kGuardByte);
  for (std::size_t i = 0; i < n; ++i) row[i] = rng.Byte();
  return row;
}

// A kernel reduced to (src, dst, n) with its extra arguments bound.
using RowFn = std::function<void(const std::uint8_t*, std::uint8_t*, std::size_t)>;

// Runs both twins on the same random rows, separate and in place, and compares every byte,
// guards included. n counts units of `unit` bytes (3 for the kernels that count pixels).
void ExpectTwinsAgree(const char* name, const std::function<RowFn(Rng&, bool scalar)>& make,
                      std::size_t unit = 1) {
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    Rng rng(seed);
    for (std::size_t n = 0; n * unit <= 3 * 16 + 15; ++n) {
      Rng paramsA(seed * 1000 + static_cast<std::uint32_t>(n)), paramsB = paramsA;
      const RowFn scalar = make(paramsA, true), simd = make(paramsB, false);
      const Bytes src = RandomRow(rng, n * unit), dst = RandomRow(rng, n * unit);
      Bytes a = dst, b = dst;
      scalar(src.data(), a.data(), n);
      simd(src.data(), b.data(), n);
      ASSERT_EQ(a, b) << name << " seed " << seed << " n " << n;
      for (std::size_t g = n * unit; g < n * unit + kGuard; ++g)
        ASSERT_EQ(b[g], kGuardByte) << name << " n " << n;
      Bytes ia = src, ib = src;
      scalar(ia.data(), ia.data(), n);
      simd(ib.data(), ib.data(), n);
      ASSERT_EQ(ia, ib) << name << " in place, seed " << seed << " n " << n;
    }
  }
}

TEST(BlendKernels, Sse2TwinsEqualTheirScalarDefinitions) {
  const ByteTables& t = ByteTables::Get();
  ExpectTwinsAgree("BlendTable", [&](Rng& r, bool scalar) -> RowFn {
    const std::uint8_t w = Weight(r);
    return [=, &t](auto s, auto d, auto n) {
      (scalar ? k::BlendTable : k::BlendTableSse2)(s, d, n, w, t);
    };
  });
  ExpectTwinsAgree("AddTable", [&](Rng& r, bool scalar) -> RowFn {
    const std::uint8_t w = Weight(r);
    return [=, &t](auto s, auto d, auto n) {
      (scalar ? k::AddTable : k::AddTableSse2)(s, d, n, w, t);
    };
  });
  ExpectTwinsAgree("BlendMmx", [&](Rng& r, bool scalar) -> RowFn {
    const std::uint8_t w = Weight(r);
    return
        [=](auto s, auto d, auto n) { (scalar ? k::BlendMmxScalar : k::BlendMmxSse2)(s, d, n, w); };
  });
  ExpectTwinsAgree("AddMmx", [&](Rng& r, bool scalar) -> RowFn {
    const std::uint8_t w = Weight(r);
    return [=](auto s, auto d, auto n) { (scalar ? k::AddMmxScalar : k::AddMmxSse2)(s, d, n, w); };
  });
  // Weights a pixel: one weight row per call, drawn from the same seeded parameters.
  const auto weights = [](Rng& r) {
    auto row = std::make_shared<Bytes>(64);
    for (auto& w : *row) w = Weight(r);
    return row;
  };
  ExpectTwinsAgree("MaskWeights", [&](Rng& r, bool scalar) -> RowFn {
    const std::uint8_t level = Weight(r);
    const bool invert = r.Next() & 1;
    return [=, &t](auto s, auto d, auto n) {
      (scalar ? k::MaskWeights : k::MaskWeightsSse2)(s, d, n, level, invert, t);
    };
  });
  ExpectTwinsAgree(
      "MaskBlendTable",
      [&](Rng& r, bool scalar) -> RowFn {
        auto w = weights(r);
        return [=, &t](auto s, auto d, auto n) {
          (scalar ? k::MaskBlendTable : k::MaskBlendTableSse2)(s, d, w->data(), n, t);
        };
      },
      3);
  ExpectTwinsAgree(
      "MaskAddTable",
      [&](Rng& r, bool scalar) -> RowFn {
        auto w = weights(r);
        const std::uint8_t level = Weight(r);
        return [=, &t](auto s, auto d, auto n) {
          (scalar ? k::MaskAddTable : k::MaskAddTableSse2)(s, d, w->data(), n, level, t);
        };
      },
      3);
  ExpectTwinsAgree(
      "MaskBlendMmx",
      [&](Rng& r, bool scalar) -> RowFn {
        auto w = weights(r);
        return [=](auto s, auto d, auto n) {
          (scalar ? k::MaskBlendMmxScalar : k::MaskBlendMmxSse2)(s, d, w->data(), n);
        };
      },
      3);
}

// Every pair of bytes through the 16-bit lanes: M[a][b] computed in SIMD must be the table's.
TEST(BlendKernels, TableTwinsAreExactForEveryPair) {
  const ByteTables& t = ByteTables::Get();
  Bytes src(256), dst(256);
  for (int v = 0; v < 256; ++v) src[v] = static_cast<std::uint8_t>(v);
  for (int v = 0; v < 256; ++v) dst[v] = static_cast<std::uint8_t>(255 - v);
  for (int w = 0; w < 256; ++w) {
    Bytes a = dst, b = dst, c = dst, e = dst;
    k::BlendTable(src.data(), a.data(), 256, static_cast<std::uint8_t>(w), t);
    k::BlendTableSse2(src.data(), b.data(), 256, static_cast<std::uint8_t>(w), t);
    ASSERT_EQ(a, b) << "level " << w;
    k::AddTable(src.data(), c.data(), 256, static_cast<std::uint8_t>(w), t);
    k::AddTableSse2(src.data(), e.data(), 256, static_cast<std::uint8_t>(w), t);
    ASSERT_EQ(c, e) << "level " << w;
  }
}

// The arithmetics' own known answers; the table and MMX forms differ on purpose.
TEST(BlendKernels, KnownAnswers) {
  const ByteTables& t = ByteTables::Get();
  std::uint8_t s = 255, d = 0;
  k::BlendTable(&s, &d, 1, 128, t);
  EXPECT_EQ(d, 128);  // M[127][0] + M[128][255]
  d = 0;
  k::BlendMmxScalar(&s, &d, 1, 128);
  EXPECT_EQ(d, 127);  // (255 * 128 + 0 * 128) >> 8
  s = 200, d = 100;
  k::AddTable(&s, &d, 1, 255, t);
  EXPECT_EQ(d, 255);
  s = 10, d = 100;
  k::AddMmxScalar(&s, &d, 1, 255);
  EXPECT_EQ(d, 109);  // (25600 + 2550) >> 8
  // The masked MMX blend, one pixel: 257 leaves the target as it was at weight 0.
  const std::uint8_t zero = 0, full = 255;
  const std::uint8_t src[3] = {200, 200, 255};
  std::uint8_t px[3] = {100, 100, 255};
  k::MaskBlendMmxScalar(src, px, &zero, 1);
  EXPECT_EQ(px[0], 100);
  k::MaskBlendMmxScalar(src, px, &full, 1);
  EXPECT_EQ(px[1], 200);  // (255 * 200 + 2 * 100) >> 8
  EXPECT_EQ(px[2], 255);  // 65535 >> 8
}

}  // namespace
