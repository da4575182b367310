// Masks on device contexts: grey drawing, the bottom-up source origin, and device bitmaps.
#include "mask_fixtures.h"
#include "platform/dc.h"

namespace {

using namespace vardell::test;

// A memory DC drawing into a white bitmap of w x h.
struct Surface {
  Surface(int w, int h) {
    EXPECT_TRUE(dc.CreateCompatibleDC(nullptr) && bitmap.CreateCompatibleBitmap(&dc, w, h));
    dc.SelectObject(&bitmap);
    dc.PatBlt(0, 0, w, h, WHITENESS);
  }
  // The grey levels at the points, or -1 where a point is not grey.
  std::vector<int> Grey(std::vector<CPoint> points) {
    std::vector<int> v;
    for (CPoint p : points) {
      const COLORREF c = dc.GetPixel(p.x, p.y);
      v.push_back(c == RGB(GetRValue(c), GetRValue(c), GetRValue(c)) ? GetRValue(c) : -1);
    }
    return v;
  }
  CDC dc;
  CBitmap bitmap;
};

TEST(MaskDraw, DrawsGreyWithTheTopBasedSourceRectangle) {
  CMask mask;
  Surface s(8, 8), big(6, 8);
  // The empty mask: only the rectangle-to-rectangle form answers TRUE.
  EXPECT_FALSE(mask.Draw(&s.dc, 0, 0, SRCCOPY) || mask.Draw(&s.dc, CRect(0, 0, 2, 2), SRCCOPY));
  EXPECT_TRUE(mask.Draw(&s.dc, CRect(0, 0, 2, 2), CRect(0, 0, 2, 2), SRCCOPY));
  Load(mask, {{0, 1, 2}, {10, 11, 12}, {20, 21, 22}, {30, 31, 32}});
  ASSERT_TRUE(mask.Draw(&s.dc, 1, 2, SRCCOPY));
  // Top-based rows 1..2 of the 4-row mask.
  ASSERT_TRUE(mask.Draw(&s.dc, CRect(5, 0, 8, 2), CRect(0, 1, 3, 3), SRCCOPY));
  EXPECT_EQ(s.Grey({{0, 0}, {1, 2}, {3, 2}, {2, 5}, {0, 2}, {5, 0}, {7, 1}}),
            std::vector<int>({255, 0, 2, 31, 255, 10, 22}));
  // The whole mask stretched to twice its size.
  ASSERT_TRUE(mask.Draw(&big.dc, CRect(0, 0, 6, 8), SRCCOPY));
  EXPECT_EQ(big.Grey({{5, 7}, {2, 3}}), std::vector<int>({32, 11}));
  EXPECT_FALSE(mask.Draw(static_cast<CDC*>(nullptr), 0, 0, SRCCOPY));
}

TEST(MaskDraw, CreateDdbStretchesOrFits) {
  CMask mask;
  EXPECT_EQ(mask.CreateDDB(nullptr, CSize(4, 4), TRUE), nullptr);
  Load(mask, {{0, 1}});
  // The blue byte of each pixel of a new device bitmap of the given size.
  const auto pixels = [&](CSize size, BOOL stretch, int w, int h) {
    HBITMAP b = mask.CreateDDB(nullptr, size, stretch);
    std::vector<DWORD> v(static_cast<std::size_t>(w * h));
    EXPECT_EQ(b ? GetBitmapBits(b, w * h * 4, v.data()) : -1, w * h * 4);
    for (auto& p : v) p &= 0xFF;
    if (b) ::DeleteObject(b);
    return v;
  };
  // The 2 x 1 mask fitted into 4 x 4 is 4 x 2, centred: white rows above and below.
  EXPECT_EQ(pixels(CSize(4, 4), FALSE, 4, 4),
            (std::vector<DWORD>{255, 255, 255, 255, 0, 0, 1, 1, 0, 0, 1, 1, 255, 255, 255, 255}));
  EXPECT_EQ(pixels(CSize(4, 2), TRUE, 4, 2), (std::vector<DWORD>{0, 0, 1, 1, 0, 0, 1, 1}));
  EXPECT_EQ(pixels(CSize(0, 0), FALSE, 2, 1), (std::vector<DWORD>{0, 1}));
  EXPECT_EQ(mask.CreateDDB(nullptr, CSize(-3, 4), TRUE), nullptr);
}

}  // namespace
