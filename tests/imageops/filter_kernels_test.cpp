// The SSE2 twins of the box step against their scalar definitions on sums no picture reaches, and
// the vector division on every sum a box can have. Whole rows and the sharpen kernel are pinned by
// the soften and sharpen tests, which run once per code path.
#include "imageops/filter_kernels.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

namespace k = vardell::imageops_kernels;
using vardell::test::Rng;

constexpr int kGuard = 16;

std::vector<BYTE> Random(Rng& rng, std::size_t n) {
  std::vector<BYTE> v(n);
  for (auto& b : v) b = rng.Byte();
  return v;
}

TEST(FilterKernelsTest, BoxStepTwinsAgreeOnAnySums) {
  Rng rng(612);
  for (int trial = 0; trial < 200; ++trial) {
    const int r = trial % 3 == 0 ? rng.Range(1, 140) : rng.Range(1, 4);
    const std::size_t n = static_cast<std::size_t>(trial % 40);
    std::vector<std::uint16_t> sums(n);
    for (auto& s : sums) s = static_cast<std::uint16_t>(rng.Next());
    const auto enter = Random(rng, n), leave = Random(rng, n);
    std::vector<BYTE> oa(n + kGuard, 3), ob = oa;
    auto sa = sums, sb = sums;
    k::BoxStepTable(sa.data(), oa.data(), enter.data(), leave.data(), n, r);
    k::BoxStepTableSse2(sb.data(), ob.data(), enter.data(), leave.data(), n, r);
    ASSERT_TRUE(oa == ob && sa == sb) << "table, trial " << trial;
    sa = sb = sums;
    k::BoxStepMmxScalar(sa.data(), oa.data(), enter.data(), leave.data(), n, r);
    k::BoxStepMmxSse2(sb.data(), ob.data(), enter.data(), leave.data(), n, r);
    ASSERT_TRUE(oa == ob && sa == sb) << "mmx, trial " << trial;
  }
  // The vector division is exact for every sum a box of bytes can have, radius 1..128.
  for (int r = 1; r <= 128; ++r) {
    const std::size_t count = 255u * (2 * r + 1) + 1;
    std::vector<std::uint16_t> sums(count);
    std::vector<BYTE> out(count), want(count);
    for (std::size_t i = 0; i < count; ++i)
      sums[i] = static_cast<std::uint16_t>(i), want[i] = static_cast<BYTE>(i / (2 * r + 1));
    const std::vector<BYTE> zero(count, 0);
    k::BoxStepTableSse2(sums.data(), out.data(), zero.data(), zero.data(), count, r);
    ASSERT_EQ(out, want) << "r " << r;
  }
}

}  // namespace
