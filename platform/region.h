// GDI regions: the HRGN functions and MFC's CRgn.
//
// A region is a set of pixels held as the platform's y-x banded list of rectangles (right and
// bottom exclusive): sorted by top, then left; the rectangles of a band share top and bottom;
// within a band they neither overlap nor touch; vertically adjacent bands with the same spans
// are merged. This form is canonical (one list per pixel set), and GetRegionData hands it out
// in that order, which the mask and picture code walk as it stands.
//
// Coordinates: every rectangle of a region lies within -0x8000000 .. 0x7FFFFFF, as on the
// platform. An operation whose result would leave that range fails (OffsetRgn answers ERROR and
// leaves the region as it was; the Create functions answer NULL).
//
// Invalid handles (null, deleted, or another kind of GDI object) are refused with the failure
// value of each function; nothing here throws.
#pragma once

#include "platform/export.h"
#include "platform/gdi_object.h"
#include "platform/gdi_objects.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

struct HRGN__;
using HRGN = HRGN__*;

using FLOAT = float;
using LPINT = INT*;

// Region types answered by the region functions.
inline constexpr int ERROR = 0;
inline constexpr int NULLREGION = 1;
inline constexpr int SIMPLEREGION = 2;
inline constexpr int COMPLEXREGION = 3;

// CombineRgn modes.
inline constexpr int RGN_AND = 1;
inline constexpr int RGN_OR = 2;
inline constexpr int RGN_XOR = 3;
inline constexpr int RGN_DIFF = 4;
inline constexpr int RGN_COPY = 5;

// Polygon fill modes: even-odd and nonzero winding.
inline constexpr int ALTERNATE = 1;
inline constexpr int WINDING = 2;

inline constexpr DWORD RDH_RECTANGLES = 1;

// The region data layout, byte for byte as in memory on the platform (little-endian): a 32-byte
// header, then nCount RECTs of 16 bytes each in banded order.
struct RGNDATAHEADER {
  DWORD dwSize;    // 32
  DWORD iType;     // RDH_RECTANGLES
  DWORD nCount;    // number of rectangles
  DWORD nRgnSize;  // 16 * nCount
  RECT rcBound;    // bounding box, (0,0,0,0) when empty
};
struct RGNDATA {
  RGNDATAHEADER rdh;
  char Buffer[1];
};
using LPRGNDATA = RGNDATA*;
static_assert(sizeof(RGNDATAHEADER) == 32 && offsetof(RGNDATA, Buffer) == 32);

// x' = x * eM11 + y * eM21 + eDx, y' = x * eM12 + y * eM22 + eDy.
struct XFORM {
  FLOAT eM11, eM12, eM21, eM22, eDx, eDy;
};

// (x1, y1, x2, y2) normalised (swapped where inverted); no width or no height gives the empty
// region. NULL when a coordinate lies outside the region range.
VARDELL_API HRGN CreateRectRgn(int x1, int y1, int x2, int y2);
VARDELL_API HRGN CreateRectRgnIndirect(const RECT* rect);

// The ellipse inscribed in the normalised box reduced by one at the right and at the bottom,
// as the platform does (its last column and row are never covered): a pixel is inside when its
// centre lies within that ellipse. A reduced box thinner than 2 pixels gives the reduced box
// itself. The platform's own row spans were never established; these are symmetric about both
// axes and always cover the middle row and column.
VARDELL_API HRGN CreateEllipticRgn(int x1, int y1, int x2, int y2);
VARDELL_API HRGN CreateEllipticRgnIndirect(const RECT* rect);

// Polygons filled with ALTERNATE (even-odd) or WINDING (nonzero). Pixel (x, y) is inside when
// its top-left corner, the point (x, y), is inside the polygon; a point on a left or top edge
// is inside, on a right or bottom edge outside. Equivalently an edge crossing row y at X counts
// for the pixels from ceil(X) on (exact integers stay, everything else rounds up).
// Each polygon is closed implicitly. Polygons of 0 or 1 points and polygons whose points lie
// on one line enclose nothing, so an input made only of them gives a valid empty region.
// NULL for null pointers, nCount < 1, a negative count, an unknown mode, a point outside the
// region range, or a shape of more than 16M rectangles.
VARDELL_API HRGN CreatePolygonRgn(const POINT* points, int count, int mode);
VARDELL_API HRGN CreatePolyPolygonRgn(const POINT* points, const INT* counts, int nCount, int mode);

