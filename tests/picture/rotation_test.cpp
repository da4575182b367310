// CPicture rotated drawing against a slow per-pixel reference of the same fixed-point walk, its
// figures (the 0.05-degree shortcut, Rotate, Mirror, the division by 256) and bad input.
#include "picture_fixtures.h"

#include "hostutil/geometry_utils.h"
#include "hostutil/rotate_region.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace {

using namespace vardell::test;
using vardell::ByteTables;

// One mask of a masked draw: the mask, the rectangle of it that covers the picture, inverted.
struct Layer {
  CMask* mask = nullptr;
  CRect rect;
  int invert = 0;
};

// The rotated draw pixel by pixel: position k of a run is ((f + k * d) >> 12) computed afresh,
// clamped to the source for the plain draw, skipped (without moving the target) for the masked
// ones (no masks: the plain draw). Answers the number of skipped pixels.
int Reference(CPicture& src, CPicture& dst, CRect dstRect, CRect srcRect, double a,
              std::vector<Layer> masks = {}, BYTE level = 255, int add = 0) {
  const ByteTables& t = ByteTables::Get();
  const CRect pict = src.GetPictureRect();
  CRect placed = pict;
  ScaleTransform(srcRect, dstRect, placed);
  const CPoint centre = placed.CenterPoint();
  std::unique_ptr<CRgn> rgn(GetRotateRegion(placed, centre, a));
  CRgn box;
  box.CreateRectRgn(0, 0, dst.Width(), dst.Height());
  rgn->CombineRgn(rgn.get(), &box, RGN_AND);
  std::vector<char> data(static_cast<std::size_t>(rgn->GetRegionData(nullptr, 0)));
  rgn->GetRegionData(reinterpret_cast<RGNDATA*>(data.data()), static_cast<int>(data.size()));
  const double th = -a * 3.14 / 180, c = std::cos(th), s = std::sin(th);
  const auto toSource = [&](CPoint p) {
    p = RotatePoint(p, centre, c, s);
    ScaleTransform(dstRect, srcRect, p);
    return p;
  };
  const auto toMask = [&](CPoint p, const CRect& r) {
    ScaleTransform(pict, r, p);
    return p;
  };
  const CPoint p0 = toSource(CPoint(0, 0)), p1 = toSource(CPoint(4096, 0));
  const auto at = [](long long f, long long d, long long k, int lo, int hi) {
    return static_cast<int>(std::clamp<long long>((f + k * d) >> 12, lo, hi - 1));
  };
  int skipped = 0;
  for (DWORD i = 0; i < reinterpret_cast<const RGNDATAHEADER*>(data.data())->nCount; ++i) {
    RECT r;
    std::memcpy(&r, data.data() + 32 + 16 * i, 16);
    for (int y = r.top; y < r.bottom; ++y) {
      const CPoint st = toSource(CPoint(r.left, y));
      int out = r.left;
      for (long long k = 0; k < r.right - r.left; ++k) {
        const long long fx = st.x * 4096LL + k * (p1.x - p0.x),
                        fy = st.y * 4096LL + k * (p1.y - p0.y);
        BYTE* d = dst.GetPixel(out, y);
        if (masks.empty()) {
          std::memcpy(d, src.GetPixel(at(fx, 0, 0, 0, src.Width()), at(fy, 0, 0, 0, src.Height())),
                      3);
          ++out;
          continue;
        }
        if ((fx >> 12) < 0 || (fx >> 12) >= src.Width() || (fy >> 12) < 0 ||
            (fy >> 12) >= src.Height()) {
          ++skipped;
          continue;
        }
        int mv = 255;
        for (const Layer& m : masks) {
          const CRect& mr = m.rect;
          const CPoint q = toMask(st, mr), q0 = toMask(p0, mr), q1 = toMask(p1, mr);
          const BYTE v = *m.mask->GetPixel(at(q.x * 4096LL, q1.x - q0.x, k, mr.left, mr.right),
                                           at(q.y * 4096LL, q1.y - q0.y, k, mr.top, mr.bottom));
          mv = t.mul[mv][m.invert ? t.inv[v] : v];
        }
        const int aw = t.mul[level][mv];
        const BYTE* sp = src.GetPixel(static_cast<int>(fx >> 12), static_cast<int>(fy >> 12));
        for (int ch = 0; ch < 3; ++ch) {
          const int v = add ? t.Clamp()[d[ch] + t.mul[mv][sp[ch]]] : sp[ch];
          d[ch] = static_cast<BYTE>((d[ch] * (255 - aw) + v * aw) >> 8);
        }
        ++out;
      }
    }
  }
  return skipped;
}

