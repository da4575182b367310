// CLight: a spot lamp drawn with CPicture::DrawLight on the picture (or the masked area).
//
// The points and the two lengths may be recorded on a picture of another size (the paper): with
// a paper size whose width * height is not 0 they are scaled to the target at execution, x by
// target width / paper width and y by target height / paper height, the lengths by the mean of
// the two factors, each product truncated. Colour, intensity and angle are used as stored.
//
// Stored after the base: the two points (8 bytes each), length, height, colour, intensity, angle
// (4 bytes each) and the paper size (8 bytes).
#pragma once

#include "effects/effect_object.h"
#include "platform/geometry.h"

class VARDELL_API CLight : public CEffectObj {
  DECLARE_SERIAL(CLight)
 public:
  CLight();
  ~CLight() override;
  void Serialize(CArchive& ar) override;

  // Stores the nine values in order; the paper size is left as it is.
  void SetLightParams(CPoint from, CPoint to, int length, int height, COLORREF color, int intensity,
                      int angle);
  // Takes the current target's size as the paper size; nothing happens without a target.
  void SetPaperSize();

  CPoint m_ptFrom{0, 0};
  CPoint m_ptTo{0, 0};
  int m_nLength = 0;
  int m_nHeight = 0;
  COLORREF m_crColor = 0;
  int m_nIntensity = 0;
  int m_nAngle = 0;
  CSize m_PaperSize{0, 0};

 private:
  static UINT Worker(LPVOID param);
};
