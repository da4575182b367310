// Drawing with pens and brushes: lines, polylines, rectangles, ellipses, FillRect and pixels.
//
// Every shape is turned into runs of pixels per row and each run is combined with the surface
// through the mix mode (SetROP2). A shape's pixels are painted once each, so drawing a shape
// twice with R2_NOT or R2_XORPEN restores what was there.
#include "platform/dc.h"

#include "platform/device_internal.h"
#include "platform/last_error.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace vardell::gdi {
namespace {

using kernels::RopRow;

// Shapes whose box is larger than this are refused (their arithmetic must stay exact).
constexpr std::int64_t kMaxShapeExtent = std::int64_t{1} << 28;

// A drawing call's target: the DC, its surface, the box it can reach and what it changed.
struct Canvas {
  DeviceContext& dc;
  Surface surface;
  RECT box;
  RECT touched{0, 0, 0, 0};

  bool RowVisible(std::int64_t y) const noexcept { return y >= box.top && y < box.bottom; }

  void Paint(std::int64_t y, std::int64_t x0, std::int64_t x1, BYTE code, std::uint32_t colour) {
    if (!RowVisible(y) || x0 >= x1) return;
    const int row = static_cast<int>(y);
    std::uint32_t* pixels = surface.Row(row);
    dc.ForEachVisibleSpan(row, x0, x1, [&](int a, int b) {
      RopRow(code, pixels + a, nullptr, colour, static_cast<std::size_t>(b - a));
      UnionRect(touched, touched, RECT{a, row, b, row + 1});
    });
  }

  ~Canvas() {
    if (!IsRectEmpty(touched)) dc.Touch(touched);
  }
};

// Runs of pixels per visible row, merged before painting so that overlapping pieces of one shape
// (the segments of a wide polyline) paint each pixel once.
class RunSet {
 public:
  explicit RunSet(const RECT& box)
      : m_top(box.top), m_rows(static_cast<std::size_t>(std::max<LONG>(0, box.bottom - box.top))) {}

  void Add(std::int64_t y, std::int64_t x0, std::int64_t x1) {
    if (y < m_top || y >= m_top + static_cast<std::int64_t>(m_rows.size()) || x0 >= x1) return;
    m_rows[static_cast<std::size_t>(y - m_top)].emplace_back(x0, x1);
  }

  void Paint(Canvas& canvas, BYTE code, std::uint32_t colour) {
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
      auto& runs = m_rows[i];
      if (runs.empty()) continue;
      std::sort(runs.begin(), runs.end());
      std::int64_t a = runs[0].first, b = runs[0].second;
      for (std::size_t k = 1; k < runs.size(); ++k) {
        if (runs[k].first > b) {
          canvas.Paint(m_top + static_cast<std::int64_t>(i), a, b, code, colour);
          a = runs[k].first;
        }
        b = std::max(b, runs[k].second);
      }
      canvas.Paint(m_top + static_cast<std::int64_t>(i), a, b, code, colour);
    }
  }

 private:
  std::int64_t m_top;
  std::vector<std::vector<std::pair<std::int64_t, std::int64_t>>> m_rows;
};

std::int64_t FloorDiv(__int128 a, __int128 b) noexcept {
  __int128 q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return static_cast<std::int64_t>(q);
}

// Dash patterns of one-pixel styled pens, in pixels: on, off, on, off...
struct DashPattern {
  int count;
  int lengths[6];
  int total;
};
constexpr DashPattern kDash{2, {18, 6}, 24};
constexpr DashPattern kDot{2, {3, 3}, 6};
constexpr DashPattern kDashDot{4, {9, 6, 3, 6}, 24};
constexpr DashPattern kDashDotDot{6, {9, 3, 3, 3, 3, 3}, 24};

const DashPattern* DashOf(const PenAttributes& pen) noexcept {
  if (pen.width > 1) return nullptr;
  switch (pen.style) {
    case PS_DASH: return &kDash;
    case PS_DOT: return &kDot;
    case PS_DASHDOT: return &kDashDot;
    case PS_DASHDOTDOT: return &kDashDotDot;
    default: return nullptr;
  }
}

