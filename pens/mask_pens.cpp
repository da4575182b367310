#include "pens/pen_kinds.h"
#include "pens/pen_names.h"

IMPLEMENT_SERIAL(CMaskPen, CPenObject, 1)
IMPLEMENT_SERIAL(CMaskSoftenPen, CPenObject, 1)

namespace {

BOOL CanPaintMask(CPenObject& pen) {
  return pen.m_pTarget && pen.m_pTargetMask && pen.m_pTarget->IsValid() &&
         pen.m_pTargetMask->IsValid() && pen.m_PenMask.IsValid() && pen.m_ColorPic.IsValid();
}

}  // namespace

// ---- CMaskPen ----

CMaskPen::CMaskPen() {
  m_strName = vardell::pen_names::kMaskPen;
  m_pfnWorker = Worker;
}
CMaskPen::~CMaskPen() { StopWorker(); }
BOOL CMaskPen::CanExecute() { return CEffectObj::CanExecute() && CanPaintMask(*this); }

int CMaskPen::SetPaperSize() {
  if (!m_pTargetMask) return 0;
  return CPenObject::SetPaperSize();
}

void CMaskPen::Serialize(CArchive& ar) {
  CPenObject::Serialize(ar);
  SerializeMode(ar, m_nMode);
}

UINT CMaskPen::Worker(LPVOID param) {
  auto* pen = static_cast<CMaskPen*>(param);
  CMask& mask = *pen->m_pTargetMask;
  return pen->RunPenLoop(pen->GetScale(TRUE), kMaskPen, [&](PenPoint& p) {
    p.pWeight->DrawTransparent(mask, p.R, p.rWeight, p.pressure, pen->m_nMode);
  });
}

// ---- CMaskSoftenPen ----

CMaskSoftenPen::CMaskSoftenPen() {
  m_strName = vardell::pen_names::kMaskSoftenPen;
  m_pfnWorker = Worker;
}
CMaskSoftenPen::~CMaskSoftenPen() { StopWorker(); }
BOOL CMaskSoftenPen::CanExecute() { return CEffectObj::CanExecute() && CanPaintMask(*this); }

int CMaskSoftenPen::SetPaperSize() {
  if (!m_pTargetMask) return 0;
  return CPenObject::SetPaperSize();
}

UINT CMaskSoftenPen::Worker(LPVOID param) {
  auto* pen = static_cast<CMaskSoftenPen*>(param);
  CMask& mask = *pen->m_pTargetMask;
  return pen->RunPenLoop(pen->GetScale(TRUE), kMaskPen, [&](PenPoint& p) {
    // Shape, pressure and limiting mask play no part: the whole square softens: intended.
    CMask square;
    square.CreateMask(p.R.Width(), p.R.Height(), 255);
    mask.Draw(square, square.GetMaskRect(), p.R, 0);
    square.Soften(3);
    square.Draw(mask, p.R, square.GetMaskRect(), 0);
  });
}
