// Helpers of the effect tests: seeded pictures and masks, pixel snapshots, effects built with
// their parameters, running an effect to its end, and a work folder of the test's own for the
// masks' temporary files.
#pragma once

#include "effects/effects.h"
#include "hostutil/paths.h"
#include "mask/mask.h"
#include "picture/picture.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

namespace vardell::test {

// A width x height picture of seeded pixels.
inline void FillRandom(CPicture& p, int width, int height, std::uint32_t seed) {
  p.CreatePicture(width, height, 0);
  Rng rng(seed);
  for (int i = 0; i < p.GetDataSize(); ++i) p.GetBuffer()[i] = rng.Byte();
}

// A copy of the picture made with the given operation.
inline void CopyWith(const CPicture& from, CPicture& to, const std::function<void(CPicture&)>& op) {
  from.Duplicate(to);
  if (op) op(to);
}

inline std::vector<BYTE> Pixels(const CPicture& p) {
  return std::vector<BYTE>(p.GetBuffer(), p.GetBuffer() + p.GetDataSize());
}

// The three bytes of pixel (x, y), y from the top, as one number.
inline std::uint32_t PixelAt(const CPicture& p, int x, int y) {
  const BYTE* b = p.GetPixel(x, y);
  return b[0] | b[1] << 8 | b[2] << 16;
}

// Left half 255, right half 0, with a column of 128 where they meet.
inline void MakeHalfMask(CMask& mask, int width, int height) {
  mask.CreateMask(width, height, 0);
  mask.Rectangle(CRect(0, 0, width / 2, height), 255);
  mask.Rectangle(CRect(width / 2, 0, width / 2 + 1, height), 128);
}

// A new effect of class T with its parameters set by `set`.
template <class T, class F>
T* New(F set) {
  T* effect = new T;
  set(*effect);
  return effect;
}

inline CColorAdjust* NewAdjust(int hue, int saturation, int brightness, int contrast, int red,
                               int blue, int green) {
  return New<CColorAdjust>([&](CColorAdjust& a) {
    a.m_nHue = hue, a.m_nSaturation = saturation, a.m_nBrightness = brightness;
    a.m_nContrast = contrast, a.m_nRed = red, a.m_nBlue = blue, a.m_nGreen = green;
  });
}

inline void RunEffect(CEffectObj& effect, CPicture& target) {
  effect.SetPictures(&target, nullptr, nullptr);
  ASSERT_EQ(effect.Execute(), 1);
  ASSERT_EQ(effect.Wait(), 1);
}

// Points the masks' temporary files at a folder of the test's own, and tells whether any is left.
class WorkFolder {
 public:
  WorkFolder() : m_previous(strWorkPath) { strWorkPath = (m_dir.path().string() + "/").c_str(); }
  ~WorkFolder() { strWorkPath = m_previous; }
  bool Empty() const { return std::filesystem::is_empty(m_dir.path()); }

 private:
  TempDir m_dir;
  CString m_previous;
};

}  // namespace vardell::test
