// Device contexts: the HDC functions of GDI and MFC's CDC.
//
// A DC draws onto a device surface of 0x00RRGGBB pixels (see platform/gdi_objects.h):
// - a memory DC (CreateCompatibleDC) draws into the bitmap selected into it. A new memory DC
//   holds the 1x1 stock bitmap, which is never drawn on here: until a bitmap of its own is
//   selected, every drawing call fails with its failure value (the platform draws into the
//   stock bitmap's single pixel instead);
// - a window DC (platform/window_surface.h) draws into a window's backing surface;
// - a printer DC (platform/printer_dc.h) draws into the current page.
//
// Coordinates are device pixels (the MM_TEXT mapping with the origin at the top-left corner of
// the surface); right and bottom edges are exclusive. Output is clipped to the surface and to the
// clip region (SelectClipRgn).
//
// Handles are checked before use: a null, deleted or foreign HDC (or object handle) is refused
// with the function's failure value and ERROR_INVALID_HANDLE as the last error. A DC is used by
// one thread at a time, as on the platform.
#pragma once

#include "platform/bitmap.h"
#include "platform/export.h"
#include "platform/gdi_object.h"
#include "platform/gdi_objects.h"
#include "platform/geometry.h"
#include "platform/object.h"
#include "platform/raster_ops.h"
#include "platform/region.h"
#include "platform/win_types.h"

// The failure value of StretchDIBits and of the other calls that answer a count.
inline constexpr int GDI_ERROR = -1;
inline constexpr COLORREF CLR_INVALID = 0xFFFFFFFFu;

// Stretch modes. Every mode samples as COLORONCOLOR does (whole rows and columns are kept or
// deleted, never blended); the platform's BLACKONWHITE and WHITEONBLACK would AND or OR the
// deleted pixels into the kept ones and HALFTONE would average them.
inline constexpr int BLACKONWHITE = 1;
inline constexpr int WHITEONBLACK = 2;
inline constexpr int COLORONCOLOR = 3;
inline constexpr int HALFTONE = 4;
inline constexpr int STRETCH_ANDSCANS = BLACKONWHITE;
inline constexpr int STRETCH_ORSCANS = WHITEONBLACK;
inline constexpr int STRETCH_DELETESCANS = COLORONCOLOR;
inline constexpr int STRETCH_HALFTONE = HALFTONE;

// Background modes: how the gaps of a dashed or dotted pen are drawn.
inline constexpr int TRANSPARENT = 1;
inline constexpr int OPAQUE = 2;

// GetDeviceCaps indexes.
inline constexpr int DRIVERVERSION = 0;
inline constexpr int TECHNOLOGY = 2;
inline constexpr int HORZSIZE = 4;
inline constexpr int VERTSIZE = 6;
inline constexpr int HORZRES = 8;
inline constexpr int VERTRES = 10;
inline constexpr int BITSPIXEL = 12;
inline constexpr int PLANES = 14;
inline constexpr int NUMBRUSHES = 16;
inline constexpr int NUMPENS = 18;
inline constexpr int NUMCOLORS = 24;
inline constexpr int RASTERCAPS = 38;
inline constexpr int ASPECTX = 40;
inline constexpr int ASPECTY = 42;
inline constexpr int ASPECTXY = 44;
inline constexpr int LOGPIXELSX = 88;
inline constexpr int LOGPIXELSY = 90;
inline constexpr int SIZEPALETTE = 104;
inline constexpr int COLORRES = 108;
inline constexpr int PHYSICALWIDTH = 110;
inline constexpr int PHYSICALHEIGHT = 111;
inline constexpr int PHYSICALOFFSETX = 112;
inline constexpr int PHYSICALOFFSETY = 113;
inline constexpr int SCALINGFACTORX = 114;
inline constexpr int SCALINGFACTORY = 115;

inline constexpr int DT_RASDISPLAY = 1;
inline constexpr int DT_RASPRINTER = 2;

inline constexpr int RC_BITBLT = 0x0001;
inline constexpr int RC_BITMAP64 = 0x0008;
inline constexpr int RC_DI_BITMAP = 0x0080;
inline constexpr int RC_DIBTODEV = 0x0200;
inline constexpr int RC_STRETCHBLT = 0x0800;
inline constexpr int RC_STRETCHDIB = 0x2000;