bool DashOn(const DashPattern& dash, std::int64_t position) noexcept {
  int p = static_cast<int>(position % dash.total);
  for (int i = 0; i < dash.count; ++i) {
    if (p < dash.lengths[i]) return i % 2 == 0;
    p -= dash.lengths[i];
  }
  return false;
}

// A one-pixel line from p0 to p1, its last pixel left out, with the platform's Bresenham rule:
// the error starts at 2 * minor - major, and the line steps along the minor axis when
// error + bias > 0, where the bias is 1 in the octants 3, 5, 6 and 8 (counted clockwise from
// +x, y pointing down) and 0 in the others. Pixel i of the major axis therefore lies at minor
// offset ceil((2 i minor + bias - major) / (2 major)), which lets a clipped line start anywhere.
void ThinLine(Canvas& canvas, POINT p0, POINT p1, BYTE code) {
  DeviceContext& dc = canvas.dc;
  const std::int64_t dx = std::int64_t{p1.x} - p0.x, dy = std::int64_t{p1.y} - p0.y;
  if (dx == 0 && dy == 0) return;
  int octant;
  if (dy > 0)
    octant = dx > 0 ? (dx > dy ? 1 : 2) : (-dx > dy ? 4 : 3);
  else
    octant = dx < 0 ? (-dx > -dy ? 5 : 6) : (dx > -dy ? 8 : 7);
  const int bias = (octant == 3 || octant == 5 || octant == 6 || octant == 8) ? 1 : 0;
  const bool xMajor = octant == 1 || octant == 4 || octant == 5 || octant == 8;
  const std::int64_t major = xMajor ? std::abs(dx) : std::abs(dy);
  const std::int64_t minor = xMajor ? std::abs(dy) : std::abs(dx);
  const int majStep = (xMajor ? dx : dy) > 0 ? 1 : -1;
  const int minStep = (xMajor ? dy : dx) >= 0 ? 1 : -1;
  const std::int64_t maj0 = xMajor ? p0.x : p0.y, min0 = xMajor ? p0.y : p0.x;
  const std::int64_t lo = xMajor ? canvas.box.left : canvas.box.top;
  const std::int64_t hi = xMajor ? canvas.box.right : canvas.box.bottom;
  const std::int64_t minLo = xMajor ? canvas.box.top : canvas.box.left;
  const std::int64_t minHi = xMajor ? canvas.box.bottom : canvas.box.right;

  std::int64_t first = majStep > 0 ? lo - maj0 : maj0 - hi + 1;
  std::int64_t last = majStep > 0 ? hi - maj0 : maj0 - lo + 1;  // exclusive
  first = std::max<std::int64_t>(first, 0);
  last = std::min(last, major);

  const DashPattern* dash = DashOf(dc.SelectedPen());
  const std::uint32_t penColour = PixelFromColor(dc.SelectedPen().color);
  const std::uint32_t bkColour = PixelFromColor(dc.m_bkColor);
  const bool opaqueGaps = dc.m_bkMode == OPAQUE;
  if (first < last) {
    std::int64_t n = -FloorDiv(-(__int128{2} * first * minor + bias - major), __int128{2} * major);
    // Within (-2 * major, 2 * minor]: small, though its terms are not.
    std::int64_t err = static_cast<std::int64_t>(
        __int128{2} * minor - major + __int128{2} * first * minor - __int128{2} * n * major);
    for (std::int64_t i = first; i < last; ++i) {
      const std::int64_t m = min0 + minStep * n;
      if (m >= minLo && m < minHi) {
        const std::int64_t a = maj0 + majStep * i;
        const std::int64_t x = xMajor ? a : m, y = xMajor ? m : a;
        if (dash == nullptr || DashOn(*dash, dc.m_dashPos + i))
          canvas.Paint(y, x, x + 1, code, penColour);
        else if (opaqueGaps)
          canvas.Paint(y, x, x + 1, code, bkColour);
      }
      if (err + bias > 0) {
        ++n;
        err += 2 * minor - 2 * major;
      } else {
        err += 2 * minor;
      }
    }
  }
  if (dash) dc.m_dashPos = static_cast<int>((dc.m_dashPos + major) % dash->total);
}

