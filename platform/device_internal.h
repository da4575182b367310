// Internal to the device-context code: the objects behind HDC, HBITMAP, HPEN and HBRUSH and the
// surface they draw on. Not part of the library's interface.
#pragma once

#include "platform/gdi_object.h"
#include "platform/gdi_objects.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vardell::gdi {

// The most pixels a device bitmap or page may have (1 GiB of pixels). Larger requests fail
// rather than reserve memory that would only be touched when drawn on.
inline constexpr std::int64_t kMaxSurfacePixels = std::int64_t{1} << 28;

// 0x00RRGGBB pixels, row y at bits + y * stride.
struct Surface {
  std::uint32_t* bits = nullptr;
  int width = 0;
  int height = 0;
  std::ptrdiff_t stride = 0;  // in pixels

  bool Valid() const noexcept { return bits != nullptr && width > 0 && height > 0; }
  std::uint32_t* Row(int y) const noexcept {
    return bits + static_cast<std::ptrdiff_t>(y) * stride;
  }
};

// A zeroed pixel buffer of width x height, or null when the size is not positive, too large or
// cannot be allocated.
std::unique_ptr<std::uint32_t[]> AllocatePixels(int width, int height) noexcept;

// COLORREF is 0x00BBGGRR; a device pixel is 0x00RRGGBB.
constexpr std::uint32_t PixelFromColor(COLORREF c) noexcept {
  return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}
constexpr COLORREF ColorFromPixel(std::uint32_t p) noexcept { return PixelFromColor(p); }

class DeviceContext;

// The stock object of a GetStockObject index; the 1x1 stock bitmap that new memory DCs hold.
HGDIOBJ StockObject(int index) noexcept;
HGDIOBJ StockBitmap() noexcept;

class Bitmap final : public GdiObject {
 public:
  // nullptr when the size is refused or memory is short.
  static Bitmap* Create(int width, int height, bool stock = false) noexcept;
  static Bitmap* CreateStock() noexcept;
  static Bitmap* Find(HGDIOBJ handle) noexcept {
    return GdiObject::Find<Bitmap>(handle, OBJ_BITMAP);
  }

  HBITMAP Hbitmap() noexcept { return reinterpret_cast<HBITMAP>(Handle()); }
  // Invalid for the stock bitmap, which is never drawn on.
  Surface GetSurface() noexcept;

  int m_width = 0;
  int m_height = 0;
  std::unique_ptr<std::uint32_t[]> m_pixels;

 private:
  explicit Bitmap(bool stock) : GdiObject(OBJ_BITMAP, stock) {}
};

struct PenAttributes {
  int style = PS_SOLID;
  int width = 1;
  COLORREF color = 0;
};

class Pen final : public GdiObject {
 public:
  Pen(const PenAttributes& attributes, bool stock) : GdiObject(OBJ_PEN, stock), m_pen(attributes) {}
  static Pen* Find(HGDIOBJ handle) noexcept { return GdiObject::Find<Pen>(handle, OBJ_PEN); }
  HPEN Hpen() noexcept { return reinterpret_cast<HPEN>(Handle()); }
  const PenAttributes m_pen;
};

struct BrushAttributes {
  UINT style = BS_SOLID;
  COLORREF color = 0xFFFFFF;
};

class Brush final : public GdiObject {
 public:
  Brush(const BrushAttributes& attributes, bool stock)
      : GdiObject(OBJ_BRUSH, stock), m_brush(attributes) {}
  static Brush* Find(HGDIOBJ handle) noexcept { return GdiObject::Find<Brush>(handle, OBJ_BRUSH); }
  HBRUSH Hbrush() noexcept { return reinterpret_cast<HBRUSH>(Handle()); }
  const BrushAttributes m_brush;
};

// What GetDeviceCaps reports.
struct DeviceCaps {
  int technology = 1;  // DT_RASDISPLAY
  int horzRes = 0;     // pixels of the drawable area
  int vertRes = 0;
  int logPixelsX = 96;
  int logPixelsY = 96;
  int physicalWidth = 0;  // printers: the whole paper, in device pixels
  int physicalHeight = 0;
  int physicalOffsetX = 0;  // printers: the paper's margin left of and above the drawable area
  int physicalOffsetY = 0;
};

// The caps of the display that memory and window DCs report.
DeviceCaps DisplayCaps() noexcept;

// A band of the clip region: rows [top, bottom), sorted non-overlapping spans [left, right).
struct ClipBand {
  int top = 0;
  int bottom = 0;
  std::vector<std::pair<int, int>> spans;
};

