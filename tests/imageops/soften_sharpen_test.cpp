#include "imageops_test_util.h"
#include "picture/mmx_switch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using vardell::test::At;
using vardell::test::FillRandom;
using vardell::test::OnlyChannelsChanged;
using vardell::test::Snapshot;

// Both passes as first defined: a scratch line with r replicated pixels before and r + 1 after,
// a 16-bit running sum per channel; rows first, then columns of the result. mmx selects the
// variant's saturating sums and ((S * f) mod 65536) >> 7 outputs.
void ReferenceSoften(std::vector<int>& px, int w, int h, int r, bool mmx) {
  const int f = 129 / (2 * r + 1);
  auto pass = [&](int count, int lines, auto index) {
    std::vector<int> line(count + 2 * r + 1);
    for (int l = 0; l < lines; ++l)
      for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < count + 2 * r + 1; ++i)
          line[i] = px[index(l, std::clamp(i - r, 0, count - 1), c)];
        int s = 0;
        for (int i = 0; i <= 2 * r; ++i)
          s = mmx ? std::min(s + line[i], 65535) : (s + line[i]) & 0xFFFF;
        for (int x = 0; x < count; ++x) {
          px[index(l, x, c)] = mmx ? std::min(((s * f) & 0xFFFF) >> 7, 255) : s / (2 * r + 1);
          s = mmx ? std::min(std::max(s - line[x], 0) + line[x + 2 * r + 1], 65535)
                  : (s - line[x] + line[x + 2 * r + 1]) & 0xFFFF;
        }
      }
  };
  pass(w, h, [&](int y, int x, int c) { return (y * w + x) * 3 + c; });
  pass(h, w, [&](int x, int y, int c) { return (y * w + x) * 3 + c; });
}

std::vector<int> Pixels(const CPicture& p) {
  std::vector<int> px;
  for (int y = 0; y < p.Height(); ++y)
    for (int x = 0; x < 3 * p.Width(); ++x) px.push_back(p.GetLineBuffer(y)[x]);
  return px;
}

TEST(SoftenTest, BothVariantsMatchTheTwoPassDefinition) {
  EnableMMX(0);
  const int sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {5, 3}, {17, 9}, {40, 23}};
  const int radii[] = {1, 2, 3, 7, 20, 64, 128};
  std::uint32_t seed = 620;
  for (const auto& [w, h] : sizes)
    for (int r : radii)
      for (bool mmx : {false, true}) {
        if (mmx && r > 64) continue;
        CPicture p;
        FillRandom(p, w, h, ++seed);
        auto want = Pixels(p);
        ReferenceSoften(want, w, h, r, mmx);
        const auto before = Snapshot(p);
        ASSERT_EQ(mmx ? p.SoftenMMX(r) : p.Soften(r), 1);
        ASSERT_EQ(Pixels(p), want) << w << "x" << h << " r " << r << (mmx ? " mmx" : "");
        ASSERT_TRUE(OnlyChannelsChanged(before, Snapshot(p), p));
      }
}

TEST(SoftenTest, KnownAnswersAndGuards) {
  EnableMMX(0);
  CPicture p;
  p.CreatePicture(7, 5, 255);
  EXPECT_EQ(p.Soften(128), 1);  // uniform stays uniform up to r = 128
  EXPECT_EQ(At(Snapshot(p), p, 3, 2, 1), 255);
  EXPECT_EQ(p.SoftenMMX(2), 1);  // f = 25: 5 * 255 * 25 >> 7 = 249, twice
  EXPECT_EQ(At(Snapshot(p), p, 3, 2, 0), 243);
  p.ClearPicture(BYTE{255});
  EXPECT_EQ(p.SoftenMMX(1), 1);  // f = 43: 765 * 43 >> 7 = 256, saturated
  EXPECT_EQ(At(Snapshot(p), p, 6, 4, 2), 255);
  p.ClearPicture(BYTE{255});
  EXPECT_EQ(p.SoftenMMX(65), 1);  // f = 0
  EXPECT_EQ(At(Snapshot(p), p, 0, 0, 0), 0);

  FillRandom(p, 6, 4, 630);
  const auto before = Snapshot(p);
  EXPECT_EQ(p.Soften(0), 1);
  EXPECT_EQ(p.SoftenMMX(0), 1);
  EXPECT_EQ(p.Soften(-1), 0);
  EXPECT_EQ(p.Soften(129), 0);
  EXPECT_EQ(p.SoftenMMX(-3), 0);
  EXPECT_EQ(Snapshot(p), before);

  // With the switch on, Soften is SoftenMMX.
  CPicture q;
  FillRandom(q, 6, 4, 630);
  EnableMMX(1);
  EXPECT_EQ(p.Soften(2), 1);
  EnableMMX(0);
  q.SoftenMMX(2);
  EXPECT_EQ(Snapshot(p), Snapshot(q));
  CPicture empty;
  EXPECT_EQ(empty.Soften(1), 0);
  EXPECT_EQ(empty.SoftenMMX(1), 0);
}

// Sharpen as first defined, from a copy of the picture.
std::vector<int> ReferenceSharpen(const CPicture& p, int k) {
  auto px = Pixels(p);
  const auto src = px;
  const int w = p.Width(), stride = 3 * w;
  for (int y = 1; y < p.Height() - 1; ++y)
    for (int i = 3; i < stride - 3; ++i) {
      const int c = src[y * stride + i];
      int n = -c;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -3; dx <= 3; dx += 3) n += src[(y + dy) * stride + i + dx];
      const int v = 9 * c - n;
      px[y * stride + i] = std::clamp(((v * k) >> 4) + ((c * (16 - k)) >> 4), 0, 255);
    }
  return px;
}

TEST(SharpenTest, MatchesTheDefinitionAndKeepsTheBorder) {
  const int sizes[][2] = {{1, 1}, {2, 5}, {5, 2}, {3, 3}, {19, 7}, {40, 11}};
  std::uint32_t seed = 640;
  for (const auto& [w, h] : sizes)
    for (int k : {1, 7, 15, 16}) {
      CPicture p;
      FillRandom(p, w, h, ++seed);
      const auto want = ReferenceSharpen(p, k);
      const auto before = Snapshot(p);
      ASSERT_EQ(p.Sharpen(k), 1);
      ASSERT_EQ(Pixels(p), want) << w << "x" << h << " k " << k;
      ASSERT_TRUE(OnlyChannelsChanged(before, Snapshot(p), p));
    }
}

TEST(SharpenTest, KnownAnswers) {
  CPicture p;
  p.CreatePicture(5, 5, 255);
  const auto before = Snapshot(p);
  EXPECT_EQ(p.Sharpen(0), 0);
  EXPECT_EQ(p.Sharpen(17), 0);
  EXPECT_EQ(Snapshot(p), before);
  EXPECT_EQ(p.Sharpen(1), 1);  // (255 >> 4) + (255 * 15 >> 4) = 15 + 239
  EXPECT_EQ(At(Snapshot(p), p, 2, 2, 0), 254);
  EXPECT_EQ(At(Snapshot(p), p, 0, 2, 0), 255);

  p.ClearPicture(BYTE{0});
  p.GetPixel(2, 2)[1] = 255;
  EXPECT_EQ(p.Sharpen(16), 1);
  EXPECT_EQ(At(Snapshot(p), p, 2, 2, 1), 255);
  EXPECT_EQ(At(Snapshot(p), p, 1, 1, 1), 0);
  EXPECT_EQ(At(Snapshot(p), p, 3, 2, 1), 0);
}

}  // namespace