// The x-interval where lo <= c * x + e <= hi; false when empty.
bool SolveLinear(double c, double e, double lo, double hi, double& x0, double& x1) {
  if (c == 0) {
    if (e < lo || e > hi) return false;
    x0 = -std::numeric_limits<double>::infinity();
    x1 = std::numeric_limits<double>::infinity();
    return true;
  }
  x0 = (lo - e) / c;
  x1 = (hi - e) / c;
  if (x0 > x1) std::swap(x0, x1);
  return true;
}

// The pixels within width / 2 of the segment p0-p1 (round ends). Even widths sample half a
// pixel further down and right, so that a horizontal line of width w covers exactly w rows.
void AddCapsule(RunSet& runs, const RECT& box, POINT p0, POINT p1, int width) {
  const double r = width / 2.0 + 1e-9;
  const double shift = width % 2 == 0 ? 0.5 : 0.0;
  const double x0 = p0.x - shift, y0 = p0.y - shift, x1 = p1.x - shift, y1 = p1.y - shift;
  const double dx = x1 - x0, dy = y1 - y0;
  const double length = std::hypot(dx, dy);
  const std::int64_t top =
      std::max<std::int64_t>(box.top, static_cast<std::int64_t>(std::floor(std::min(y0, y1) - r)));
  const std::int64_t bottom = std::min<std::int64_t>(
      box.bottom, static_cast<std::int64_t>(std::ceil(std::max(y0, y1) + r)) + 1);
  for (std::int64_t y = top; y < bottom; ++y) {
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (const auto& [cx, cy] : {std::pair{x0, y0}, std::pair{x1, y1}}) {
      const double d = static_cast<double>(y) - cy;
      if (std::abs(d) <= r) {
        const double h = std::sqrt(r * r - d * d);
        lo = std::min(lo, cx - h);
        hi = std::max(hi, cx + h);
      }
    }
    if (length > 0) {
      const double v = static_cast<double>(y) - y0;
      double a0, a1, b0, b1;
      // Distance from the line at most r, and the projection within the segment.
      if (SolveLinear(dy, -v * dx - x0 * dy, -r * length, r * length, a0, a1) &&
          SolveLinear(dx, -x0 * dx + v * dy, 0, length * length, b0, b1)) {
        const double s0 = std::max(a0, b0), s1 = std::min(a1, b1);
        if (s0 <= s1) {
          lo = std::min(lo, s0);
          hi = std::max(hi, s1);
        }
      }
    }
    if (lo <= hi) {
      const double left = std::max(std::ceil(lo), static_cast<double>(box.left) - 1);
      const double right = std::min(std::floor(hi), static_cast<double>(box.right));
      if (left <= right)
        runs.Add(y, static_cast<std::int64_t>(left), static_cast<std::int64_t>(right) + 1);
    }
  }
}

// Begins a drawing call: false when the DC is invalid or has no surface.
bool Begin(HDC hdc, DeviceContext*& dc, Surface& surface) {
  dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return false;
  surface = dc->GetSurface();
  return surface.Valid();
}

BYTE MixCode(const DeviceContext& dc) { return kernels::Rop2ToRop3(dc.m_rop2); }

// Draws the lines through points with the DC's pen.
void StrokePolyline(Canvas& canvas, const POINT* points, int count) {
  DeviceContext& dc = canvas.dc;
  const PenAttributes& pen = dc.SelectedPen();
  if (pen.style == PS_NULL) return;
  const BYTE code = MixCode(dc);
  if (pen.width <= 1) {
    for (int i = 0; i + 1 < count; ++i) ThinLine(canvas, points[i], points[i + 1], code);
    return;
  }
  RunSet runs(canvas.box);
  for (int i = 0; i + 1 < count; ++i)
    AddCapsule(runs, canvas.box, points[i], points[i + 1], pen.width);
  runs.Paint(canvas, code, PixelFromColor(pen.color));
}

// A normalised box [l, r) x [t, b).
struct Box {
  std::int64_t l, t, r, b;
  bool Empty() const noexcept { return l >= r || t >= b; }
  std::int64_t Width() const noexcept { return r - l; }
  std::int64_t Height() const noexcept { return b - t; }
};

