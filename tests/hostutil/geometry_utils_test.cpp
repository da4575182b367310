#include "hostutil/geometry_utils.h"
#include "hostutil/rotate_region.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

template <typename T>
T Mapped(CRect from, CRect to, T v) {
  ScaleTransform(from, to, v);
  return v;
}

TEST(ScaleTransformTest, KnownAnswers) {
  // A destination half outside a 100-wide target: the source is cut in proportion, back and
  // forth, and starts at the column that unclipped sampling reads for target column 0.
  const CRect dst(-50, 0, 150, 100), src(0, 0, 100, 50), d(0, 0, 100, 100);
  EXPECT_EQ(Mapped(dst, src, d), CRect(25, 0, 75, 50));
  EXPECT_EQ(Mapped(src, dst, CRect(25, 0, 75, 50)), d);
  // Negative coordinates round down, not towards zero; mirrored frames map linearly.
  const CRect from(-10, -10, 10, 10), to(-3, -3, 3, 3);
  EXPECT_EQ(Mapped(from, to, CPoint(-11, -14)), CPoint(-4, -5));
  EXPECT_EQ(Mapped(CRect(0, 0, 10, 10), CRect(10, 0, 0, 10), CPoint(3, 3)), CPoint(7, 3));
  // A degenerate axis collapses onto the target's edge; far outside, results saturate.
  EXPECT_EQ(Mapped(CRect(5, 0, 5, 10), CRect(20, 30, 40, 50), CRect(5, 2, 9, 4)),
            CRect(20, 34, 20, 38));
  EXPECT_EQ(Mapped(CRect(0, 0, 1, 1), CRect(0, 0, INT_MAX, 1), CPoint(3, 0)), CPoint(INT_MAX, 0));
}

// Seeded frames cut in three: tiles stay seamless, ordered and exactly on the frame's edges.
TEST(ScaleTransformTest, TilesStaySeamlessAndInsideTheFrame) {
  vardell::test::Rng rng(2024);
  for (int round = 0; round < 200; ++round) {
    const int fl = rng.Range(-1000, 1000), tl = rng.Range(-1000, 1000);
    const CRect from(fl, 0, fl + rng.Range(1, 3000), 1), to(tl, 0, tl + rng.Range(0, 3000), 1);
    int a = rng.Range(from.left, from.right), b = rng.Range(from.left, from.right);
    if (a > b) std::swap(a, b);
    const CRect left = Mapped(from, to, CRect(from.left, 0, a, 1));
    const CRect mid = Mapped(from, to, CRect(a, 0, b, 1));
    const CRect right = Mapped(from, to, CRect(b, 0, from.right, 1));
    ASSERT_TRUE(left.left == to.left && left.right == mid.left && mid.right == right.left &&
                right.right == to.right && mid.left <= mid.right)
        << "round " << round;
  }
}

TEST(FitInTest, KeepsProportionsAndCentres) {
  EXPECT_EQ(FitIn(CRect(0, 0, 200, 100), CRect(0, 0, 50, 100)), CRect(0, 37, 50, 62));
  // 7 x 3 into 10 x 10 is 10 x 4.29 -> 4; 1 x 3 into 4 x 4 leaves the odd pixel on the right.
  EXPECT_EQ(FitIn(CRect(0, 0, 7, 3), CRect(0, 0, 10, 10)), CRect(0, 3, 10, 7));
  EXPECT_EQ(FitIn(CRect(0, 0, 1, 3), CRect(0, 0, 4, 4)), CRect(1, 0, 2, 4));
  EXPECT_EQ(FitIn(CRect(0, 0, 2, 1), CRect(0, 0, 5, 5)), CRect(0, 1, 5, 4));  // 2.5 -> 3
  EXPECT_EQ(FitIn(CRect(4, 2, 0, 0), CRect(10, 10, 0, 0)), CRect(0, 2, 10, 7));
  EXPECT_EQ(FitIn(CRect(0, 0, 0, 5), CRect(0, 0, 10, 20)), CRect(5, 10, 5, 10));
}

