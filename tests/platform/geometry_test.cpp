#include "platform/bitmap.h"
#include "platform/geometry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

TEST(CRectTest, IntersectionWritesNullRectangleWhenDisjointOrEmpty) {
  CRect r(1, 2, 3, 4);
  EXPECT_FALSE(r.IntersectRect(CRect(0, 0, 10, 10), CRect(10, 0, 20, 10)));  // touching edges
  EXPECT_TRUE(r.IsRectNull());
  r = CRect(5, 5, 6, 6);
  EXPECT_FALSE(r.IntersectRect(CRect(0, 0, 0, 10), CRect(-5, -5, 5, 5)));  // empty operand
  EXPECT_TRUE(r.IsRectNull());
  EXPECT_TRUE(r.IntersectRect(CRect(0, 0, 10, 10), CRect(5, -5, 15, 5)));
  EXPECT_EQ(r, CRect(5, 0, 10, 5));
  EXPECT_EQ(CRect(0, 0, 4, 4) & CRect(2, 2, 8, 8), CRect(2, 2, 4, 4));
  // An inverted rectangle is empty, so it meets nothing.
  EXPECT_TRUE((CRect(10, 10, 0, 0) & CRect(-100, -100, 100, 100)).IsRectNull());
}

TEST(CRectTest, UnionIgnoresEmptyOperands) {
  CRect r;
  EXPECT_TRUE(r.UnionRect(CRect(0, 0, 0, 5), CRect(1, 1, 3, 3)));
  EXPECT_EQ(r, CRect(1, 1, 3, 3));
  EXPECT_FALSE(r.UnionRect(CRect(4, 4, 4, 9), CRect(7, 7, 2, 2)));
  EXPECT_TRUE(r.IsRectNull());
  EXPECT_EQ(CRect(0, 0, 2, 2) | CRect(5, -1, 6, 1), CRect(0, -1, 6, 2));
}

TEST(CRectTest, EmptyIsNotNullAndNormaliseSwaps) {
  CRect r(3, 3, 3, 8);
  EXPECT_TRUE(r.IsRectEmpty());
  EXPECT_FALSE(r.IsRectNull());
  r = CRect(8, 9, 2, 1);
  EXPECT_TRUE(r.IsRectEmpty());
  r.NormalizeRect();
  EXPECT_EQ(r, CRect(2, 1, 8, 9));
  EXPECT_EQ(r.Width(), 6);
  EXPECT_EQ(r.Height(), 8);
}

TEST(CRectTest, OffsetInflateAndCentre) {
  CRect r(0, 0, 10, 5);
  r.OffsetRect(2, 3);
  EXPECT_EQ(r, CRect(2, 3, 12, 8));
  r.InflateRect(1, 2);
  EXPECT_EQ(r, CRect(1, 1, 13, 10));
  r.DeflateRect(1, 1, 2, 2);
  EXPECT_EQ(r, CRect(2, 2, 11, 8));
  EXPECT_EQ(CRect(-3, -3, 0, 0).CenterPoint(), CPoint(-1, -1));  // truncation towards zero
  EXPECT_TRUE(CRect(0, 0, 2, 2).PtInRect(CPoint(1, 1)));
  EXPECT_FALSE(CRect(0, 0, 2, 2).PtInRect(CPoint(2, 1)));  // right edge excluded
  EXPECT_EQ(CRect(1, 1, 3, 3) + CPoint(1, -1), CRect(2, 0, 4, 2));
}

TEST(CRectTest, SubtractOnlyRemovesWholeSides) {
  CRect r;
  EXPECT_TRUE(r.SubtractRect(CRect(0, 0, 10, 10), CRect(5, -1, 11, 11)));
  EXPECT_EQ(r, CRect(0, 0, 5, 10));
  EXPECT_TRUE(r.SubtractRect(CRect(0, 0, 10, 10), CRect(2, 2, 4, 4)));  // a hole: unchanged
  EXPECT_EQ(r, CRect(0, 0, 10, 10));
  EXPECT_FALSE(r.SubtractRect(CRect(0, 0, 10, 10), CRect(-1, -1, 11, 11)));
}

TEST(CPointTest, PackedWordsAreSigned16BitHalves) {
  CPoint p(static_cast<DWORD>((10001 << 16) + 10001));
  EXPECT_EQ(p, CPoint(10001, 10001));
  CPoint q(static_cast<DWORD>(0xFFFF0005u));
  EXPECT_EQ(q, CPoint(5, -1));
  EXPECT_EQ(CPoint(5, 5) - CPoint(2, 7), CSize(3, -2));
}

TEST(Win32MacrosTest, ColorRefChannels) {
  COLORREF c = RGB(0x12, 0x34, 0x56);
  EXPECT_EQ(c, 0x00563412u);
  EXPECT_EQ(GetRValue(c), 0x12);
  EXPECT_EQ(GetGValue(c), 0x34);
  EXPECT_EQ(GetBValue(c), 0x56);
  EXPECT_EQ(MAKELONG(0xFFFF, 0x8000), static_cast<LONG>(0x8000FFFFu));
}

TEST(BitmapStructTest, HeadersSerialiseLittleEndianAndPacked) {
  BITMAPFILEHEADER fh{BITMAP_FILE_TYPE, 78, 0, 0, 54};
  BYTE raw[14];
  fh.Store(raw);
  const BYTE expected[14] = {0x42, 0x4D, 0x4E, 0, 0, 0, 0, 0, 0, 0, 0x36, 0, 0, 0};
  EXPECT_EQ(0, std::memcmp(raw, expected, 14));
  BITMAPINFOHEADER ih{};
  ih.Load(std::array<BYTE, 40>{0x28, 0, 0, 0, 3, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 1, 0, 8}.data());
  EXPECT_EQ(ih.biSize, 40u);
  EXPECT_EQ(ih.biWidth, 3);
  EXPECT_EQ(ih.biHeight, -2);
  EXPECT_EQ(ih.biBitCount, 8);
  EXPECT_EQ(DibStride(1, 24), 4);
  EXPECT_EQ(DibStride(4, 24), 12);
  EXPECT_EQ(DibStride(5, 24), 16);
  EXPECT_EQ(DibStride(3, 8), 4);
  EXPECT_EQ(DibStride(5, 8), 8);
}

}  // namespace
