#include "platform/gdi_objects.h"

#include "platform/dc.h"
#include "platform/device_internal.h"
#include "platform/last_error.h"
#include "platform/region.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace vardell::gdi {

std::unique_ptr<std::uint32_t[]> AllocatePixels(int width, int height) noexcept {
  if (width <= 0 || height <= 0) return nullptr;
  if (static_cast<std::int64_t>(width) * height > kMaxSurfacePixels) return nullptr;
  const std::size_t n = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  return std::unique_ptr<std::uint32_t[]>(new (std::nothrow) std::uint32_t[n]());
}

Bitmap* Bitmap::Create(int width, int height, bool stock) noexcept {
  std::unique_ptr<std::uint32_t[]> pixels = AllocatePixels(width, height);
  if (!pixels) return nullptr;
  try {
    Bitmap* bitmap = new Bitmap(stock);
    bitmap->m_width = width;
    bitmap->m_height = height;
    bitmap->m_pixels = std::move(pixels);
    return bitmap;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

Bitmap* Bitmap::CreateStock() noexcept { return Create(1, 1, true); }

Surface Bitmap::GetSurface() noexcept {
  if (IsStock() || !m_pixels) return {};
  return Surface{m_pixels.get(), m_width, m_height, m_width};
}

namespace {

constexpr int kStockCount = 9;
constexpr int kStockBitmap = kStockCount;  // internal slot after the public indexes

struct StockTable {
  std::mutex mutex;
  std::array<HGDIOBJ, kStockCount + 1> objects{};
};

StockTable& Stock() {
  static StockTable* table = new StockTable;  // never destroyed: stock objects outlive everything
  return *table;
}

GdiObject* MakeStock(int index) noexcept {
  try {
    switch (index) {
      case WHITE_BRUSH: return new Brush({BS_SOLID, RGB(255, 255, 255)}, true);
      case LTGRAY_BRUSH: return new Brush({BS_SOLID, RGB(192, 192, 192)}, true);
      case GRAY_BRUSH: return new Brush({BS_SOLID, RGB(128, 128, 128)}, true);
      case DKGRAY_BRUSH: return new Brush({BS_SOLID, RGB(64, 64, 64)}, true);
      case BLACK_BRUSH: return new Brush({BS_SOLID, RGB(0, 0, 0)}, true);
      case NULL_BRUSH: return new Brush({BS_NULL, 0}, true);
      case WHITE_PEN: return new Pen({PS_SOLID, 1, RGB(255, 255, 255)}, true);
      case BLACK_PEN: return new Pen({PS_SOLID, 1, RGB(0, 0, 0)}, true);
      case NULL_PEN: return new Pen({PS_NULL, 1, 0}, true);
      case kStockBitmap: return Bitmap::CreateStock();
      default: return nullptr;
    }
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

HGDIOBJ StockObject(int index) noexcept {
  if (index < 0 || index > kStockBitmap) return nullptr;
  StockTable& table = Stock();
  std::lock_guard lock(table.mutex);
  HGDIOBJ& slot = table.objects[static_cast<std::size_t>(index)];
  // Made on first use; DeleteObject never deletes a stock object.
  if (slot == nullptr) {
    GdiObject* object = MakeStock(index);
    slot = object ? object->Handle() : nullptr;
  }
  return slot;
}

HGDIOBJ StockBitmap() noexcept { return StockObject(kStockBitmap); }

}  // namespace vardell::gdi

using vardell::gdi::Bitmap;
using vardell::gdi::Brush;
using vardell::gdi::Pen;

HPEN CreatePen(int style, int width, COLORREF color) {
  if (style < PS_SOLID || style > PS_INSIDEFRAME) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  vardell::gdi::PenAttributes pen;
  pen.width = width < 1 ? 1 : width;
  // Wide pens of the broken styles draw solid, as the platform documents.
  pen.style = (pen.width > 1 && style >= PS_DASH && style <= PS_DASHDOTDOT) ? PS_SOLID : style;
  pen.color = color & 0x00FFFFFFu;
  try {
    return (new Pen(pen, false))->Hpen();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

HPEN CreatePenIndirect(const LOGPEN* logPen) {
  if (logPen == nullptr) return nullptr;
  return CreatePen(static_cast<int>(logPen->lopnStyle), logPen->lopnWidth.x, logPen->lopnColor);
}

HBRUSH CreateSolidBrush(COLORREF color) {
  try {
    return (new Brush({BS_SOLID, color & 0x00FFFFFFu}, false))->Hbrush();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

HBRUSH CreateBrushIndirect(const LOGBRUSH* logBrush) {
  if (logBrush == nullptr) return nullptr;
  if (logBrush->lbStyle == BS_SOLID) return CreateSolidBrush(logBrush->lbColor);
  if (logBrush->lbStyle == BS_NULL) return static_cast<HBRUSH>(GetStockObject(NULL_BRUSH));
  SetLastError(ERROR_INVALID_PARAMETER);
  return nullptr;
}

HBITMAP CreateCompatibleBitmap(HDC hdc, int width, int height) {
  if (hdc != nullptr && vardell::gdi::DeviceContext::Find(hdc) == nullptr) return nullptr;
  if (width == 0 || height == 0) return static_cast<HBITMAP>(vardell::gdi::StockBitmap());
  Bitmap* bitmap = Bitmap::Create(width, height);
  if (bitmap == nullptr) {
    SetLastError(width < 0 || height < 0 ? ERROR_INVALID_PARAMETER : ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  return bitmap->Hbitmap();
}

HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel, const void* bits) {
  if (planes != 1 || bitsPerPixel != 32) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  HBITMAP bitmap = CreateCompatibleBitmap(nullptr, width, height);
  if (bitmap != nullptr && bits != nullptr && width > 0 && height > 0)
    SetBitmapBits(bitmap, static_cast<DWORD>(width) * static_cast<DWORD>(height) * 4, bits);
  return bitmap;
}

HGDIOBJ GetStockObject(int index) {
  if (index < WHITE_BRUSH || index > NULL_PEN) return nullptr;
  return vardell::gdi::StockObject(index);
}

int GetObject(HGDIOBJ object, int size, LPVOID buffer) {
  auto copyOut = [&](const void* description, int needed) {
    if (buffer == nullptr) return needed;
    if (size <= 0) return 0;
    const int n = std::min(size, needed);
    std::memcpy(buffer, description, static_cast<std::size_t>(n));
    return n;
  };
  if (Bitmap* bitmap = Bitmap::Find(object)) {
    BITMAP bm{0, bitmap->m_width, bitmap->m_height, bitmap->m_width * 4, 1, 32, nullptr};
    return copyOut(&bm, static_cast<int>(sizeof bm));
  }
  if (Pen* pen = Pen::Find(object)) {
    LOGPEN lp{static_cast<UINT>(pen->m_pen.style), POINT{pen->m_pen.width, 0}, pen->m_pen.color};
    return copyOut(&lp, static_cast<int>(sizeof lp));
  }
  if (Brush* brush = Brush::Find(object)) {
    LOGBRUSH lb{brush->m_brush.style, brush->m_brush.color, 0};
    return copyOut(&lb, static_cast<int>(sizeof lb));
  }
  SetLastError(ERROR_INVALID_HANDLE);
  return 0;
}

LONG GetBitmapBits(HBITMAP hbitmap, LONG count, LPVOID bits) {
  Bitmap* bitmap = Bitmap::Find(hbitmap);
  if (bitmap == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  const std::int64_t size = std::int64_t{bitmap->m_width} * bitmap->m_height * 4;
  if (bits == nullptr) return static_cast<LONG>(std::min<std::int64_t>(size, 0x7FFFFFFF));
  if (count <= 0) return 0;
  const std::int64_t n = std::min<std::int64_t>(count, size);
  std::memcpy(bits, bitmap->m_pixels.get(), static_cast<std::size_t>(n));
  return static_cast<LONG>(n);
}

LONG SetBitmapBits(HBITMAP hbitmap, DWORD count, const void* bits) {
  Bitmap* bitmap = Bitmap::Find(hbitmap);
  if (bitmap == nullptr || bits == nullptr || bitmap->IsStock()) {
    SetLastError(bitmap == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::int64_t size = std::int64_t{bitmap->m_width} * bitmap->m_height * 4;
  const std::int64_t n = std::min<std::int64_t>(count, size);
  auto* dst = reinterpret_cast<BYTE*>(bitmap->m_pixels.get());
  std::memcpy(dst, bits, static_cast<std::size_t>(n));
  for (std::int64_t i = 3; i < n; i += 4) dst[i] = 0;
  return static_cast<LONG>(n);
}

int GetDIBits(HDC hdc, HBITMAP hbitmap, UINT start, UINT lines, LPVOID bits, BITMAPINFO* info,
              UINT usage) {
  if (hdc != nullptr && vardell::gdi::DeviceContext::Find(hdc) == nullptr) return 0;
  Bitmap* bitmap = Bitmap::Find(hbitmap);
  if (bitmap == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  if (info == nullptr || info->bmiHeader.biSize < BITMAPINFOHEADER::kFileSize ||
      usage > DIB_PAL_COLORS) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  BITMAPINFOHEADER& h = info->bmiHeader;
  if (h.biBitCount == 0) {
    if (bits != nullptr) return 0;
    h.biBitCount = 32;
    h.biWidth = 0;
    h.biHeight = 0;
  }
  if ((h.biBitCount != 24 && h.biBitCount != 32) || h.biCompression != BI_RGB) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const bool topDown = h.biHeight < 0;
  const std::int64_t dibWidth = h.biWidth > 0 ? h.biWidth : bitmap->m_width;
  std::int64_t dibHeight =
      h.biHeight == 0 ? bitmap->m_height : (topDown ? -std::int64_t{h.biHeight} : h.biHeight);
  if (dibWidth > 0x7FFFFFF || dibHeight > 0x7FFFFFF) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::int64_t stride = DibStride64(dibWidth, h.biBitCount);
  if (bits == nullptr) {
    h.biWidth = static_cast<LONG>(dibWidth);
    h.biHeight = static_cast<LONG>(topDown ? -dibHeight : dibHeight);
    h.biPlanes = 1;
    h.biSizeImage = static_cast<DWORD>(std::min<std::int64_t>(stride * dibHeight, 0xFFFFFFFF));
    return static_cast<int>(dibHeight > 0 ? dibHeight : 1);
  }
  const std::int64_t first = start;
  const std::int64_t last = std::min<std::int64_t>(first + lines, dibHeight);
  const std::int64_t columns = std::min<std::int64_t>(dibWidth, bitmap->m_width);
  const int bytesPerPixel = h.biBitCount / 8;
  int copied = 0;
  auto* out = static_cast<BYTE*>(bits);
  for (std::int64_t scan = first; scan < last; ++scan) {
    const std::int64_t row = topDown ? scan : dibHeight - 1 - scan;  // top-based DIB row
    if (row >= bitmap->m_height) continue;
    const std::uint32_t* src = bitmap->m_pixels.get() + row * bitmap->m_width;
    BYTE* dst = out + (scan - first) * stride;
    for (std::int64_t x = 0; x < columns; ++x) {
      const std::uint32_t p = src[x];
      dst[0] = static_cast<BYTE>(p);
      dst[1] = static_cast<BYTE>(p >> 8);
      dst[2] = static_cast<BYTE>(p >> 16);
      if (bytesPerPixel == 4) dst[3] = 0;
      dst += bytesPerPixel;
    }
    ++copied;
  }
  h.biSizeImage = static_cast<DWORD>(std::min<std::int64_t>(stride * dibHeight, 0xFFFFFFFF));
  return copied;
}

// MFC wrappers. Permanent wrappers are found through a process-wide map filled by Attach;
// temporary ones live in a per-thread map, one for each handle and wrapper class.

namespace {

struct PermanentMap {
  std::mutex mutex;
  std::unordered_map<HGDIOBJ, CGdiObject*> map;
};

PermanentMap& Permanent() {
  static PermanentMap* map = new PermanentMap;
  return *map;
}

struct TempMap {
  std::map<std::pair<HGDIOBJ, DWORD>, CGdiObject*> map;
  void Clear() {
    for (auto& entry : map) {
      entry.second->m_hObject = nullptr;  // a temporary never deletes its object
      delete entry.second;
    }
    map.clear();
  }
  ~TempMap() { Clear(); }
};

TempMap& Temporaries() {
  thread_local TempMap map;
  return map;
}

CGdiObject* NewWrapper(DWORD kind) {
  switch (kind) {
    case OBJ_PEN: return new CPen;
    case OBJ_BRUSH: return new CBrush;
    case OBJ_BITMAP: return new CBitmap;
    case OBJ_REGION: return new CRgn;
    default: return new CGdiObject;
  }
}

}  // namespace

CGdiObject::~CGdiObject() { DeleteObject(); }

CGdiObject* CGdiObject::FromHandle(HGDIOBJ object) { return FromHandle(object, 0); }

CGdiObject* CGdiObject::FromHandle(HGDIOBJ object, DWORD kind) {
  if (object == nullptr) return nullptr;
  {
    PermanentMap& permanent = Permanent();
    std::lock_guard lock(permanent.mutex);
    auto found = permanent.map.find(object);
    if (found != permanent.map.end()) return found->second;
  }
  if (kind == 0) kind = GetObjectType(object);
  TempMap& temps = Temporaries();
  try {
    CGdiObject*& slot = temps.map[{object, kind}];
    if (slot == nullptr) {
      slot = NewWrapper(kind);
      slot->m_hObject = object;
    }
    return slot;
  } catch (const std::bad_alloc&) {
    temps.map.erase({object, kind});
    return nullptr;
  }
}

void CGdiObject::DeleteTempMap() { Temporaries().Clear(); }

BOOL CGdiObject::Attach(HGDIOBJ object) {
  if (object == nullptr || m_hObject != nullptr) return FALSE;
  PermanentMap& permanent = Permanent();
  std::lock_guard lock(permanent.mutex);
  try {
    permanent.map[object] = this;
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
  m_hObject = object;
  return TRUE;
}

HGDIOBJ CGdiObject::Detach() noexcept {
  HGDIOBJ object = m_hObject;
  if (object != nullptr) {
    PermanentMap& permanent = Permanent();
    std::lock_guard lock(permanent.mutex);
    auto found = permanent.map.find(object);
    if (found != permanent.map.end() && found->second == this) permanent.map.erase(found);
  }
  m_hObject = nullptr;
  return object;
}

BOOL CGdiObject::DeleteObject() {
  if (m_hObject == nullptr) return FALSE;
  return ::DeleteObject(Detach());
}

int CGdiObject::GetObject(int count, LPVOID buffer) const {
  return ::GetObject(m_hObject, count, buffer);
}

BOOL CGdiObject::CreateStockObject(int index) { return AttachNew(::GetStockObject(index)); }

BOOL CGdiObject::AttachNew(HGDIOBJ object) {
  if (object == nullptr) return FALSE;
  if (m_hObject != nullptr || !Attach(object)) {
    ::DeleteObject(object);
    return FALSE;
  }
  return TRUE;
}

CPen::CPen(int style, int width, COLORREF color) { CreatePen(style, width, color); }

BOOL CPen::CreatePen(int style, int width, COLORREF color) {
  if (m_hObject != nullptr) return FALSE;
  return AttachNew(::CreatePen(style, width, color));
}

BOOL CPen::CreatePenIndirect(const LOGPEN* logPen) {
  if (m_hObject != nullptr) return FALSE;
  return AttachNew(::CreatePenIndirect(logPen));
}

int CPen::GetLogPen(LOGPEN* logPen) const {
  return ::GetObject(m_hObject, static_cast<int>(sizeof(LOGPEN)), logPen);
}

CBrush::CBrush(COLORREF color) { CreateSolidBrush(color); }

BOOL CBrush::CreateSolidBrush(COLORREF color) {
  if (m_hObject != nullptr) return FALSE;
  return AttachNew(::CreateSolidBrush(color));
}

BOOL CBrush::CreateBrushIndirect(const LOGBRUSH* logBrush) {
  if (m_hObject != nullptr) return FALSE;
  return AttachNew(::CreateBrushIndirect(logBrush));
}

int CBrush::GetLogBrush(LOGBRUSH* logBrush) const {
  return ::GetObject(m_hObject, static_cast<int>(sizeof(LOGBRUSH)), logBrush);
}

BOOL CBitmap::CreateCompatibleBitmap(CDC* dc, int width, int height) {
  if (m_hObject != nullptr) return FALSE;
  return AttachNew(::CreateCompatibleBitmap(dc ? dc->m_hDC : nullptr, width, height));
}

BOOL CBitmap::CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel,
                           const void* bits) {
  if (m_hObject != nullptr) return FALSE;
  return AttachNew(::CreateBitmap(width, height, planes, bitsPerPixel, bits));
}

int CBitmap::GetBitmap(BITMAP* bitmap) const {
  return ::GetObject(m_hObject, static_cast<int>(sizeof(BITMAP)), bitmap);
}

DWORD CBitmap::GetBitmapBits(DWORD count, LPVOID bits) const {
  return static_cast<DWORD>(::GetBitmapBits(static_cast<HBITMAP>(m_hObject),
                                            static_cast<LONG>(std::min<DWORD>(count, 0x7FFFFFFF)),
                                            bits));
}

DWORD CBitmap::SetBitmapBits(DWORD count, const void* bits) {
  return static_cast<DWORD>(::SetBitmapBits(static_cast<HBITMAP>(m_hObject), count, bits));
}