// Printing.
struct DOCINFO {
  int cbSize;
  LPCSTR lpszDocName;
  LPCSTR lpszOutput;  // when not null, the file the document is written to
  LPCSTR lpszDatatype;
  DWORD fwType;
};
inline constexpr int SP_ERROR = -1;

// A memory DC compatible with hdc (or with the display when hdc is null): it reports hdc's
// device caps. NULL for an invalid hdc.
VARDELL_API HDC CreateCompatibleDC(HDC hdc);
// Deletes a memory or printer DC (an unfinished print job is abandoned). The objects selected
// into it stay valid and are no longer selected there, so DeleteObject may delete them. FALSE
// for an invalid handle and for a window DC, which belongs to its window surface.
VARDELL_API BOOL DeleteDC(HDC hdc);

// Selects a bitmap (memory DCs only; a bitmap can be selected into one DC at a time), pen, brush
// or region (as SelectClipRgn, answering the region type cast to a handle) and answers the
// previous object; NULL on failure. While selected, a pen, brush or bitmap cannot be deleted
// (DeleteObject answers FALSE); a region is copied and stays the caller's.
VARDELL_API HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object);
// OBJ_PEN, OBJ_BRUSH or OBJ_BITMAP: the object selected; NULL otherwise.
VARDELL_API HGDIOBJ GetCurrentObject(HDC hdc, UINT type);

// Each Set answers the previous value, 0 on failure (an invalid DC or an unknown mode).
VARDELL_API int SetStretchBltMode(HDC hdc, int mode);
VARDELL_API int GetStretchBltMode(HDC hdc);
VARDELL_API int SetROP2(HDC hdc, int mode);
VARDELL_API int GetROP2(HDC hdc);
VARDELL_API int SetBkMode(HDC hdc, int mode);
VARDELL_API int GetBkMode(HDC hdc);
// CLR_INVALID on failure.
VARDELL_API COLORREF SetBkColor(HDC hdc, COLORREF color);
VARDELL_API COLORREF GetBkColor(HDC hdc);

// Draws the source rectangle of a DIB into the destination rectangle with the raster operation.
// - Source: 8-bit (with a colour table of RGBQUADs, DIB_RGB_COLORS), 24-bit or 32-bit BI_RGB;
//   bits holds |biHeight| rows of DibStride(biWidth, biBitCount) bytes. For a bottom-up DIB
//   (biHeight > 0) ySrc counts rows up from the bottom row: the rectangle covers the top-based
//   rows [H - ySrc - SrcHeight, H - ySrc).
// - A negative extent covers the |extent| pixels from its origin towards lower coordinates,
//   origin included; when the signs of the source and destination widths (or heights) differ
//   the image is mirrored.
// - Stretching samples as COLORONCOLOR (whatever the stretch mode): enlarging, destination
//   pixel d shows source pixel ceil((2d + 1) * src / (2 * dst)) - 1; reducing, each destination
//   pixel keeps the first source pixel of its group.
// - Destination pixels whose source pixel lies outside the DIB are left as they are.
// Answers |biHeight| for SRCCOPY and biHeight for other operations when something was drawn,
// 0 when the rectangles do not meet the DIB or the visible area, and GDI_ERROR for an invalid
// DC, a DC without a surface, null bits or info, an unsupported format or DIB_PAL_COLORS.
VARDELL_API int StretchDIBits(HDC hdc, int xDest, int yDest, int destWidth, int destHeight,
                              int xSrc, int ySrc, int srcWidth, int srcHeight, const void* bits,
                              const BITMAPINFO* info, UINT usage, DWORD rop);

// Copies between DCs (the same DC too: overlapping areas are read before they are written).
// Extents and sampling as StretchDIBits, rows top-based. The source DC may be null when the
// operation does not use a source. FALSE on failure.
VARDELL_API BOOL BitBlt(HDC hdc, int x, int y, int width, int height, HDC hdcSrc, int xSrc,
                        int ySrc, DWORD rop);
VARDELL_API BOOL StretchBlt(HDC hdc, int x, int y, int width, int height, HDC hdcSrc, int xSrc,
                            int ySrc, int srcWidth, int srcHeight, DWORD rop);
