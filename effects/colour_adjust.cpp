#include "effects/colour_adjust.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

IMPLEMENT_SERIAL(CColorAdjust, CEffectObj, 1)

CColorAdjust::CColorAdjust() {
  m_strName = vardell::effect_names::kColorAdjust;
  m_pfnWorker = Worker;
}

CColorAdjust::~CColorAdjust() { StopWorker(); }

UINT CColorAdjust::Worker(LPVOID param) {
  return static_cast<CColorAdjust*>(param)->RunWorker([](CEffectObj& effect, CPicture& picture) {
    auto& e = static_cast<CColorAdjust&>(effect);
    picture.ColorAdjust(e.m_nBrightness, e.m_nContrast, e.m_nHue, e.m_nSaturation, e.m_nRed,
                        e.m_nGreen, e.m_nBlue);
  });
}

void CColorAdjust::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  LONG v[7] = {m_nHue, m_nSaturation, m_nBrightness, m_nContrast, m_nRed, m_nBlue, m_nGreen};
  if (ar.IsStoring()) {
    for (LONG x : v) ar << x;
    return;
  }
  for (LONG& x : v) ar >> x;
  m_nHue = v[0];
  m_nSaturation = v[1];
  m_nBrightness = v[2];
  m_nContrast = v[3];
  m_nRed = v[4];
  m_nBlue = v[5];
  m_nGreen = v[6];
}
