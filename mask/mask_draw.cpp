// CMask on device contexts: the mask is handed to StretchDIBits as it stands, with its own header
// and grey palette, so it shows as a grey image; and a device bitmap made from it.
#include "hostutil/geometry_utils.h"
#include "mask/mask.h"
#include "platform/dc.h"

namespace {

HDC SafeHdc(CDC* pDC) { return pDC ? pDC->GetSafeHdc() : nullptr; }

}  // namespace

BOOL CMask::Draw(CDC* pDC, int x, int y, DWORD rop) {
  if (!IsValid()) return FALSE;
  const int w = Width(), h = Height();
  return ::StretchDIBits(SafeHdc(pDC), x, y, w, h, 0, 0, w, h, m_pBuffer, GetBitmapInfo(),
                         DIB_RGB_COLORS, rop) != GDI_ERROR;
}

BOOL CMask::Draw(CDC* pDC, CRect dest, DWORD rop) {
  if (!IsValid()) return FALSE;
  return ::StretchDIBits(SafeHdc(pDC), dest.left, dest.top, dest.Width(), dest.Height(), 0, 0,
                         Width(), Height(), m_pBuffer, GetBitmapInfo(), DIB_RGB_COLORS,
                         rop) != GDI_ERROR;
}

BOOL CMask::Draw(CDC* pDC, CRect dest, CRect src, DWORD rop) {
  // TRUE on an empty mask where the other two forms answer FALSE: intended (nothing to do).
  if (!IsValid()) return TRUE;
  // The DIB's source origin counts rows up from the bottom row.
  const int ySrc = Height() - src.top - src.Height();
  return ::StretchDIBits(SafeHdc(pDC), dest.left, dest.top, dest.Width(), dest.Height(), src.left,
                         ySrc, src.Width(), src.Height(), m_pBuffer, GetBitmapInfo(),
                         DIB_RGB_COLORS, rop) != GDI_ERROR;
}

HBITMAP CMask::CreateDDB(CDC* pDC, CSize size, BOOL stretch) {
  if (!IsValid()) return nullptr;
  if (size.cx == 0 && size.cy == 0) size = GetMaskSize();
  CDC memDC;
  if (!memDC.CreateCompatibleDC(pDC)) return nullptr;
  const HBITMAP bitmap = ::CreateCompatibleBitmap(SafeHdc(pDC), size.cx, size.cy);
  if (!bitmap) return nullptr;
  const HGDIOBJ old = ::SelectObject(memDC.GetSafeHdc(), bitmap);
  memDC.SetStretchBltMode(COLORONCOLOR);
  memDC.PatBlt(0, 0, size.cx, size.cy, WHITENESS);
  const CRect whole(0, 0, size.cx, size.cy);
  Draw(&memDC, stretch ? whole : FitIn(GetMaskRect(), whole), SRCCOPY);
  if (old) ::SelectObject(memDC.GetSafeHdc(), old);
  return bitmap;
}
