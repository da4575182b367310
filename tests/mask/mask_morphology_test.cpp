// Dilation, erosion, the edge marker and the box blur: known answers and naive oracles.
#include "mask/mask.h"
#include "mask/mask_kernels.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

namespace {

using vardell::test::Rng;
using Image = std::vector<std::vector<int>>;  // [y][x], y from the top

void Load(CMask& m, const Image& img) {
  ASSERT_TRUE(m.CreateMask(static_cast<int>(img[0].size()), static_cast<int>(img.size()), 0));
  for (int y = 0; y < m.Height(); ++y)
    for (int x = 0; x < m.Width(); ++x) *m.GetPixel(x, y) = static_cast<BYTE>(img[y][x]);
}

Image Read(CMask& m) {
  Image img(static_cast<std::size_t>(m.Height()),
            std::vector<int>(static_cast<std::size_t>(m.Width())));
  for (int y = 0; y < m.Height(); ++y)
    for (int x = 0; x < m.Width(); ++x) img[y][x] = *m.GetPixel(x, y);
  return img;
}

TEST(MaskMorphology, DilationAndErosionKnownAnswers) {
  CMask m;
  EXPECT_FALSE(m.DilateH(3));
  EXPECT_FALSE(m.EdgeDetect());
  EXPECT_FALSE(m.Soften(1));
  Load(m, {{0, 0, 0, 255, 0, 0, 0}});
  EXPECT_FALSE(m.DilateH(1));
  EXPECT_FALSE(m.ErosionV(-4));
  ASSERT_TRUE(m.DilateH(2));
  EXPECT_EQ(Read(m), (Image{{0, 0, 255, 255, 255, 0, 0}}));
  Load(m, {{0, 1, 0, 0, 0, 0, 0}});
  ASSERT_TRUE(m.DilateH(4));  // 5 pixels; any nonzero value counts
  EXPECT_EQ(Read(m), (Image{{255, 255, 255, 255, 0, 0, 0}}));

  const Image full(3, std::vector<int>(4, 255));
  Load(m, full);
  ASSERT_TRUE(m.ErosionH(3));
  EXPECT_EQ(Read(m), (Image(3, {0, 255, 255, 0})));
  Load(m, full);
  ASSERT_TRUE(m.ErosionV(3));
  EXPECT_EQ(Read(m), (Image{{0, 0, 0, 0}, {255, 255, 255, 255}, {0, 0, 0, 0}}));

  // Windows of more than 255 rows count in wider words.
  Image column(300, {255});
  Load(m, column);
  ASSERT_TRUE(m.ErosionV(299));
  for (int y = 0; y < 300; ++y) ASSERT_EQ(*m.GetPixel(0, y), y == 149 || y == 150 ? 255 : 0) << y;
  ASSERT_TRUE(m.DilateV(600));
  for (int y = 0; y < 300; ++y) ASSERT_EQ(*m.GetPixel(0, y), 255) << y;

  // The two erosions differ on soft values: intended.
  Load(m, {{200, 200, 200, 200, 200}});
  ASSERT_TRUE(m.ErosionH(3));
  EXPECT_EQ(Read(m), (Image{{0, 0, 0, 0, 0}}));
  Load(m, {{200}, {200}, {200}, {200}, {200}});
  ASSERT_TRUE(m.ErosionV(3));
  EXPECT_EQ(Read(m), (Image{{0}, {255}, {255}, {255}, {0}}));
}

TEST(MaskMorphology, EdgeDetectIsOneSidedBelow) {
  CMask m;
  Image img(8, std::vector<int>(5, 0));
  for (int y = 2; y <= 5; ++y) img[y].assign(5, 255);
  Load(m, img);
  ASSERT_TRUE(m.EdgeDetect());
  Image expected(8, std::vector<int>(5, 0));
  expected[2].assign(5, 255);
  for (int y = 3; y <= 5; ++y) expected[y] = {255, 0, 0, 0, 255};
  EXPECT_EQ(Read(m), expected);
  // A step down is marked below it, a step up is not marked above it.
  Load(m, {{9, 9, 9, 9}, {20, 20, 20, 20}, {20, 20, 20, 20}, {5, 5, 5, 5}});
  ASSERT_TRUE(m.EdgeDetect());
  EXPECT_EQ(
      Read(m),
      (Image{{255, 255, 255, 255}, {255, 255, 255, 255}, {255, 0, 0, 255}, {255, 0, 0, 255}}));
}

TEST(MaskMorphology, SoftenKnownAnswers) {
  CMask m;
  Load(m, {{0, 0, 255, 0, 0}});
  ASSERT_TRUE(m.Soften(1));
  EXPECT_EQ(Read(m), (Image{{0, 85, 85, 85, 0}}));
  ASSERT_TRUE(m.Soften(0));
  EXPECT_EQ(Read(m), (Image{{0, 85, 85, 85, 0}}));
  EXPECT_FALSE(m.Soften(-1));
  Load(m, {{0}, {0}, {255}, {0}, {0}});
  ASSERT_TRUE(m.Soften(1));
  EXPECT_EQ(Read(m), (Image{{0}, {85}, {85}, {85}, {0}}));
}

// ---- Naive definitions ----

// Span of 2 * (size / 2) + 1 pixels along one axis, pixels outside counting as 0.
Image NaiveMorph(const Image& in, int size, bool vertical, bool dilate) {
  const int h = static_cast<int>(in.size()), w = static_cast<int>(in[0].size());
  const long long half = size / 2;
  Image out = in;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      // Beyond w + h pixels a span only adds border zeros.
      const long long reach = std::min<long long>(half, w + h);
      bool any = false, all = reach == half;
      for (long long k = -reach; k <= reach; ++k) {
        const long long yy = vertical ? y + k : y, xx = vertical ? x : x + k;
        const int v = (yy < 0 || yy >= h || xx < 0 || xx >= w) ? 0 : in[yy][xx];
        any |= v != 0;
        all &= vertical ? v != 0 : v == 255;
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
      const int p = in[y][x];
      const int left = x > 0 ? in[y][x - 1] : 0, right = x + 1 < w ? in[y][x + 1] : 0;
      const int up = y > 0 ? in[y - 1][x] : 0;
      const int down = y == 0 ? (h > 1 ? in[1][x] : 0) : p;
      out[y][x] = (p <= left && p <= right && p <= up && p <= down) ? 0 : 255;
    }
  return out;
}

// The running sum over a materialised scratch line, 16-bit, exactly as the blur is defined.
void NaiveSoftenLine(std::vector<int>& line, int radius) {
  const int n = static_cast<int>(line.size());
  std::vector<int> scratch(static_cast<std::size_t>(n + 2 * radius));
  for (int i = 0; i < n + 2 * radius; ++i) scratch[i] = line[std::clamp(i - radius, 0, n - 1)];
  const std::uint16_t span = static_cast<std::uint16_t>(2 * radius + 1);
  std::uint16_t sum = static_cast<std::uint16_t>(scratch[0] * (radius + 1));
  for (int i = 1; i <= radius; ++i) sum = static_cast<std::uint16_t>(sum + scratch[radius + i]);
  for (int c = 0; c < n; ++c) {
    line[c] = static_cast<BYTE>(sum / span);
    if (c + 1 < n) sum = static_cast<std::uint16_t>(sum - scratch[c] + scratch[c + span]);
  }
}

Image NaiveSoften(Image img, int radius) {
  for (auto& row : img) NaiveSoftenLine(row, radius);
  for (std::size_t x = 0; x < img[0].size(); ++x) {
    std::vector<int> column;
    for (auto& row : img) column.push_back(row[x]);
    NaiveSoftenLine(column, radius);
    for (std::size_t y = 0; y < img.size(); ++y) img[y][x] = column[y];
  }
  return img;
}

Image RandomImage(Rng& rng, int maxW, int maxH) {
  Image img(static_cast<std::size_t>(rng.Range(1, maxH)),
            std::vector<int>(static_cast<std::size_t>(rng.Range(1, maxW))));
  for (auto& row : img)
    for (auto& v : row) v = rng.Byte();
  return img;
}

TEST(MaskMorphology, RandomMasksMatchNaiveNeighbourhoods) {
  Rng rng(2024);
  for (int round = 0; round < 150; ++round) {
    const Image img = RandomImage(rng, 40, 30);
    const int sizes[] = {2, 3, rng.Range(4, 12), rng.Range(13, 80), 100000, INT_MAX};
    const int size = sizes[rng.Range(0, 5)];
    for (int op = 0; op < 4; ++op) {
      const bool vertical = op >= 2, dilate = (op % 2) == 0;
      CMask m;
      Load(m, img);
      ASSERT_TRUE(vertical ? (dilate ? m.DilateV(size) : m.ErosionV(size))
                           : (dilate ? m.DilateH(size) : m.ErosionH(size)));
      ASSERT_EQ(Read(m), NaiveMorph(img, size, vertical, dilate))
          << "round " << round << " op " << op << " size " << size;
    }
    CMask m;
    Load(m, img);
    ASSERT_TRUE(m.EdgeDetect());
    ASSERT_EQ(Read(m), NaiveEdges(img)) << "round " << round;
    const int radii[] = {1, 2, rng.Range(3, 9), 128, 129, 300, 3000};
    const int radius = radii[rng.Range(0, 6)];
    Load(m, img);
    ASSERT_TRUE(m.Soften(radius));
    ASSERT_EQ(Read(m), NaiveSoften(img, radius)) << "round " << round << " radius " << radius;
  }
}

TEST(MaskMorphology, CountTwinAgreesWithItsDefinition) {
  Rng rng(5);
  for (std::size_t n = 0; n <= 40; ++n) {
    std::vector<BYTE> row(n), entering(n), leaving(n);
    std::vector<std::uint8_t> count(n);
    for (std::size_t i = 0; i < n; ++i) {
      row[i] = rng.Byte(), entering[i] = rng.Byte(), leaving[i] = rng.Byte();
      count[i] = static_cast<std::uint8_t>(rng.Range(1, 254));
    }
    const std::uint8_t atLeast = static_cast<std::uint8_t>(rng.Range(1, 255));
    auto row2 = row;
    auto count2 = count;
    std::vector<BYTE> saved(n), saved2(n);
    vardell::mask_kernels::SlideCountsRow<std::uint8_t>(row.data(), saved.data(), entering.data(),
                                                        leaving.data(), count.data(), n, atLeast);
    vardell::mask_kernels::SlideCountsRowSse2(row2.data(), saved2.data(), entering.data(),
                                              leaving.data(), count2.data(), n, atLeast);
    ASSERT_EQ(row, row2) << n;
    ASSERT_EQ(saved, saved2) << n;
    ASSERT_EQ(count, count2) << n;
  }
}

TEST(MaskMorphology, Divider16IsExact) {
  using vardell::mask_kernels::Divider16;
  // The blur divides by odd spans only; a few even divisors check the general method.
  std::vector<int> divisors = {65535, 65533, 32769, 32767, 32768, 256, 2, 6};
  for (int d = 1; d <= 131; d += 2) divisors.push_back(d);
  for (int d : divisors) {
    const Divider16 div(static_cast<std::uint16_t>(d));
    for (std::uint32_t x = 0; x < 65536; ++x)
      ASSERT_EQ(div.Divide(static_cast<std::uint16_t>(x)), x / d) << x << " / " << d;
  }
  // The SIMD row and its scalar tail.
  std::vector<std::uint16_t> sums(37);
  std::vector<BYTE> out(37);
  for (std::size_t i = 0; i < sums.size(); ++i) sums[i] = static_cast<std::uint16_t>(i * 1777);
  const Divider16 div(7);
  vardell::mask_kernels::DivideRowSse2(sums.data(), out.data(), sums.size(), div);
  for (std::size_t i = 0; i < sums.size(); ++i) ASSERT_EQ(out[i], static_cast<BYTE>(sums[i] / 7));
  // The prefix-sum twin, wrapping past 65535 (37 * 255 * 8 rounds).
  std::vector<BYTE> bytes(37 * 8);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<BYTE>(255 - (i % 3));
  for (std::size_t n = 0; n <= bytes.size(); n += 7) {
    std::vector<std::uint16_t> a(n + 1), b(n + 1);
    vardell::mask_kernels::PrefixSums(bytes.data(), a.data(), n);
    vardell::mask_kernels::PrefixSumsSse2(bytes.data(), b.data(), n);
    ASSERT_EQ(a, b) << n;
  }
}

}  // namespace
