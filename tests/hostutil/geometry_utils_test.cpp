#include "hostutil/geometry_utils.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace {

CRect Mapped(CRect from, CRect to, CRect r) {
  ScaleTransform(from, to, r);
  return r;
}

CPoint Mapped(CRect from, CRect to, CPoint p) {
  ScaleTransform(from, to, p);
  return p;
}

TEST(ScaleTransformTest, IdentityHalvingAndExactFrame) {
  const CRect frame(-7, 3, 93, 203);
  EXPECT_EQ(Mapped(frame, frame, CRect(-5, 10, 40, 11)), CRect(-5, 10, 40, 11));
  EXPECT_EQ(Mapped(frame, CRect(0, 0, 37, 11), frame), CRect(0, 0, 37, 11));
  // Halving rounds every edge down, so the two halves of an odd span still meet.
  EXPECT_EQ(Mapped(CRect(0, 0, 200, 100), CRect(0, 0, 100, 50), CRect(3, 5, 9, 6)),
            CRect(1, 2, 4, 3));
  EXPECT_EQ(Mapped(CRect(0, 0, 10, 10), CRect(0, 0, 5, 5), CRect(0, 0, 3, 10)), CRect(0, 0, 1, 5));
  EXPECT_EQ(Mapped(CRect(0, 0, 10, 10), CRect(0, 0, 5, 5), CRect(3, 0, 10, 10)), CRect(1, 0, 5, 5));
  // The point form is the rectangle form's corner map.
  EXPECT_EQ(Mapped(CRect(0, 0, 4096, 1), CRect(10, 0, 20, 1), CPoint(4095, 0)), CPoint(19, 0));
}

TEST(ScaleTransformTest, ClippedDestinationMapsBackAndForth) {
  // A destination half outside a 100-wide target: the source is cut in proportion.
  const CRect dst(-50, 0, 150, 100), src(0, 0, 100, 50);
  const CRect d = dst & CRect(0, 0, 100, 100);
  const CRect s = Mapped(dst, src, d);
  EXPECT_EQ(s, CRect(25, 0, 75, 50));
  EXPECT_EQ(Mapped(src, dst, s), d);
  // Its first pixel is the source column that unclipped sampling reads for target column 0.
  EXPECT_EQ(s.left, src.left + (0 - dst.left) * src.Width() / dst.Width());
  // Upscaling 3 onto 7 and back: both ways round each edge down.
  const CRect up = Mapped(CRect(0, 0, 7, 1), CRect(0, 0, 3, 1), CRect(2, 0, 6, 1));
  EXPECT_EQ(up, CRect(0, 0, 2, 1));
  EXPECT_EQ(Mapped(CRect(0, 0, 3, 1), CRect(0, 0, 7, 1), up), CRect(0, 0, 4, 1));
}

TEST(ScaleTransformTest, NegativeCoordinatesRoundDownNotTowardZero) {
  const CRect from(-10, -10, 10, 10), to(-3, -3, 3, 3);
  EXPECT_EQ(Mapped(from, to, CRect(-9, -1, 1, 9)), CRect(-3, -1, 0, 2));
  EXPECT_EQ(Mapped(from, to, CPoint(-11, -14)), CPoint(-4, -5));
  // A mirrored frame maps linearly as well.
  EXPECT_EQ(Mapped(CRect(0, 0, 10, 10), CRect(10, 0, 0, 10), CPoint(3, 3)), CPoint(7, 3));
}

