// Pens, brushes and device bitmaps: their handle functions and MFC's CGdiObject, CPen, CBrush and
// CBitmap.
//
// Device bitmaps (HBITMAP) have 32 bits a pixel: each pixel is 0x00RRGGBB in a 32-bit value,
// bytes B, G, R, X in memory, as a 32-bit DDB; rows are stored top row first, width * 4 bytes
// apart. GetBitmapBits hands them out as they are; GetDIBits converts them to a 24-bit or 32-bit
// DIB. The X byte is always 0.
//
// Handles are checked before use (see platform/gdi_object.h): a null, deleted or foreign handle
// is refused with each function's failure value.
//
// DeleteObject (platform/gdi_object.h) refuses a pen, brush or bitmap while it is selected into
// a device context, and leaves stock objects alone, as the platform does.
//
// Where this differs from the platform on purpose: every device bitmap is 32-bit colour.
// CreateCompatibleBitmap on a fresh memory DC gives a colour bitmap too (the platform gives a
// monochrome one there), and CreateBitmap accepts only 1 plane of 32 bits.
#pragma once

#include "platform/bitmap.h"
#include "platform/export.h"
#include "platform/gdi_object.h"
#include "platform/geometry.h"
#include "platform/object.h"
#include "platform/win_types.h"

struct HDC__;
using HDC = HDC__*;
struct HPEN__;
using HPEN = HPEN__*;
struct HBRUSH__;
using HBRUSH = HBRUSH__*;
struct HBITMAP__;
using HBITMAP = HBITMAP__*;

// Pen styles. A pen wider than 1 pixel of a dashed or dotted style draws solid, as the platform's
// CreatePen documents.
inline constexpr int PS_SOLID = 0;
inline constexpr int PS_DASH = 1;
inline constexpr int PS_DOT = 2;
inline constexpr int PS_DASHDOT = 3;
inline constexpr int PS_DASHDOTDOT = 4;
inline constexpr int PS_NULL = 5;
inline constexpr int PS_INSIDEFRAME = 6;

// Brush styles.
inline constexpr UINT BS_SOLID = 0;
inline constexpr UINT BS_NULL = 1;
inline constexpr UINT BS_HOLLOW = BS_NULL;

// Stock objects.
inline constexpr int WHITE_BRUSH = 0;
inline constexpr int LTGRAY_BRUSH = 1;
inline constexpr int GRAY_BRUSH = 2;
inline constexpr int DKGRAY_BRUSH = 3;
inline constexpr int BLACK_BRUSH = 4;
inline constexpr int NULL_BRUSH = 5;
inline constexpr int HOLLOW_BRUSH = NULL_BRUSH;
inline constexpr int WHITE_PEN = 6;
inline constexpr int BLACK_PEN = 7;
inline constexpr int NULL_PEN = 8;

struct BITMAP {
  LONG bmType;  // 0
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;  // bmWidth * 4
  WORD bmPlanes;      // 1
  WORD bmBitsPixel;   // 32
  LPVOID bmBits;      // null: a device bitmap's bits are not handed out
};
using LPBITMAP = BITMAP*;

struct LOGPEN {
  UINT lopnStyle;
  POINT lopnWidth;  // x is the width; y is not used
  COLORREF lopnColor;
};

struct LOGBRUSH {
  UINT lbStyle;
  COLORREF lbColor;
  std::uintptr_t lbHatch;
};

// A pen of the style, width (0 or 1: one pixel) and colour; NULL for an unknown style.
VARDELL_API HPEN CreatePen(int style, int width, COLORREF color);
VARDELL_API HPEN CreatePenIndirect(const LOGPEN* logPen);
VARDELL_API HBRUSH CreateSolidBrush(COLORREF color);
// BS_SOLID and BS_NULL only; NULL for other styles.
VARDELL_API HBRUSH CreateBrushIndirect(const LOGBRUSH* logBrush);

// A new bitmap cleared to black. A zero width or height answers the 1x1 stock bitmap, as on the
// platform; a negative size, a size over 2^28 pixels or a failed allocation answers NULL. The DC
// is only checked when it is not null.
VARDELL_API HBITMAP CreateCompatibleBitmap(HDC hdc, int width, int height);
// planes must be 1 and bitsPerPixel 32; bits (optional) holds height rows of width * 4 bytes,
// top row first.
VARDELL_API HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel,
                                 const void* bits);

// The stock object, or NULL for an unknown index. Stock objects live as long as the process.
VARDELL_API HGDIOBJ GetStockObject(int index);

// Describes a bitmap (BITMAP), pen (LOGPEN) or brush (LOGBRUSH). With buffer null: the size the
// description needs. Otherwise copies min(size, needed) bytes and answers that count; 0 for an
// invalid handle, a region or a DC.
VARDELL_API int GetObject(HGDIOBJ object, int size, LPVOID buffer);

