// Dilation, erosion, the edge marker and the box blur: known answers and naive oracles.
#include "mask/mask_kernels.h"
#include "mask_fixtures.h"
#include "support/mask_imageops_fixtures.h"

#include <algorithm>
#include <climits>

namespace {

using namespace vardell::test;
using Op = BOOL (CMask::*)(int);
namespace mk = vardell::mask_kernels;

TEST(MaskMorphology, KnownAnswersAndRefusals) {
  // The soft-value erosion rule and the one-sided edges are pinned by the naive models below.
  CMask m;
  Load(m, {{0, 85, 85, 85, 0}});
  ASSERT_TRUE(m.Soften(0));
  EXPECT_EQ(Read(m), Image({{0, 85, 85, 85, 0}}));
  EXPECT_FALSE(m.DilateH(1) || m.ErosionV(-4) || m.Soften(-1));
  CMask empty;
  EXPECT_FALSE(empty.DilateH(3) || empty.EdgeDetect() || empty.Soften(1));
  // Windows of more than 255 rows count in wider words.
  Load(m, Image(300, {255}));
  ASSERT_TRUE(m.ErosionV(299));
  Image middle(300, {0});
  middle[149] = middle[150] = {255};
  EXPECT_EQ(Read(m), middle);
}

// ---- Naive definitions ----

// Span of 2 * (size / 2) + 1 pixels along one axis, pixels outside counting as 0.
Image NaiveMorph(const Image& in, int size, bool vertical, bool dilate) {
  const int h = static_cast<int>(in.size()), w = static_cast<int>(in[0].size());
  const long long half = size / 2;
  // Beyond w + h pixels a span only adds border zeros.
  const long long reach = std::min<long long>(half, w + h);
  Image out = in;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      bool any = false, all = reach == half;
      for (long long k = -reach; k <= reach; ++k) {
        const long long yy = vertical ? y + k : y, xx = vertical ? x : x + k;
        const int v = (yy < 0 || yy >= h || xx < 0 || xx >= w) ? 0 : in[yy][xx];
        any |= v != 0;
        all &= vertical ? v != 0 : v == 255;  // the erosions differ on soft values: intended
      }
      out[y][x] = (dilate ? any : all) ? 255 : 0;
    }
  return out;
}

Image NaiveEdges(const Image& in) {
  const int h = static_cast<int>(in.size()), w = static_cast<int>(in[0].size());
  Image out = in;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      // Only the top row looks at the row below it: edges are one-sided, intended.
      const int p = in[y][x], down = y == 0 ? (h > 1 ? in[1][x] : 0) : p;
      const int left = x > 0 ? in[y][x - 1] : 0, right = x + 1 < w ? in[y][x + 1] : 0;
      const int up = y > 0 ? in[y - 1][x] : 0;
      out[y][x] = (p <= left && p <= right && p <= up && p <= down) ? 0 : 255;
    }
  return out;
}

TEST(MaskMorphology, RandomMasksMatchNaiveNeighbourhoods) {
  Rng rng(2024);
  const Op ops[] = {&CMask::DilateH, &CMask::ErosionH, &CMask::DilateV, &CMask::ErosionV};
  for (int round = 0; round < 100; ++round) {
    Image img(static_cast<std::size_t>(rng.Range(1, 30)),
              std::vector<int>(static_cast<std::size_t>(rng.Range(1, 40))));
    for (auto& row : img)
      for (auto& v : row) v = rng.Byte();
    const int sizes[] = {2, 3, rng.Range(4, 12), rng.Range(13, 80), 100000, INT_MAX};
    const int size = sizes[rng.Range(0, 5)];
    CMask m;
    for (int op = 0; op < 4; ++op) {
      Load(m, img);
      ASSERT_TRUE((m.*ops[op])(size));
      ASSERT_EQ(Read(m), NaiveMorph(img, size, op >= 2, op % 2 == 0))
          << "round " << round << " op " << op << " size " << size;
    }
    Load(m, img);
    ASSERT_TRUE(m.EdgeDetect());
    ASSERT_EQ(Read(m), NaiveEdges(img)) << "round " << round;
    const int radii[] = {1, 2, rng.Range(3, 9), 128, 129, 300, 3000};
    const int radius = radii[rng.Range(0, 6)];
    Load(m, img);
    ASSERT_TRUE(m.Soften(radius));
    std::vector<int> want, got;
    for (const auto& row : img) want.insert(want.end(), row.begin(), row.end());
    for (const auto& row : Read(m)) got.insert(got.end(), row.begin(), row.end());
    ReferenceBoxBlur(want, m.Width(), m.Height(), 1, radius, false);
    ASSERT_EQ(got, want) << "round " << round << " radius " << radius;
  }
}

TEST(MaskMorphology, BlurKernelTwinsAgreeWithTheirDefinitions) {
  // The blur divides by odd spans only; a few even divisors check the general method.
  std::vector<int> divisors = {65535, 32769, 32768, 2};
  for (int d = 1; d <= 131; d += 2) divisors.push_back(d);
  for (int d : divisors) {
    const mk::Divider16 div(static_cast<std::uint16_t>(d));
    for (std::uint32_t x = 0; x < 65536; ++x)
      ASSERT_EQ(div.Divide(static_cast<std::uint16_t>(x)), x / d) << x << " / " << d;
  }
  // The prefix-sum and division twins, the sums wrapping past 65535 (37 * 255 * 8 rounds).
  std::vector<BYTE> bytes(37 * 8);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<BYTE>(255 - (i % 3));
  const mk::Divider16 seven(7);
  for (std::size_t n = 0; n <= bytes.size(); n += 7) {
    std::vector<std::uint16_t> a(n + 1), b(n + 1);
    std::vector<BYTE> qa(n + 1), qb(n + 1);
    mk::PrefixSums(bytes.data(), a.data(), n);
    mk::PrefixSumsSse2(bytes.data(), b.data(), n);
    mk::DivideRow(a.data(), qa.data(), n + 1, seven);
    mk::DivideRowSse2(a.data(), qb.data(), n + 1, seven);
    ASSERT_TRUE(a == b && qa == qb) << n;
  }
}

}  // namespace
