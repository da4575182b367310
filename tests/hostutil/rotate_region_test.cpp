#include "hostutil/rotate_region.h"

#include "hostutil/geometry_utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

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
