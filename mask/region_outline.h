// CRegionOutline: the boundaries of a selection as closed, axis-parallel polygons.
//
// The tracer never follows pixels. It takes the selection as rectangles (runs of a mask's 255
// pixels with identical rows coalesced, or a region's banded rectangles), gives each rectangle a
// ring of its 4 corners and links every new rectangle into the rings of the rectangles above it.
// Outer boundaries run clockwise on screen (left wall up, top edge right, right wall down, bottom
// edge left), holes the other way round, and vertices lie on pixel corners: a run of pixels from
// column l to r - 1 in row y is the rectangle (l, y, r, y + 1). Vertices are kept exactly as
// linked, so a polygon may hold repeated and collinear points; OptimizeOutline merges them.
//
// The outline that callers read is the pair of public arrays: m_groupSizes[k] vertices of polygon
// k follow those of polygons 0..k-1 in m_vertices, each packed as x in the low and y in the high
// 16 bits, both signed (CPoint(DWORD) reads one back). Counts are 16-bit and vertices are 16-bit
// signed, so a trace refuses masks and regions with coordinates outside -32768..32767 and fails
// cleanly when one polygon would need more than 65535 vertices.
#pragma once

#include "platform/collections.h"
#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

class CMask;
class CRgn;

// One corner of a ring. pNext is null when the vertex is not, or no longer, in a ring.
struct VARDELL_API CVertex {
  SHORT x;
  SHORT y;
  CVertex* pNext;
};

class VARDELL_API CRegionOutline {
 public:
  CRegionOutline();
  ~CRegionOutline();
  CRegionOutline(const CRegionOutline&) = delete;
  CRegionOutline& operator=(const CRegionOutline&) = delete;

  // Outline of every 4-connected region of 255 pixels; soft values are outside. The mask is
  // changed: every region found is repainted with 128 (pass a duplicate to keep the original).
  // Replaces the previous outline; FALSE (outline empty) for an empty mask, a mask without a 255
  // pixel ("Warning! No region found!"), a side above 32767 pixels (refused before the mask is
  // touched), a polygon of more than 65535 vertices, or lack of memory.
  BOOL GetMaskOutline(CMask& mask);
  // Outline of a region from its banded rectangles. Replaces the previous outline; an empty
  // region gives TRUE and an empty outline. FALSE (outline empty) for a null or invalid region,
  // coordinates outside -32768..32767, a polygon of more than 65535 vertices, or lack of memory.
  BOOL GetRegionOutline(CRgn* pRgn);
  // Empties the group sizes and the vertices.
  void DeleteOutline();
  // Thins each polygon: a vertex that comes back within `step` (Manhattan distance) of the kept
  // vertex three places before it cuts the notch between them. Polygons left with fewer than 4
  // vertices are removed. Progress "Removing too small region...".
  void RemoveSmallRegion(int step);
  // Merges runs of vertices along straight horizontal and vertical edges; polygons left with
  // fewer than 4 vertices are removed.
  void OptimizeOutline();

  int GetGroupCount() const noexcept { return m_groupSizes.GetSize(); }

 private:
  // Where the current band of rectangles (one top, one bottom) stands in the active list, which
  // is kept as [edges done with | consumed slots | edges still ahead | bottoms of this band].
  struct Band {
    int top;
    int write;   // end of the edges done with
    int read;    // first edge still ahead
    int oldEnd;  // end of the edges still ahead; the band's own bottom edges follow
    int end;     // end of the list (the array's size is storage until the band is finished)
  };

  // Steps shared by both traces: the pool, AddRect over the rectangles with progress, closing
  // every ring. Rectangles come in bands (sorted by top, each band's rectangles share top and
  // bottom, lie left to right and do not touch).
  BOOL TraceRects(const CRect* rects, int count);
  void AddRect(const CRect& rect, Band& band);
  void AddNewGroup(const CRect& rect, Band& band);
  void AppendEdge(CVertex* left, CVertex* right, Band& band);
  void StartBand(int top, Band& band);
  void FinishBand(Band& band);
  CVertex* TakeVertices(const CRect& rect) noexcept;
  BOOL CloseGroup(CVertex* start);
  static int DeletePointer(CPtrArray& array, void* p);
  static int Compare(int x1, int y1, int x2, int y2) noexcept;
  static void FastOrder(CWordArray& runLeft, CWordArray& runEnd, CWordArray& runRow, int first,
                        int last);
  static void Swap(CWordArray& runLeft, CWordArray& runEnd, CWordArray& runRow, int i, int j);

  // Working state of one trace, empty between calls.
  CPtrArray m_activeList;  // open bottom edges as pairs (left end, right end), by increasing x
  CPtrArray m_closedList;  // one vertex of each ring whose bottom edge was not continued
  CVertex* m_pPool;        // 4 vertices per rectangle
  int m_nPoolFill;         // next free vertex of the pool

 public:
  // The outline.
  CWordArray m_groupSizes;  // vertices of each polygon
  CDWordArray m_vertices;   // all polygons' vertices, polygon after polygon, packed

 private:
  CWordArray m_spare;  // kept with the object; no operation uses it
};