TEST(Rotation, WalkMatchesTheReference) {
  int skipped = 0;
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    Rng rng(seed);
    CPicture src, dst, expected;
    Fill(src, rng.Range(1, 30), rng.Range(1, 25), rng);
    Fill(dst, rng.Range(1, 40), rng.Range(1, 40), rng);
    CMask mask, mask2;
    Fill(mask, rng.Range(1, 12), rng.Range(1, 12), rng);
    Fill(mask2, rng.Range(1, 12), rng.Range(1, 12), rng);
    double angle = rng.Range(-720, 720) + rng.Range(0, 99) / 100.0;
    if (std::fabs(angle) < 1) angle += 2;  // keep clear of the unrotated shortcut
    const int x = rng.Range(-10, 20), y = rng.Range(-10, 20);
    const CRect dstRect(x, y, x + rng.Range(1, 40), y + rng.Range(1, 40));
    const CRect srcRect(0, 0, rng.Range(1, src.Width()), rng.Range(1, src.Height()));
    dst.Duplicate(expected);
    const Layer one{&mask, CRect(0, 0, rng.Range(1, mask.Width()), mask.Height()), rng.Range(0, 1)};
    const BYTE level = static_cast<BYTE>(rng.Range(0, 255));
    const int add = rng.Range(0, 1), form = static_cast<int>(seed % 4);
    const Layer two{&mask2,
                    CRect(0, rng.Range(0, mask2.Height() - 1), mask2.Width(), mask2.Height()),
                    rng.Range(0, 1)};
    int result = 0;
    if (form == 0) {
      result = src.DrawRotate(dst, dstRect, angle, srcRect, 0.5);
      Reference(src, expected, dstRect, srcRect, angle - 0.5);
    } else {
      if (form == 1)
        result = src.DrawRotate(dst, dstRect, angle, srcRect, 0.0, mask, one.rect, level, add,
                                one.invert, CRect());
      else if (form == 2)
        result = src.DrawRotate(dst, dstRect, angle, mask, one.rect, srcRect, 0.0, level, add,
                                one.invert, CRect());
      else
        result = src.DrawRotate(dst, dstRect, angle, mask, one.rect, srcRect, 0.0, mask2, two.rect,
                                level, add, one.invert, two.invert, CRect());
      skipped += Reference(src, expected, dstRect, srcRect, angle,
                           form == 3 ? std::vector{one, two} : std::vector{one}, level, add);
    }
    ASSERT_EQ(result, 1) << "seed " << seed;
    ASSERT_EQ(Bytes(dst), Bytes(expected)) << "seed " << seed << " form " << form;
  }
  EXPECT_GT(skipped, 0);  // the skip rule was exercised
}

TEST(Rotation, Figures) {
  Rng rng(4);
  CPicture src, a, b;
  Fill(src, 9, 7, rng);
  Fill(a, 20, 20, rng);
  a.Duplicate(b);
  // 0.04 degrees is no rotation: the scaled copy of the whole picture placed by the rectangles.
  const CRect dstRect(2, 3, 16, 13), srcRect(1, 1, 8, 6);
  EXPECT_EQ(src.DrawRotate(a, dstRect, 10.04, srcRect, 10.0), 1);
  CRect placed = src.GetPictureRect();
  ScaleTransform(srcRect, dstRect, placed);
  src.Draw(b, placed, src.GetPictureRect());
  EXPECT_EQ(Bytes(a), Bytes(b));
  CMask mask;
  Fill(mask, 9, 7, rng);
  const CRect m(0, 0, 9, 7);
  EXPECT_EQ(src.DrawRotate(a, dstRect, 0.04, srcRect, 0.0, mask, m, 200, 0, 0, CRect()), 1);
  src.DrawTransparent(b, placed, src.GetPictureRect(), mask, m, 200, 0, 0, CRect());
  EXPECT_EQ(Bytes(a), Bytes(b));

  // Division by 256: full strength over black comes out one step darker than the source; a
  // second mask taken inverted (flag) cuts everything, and weight 0 still darkens the target.
  CPicture white, target;
  white.CreatePicture(10, 10, 255);
  target.CreatePicture(30, 30, 200);
  CMask full;
  full.CreateMask(10, 10, 255);
  const CRect r(10, 10, 20, 20), s(0, 0, 10, 10);
  EXPECT_EQ(white.DrawRotate(target, r, 30.0, s, 0.0, full, s, 255, 0, 0, CRect()), 1);
  EXPECT_EQ(target.GetPixel(15, 15)[0], 254);
  target.ClearPicture(BYTE{200});
  EXPECT_EQ(white.DrawRotate(target, r, 30.0, full, s, s, 0.0, full, s, 255, 0, 0, 1, CRect()), 1);
  EXPECT_EQ(target.GetPixel(15, 15)[0], 199);  // (200 * 255) >> 8
  EXPECT_EQ(target.GetPixel(0, 0)[0], 200);
}

