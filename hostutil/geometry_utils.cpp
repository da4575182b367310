#include "hostutil/geometry_utils.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

namespace vardell {
namespace {

// Offsets and extents of 32-bit coordinates need 33 bits, and their products 65 bits, so the
// mapping multiplies in 128 bits: exact for every input, with no floating point.
__extension__ using Wide = __int128;

int Saturate(Wide v) noexcept {
  if (v > INT_MAX) return INT_MAX;
  if (v < INT_MIN) return INT_MIN;
  return static_cast<int>(v);
}

// floor(a / b) for b != 0, whatever the signs.
Wide FloorDiv(Wide a, Wide b) noexcept {
  Wide q = a / b;
  if (a % b != 0 && ((a < 0) != (b < 0))) --q;
  return q;
}

// One coordinate from the interval starting at f0 with extent fExtent onto the one starting at
// t0 with extent tExtent; a zero-extent source interval collapses onto t0.
int MapCoordinate(LONG v, LONG f0, std::int64_t fExtent, LONG t0, std::int64_t tExtent) noexcept {
  if (fExtent == 0) return t0;
  Wide offset = static_cast<Wide>(static_cast<std::int64_t>(v) - f0) * tExtent;
  return Saturate(static_cast<Wide>(t0) + FloorDiv(offset, fExtent));
}

std::int64_t Extent(LONG lo, LONG hi) noexcept { return static_cast<std::int64_t>(hi) - lo; }

int RoundToInt(double v) noexcept {
  if (v >= 2147483647.0) return INT_MAX;
  if (v <= -2147483648.0) return INT_MIN;
  return static_cast<int>(std::lround(v));
}

}  // namespace
}  // namespace vardell

using vardell::Extent;
using vardell::MapCoordinate;

void ScaleTransform(CRect from, CRect to, CPoint& point) {
  const std::int64_t fw = Extent(from.left, from.right), fh = Extent(from.top, from.bottom);
  const std::int64_t tw = Extent(to.left, to.right), th = Extent(to.top, to.bottom);
  point.x = MapCoordinate(point.x, from.left, fw, to.left, tw);
  point.y = MapCoordinate(point.y, from.top, fh, to.top, th);
}

void ScaleTransform(CRect from, CRect to, CRect& r) {
  CPoint topLeft(r.left, r.top), bottomRight(r.right, r.bottom);
  ScaleTransform(from, to, topLeft);
  ScaleTransform(from, to, bottomRight);
  r = CRect(topLeft, bottomRight);
}

CRect FitIn(CRect inner, CRect outer) {
  inner.NormalizeRect();
  outer.NormalizeRect();
  const std::int64_t iw = Extent(inner.left, inner.right), ih = Extent(inner.top, inner.bottom);
  const std::int64_t ow = Extent(outer.left, outer.right), oh = Extent(outer.top, outer.bottom);
  if (iw == 0 || ih == 0 || ow == 0 || oh == 0) {
    // The centre in 64 bits: CRect::CenterPoint would overflow on far-apart edges.
    const CPoint c(static_cast<int>((static_cast<std::int64_t>(outer.left) + outer.right) / 2),
                   static_cast<int>((static_cast<std::int64_t>(outer.top) + outer.bottom) / 2));
    return CRect(c, c);
  }
  using vardell::Wide;
  std::int64_t w = ow, h = oh;
  // round(n / d) with halves up is floor((2n + d) / 2d) for positive n and d.
  if (static_cast<Wide>(iw) * oh >= static_cast<Wide>(ow) * ih)
    h = static_cast<std::int64_t>((2 * static_cast<Wide>(ih) * ow + iw) /
                                  (2 * static_cast<Wide>(iw)));
  else
    w = static_cast<std::int64_t>((2 * static_cast<Wide>(iw) * oh + ih) /
                                  (2 * static_cast<Wide>(ih)));
  if (w < 1) w = 1;
  if (h < 1) h = 1;
  const std::int64_t left = outer.left + (ow - w) / 2, top = outer.top + (oh - h) / 2;
  return CRect(static_cast<int>(left), static_cast<int>(top), static_cast<int>(left + w),
               static_cast<int>(top + h));
}

void NormalizeRect(RECT& r) {
  if (r.left > r.right) std::swap(r.left, r.right);
  if (r.top > r.bottom) std::swap(r.top, r.bottom);
}

CPoint RotatePoint(CPoint point, CPoint centre, double cosine, double sine) {
  const double dx = static_cast<double>(point.x) - centre.x;
  const double dy = static_cast<double>(point.y) - centre.y;
  const double x = centre.x + dx * cosine - dy * sine;
  const double y = centre.y + dx * sine + dy * cosine;
  if (!std::isfinite(x) || !std::isfinite(y)) return centre;
  return CPoint(vardell::RoundToInt(x), vardell::RoundToInt(y));
}

double GetAngle(CPoint from, CPoint to) {
  const double dx = static_cast<double>(to.x) - from.x;
  const double dy = static_cast<double>(to.y) - from.y;
  if (dx == 0.0 && dy == 0.0) return 0.0;
  // dy is never -0.0 here, so a vector along -x answers +180, not -180.
  return std::atan2(dy, dx) * (180.0 / std::numbers::pi);
}

int Distance2(CPoint a, CPoint b) {
  const auto magnitude = [](LONG p, LONG q) {
    const std::int64_t d = static_cast<std::int64_t>(p) - q;
    return static_cast<std::uint64_t>(d < 0 ? -d : d);
  };
  // Each magnitude is below 2^32, so its square fits 64 unsigned bits; cap before adding.
  const std::uint64_t dx = magnitude(a.x, b.x), dy = magnitude(a.y, b.y);
  const std::uint64_t sx = dx * dx, sy = dy * dy;
  if (sx > INT_MAX || sy > INT_MAX || sx + sy > INT_MAX) return INT_MAX;
  return static_cast<int>(sx + sy);
}
