#include "hostutil/xor_draw.h"

namespace {

// Draws one outline with R2_NOT, a one-pixel pen and the null brush, then puts the DC back.
template <class Draw>
BOOL DrawInverted(CDC* pDC, Draw draw) {
  if (pDC == nullptr || pDC->m_hDC == nullptr) return FALSE;
  const HDC hdc = pDC->m_hDC;
  const int oldRop = ::SetROP2(hdc, R2_NOT);
  if (oldRop == 0) return FALSE;
  const HGDIOBJ oldPen = ::SelectObject(hdc, ::GetStockObject(BLACK_PEN));
  const HGDIOBJ oldBrush = ::SelectObject(hdc, ::GetStockObject(NULL_BRUSH));
  const BOOL done = draw(hdc);
  if (oldBrush) ::SelectObject(hdc, oldBrush);
  if (oldPen) ::SelectObject(hdc, oldPen);
  ::SetROP2(hdc, oldRop);
  return done;
}

}  // namespace

BOOL DrawXORRect(CDC* pDC, CRect rect) {
  return DrawInverted(
      pDC, [&](HDC hdc) { return ::Rectangle(hdc, rect.left, rect.top, rect.right, rect.bottom); });
}

BOOL DrawXOREllipse(CDC* pDC, CRect rect) {
  return DrawInverted(
      pDC, [&](HDC hdc) { return ::Ellipse(hdc, rect.left, rect.top, rect.right, rect.bottom); });
}
