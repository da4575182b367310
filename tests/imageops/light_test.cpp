#include "hostutil/geometry_utils.h"
#include "imageops_test_util.h"

#include <cmath>

namespace {

using namespace vardell::test;

// The light as first defined, with acos for every pixel.
std::vector<BYTE> ReferenceLight(const CPicture& p, CPoint from, CPoint to, int length, int height,
                                 COLORREF color, int intensity, int angle) {
  auto s = Snapshot(p);
  const double a = std::acos(std::sqrt(static_cast<double>(Distance2(from, to))) / length);
  const double ax = to.x, ay = to.y, h = height,
               fz = height + static_cast<int>(std::sin(a) * length);
  const double ux = ax - from.x, uy = ay - from.y, uz = h - fz;
  const double axis = std::sqrt(ux * ux + uy * uy + uz * uz), k = h * h / std::sin(a) / std::sin(a);
  for (int y = 0; y < p.Height(); ++y)
    for (int x = 0; x < p.Width(); ++x) {
      const double r = std::sqrt(h * h + (ay - y) * (ay - y) + (ax - x) * (ax - x));
      const double cosine = (ux * (x - ax) + uy * (y - ay) + uz * (0.0 - h)) / r / axis;
      if (!(std::acos(cosine) * 57.324840764331206 < angle)) continue;
      const double w = 1 / r;
      for (int c = 0; c < 3; ++c) {
        BYTE& byte = s[static_cast<std::size_t>(p.Height() - 1 - y) * p.GetDataWidth() + 3 * x + c];
        const int amount = static_cast<int>((color >> (16 - 8 * c)) & 0xFF) * intensity / 100;
        const int v = byte + static_cast<int>(amount * w * w * k * (height * w));
        byte = static_cast<BYTE>(v > 255 ? 255 : v);
      }
    }
  return s;
}

TEST(LightTest, MatchesTheDefinitionOnRandomBeams) {
  Rng rng(670);
  for (int trial = 0; trial < 40; ++trial) {
    CPicture p;
    FillRandom(p, 30, 20, 671 + trial);
    const CPoint from(rng.Range(-10, 40), rng.Range(-10, 30)),
        to(rng.Range(0, 29), rng.Range(0, 19));
    const int length =
        static_cast<int>(std::sqrt(static_cast<double>(Distance2(from, to)))) + rng.Range(1, 30);
    const int height = rng.Range(1, 40), intensity = rng.Range(0, 300), angle = rng.Range(0, 200);
    const COLORREF color = rng.Next() & 0xFFFFFF;
    const auto want = ReferenceLight(p, from, to, length, height, color, intensity, angle);
    ASSERT_EQ(p.DrawLight(from, to, length, height, color, intensity, angle), 1);
    ASSERT_EQ(Snapshot(p), want) << "trial " << trial;
  }
}

TEST(LightTest, TheDiscBelowTheLampAndNothingWithoutLightOrCone) {
  CPicture p, empty;
  p.CreatePicture(41, 31, 0);
  const CPoint below(20, 15);
  ASSERT_EQ(p.DrawLight(below, below, 10, 10, RGB(255, 255, 100), 100, 30), 1);
  const auto s = Snapshot(p);
  // Straight below: 255 * 100 * 10 / 10^3; (23, 15): 255000 / 109^1.5.
  EXPECT_EQ(std::vector<int>({At(s, p, 20, 15, 2), At(s, p, 20, 15, 0), At(s, p, 23, 15, 2)}),
            std::vector<int>({255, 100, 224}));
  // (25, 15) is 26.6 degrees (of 3.14-degree units) from the axis, (26, 15) 31.0; (24, 18) is at
  // distance 5.
  EXPECT_TRUE(At(s, p, 25, 15, 2) > 0 && At(s, p, 26, 15, 2) == 0 && At(s, p, 20, 21, 1) == 0 &&
              At(s, p, 24, 18, 1) > 0);

  FillRandom(p, 12, 9, 672);
  const auto before = Snapshot(p);
  const CPoint c(5, 4);
  EXPECT_EQ(p.DrawLight(c, c, 10, 10, RGB(255, 255, 255), 0, 40), 1);
  EXPECT_EQ(p.DrawLight(c, c, 10, 10, RGB(0, 0, 0), 100, 40), 1);
  // Straight below the apex theta is exactly 0, which is not below an angle of 0.
  EXPECT_EQ(p.DrawLight(c, c, 10, 10, RGB(255, 255, 255), 100, 0), 1);
  // Points farther apart than the arm: no tilt, nothing changes, still 1.
  EXPECT_EQ(p.DrawLight(CPoint(0, 0), CPoint(11, 8), 5, 10, RGB(255, 255, 255), 100, 90), 1);
  EXPECT_EQ(p.DrawLight(c, c, 0, 10, RGB(255, 255, 255), 100, 90), 1);
  EXPECT_EQ(Snapshot(p), before);
  EXPECT_EQ(p.DrawLight(c, c, 10, 10, RGB(255, 255, 255), 100, 1), 1);
  EXPECT_NE(Snapshot(p), before);
  EXPECT_EQ(empty.DrawLight(c, c, 10, 10, RGB(255, 255, 255), 100, 1), 0);
}

}  // namespace
