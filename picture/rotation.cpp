// CPicture rotated compositing: DrawRotate in its four forms, Rotate and Mirror.
//
// The rotated draw places the whole source picture in the target frame by the correspondence
// srcRect <-> dstRect, turns it by angle - angle2 about the centre of where it lands, and walks
// only the target pixels of that turned rectangle, found as a region (GetRotateRegion, clipped to
// the target), rectangle by rectangle in the order the region data stores them. Each row of a
// rectangle turns its first pixel back into the source frame once (RotatePoint, ScaleTransform)
// and then follows the source with 20.12 fixed-point steps, the source step of one target pixel
// taken from the turned and mapped points (0, 0) and (4096, 0). Degrees become radians with
// 3.14 for pi, as everywhere in the system: intended.
//
// Decisions where the system leaves the result open:
// - A source position that rounding puts just outside the source reads the nearest edge pixel
//   (the system read whatever bytes lay there); the masked forms skip such pixels by their rule.
// - Mask positions that rounding puts outside the mask rectangle read its nearest pixel. The
//   mask rectangle must lie inside the mask and must not be empty, else the draw answers 0.
// - A non-finite angle difference answers 0.
// - The form with the mask before the source rectangle is the first masked form with its
//   arguments in another order: its mask rectangle is the part of the mask that covers the
//   whole source picture, exactly as there.
// - The two-mask form walks both masks beside the source, each mapped from the source picture
//   onto its own rectangle. The first mask is read through bInvertMask, the second through flag
//   (nonzero: inverted), and the two values are multiplied with the byte table (M[m1][m2]), so
//   the second mask narrows the selection of the first, or with flag cuts its own selection out
//   of it. Below 0.05 degrees it has no unrotated counterpart to hand over to, so it walks with
//   the angle taken as exactly 0.
#include "hostutil/geometry_utils.h"
#include "hostutil/messages.h"
#include "hostutil/rotate_region.h"
#include "mask/mask.h"
#include "picture/picture.h"
#include "picture/picture_messages.h"
#include "picture/rotate_kernels.h"
#include "platform/region.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace {

using vardell::ByteTables;
namespace kernels = vardell::kernels;

constexpr double kMinAngle = 0.05;
constexpr std::int64_t kOne = 4096;  // 1.0 in 20.12 fixed point
// One row of a region rectangle: target row y from left to right, and the source walk of its
// first pixel.
struct Run {
  int y, left, right;
  vardell::kernels::FixedWalk walk;
};

CPoint CentreOf(const CRect& r) noexcept {
  return CPoint(static_cast<int>((std::int64_t{r.left} + r.right) / 2),
                static_cast<int>((std::int64_t{r.top} + r.bottom) / 2));
}

// A mask as the rotated draw reads it.
struct MaskSource {
  CMask* mask;
  CRect rect;
  const BYTE* lut;
};

// The region's rectangles, in the order the region data stores them.
class RegionRects {
 public:
  // 0 when the region data cannot be had (the allocation failure is reported).
  int Load(const CRgn& region) {
    const int size = region.GetRegionData(nullptr, 0);
    if (size <= 0) return 0;
    m_data.reset(new (std::nothrow) BYTE[static_cast<std::size_t>(size)]);
    if (!m_data) {
      ThrowErrorMessage(vardell::picture_text::kRegionAllocFailed);
      return 0;
    }
    auto* data = reinterpret_cast<RGNDATA*>(m_data.get());
    if (region.GetRegionData(data, size) != size) return 0;
    m_count = data->rdh.nCount;
    return 1;
  }
  DWORD Count() const noexcept { return m_count; }
  RECT At(DWORD i) const noexcept {
    RECT r;
    std::memcpy(&r, m_data.get() + sizeof(RGNDATAHEADER) + i * sizeof(RECT), sizeof(RECT));
    return r;
  }

