// The SSE2 twins of the box and sharpen kernels against their scalar definitions.
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

TEST(FilterKernelsTest, BoxRowTwinsAgree) {
  Rng rng(611);
  for (int r : {1, 2, 5, 64, 65, 128, 130})
    for (std::size_t n = 0; n < 36; ++n) {
      const auto padded = Random(rng, 3 * (n + 2 * r + 1));
      const BYTE* q = padded.data() + 3 * r;
      std::vector<BYTE> a(3 * n + kGuard, 9), b = a, c = a, d = a;
      k::BoxRowTable(q, a.data(), n, r);
      k::BoxRowTableSse2(q, b.data(), n, r);
      k::BoxRowMmxScalar(q, c.data(), n, r);
      k::BoxRowMmxSse2(q, d.data(), n, r);
      ASSERT_TRUE(a == b && c == d) << "r " << r << " n " << n;
    }
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

TEST(FilterKernelsTest, SharpenTwinsAgree) {
  Rng rng(613);
  for (int trial = 0; trial < 320; ++trial) {
    const std::size_t n = static_cast<std::size_t>(trial % 40);
    const auto up = Random(rng, n + 6), mid = Random(rng, n + 6), down = Random(rng, n + 6);
    std::vector<BYTE> a(n + kGuard, 5), b = a;
    k::SharpenRow(up.data() + 3, mid.data() + 3, down.data() + 3, a.data(), n, trial % 16 + 1);
    k::SharpenRowSse2(up.data() + 3, mid.data() + 3, down.data() + 3, b.data(), n, trial % 16 + 1);
    ASSERT_EQ(a, b) << "trial " << trial;
  }
}

}  // namespace
