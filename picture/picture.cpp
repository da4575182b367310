// CPicture's buffer: construction, creation, clearing, fills, copying and pixel addressing.
#include "picture/picture.h"

#include "hostutil/messages.h"
#include "picture/picture_io.h"
#include "picture/picture_messages.h"

#include <cassert>
#include <cstring>
#include <memory>
#include <new>

using vardell::picture_io::AllocateBytes;
using vardell::picture_io::kMaxDataSize;
using vardell::picture_io::Stride64;

namespace {

// A pixel's three bytes in buffer order: blue, green, red.
struct Bgr {
  BYTE b, g, r;
  explicit Bgr(COLORREF color) noexcept
      : b(GetBValue(color)), g(GetGValue(color)), r(GetRValue(color)) {}
};

void FillPixels(BYTE* dst, std::size_t count, Bgr c) noexcept {
  for (std::size_t i = 0; i < count; ++i, dst += 3) {
    dst[0] = c.b;
    dst[1] = c.g;
    dst[2] = c.r;
  }
}

}  // namespace

CPicture::CPicture() { vardell::ByteTables::Get(); }

CPicture::~CPicture() {
  // The worker must not outlive the picture it writes to.
  if (IsLoading()) CancelLoading();
  ReleaseBuffer();
}

void CPicture::ReleaseBuffer() noexcept {
  delete[] m_pBuffer;
  m_pBuffer = nullptr;
}

void CPicture::DeleteObject() { ReleaseBuffer(); }

int CPicture::GetDataWidth() const noexcept { return static_cast<int>(Stride64(Width())); }

int CPicture::GetDataSize() const noexcept {
  return static_cast<int>(Stride64(Width()) * Height());
}

void CPicture::SetInfoHeader(int width, int height) {
  m_InfoHeader.biSize = BITMAPINFOHEADER::kFileSize;
  m_InfoHeader.biWidth = width;
  m_InfoHeader.biHeight = height;
  m_InfoHeader.biPlanes = 1;
  m_InfoHeader.biBitCount = 24;
  m_InfoHeader.biCompression = BI_RGB;
  // One row's stride, not the image size: intended.
  m_InfoHeader.biSizeImage = static_cast<DWORD>(GetDataWidth());
  m_InfoHeader.biXPelsPerMeter = 0;
  m_InfoHeader.biYPelsPerMeter = 0;
  m_InfoHeader.biClrUsed = 0;
  m_InfoHeader.biClrImportant = 0;
}

int CPicture::CreatePicture(int width, int height, BYTE fill) {
  if (width < 1 || height < 1) return 0;
  ReleaseBuffer();
  m_InfoHeader.biSize = BITMAPINFOHEADER::kFileSize;
  m_InfoHeader.biWidth = width;
  m_InfoHeader.biHeight = height;
  m_InfoHeader.biPlanes = 1;
  m_InfoHeader.biBitCount = 24;
  m_InfoHeader.biCompression = BI_RGB;
  m_InfoHeader.biXPelsPerMeter = 0;
  m_InfoHeader.biYPelsPerMeter = 0;
  m_InfoHeader.biClrUsed = 0;
  // biClrImportant keeps whatever it held: intended.

  const std::int64_t stride = Stride64(width);
  const std::int64_t dataSize = stride * height;
  // One spare row and 8 spare bytes behind the data, so routines that read a little past the
  // last pixel stay inside the block: intended.
  if (dataSize <= kMaxDataSize) m_pBuffer = AllocateBytes(stride * (std::int64_t{height} + 1) + 8);
  m_InfoHeader.biSizeImage =
      static_cast<DWORD>(vardell::picture_io::PlatformDataSize(width, height));
  if (!m_pBuffer) {
    CString text;
    text.Format(vardell::picture_text::kCreateAllocFailedFormat,
                vardell::picture_io::PlatformDataSize(width, height));
    ThrowErrorMessage(text);
    return 0;
  }
  std::memset(m_pBuffer, fill, static_cast<std::size_t>(dataSize));
  return 1;
}

int CPicture::ClearPicture(BYTE value) {
  if (!m_pBuffer) return 0;
  std::memset(m_pBuffer, value, static_cast<std::size_t>(GetDataSize()));
  return 1;
}

