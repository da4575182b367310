// Shared helpers of the pen tests: style files, pictures with a pattern, and pens set up, fed and
// run.
#pragma once

#include "pens/pen_kinds.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

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

// The pen given its target (with a source picture and a target mask when asked) and its style.
inline void Prepare(CPenObject& pen, CPicture* target, const std::string& style, COLORREF color,
                    UINT size, CPicture* source = nullptr, CMask* mask = nullptr) {
  pen.SetPictures(target, source, mask);
  pen.SetPenStyle(style.c_str(), color, size);
}

// Queues the points, each with its pressure, and runs the stroke to its end.
inline void Paint(CPenObject& pen, std::initializer_list<std::pair<CPoint, BYTE>> points) {
  for (const auto& [at, pressure] : points) pen.AddPoint(at, pressure);
  ASSERT_TRUE(pen.Execute());
  pen.Wait();
}

// Paints the points with the pen shown on a message window; answers the message it posted.
inline MSG PaintShown(CPenObject& pen, std::initializer_list<std::pair<CPoint, BYTE>> points,
                      UINT message = WM_USER) {
  CWnd wnd;
  wnd.CreateMessageWindow();
  pen.SetDisplay(&wnd, message);
  Paint(pen, points);
  pen.SetDisplay(nullptr, 0);
  MSG msg{};
  EXPECT_TRUE(wnd.PeekPostedMessage(msg));
  EXPECT_EQ(message, msg.message);
  return msg;
}

// The three bytes of pixel (x, y) as one number.
inline std::uint32_t Px(const CPicture& p, int x, int y) {
  const BYTE* b = p.GetPixel(x, y);
  return b[0] | b[1] << 8 | b[2] << 16;
}

// A point carrying the stroke-start mark.
inline CPoint Marked(int x, int y) { return CPoint(x + 16384, y + 16384); }

}  // namespace vardell::test
