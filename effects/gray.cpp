#include "effects/gray.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

IMPLEMENT_SERIAL(CGray, CEffectObj, 1)

CGray::CGray() {
  m_strName = vardell::effect_names::kGray;
  m_pfnWorker = Worker;
}

CGray::~CGray() { StopWorker(); }

UINT CGray::Worker(LPVOID param) {
  return static_cast<CGray*>(param)->RunWorker(
      [](CEffectObj&, CPicture& picture) { picture.ConvertToGray(); });
}

void CGray::Serialize(CArchive& ar) { CEffectObj::Serialize(ar); }
