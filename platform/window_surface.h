// A window's backing surface: the pixels a window shows, with the window DC that draws on them.
// The library draws through GetDC(); the GUI puts GetPixels() on screen (each row is GetStride()
// 32-bit pixels 0x00RRGGBB, the layout of cairo's CAIRO_FORMAT_RGB24) and repaints the area
// TakeDirtyRect() reports. The DC belongs to the surface: DeleteDC refuses it, and it lives until
// the surface is destroyed. It reports the display's caps (vardell::SetDisplayMetrics).
#pragma once

#include "platform/dc.h"
#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class VARDELL_API CWindowSurface {
 public:
  CWindowSurface() noexcept;
  ~CWindowSurface();
  CWindowSurface(const CWindowSurface&) = delete;
  CWindowSurface& operator=(const CWindowSurface&) = delete;

  // Makes the surface width x height, filled with fill; a second call resizes it, keeping the DC
  // and its selections and modes. FALSE, surface unchanged, for a non-positive size, more than
  // 2^28 pixels or short memory.
  BOOL Create(int width, int height, COLORREF fill = RGB(255, 255, 255));
  BOOL IsValid() const noexcept { return m_pixels != nullptr; }

  // The window DC, or null before Create.
  CDC* GetDC() noexcept { return IsValid() ? &m_dc : nullptr; }
  HDC GetSafeHdc() const noexcept { return IsValid() ? m_dc.m_hDC : nullptr; }

  int Width() const noexcept { return m_width; }
  int Height() const noexcept { return m_height; }
  const std::uint32_t* GetPixels() const noexcept { return m_pixels.get(); }
  std::ptrdiff_t GetStride() const noexcept { return m_width; }
  // The colour at (x, y), CLR_INVALID outside the surface.
  COLORREF GetPixel(int x, int y) const noexcept;

  // The area drawn on since the last call (the whole surface after Create), then forgets it.
  CRect TakeDirtyRect() noexcept;

 private:
  std::unique_ptr<std::uint32_t[]> m_pixels;
  int m_width = 0;
  int m_height = 0;
  RECT m_dirty{0, 0, 0, 0};
  CDC m_dc;
};
