#include "effects/sharpen.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

IMPLEMENT_SERIAL(CSharpen, CEffectObj, 1)

CSharpen::CSharpen() {
  m_strName = vardell::effect_names::kSharpen;
  m_pfnWorker = Worker;
}

CSharpen::~CSharpen() { StopWorker(); }

UINT CSharpen::Worker(LPVOID param) {
  return static_cast<CSharpen*>(param)->RunWorker([](CEffectObj& effect, CPicture& picture) {
    picture.Sharpen(static_cast<CSharpen&>(effect).m_nStrength);
  });
}

void CSharpen::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  LONG strength = m_nStrength;
  if (ar.IsStoring()) {
    ar << strength;
  } else {
    ar >> strength;
    m_nStrength = strength;
  }
}
