#include "picture/picture_io.h"

#include <cstdint>
#include <new>

namespace vardell::picture_io {

BYTE* AllocateBytes(std::int64_t size) noexcept {
  if (size < 0 || static_cast<std::uint64_t>(size) > SIZE_MAX) return nullptr;
  return new (std::nothrow) BYTE[static_cast<std::size_t>(size)];
}

UINT ReadSome(CFile& file, void* buffer, UINT count) noexcept {
  try {
    return file.Read(buffer, count);
  } catch (CFileException* e) {
    e->Delete();
    return 0;
  }
}

std::int64_t LengthOf(const CFile& file) noexcept {
  try {
    const ULONGLONG length = file.GetLength();
    return length > static_cast<ULONGLONG>(INT64_MAX) ? -1 : static_cast<std::int64_t>(length);
  } catch (CFileException* e) {
    e->Delete();
    return -1;
  }
}

bool ReadFileHeader(CFile& file) noexcept {
  BYTE raw[BITMAPFILEHEADER::kFileSize] = {};
  if (ReadSome(file, raw, sizeof raw) < sizeof raw) return false;
  BITMAPFILEHEADER header;
  header.Load(raw);
  return header.bfType == BITMAP_FILE_TYPE;
}

bool ReadInfoHeader(CFile& file, BITMAPINFOHEADER& header) noexcept {
  BYTE raw[BITMAPINFOHEADER::kFileSize] = {};
  const UINT got = ReadSome(file, raw, sizeof raw);
  header.Load(raw);
  return got == sizeof raw;
}

}  // namespace vardell::picture_io