TEST(Rotation, RotateAndMirror) {
  CPicture pic;
  pic.CreatePicture(40, 20, 0);
  pic.ClearPicture(CRect(0, 0, 20, 20), RGB(255, 0, 0));
  pic.ClearPicture(CRect(20, 0, 40, 20), RGB(0, 0, 255));
  // A positive angle turns clockwise on screen: the left (red) half goes to the top.
  EXPECT_EQ(pic.Rotate(90, RGB(0, 255, 0)), 1);
  EXPECT_EQ(pic.GetPictureSize(), CSize(20, 40));
  EXPECT_EQ(pic.GetPixel(10, 5)[2], 255);
  EXPECT_EQ(pic.GetPixel(10, 35)[0], 255);
  // At 45 degrees the corners of the grown picture keep the background.
  CPicture copy;
  ASSERT_TRUE(pic.CreatePicture(40, 20, 0));
  EXPECT_EQ(pic.Rotate(45, RGB(0, 255, 0)), 1);
  EXPECT_GT(pic.Width(), 40);
  EXPECT_EQ(PixelOf(pic, 0, 0), (std::vector<BYTE>{0, 255, 0}));

  Rng rng(8);
  Fill(pic, 7, 3, rng);
  pic.Duplicate(copy);
  EXPECT_EQ(pic.Mirror(), 1);
  EXPECT_EQ(PixelOf(pic, 0, 1), PixelOf(copy, 6, 1));
  CPicture empty;
  EXPECT_EQ(empty.Mirror(), 0);
  EXPECT_EQ(empty.Rotate(30, 0), 0);
}

TEST(Rotation, BadInput) {
  Rng rng(6);
  CPicture src, dst, empty;
  Fill(src, 12, 9, rng);
  Fill(dst, 15, 15, rng);
  CMask mask;
  mask.CreateMask(12, 9, 128);
  const std::vector<BYTE> before = Bytes(dst);
  const CRect all(0, 0, 12, 9), none;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(src.DrawRotate(dst, all, nan, all, 0.0), 0);
  EXPECT_EQ(src.DrawRotate(dst, all, 0.0, all, nan, mask, all, 9, 0, 0, none), 0);
  EXPECT_EQ(src.DrawRotate(dst, all, nan, mask, all, all, 0.0, mask, all, 9, 0, 0, 0, none), 0);
  EXPECT_EQ(empty.DrawRotate(dst, all, 30.0, all, 0.0), 0);
  EXPECT_EQ(src.DrawRotate(dst, all, 30.0, all, 0.0, mask, CRect(0, 0, 13, 9), 9, 0, 0, none), 0);
  // Turned wholly outside the target, or clipped away: nothing drawn, no failure.
  EXPECT_EQ(src.DrawRotate(dst, CRect(100, 100, 112, 109), 30.0, all, 0.0), 1);
  EXPECT_EQ(src.DrawRotate(dst, all, 30.0, all, 0.0, mask, all, 9, 0, 0, CRect(50, 50, 60, 60)), 1);
  EXPECT_EQ(Bytes(dst), before);
  // Huge angles and scale factors stay inside the buffers.
  EXPECT_EQ(src.DrawRotate(dst, all, 1e9, all, 0.0), 1);
  EXPECT_EQ(src.DrawRotate(dst, all, -1e9, all, 0.0, mask, all, 9, 1, 1, none), 1);
  EXPECT_EQ(src.DrawRotate(dst, CRect(0, 0, 1, 1), 30.0, CRect(0, 0, 1 << 30, 1 << 30), 0.0), 1);
  EXPECT_EQ(src.DrawRotate(dst, CRect(-(1 << 30), 0, 1 << 30, 15), 30.0, all, 0.0, mask, all, 9, 0,
                           0, none),
            1);
}

}  // namespace
