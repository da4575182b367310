// CGray: turns the picture (or the masked area) gray with CPicture::ConvertToGray. No parameters.
#pragma once

#include "effects/effect_object.h"

class VARDELL_API CGray : public CEffectObj {
  DECLARE_SERIAL(CGray)
 public:
  CGray();
  ~CGray() override;
  void Serialize(CArchive& ar) override;

 private:
  static UINT Worker(LPVOID param);
};