// The rectangle (x, y, x + width, y + height), normalised, combined with the selected brush.
// An operation that uses the pattern draws nothing with the null brush (and answers TRUE); an
// operation that uses a source fails.
VARDELL_API BOOL PatBlt(HDC hdc, int x, int y, int width, int height, DWORD rop);

// Lines with the selected pen and the mix mode (SetROP2): one-pixel lines are drawn with the
// platform's Bresenham rule and without their last pixel, dashed styles continuing along a
// polyline (MoveToEx starts the pattern afresh; the gaps take the background colour in OPAQUE
// mode). Wider pens cover the pixels within half their width of the line, with round ends and
// joins, each pixel once per call. MoveToEx writes the previous position when old is not null.
VARDELL_API BOOL MoveToEx(HDC hdc, int x, int y, LPPOINT old);
VARDELL_API BOOL LineTo(HDC hdc, int x, int y);
// Needs at least 2 points; does not move the current position.
VARDELL_API BOOL Polyline(HDC hdc, const POINT* points, int count);

// The rectangle (normalised) outlined with the pen and filled with the brush, both through the
// mix mode; right and bottom edges excluded. With the null pen the filled area is one pixel
// smaller to the right and below, as on the platform.
VARDELL_API BOOL Rectangle(HDC hdc, int left, int top, int right, int bottom);
// The ellipse inscribed in the rectangle, drawn like Rectangle. A pixel is inside when its centre
// (x + 0.5, y + 0.5) lies within the ellipse that touches the rectangle's four edges, so the
// shape is symmetric and reaches the rectangle's outer rows and columns; with a one-pixel pen the
// outline is the inside pixels that have an outside pixel above, below, left or right, and a
// wider pen draws the ring between the ellipses of its outer and inner edges. Dashed styles draw
// solid here. The platform's own pixels were not established. Boxes wider or taller than 2^28
// fail.
VARDELL_API BOOL Ellipse(HDC hdc, int left, int top, int right, int bottom);
// Fills the rectangle with the brush, ignoring the mix mode. Answers nonzero on success.
VARDELL_API int FillRect(HDC hdc, const RECT* rect, HBRUSH brush);

// The colour set (the surface holds exact colours), or CLR_INVALID outside the visible area.
VARDELL_API COLORREF SetPixel(HDC hdc, int x, int y, COLORREF color);
VARDELL_API COLORREF GetPixel(HDC hdc, int x, int y);

// Clips output to a copy of the region (in device coordinates); a null region removes the clip.
// Answers the type of the clip region (NULLREGION, SIMPLEREGION, COMPLEXREGION) or ERROR.
VARDELL_API int SelectClipRgn(HDC hdc, HRGN region);
// The bounding box of the visible area; answers its region type, ERROR on failure.
VARDELL_API int GetClipBox(HDC hdc, LPRECT rect);

// The device's sizes and resolution (see the indexes above); 0 for an unknown index or an
// invalid DC. Memory DCs report the device they were made compatible with.
VARDELL_API int GetDeviceCaps(HDC hdc, int index);

// The print job of a printer DC (platform/printer_dc.h). StartDoc answers a job number above 0,
// the others a value above 0; SP_ERROR on failure, and always for DCs that are not printers.
VARDELL_API int StartDoc(HDC hdc, const DOCINFO* info);
VARDELL_API int StartPage(HDC hdc);
VARDELL_API int EndPage(HDC hdc);
VARDELL_API int EndDoc(HDC hdc);
VARDELL_API int AbortDoc(HDC hdc);

namespace vardell {

// The size and resolution the display reports to memory and window DCs (default 1920 x 1080 at
// 96 dots per inch). A GUI sets the real ones.
VARDELL_API void SetDisplayMetrics(int width, int height, int dpi);

}  // namespace vardell

// MFC's device context. It owns the DC its m_hDC names and deletes it when destroyed, as MFC's
// CDC does; Detach first to keep it.
class VARDELL_API CDC : public CObject {
 public:
  CDC() noexcept = default;
  ~CDC() override;

  // The permanent CDC attached to the handle, or else a temporary one owned by the calling
  // thread that stays valid until DeleteTempMap or the thread's end; a temporary never deletes
  // its DC. nullptr for a null handle.
  static CDC* FromHandle(HDC hdc);
  static void DeleteTempMap();