Box Normalised(int left, int top, int right, int bottom) {
  return Box{std::min(left, right), std::min(top, bottom), std::max(left, right),
             std::max(top, bottom)};
}

// The outer box of a shape's outline and the box inside it (the fill), for a pen of width w:
// one pixel wide on the box's own edge, PS_INSIDEFRAME inside the box, other wide pens centred
// on the edge through the box's outer pixels.
void FrameBoxes(const Box& shape, const PenAttributes& pen, Box& outer, Box& inner) {
  const std::int64_t w = std::max(pen.width, 1);
  if (w == 1 || pen.style == PS_INSIDEFRAME) {
    outer = shape;
  } else {
    const std::int64_t a = w / 2;
    outer = Box{shape.l - a, shape.t - a, shape.r - 1 - a + w, shape.b - 1 - a + w};
  }
  inner = Box{outer.l + w, outer.t + w, outer.r - w, outer.b - w};
}

// Row y of the ellipse inscribed in box: the pixels whose centres lie within it, as [x0, x1).
// With X = 2x + 1 - (l + r) and Y = 2y + 1 - (t + b) (doubled offsets from the centre) a pixel
// is inside when X^2 H^2 + Y^2 W^2 <= W^2 H^2, tested exactly.
bool EllipseRun(const Box& box, std::int64_t y, std::int64_t& x0, std::int64_t& x1) {
  if (box.Empty() || y < box.t || y >= box.b) return false;
  using U = unsigned __int128;
  const std::int64_t w = box.Width(), h = box.Height();
  const std::int64_t yy = std::abs(2 * y + 1 - (box.t + box.b));
  const U limit = U(w) * U(w) * U(h) * U(h);
  const U rowTerm = U(yy) * U(yy) * U(w) * U(w);
  auto inside = [&](std::int64_t xx) { return U(xx) * U(xx) * U(h) * U(h) + rowTerm <= limit; };
  const std::int64_t parity = (box.l + box.r + 1) & 1;  // X has the parity of 1 - (l + r)
  const double ratio = static_cast<double>(yy) / static_cast<double>(h);
  std::int64_t xm = static_cast<std::int64_t>(static_cast<double>(w) *
                                              std::sqrt(std::max(0.0, 1 - ratio * ratio)));
  if ((xm & 1) != parity) --xm;
  while (inside(xm + 2)) xm += 2;
  while (xm >= 0 && !inside(xm)) xm -= 2;
  if (xm < 0) return false;
  x0 = (-xm - 1 + box.l + box.r) / 2;
  x1 = (xm - 1 + box.l + box.r) / 2 + 1;
  return true;
}

}  // namespace
}  // namespace vardell::gdi

using vardell::gdi::Box;
using vardell::gdi::Brush;
using vardell::gdi::Canvas;
using vardell::gdi::DeviceContext;
using vardell::gdi::PixelFromColor;
using vardell::gdi::RunSet;
using vardell::gdi::Surface;

BOOL MoveToEx(HDC hdc, int x, int y, LPPOINT old) {
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return FALSE;
  if (old) *old = dc->m_pos;
  dc->m_pos = POINT{x, y};
  dc->m_dashPos = 0;
  return TRUE;
}