TEST(ScaleTransformTest, DegenerateFromCollapsesOntoTheTargetEdge) {
  EXPECT_EQ(Mapped(CRect(5, 0, 5, 10), CRect(20, 30, 40, 50), CRect(5, 2, 9, 4)),
            CRect(20, 34, 20, 38));
  EXPECT_EQ(Mapped(CRect(0, 0, 0, 0), CRect(20, 30, 40, 50), CPoint(7, -7)), CPoint(20, 30));
  // Far outside the frame, the result saturates instead of wrapping.
  EXPECT_EQ(Mapped(CRect(0, 0, 1, 1), CRect(0, 0, INT_MAX, 1), CPoint(3, 0)), CPoint(INT_MAX, 0));
  EXPECT_EQ(Mapped(CRect(INT_MIN, 0, INT_MAX, 1), CRect(INT_MIN, 0, INT_MAX, 1), CPoint(-5, 0)),
            CPoint(-5, 0));
}

// Seeded frames and cut points: seamless tiles, monotonic edges, exact frame corners.
TEST(ScaleTransformTest, TilesStaySeamlessAndInsideTheFrame) {
  vardell::test::Rng rng(2024);
  for (int round = 0; round < 500; ++round) {
    const int fl = rng.Range(-1000, 1000), tl = rng.Range(-1000, 1000);
    const CRect from(fl, 0, fl + rng.Range(1, 3000), 1), to(tl, 0, tl + rng.Range(0, 3000), 1);
    int a = rng.Range(from.left, from.right), b = rng.Range(from.left, from.right);
    if (a > b) std::swap(a, b);
    const CRect left = Mapped(from, to, CRect(from.left, 0, a, 1));
    const CRect mid = Mapped(from, to, CRect(a, 0, b, 1));
    const CRect right = Mapped(from, to, CRect(b, 0, from.right, 1));
    ASSERT_EQ(left.left, to.left) << "round " << round;
    ASSERT_EQ(left.right, mid.left) << "round " << round;
    ASSERT_EQ(mid.right, right.left) << "round " << round;
    ASSERT_EQ(right.right, to.right) << "round " << round;
    ASSERT_LE(mid.left, mid.right) << "round " << round;
  }
}

TEST(FitInTest, KeepsProportionsAndCentres) {
  // Wide into tall and tall into wide.
  EXPECT_EQ(FitIn(CRect(0, 0, 200, 100), CRect(0, 0, 50, 100)), CRect(0, 37, 50, 62));
  EXPECT_EQ(FitIn(CRect(0, 0, 100, 200), CRect(10, 10, 110, 60)), CRect(47, 10, 72, 60));
  // Exact fit, whatever inner's position and scale.
  EXPECT_EQ(FitIn(CRect(5, 5, 9, 8), CRect(-40, -30, 40, 30)), CRect(-40, -30, 40, 30));
  // Odd sizes: 7 x 3 into 10 x 10 gives 10 x 4 (4.29 rounded) at top 3; 3 x 7 gives 4 x 10.
  EXPECT_EQ(FitIn(CRect(0, 0, 7, 3), CRect(0, 0, 10, 10)), CRect(0, 3, 10, 7));
  EXPECT_EQ(FitIn(CRect(0, 0, 3, 7), CRect(0, 0, 10, 10)), CRect(3, 0, 7, 10));
  // 1 x 3 into 4 x 4: the width 1.33 rounds to 1, the odd pixel left over goes to the right.
  EXPECT_EQ(FitIn(CRect(0, 0, 1, 3), CRect(0, 0, 4, 4)), CRect(1, 0, 2, 4));
  // Halves round up: 2 x 1 into 5 x 5 is 5 x 2.5 -> 3.
  EXPECT_EQ(FitIn(CRect(0, 0, 2, 1), CRect(0, 0, 5, 5)), CRect(0, 1, 5, 4));
  // Never thinner than one pixel; inverted rectangles count as their normalised selves.
  EXPECT_EQ(FitIn(CRect(0, 0, 1, 1000), CRect(0, 0, 10, 10)), CRect(4, 0, 5, 10));
  EXPECT_EQ(FitIn(CRect(4, 2, 0, 0), CRect(10, 10, 0, 0)), CRect(0, 2, 10, 7));
}

