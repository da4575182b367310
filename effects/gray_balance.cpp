#include "effects/gray_balance.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

IMPLEMENT_SERIAL(CGrayBalance, CEffectObj, 1)

CGrayBalance::CGrayBalance() {
  m_strName = vardell::effect_names::kGrayBalance;
  m_pfnWorker = Worker;
}

CGrayBalance::~CGrayBalance() { StopWorker(); }

void CGrayBalance::SetCurve(int channel, int inLow, int inHigh, double gamma, int outLow,
                            int outHigh) {
  if (channel < master || channel > blue) return;
  m_nInLow[channel] = inLow;
  m_nInHigh[channel] = inHigh;
  m_dGamma[channel] = gamma;
  m_nOutLow[channel] = outLow;
  m_nOutHigh[channel] = outHigh;
}

UINT CGrayBalance::Worker(LPVOID param) {
  return static_cast<CGrayBalance*>(param)->RunWorker([](CEffectObj& effect, CPicture& picture) {
    const auto& e = static_cast<const CGrayBalance&>(effect);
    const int* lo = e.m_nInLow;
    const int* hi = e.m_nInHigh;
    const double* g = e.m_dGamma;
    const int* oLo = e.m_nOutLow;
    const int* oHi = e.m_nOutHigh;
    picture.GrayBalance(lo[red], hi[red], g[red], lo[green], hi[green], g[green], lo[blue],
                        hi[blue], g[blue], oLo[red], oHi[red], oLo[green], oHi[green], oLo[blue],
                        oHi[blue]);
    picture.GrayBalance(lo[master], hi[master], g[master], lo[master], hi[master], g[master],
                        lo[master], hi[master], g[master], oLo[master], oHi[master], oLo[master],
                        oHi[master], oLo[master], oHi[master]);
  });
}

void CGrayBalance::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  int* groups[4] = {m_nInLow, m_nInHigh, m_nOutLow, m_nOutHigh};
  if (ar.IsStoring()) {
    for (double g : m_dGamma) ar << g;
    for (int* group : groups)
      for (int i = 0; i < 4; ++i) ar << static_cast<LONG>(group[i]);
    return;
  }
  double gamma[4];
  LONG values[4][4];
  for (double& g : gamma) ar >> g;
  for (auto& group : values)
    for (LONG& v : group) ar >> v;
  for (int i = 0; i < 4; ++i) {
    m_dGamma[i] = gamma[i];
    for (int k = 0; k < 4; ++k) groups[k][i] = values[k][i];
  }
}
