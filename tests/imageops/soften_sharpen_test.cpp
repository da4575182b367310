#include "imageops_test_util.h"
#include "picture/mmx_switch.h"
#include "support/mask_imageops_fixtures.h"

#include <algorithm>

namespace {

using namespace vardell::test;

// Sharpen as first defined, from a copy of the picture; the border pixels stay.
std::vector<int> ReferenceSharpen(const CPicture& p, int k) {
  auto px = Channels(p);
  const auto src = px;
  const int stride = 3 * p.Width();
  for (int y = 1; y < p.Height() - 1; ++y)
    for (int i = 3; i < stride - 3; ++i) {
      const int c = src[y * stride + i];
      int n = -c;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -3; dx <= 3; dx += 3) n += src[(y + dy) * stride + i + dx];
      px[y * stride + i] = std::clamp((((9 * c - n) * k) >> 4) + ((c * (16 - k)) >> 4), 0, 255);
    }
  return px;
}

TEST(SoftenSharpenTest, BothSoftenVariantsAndSharpenMatchTheirDefinitions) {
  EnableMMX(0);
  const int sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {3, 3}, {17, 9}, {40, 23}};
  std::uint32_t seed = 620;
  for (const auto& [w, h] : sizes) {
    CPicture p;
    for (int r : {1, 2, 7, 64, 128})
      for (bool mmx : {false, true}) {
        if (mmx && r > 64) continue;
        FillRandom(p, w, h, ++seed);
        auto want = Channels(p);
        ReferenceBoxBlur(want, w, h, 3, r, mmx);
        const auto expected = WithChannels(p, want);
        ASSERT_EQ(mmx ? p.SoftenMMX(r) : p.Soften(r), 1);
        ASSERT_EQ(Snapshot(p), expected) << w << "x" << h << " r " << r << (mmx ? " mmx" : "");
      }
    for (int k : {1, 7, 16}) {
      FillRandom(p, w, h, ++seed);
      const auto expected = WithChannels(p, ReferenceSharpen(p, k));
      ASSERT_EQ(p.Sharpen(k), 1);
      ASSERT_EQ(Snapshot(p), expected) << w << "x" << h << " k " << k;
    }
  }
}

TEST(SoftenSharpenTest, KnownAnswersAndGuards) {
  EnableMMX(0);
  CPicture p, q, empty;
  // MMX r = 65: f = 0, every average is 0.
  p.CreatePicture(7, 5, 255);
  EXPECT_EQ(p.SoftenMMX(65), 1);
  EXPECT_EQ(Channels(p), std::vector<int>(105, 0));
  FillRandom(p, 6, 4, 630);
  const auto before = Snapshot(p);
  EXPECT_EQ(p.Soften(0) + p.SoftenMMX(0), 2);
  EXPECT_EQ(p.Soften(-1) + p.Soften(129) + p.SoftenMMX(-3) + p.Sharpen(0) + p.Sharpen(17), 0);
  EXPECT_EQ(Snapshot(p), before);
  // With the switch on, Soften is SoftenMMX.
  FillRandom(q, 6, 4, 630);
  EnableMMX(1);
  EXPECT_EQ(p.Soften(2), 1);
  EnableMMX(0);
  q.SoftenMMX(2);
  EXPECT_EQ(Snapshot(p), Snapshot(q));
  EXPECT_EQ(empty.Soften(1) + empty.SoftenMMX(1) + empty.Sharpen(1), 0);
  // Sharpen: (255 >> 4) + (255 * 15 >> 4) = 15 + 239 inside, 255 on the border.
  p.CreatePicture(5, 5, 255);
  EXPECT_EQ(p.Sharpen(1), 1);
  const auto s = Snapshot(p);
  EXPECT_TRUE(At(s, p, 2, 2, 0) == 254 && At(s, p, 0, 2, 0) == 255);
}

}  // namespace