  HDC GetSafeHdc() const noexcept { return m_hDC; }
  operator HDC() const noexcept { return m_hDC; }
  BOOL Attach(HDC hdc);
  HDC Detach() noexcept;

  // pDC null: compatible with the display.
  BOOL CreateCompatibleDC(CDC* pDC);
  BOOL DeleteDC();

  CPen* SelectObject(CPen* pen);
  CBrush* SelectObject(CBrush* brush);
  CBitmap* SelectObject(CBitmap* bitmap);
  CGdiObject* SelectObject(CGdiObject* object);
  // As SelectClipRgn; answers the region type.
  int SelectObject(CRgn* region);
  CGdiObject* SelectStockObject(int index);
  CPen* GetCurrentPen() const;
  CBrush* GetCurrentBrush() const;
  CBitmap* GetCurrentBitmap() const;

  int SetStretchBltMode(int mode) { return ::SetStretchBltMode(m_hDC, mode); }
  int GetStretchBltMode() const { return ::GetStretchBltMode(m_hDC); }
  int SetROP2(int mode) { return ::SetROP2(m_hDC, mode); }
  int GetROP2() const { return ::GetROP2(m_hDC); }
  int SetBkMode(int mode) { return ::SetBkMode(m_hDC, mode); }
  int GetBkMode() const { return ::GetBkMode(m_hDC); }
  COLORREF SetBkColor(COLORREF color) { return ::SetBkColor(m_hDC, color); }
  COLORREF GetBkColor() const { return ::GetBkColor(m_hDC); }

  BOOL BitBlt(int x, int y, int width, int height, CDC* pSrcDC, int xSrc, int ySrc, DWORD rop);
  BOOL StretchBlt(int x, int y, int width, int height, CDC* pSrcDC, int xSrc, int ySrc,
                  int srcWidth, int srcHeight, DWORD rop);
  BOOL PatBlt(int x, int y, int width, int height, DWORD rop) {
    return ::PatBlt(m_hDC, x, y, width, height, rop);
  }

  CPoint MoveTo(int x, int y);
  CPoint MoveTo(POINT point) { return MoveTo(point.x, point.y); }
  BOOL LineTo(int x, int y) { return ::LineTo(m_hDC, x, y); }
  BOOL LineTo(POINT point) { return LineTo(point.x, point.y); }
  CPoint GetCurrentPosition() const;
  BOOL Polyline(const POINT* points, int count) { return ::Polyline(m_hDC, points, count); }
  BOOL Rectangle(int left, int top, int right, int bottom) {
    return ::Rectangle(m_hDC, left, top, right, bottom);
  }
  BOOL Rectangle(LPCRECT rect);
  BOOL Ellipse(int left, int top, int right, int bottom) {
    return ::Ellipse(m_hDC, left, top, right, bottom);
  }
  BOOL Ellipse(LPCRECT rect);
  void FillRect(LPCRECT rect, CBrush* brush);
  void FillSolidRect(LPCRECT rect, COLORREF color);
  void FillSolidRect(int x, int y, int width, int height, COLORREF color);
  COLORREF SetPixel(int x, int y, COLORREF color) { return ::SetPixel(m_hDC, x, y, color); }
  COLORREF SetPixel(POINT point, COLORREF color) { return SetPixel(point.x, point.y, color); }
  COLORREF GetPixel(int x, int y) const { return ::GetPixel(m_hDC, x, y); }
  COLORREF GetPixel(POINT point) const { return GetPixel(point.x, point.y); }

  int SelectClipRgn(CRgn* region);
  int GetClipBox(LPRECT rect) const { return ::GetClipBox(m_hDC, rect); }
  int GetDeviceCaps(int index) const { return ::GetDeviceCaps(m_hDC, index); }

  int StartDoc(LPCSTR docName);
  int StartDoc(const DOCINFO* info) { return ::StartDoc(m_hDC, info); }
  int StartPage() { return ::StartPage(m_hDC); }
  int EndPage() { return ::EndPage(m_hDC); }
  int EndDoc() { return ::EndDoc(m_hDC); }
  int AbortDoc() { return ::AbortDoc(m_hDC); }

  HDC m_hDC = nullptr;
  HDC m_hAttribDC = nullptr;
};
