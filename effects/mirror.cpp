#include "effects/mirror.h"

#include "effects/effect_names.h"
#include "picture/picture.h"

IMPLEMENT_SERIAL(CMirror, CEffectObj, 1)

CMirror::CMirror() {
  m_strName = vardell::effect_names::kMirror;
  m_pfnWorker = Worker;
}

CMirror::~CMirror() { StopWorker(); }

UINT CMirror::Worker(LPVOID param) {
  auto* self = static_cast<CMirror*>(param);
  if (self->m_pTarget) self->m_pTarget->Mirror();
  return self->EndWorker();
}

void CMirror::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  if (ar.IsStoring())
    ar << m_byMirror;
  else
    ar >> m_byMirror;
}