 private:
  std::unique_ptr<BYTE[]> m_data;
  DWORD m_count = 0;
};

// The first index range [lo, hi) of i in [0, n) for which (f + i * d) >> 12 lies in [0, limit).
std::pair<std::int64_t, std::int64_t> InsideRange(std::int64_t f, std::int64_t d,
                                                  std::int64_t limit, std::int64_t n) noexcept {
  const std::int64_t upper = limit * kOne - 1;          // largest fixed-point value inside
  auto floorDiv = [](std::int64_t a, std::int64_t b) {  // b > 0
    return a >= 0 ? a / b : -((-a + b - 1) / b);
  };
  std::int64_t lo = 0, hi = n;
  if (d == 0) {
    if (f < 0 || f > upper) return {0, 0};
  } else if (d > 0) {
    lo = -floorDiv(f, d);  // ceil(-f / d)
    hi = floorDiv(upper - f, d) + 1;
  } else {
    lo = -floorDiv(upper - f, -d);  // ceil((f - upper) / -d)
    hi = floorDiv(f, -d) + 1;
  }
  lo = std::clamp<std::int64_t>(lo, 0, n);
  hi = std::clamp<std::int64_t>(hi, lo, n);
  return {lo, hi};
}

// The rotated walk shared by the four forms. With no masks, a plain copy; with one or two, the
// masked blend. The caller has checked the buffers.
int RotateWalk(const CPicture& source, CPicture& target, const CRect& dstRect, const CRect& srcRect,
               double a, const CRect* clipRect, MaskSource* masks, int maskCount, BYTE level,
               int bAdd) {
  if (!std::isfinite(a)) return 0;
  const CRect pictureRect = source.GetPictureRect();
  for (int k = 0; k < maskCount; ++k) {
    const CMask& mask = *masks[k].mask;
    if (!mask.IsValid()) return 0;
    const CRect whole = mask.GetMaskRect();
    CRect both;
    if (masks[k].rect.IsRectEmpty() || !both.UnionRect(masks[k].rect, whole) ||
        !both.EqualRect(whole))
      return 0;
  }

  if (pictureRect.IsRectEmpty()) return 1;

  CRect placed = pictureRect;
  ScaleTransform(srcRect, dstRect, placed);
  const CPoint centre = CentreOf(placed);
  std::unique_ptr<CRgn> region(GetRotateRegion(placed, centre, a));
  if (!region) return 0;
  CRgn bounds;
  if (!bounds.CreateRectRgn(0, 0, target.Width(), target.Height())) return 0;
  if (region->CombineRgn(region.get(), &bounds, RGN_AND) == ERROR) return 0;
  if (clipRect != nullptr && !clipRect->IsRectNull()) {
    CRgn clip;
    // A clip rectangle beyond the region range still clips: it is first cut to the target.
    CRect c;
    c.IntersectRect(*clipRect, target.GetPictureRect());
    if (!clip.CreateRectRgnIndirect(&c)) return 0;
    if (region->CombineRgn(region.get(), &clip, RGN_AND) == ERROR) return 0;
  }
  RegionRects rects;
  if (!rects.Load(*region)) return 0;
  region.reset();

  // Target pixels are turned back into the source: the opposite angle.
  const double theta = -a * 3.14 / 180;  // 3.14, not pi: intended.
  const double c = std::cos(theta), s = std::sin(theta);
  const auto toSource = [&](CPoint p) {
    p = RotatePoint(p, centre, c, s);
    ScaleTransform(dstRect, srcRect, p);
    return p;
  };
  const CPoint p0 = toSource(CPoint(0, 0)), p1 = toSource(CPoint(static_cast<int>(kOne), 0));
  const std::int64_t dx = std::int64_t{p1.x} - p0.x, dy = std::int64_t{p1.y} - p0.y;

  const BYTE* srcTop = source.GetLineBuffer(0);
  const std::ptrdiff_t srcStride = source.GetDataWidth();
  const int width = source.Width(), height = source.Height();
  const ByteTables& t = ByteTables::Get();

  kernels::MaskWalk walks[2]{};
  for (int k = 0; k < maskCount; ++k) {
    CMask& mask = *masks[k].mask;
    const CRect& r = masks[k].rect;
    CPoint m0 = p0, m1 = p1;
    ScaleTransform(pictureRect, r, m0);
    ScaleTransform(pictureRect, r, m1);
    walks[k] = kernels::MaskWalk{mask.GetLineBuffer(0),
                                 mask.GetDataWidth(),
                                 r.left,
                                 r.top,
                                 r.right,
                                 r.bottom,
                                 masks[k].lut,
                                 {0, 0, std::int64_t{m1.x} - m0.x, std::int64_t{m1.y} - m0.y}};
  }

  // A run of the plain walk. Its pixels whose source lies inside follow the pointer steps; the
  // few that rounding puts outside read the nearest edge pixel.
  const auto copyRun = [&](const Run& run) {
    const std::int64_t n = std::int64_t{run.right} - run.left;
    const kernels::FixedWalk& walk = run.walk;
    BYTE* dst = target.GetLineBuffer(run.y) + 3 * static_cast<std::ptrdiff_t>(run.left);
    const auto [xLo, xHi] = InsideRange(walk.fx, dx, width, n);
    const auto [yLo, yHi] = InsideRange(walk.fy, dy, height, n);
    const std::int64_t lo = std::max(xLo, yLo), hi = std::max(lo, std::min(xHi, yHi));
    for (std::int64_t k = 0; k < n; ++k) {
      if (k == lo && hi > lo) {
        const kernels::FixedWalk inner{walk.fx + lo * dx, walk.fy + lo * dy, dx, dy};
        kernels::RotateCopyRun(srcTop, srcStride, inner, dst + 3 * lo,
                               static_cast<std::size_t>(hi - lo));
        k = hi - 1;
        continue;
      }
      const std::int64_t sx = std::clamp<std::int64_t>((walk.fx + k * dx) >> 12, 0, width - 1);
      const std::int64_t sy = std::clamp<std::int64_t>((walk.fy + k * dy) >> 12, 0, height - 1);
      std::memcpy(dst + 3 * k, source.GetPixel(static_cast<int>(sx), static_cast<int>(sy)), 3);
    }
  };
  const auto blendRun = [&](const Run& run, CPoint start) {
    for (int k = 0; k < maskCount; ++k) {
      CPoint m = start;
      ScaleTransform(pictureRect, masks[k].rect, m);
      walks[k].walk.fx = m.x * kOne;
      walks[k].walk.fy = m.y * kOne;
    }
    BYTE* dst = target.GetLineBuffer(run.y) + 3 * static_cast<std::ptrdiff_t>(run.left);
    kernels::RotateBlendRun(srcTop, srcStride, width, height, run.walk, walks, maskCount, level,
                            bAdd != 0, t, dst, static_cast<std::size_t>(run.right - run.left));
  };

  for (DWORD i = 0; i < rects.Count(); ++i) {
    const RECT r = rects.At(i);
    for (int y = r.top; y < r.bottom; ++y) {
      const CPoint start = toSource(CPoint(r.left, y));
      const Run run{y, r.left, r.right, {start.x * kOne, start.y * kOne, dx, dy}};
      if (maskCount > 0)
        blendRun(run, start);
      else
        copyRun(run);
    }
  }
  return 1;
}

