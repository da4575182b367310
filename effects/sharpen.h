// CSharpen: sharpening of the picture (or the masked area) with CPicture::Sharpen. The strength
// is stored as one 32-bit int; 0 at construction, which Sharpen refuses, so a new effect changes
// nothing until its strength is set.
#pragma once

#include "effects/effect_object.h"

class VARDELL_API CSharpen : public CEffectObj {
  DECLARE_SERIAL(CSharpen)
 public:
  CSharpen();
  ~CSharpen() override;
  void Serialize(CArchive& ar) override;

  int m_nStrength = 0;

 private:
  static UINT Worker(LPVOID param);
};
