#include "effects/soften.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

IMPLEMENT_SERIAL(CSoften, CEffectObj, 1)

CSoften::CSoften() {
  m_strName = vardell::effect_names::kSoften;
  m_pfnWorker = Worker;
}

CSoften::~CSoften() { StopWorker(); }

UINT CSoften::Worker(LPVOID param) {
  return static_cast<CSoften*>(param)->RunWorker([](CEffectObj& effect, CPicture& picture) {
    picture.Soften(static_cast<CSoften&>(effect).m_wRadius);
  });
}

void CSoften::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  if (ar.IsStoring())
    ar << m_wRadius;
  else
    ar >> m_wRadius;
}