// A region from region data. The header must say dwSize 32 and the buffer must hold
// 32 + 16 * nCount bytes, or NULL; rcBound and iType are not read. Rectangles may come in any
// order and overlap; empty and inverted ones are skipped. With a transform (non-null xform)
// corners are mapped and rounded half up; a transform that turns or shears makes each
// rectangle a parallelogram filled by the polygon rule. NULL when a result leaves the range.
VARDELL_API HRGN ExtCreateRegion(const XFORM* xform, DWORD count, const RGNDATA* data);

// Makes the region the rectangle (normalised as CreateRectRgn). FALSE, region unchanged, for
// an invalid handle or a coordinate outside the range.
VARDELL_API BOOL SetRectRgn(HRGN region, int x1, int y1, int x2, int y2);

// dst = src1 op src2 (RGN_DIFF is src1 minus src2; RGN_COPY copies src1 and ignores src2,
// which need not be a region). dst may be one of the sources. Answers the type of the result,
// or ERROR, dst unchanged, for an unknown mode or an invalid dst, src1 or (modes 1-4) src2.
VARDELL_API int CombineRgn(HRGN dst, HRGN src1, HRGN src2, int mode);

// Moves the region. ERROR, region unchanged, when a moved coordinate would leave the range; an
// empty region answers NULLREGION whatever the offset.
VARDELL_API int OffsetRgn(HRGN region, int x, int y);

// Writes the bounding box ((0,0,0,0) when empty) and answers the type; ERROR for an invalid
// handle or a null rect.
VARDELL_API int GetRgnBox(HRGN region, LPRECT rect);

// Whether pixel (x, y) is in the region.
VARDELL_API BOOL PtInRegion(HRGN region, int x, int y);

// Whether any pixel of rect (normalised first) is in the region; an empty rect has none.
VARDELL_API BOOL RectInRegion(HRGN region, const RECT* rect);

// Whether both regions hold the same pixels; ERROR (0) when a handle is invalid.
VARDELL_API BOOL EqualRgn(HRGN a, HRGN b);

// With data null: the size the data needs, 32 + 16 * rectangles. Otherwise fills data when
// count is at least that size and answers the size, or answers 0 when the buffer is too small.
// 0 for an invalid handle.
VARDELL_API DWORD GetRegionData(HRGN region, DWORD count, LPRGNDATA data);

// MFC's region object, a CGdiObject: m_hObject, Attach, Detach, DeleteObject and the permanent
// and temporary wrapper maps are CGdiObject's, shared with the other GDI wrappers.
class VARDELL_API CRgn : public CGdiObject {
 public:
  CRgn() noexcept = default;

  // The permanent wrapper attached to the handle, or else a temporary CRgn owned by the calling
  // thread that stays valid until DeleteTempMap or the thread's end; the temporary never deletes
  // the region. nullptr for a null handle.
  static CRgn* FromHandle(HRGN region) {
    return static_cast<CRgn*>(CGdiObject::FromHandle(region, OBJ_REGION));
  }

  operator HRGN() const noexcept { return static_cast<HRGN>(m_hObject); }

  // Each Create answers FALSE, holding nothing new, when the region cannot be made or this
  // object already holds one.
  BOOL CreateRectRgn(int x1, int y1, int x2, int y2);
  BOOL CreateRectRgnIndirect(const RECT* rect);
  BOOL CreateEllipticRgn(int x1, int y1, int x2, int y2);
  BOOL CreateEllipticRgnIndirect(const RECT* rect);
  BOOL CreatePolygonRgn(const POINT* points, int count, int mode);
  BOOL CreatePolyPolygonRgn(const POINT* points, const INT* counts, int nCount, int mode);
  BOOL CreateFromData(const XFORM* xform, int count, const RGNDATA* data);

  void SetRectRgn(int x1, int y1, int x2, int y2);
  void SetRectRgn(const RECT* rect);
  int CombineRgn(const CRgn* src1, const CRgn* src2, int mode);
  int CopyRgn(const CRgn* src);
  BOOL EqualRgn(const CRgn* other) const;
  int GetRegionData(LPRGNDATA data, int count) const;
  int GetRgnBox(LPRECT rect) const;
  int OffsetRgn(int x, int y);
  int OffsetRgn(POINT point);
  BOOL PtInRegion(int x, int y) const;
  BOOL PtInRegion(POINT point) const;
  BOOL RectInRegion(const RECT* rect) const;
};
