#include "platform/region.h"

#include "platform/region_scan.h"

#include <pixman.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

// Region data is written in host order; the platform's layout is little-endian.
static_assert(std::endian::native == std::endian::little);

namespace vardell {
namespace {

using region::InRange;

// pixman's regions keep the same y-x banded form as the platform, coalesced the same way after
// every operation, so they serve as the store and the combination engine.
class PixmanRegion {
 public:
  PixmanRegion() noexcept { pixman_region32_init(&r); }
  ~PixmanRegion() { pixman_region32_fini(&r); }
  PixmanRegion(const PixmanRegion&) = delete;
  PixmanRegion& operator=(const PixmanRegion&) = delete;

  void Clear() noexcept {
    pixman_region32_fini(&r);
    pixman_region32_init(&r);
  }

  pixman_region32_t r;
};

class Region final : public GdiObject {
 public:
  Region() : GdiObject(OBJ_REGION) {}
  PixmanRegion content;
};

Region* Find(HRGN handle) noexcept { return GdiObject::Find<Region>(handle, OBJ_REGION); }

HRGN NewRegion(PixmanRegion& content) noexcept {
  try {
    auto* region = new Region;
    std::swap(region->content.r, content.r);
    return static_cast<HRGN>(region->Handle());
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

int TypeOf(const pixman_region32_t& r) noexcept {
  const int n = pixman_region32_n_rects(&r);
  return n == 0 ? NULLREGION : n == 1 ? SIMPLEREGION : COMPLEXREGION;
}

// Sets dst to the union of the non-empty rectangles; pixman sorts, merges and coalesces them.
bool FromRects(const std::vector<RECT>& rects, PixmanRegion& dst) {
  std::vector<pixman_box32_t> boxes;
  boxes.reserve(rects.size());
  for (const RECT& rc : rects) {
    if (rc.left < rc.right && rc.top < rc.bottom) {
      boxes.push_back(pixman_box32_t{rc.left, rc.top, rc.right, rc.bottom});
    }
  }
  pixman_region32_fini(&dst.r);
  if (!pixman_region32_init_rects(&dst.r, boxes.data(), static_cast<int>(boxes.size()))) {
    dst.Clear();
    return false;
  }
  return true;
}

bool SetRect(PixmanRegion& dst, int x1, int y1, int x2, int y2) noexcept {
  if (!InRange(x1) || !InRange(y1) || !InRange(x2) || !InRange(y2)) return false;
  if (x1 > x2) std::swap(x1, x2);
  if (y1 > y2) std::swap(y1, y2);
  dst.Clear();
  if (x1 < x2 && y1 < y2) {
    pixman_region32_fini(&dst.r);
    pixman_region32_init_rect(&dst.r, x1, y1, static_cast<unsigned>(x2 - x1),
                              static_cast<unsigned>(y2 - y1));
  }
  return true;
}

HRGN FromPolygons(std::span<const POINT> points, std::span<const INT> counts, int mode) {
  std::vector<RECT> rects;
  PixmanRegion content;
  if (!region::ScanPolygons(points, counts, mode, region::kMaxShapeRects, rects) ||
      !FromRects(rects, content)) {
    return nullptr;
  }
  return NewRegion(content);
}

// Rounds half up, as the platform rounds transformed region coordinates (75.5 -> 76).
bool RoundToCoord(double v, LONG& out) noexcept {
  const double r = std::floor(v + 0.5);
  if (!std::isfinite(r) || r < region::kMinCoord || r > region::kMaxCoord) return false;
  out = static_cast<LONG>(r);
  return true;
}

bool Transform(const XFORM& m, LONG x, LONG y, POINT& out) noexcept {
  const double dx = static_cast<double>(x) * m.eM11 + static_cast<double>(y) * m.eM21 + m.eDx;
  const double dy = static_cast<double>(x) * m.eM12 + static_cast<double>(y) * m.eM22 + m.eDy;
  return RoundToCoord(dx, out.x) && RoundToCoord(dy, out.y);
}

}  // namespace
}  // namespace vardell

using vardell::PixmanRegion;

HRGN CreateRectRgn(int x1, int y1, int x2, int y2) {
  PixmanRegion content;
  if (!vardell::SetRect(content, x1, y1, x2, y2)) return nullptr;
  return vardell::NewRegion(content);
}

HRGN CreateRectRgnIndirect(const RECT* rect) {
  return rect != nullptr ? CreateRectRgn(rect->left, rect->top, rect->right, rect->bottom)
                         : nullptr;
}

HRGN CreateEllipticRgn(int x1, int y1, int x2, int y2) {
  using vardell::region::InRange;
  if (!InRange(x1) || !InRange(y1) || !InRange(x2) || !InRange(y2)) return nullptr;
  // The platform leaves out the last column and row of the box: intended.
  const RECT box{std::min(x1, x2), std::min(y1, y2), std::max(x1, x2) - 1, std::max(y1, y2) - 1};
  try {
    std::vector<RECT> rects;
    PixmanRegion content;
    if (!vardell::region::ScanEllipse(box, vardell::region::kMaxShapeRects, rects) ||
        !vardell::FromRects(rects, content)) {
      return nullptr;
    }
    return vardell::NewRegion(content);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

HRGN CreateEllipticRgnIndirect(const RECT* rect) {
  return rect != nullptr ? CreateEllipticRgn(rect->left, rect->top, rect->right, rect->bottom)
                         : nullptr;
}

HRGN CreatePolygonRgn(const POINT* points, int count, int mode) {
  return CreatePolyPolygonRgn(points, &count, 1, mode);
}

HRGN CreatePolyPolygonRgn(const POINT* points, const INT* counts, int nCount, int mode) {
  if (points == nullptr || counts == nullptr || nCount < 1 ||
      (mode != ALTERNATE && mode != WINDING))
    return nullptr;
  std::size_t total = 0;
  for (int i = 0; i < nCount; ++i) {
    if (counts[i] < 0) return nullptr;
    total += static_cast<std::size_t>(counts[i]);
  }
  try {
    return vardell::FromPolygons(std::span(points, total),
                                 std::span(counts, static_cast<std::size_t>(nCount)), mode);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

HRGN ExtCreateRegion(const XFORM* xform, DWORD count, const RGNDATA* data) {
  if (data == nullptr || count < sizeof(RGNDATAHEADER)) return nullptr;
  RGNDATAHEADER header;
  std::memcpy(&header, data, sizeof header);
  if (header.dwSize != sizeof(RGNDATAHEADER)) return nullptr;
  if (sizeof(RGNDATAHEADER) + std::uint64_t{header.nCount} * sizeof(RECT) > count) return nullptr;

  try {
    std::vector<RECT> rects(header.nCount);
    if (header.nCount != 0) std::memcpy(rects.data(), data->Buffer, rects.size() * sizeof(RECT));
    std::erase_if(rects, [](const RECT& rc) { return rc.left >= rc.right || rc.top >= rc.bottom; });

    PixmanRegion content;
    if (xform == nullptr || (xform->eM12 == 0 && xform->eM21 == 0)) {
      for (RECT& rc : rects) {
        POINT a{rc.left, rc.top}, b{rc.right, rc.bottom};
        if (xform != nullptr && (!vardell::Transform(*xform, rc.left, rc.top, a) ||
                                 !vardell::Transform(*xform, rc.right, rc.bottom, b))) {
          return nullptr;
        }
        using vardell::region::InRange;
        if (!InRange(a.x) || !InRange(a.y) || !InRange(b.x) || !InRange(b.y)) return nullptr;
        rc = RECT{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
      }
      if (!vardell::FromRects(rects, content)) return nullptr;
      return vardell::NewRegion(content);
    }

    // Turned or sheared: every rectangle becomes a parallelogram. The map gives them all the
    // same orientation, so the winding rule fills their union.
    std::vector<POINT> corners;
    corners.reserve(rects.size() * 4);
    for (const RECT& rc : rects) {
      const POINT in[4] = {
          {rc.left, rc.top}, {rc.right, rc.top}, {rc.right, rc.bottom}, {rc.left, rc.bottom}};
      for (const POINT& p : in) {
        POINT q;
        if (!vardell::Transform(*xform, p.x, p.y, q)) return nullptr;
        corners.push_back(q);
      }
    }
    const std::vector<INT> counts(rects.size(), 4);
    return vardell::FromPolygons(corners, counts, WINDING);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

BOOL SetRectRgn(HRGN region, int x1, int y1, int x2, int y2) {
  vardell::Region* r = vardell::Find(region);
  return r != nullptr && vardell::SetRect(r->content, x1, y1, x2, y2) ? TRUE : FALSE;
}

int CombineRgn(HRGN dst, HRGN src1, HRGN src2, int mode) {
  vardell::Region* d = vardell::Find(dst);
  const vardell::Region* a = vardell::Find(src1);
  if (d == nullptr || a == nullptr || mode < RGN_AND || mode > RGN_COPY) return ERROR;
  const vardell::Region* b = nullptr;
  if (mode != RGN_COPY && (b = vardell::Find(src2)) == nullptr) return ERROR;

  const pixman_region32_t* ra = &a->content.r;
  const pixman_region32_t* rb = b != nullptr ? &b->content.r : nullptr;
  PixmanRegion result;
  bool ok = false;
  switch (mode) {
    case RGN_AND: ok = pixman_region32_intersect(&result.r, ra, rb); break;
    case RGN_OR: ok = pixman_region32_union(&result.r, ra, rb); break;
    case RGN_DIFF: ok = pixman_region32_subtract(&result.r, ra, rb); break;
    case RGN_COPY: ok = pixman_region32_copy(&result.r, ra); break;
    case RGN_XOR: {
      PixmanRegion ab, ba;
      ok = pixman_region32_subtract(&ab.r, ra, rb) && pixman_region32_subtract(&ba.r, rb, ra) &&
           pixman_region32_union(&result.r, &ab.r, &ba.r);
      break;
    }
  }
  if (!ok) return ERROR;
  std::swap(d->content.r, result.r);
  return vardell::TypeOf(d->content.r);
}

int OffsetRgn(HRGN region, int x, int y) {
  vardell::Region* r = vardell::Find(region);
  if (r == nullptr) return ERROR;
  const int type = vardell::TypeOf(r->content.r);
  if (type == NULLREGION) return NULLREGION;
  const pixman_box32_t* e = pixman_region32_extents(&r->content.r);
  using vardell::region::InRange;
  const std::int64_t dx = x, dy = y;
  if (!InRange(e->x1 + dx) || !InRange(e->x2 + dx) || !InRange(e->y1 + dy) ||
      !InRange(e->y2 + dy)) {
    return ERROR;
  }
  pixman_region32_translate(&r->content.r, x, y);
  return type;
}

int GetRgnBox(HRGN region, LPRECT rect) {
  const vardell::Region* r = vardell::Find(region);
  if (r == nullptr || rect == nullptr) return ERROR;
  const int type = vardell::TypeOf(r->content.r);
  const pixman_box32_t* e = pixman_region32_extents(&r->content.r);
  *rect = type == NULLREGION ? RECT{0, 0, 0, 0} : RECT{e->x1, e->y1, e->x2, e->y2};
  return type;
}

BOOL PtInRegion(HRGN region, int x, int y) {
  const vardell::Region* r = vardell::Find(region);
  return r != nullptr && pixman_region32_contains_point(&r->content.r, x, y, nullptr) ? TRUE
                                                                                      : FALSE;
}

BOOL RectInRegion(HRGN region, const RECT* rect) {
  const vardell::Region* r = vardell::Find(region);
  if (r == nullptr || rect == nullptr) return FALSE;
  pixman_box32_t box{std::min(rect->left, rect->right), std::min(rect->top, rect->bottom),
                     std::max(rect->left, rect->right), std::max(rect->top, rect->bottom)};
  if (box.x1 == box.x2 || box.y1 == box.y2) return FALSE;
  return pixman_region32_contains_rectangle(&r->content.r, &box) != PIXMAN_REGION_OUT ? TRUE
                                                                                      : FALSE;
}

BOOL EqualRgn(HRGN a, HRGN b) {
  const vardell::Region* ra = vardell::Find(a);
  const vardell::Region* rb = vardell::Find(b);
  if (ra == nullptr || rb == nullptr) return ERROR;
  return pixman_region32_equal(&ra->content.r, &rb->content.r) ? TRUE : FALSE;
}

DWORD GetRegionData(HRGN region, DWORD count, LPRGNDATA data) {
  const vardell::Region* r = vardell::Find(region);
  if (r == nullptr) return 0;
  int n = 0;
  const pixman_box32_t* boxes = pixman_region32_rectangles(&r->content.r, &n);
  const std::uint64_t size = sizeof(RGNDATAHEADER) + std::uint64_t(n) * sizeof(RECT);
  if (size > 0xFFFFFFFFu) return 0;
  if (data == nullptr) return static_cast<DWORD>(size);
  if (count < size) return 0;

  RGNDATAHEADER header{sizeof(RGNDATAHEADER), RDH_RECTANGLES, static_cast<DWORD>(n),
                       static_cast<DWORD>(n * sizeof(RECT)), RECT{0, 0, 0, 0}};
  if (n != 0) {
    const pixman_box32_t* e = pixman_region32_extents(&r->content.r);
    header.rcBound = RECT{e->x1, e->y1, e->x2, e->y2};
  }
  auto* out = reinterpret_cast<unsigned char*>(data);
  std::memcpy(out, &header, sizeof header);
  for (int i = 0; i < n; ++i) {
    const RECT rc{boxes[i].x1, boxes[i].y1, boxes[i].x2, boxes[i].y2};
    std::memcpy(out + sizeof header + std::size_t(i) * sizeof rc, &rc, sizeof rc);
  }
  return static_cast<DWORD>(size);
}

// CRgn

BOOL CRgn::CreateRectRgn(int x1, int y1, int x2, int y2) {
  return AttachNew(::CreateRectRgn(x1, y1, x2, y2));
}
BOOL CRgn::CreateRectRgnIndirect(const RECT* rect) {
  return AttachNew(::CreateRectRgnIndirect(rect));
}
BOOL CRgn::CreateEllipticRgn(int x1, int y1, int x2, int y2) {
  return AttachNew(::CreateEllipticRgn(x1, y1, x2, y2));
}
BOOL CRgn::CreateEllipticRgnIndirect(const RECT* rect) {
  return AttachNew(::CreateEllipticRgnIndirect(rect));
}
BOOL CRgn::CreatePolygonRgn(const POINT* points, int count, int mode) {
  return AttachNew(::CreatePolygonRgn(points, count, mode));
}
BOOL CRgn::CreatePolyPolygonRgn(const POINT* points, const INT* counts, int nCount, int mode) {
  return AttachNew(::CreatePolyPolygonRgn(points, counts, nCount, mode));
}
BOOL CRgn::CreateFromData(const XFORM* xform, int count, const RGNDATA* data) {
  return count >= 0 && AttachNew(::ExtCreateRegion(xform, static_cast<DWORD>(count), data));
}

void CRgn::SetRectRgn(int x1, int y1, int x2, int y2) { ::SetRectRgn(*this, x1, y1, x2, y2); }
void CRgn::SetRectRgn(const RECT* rect) {
  if (rect != nullptr) ::SetRectRgn(*this, rect->left, rect->top, rect->right, rect->bottom);
}

int CRgn::CombineRgn(const CRgn* src1, const CRgn* src2, int mode) {
  return ::CombineRgn(*this, src1 != nullptr ? HRGN(*src1) : nullptr,
                      src2 != nullptr ? HRGN(*src2) : nullptr, mode);
}
int CRgn::CopyRgn(const CRgn* src) {
  return ::CombineRgn(*this, src != nullptr ? HRGN(*src) : nullptr, nullptr, RGN_COPY);
}
BOOL CRgn::EqualRgn(const CRgn* other) const {
  return ::EqualRgn(*this, other != nullptr ? HRGN(*other) : nullptr);
}
int CRgn::GetRegionData(LPRGNDATA data, int count) const {
  return static_cast<int>(::GetRegionData(*this, count < 0 ? 0 : static_cast<DWORD>(count), data));
}
int CRgn::GetRgnBox(LPRECT rect) const { return ::GetRgnBox(*this, rect); }
int CRgn::OffsetRgn(int x, int y) { return ::OffsetRgn(*this, x, y); }
int CRgn::OffsetRgn(POINT point) { return ::OffsetRgn(*this, point.x, point.y); }
BOOL CRgn::PtInRegion(int x, int y) const { return ::PtInRegion(*this, x, y); }
BOOL CRgn::PtInRegion(POINT point) const { return ::PtInRegion(*this, point.x, point.y); }
BOOL CRgn::RectInRegion(const RECT* rect) const { return ::RectInRegion(*this, rect); }
