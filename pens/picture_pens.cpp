#include "pens/pen_kinds.h"
#include "pens/pen_names.h"

#include <algorithm>

IMPLEMENT_SERIAL(CWaterPen, CPenObject, 1)
IMPLEMENT_SERIAL(CSoftenPen, CPenObject, 1)
IMPLEMENT_SERIAL(CFingerPen, CPenObject, 1)
IMPLEMENT_SERIAL(CModifyPen, CPenObject, 1)
IMPLEMENT_SERIAL(CDoublePen, CPenObject, 1)
IMPLEMENT_SERIAL(CUndoPen, CPenObject, 1)

namespace {

const CRect kNoClip(0, 0, 0, 0);

CRect Footprint(UINT w, UINT h) { return CRect(0, 0, static_cast<int>(w), static_cast<int>(h)); }

}  // namespace

// ---- CWaterPen ----

CWaterPen::CWaterPen() {
  m_strName = vardell::pen_names::kWaterPen;
  m_pfnWorker = Worker;
}
CWaterPen::~CWaterPen() { StopWorker(); }
BOOL CWaterPen::CanExecute() { return CanPaintPicture(); }

UINT CWaterPen::Worker(LPVOID param) {
  auto* pen = static_cast<CWaterPen*>(param);
  CPicture& target = *pen->m_pTarget;
  const CRect colorRect = pen->m_ColorPic.GetPictureRect();
  return pen->RunPenLoop(pen->GetScale(FALSE), 0, [&](PenPoint& p) {
    pen->m_ColorPic.DrawTransparent(target, p.R, colorRect, *p.pWeight, p.rWeight, p.pressure, 0, 0,
                                    kNoClip);
  });
}

// ---- CSoftenPen ----

CSoftenPen::CSoftenPen() {
  m_strName = vardell::pen_names::kSoftenPen;
  m_pfnWorker = Worker;
}
CSoftenPen::~CSoftenPen() { StopWorker(); }
BOOL CSoftenPen::CanExecute() { return CanPaintPicture(); }

void CSoftenPen::SetMode(int mode) {
  m_nMode = mode;
  // Setting 0 again keeps the sharpen name: intended.
  if (mode != 0) m_strName = vardell::pen_names::kSharpenPen;
}

int CSoftenPen::GetStrength(UINT width) noexcept {
  return std::max(1, static_cast<int>(width >> 6));
}

void CSoftenPen::Serialize(CArchive& ar) {
  CPenObject::Serialize(ar);
  SerializeMode(ar, m_nMode);
}

UINT CSoftenPen::Worker(LPVOID param) {
  auto* pen = static_cast<CSoftenPen*>(param);
  CPicture& target = *pen->m_pTarget;
  const PenScale scale = pen->GetScale(FALSE);
  const int strength = GetStrength(scale.w);
  const CRect z = Footprint(scale.w, scale.h);
  CPicture scratch;
  scratch.CreatePicture(z.Width(), z.Height(), 0);
  return pen->RunPenLoop(scale, 0, [&](PenPoint& p) {
    target.Draw(scratch, z, p.R.TopLeft());
    if (pen->m_nMode == 0)
      scratch.Soften(strength);
    else
      scratch.Sharpen(1);
    scratch.DrawTransparent(target, p.R, z, *p.pWeight, p.rWeight, p.pressure, 0, 0, kNoClip);
  });
}

// ---- CFingerPen ----

CFingerPen::CFingerPen() {
  m_strName = vardell::pen_names::kFingerPen;
  m_pfnWorker = Worker;
}
CFingerPen::~CFingerPen() { StopWorker(); }
BOOL CFingerPen::CanExecute() { return CanPaintPicture(); }

UINT CFingerPen::Worker(LPVOID param) {
  auto* pen = static_cast<CFingerPen*>(param);
  CPicture& target = *pen->m_pTarget;
  const PenScale scale = pen->GetScale(FALSE);
  const CRect z = Footprint(scale.w, scale.h);
  CPicture& load = pen->m_ColorPic;
  return pen->RunPenLoop(scale, kStrokeMarks, [&](PenPoint& p) {
    if (p.bStart) {
      load.DeleteObject();
      load.CreatePicture(z.Width(), z.Height(), 0);
      target.Draw(load, z, p.R.TopLeft());
    } else {
      target.DrawTransparent(load, z, p.R, static_cast<BYTE>(255 - p.pressure), 1);
    }
    // The deposit's opacity is fixed; pressure only sets how much new ground is picked up:
    // intended.
    load.DrawTransparent(target, p.R, z, *p.pWeight, p.rWeight, 200, 0, 0, kNoClip);
  });
}

// ---- CModifyPen ----

CModifyPen::CModifyPen() {
  m_strName = vardell::pen_names::kModifyPen;
  m_pfnWorker = Worker;
}
CModifyPen::~CModifyPen() { StopWorker(); }
BOOL CModifyPen::CanExecute() { return CanPaintPicture() && m_nStep != 0 && m_nMode >= 0; }