BOOL LineTo(HDC hdc, int x, int y) {
  DeviceContext* dc;
  Surface surface;
  if (!vardell::gdi::Begin(hdc, dc, surface)) return FALSE;
  const POINT points[2] = {dc->m_pos, POINT{x, y}};
  try {
    Canvas canvas{*dc, surface, dc->VisibleBox()};
    vardell::gdi::StrokePolyline(canvas, points, 2);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  dc->m_pos = points[1];
  return TRUE;
}

BOOL Polyline(HDC hdc, const POINT* points, int count) {
  DeviceContext* dc;
  Surface surface;
  if (!vardell::gdi::Begin(hdc, dc, surface)) return FALSE;
  if (points == nullptr || count < 2) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  dc->m_dashPos = 0;
  try {
    Canvas canvas{*dc, surface, dc->VisibleBox()};
    vardell::gdi::StrokePolyline(canvas, points, count);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  return TRUE;
}

BOOL Rectangle(HDC hdc, int left, int top, int right, int bottom) {
  using namespace vardell::gdi;
  DeviceContext* dc;
  Surface surface;
  if (!Begin(hdc, dc, surface)) return FALSE;
  Box shape = Normalised(left, top, right, bottom);
  const PenAttributes& pen = dc->SelectedPen();
  const BYTE code = MixCode(*dc);
  const bool fill = dc->SelectedBrush().style != BS_NULL;
  const std::uint32_t brushColour = PixelFromColor(dc->SelectedBrush().color);
  try {
    Canvas canvas{*dc, surface, dc->VisibleBox()};
    const std::int64_t top0 = std::max<std::int64_t>(canvas.box.top, shape.t - pen.width);
    const std::int64_t bottom0 = std::min<std::int64_t>(canvas.box.bottom, shape.b + pen.width);
    if (pen.style == PS_NULL) {
      // The platform leaves out the right column and the bottom row too.
      shape.r -= 1;
      shape.b -= 1;
      if (fill)
        for (std::int64_t y = std::max(top0, shape.t); y < std::min(bottom0, shape.b); ++y)
          canvas.Paint(y, shape.l, shape.r, code, brushColour);
      return TRUE;
    }
    if (shape.Empty()) return TRUE;
    Box outer, inner;
    FrameBoxes(shape, pen, outer, inner);
    if (fill && !inner.Empty())
      for (std::int64_t y = std::max(top0, inner.t); y < std::min(bottom0, inner.b); ++y)
        canvas.Paint(y, inner.l, inner.r, code, brushColour);
    if (DashOf(pen) != nullptr && shape.Width() > 1 && shape.Height() > 1) {
      const POINT path[5] = {{static_cast<LONG>(shape.l), static_cast<LONG>(shape.t)},
                             {static_cast<LONG>(shape.r - 1), static_cast<LONG>(shape.t)},
                             {static_cast<LONG>(shape.r - 1), static_cast<LONG>(shape.b - 1)},
                             {static_cast<LONG>(shape.l), static_cast<LONG>(shape.b - 1)},
                             {static_cast<LONG>(shape.l), static_cast<LONG>(shape.t)}};
      dc->m_dashPos = 0;
      StrokePolyline(canvas, path, 5);
      return TRUE;
    }
    const std::uint32_t penColour = PixelFromColor(pen.color);
    for (std::int64_t y = std::max(top0, outer.t); y < std::min(bottom0, outer.b); ++y) {
      if (inner.Empty() || y < inner.t || y >= inner.b) {
        canvas.Paint(y, outer.l, outer.r, code, penColour);
      } else {
        canvas.Paint(y, outer.l, inner.l, code, penColour);
        canvas.Paint(y, inner.r, outer.r, code, penColour);
      }
    }
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  return TRUE;
}

BOOL Ellipse(HDC hdc, int left, int top, int right, int bottom) {
  using namespace vardell::gdi;
  DeviceContext* dc;
  Surface surface;
  if (!Begin(hdc, dc, surface)) return FALSE;
  Box shape = Normalised(left, top, right, bottom);
  const PenAttributes& pen = dc->SelectedPen();
  if (shape.Width() + 2 * pen.width > kMaxShapeExtent ||
      shape.Height() + 2 * pen.width > kMaxShapeExtent) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const BYTE code = MixCode(*dc);
  const bool fill = dc->SelectedBrush().style != BS_NULL;
  const std::uint32_t brushColour = PixelFromColor(dc->SelectedBrush().color);
  const std::uint32_t penColour = PixelFromColor(pen.color);
  Canvas canvas{*dc, surface, dc->VisibleBox()};
  const std::int64_t top0 = std::max<std::int64_t>(canvas.box.top, shape.t - pen.width);
  const std::int64_t bottom0 = std::min<std::int64_t>(canvas.box.bottom, shape.b + pen.width);
  std::int64_t x0, x1;
  if (pen.style == PS_NULL) {
    // As Rectangle, one pixel smaller to the right and below.
    shape.r -= 1;
    shape.b -= 1;
    if (fill)
      for (std::int64_t y = top0; y < bottom0; ++y)
        if (EllipseRun(shape, y, x0, x1)) canvas.Paint(y, x0, x1, code, brushColour);
    return TRUE;
  }
  if (shape.Empty()) return TRUE;
  if (pen.width <= 1) {
    // Outline: the inside pixels with an outside pixel above, below, left or right.
    for (std::int64_t y = std::max(top0, shape.t); y < std::min(bottom0, shape.b); ++y) {
      if (!EllipseRun(shape, y, x0, x1)) continue;
      std::int64_t i0 = x0 + 1, i1 = x1 - 1, a, b;
      for (std::int64_t ny : {y - 1, y + 1}) {
        if (EllipseRun(shape, ny, a, b)) {
          i0 = std::max(i0, a);
          i1 = std::min(i1, b);
        } else {
          i1 = i0;
        }
      }
      if (i0 >= i1) {
        canvas.Paint(y, x0, x1, code, penColour);
        continue;
      }
      if (fill) canvas.Paint(y, i0, i1, code, brushColour);
      canvas.Paint(y, x0, i0, code, penColour);
      canvas.Paint(y, i1, x1, code, penColour);
    }
    return TRUE;
  }
  Box outer, inner;
  FrameBoxes(shape, pen, outer, inner);
  for (std::int64_t y = std::max(top0, outer.t); y < std::min(bottom0, outer.b); ++y) {
    if (!EllipseRun(outer, y, x0, x1)) continue;
    std::int64_t i0, i1;
    if (!EllipseRun(inner, y, i0, i1)) {
      canvas.Paint(y, x0, x1, code, penColour);
      continue;
    }
    if (fill) canvas.Paint(y, i0, i1, code, brushColour);
    canvas.Paint(y, x0, i0, code, penColour);
    canvas.Paint(y, i1, x1, code, penColour);
  }
  return TRUE;
}

int FillRect(HDC hdc, const RECT* rect, HBRUSH hbrush) {
  DeviceContext* dc;
  Surface surface;
  if (!vardell::gdi::Begin(hdc, dc, surface)) return 0;
  const Brush* brush = Brush::Find(hbrush);
  if (rect == nullptr || brush == nullptr) {
    SetLastError(rect == nullptr ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
    return 0;
  }
  if (brush->m_brush.style == BS_NULL) return 1;
  const std::uint32_t colour = PixelFromColor(brush->m_brush.color);
  Canvas canvas{*dc, surface, dc->VisibleBox()};
  const std::int64_t top = std::max<std::int64_t>(rect->top, canvas.box.top);
  const std::int64_t bottom = std::min<std::int64_t>(rect->bottom, canvas.box.bottom);
  for (std::int64_t y = top; y < bottom; ++y)
    canvas.Paint(y, rect->left, rect->right, 0xF0, colour);
  return 1;
}

COLORREF SetPixel(HDC hdc, int x, int y, COLORREF color) {
  DeviceContext* dc;
  Surface surface;
  if (!vardell::gdi::Begin(hdc, dc, surface)) return CLR_INVALID;
  bool set = false;
  const std::uint32_t pixel = PixelFromColor(color & 0x00FFFFFFu);
  dc->ForEachVisibleSpan(y, x, std::int64_t{x} + 1, [&](int a, int) {
    surface.Row(y)[a] = pixel;
    set = true;
  });
  if (!set) return CLR_INVALID;
  dc->Touch(RECT{x, y, x + 1, y + 1});
  return color & 0x00FFFFFFu;
}

COLORREF GetPixel(HDC hdc, int x, int y) {
  DeviceContext* dc;
  Surface surface;
  if (!vardell::gdi::Begin(hdc, dc, surface)) return CLR_INVALID;
  COLORREF color = CLR_INVALID;
  dc->ForEachVisibleSpan(y, x, std::int64_t{x} + 1, [&](int a, int) {
    color = vardell::gdi::ColorFromPixel(surface.Row(y)[a]);
  });
  return color;
}