TEST(FitInTest, EmptyRectanglesGiveTheCentrePoint) {
  EXPECT_EQ(FitIn(CRect(0, 0, 0, 5), CRect(0, 0, 10, 20)), CRect(5, 10, 5, 10));
  EXPECT_EQ(FitIn(CRect(0, 0, 5, 5), CRect(2, 2, 8, 2)), CRect(5, 2, 5, 2));
}

TEST(NormalizeRectTest, SwapsOnlyInvertedPairs) {
  RECT r{9, 1, 3, 4};
  NormalizeRect(r);
  EXPECT_EQ(CRect(r), CRect(3, 1, 9, 4));
}

CPoint Turned(CPoint p, CPoint c, double degrees) {
  const double a = degrees * std::acos(-1.0) / 180.0;
  return RotatePoint(p, c, std::cos(a), std::sin(a));
}

TEST(RotatePointTest, PositiveAnglesTurnClockwiseOnScreen) {
  // +x goes to +y (downwards): clockwise as seen on screen.
  EXPECT_EQ(Turned(CPoint(10, 0), CPoint(0, 0), 90), CPoint(0, 10));
  EXPECT_EQ(Turned(CPoint(0, 10), CPoint(0, 0), 90), CPoint(-10, 0));
  EXPECT_EQ(Turned(CPoint(3, -4), CPoint(0, 0), 180), CPoint(-3, 4));
  EXPECT_EQ(Turned(CPoint(13, 20), CPoint(10, 20), -90), CPoint(10, 17));
  EXPECT_EQ(Turned(CPoint(7, 9), CPoint(5, 5), 180), CPoint(3, 1));
  // Rounding to nearest, halves away from zero: (1, 0) by 45 degrees is (0.707, 0.707).
  EXPECT_EQ(Turned(CPoint(1, 0), CPoint(0, 0), 45), CPoint(1, 1));
  EXPECT_EQ(RotatePoint(CPoint(3, 0), CPoint(0, 0), 0.5, 0.5), CPoint(2, 2));
  EXPECT_EQ(RotatePoint(CPoint(-3, 0), CPoint(0, 0), 0.5, 0.5), CPoint(-2, -2));
  EXPECT_EQ(RotatePoint(CPoint(-3, 0), CPoint(0, 0), 0.4, 0.1), CPoint(-1, 0));
  EXPECT_EQ(RotatePoint(CPoint(4, 4), CPoint(1, 2), std::nan(""), 0.0), CPoint(1, 2));
}

TEST(GetAngleTest, MeasuresInRotatePointsSense) {
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(0, 0), CPoint(5, 0)), 0.0);
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(1, 1), CPoint(1, 9)), 90.0);
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(1, 1), CPoint(-4, 1)), 180.0);
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(0, 0), CPoint(-3, -3)), -135.0);
  EXPECT_DOUBLE_EQ(GetAngle(CPoint(2, 2), CPoint(2, 2)), 0.0);
  const double a = GetAngle(CPoint(0, 0), CPoint(30, 40)) * std::acos(-1.0) / 180.0;
  EXPECT_EQ(RotatePoint(CPoint(50, 0), CPoint(0, 0), std::cos(a), std::sin(a)), CPoint(30, 40));
}

TEST(Distance2Test, SquaredDistanceSaturates) {
  EXPECT_EQ(Distance2(CPoint(1, 2), CPoint(4, 6)), 25);
  EXPECT_EQ(Distance2(CPoint(-3, 0), CPoint(3, 0)), 36);
  EXPECT_EQ(Distance2(CPoint(7, 7), CPoint(7, 7)), 0);
  EXPECT_EQ(Distance2(CPoint(0, 0), CPoint(46340, 0)), 2147395600);
  EXPECT_EQ(Distance2(CPoint(0, 0), CPoint(46340, 300)), INT_MAX);
  EXPECT_EQ(Distance2(CPoint(INT_MIN, INT_MIN), CPoint(INT_MAX, INT_MAX)), INT_MAX);
}

}  // namespace
