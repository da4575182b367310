// POINT, SIZE and RECT with the MFC wrappers CPoint, CSize and CRect. Right and bottom are
// exclusive; a rectangle is empty when its width or height is not positive, null when all four
// coordinates are 0. Arithmetic is plain 32-bit int arithmetic, as on the platform.
#pragma once

#include "platform/win_types.h"

#include <algorithm>

struct POINT {
  LONG x;
  LONG y;
};
struct SIZE {
  LONG cx;
  LONG cy;
};
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};
using LPPOINT = POINT*;
using LPSIZE = SIZE*;
using LPRECT = RECT*;
using LPCRECT = const RECT*;
using POINTS = struct {
  SHORT x;
  SHORT y;
};

static_assert(sizeof(POINT) == 8 && sizeof(SIZE) == 8 && sizeof(RECT) == 16);

// The USER rectangle functions, with their platform results.
constexpr BOOL IsRectEmpty(const RECT& r) noexcept {
  return r.left >= r.right || r.top >= r.bottom;
}
constexpr BOOL SetRectEmpty(RECT& r) noexcept {
  r = RECT{0, 0, 0, 0};
  return TRUE;
}
constexpr BOOL SetRect(RECT& r, int l, int t, int rt, int b) noexcept {
  r = RECT{l, t, rt, b};
  return TRUE;
}
constexpr BOOL PtInRect(const RECT& r, POINT p) noexcept {
  return p.x >= r.left && p.x < r.right && p.y >= r.top && p.y < r.bottom;
}
constexpr BOOL EqualRect(const RECT& a, const RECT& b) noexcept {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
constexpr BOOL OffsetRect(RECT& r, int dx, int dy) noexcept {
  r.left += dx;
  r.right += dx;
  r.top += dy;
  r.bottom += dy;
  return TRUE;
}
constexpr BOOL InflateRect(RECT& r, int dx, int dy) noexcept {
  r.left -= dx;
  r.right += dx;
  r.top -= dy;
  r.bottom += dy;
  return TRUE;
}
// Writes the null rectangle and answers FALSE when the two do not overlap or either is empty.
constexpr BOOL IntersectRect(RECT& dst, const RECT& a, const RECT& b) noexcept {
  if (IsRectEmpty(a) || IsRectEmpty(b) || a.left >= b.right || b.left >= a.right ||
      a.top >= b.bottom || b.top >= a.bottom) {
    SetRectEmpty(dst);
    return FALSE;
  }
  dst = RECT{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
             std::min(a.bottom, b.bottom)};
  return TRUE;
}
// An empty operand is ignored; two empty operands give the null rectangle and FALSE.
constexpr BOOL UnionRect(RECT& dst, const RECT& a, const RECT& b) noexcept {
  if (IsRectEmpty(a)) {
    if (IsRectEmpty(b)) {
      SetRectEmpty(dst);
      return FALSE;
    }
    dst = b;
  } else if (IsRectEmpty(b)) {
    dst = a;
  } else {
    dst = RECT{std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
               std::max(a.bottom, b.bottom)};
  }
  return TRUE;
}
// The platform subtracts only when b covers a whole side of a; otherwise dst is a copy of a.
constexpr BOOL SubtractRect(RECT& dst, const RECT& a, const RECT& b) noexcept {
  if (IsRectEmpty(a)) {
    SetRectEmpty(dst);
    return FALSE;
  }
  RECT r = a;
  RECT common{};
  if (IntersectRect(common, a, b)) {
    if (EqualRect(common, a)) {
      SetRectEmpty(dst);
      return FALSE;
    }
    if (common.top == r.top && common.bottom == r.bottom) {
      if (common.left == r.left)
        r.left = common.right;
      else if (common.right == r.right)
        r.right = common.left;
    } else if (common.left == r.left && common.right == r.right) {
      if (common.top == r.top)
        r.top = common.bottom;
      else if (common.bottom == r.bottom)
        r.bottom = common.top;
    }
  }
  dst = r;
  return TRUE;
}

class CSize : public SIZE {
 public:
  constexpr CSize() noexcept : SIZE{0, 0} {}
  constexpr CSize(int x, int y) noexcept : SIZE{x, y} {}
  constexpr CSize(SIZE s) noexcept : SIZE{s} {}
  constexpr CSize(POINT p) noexcept : SIZE{p.x, p.y} {}
  // Low word is cx, high word cy, each a signed 16-bit value.
  constexpr explicit CSize(DWORD dw) noexcept
      : SIZE{static_cast<SHORT>(LOWORD(dw)), static_cast<SHORT>(HIWORD(dw))} {}

  constexpr bool operator==(const SIZE& s) const noexcept { return cx == s.cx && cy == s.cy; }
  // Exact-type overloads keep C++20's reversed candidates from being ambiguous.
  constexpr bool operator==(const CSize& s) const noexcept { return cx == s.cx && cy == s.cy; }
  constexpr bool operator!=(const SIZE& s) const noexcept { return !(*this == s); }
  constexpr void operator+=(SIZE s) noexcept { cx += s.cx, cy += s.cy; }
  constexpr void operator-=(SIZE s) noexcept { cx -= s.cx, cy -= s.cy; }
  constexpr CSize operator+(SIZE s) const noexcept { return CSize(cx + s.cx, cy + s.cy); }
  constexpr CSize operator-(SIZE s) const noexcept { return CSize(cx - s.cx, cy - s.cy); }
  constexpr CSize operator-() const noexcept { return CSize(-cx, -cy); }
};

class CPoint : public POINT {
 public:
  constexpr CPoint() noexcept : POINT{0, 0} {}
  constexpr CPoint(int x0, int y0) noexcept : POINT{x0, y0} {}
  constexpr CPoint(POINT p) noexcept : POINT{p} {}
  constexpr CPoint(SIZE s) noexcept : POINT{s.cx, s.cy} {}
  // Low word is x, high word y, each a signed 16-bit value (the packed stroke-point form).
  constexpr explicit CPoint(DWORD dw) noexcept
      : POINT{static_cast<SHORT>(LOWORD(dw)), static_cast<SHORT>(HIWORD(dw))} {}

  constexpr void Offset(int dx, int dy) noexcept { x += dx, y += dy; }
  constexpr void Offset(POINT p) noexcept { Offset(p.x, p.y); }
  constexpr void Offset(SIZE s) noexcept { Offset(s.cx, s.cy); }
  constexpr bool operator==(const POINT& p) const noexcept { return x == p.x && y == p.y; }
  constexpr bool operator==(const CPoint& p) const noexcept { return x == p.x && y == p.y; }
  constexpr bool operator!=(const POINT& p) const noexcept { return !(*this == p); }
  constexpr void operator+=(SIZE s) noexcept { Offset(s); }
  constexpr void operator-=(SIZE s) noexcept { Offset(-s.cx, -s.cy); }
  constexpr void operator+=(POINT p) noexcept { Offset(p); }
  constexpr void operator-=(POINT p) noexcept { Offset(-p.x, -p.y); }
  constexpr CPoint operator+(SIZE s) const noexcept { return CPoint(x + s.cx, y + s.cy); }
  constexpr CPoint operator-(SIZE s) const noexcept { return CPoint(x - s.cx, y - s.cy); }
  constexpr CPoint operator+(POINT p) const noexcept { return CPoint(x + p.x, y + p.y); }
  constexpr CSize operator-(POINT p) const noexcept { return CSize(x - p.x, y - p.y); }
  constexpr CPoint operator-() const noexcept { return CPoint(-x, -y); }
};

class CRect : public RECT {
 public:
  constexpr CRect() noexcept : RECT{0, 0, 0, 0} {}
  constexpr CRect(int l, int t, int r, int b) noexcept : RECT{l, t, r, b} {}
  constexpr CRect(const RECT& r) noexcept : RECT{r} {}
  constexpr CRect(const RECT* r) noexcept : RECT{*r} {}
  constexpr CRect(POINT p, SIZE s) noexcept : RECT{p.x, p.y, p.x + s.cx, p.y + s.cy} {}
  constexpr CRect(POINT tl, POINT br) noexcept : RECT{tl.x, tl.y, br.x, br.y} {}

  constexpr int Width() const noexcept { return right - left; }
  constexpr int Height() const noexcept { return bottom - top; }
  constexpr CSize Size() const noexcept { return CSize(Width(), Height()); }
  CPoint& TopLeft() noexcept { return *reinterpret_cast<CPoint*>(&left); }
  CPoint& BottomRight() noexcept { return *reinterpret_cast<CPoint*>(&right); }
  constexpr CPoint TopLeft() const noexcept { return CPoint(left, top); }
  constexpr CPoint BottomRight() const noexcept { return CPoint(right, bottom); }
  constexpr CPoint CenterPoint() const noexcept {
    return CPoint((left + right) / 2, (top + bottom) / 2);
  }

  constexpr operator LPRECT() noexcept { return this; }
  constexpr operator LPCRECT() const noexcept { return this; }

  constexpr BOOL IsRectEmpty() const noexcept { return ::IsRectEmpty(*this); }
  constexpr BOOL IsRectNull() const noexcept {
    return left == 0 && right == 0 && top == 0 && bottom == 0;
  }
  constexpr BOOL PtInRect(POINT p) const noexcept { return ::PtInRect(*this, p); }
  constexpr BOOL EqualRect(const RECT& r) const noexcept { return ::EqualRect(*this, r); }

  constexpr void SetRect(int l, int t, int r, int b) noexcept { *this = CRect(l, t, r, b); }
  constexpr void SetRect(POINT tl, POINT br) noexcept { *this = CRect(tl, br); }
  constexpr void SetRectEmpty() noexcept { ::SetRectEmpty(*this); }
  constexpr void CopyRect(const RECT& r) noexcept { static_cast<RECT&>(*this) = r; }

  constexpr void InflateRect(int x, int y) noexcept { ::InflateRect(*this, x, y); }
  constexpr void InflateRect(SIZE s) noexcept { ::InflateRect(*this, s.cx, s.cy); }
  constexpr void InflateRect(const RECT& r) noexcept {
    left -= r.left, top -= r.top, right += r.right, bottom += r.bottom;
  }
  constexpr void InflateRect(int l, int t, int r, int b) noexcept {
    left -= l, top -= t, right += r, bottom += b;
  }
  constexpr void DeflateRect(int x, int y) noexcept { ::InflateRect(*this, -x, -y); }
  constexpr void DeflateRect(SIZE s) noexcept { ::InflateRect(*this, -s.cx, -s.cy); }
  constexpr void DeflateRect(const RECT& r) noexcept {
    left += r.left, top += r.top, right -= r.right, bottom -= r.bottom;
  }
  constexpr void DeflateRect(int l, int t, int r, int b) noexcept {
    left += l, top += t, right -= r, bottom -= b;
  }
  constexpr void OffsetRect(int x, int y) noexcept { ::OffsetRect(*this, x, y); }
  constexpr void OffsetRect(POINT p) noexcept { ::OffsetRect(*this, p.x, p.y); }
  constexpr void OffsetRect(SIZE s) noexcept { ::OffsetRect(*this, s.cx, s.cy); }
  constexpr void NormalizeRect() noexcept {
    if (left > right) std::swap(left, right);
    if (top > bottom) std::swap(top, bottom);
  }

  constexpr BOOL IntersectRect(const RECT& a, const RECT& b) noexcept {
    return ::IntersectRect(*this, a, b);
  }
  constexpr BOOL UnionRect(const RECT& a, const RECT& b) noexcept {
    return ::UnionRect(*this, a, b);
  }
  constexpr BOOL SubtractRect(const RECT& a, const RECT& b) noexcept {
    return ::SubtractRect(*this, a, b);
  }

  constexpr bool operator==(const RECT& r) const noexcept { return ::EqualRect(*this, r); }
  constexpr bool operator==(const CRect& r) const noexcept { return ::EqualRect(*this, r); }
  constexpr bool operator!=(const RECT& r) const noexcept { return !::EqualRect(*this, r); }
  constexpr void operator+=(POINT p) noexcept { OffsetRect(p); }
  constexpr void operator+=(SIZE s) noexcept { OffsetRect(s); }
  constexpr void operator+=(const RECT& r) noexcept { InflateRect(r); }
  constexpr void operator-=(POINT p) noexcept { OffsetRect(-p.x, -p.y); }
  constexpr void operator-=(SIZE s) noexcept { OffsetRect(-s.cx, -s.cy); }
  constexpr void operator-=(const RECT& r) noexcept { DeflateRect(r); }
  constexpr void operator&=(const RECT& r) noexcept { ::IntersectRect(*this, *this, r); }
  constexpr void operator|=(const RECT& r) noexcept { ::UnionRect(*this, *this, r); }
  constexpr CRect operator+(POINT p) const noexcept {
    CRect r(*this);
    r.OffsetRect(p);
    return r;
  }
  constexpr CRect operator-(POINT p) const noexcept {
    CRect r(*this);
    r.OffsetRect(-p.x, -p.y);
    return r;
  }
  constexpr CRect operator+(SIZE s) const noexcept {
    CRect r(*this);
    r.OffsetRect(s);
    return r;
  }
  constexpr CRect operator-(SIZE s) const noexcept {
    CRect r(*this);
    r.OffsetRect(-s.cx, -s.cy);
    return r;
  }
  constexpr CRect operator&(const RECT& o) const noexcept {
    CRect r;
    ::IntersectRect(r, *this, o);
    return r;
  }
  constexpr CRect operator|(const RECT& o) const noexcept {
    CRect r;
    ::UnionRect(r, *this, o);
    return r;
  }
};

static_assert(sizeof(CRect) == 16 && sizeof(CPoint) == 8 && sizeof(CSize) == 8);
