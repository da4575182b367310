// The Win32 device-independent bitmap structures. Files hold them packed and little-endian, so
// they are read and written field by field through Load/Store, never by copying the struct.
#pragma once

#include "platform/byte_order.h"
#include "platform/win_types.h"

inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_RLE8 = 1;
inline constexpr DWORD BI_RLE4 = 2;
inline constexpr DWORD BI_BITFIELDS = 3;
inline constexpr UINT DIB_RGB_COLORS = 0;
inline constexpr UINT DIB_PAL_COLORS = 1;
inline constexpr WORD BITMAP_FILE_TYPE = 0x4D42;  // "BM"

struct BITMAPFILEHEADER {
  WORD bfType;
  DWORD bfSize;
  WORD bfReserved1;
  WORD bfReserved2;
  DWORD bfOffBits;

  static constexpr std::size_t kFileSize = 14;
  void Load(const BYTE* p) noexcept {
    using vardell::LoadLE;
    bfType = LoadLE<WORD>(p);
    bfSize = LoadLE<DWORD>(p + 2);
    bfReserved1 = LoadLE<WORD>(p + 6);
    bfReserved2 = LoadLE<WORD>(p + 8);
    bfOffBits = LoadLE<DWORD>(p + 10);
  }
  void Store(BYTE* p) const noexcept {
    using vardell::StoreLE;
    StoreLE(p, bfType);
    StoreLE(p + 2, bfSize);
    StoreLE(p + 6, bfReserved1);
    StoreLE(p + 8, bfReserved2);
    StoreLE(p + 10, bfOffBits);
  }
};

struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;

  static constexpr std::size_t kFileSize = 40;
  void Load(const BYTE* p) noexcept {
    using vardell::LoadLE;
    biSize = LoadLE<DWORD>(p);
    biWidth = LoadLE<LONG>(p + 4);
    biHeight = LoadLE<LONG>(p + 8);
    biPlanes = LoadLE<WORD>(p + 12);
    biBitCount = LoadLE<WORD>(p + 14);
    biCompression = LoadLE<DWORD>(p + 16);
    biSizeImage = LoadLE<DWORD>(p + 20);
    biXPelsPerMeter = LoadLE<LONG>(p + 24);
    biYPelsPerMeter = LoadLE<LONG>(p + 28);
    biClrUsed = LoadLE<DWORD>(p + 32);
    biClrImportant = LoadLE<DWORD>(p + 36);
  }
  void Store(BYTE* p) const noexcept {
    using vardell::StoreLE;
    StoreLE(p, biSize);
    StoreLE(p + 4, biWidth);
    StoreLE(p + 8, biHeight);
    StoreLE(p + 12, biPlanes);
    StoreLE(p + 14, biBitCount);
    StoreLE(p + 16, biCompression);
    StoreLE(p + 20, biSizeImage);
    StoreLE(p + 24, biXPelsPerMeter);
    StoreLE(p + 28, biYPelsPerMeter);
    StoreLE(p + 32, biClrUsed);
    StoreLE(p + 36, biClrImportant);
  }
};

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

// Header and colour table back to back, as GDI expects them in memory.
struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

using LPBITMAPINFOHEADER = BITMAPINFOHEADER*;
using LPBITMAPINFO = BITMAPINFO*;

static_assert(sizeof(BITMAPINFOHEADER) == 40 && sizeof(RGBQUAD) == 4);

// Row stride of a DIB: the width in bits rounded up to 32, in bytes, with signed division.
// Computed in 64 bits so that a hostile width cannot overflow; callers that take the result as
// an int must first check that the width is sane (DibStride64 below).
constexpr std::int64_t DibStride64(std::int64_t width, int bitCount) noexcept {
  return ((width * bitCount + 31) / 32) * 4;
}
constexpr int DibStride(int width, int bitCount) noexcept {
  return static_cast<int>(DibStride64(width, bitCount));
}