int CPicture::ClearPicture(COLORREF color) {
  if (!m_pBuffer) return 0;
  const auto stride = static_cast<std::size_t>(GetDataWidth());
  // One scratch row copied over every row. Its padding is zeroed (the picture's padding carries
  // no meaning).
  std::unique_ptr<BYTE[]> row(new (std::nothrow) BYTE[stride]());
  if (!row) return 0;
  FillPixels(row.get(), static_cast<std::size_t>(Width()), Bgr(color));
  BYTE* dst = m_pBuffer;
  for (int y = 0; y < Height(); ++y, dst += stride) std::memcpy(dst, row.get(), stride);
  return 1;
}

int CPicture::ClearPicture(CRect rect, COLORREF color) {
  if (!m_pBuffer) return 0;
  CRect clip;
  if (!clip.IntersectRect(rect, GetPictureRect())) return 1;
  const auto run = static_cast<std::size_t>(clip.Width()) * 3;
  std::unique_ptr<BYTE[]> scratch(new (std::nothrow) BYTE[run]);
  if (!scratch) return 0;
  FillPixels(scratch.get(), static_cast<std::size_t>(clip.Width()), Bgr(color));
  const std::ptrdiff_t stride = GetDataWidth();
  BYTE* dst = GetLineBuffer(clip.top) + 3 * static_cast<std::ptrdiff_t>(clip.left);
  for (int y = clip.top; y < clip.bottom; ++y, dst -= stride) std::memcpy(dst, scratch.get(), run);
  return 1;
}

int CPicture::PaneFill(CRect rect, int cell, COLORREF color1, COLORREF color2) {
  if (!m_pBuffer) return 0;
  // Callers must pass a rectangle inside the picture; one that is not, or a cell of 0 that would
  // divide by zero, writes nothing instead of writing outside the buffer.
  if (cell == 0 || rect.left < 0 || rect.top < 0 || rect.right > Width() || rect.bottom > Height())
    return 0;
  std::unique_ptr<BYTE[]> columnOdd(new (std::nothrow) BYTE[static_cast<std::size_t>(Width())]);
  std::unique_ptr<BYTE[]> rowOdd(new (std::nothrow) BYTE[static_cast<std::size_t>(Height())]);
  if (!columnOdd || !rowOdd) return 0;
  // Squares are anchored at the picture origin, not at the rectangle.
  for (int x = rect.left; x < rect.right; ++x) columnOdd[x] = static_cast<BYTE>((x / cell) & 1);
  for (int y = rect.top; y < rect.bottom; ++y) rowOdd[y] = static_cast<BYTE>((y / cell) & 1);
  const Bgr c1(color1), c2(color2);
  for (int y = rect.top; y < rect.bottom; ++y) {
    // Each row starts 3 * rect.top bytes in, not 3 * rect.left: intended. For a rectangle inside
    // the picture the last write still ends within the data, as the stride is at least 3.
    BYTE* dst = GetLineBuffer(y) + 3 * static_cast<std::ptrdiff_t>(rect.top);
    for (int x = rect.left; x < rect.right; ++x, dst += 3) {
      const Bgr& c = (columnOdd[x] ^ rowOdd[y]) ? c2 : c1;
      dst[0] = c.b;
      dst[1] = c.g;
      dst[2] = c.r;
    }
  }
  return 1;
}

BYTE* CPicture::GetLineBuffer(int y) const noexcept {
  assert(m_pBuffer && y >= 0 && y < Height());
  return m_pBuffer +
         static_cast<std::ptrdiff_t>(Height() - 1 - static_cast<std::int64_t>(y)) * GetDataWidth();
}

BYTE* CPicture::GetPixel(int x, int y) const noexcept {
  assert(x >= 0 && x < Width());
  return GetLineBuffer(y) + 3 * static_cast<std::ptrdiff_t>(x);
}

CRect CPicture::GetPictureRect() const noexcept {
  return m_pBuffer ? CRect(0, 0, Width(), Height()) : CRect(0, 0, 0, 0);
}

CSize CPicture::GetPictureSize() const noexcept {
  return m_pBuffer ? CSize(Width(), Height()) : CSize(0, 0);
}

int CPicture::Duplicate(CPicture& target) const {
  if (!m_pBuffer) return 0;
  // A picture is already its own copy; releasing it first would lose the source.
  if (&target == this) return 1;
  target.ReleaseBuffer();
  if (!target.CreatePicture(Width(), Height(), 255)) return 0;
  std::memcpy(target.m_pBuffer, m_pBuffer, static_cast<std::size_t>(GetDataSize()));
  return 1;
}
