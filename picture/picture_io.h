// Size arithmetic, allocation and guarded reads shared by the picture's buffer and file code.
// Internal to the picture component.
#pragma once

#include "platform/bitmap.h"
#include "platform/file.h"
#include "platform/win_types.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace vardell::picture_io {

// Bytes of the two headers in front of a 24-bit bitmap file's pixel rows.
inline constexpr std::int64_t kHeadersSize =
    BITMAPFILEHEADER::kFileSize + BITMAPINFOHEADER::kFileSize;
// Every picture's data size (stride * height) is an int, as the accessors answer it.
inline constexpr std::int64_t kMaxDataSize = INT_MAX;

// Row stride of a 24-bit row, exact for any int width.
constexpr std::int64_t Stride64(std::int64_t width) noexcept { return DibStride64(width, 24); }

// stride * height as the 32-bit platform computes it, wrapping where it overflows; used only to
// word the text of a refused allocation.
constexpr int PlatformDataSize(int width, int height) noexcept {
  const auto bits = static_cast<std::int32_t>(static_cast<std::uint32_t>(width) * 24u + 31u);
  const std::int32_t stride = (bits / 32) * 4;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(stride) *
                                   static_cast<std::uint32_t>(height));
}

// A buffer of size bytes (new BYTE[], released with delete[]), or null when size is negative or
// the memory is not to be had. Callers bound their sizes first.
BYTE* AllocateBytes(std::int64_t size) noexcept;

// Reads up to count bytes; an I/O error counts as the end of the data.
UINT ReadSome(CFile& file, void* buffer, UINT count) noexcept;
// The file's length, or -1 when it cannot be known.
std::int64_t LengthOf(const CFile& file) noexcept;

// Reads the 14-byte file header; true when it came whole and names a bitmap file ("BM").
bool ReadFileHeader(CFile& file) noexcept;
// Reads the 40-byte info header into header; false when fewer bytes came (what came is kept).
bool ReadInfoHeader(CFile& file, BITMAPINFOHEADER& header) noexcept;

// True when height rows of stride bytes fit in available bytes (never overflowing).
constexpr bool RowsFit(std::int64_t stride, std::int64_t height, std::int64_t available) noexcept {
  return height == 0 || (available >= 0 && stride <= available / height);
}

// True when the header describes a picture of non-negative dimensions whose stride * height fits
// both an int and the available pixel bytes.
constexpr bool HeaderFitsData(const BITMAPINFOHEADER& header, std::int64_t available) noexcept {
  return header.biWidth >= 0 && header.biHeight >= 0 &&
         RowsFit(Stride64(header.biWidth), header.biHeight, std::min(available, kMaxDataSize));
}

}  // namespace vardell::picture_io
