// CColorAdjust: a colour adjustment of the whole picture (or the masked area) with
// CPicture::ColorAdjust. Parameters are stored as seven 32-bit ints in the order hue,
// saturation, brightness, contrast, red, blue, green.
#pragma once

#include "effects/effect_object.h"

class VARDELL_API CColorAdjust : public CEffectObj {
  DECLARE_SERIAL(CColorAdjust)
 public:
  CColorAdjust();
  ~CColorAdjust() override;
  void Serialize(CArchive& ar) override;

  int m_nHue = 0;
  int m_nSaturation = 0;
  int m_nBrightness = 0;
  int m_nContrast = 0;
  int m_nRed = 0;
  int m_nBlue = 0;
  int m_nGreen = 0;

 private:
  static UINT Worker(LPVOID param);
};