// N: the identity (row 255 of M) or, when inverted, I.
const BYTE* MaskTable(int inverted) {
  const ByteTables& t = ByteTables::Get();
  return inverted ? t.inv : t.mul[255];
}

}  // namespace

int CPicture::DrawRotate(CPicture& target, CRect dstRect, double angle, CRect srcRect,
                         double angle2) {
  const double a = angle - angle2;
  if (std::fabs(a) < kMinAngle) {
    CRect placed = GetPictureRect();
    ScaleTransform(srcRect, dstRect, placed);
    return Draw(target, placed, GetPictureRect());
  }
  if (!IsValid() || !target.IsValid()) return 0;
  return RotateWalk(*this, target, dstRect, srcRect, a, nullptr, nullptr, 0, 0, 0);
}

int CPicture::DrawRotate(CPicture& target, CRect dstRect, double angle, CRect srcRect,
                         double angle2, CMask& mask, CRect maskRect, BYTE level, int bAdd,
                         int bInvertMask, CRect clipRect) {
  const double a = angle - angle2;
  if (std::fabs(a) < kMinAngle) {
    CRect placed = GetPictureRect();
    ScaleTransform(srcRect, dstRect, placed);
    return DrawTransparent(target, placed, GetPictureRect(), mask, maskRect, level, bAdd,
                           bInvertMask, clipRect);
  }
  if (!IsValid() || !target.IsValid()) return 0;
  MaskSource maskSource{&mask, maskRect, MaskTable(bInvertMask)};
  return RotateWalk(*this, target, dstRect, srcRect, a, &clipRect, &maskSource, 1, level, bAdd);
}

