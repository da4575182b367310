// A memory DC with a bitmap selected, and pixel read-back through GetDIBits, for the DC tests.
#pragma once

#include "platform/dc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace vardell::test {

// 0x00RRGGBB, the device pixel of a colour.
constexpr std::uint32_t Px(BYTE r, BYTE g, BYTE b) {
  return (std::uint32_t{r} << 16) | (std::uint32_t{g} << 8) | b;
}

class MemoryDc {
 public:
  MemoryDc(int width, int height, std::uint32_t fill = 0) : m_width(width), m_height(height) {
    m_hdc = CreateCompatibleDC(nullptr);
    m_bitmap = CreateCompatibleBitmap(m_hdc, width, height);
    m_old = SelectObject(m_hdc, m_bitmap);
    Fill(fill);
  }
  ~MemoryDc() {
    SelectObject(m_hdc, m_old);
    DeleteDC(m_hdc);
    DeleteObject(m_bitmap);
  }
  MemoryDc(const MemoryDc&) = delete;
  MemoryDc& operator=(const MemoryDc&) = delete;

  HDC hdc() const { return m_hdc; }
  HBITMAP bitmap() const { return m_bitmap; }

  void Fill(std::uint32_t pixel) {
    std::vector<std::uint32_t> p(static_cast<std::size_t>(m_width) * m_height, pixel);
    Set(p);
  }
  void Set(const std::vector<std::uint32_t>& p) {
    SetBitmapBits(m_bitmap, static_cast<DWORD>(p.size() * 4), p.data());
  }
  // Rows top first, read through a top-down 32-bit DIB.
  std::vector<std::uint32_t> Pixels() const {
    BITMAPINFO info{};
    info.bmiHeader.biSize = 40;
    info.bmiHeader.biWidth = m_width;
    info.bmiHeader.biHeight = -m_height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    std::vector<std::uint32_t> p(static_cast<std::size_t>(m_width) * m_height, 0xDEADBEEF);
    EXPECT_EQ(
        GetDIBits(m_hdc, m_bitmap, 0, static_cast<UINT>(m_height), p.data(), &info, DIB_RGB_COLORS),
        m_height);
    return p;
  }
  std::uint32_t At(int x, int y) const {
    return Pixels()[static_cast<std::size_t>(y) * m_width + x];
  }
  // One row as a string of characters: '#' where the pixel equals on, '.' where it equals off,
  // '?' elsewhere. Makes pixel patterns readable in assertions.
  std::string Row(int y, std::uint32_t on, std::uint32_t off = 0) const {
    return Row(y, {{on, '#'}, {off, '.'}});
  }
  // The same with a character for each listed colour.
  std::string Row(int y, std::initializer_list<std::pair<std::uint32_t, char>> legend) const {
    const std::vector<std::uint32_t> p = Pixels();
    std::string s;
    for (int x = 0; x < m_width; ++x) {
      const std::uint32_t v = p[static_cast<std::size_t>(y) * m_width + x];
      char c = '?';
      for (const auto& entry : legend)
        if (entry.first == v) {
          c = entry.second;
          break;
        }
      s += c;
    }
    return s;
  }

 private:
  int m_width;
  int m_height;
  HDC m_hdc;
  HBITMAP m_bitmap;
  HGDIOBJ m_old;
};

}  // namespace vardell::test
