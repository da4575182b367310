// Device contexts: creation, selection, modes, clipping, device caps and MFC's CDC. Drawing is
// in dc_blit.cpp and dc_draw.cpp, printing in printer_dc.cpp.
#include "platform/dc.h"

#include "platform/device_internal.h"
#include "platform/last_error.h"
#include "platform/region.h"

#include <atomic>
#include <cmath>
#include <mutex>
#include <new>
#include <unordered_map>

namespace vardell {

namespace {
std::atomic<int> g_displayWidth{1920};
std::atomic<int> g_displayHeight{1080};
std::atomic<int> g_displayDpi{96};
}  // namespace

void SetDisplayMetrics(int width, int height, int dpi) {
  if (width > 0) g_displayWidth = width;
  if (height > 0) g_displayHeight = height;
  if (dpi > 0) g_displayDpi = dpi;
}

namespace gdi {

DeviceCaps DisplayCaps() noexcept {
  DeviceCaps caps;
  caps.technology = DT_RASDISPLAY;
  caps.horzRes = g_displayWidth;
  caps.vertRes = g_displayHeight;
  caps.logPixelsX = caps.logPixelsY = g_displayDpi;
  return caps;
}

DeviceContext::DeviceContext(Kind kind, const DeviceCaps& caps)
    : GdiObject(kind == Kind::Memory ? OBJ_MEMDC : OBJ_DC), m_kind(kind), m_caps(caps) {
  Pen* pen = Pen::Find(StockObject(BLACK_PEN));
  Brush* brush = Brush::Find(StockObject(WHITE_BRUSH));
  Bitmap* bitmap = kind == Kind::Memory ? Bitmap::Find(StockBitmap()) : nullptr;
  if (pen == nullptr || brush == nullptr || (kind == Kind::Memory && bitmap == nullptr))
    throw std::bad_alloc();
  Replace(m_pen, pen);
  Replace(m_brush, brush);
  if (bitmap != nullptr) Replace(m_bitmap, bitmap);
}

DeviceContext::~DeviceContext() {
  m_driver.reset();
  if (m_bitmap != nullptr) m_bitmap->RemoveSelection();
  m_pen->RemoveSelection();
  m_brush->RemoveSelection();
}

DeviceContext* DeviceContext::Find(HDC hdc) noexcept {
  GdiObject* object = GdiObject::Find(hdc);
  if (object == nullptr || (object->Type() != OBJ_DC && object->Type() != OBJ_MEMDC)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return static_cast<DeviceContext*>(object);
}

Surface DeviceContext::GetSurface() const noexcept {
  if (m_kind == Kind::Memory) return m_bitmap->GetSurface();
  return m_external;
}

RECT DeviceContext::VisibleBox() const noexcept {
  const Surface s = GetSurface();
  RECT box{0, 0, 0, 0};
  if (!s.Valid()) return box;
  const RECT whole{0, 0, s.width, s.height};
  if (!m_clipped) return whole;
  IntersectRect(box, whole, m_clipBox);
  return box;
}

void DeviceContext::Touch(const RECT& r) noexcept {
  if (m_dirty != nullptr) UnionRect(*m_dirty, *m_dirty, r);
}

}  // namespace gdi
}  // namespace vardell

using vardell::gdi::Bitmap;
using vardell::gdi::Brush;
using vardell::gdi::DeviceContext;
using vardell::gdi::Pen;

HDC CreateCompatibleDC(HDC hdc) {
  vardell::gdi::DeviceCaps caps = vardell::gdi::DisplayCaps();
  if (hdc != nullptr) {
    const DeviceContext* reference = DeviceContext::Find(hdc);
    if (reference == nullptr) return nullptr;
    caps = reference->m_caps;
  }
  try {
    return (new DeviceContext(DeviceContext::Kind::Memory, caps))->Hdc();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

BOOL DeleteDC(HDC hdc) {
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr || dc->m_kind == DeviceContext::Kind::Window) return FALSE;
  delete dc;
  return TRUE;
}

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object) {
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return nullptr;
  vardell::GdiObject* found = vardell::GdiObject::Find(object);
  switch (found != nullptr ? found->Type() : 0) {
    case OBJ_BITMAP: {
      auto* bitmap = static_cast<Bitmap*>(found);
      if (dc->m_kind != DeviceContext::Kind::Memory) return nullptr;
      // A bitmap sits in one DC at a time; the stock bitmap, never drawn on, in any number.
      if (!bitmap->IsStock() && bitmap != dc->m_bitmap && bitmap->Selections() != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
      }
      return dc->Replace(dc->m_bitmap, bitmap);
    }
    case OBJ_PEN: return dc->Replace(dc->m_pen, static_cast<Pen*>(found));
    case OBJ_BRUSH: return dc->Replace(dc->m_brush, static_cast<Brush*>(found));
    case OBJ_REGION: {
      const int type = SelectClipRgn(hdc, static_cast<HRGN>(object));
      return reinterpret_cast<HGDIOBJ>(static_cast<std::intptr_t>(type));
    }
    default: SetLastError(ERROR_INVALID_HANDLE); return nullptr;
  }
}

HGDIOBJ GetCurrentObject(HDC hdc, UINT type) {
  const DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return nullptr;
  switch (type) {
    case OBJ_PEN: return dc->m_pen->Handle();
    case OBJ_BRUSH: return dc->m_brush->Handle();
    case OBJ_BITMAP: return dc->m_bitmap != nullptr ? dc->m_bitmap->Handle() : nullptr;
    default: return nullptr;
  }
}

namespace {

// Sets a DC's mode when value lies in [lo, hi]; answers the previous one, 0 on failure.
int SetMode(HDC hdc, int DeviceContext::*member, int value, int lo, int hi) {
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return 0;
  if (value < lo || value > hi) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const int previous = dc->*member;
  dc->*member = value;
  return previous;
}

int GetMode(HDC hdc, int DeviceContext::*member) {
  const DeviceContext* dc = DeviceContext::Find(hdc);
  return dc ? dc->*member : 0;
}

}  // namespace

int SetStretchBltMode(HDC hdc, int mode) {
  return SetMode(hdc, &DeviceContext::m_stretchMode, mode, BLACKONWHITE, HALFTONE);
}
int GetStretchBltMode(HDC hdc) { return GetMode(hdc, &DeviceContext::m_stretchMode); }
int SetROP2(HDC hdc, int mode) {
  return SetMode(hdc, &DeviceContext::m_rop2, mode, R2_BLACK, R2_WHITE);
}
int GetROP2(HDC hdc) { return GetMode(hdc, &DeviceContext::m_rop2); }
int SetBkMode(HDC hdc, int mode) {
  return SetMode(hdc, &DeviceContext::m_bkMode, mode, TRANSPARENT, OPAQUE);
}
int GetBkMode(HDC hdc) { return GetMode(hdc, &DeviceContext::m_bkMode); }

COLORREF SetBkColor(HDC hdc, COLORREF color) {
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return CLR_INVALID;
  const COLORREF previous = dc->m_bkColor;
  dc->m_bkColor = color & 0x00FFFFFFu;
  return previous;
}

COLORREF GetBkColor(HDC hdc) {
  const DeviceContext* dc = DeviceContext::Find(hdc);
  return dc ? dc->m_bkColor : CLR_INVALID;
}

int SelectClipRgn(HDC hdc, HRGN region) {
  DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return ERROR;
  if (region == nullptr) {
    dc->m_clipped = false;
    dc->m_clip.clear();
    const RECT box = dc->VisibleBox();
    return IsRectEmpty(box) ? NULLREGION : SIMPLEREGION;
  }
  const DWORD size = GetRegionData(region, 0, nullptr);
  if (size < sizeof(RGNDATAHEADER)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return ERROR;
  }
  std::vector<std::vector<RECT>> bands;
  RECT bound{};
  try {
    std::vector<RECT> storage((size - sizeof(RGNDATAHEADER)) / sizeof(RECT) + 3);
    auto* data = reinterpret_cast<RGNDATA*>(storage.data());
    if (GetRegionData(region, static_cast<DWORD>(storage.size() * sizeof(RECT)), data) == 0)
      return ERROR;
    const auto* rects = reinterpret_cast<const RECT*>(data->Buffer);
    std::vector<vardell::gdi::ClipBand> clip;
    for (DWORD i = 0; i < data->rdh.nCount; ++i) {
      const RECT& r = rects[i];
      if (clip.empty() || clip.back().top != r.top || clip.back().bottom != r.bottom)
        clip.push_back({r.top, r.bottom, {}});
      clip.back().spans.emplace_back(r.left, r.right);
    }
    bound = data->rdh.rcBound;
    dc->m_clip = std::move(clip);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return ERROR;
  }
  dc->m_clipped = true;
  dc->m_clipBox = bound;
  if (dc->m_clip.empty()) return NULLREGION;
  return dc->m_clip.size() == 1 && dc->m_clip[0].spans.size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

int GetClipBox(HDC hdc, LPRECT rect) {
  const DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr || rect == nullptr) return ERROR;
  *rect = dc->VisibleBox();
  if (IsRectEmpty(*rect)) {
    SetRectEmpty(*rect);
    return NULLREGION;
  }
  if (!dc->m_clipped) return SIMPLEREGION;
  // Simple when one clip rectangle covers the whole box.
  for (const auto& band : dc->m_clip)
    for (const auto& span : band.spans)
      if (band.top <= rect->top && band.bottom >= rect->bottom && span.first <= rect->left &&
          span.second >= rect->right)
        return SIMPLEREGION;
  return COMPLEXREGION;
}

int GetDeviceCaps(HDC hdc, int index) {
  const DeviceContext* dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return 0;
  const vardell::gdi::DeviceCaps& c = dc->m_caps;
  const bool printer = c.technology == DT_RASPRINTER;
  auto millimetres = [](int pixels, int dpi) {
    return dpi > 0 ? static_cast<int>(std::lround(pixels * 25.4 / dpi)) : 0;
  };
  switch (index) {
    case DRIVERVERSION: return 0x4000;
    case TECHNOLOGY: return c.technology;
    case HORZSIZE: return millimetres(c.horzRes, c.logPixelsX);
    case VERTSIZE: return millimetres(c.vertRes, c.logPixelsY);
    case HORZRES: return c.horzRes;
    case VERTRES: return c.vertRes;
    case BITSPIXEL: return 32;
    case PLANES: return 1;
    case NUMBRUSHES:
    case NUMPENS:
    case NUMCOLORS: return -1;
    case RASTERCAPS:
      return RC_BITBLT | RC_BITMAP64 | RC_DI_BITMAP | RC_DIBTODEV | RC_STRETCHBLT | RC_STRETCHDIB;
    case ASPECTX: return printer ? c.logPixelsX : 36;
    case ASPECTY: return printer ? c.logPixelsY : 36;
    case ASPECTXY:
      return printer ? static_cast<int>(std::lround(std::hypot(c.logPixelsX, c.logPixelsY))) : 51;
    case LOGPIXELSX: return c.logPixelsX;
    case LOGPIXELSY: return c.logPixelsY;
    case COLORRES: return 24;
    case PHYSICALWIDTH: return c.physicalWidth;
    case PHYSICALHEIGHT: return c.physicalHeight;
    case PHYSICALOFFSETX: return c.physicalOffsetX;
    case PHYSICALOFFSETY: return c.physicalOffsetY;
    default: return 0;
  }
}

// CDC. Permanent CDCs are found through a process-wide map filled by Attach; temporary ones live
// in a per-thread map.

namespace {

struct PermanentDcMap {
  std::mutex mutex;
  std::unordered_map<HDC, CDC*> map;
};

PermanentDcMap& PermanentDcs() {
  static PermanentDcMap* map = new PermanentDcMap;
  return *map;
}

struct TempDcMap {
  std::unordered_map<HDC, CDC*> map;
  void Clear() {
    for (auto& entry : map) {
      entry.second->m_hDC = entry.second->m_hAttribDC = nullptr;  // never deletes its DC
      delete entry.second;
    }
    map.clear();
  }
  ~TempDcMap() { Clear(); }
};

TempDcMap& TempDcs() {
  thread_local TempDcMap map;
  return map;
}

}  // namespace

CDC::~CDC() {
  if (m_hDC != nullptr) ::DeleteDC(Detach());
}

CDC* CDC::FromHandle(HDC hdc) {
  if (hdc == nullptr) return nullptr;
  {
    PermanentDcMap& permanent = PermanentDcs();
    std::lock_guard lock(permanent.mutex);
    auto found = permanent.map.find(hdc);
    if (found != permanent.map.end()) return found->second;
  }
  TempDcMap& temps = TempDcs();
  auto found = temps.map.find(hdc);
  if (found != temps.map.end()) return found->second;
  CDC* dc = new CDC;
  dc->m_hDC = dc->m_hAttribDC = hdc;
  temps.map.emplace(hdc, dc);
  return dc;
}

void CDC::DeleteTempMap() { TempDcs().Clear(); }

BOOL CDC::Attach(HDC hdc) {
  if (hdc == nullptr || m_hDC != nullptr) return FALSE;
  m_hDC = m_hAttribDC = hdc;
  PermanentDcMap& permanent = PermanentDcs();
  std::lock_guard lock(permanent.mutex);
  permanent.map[hdc] = this;
  return TRUE;
}

HDC CDC::Detach() noexcept {
  HDC hdc = m_hDC;
  if (hdc != nullptr) {
    PermanentDcMap& permanent = PermanentDcs();
    std::lock_guard lock(permanent.mutex);
    auto found = permanent.map.find(hdc);
    if (found != permanent.map.end() && found->second == this) permanent.map.erase(found);
  }
  m_hDC = m_hAttribDC = nullptr;
  return hdc;
}

BOOL CDC::CreateCompatibleDC(CDC* pDC) {
  if (m_hDC != nullptr) return FALSE;
  HDC hdc = ::CreateCompatibleDC(pDC ? pDC->m_hDC : nullptr);
  if (hdc == nullptr) return FALSE;
  return Attach(hdc);
}

BOOL CDC::DeleteDC() {
  if (m_hDC == nullptr) return FALSE;
  return ::DeleteDC(Detach());
}

CPen* CDC::SelectObject(CPen* pen) {
  if (pen == nullptr) return nullptr;
  return CPen::FromHandle(static_cast<HPEN>(::SelectObject(m_hDC, pen->m_hObject)));
}
CBrush* CDC::SelectObject(CBrush* brush) {
  if (brush == nullptr) return nullptr;
  return CBrush::FromHandle(static_cast<HBRUSH>(::SelectObject(m_hDC, brush->m_hObject)));
}
CBitmap* CDC::SelectObject(CBitmap* bitmap) {
  if (bitmap == nullptr) return nullptr;
  return CBitmap::FromHandle(static_cast<HBITMAP>(::SelectObject(m_hDC, bitmap->m_hObject)));
}
CGdiObject* CDC::SelectObject(CGdiObject* object) {
  if (object == nullptr) return nullptr;
  return CGdiObject::FromHandle(::SelectObject(m_hDC, object->m_hObject));
}
int CDC::SelectObject(CRgn* region) { return SelectClipRgn(region); }

CGdiObject* CDC::SelectStockObject(int index) {
  HGDIOBJ object = ::GetStockObject(index);
  return object ? CGdiObject::FromHandle(::SelectObject(m_hDC, object)) : nullptr;
}

CPen* CDC::GetCurrentPen() const {
  return CPen::FromHandle(static_cast<HPEN>(::GetCurrentObject(m_hDC, OBJ_PEN)));
}
CBrush* CDC::GetCurrentBrush() const {
  return CBrush::FromHandle(static_cast<HBRUSH>(::GetCurrentObject(m_hDC, OBJ_BRUSH)));
}
CBitmap* CDC::GetCurrentBitmap() const {
  return CBitmap::FromHandle(static_cast<HBITMAP>(::GetCurrentObject(m_hDC, OBJ_BITMAP)));
}

BOOL CDC::BitBlt(int x, int y, int width, int height, CDC* pSrcDC, int xSrc, int ySrc, DWORD rop) {
  return ::BitBlt(m_hDC, x, y, width, height, pSrcDC ? pSrcDC->m_hDC : nullptr, xSrc, ySrc, rop);
}

BOOL CDC::StretchBlt(int x, int y, int width, int height, CDC* pSrcDC, int xSrc, int ySrc,
                     int srcWidth, int srcHeight, DWORD rop) {
  return ::StretchBlt(m_hDC, x, y, width, height, pSrcDC ? pSrcDC->m_hDC : nullptr, xSrc, ySrc,
                      srcWidth, srcHeight, rop);
}

CPoint CDC::MoveTo(int x, int y) {
  POINT old{0, 0};
  ::MoveToEx(m_hDC, x, y, &old);
  return CPoint(old);
}

CPoint CDC::GetCurrentPosition() const {
  const DeviceContext* dc = DeviceContext::Find(m_hDC);
  return dc ? CPoint(dc->m_pos) : CPoint();
}

BOOL CDC::Rectangle(LPCRECT rect) {
  return rect ? ::Rectangle(m_hDC, rect->left, rect->top, rect->right, rect->bottom) : FALSE;
}

BOOL CDC::Ellipse(LPCRECT rect) {
  return rect ? ::Ellipse(m_hDC, rect->left, rect->top, rect->right, rect->bottom) : FALSE;
}

void CDC::FillRect(LPCRECT rect, CBrush* brush) {
  ::FillRect(m_hDC, rect, brush ? static_cast<HBRUSH>(brush->m_hObject) : nullptr);
}

void CDC::FillSolidRect(LPCRECT rect, COLORREF color) {
  HBRUSH brush = ::CreateSolidBrush(color);
  ::FillRect(m_hDC, rect, brush);
  ::DeleteObject(brush);
}

void CDC::FillSolidRect(int x, int y, int width, int height, COLORREF color) {
  const RECT rect{x, y, x + width, y + height};
  FillSolidRect(&rect, color);
}

int CDC::SelectClipRgn(CRgn* region) {
  return ::SelectClipRgn(m_hDC, region ? static_cast<HRGN>(region->m_hObject) : nullptr);
}

int CDC::StartDoc(LPCSTR docName) {
  DOCINFO info{static_cast<int>(sizeof(DOCINFO)), docName, nullptr, nullptr, 0};
  return ::StartDoc(m_hDC, &info);
}
