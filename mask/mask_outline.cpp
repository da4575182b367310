// CMask::FillOutline: an outline's polygons back into pixels.
#include "mask/mask.h"
#include "mask/region_outline.h"
#include "platform/region.h"

#include <new>
#include <vector>

// The polygons become one poly-polygon region with the even-odd rule (ALTERNATE), so holes stay
// holes whatever the direction of their rings, and the region is filled rectangle by rectangle.
// An outline whose group sizes ask for more vertices than it holds is refused.
BOOL CMask::FillOutline(CRegionOutline* pOutline, BYTE value) {
  if (!IsValid() || !pOutline) return FALSE;
  const int groups = pOutline->m_groupSizes.GetSize();
  if (groups == 0) return FALSE;
  const int vertices = pOutline->m_vertices.GetSize();
  std::vector<POINT> points;
  std::vector<INT> counts;
  try {
    points.resize(static_cast<std::size_t>(vertices));
    counts.resize(static_cast<std::size_t>(groups));
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
  long long used = 0;
  for (int g = 0; g < groups; ++g) {
    counts[g] = pOutline->m_groupSizes[g];
    used += counts[g];
  }
  if (used > vertices) return FALSE;
  for (int i = 0; i < vertices; ++i) {
    const CPoint p(pOutline->m_vertices[i]);
    points[i] = p;
  }
  CRgn region;
  if (!region.CreatePolyPolygonRgn(points.data(), counts.data(), groups, ALTERNATE)) return FALSE;
  points = {};
  counts = {};
  const BOOL result = FillRegion(&region, value);
  region.DeleteObject();
  return result;
}
