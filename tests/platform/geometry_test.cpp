#include "platform/bitmap.h"
#include "platform/geometry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

// Each operation answers whether the result is non-empty; a failed one leaves the null rectangle.
TEST(CRectTest, IntersectUnionAndSubtract) {
  struct Case {
    char op;
    CRect a, b;
    BOOL ok;
    CRect out;
  };
  const Case cases[] = {
      {'&', {0, 0, 10, 10}, {10, 0, 20, 10}, FALSE, {}},  // touching edges
      {'&', {0, 0, 10, 10}, {5, -5, 15, 5}, TRUE, {5, 0, 10, 5}},
      {'&', {10, 10, 0, 0}, {-100, -100, 100, 100}, FALSE, {}},  // inverted means empty
      {'|', {0, 0, 0, 5}, {1, 1, 3, 3}, TRUE, {1, 1, 3, 3}},     // empty operands are ignored
      {'|', {4, 4, 4, 9}, {7, 7, 2, 2}, FALSE, {}},
      {'-', {0, 0, 10, 10}, {5, -1, 11, 11}, TRUE, {0, 0, 5, 10}},  // a whole side goes
      {'-', {0, 0, 10, 10}, {2, 2, 4, 4}, TRUE, {0, 0, 10, 10}},    // a hole changes nothing
      {'-', {0, 0, 10, 10}, {-1, -1, 11, 11}, FALSE, {}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.op << ' ' << &c - cases);
    CRect r(1, 2, 3, 4);
    EXPECT_EQ(c.op == '&'   ? r.IntersectRect(c.a, c.b)
              : c.op == '|' ? r.UnionRect(c.a, c.b)
                            : r.SubtractRect(c.a, c.b),
              c.ok);
    EXPECT_EQ(r, c.out);
  }
  EXPECT_EQ((CRect(0, 0, 4, 4) & CRect(2, 2, 8, 8)) | CRect(5, -1, 6, 1), CRect(2, -1, 6, 4));
}

TEST(CRectTest, EmptyNormaliseOffsetInflateAndCentre) {
  EXPECT_TRUE(CRect(3, 3, 3, 8).IsRectEmpty() && !CRect(3, 3, 3, 8).IsRectNull());
  CRect r(8, 9, 2, 1);
  EXPECT_TRUE(r.IsRectEmpty());
  r.NormalizeRect();
  EXPECT_TRUE(r == CRect(2, 1, 8, 9) && r.Width() == 6 && r.Height() == 8);
  r.OffsetRect(2, 3);
  r.InflateRect(1, 2);
  r.DeflateRect(1, 1, 2, 2);
  EXPECT_EQ(r, CRect(4, 3, 9, 12));
  EXPECT_EQ(CRect(-3, -3, 0, 0).CenterPoint(), CPoint(-1, -1));  // truncation towards zero
  EXPECT_TRUE(CRect(0, 0, 2, 2).PtInRect(CPoint(1, 1)));
  EXPECT_FALSE(CRect(0, 0, 2, 2).PtInRect(CPoint(2, 1)));  // right edge excluded
  EXPECT_EQ(CRect(1, 1, 3, 3) + CPoint(1, -1), CRect(2, 0, 4, 2));
}

TEST(Win32MacrosTest, PackedWordsAndColourChannels) {
  EXPECT_EQ(CPoint(static_cast<DWORD>(0xFFFF0005u)), CPoint(5, -1));  // signed 16-bit halves
  EXPECT_EQ(CPoint(5, 5) - CPoint(2, 7), CSize(3, -2));
  const COLORREF c = RGB(0x12, 0x34, 0x56);
  EXPECT_EQ(c, 0x00563412u);
  EXPECT_TRUE(GetRValue(c) == 0x12 && GetGValue(c) == 0x34 && GetBValue(c) == 0x56);
  EXPECT_EQ(MAKELONG(0xFFFF, 0x8000), static_cast<LONG>(0x8000FFFFu));
}

TEST(BitmapStructTest, HeadersSerialiseLittleEndianAndPacked) {
  BITMAPFILEHEADER fh{BITMAP_FILE_TYPE, 78, 0, 0, 54};
  std::array<BYTE, 14> raw;
  fh.Store(raw.data());
  EXPECT_EQ(raw, (std::array<BYTE, 14>{0x42, 0x4D, 0x4E, 0, 0, 0, 0, 0, 0, 0, 0x36, 0, 0, 0}));
  BITMAPINFOHEADER ih{};
  ih.Load(std::array<BYTE, 40>{0x28, 0, 0, 0, 3, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 1, 0, 8}.data());
  EXPECT_TRUE(ih.biSize == 40u && ih.biWidth == 3 && ih.biHeight == -2 && ih.biBitCount == 8);
  for (auto [w, bits, stride] : {std::array{1, 24, 4}, std::array{5, 24, 16}, std::array{5, 8, 8}})
    EXPECT_EQ(DibStride(w, bits), stride) << w << 'x' << bits;
}

}  // namespace
