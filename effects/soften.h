// CSoften: box softening of the picture (or the masked area) with CPicture::Soften, which follows
// the host's MMX switch. The radius is stored as one 16-bit word.
#pragma once

#include "effects/effect_object.h"

class VARDELL_API CSoften : public CEffectObj {
  DECLARE_SERIAL(CSoften)
 public:
  CSoften();
  ~CSoften() override;
  void Serialize(CArchive& ar) override;

  WORD m_wRadius = 1;

 private:
  static UINT Worker(LPVOID param);
};