TEST(RotatePointTest, ClockwiseOnScreenRoundedToNearest) {
  const auto turned = [](CPoint p, CPoint c, double degrees) {
    const double a = degrees * std::acos(-1.0) / 180.0;
    return RotatePoint(p, c, std::cos(a), std::sin(a));
  };
  EXPECT_EQ(turned(CPoint(10, 0), CPoint(0, 0), 90), CPoint(0, 10));
  EXPECT_EQ(RotatePoint(CPoint(-3, 0), CPoint(0, 0), 0.5, 0.5), CPoint(-2, -2));
  EXPECT_EQ(RotatePoint(CPoint(-3, 0), CPoint(0, 0), 0.4, 0.1), CPoint(-1, 0));
  EXPECT_EQ(RotatePoint(CPoint(4, 4), CPoint(1, 2), std::nan(""), 0.0), CPoint(1, 2));
  // GetAngle measures in the same sense.
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(1, 1), CPoint(1, 9)), 90.0);
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(0, 0), CPoint(-3, -3)), -135.0);
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(2, 2), CPoint(2, 2)), 0.0);
  EXPECT_EQ(turned(CPoint(50, 0), CPoint(0, 0), GetAngle(CPoint(0, 0), CPoint(30, 40))),
            CPoint(30, 40));
}

TEST(Distance2Test, SquaredDistanceSaturates) {
  EXPECT_EQ(Distance2(CPoint(1, 2), CPoint(4, 6)), 25);
  EXPECT_EQ(Distance2(CPoint(INT_MIN, INT_MIN), CPoint(INT_MAX, INT_MAX)), INT_MAX);
}

std::vector<RECT> RectsOf(const CRgn& rgn) {
  const int size = rgn.GetRegionData(nullptr, 0);
  std::vector<unsigned char> data(size);
  rgn.GetRegionData(reinterpret_cast<RGNDATA*>(data.data()), size);
  std::vector<RECT> rects((size - 32) / 16);
  if (!rects.empty()) std::memcpy(rects.data(), data.data() + 32, rects.size() * 16);
  return rects;
}

TEST(GetRotateRegionTest, ZeroIsTheRectangleAndPositiveAnglesTurnClockwiseOnScreen) {
  std::unique_ptr<CRgn> turned(GetRotateRegion(CRect(3, 4, 43, 24), CPoint(23, 14), 0.0));
  CRgn rect;
  rect.CreateRectRgn(3, 4, 43, 24);
  EXPECT_TRUE(turned->EqualRgn(&rect));
  // A bar along +x turned by +90 about its left end points down (+y), as RotatePoint turns.
  std::unique_ptr<CRgn> bar(GetRotateRegion(CRect(0, 0, 100, 10), CPoint(0, 0), 90.0));
  CRect box;
  EXPECT_EQ(bar->GetRgnBox(&box), SIMPLEREGION);
  EXPECT_EQ(box, CRect(-10, 0, 0, 100));
}

// Every pixel of the region, turned back the way the rotated draw samples (RotatePoint by the
// opposite angle, 3.14 for pi), lands within one pixel of the rectangle, even far from the centre.
TEST(GetRotateRegionTest, AgreesWithTheBackwardMapOfTheRotatedDraw) {
  const CRect rect(0, 0, 6000, 4000);
  const CPoint centre = rect.CenterPoint();
  for (double angle : {37.0, -123.5}) {
    std::unique_ptr<CRgn> rgn(GetRotateRegion(rect, centre, angle));
    const double theta = -angle * 3.14 / 180;
    const double c = std::cos(theta), s = std::sin(theta);
    const std::vector<RECT> rects = RectsOf(*rgn);
    for (const RECT& r : rects) {
      for (int y = r.top; y < r.bottom; ++y) {
        for (int x : {r.left, r.right - 1}) {
          const CPoint p = RotatePoint(CPoint(x, y), centre, c, s);
          ASSERT_TRUE(p.x >= rect.left - 1 && p.x <= rect.right && p.y >= rect.top - 1 &&
                      p.y <= rect.bottom)
              << angle << ": " << x << ',' << y << " -> " << p.x << ',' << p.y;
        }
      }
    }
  }
}

TEST(GetRotateRegionTest, UnrepresentableInputGivesAnEmptyRegion) {
  CRect box;
  for (auto [rect, angle] :
       {std::pair{CRect(5, 5, 5, 50), 30.0},
        std::pair{CRect(0, 0, 10, 10), std::numeric_limits<double>::quiet_NaN()},
        std::pair{CRect(0, 0, 0x7FFFFFF, 0x7FFFFFF), 45.0}}) {
    std::unique_ptr<CRgn> rgn(GetRotateRegion(rect, rect.CenterPoint(), angle));
    ASSERT_NE(rgn, nullptr);
    EXPECT_EQ(rgn->GetRgnBox(&box), NULLREGION);
  }
}

}  // namespace
