// CPicture::GrayBalance: a levels-and-gamma curve per channel, applied through Transform.
#include "imageops/numeric.h"
#include "picture/picture.h"

#include <cmath>

namespace {

struct Curve {
  int inLow, inHigh;
  double gamma;
  int outLow, outHigh;

  // A zero exponent, an empty or reversed range, or a level outside 0..255 (the tables have 256
  // entries) is refused.
  bool Valid() const noexcept {
    auto level = [](int v) { return v >= 0 && v <= 255; };
    return gamma != 0.0 && inLow < inHigh && outLow < outHigh && level(inLow) && level(inHigh) &&
           level(outLow) && level(outHigh);
  }

  // T[inLow + i] = trunc(outLow + range * exp(gamma * ln(i / d))) for i = 0..d, always through
  // exp and ln, never short-cut (exponent 1.0 can give i - 1 where exp(ln x) comes out just below
  // x: intended). A negative exponent makes the entry at inLow infinite, which converts to the
  // integer indefinite and so stores 0. Below the range: outLow; above it: outHigh.
  void Build(BYTE* t) const noexcept {
    const int d = inHigh - inLow;
    const int range = outHigh - outLow;
    for (int v = 0; v < inLow; ++v) t[v] = static_cast<BYTE>(outLow);
    for (int i = 0; i <= d; ++i) {
      const double power = std::exp(gamma * std::log(static_cast<double>(i) / d));
      t[inLow + i] = static_cast<BYTE>(vardell::imageops::TruncateToInt(outLow + range * power));
    }
    for (int v = inHigh + 1; v < 256; ++v) t[v] = static_cast<BYTE>(outHigh);
  }
};

}  // namespace

int CPicture::GrayBalance(int inLowR, int inHighR, double gammaR, int inLowG, int inHighG,
                          double gammaG, int inLowB, int inHighB, double gammaB, int outLowR,
                          int outHighR, int outLowG, int outHighG, int outLowB, int outHighB) {
  if (!IsValid()) return 0;
  const Curve red{inLowR, inHighR, gammaR, outLowR, outHighR};
  const Curve green{inLowG, inHighG, gammaG, outLowG, outHighG};
  const Curve blue{inLowB, inHighB, gammaB, outLowB, outHighB};
  if (!red.Valid() || !green.Valid() || !blue.Valid()) return 0;
  BYTE r[256], g[256], b[256];
  red.Build(r);
  green.Build(g);
  blue.Build(b);
  return Transform(r, g, b);
}
