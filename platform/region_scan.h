// Scan conversion of polygons and ellipses into a region's canonical y-x banded rectangle list.
// Internal to the region code; the public functions are in platform/region.h.
#pragma once

#include "platform/geometry.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vardell::region {

// Every coordinate a region holds lies in this range; the platform refuses results outside it.
inline constexpr LONG kMinCoord = -0x8000000;
inline constexpr LONG kMaxCoord = 0x7FFFFFF;

// The most rectangles a shape may produce. A region of more is refused rather than exhausting
// memory (a diagonal edge across the whole coordinate range would need 2^28 bands).
inline constexpr std::size_t kMaxShapeRects = std::size_t{1} << 24;

constexpr bool InRange(std::int64_t v) noexcept { return v >= kMinCoord && v <= kMaxCoord; }

// The rectangles of the polygons whose points are `points`, counts[i] of them for polygon i,
// each closed implicitly, filled with mode 1 (alternate, even-odd) or 2 (winding, nonzero).
// Pixel (x, y) is inside when the point (x, y), its top-left corner, is: an edge that spans
// rows y1 <= y < y2 crosses row y at X = x1 + (x2 - x1)(y - y1)/(y2 - y1), and counts for
// pixel x when ceil(X) <= x. Horizontal edges count for nothing; polygons of fewer than 2
// points and polygons whose points all lie on one line are skipped (they enclose nothing).
// Counts must be non-negative and sum to points.size(). Writes the canonical list to `out` and
// answers true, or answers false (out unspecified) when a point lies outside the coordinate
// range or the list would exceed maxRects. Time grows with the number of bands produced, not
// with the height spanned: rows between changes of any crossing are handled at once.
bool ScanPolygons(std::span<const POINT> points, std::span<const INT> counts, int mode,
                  std::size_t maxRects, std::vector<RECT>& out);

// The rectangles of the ellipse inscribed in box (normalised, already reduced by the caller):
// a pixel is inside when its centre is inside or on the ellipse. A box thinner than 2 pixels
// gives the box itself. Rows are symmetric about both axes. False when box lies outside the
// coordinate range or the list would exceed maxRects.
bool ScanEllipse(const RECT& box, std::size_t maxRects, std::vector<RECT>& out);

}  // namespace vardell::region
