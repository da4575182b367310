// CMirror: mirrors the whole target picture with CPicture::Mirror. The effect's own mask is not
// consulted. Its one parameter byte (1 at construction) is stored and loaded but not read by the
// worker: intended.
#pragma once

#include "effects/effect_object.h"

class VARDELL_API CMirror : public CEffectObj {
  DECLARE_SERIAL(CMirror)
 public:
  CMirror();
  ~CMirror() override;
  void Serialize(CArchive& ar) override;

  BYTE m_byMirror = 1;

 private:
  static UINT Worker(LPVOID param);
};
