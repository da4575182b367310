// The SSE2 twins of the compositing kernels against their scalar definitions: seeded random rows
// of every length up to three vectors, guard bytes after each row, in-place calls.
#include "picture/blend_kernels.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using vardell::ByteTables;
using vardell::test::Rng;
namespace k = vardell::kernels;
using U8 = std::uint8_t;
using Bytes = std::vector<U8>;

U8 Weight(Rng& rng) {
  static const U8 kEdges[] = {0, 1, 128, 254, 255};
  return (rng.Next() & 1) ? kEdges[rng.Range(0, 4)] : rng.Byte();
}

// The extra arguments of one call, the same for both twins; weights: one a pixel.
struct Params {
  explicit Params(Rng& r) : w(Weight(r)), level(Weight(r)), invert(r.Next() & 1), weights(64) {
    for (auto& v : weights) v = Weight(r);
  }
  U8 w, level;
  bool invert;
  Bytes weights;
};

// A kernel pair; n counts units of `unit` bytes (3 for the kernels that count pixels).
struct Twin {
  const char* name;
  std::size_t unit;
  void (*run)(bool scalar, const Params& p, const U8* s, U8* d, std::size_t n);
};
const ByteTables& T() { return ByteTables::Get(); }
#define TWIN(unit, scalar, simd, ...)                                  \
  Twin {                                                               \
#scalar, unit,                                                     \
        [](bool sc, const Params& p, const U8* s, U8* d,               \
           std::size_t n) { (sc ? k::scalar : k::simd)(__VA_ARGS__); } \
  }
const Twin kTwins[] = {
    TWIN(1, BlendTable, BlendTableSse2, s, d, n, p.w, T()),
    TWIN(1, AddTable, AddTableSse2, s, d, n, p.w, T()),
    TWIN(1, BlendMmxScalar, BlendMmxSse2, s, d, n, p.w),
    TWIN(1, AddMmxScalar, AddMmxSse2, s, d, n, p.w),
    TWIN(1, MaskWeights, MaskWeightsSse2, s, d, n, p.level, p.invert, T()),
    TWIN(3, MaskBlendTable, MaskBlendTableSse2, s, d, p.weights.data(), n, T()),
    TWIN(3, MaskAddTable, MaskAddTableSse2, s, d, p.weights.data(), n, p.level, T()),
    TWIN(3, MaskBlendMmxScalar, MaskBlendMmxSse2, s, d, p.weights.data(), n),
};

// Both twins on the same random rows, separate and in place; every byte compared, guards too.
TEST(BlendKernels, Sse2TwinsEqualTheirScalarDefinitions) {
  constexpr std::size_t kGuard = 16;
  for (const Twin& twin : kTwins)
    for (std::uint32_t seed = 1; seed <= 6; ++seed) {
      Rng rng(seed);
      for (std::size_t n = 0, bytes = 0; bytes <= 3 * 16 + 15; bytes = ++n * twin.unit) {
        SCOPED_TRACE(testing::Message() << twin.name << " seed " << seed << " n " << n);
        Rng paramsRng(seed * 1000 + static_cast<std::uint32_t>(n));
        const Params p(paramsRng);
        Bytes src(bytes + kGuard, 0xA5), dst = src;
        for (std::size_t i = 0; i < bytes; ++i) src[i] = rng.Byte(), dst[i] = rng.Byte();
        Bytes a = dst, b = dst, ia = src, ib = src;
        twin.run(true, p, src.data(), a.data(), n);
        twin.run(false, p, src.data(), b.data(), n);
        ASSERT_EQ(a, b);
        ASSERT_EQ(Bytes(b.begin() + bytes, b.end()), Bytes(kGuard, 0xA5));
        twin.run(true, p, ia.data(), ia.data(), n);
        twin.run(false, p, ib.data(), ib.data(), n);
        ASSERT_EQ(ia, ib) << "in place";
      }
    }
}

// The arithmetics' own known answers; the table and MMX forms differ on purpose.
TEST(BlendKernels, KnownAnswers) {
  const ByteTables& t = ByteTables::Get();
  U8 s = 255, d = 0;
  k::BlendTable(&s, &d, 1, 128, t);
  EXPECT_EQ(d, 128);  // M[127][0] + M[128][255]
  d = 0;
  k::BlendMmxScalar(&s, &d, 1, 128);
  EXPECT_EQ(d, 127);  // (255 * 128 + 0 * 128) >> 8
  // The masked MMX blend, one pixel: 257 leaves the target as it was at weight 0.
  const U8 zero = 0, full = 255, src[3] = {200, 200, 255};
  U8 px[3] = {100, 100, 255};
  k::MaskBlendMmxScalar(src, px, &zero, 1);
  EXPECT_EQ(px[0], 100);
  k::MaskBlendMmxScalar(src, px, &full, 1);
  EXPECT_EQ(std::vector<U8>(px, px + 3), (std::vector<U8>{200, 200, 255}));  // 65535 >> 8
}

}  // namespace
