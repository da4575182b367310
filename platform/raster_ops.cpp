#include "platform/raster_ops.h"

#include <algorithm>
#include <cstring>

namespace vardell::kernels {

namespace {

inline std::uint32_t Load24(const BYTE* p) noexcept {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16);
}

inline std::uint32_t Load32(const BYTE* p) noexcept {
  return Load24(p);  // The fourth byte of a 32-bit DIB pixel is not colour.
}

}  // namespace

void RopRow(BYTE code, std::uint32_t* dst, const std::uint32_t* src, std::uint32_t pattern,
            std::size_t n) noexcept {
  pattern &= kColourBits;
  switch (code) {
    case 0xCC:  // SRCCOPY
      for (std::size_t i = 0; i < n; ++i) dst[i] = src[i] & kColourBits;
      return;
    case 0xEE:  // SRCPAINT
      for (std::size_t i = 0; i < n; ++i) dst[i] = (src[i] | dst[i]) & kColourBits;
      return;
    case 0x88:  // SRCAND
      for (std::size_t i = 0; i < n; ++i) dst[i] = src[i] & dst[i] & kColourBits;
      return;
    case 0x66:  // SRCINVERT
      for (std::size_t i = 0; i < n; ++i) dst[i] = (src[i] ^ dst[i]) & kColourBits;
      return;
    case 0x33:  // NOTSRCCOPY
      for (std::size_t i = 0; i < n; ++i) dst[i] = ~src[i] & kColourBits;
      return;
    case 0xF0:  // PATCOPY
      std::fill(dst, dst + n, pattern);
      return;
    case 0x00:  // BLACKNESS
      std::fill(dst, dst + n, 0u);
      return;
    case 0xFF:  // WHITENESS
      std::fill(dst, dst + n, kColourBits);
      return;
    case 0x55:  // DSTINVERT
      for (std::size_t i = 0; i < n; ++i) dst[i] = ~dst[i] & kColourBits;
      return;
    case 0x5A:  // PATINVERT
      for (std::size_t i = 0; i < n; ++i) dst[i] = (dst[i] ^ pattern) & kColourBits;
      return;
    case 0xAA:  // leaves the destination as it is
      return;
    default: break;
  }
  const RopEvaluator rop(code);
  if (src) {
    for (std::size_t i = 0; i < n; ++i) dst[i] = rop(pattern, src[i], dst[i]);
  } else {
    for (std::size_t i = 0; i < n; ++i) dst[i] = rop(pattern, 0, dst[i]);
  }
}

void Convert24Row(const BYTE* src, std::uint32_t* dst, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = Load24(src + 3 * i);
}

void Gather24Row(const BYTE* src, const std::int32_t* xoffs, std::uint32_t* dst,
                 std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = Load24(src + xoffs[i]);
}

void Convert32Row(const BYTE* src, std::uint32_t* dst, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = Load32(src + 4 * i);
}

void Gather32Row(const BYTE* src, const std::int32_t* xoffs, std::uint32_t* dst,
                 std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = Load32(src + xoffs[i]);
}

void Convert8Row(const BYTE* src, const std::uint32_t* palette, std::uint32_t* dst,
                 std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = palette[src[i]];
}

void Gather8Row(const BYTE* src, const std::int32_t* xoffs, const std::uint32_t* palette,
                std::uint32_t* dst, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = palette[src[xoffs[i]]];
}

void GatherDeviceRow(const std::uint32_t* src, const std::int32_t* xidx, std::uint32_t* dst,
                     std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) dst[i] = src[xidx[i]];
}

}  // namespace vardell::kernels
