#include "effects/light.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

#include <climits>
#include <cmath>

IMPLEMENT_SERIAL(CLight, CEffectObj, 1)

namespace {

// Truncation to an int as the platform's conversion does it: a value outside the int range (or
// not a number) becomes INT_MIN, the processor's "integer indefinite".
int TruncToInt(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return INT_MIN;
  return static_cast<int>(value);
}

}  // namespace

CLight::CLight() {
  m_strName = vardell::effect_names::kLight;
  m_pfnWorker = Worker;
}

CLight::~CLight() { StopWorker(); }

void CLight::SetLightParams(CPoint from, CPoint to, int length, int height, COLORREF color,
                            int intensity, int angle) {
  m_ptFrom = from;
  m_ptTo = to;
  m_nLength = length;
  m_nHeight = height;
  m_crColor = color;
  m_nIntensity = intensity;
  m_nAngle = angle;
}

void CLight::SetPaperSize() {
  if (m_pTarget) m_PaperSize = m_pTarget->GetPictureSize();
}

UINT CLight::Worker(LPVOID param) {
  return static_cast<CLight*>(param)->RunWorker([](CEffectObj& effect, CPicture& picture) {
    const auto& e = static_cast<const CLight&>(effect);
    CPoint from = e.m_ptFrom, to = e.m_ptTo;
    int length = e.m_nLength, height = e.m_nHeight;
    // The 32-bit product, wrapping as on the platform: intended.
    const UINT area = static_cast<UINT>(e.m_PaperSize.cx) * static_cast<UINT>(e.m_PaperSize.cy);
    if (area != 0) {
      const CSize size = picture.GetPictureSize();
      const double sx = static_cast<double>(size.cx) / e.m_PaperSize.cx;
      const double sy = static_cast<double>(size.cy) / e.m_PaperSize.cy;
      from = CPoint(TruncToInt(from.x * sx), TruncToInt(from.y * sy));
      to = CPoint(TruncToInt(to.x * sx), TruncToInt(to.y * sy));
      length = TruncToInt(length * ((sx + sy) / 2));
      height = TruncToInt(height * ((sx + sy) / 2));
    }
    picture.DrawLight(from, to, length, height, e.m_crColor, e.m_nIntensity, e.m_nAngle);
  });
}

void CLight::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  LONG v[5] = {m_nLength, m_nHeight, static_cast<LONG>(m_crColor), m_nIntensity, m_nAngle};
  if (ar.IsStoring()) {
    ar << m_ptFrom << m_ptTo;
    for (LONG x : v) ar << x;
    ar << m_PaperSize;
    return;
  }
  CPoint from, to;
  CSize paper;
  ar >> from >> to;
  for (LONG& x : v) ar >> x;
  ar >> paper;
  SetLightParams(from, to, v[0], v[1], static_cast<COLORREF>(v[2]), v[3], v[4]);
  m_PaperSize = paper;
}
