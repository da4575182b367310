// CMask: buffer, header and whole-buffer transforms.
#include "mask/mask.h"

#include "hostutil/messages.h"
#include "mask/mask_kernels.h"
#include "picture/byte_tables.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

namespace vardell::mask_kernels {

void TransformBytes(BYTE* data, std::size_t n, const BYTE* lut) noexcept {
  for (std::size_t i = 0; i < n; ++i) data[i] = lut[data[i]];
}

std::int64_t MaskBytes(std::int64_t width, std::int64_t rows) noexcept {
  if (width < 1 || rows < 0) return -1;
  const std::int64_t stride = DibStride64(width, 8);
  if (stride > INT_MAX || (rows > 0 && stride > INT_MAX / rows)) return -1;
  return stride * rows;
}

}  // namespace vardell::mask_kernels

CMask::CMask() {
  static_assert(offsetof(CMask, m_palette) == offsetof(CMask, m_infoHeader) + 40,
                "the info header and the palette must form one BITMAPINFO");
  vardell::ByteTables::Get();
}

CMask::~CMask() { delete[] m_pBuffer; }

void CMask::DeleteObject() {
  delete[] m_pBuffer;
  m_pBuffer = nullptr;
}

void CMask::WriteGreyPalette() noexcept {
  for (int i = 0; i < 256; ++i) {
    const BYTE v = static_cast<BYTE>(i);
    m_palette[i] = RGBQUAD{v, v, v, 0};
  }
}

void CMask::SetInfoHeader(int width, int height) {
  m_infoHeader.biSize = 40;
  m_infoHeader.biWidth = width;
  m_infoHeader.biHeight = height;
  m_infoHeader.biPlanes = 1;
  m_infoHeader.biBitCount = 8;
  m_infoHeader.biCompression = BI_RGB;
  // One stride, not the image size: intended (CreateMask writes the whole size).
  m_infoHeader.biSizeImage = static_cast<DWORD>(DibStride64(width, 8));
  m_infoHeader.biXPelsPerMeter = 0;
  m_infoHeader.biYPelsPerMeter = 0;
  m_infoHeader.biClrUsed = 0;
  m_infoHeader.biClrImportant = 0;
  WriteGreyPalette();
}

BOOL CMask::CreateMask(int width, int height, BYTE value) {
  if (!AllocateMask(width, height)) return FALSE;
  std::memset(m_pBuffer, value, static_cast<std::size_t>(DibStride64(width, 8) * height));
  return TRUE;
}

BOOL CMask::AllocateMask(int width, int height) {
  if (width < 1 || height <= 0) return FALSE;
  DeleteObject();
  SetInfoHeader(width, height);
  const std::int64_t imageSize = DibStride64(width, 8) * height;
  m_infoHeader.biSizeImage = static_cast<DWORD>(imageSize);
  // One spare row beyond the image: intended slack for row-walking code.
  const std::int64_t total = vardell::mask_kernels::MaskBytes(width, std::int64_t{height} + 1);
  if (total > 0) m_pBuffer = new (std::nothrow) BYTE[static_cast<std::size_t>(total)];
  if (!m_pBuffer) {
    CString text;
    text.Format("Can not alloc memory which size is %lld Bytes.",
                static_cast<long long>(imageSize));
    ThrowErrorMessage(text);
    return FALSE;
  }
  // The spare row is zeroed so that nothing ever reads indeterminate bytes.
  std::memset(m_pBuffer + imageSize, 0, static_cast<std::size_t>(total - imageSize));
  return TRUE;
}

void CMask::AdoptBuffer(BYTE* buffer) noexcept {
  delete[] m_pBuffer;
  m_pBuffer = buffer;
}

CSize CMask::GetMaskSize() const noexcept {
  if (!IsValid()) return CSize(0, 0);
  return CSize(Width(), Height());
}

CRect CMask::GetMaskRect() const noexcept {
  if (!IsValid()) return CRect(0, 0, 0, 0);
  return CRect(0, 0, Width(), Height());
}

CMask* CMask::Duplicate() {
  if (!IsValid()) return nullptr;
  CMask* copy = new (std::nothrow) CMask;
  if (!copy) return nullptr;
  if (!Duplicate(copy)) {
    delete copy;
    return nullptr;
  }
  return copy;
}

BOOL CMask::Duplicate(CMask* pTarget) {
  if (!pTarget || !IsValid()) return FALSE;
  if (pTarget == this) return TRUE;
  pTarget->DeleteObject();
  if (!pTarget->CreateMask(Width(), Height(), 255)) return FALSE;
  std::memcpy(pTarget->m_pBuffer, m_pBuffer,
              static_cast<std::size_t>(GetDataWidth()) * static_cast<std::size_t>(Height()));
  return TRUE;
}

BOOL CMask::TransformData(const BYTE* lut) {
  if (!IsValid() || !lut) return FALSE;
  // The padding bytes are data too and go through the table as well: intended.
  vardell::mask_kernels::TransformBytes(
      m_pBuffer, static_cast<std::size_t>(GetDataWidth()) * static_cast<std::size_t>(Height()),
      lut);
  return TRUE;
}

BOOL CMask::Invert() {
  if (!IsValid()) return FALSE;
  BYTE lut[256];
  for (int i = 0; i < 256; ++i) lut[i] = static_cast<BYTE>(255 - i);
  return TransformData(lut);
}
