#include "platform/window_surface.h"

#include "platform/device_internal.h"
#include "platform/last_error.h"

#include <algorithm>
#include <new>

using vardell::gdi::DeviceContext;

CWindowSurface::CWindowSurface() noexcept = default;

CWindowSurface::~CWindowSurface() {
  // The window DC is not deleted by DeleteDC: remove it here.
  delete DeviceContext::Find(m_dc.Detach());
}

BOOL CWindowSurface::Create(int width, int height, COLORREF fill) {
  std::unique_ptr<std::uint32_t[]> pixels = vardell::gdi::AllocatePixels(width, height);
  if (!pixels) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (m_dc.m_hDC == nullptr) {
    try {
      auto* dc = new DeviceContext(DeviceContext::Kind::Window, vardell::gdi::DisplayCaps());
      dc->m_dirty = &m_dirty;
      m_dc.Attach(dc->Hdc());
    } catch (const std::bad_alloc&) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return FALSE;
    }
  }
  std::fill_n(pixels.get(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
              vardell::gdi::PixelFromColor(fill & 0x00FFFFFFu));
  m_pixels = std::move(pixels);
  m_width = width;
  m_height = height;
  DeviceContext::Find(m_dc.m_hDC)->SetExternalSurface({m_pixels.get(), width, height, width});
  m_dirty = RECT{0, 0, width, height};
  return TRUE;
}

COLORREF CWindowSurface::GetPixel(int x, int y) const noexcept {
  if (!IsValid() || x < 0 || y < 0 || x >= m_width || y >= m_height) return CLR_INVALID;
  return vardell::gdi::ColorFromPixel(m_pixels[static_cast<std::size_t>(y) * m_width + x]);
}

CRect CWindowSurface::TakeDirtyRect() noexcept {
  const CRect dirty(m_dirty);
  m_dirty = RECT{0, 0, 0, 0};
  return dirty;
}
