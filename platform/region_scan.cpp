#include "platform/region_scan.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vardell::region {
namespace {

using i64 = std::int64_t;

// Coordinates lie in the 28-bit range, so differences fit 29 bits and every product below
// fits 58 bits: 64-bit arithmetic is exact.
i64 FloorDiv(i64 a, i64 b) noexcept {  // b > 0
  i64 q = a / b;
  if (a % b != 0 && a < 0) --q;
  return q;
}
i64 CeilDiv(i64 a, i64 b) noexcept {  // b > 0
  i64 q = a / b;
  if (a % b != 0 && a > 0) ++q;
  return q;
}

struct Edge {
  i64 x1, y1;  // upper end
  i64 dx, dy;  // dy > 0
  int dir;     // +1 when the polygon runs downwards along this edge, -1 upwards

  i64 End() const noexcept { return y1 + dy; }
  // ceil(X) on row y: the first pixel whose top-left corner is not left of the edge.
  i64 Crossing(i64 y) const noexcept { return x1 + CeilDiv(dx * (y - y1), dy); }
  // The first row after y whose crossing differs from row y's.
  i64 NextChange(i64 y) const noexcept {
    const i64 t = y - y1;
    if (dx > 0) return y1 + FloorDiv(CeilDiv(dx * t, dy) * dy, dx) + 1;
    if (dx < 0) return y1 + CeilDiv((FloorDiv(-dx * t, dy) + 1) * dy, -dx);
    return std::numeric_limits<i64>::max();
  }
};

struct Active {
  const Edge* edge;
  i64 x;
};

bool Collinear(std::span<const POINT> p) noexcept {
  std::size_t i = 1;
  while (i < p.size() && p[i].x == p[0].x && p[i].y == p[0].y) ++i;
  if (i == p.size()) return true;
  const i64 ux = i64{p[i].x} - p[0].x, uy = i64{p[i].y} - p[0].y;
  for (std::size_t j = i + 1; j < p.size(); ++j) {
    if (ux * (i64{p[j].y} - p[0].y) != uy * (i64{p[j].x} - p[0].x)) return false;
  }
  return true;
}

// Appends the band [top, bottom) with the given spans, or lengthens the previous band when it
// ends at top with the same spans (the platform's coalescing). Answers false past maxRects.
class BandWriter {
 public:
  BandWriter(std::vector<RECT>& out, std::size_t maxRects) : m_out(out), m_max(maxRects) {}

  bool Add(i64 top, i64 bottom, const std::vector<i64>& spans) {
    const std::size_t n = spans.size() / 2;
    if (n == 0) return true;
    if (m_bottom == top && m_end - m_start == n) {
      bool same = true;
      for (std::size_t i = 0; i < n && same; ++i) {
        same =
            m_out[m_start + i].left == spans[2 * i] && m_out[m_start + i].right == spans[2 * i + 1];
      }
      if (same) {
        for (std::size_t i = m_start; i < m_end; ++i) m_out[i].bottom = static_cast<LONG>(bottom);
        m_bottom = bottom;
        return true;
      }
    }
    if (m_out.size() + n > m_max) return false;
    m_start = m_out.size();
    for (std::size_t i = 0; i < n; ++i) {
      m_out.push_back(RECT{static_cast<LONG>(spans[2 * i]), static_cast<LONG>(top),
                           static_cast<LONG>(spans[2 * i + 1]), static_cast<LONG>(bottom)});
    }
    m_end = m_out.size();
    m_bottom = bottom;
    return true;
  }

 private:
  std::vector<RECT>& m_out;
  std::size_t m_max;
  std::size_t m_start = 0, m_end = 0;
  i64 m_bottom = std::numeric_limits<i64>::min();
};

}  // namespace

