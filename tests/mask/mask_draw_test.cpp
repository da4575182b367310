// Masks on device contexts: grey drawing, the bottom-up source origin, and device bitmaps.
#include "mask_fixtures.h"
#include "platform/dc.h"

namespace {

using namespace vardell::test;

TEST(MaskDraw, DrawsGreyWithTheTopBasedSourceRectangle) {
  CMask mask;
  CDC dc;
  CBitmap bitmap;
  ASSERT_TRUE(dc.CreateCompatibleDC(nullptr) && bitmap.CreateCompatibleBitmap(&dc, 8, 8));
  dc.SelectObject(&bitmap);
  dc.PatBlt(0, 0, 8, 8, WHITENESS);
  // The empty mask: only the rectangle-to-rectangle form answers TRUE.
  EXPECT_FALSE(mask.Draw(&dc, 0, 0, SRCCOPY) || mask.Draw(&dc, CRect(0, 0, 2, 2), SRCCOPY));
  EXPECT_TRUE(mask.Draw(&dc, CRect(0, 0, 2, 2), CRect(0, 0, 2, 2), SRCCOPY));
  Load(mask, {{0, 1, 2}, {10, 11, 12}, {20, 21, 22}, {30, 31, 32}});
  ASSERT_TRUE(mask.Draw(&dc, 1, 2, SRCCOPY));
  // Top-based rows 1..2 of the 4-row mask.
  ASSERT_TRUE(mask.Draw(&dc, CRect(5, 0, 8, 2), CRect(0, 1, 3, 3), SRCCOPY));
  std::vector<COLORREF> got;
  for (CPoint p :
       {CPoint(0, 0), CPoint(1, 2), CPoint(3, 2), CPoint(2, 5), CPoint(5, 0), CPoint(7, 1)})
    got.push_back(dc.GetPixel(p.x, p.y));
  EXPECT_EQ(got, std::vector<COLORREF>({RGB(255, 255, 255), 0, RGB(2, 2, 2), RGB(31, 31, 31),
                                        RGB(10, 10, 10), RGB(22, 22, 22)}));
  EXPECT_FALSE(mask.Draw(static_cast<CDC*>(nullptr), 0, 0, SRCCOPY));
}

TEST(MaskDraw, CreateDdbStretchesOrFits) {
  CMask mask;
  EXPECT_EQ(mask.CreateDDB(nullptr, CSize(4, 4), TRUE), nullptr);
  Load(mask, {{0, 1}});
  // The blue byte of each pixel of a new device bitmap of the given size.
  const auto pixels = [&](CSize size, BOOL stretch, int count) {
    HBITMAP b = mask.CreateDDB(nullptr, size, stretch);
    std::vector<DWORD> v(static_cast<std::size_t>(count));
    EXPECT_EQ(b ? GetBitmapBits(b, 4 * count, v.data()) : -1, 4 * count);
    for (auto& p : v) p &= 0xFF;
    if (b) ::DeleteObject(b);
    return v;
  };
  // The 2 x 1 mask fitted into 4 x 4 is 4 x 2, centred: white rows above and below.
  EXPECT_EQ(pixels(CSize(4, 4), FALSE, 16),
            (std::vector<DWORD>{255, 255, 255, 255, 0, 0, 1, 1, 0, 0, 1, 1, 255, 255, 255, 255}));
  EXPECT_EQ(pixels(CSize(4, 2), TRUE, 8), (std::vector<DWORD>{0, 0, 1, 1, 0, 0, 1, 1}));
  EXPECT_EQ(pixels(CSize(0, 0), FALSE, 2), (std::vector<DWORD>{0, 1}));
  EXPECT_EQ(mask.CreateDDB(nullptr, CSize(-3, 4), TRUE), nullptr);
}

}  // namespace