void CModifyPen::SetMode(int mode, int step) {
  m_nMode = mode;
  m_nStep = step;
  // The mode indexes the four names unchecked: intended.
  m_strName = CString(step > 0 ? "+" : "-") + vardell::pen_names::kModifyModes[mode];
}

void CModifyPen::Serialize(CArchive& ar) {
  CPenObject::Serialize(ar);
  if (ar.IsStoring()) {
    ar << static_cast<LONG>(m_nStep) << static_cast<LONG>(m_nMode);
  } else {
    LONG step = 0, mode = 0;
    ar >> step >> mode;
    m_nStep = step;
    m_nMode = mode;
  }
}

UINT CModifyPen::Worker(LPVOID param) {
  auto* pen = static_cast<CModifyPen*>(param);
  CPicture& target = *pen->m_pTarget;
  const PenScale scale = pen->GetScale(FALSE);
  const CRect z = Footprint(scale.w, scale.h);
  CPicture& snapshot = pen->m_ColorPic;
  return pen->RunPenLoop(scale, kStrokeMarks, [&](PenPoint& p) {
    if (p.bStart) {
      snapshot.DeleteObject();
      target.Duplicate(snapshot);
    }
    CPicture scratch;
    scratch.CreatePicture(z.Width(), z.Height(), 255);
    CRect x;
    if (x.IntersectRect(p.R, snapshot.GetPictureRect())) {
      CRect into = x;
      into.OffsetRect(-p.R.left, -p.R.top);
      snapshot.Draw(scratch, into, x);
    }
    switch (pen->m_nMode) {
      case 0: scratch.Brightness(pen->m_nStep); break;
      case 1: scratch.Contrast(pen->m_nStep); break;
      case 2: scratch.Hue(pen->m_nStep); break;
      case 3: scratch.Saturate(pen->m_nStep); break;
      default: break;
    }
    scratch.DrawTransparent(target, p.R, z, *p.pWeight, p.rWeight, p.pressure, 0, 0, kNoClip);
  });
}

// ---- CDoublePen ----

CDoublePen::CDoublePen() {
  m_strName = vardell::pen_names::kDoublePen;
  m_pfnWorker = Worker;
}
CDoublePen::~CDoublePen() { StopWorker(); }
BOOL CDoublePen::CanExecute() { return CanPaintPicture() && m_ptFirst.x >= 0; }

void CDoublePen::SetPoints(CPoint first, CPoint second) {
  m_ptFirst = first;
  m_ptSecond = second;
}

void CDoublePen::Serialize(CArchive& ar) {
  CPenObject::Serialize(ar);
  if (ar.IsStoring()) {
    ar << static_cast<const POINT&>(m_ptFirst) << static_cast<const POINT&>(m_ptSecond);
  } else {
    POINT first{}, second{};
    ar >> first >> second;
    m_ptFirst = CPoint(first.x, first.y);
    m_ptSecond = CPoint(second.x, second.y);
  }
}

UINT CDoublePen::Worker(LPVOID param) {
  auto* pen = static_cast<CDoublePen*>(param);
  CPicture& target = *pen->m_pTarget;
  const PenScale scale = pen->GetScale(FALSE);
  const CPoint first(static_cast<int>(pen->m_ptFirst.x * scale.sx),
                     static_cast<int>(pen->m_ptFirst.y * scale.sy));
  const CPoint second(static_cast<int>(pen->m_ptSecond.x * scale.sx),
                      static_cast<int>(pen->m_ptSecond.y * scale.sy));
  const CSize d(second.x - first.x, second.y - first.y);
  return pen->RunPenLoop(scale, 0, [&](PenPoint& p) {
    CRect from = p.R;
    from.OffsetRect(-d.cx, -d.cy);
    target.DrawTransparent(target, p.R, from, *p.pWeight, p.rWeight, p.pressure, 0, 0, kNoClip);
  });
}

// ---- CUndoPen ----

CUndoPen::CUndoPen() {
  m_strName = vardell::pen_names::kUndoPen;
  m_pfnWorker = Worker;
}
CUndoPen::~CUndoPen() { StopWorker(); }
// The shape is not tested: intended.
BOOL CUndoPen::CanExecute() { return CEffectObj::CanExecute() && m_pTarget && m_pBefore; }

UINT CUndoPen::Worker(LPVOID param) {
  auto* pen = static_cast<CUndoPen*>(param);
  CPicture& target = *pen->m_pTarget;
  CPicture& source = *pen->m_pBefore;
  return pen->RunPenLoop(pen->GetScale(FALSE), 0, [&](PenPoint& p) {
    source.DrawTransparent(target, p.R, p.R, *p.pWeight, p.rWeight, p.pressure, 0, 0, kNoClip);
  });
}