bool ScanPolygons(std::span<const POINT> points, std::span<const INT> counts, int mode,
                  std::size_t maxRects, std::vector<RECT>& out) {
  out.clear();
  for (const POINT& p : points) {
    if (!InRange(p.x) || !InRange(p.y)) return false;
  }

  std::vector<Edge> edges;
  std::size_t start = 0;
  for (const INT count : counts) {
    const std::span<const POINT> poly = points.subspan(start, static_cast<std::size_t>(count));
    start += poly.size();
    // A polygon on one line crosses every row an even number of times at one point, with
    // windings summing to zero, so it cannot change any pixel.
    if (poly.size() < 2 || Collinear(poly)) continue;
    const POINT* prev = &poly.back();
    for (const POINT& cur : poly) {
      if (cur.y != prev->y) {
        const bool down = cur.y > prev->y;
        const POINT& top = down ? *prev : cur;
        const POINT& bottom = down ? cur : *prev;
        edges.push_back(
            Edge{top.x, top.y, i64{bottom.x} - top.x, i64{bottom.y} - top.y, down ? 1 : -1});
      }
      prev = &cur;
    }
  }
  std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.y1 < b.y1; });

  BandWriter writer(out, maxRects);
  std::vector<Active> active;
  std::vector<i64> spans;
  std::size_t next = 0;
  i64 y = edges.empty() ? 0 : edges.front().y1;
  while (next < edges.size() || !active.empty()) {
    if (active.empty() && edges[next].y1 > y) y = edges[next].y1;
    std::erase_if(active, [y](const Active& a) { return a.edge->End() <= y; });
    const std::size_t kept = active.size();
    while (next < edges.size() && edges[next].y1 == y) active.push_back(Active{&edges[next++], 0});
    if (active.empty()) continue;

    i64 yNext = next < edges.size() ? edges[next].y1 : std::numeric_limits<i64>::max();
    for (Active& a : active) {
      a.x = a.edge->Crossing(y);
      yNext = std::min({yNext, a.edge->End(), a.edge->NextChange(y)});
    }
    // Kept crossings move little from one step to the next, so insertion sort is nearly linear
    // for them; edges entering here are sorted apart and merged in.
    const auto byX = [](const Active& a, const Active& b) { return a.x < b.x; };
    for (std::size_t i = 1; i < kept; ++i) {
      const Active a = active[i];
      std::size_t j = i;
      for (; j > 0 && active[j - 1].x > a.x; --j) active[j] = active[j - 1];
      active[j] = a;
    }
    if (kept < active.size()) {
      std::sort(active.begin() + kept, active.end(), byX);
      std::inplace_merge(active.begin(), active.begin() + kept, active.end(), byX);
    }

    // Crossings at the same x are taken together, so touching spans come out merged.
    spans.clear();
    int state = 0;
    i64 left = 0;
    for (std::size_t i = 0; i < active.size();) {
      const i64 x = active[i].x;
      const bool wasInside = state != 0;
      for (; i < active.size() && active[i].x == x; ++i) {
        state = mode == 2 ? state + active[i].edge->dir : state ^ 1;
      }
      const bool inside = state != 0;
      if (inside && !wasInside) {
        left = x;
      } else if (!inside && wasInside) {
        spans.push_back(left);
        spans.push_back(x);
      }
    }
    if (!writer.Add(y, yNext, spans)) return false;
    y = yNext;
  }
  return true;
}

bool ScanEllipse(const RECT& box, std::size_t maxRects, std::vector<RECT>& out) {
  out.clear();
  if (!InRange(box.left) || !InRange(box.top) || !InRange(box.right) || !InRange(box.bottom)) {
    return false;
  }
  const i64 width = i64{box.right} - box.left, height = i64{box.bottom} - box.top;
  if (width <= 0 || height <= 0) return true;
  if (width < 2 || height < 2) {
    out.push_back(box);
    return true;
  }

  // Pixels missing at each end of row i of the upper half (0 = top row): a pixel is inside when
  // its centre is within the ellipse. The inset never grows towards the middle row.
  const double a = static_cast<double>(width) / 2, b = static_cast<double>(height) / 2;
  const auto inset = [a, b](i64 i) {
    const double v = (b - (static_cast<double>(i) + 0.5)) / b;
    const double u = a * std::sqrt(std::max(0.0, 1.0 - v * v));
    return static_cast<i64>(std::ceil(a - u - 0.5));
  };
  struct Run {
    i64 inset, first, last;  // rows first..last, relative to box.top
  };
  const i64 upper = (height + 1) / 2;
  std::vector<Run> half;
  for (i64 i = 0; i < upper;) {
    const i64 d = inset(i);
    i64 lo = i, hi = upper - 1;
    while (lo < hi) {
      const i64 mid = lo + (hi - lo + 1) / 2;
      if (inset(mid) == d)
        lo = mid;
      else
        hi = mid - 1;
    }
    half.push_back(Run{d, i, lo});
    if (half.size() > maxRects) return false;
    i = lo + 1;
  }

  std::vector<Run> rows;
  const auto add = [&rows](i64 d, i64 first, i64 last) {
    if (!rows.empty() && rows.back().inset == d && rows.back().last + 1 == first)
      rows.back().last = last;
    else
      rows.push_back(Run{d, first, last});
  };
  for (const Run& r : half) add(r.inset, r.first, r.last);
  for (auto r = half.rbegin(); r != half.rend(); ++r) {
    const i64 first = std::max(height - 1 - r->last, upper), last = height - 1 - r->first;
    if (first <= last) add(r->inset, first, last);
  }
  for (const Run& r : rows) {
    if (2 * r.inset >= width) continue;
    if (out.size() >= maxRects) return false;
    out.push_back(RECT{static_cast<LONG>(box.left + r.inset), static_cast<LONG>(box.top + r.first),
                       static_cast<LONG>(box.right - r.inset),
                       static_cast<LONG>(box.top + r.last + 1)});
  }
  return true;
}

}  // namespace vardell::region