int CPicture::DrawRotate(CPicture& target, CRect dstRect, double angle, CMask& mask, CRect maskRect,
                         CRect srcRect, double angle2, BYTE level, int bAdd, int bInvertMask,
                         CRect clipRect) {
  return DrawRotate(target, dstRect, angle, srcRect, angle2, mask, maskRect, level, bAdd,
                    bInvertMask, clipRect);
}

int CPicture::DrawRotate(CPicture& target, CRect dstRect, double angle, CMask& mask, CRect maskRect,
                         CRect srcRect, double angle2, CMask& mask2, CRect mask2Rect, BYTE level,
                         int bAdd, int bInvertMask, int flag, CRect clipRect) {
  double a = angle - angle2;
  if (std::fabs(a) < kMinAngle) a = 0.0;
  if (!IsValid() || !target.IsValid()) return 0;
  MaskSource sources[2] = {{&mask, maskRect, MaskTable(bInvertMask)},
                           {&mask2, mask2Rect, MaskTable(flag)}};
  return RotateWalk(*this, target, dstRect, srcRect, a, &clipRect, sources, 2, level, bAdd);
}

int CPicture::Rotate(int angle, COLORREF background) {
  if (!IsValid()) return 0;
  CPicture original;
  if (!Duplicate(original)) return 0;
  const CRect r = GetPictureRect();
  std::unique_ptr<CRgn> turned(GetRotateRegion(r, CentreOf(r), angle));
  if (!turned) return 0;
  CRect box;
  turned->GetRgnBox(&box);
  turned.reset();
  // A failed CreatePicture must not lose the picture: the copy goes back.
  const auto restore = [&] {
    std::swap(m_pBuffer, original.m_pBuffer);
    std::swap(m_InfoHeader, original.m_InfoHeader);
  };
  if (!CreatePicture(box.Width(), box.Height(), 255)) {
    if (!m_pBuffer) restore();
    return 0;
  }
  ClearPicture(background);
  CRect dstRect = r;
  dstRect.OffsetRect(-box.left, -box.top);
  original.DrawRotate(*this, dstRect, angle, r, 0.0);
  return 1;
}

int CPicture::Mirror() {
  if (!IsValid()) return 0;
  // The system reversed each row through a scratch row it never released; swapping pixels from
  // both ends gives the same rows without the leak.
  const int width = Width();
  for (int y = 0; y < Height(); ++y) {
    BYTE* row = GetLineBuffer(y);
    for (int l = 0, r = width - 1; l < r; ++l, --r) {
      for (int c = 0; c < 3; ++c) std::swap(row[3 * l + c], row[3 * r + c]);
    }
  }
  return 1;
}