// Copies up to count bytes of the bitmap's rows (top row first, width * 4 bytes each, B, G, R, 0)
// into bits and answers the bytes copied; with bits null answers the whole size. 0 on failure.
VARDELL_API LONG GetBitmapBits(HBITMAP bitmap, LONG count, LPVOID bits);
// The reverse; the X byte of each pixel is cleared. Answers the bytes taken, 0 on failure.
VARDELL_API LONG SetBitmapBits(HBITMAP bitmap, DWORD count, const void* bits);

// Reads lines scan lines of the bitmap from scan line start into a DIB of the format info
// describes and answers the number of lines copied, 0 on failure. Scan line 0 is the bottom row
// for a bottom-up DIB (biHeight > 0) and the top row for a top-down one; the DIB's height is
// taken from the bitmap when info's is 0. Formats: BI_RGB, 24 or 32 bits. With bits null only the
// header is completed (biSizeImage; with biBitCount 0 the whole header is filled for a 32-bit
// DIB of the bitmap's size) and the answer is nonzero. hdc may be null.
VARDELL_API int GetDIBits(HDC hdc, HBITMAP bitmap, UINT start, UINT lines, LPVOID bits,
                          BITMAPINFO* info, UINT usage);

class CDC;

// MFC's base of the GDI object wrappers (CPen, CBrush, CBitmap and CRgn of platform/region.h).
// The wrapper owns the object its m_hObject names and deletes it when destroyed; as in MFC, an
// object still selected into a DC is then left undeleted.
class VARDELL_API CGdiObject : public CObject {
 public:
  CGdiObject() noexcept = default;
  ~CGdiObject() override;

  // The permanent wrapper attached to the handle, or else a temporary one owned by the calling
  // thread that stays valid until DeleteTempMap or the thread's end; a temporary never deletes
  // its object. A temporary is of the wrapper class of the object's type (CPen for a pen, CRgn
  // for a region, ...), CGdiObject for a handle that names no live object. nullptr for a null
  // handle or when memory is short.
  static CGdiObject* FromHandle(HGDIOBJ object);
  static void DeleteTempMap();

  HGDIOBJ GetSafeHandle() const noexcept { return m_hObject; }
  operator HGDIOBJ() const noexcept { return m_hObject; }
  // Takes ownership of the handle. FALSE for a null handle or when a handle is already held.
  BOOL Attach(HGDIOBJ object);
  HGDIOBJ Detach() noexcept;
  // Detaches the object held and deletes it; FALSE when there is none or DeleteObject refuses
  // (the object then stays alive, no longer held, as in MFC).
  BOOL DeleteObject();
  int GetObject(int count, LPVOID buffer) const;
  BOOL CreateStockObject(int index);

  HGDIOBJ m_hObject = nullptr;

 protected:
  // FromHandle for the wrapper classes: a temporary made here is of the class of kind (an OBJ_*
  // type) whatever the handle names, so that the wrapper class's FromHandle may cast it.
  static CGdiObject* FromHandle(HGDIOBJ object, DWORD kind);
  // The handle a Create made, attached; FALSE for a null one. When a handle is already held, or
  // the handle cannot be attached, the new object is deleted and the answer is FALSE.
  BOOL AttachNew(HGDIOBJ object);
};

class VARDELL_API CPen : public CGdiObject {
 public:
  CPen() noexcept = default;
  // MFC throws when the pen cannot be made; here the wrapper is left empty instead.
  CPen(int style, int width, COLORREF color);
  static CPen* FromHandle(HPEN pen) {
    return static_cast<CPen*>(CGdiObject::FromHandle(pen, OBJ_PEN));
  }
  operator HPEN() const noexcept { return static_cast<HPEN>(m_hObject); }
  BOOL CreatePen(int style, int width, COLORREF color);
  BOOL CreatePenIndirect(const LOGPEN* logPen);
  int GetLogPen(LOGPEN* logPen) const;
};

class VARDELL_API CBrush : public CGdiObject {
 public:
  CBrush() noexcept = default;
  explicit CBrush(COLORREF color);
  static CBrush* FromHandle(HBRUSH brush) {
    return static_cast<CBrush*>(CGdiObject::FromHandle(brush, OBJ_BRUSH));
  }
  operator HBRUSH() const noexcept { return static_cast<HBRUSH>(m_hObject); }
  BOOL CreateSolidBrush(COLORREF color);
  BOOL CreateBrushIndirect(const LOGBRUSH* logBrush);
  int GetLogBrush(LOGBRUSH* logBrush) const;
};

class VARDELL_API CBitmap : public CGdiObject {
 public:
  CBitmap() noexcept = default;
  static CBitmap* FromHandle(HBITMAP bitmap) {
    return static_cast<CBitmap*>(CGdiObject::FromHandle(bitmap, OBJ_BITMAP));
  }
  operator HBITMAP() const noexcept { return static_cast<HBITMAP>(m_hObject); }
  BOOL CreateCompatibleBitmap(CDC* dc, int width, int height);
  BOOL CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel, const void* bits);
  int GetBitmap(BITMAP* bitmap) const;
  DWORD GetBitmapBits(DWORD count, LPVOID bits) const;
  DWORD SetBitmapBits(DWORD count, const void* bits);
};