// The part of a device a kind of DC brings along (a print job).
class DeviceDriver {
 public:
  virtual ~DeviceDriver() = default;
};

class DeviceContext final : public GdiObject {
 public:
  enum class Kind { Memory, Window, Printer };

  // Holds the stock black pen and white brush, and a memory DC the stock bitmap. Throws
  // std::bad_alloc when the handle table cannot grow.
  DeviceContext(Kind kind, const DeviceCaps& caps);
  // Gives up the selected objects, which DeleteObject may then delete.
  ~DeviceContext() override;

  // The live DC a handle names, or nullptr (sets ERROR_INVALID_HANDLE).
  static DeviceContext* Find(HDC hdc) noexcept;
  HDC Hdc() noexcept { return reinterpret_cast<HDC>(Handle()); }

  // The surface drawn on; invalid for a memory DC without a bitmap of its own.
  Surface GetSurface() const noexcept;
  // Window and printer DCs draw on a surface owned by someone else.
  void SetExternalSurface(const Surface& surface) noexcept { m_external = surface; }

  // The attributes of the selected pen and brush. Selected objects cannot be deleted, so these
  // are always live.
  const PenAttributes& SelectedPen() const noexcept { return m_pen->m_pen; }
  const BrushAttributes& SelectedBrush() const noexcept { return m_brush->m_brush; }
  // Selects the object in place of held and answers the previous one's handle.
  template <class T>
  HGDIOBJ Replace(T*& held, T* object) noexcept {
    HGDIOBJ previous = held != nullptr ? held->Handle() : nullptr;
    object->AddSelection();
    if (held != nullptr) held->RemoveSelection();
    held = object;
    return previous;
  }

  // Calls f(left, right) for each visible run of pixels [left, right) of row y within
  // [x0, x1): inside the surface and the clip region.
  template <class F>
  void ForEachVisibleSpan(int y, std::int64_t x0, std::int64_t x1, F&& f) const;
  // The bounding box of the visible area (surface within the clip box); empty when none.
  RECT VisibleBox() const noexcept;
  // Records a changed area for the GUI of a window surface.
  void Touch(const RECT& r) noexcept;

  Kind m_kind;
  DeviceCaps m_caps;

  Bitmap* m_bitmap = nullptr;  // memory DCs: the selected bitmap (at first the stock one)
  Surface m_external;
  Pen* m_pen = nullptr;      // never null
  Brush* m_brush = nullptr;  // never null

  bool m_clipped = false;
  std::vector<ClipBand> m_clip;
  RECT m_clipBox{};

  POINT m_pos{0, 0};
  int m_rop2 = 13;        // R2_COPYPEN
  int m_stretchMode = 1;  // BLACKONWHITE
  int m_bkMode = 2;       // OPAQUE
  COLORREF m_bkColor = 0xFFFFFF;
  COLORREF m_textColor = 0;
  int m_dashPos = 0;  // position in the dash pattern of a styled pen, kept along a polyline

  RECT* m_dirty = nullptr;  // window DCs: the area changed since the GUI last looked
  std::unique_ptr<DeviceDriver> m_driver;

 protected:
  // A window DC belongs to its window surface: DeleteObject refuses it, as DeleteDC does.
  bool MayDelete() const noexcept override { return m_kind != Kind::Window; }
};

template <class F>
void DeviceContext::ForEachVisibleSpan(int y, std::int64_t x0, std::int64_t x1, F&& f) const {
  const Surface s = GetSurface();
  if (y < 0 || y >= s.height) return;
  if (x0 < 0) x0 = 0;
  if (x1 > s.width) x1 = s.width;
  if (x0 >= x1) return;
  if (!m_clipped) {
    f(static_cast<int>(x0), static_cast<int>(x1));
    return;
  }
  // Bands are sorted by top and do not overlap: the first whose bottom is below y.
  std::size_t lo = 0, hi = m_clip.size();
  while (lo < hi) {
    const std::size_t mid = (lo + hi) / 2;
    if (m_clip[mid].bottom <= y)
      lo = mid + 1;
    else
      hi = mid;
  }
  if (lo == m_clip.size() || m_clip[lo].top > y) return;
  for (const auto& span : m_clip[lo].spans) {
    if (span.second <= x0) continue;
    if (span.first >= x1) break;
    const std::int64_t a = span.first > x0 ? span.first : x0;
    const std::int64_t b = span.second < x1 ? span.second : x1;
    f(static_cast<int>(a), static_cast<int>(b));
  }
}

}  // namespace vardell::gdi
