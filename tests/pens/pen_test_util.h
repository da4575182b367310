// Shared helpers of the pen tests: style files, pictures with a pattern, and running a pen.
#pragma once

#include "pens/pen_kinds.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace vardell::test {

// An 8-bit BMP pen style of w x h pixels, all of value.
inline std::string MakeStyle(const TempDir& dir, int w, int h, BYTE value = 255) {
  CMask mask;
  mask.CreateMask(w, h, value);
  const std::string path = dir.File("style" + std::to_string(w) + "x" + std::to_string(h) + "_" +
                                    std::to_string(value) + ".bmp");
  EXPECT_TRUE(mask.StoreMask(path.c_str(), 0, 75));
  return path;
}

// A picture whose every pixel differs from its neighbours.
inline void MakePattern(CPicture& picture, int w, int h) {
  picture.CreatePicture(w, h, 0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      BYTE* p = picture.GetPixel(x, y);
      p[0] = static_cast<BYTE>(x * 7 + y);
      p[1] = static_cast<BYTE>(y * 5 + x * 3);
      p[2] = static_cast<BYTE>(x ^ y);
    }
}

inline bool SamePixels(const CPicture& a, const CPicture& b) {
  if (a.GetPictureSize() != b.GetPictureSize()) return false;
  const CSize s = a.GetPictureSize();
  for (int y = 0; y < s.cy; ++y)
    if (std::memcmp(a.GetLineBuffer(y), b.GetLineBuffer(y), static_cast<size_t>(s.cx) * 3) != 0)
      return false;
  return true;
}

// Runs the queued stroke to its end.
inline void RunPen(CPenObject& pen) {
  ASSERT_TRUE(pen.Execute());
  pen.Wait();
}

}  // namespace vardell::test
