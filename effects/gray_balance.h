// CGrayBalance: levels and gamma with CPicture::GrayBalance, in two passes on the same picture
// (or the masked area): first each channel's own curve, then the master curve on all three.
//
// Each array holds master, red, green, blue in that order. Stored after the base: the four
// exponents (one 32-byte block of doubles), then input low, input high, output low and output
// high as four groups of four 32-bit ints.
//
// Everything is 0 at construction. GrayBalance refuses a zero exponent or an empty range, so a
// pass whose curves are left at 0 changes nothing: a new effect does nothing, and setting only
// the master curve (or only the three channel curves) runs only that pass.
#pragma once

#include "effects/effect_object.h"

class VARDELL_API CGrayBalance : public CEffectObj {
  DECLARE_SERIAL(CGrayBalance)
 public:
  enum Channel { master = 0, red = 1, green = 2, blue = 3 };

  CGrayBalance();
  ~CGrayBalance() override;
  void Serialize(CArchive& ar) override;

  // Sets one channel's curve: input range, exponent, output range.
  void SetCurve(int channel, int inLow, int inHigh, double gamma, int outLow, int outHigh);

  double m_dGamma[4] = {0, 0, 0, 0};
  int m_nInLow[4] = {0, 0, 0, 0};
  int m_nInHigh[4] = {0, 0, 0, 0};
  int m_nOutLow[4] = {0, 0, 0, 0};
  int m_nOutHigh[4] = {0, 0, 0, 0};

 private:
  static UINT Worker(LPVOID param);
};
