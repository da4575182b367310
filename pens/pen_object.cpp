#include "pens/pen_object.h"

#include "hostutil/geometry_utils.h"
#include "hostutil/messages.h"
#include "platform/debug_log.h"

#include <algorithm>
#include <climits>

IMPLEMENT_SERIAL(CPenObject, CEffectObj, 1)

namespace {

// Truncation toward zero; values beyond the type (a corrupt paper size) are held at its ends.
int TruncateInt(double v) noexcept {
  if (!(v > -2147483648.0)) return v != v ? 0 : INT_MIN;
  return v < 2147483647.0 ? static_cast<int>(v) : INT_MAX;
}
UINT TruncateUint(double v) noexcept {
  if (!(v > 0.0)) return 0;
  return v < 4294967295.0 ? static_cast<UINT>(v) : 0xFFFFFFFFu;
}

}  // namespace

CPenObject::CPenObject() { m_strName = "PenObject"; }

CPenObject::~CPenObject() { StopWorker(); }

DWORD CPenObject::PackPoint(CPoint pt) noexcept {
  // Added, not or-ed: a negative x borrows from y, and coordinates wrap to 16 bits: intended.
  return (static_cast<DWORD>(pt.y) << 16) + static_cast<DWORD>(pt.x);
}

CPoint CPenObject::UnpackPoint(DWORD packed) noexcept {
  return CPoint(static_cast<short>(packed & 0xFFFF), static_cast<short>(packed >> 16));
}

int CPenObject::SetPenStyle(CString file, DWORD color, UINT size) {
  m_PenStyle = file;
  m_Color = color;
  m_nSize = size;
  const CSize shape = CMask::GetMaskSize(file);
  // Only a zero width with a nonzero height is an error; 0 x 0 passes: intended.
  if (shape.cx == 0 && shape.cy != 0) {
    ThrowErrorMessage("Cannot get the size of mask file:" + file + ".");
    return 0;
  }
  m_PenMask.DeleteObject();
  m_PenMask.LoadMask(file);
  m_ColorPic.CreatePicture(10, 10, 255);
  m_ColorPic.ClearPicture(static_cast<COLORREF>(color));
  return 1;
}

void CPenObject::AddPoint(CPoint pt, BYTE pressure) {
  CSingleLock lock(&m_Mutex, TRUE);
  m_Points.Add(PackPoint(pt));
  m_Pressures.Add(pressure);
}

void CPenObject::SetDisplay(CWnd* wnd, UINT message) {
  m_pDisplay = wnd;
  m_nMessage = message;
}

int CPenObject::SetPaperSize() {
  if (!m_pTarget) return 0;
  m_PaperSize = m_pTarget->GetPictureSize();
  return 1;
}

void CPenObject::Reset() {
  if (m_bRunning.load()) Terminate();
  m_nProcessed = 0;
}

BOOL CPenObject::CanPaintPicture() {
  return CEffectObj::CanExecute() && m_pTarget && m_PenMask.IsValid() && m_ColorPic.IsValid();
}

void CPenObject::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  m_Points.Serialize(ar);
  m_Pressures.Serialize(ar);
  if (ar.IsStoring()) {
    ar << m_PenStyle << static_cast<DWORD>(m_Color) << static_cast<DWORD>(m_nSize);
    ar << static_cast<const SIZE&>(m_PaperSize);
  } else {
    CString style;
    DWORD color = 0, size = 0;
    SIZE paper{};
    ar >> style >> color >> size >> paper;
    m_PaperSize = CSize(paper.cx, paper.cy);
    SetPenStyle(style, color, size);
    m_nProcessed = 0;
  }
}

CPenObject::PenScale CPenObject::GetScale(BOOL fromMask) const {
  PenScale s;
  s.w = s.h = m_nSize;
  if (static_cast<long long>(m_PaperSize.cx) * m_PaperSize.cy != 0) {
    CSize target(0, 0);
    if (fromMask && m_pTargetMask)
      target = m_pTargetMask->GetMaskSize();
    else if (!fromMask && m_pTarget)
      target = m_pTarget->GetPictureSize();
    s.sx = static_cast<double>(target.cx) / m_PaperSize.cx;
    s.sy = static_cast<double>(target.cy) / m_PaperSize.cy;
    s.w = TruncateUint(m_nSize * s.sx);
    s.h = TruncateUint(m_nSize * s.sy);
  }
  return s;
}

UINT CPenObject::RunPenLoop(const PenScale& scale, int flags,
                            const std::function<void(PenPoint&)>& paint) {
  const BOOL maskPen = (flags & kMaskPen) != 0;
  try {
    for (;;) {
      const int i = m_nProcessed;
      DWORD packed;
      BYTE pressure;
      {
        CSingleLock lock(&m_Mutex, TRUE);
        if (m_Points.GetSize() <= i) break;
        packed = m_Points[i];
        pressure = m_Pressures[i];
      }
      CPoint raw = UnpackPoint(packed);
      BOOL start = FALSE;
      if ((flags & kStrokeMarks) && raw.x > 10000 && raw.y > 10000) {
        raw.x -= 16384;
        raw.y -= 16384;
        start = TRUE;
      }
      PenPoint p;
      p.pt = CPoint(TruncateInt(raw.x * scale.sx), TruncateInt(raw.y * scale.sy));
      p.pressure = pressure;
      p.bStart = start;
      const CPoint corner(p.pt.x - static_cast<int>(scale.w >> 1),
                          p.pt.y - static_cast<int>(scale.h >> 1));
      p.R = CRect(corner, CSize(static_cast<int>(scale.w), static_cast<int>(scale.h)));
      p.pWeight = &m_PenMask;
      p.rWeight = m_PenMask.GetMaskRect();
      CMask confined;
      if (!maskPen && m_Mask.IsValid() && m_PenMask.IsValid() && m_pTarget) {
        m_PenMask.Duplicate(&confined);
        CRect r = p.R;
        ScaleTransform(m_pTarget->GetPictureRect(), m_Mask.GetMaskRect(), r);
        m_Mask.Draw(confined, confined.GetMaskRect(), r, 2);
        p.pWeight = &confined;
      }
      paint(p);
      if (m_pDisplay) {
        CPoint posted = corner;
        WPARAM side = std::max(scale.w, scale.h);
        if (maskPen) {
          // Mask pens report the unscaled square, in paper coordinates: intended.
          posted = CPoint(raw.x - static_cast<int>(m_nSize >> 1),
                          raw.y - static_cast<int>(m_nSize >> 1));
          side = m_nSize;
        }
        m_pDisplay->PostMessage(m_nMessage, side,
                                static_cast<LPARAM>(static_cast<LONG>(PackPoint(posted))));
      }
      m_nProcessed = i + 1;
      if (m_bCancel.load()) break;
    }
  } catch (...) {
    vardell::DebugLog("CPenObject: painting a point failed on the worker");
  }
  return EndWorker();
}

void CPenObject::SerializeMode(CArchive& ar, int& mode) {
  if (ar.IsStoring()) {
    ar << static_cast<LONG>(mode);
  } else {
    LONG stored = 0;
    ar >> stored;
    mode = stored;
  }
}
