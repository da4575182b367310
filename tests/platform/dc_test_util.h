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
    for (HGDIOBJ obj : m_owned) DeleteObject(obj);
  }
  MemoryDc(const MemoryDc&) = delete;
  MemoryDc& operator=(const MemoryDc&) = delete;

  HDC hdc() const { return m_hdc; }
  HBITMAP bitmap() const { return m_bitmap; }
  void Fill(std::uint32_t pixel) { Set(std::vector<std::uint32_t>(Size(), pixel)); }
  void Set(const std::vector<std::uint32_t>& p) {
    SetBitmapBits(m_bitmap, static_cast<DWORD>(p.size() * 4), p.data());
  }
  // Rows top first, read through a top-down 32-bit DIB.
  std::vector<std::uint32_t> Pixels() const {
    BITMAPINFO info{};
    info.bmiHeader = BITMAPINFOHEADER{40, m_width, -m_height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    std::vector<std::uint32_t> p(Size(), 0xDEADBEEF);
    EXPECT_EQ(GetDIBits(m_hdc, m_bitmap, 0, UINT(m_height), p.data(), &info, DIB_RGB_COLORS),
              m_height);
    return p;
  }
  // Selects a pen or brush made for the test; it is deleted with the DC.
  HGDIOBJ Use(HGDIOBJ obj) {
    m_owned.push_back(obj);
    return SelectObject(m_hdc, obj);
  }
  std::uint32_t At(int x, int y) const { return Pixels()[std::size_t(y) * m_width + x]; }
  // One row as a string: '#' where the pixel equals on, '.' where it equals off, '?' elsewhere,
  // or a character for each colour of a legend.
  std::string Row(int y, std::uint32_t on, std::uint32_t off = 0) const {
    return Row(y, {{on, '#'}, {off, '.'}});
  }
  std::string Row(int y, std::initializer_list<std::pair<std::uint32_t, char>> legend) const {
    const std::vector<std::uint32_t> p = Pixels();
    std::string s(m_width, '?');
    for (int x = 0; x < m_width; ++x)
      for (auto it = legend.end(); it != legend.begin();)  // the first entry wins
        if ((--it)->first == p[std::size_t(y) * m_width + x]) s[x] = it->second;
    return s;
  }
  // Every row in the same way, top first, separated by '|'.
  std::string Rows(std::uint32_t on, std::uint32_t off = 0) const {
    return Rows({{on, '#'}, {off, '.'}});
  }
  std::string Rows(std::initializer_list<std::pair<std::uint32_t, char>> legend) const {
    std::string s;
    for (int y = 0; y < m_height; ++y) s += (y ? "|" : "") + Row(y, legend);
    return s;
  }

 private:
  std::size_t Size() const { return std::size_t(m_width) * m_height; }
  int m_width;
  int m_height;
  HDC m_hdc;
  HBITMAP m_bitmap;
  HGDIOBJ m_old;
  std::vector<HGDIOBJ> m_owned;
};

}  // namespace vardell::test
