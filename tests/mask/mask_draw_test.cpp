// Masks on device contexts: grey drawing, the bottom-up source origin, and device bitmaps.
#include "mask/mask.h"
#include "platform/dc.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A memory DC drawing into a white bitmap of w x h.
struct Surface {
  Surface(int w, int h) {
    EXPECT_TRUE(dc.CreateCompatibleDC(nullptr));
    EXPECT_TRUE(bitmap.CreateCompatibleBitmap(&dc, w, h));
    dc.SelectObject(&bitmap);
    dc.PatBlt(0, 0, w, h, WHITENESS);
  }
  int Grey(int x, int y) {
    const COLORREF c = dc.GetPixel(x, y);
    EXPECT_TRUE(GetRValue(c) == GetGValue(c) && GetGValue(c) == GetBValue(c)) << x << "," << y;
    return GetRValue(c);
  }
  CDC dc;
  CBitmap bitmap;
};

// Pixel (x, y) holds 10 * y + x.
void Numbered(CMask& m, int w, int h) {
  ASSERT_TRUE(m.CreateMask(w, h, 0));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) *m.GetPixel(x, y) = static_cast<BYTE>(10 * y + x);
}

TEST(MaskDraw, DrawsGreyWithTheTopBasedSourceRectangle) {
  CMask mask;
  Surface s(8, 8);
  // The empty mask: only the rectangle-to-rectangle form answers TRUE.
  EXPECT_FALSE(mask.Draw(&s.dc, 0, 0, SRCCOPY));
  EXPECT_FALSE(mask.Draw(&s.dc, CRect(0, 0, 2, 2), SRCCOPY));
  EXPECT_TRUE(mask.Draw(&s.dc, CRect(0, 0, 2, 2), CRect(0, 0, 2, 2), SRCCOPY));
  EXPECT_EQ(s.Grey(0, 0), 255);

  Numbered(mask, 3, 4);
  ASSERT_TRUE(mask.Draw(&s.dc, 1, 2, SRCCOPY));
  EXPECT_EQ(s.Grey(1, 2), 0);
  EXPECT_EQ(s.Grey(3, 2), 2);
  EXPECT_EQ(s.Grey(2, 5), 31);
  EXPECT_EQ(s.Grey(0, 2), 255);
  // Top-based rows 1..2 of the 4-row mask.
  ASSERT_TRUE(mask.Draw(&s.dc, CRect(5, 0, 8, 2), CRect(0, 1, 3, 3), SRCCOPY));
  EXPECT_EQ(s.Grey(5, 0), 10);
  EXPECT_EQ(s.Grey(7, 1), 22);
  // The whole mask stretched to twice its size.
  Surface big(6, 8);
  ASSERT_TRUE(mask.Draw(&big.dc, CRect(0, 0, 6, 8), SRCCOPY));
  EXPECT_EQ(big.Grey(5, 7), 32);
  EXPECT_EQ(big.Grey(2, 3), 11);
  EXPECT_FALSE(mask.Draw(static_cast<CDC*>(nullptr), 0, 0, SRCCOPY));
}

TEST(MaskDraw, CreateDdbStretchesOrFits) {
  CMask mask;
  EXPECT_EQ(mask.CreateDDB(nullptr, CSize(4, 4), TRUE), nullptr);
  Numbered(mask, 2, 1);  // values 0 and 1
  const auto pixels = [](HBITMAP b, int w, int h) {
    std::vector<DWORD> v(static_cast<std::size_t>(w * h));
    EXPECT_EQ(GetBitmapBits(b, w * h * 4, v.data()), w * h * 4);
    for (auto& p : v) p &= 0xFF;  // the blue byte of each grey pixel
    ::DeleteObject(b);
    return v;
  };
  HBITMAP fitted = mask.CreateDDB(nullptr, CSize(4, 4), FALSE);
  ASSERT_NE(fitted, nullptr);
  // The 2 x 1 mask fitted into 4 x 4 is 4 x 2, centred: white rows above and below.
  EXPECT_EQ(pixels(fitted, 4, 4),
            (std::vector<DWORD>{255, 255, 255, 255, 0, 0, 1, 1, 0, 0, 1, 1, 255, 255, 255, 255}));
  HBITMAP stretched = mask.CreateDDB(nullptr, CSize(4, 2), TRUE);
  ASSERT_NE(stretched, nullptr);
  EXPECT_EQ(pixels(stretched, 4, 2), (std::vector<DWORD>{0, 0, 1, 1, 0, 0, 1, 1}));
  HBITMAP own = mask.CreateDDB(nullptr, CSize(0, 0), FALSE);
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(pixels(own, 2, 1), (std::vector<DWORD>{0, 1}));
  EXPECT_EQ(mask.CreateDDB(nullptr, CSize(-3, 4), TRUE), nullptr);
}

}  // namespace
