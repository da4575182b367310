#include "picture/picture.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using vardell::test::ErrorRecorder;

std::vector<BYTE> PixelBytes(const CPicture& p, int x, int y) {
  const BYTE* q = p.GetPixel(x, y);
  return {q[0], q[1], q[2]};
}

TEST(PictureBufferTest, LayoutStridesAndRowAddressing) {
  CPicture p;
  EXPECT_TRUE(vardell::ByteTables::Built());
  EXPECT_FALSE(p.IsValid());
  EXPECT_EQ(p.GetPictureRect(), CRect(0, 0, 0, 0));

  const int strides[][2] = {{1, 4}, {4, 12}, {5, 16}, {3, 12}};
  for (const auto& [width, stride] : strides) {
    ASSERT_TRUE(p.CreatePicture(width, 3, 7));
    EXPECT_EQ(p.GetDataWidth(), stride) << width;
    EXPECT_EQ(p.GetDataSize(), stride * 3) << width;
  }
  ASSERT_TRUE(p.CreatePicture(5, 3, 7));
  EXPECT_EQ(p.GetLineBuffer(0), p.GetBuffer() + 2 * 16);  // the top row is last in memory
  EXPECT_EQ(p.GetLineBuffer(2), p.GetBuffer());
  EXPECT_EQ(p.GetPixel(4, 1), p.GetBuffer() + 16 + 12);
  EXPECT_EQ(p.GetPictureSize(), CSize(5, 3));
  EXPECT_EQ(p.GetPictureRect(), CRect(0, 0, 5, 3));
  for (int i = 0; i < p.GetDataSize(); ++i) ASSERT_EQ(p.GetBuffer()[i], 7);

  // Invalid dimensions fail silently and keep the old buffer.
  ErrorRecorder errors;
  BYTE* old = p.GetBuffer();
  EXPECT_FALSE(p.CreatePicture(0, 10, 0));
  EXPECT_FALSE(p.CreatePicture(10, -1, 0));
  EXPECT_EQ(p.GetBuffer(), old);
  EXPECT_EQ(p.Width(), 5);
  EXPECT_TRUE(errors.texts().empty());

  // The header outlives the buffer.
  p.DeleteObject();
  EXPECT_FALSE(p.IsValid());
  EXPECT_EQ(p.Width(), 5);
  EXPECT_EQ(p.GetPictureSize(), CSize(0, 0));
}

TEST(PictureBufferTest, AbsurdSizesFailWithTheMemoryText) {
  ErrorRecorder errors;
  CPicture p;
  ASSERT_TRUE(p.CreatePicture(2, 2, 0));
  // stride 300000 * 100000 rows wraps to -64771072 in 32 bits, as the platform words it.
  EXPECT_FALSE(p.CreatePicture(100000, 100000, 0));
  EXPECT_EQ(errors.Single(), "Can not alloc memory which size is -64771072 Bytes.");
  EXPECT_FALSE(p.IsValid());
  EXPECT_EQ(p.Width(), 100000);
  errors.Clear();
  // A width whose row alone overflows 32 bits.
  EXPECT_FALSE(p.CreatePicture(0x7FFFFFFF, 1, 0));
  EXPECT_EQ(errors.Single(), "Can not alloc memory which size is 0 Bytes.");
  EXPECT_FALSE(p.IsValid());
}

TEST(PictureBufferTest, ClearFillsPixelsAndRectangles) {
  CPicture p;
  EXPECT_FALSE(p.ClearPicture(RGB(1, 2, 3)));
  EXPECT_FALSE(p.ClearPicture(BYTE{9}));
  EXPECT_FALSE(p.ClearPicture(CRect(0, 0, 1, 1), RGB(1, 2, 3)));

  ASSERT_TRUE(p.CreatePicture(5, 4, 0));
  ASSERT_TRUE(p.ClearPicture(COLORREF{0x000000FF}));  // red
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) ASSERT_EQ(PixelBytes(p, x, y), (std::vector<BYTE>{0, 0, 0xFF}));

  ASSERT_TRUE(p.ClearPicture(BYTE{0x5A}));
  for (int i = 0; i < p.GetDataSize(); ++i) ASSERT_EQ(p.GetBuffer()[i], 0x5A);  // padding too

  // Clipped to the picture: columns 3..4, rows 0..1.
  ASSERT_TRUE(p.ClearPicture(CRect(3, -2, 9, 2), RGB(0x10, 0x20, 0x30)));
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      const bool inside = x >= 3 && y < 2;
      EXPECT_EQ(PixelBytes(p, x, y), inside ? (std::vector<BYTE>{0x30, 0x20, 0x10})
                                            : (std::vector<BYTE>{0x5A, 0x5A, 0x5A}))
          << x << "," << y;
    }
  for (int y = 0; y < 4; ++y) EXPECT_EQ(p.GetLineBuffer(y)[15], 0x5A);  // padding untouched
  EXPECT_TRUE(p.ClearPicture(CRect(6, 0, 9, 2), RGB(0, 0, 0)));         // nothing to clear
}

// 'A' for color1, 'B' for color2, '.' for the background, one string a row from the top.
std::vector<std::string> Board(const CPicture& p) {
  std::vector<std::string> rows;
  for (int y = 0; y < p.Height(); ++y) {
    std::string row;
    for (int x = 0; x < p.Width(); ++x) {
      const BYTE* q = p.GetPixel(x, y);
      row += q[2] == 0xAA ? 'A' : q[2] == 0xBB ? 'B' : '.';
    }
    rows.push_back(row);
  }
  return rows;
}

TEST(PictureBufferTest, PaneFillAnchorsSquaresAtTheOriginAndOffsetsRowsByTop) {
  const COLORREF a = RGB(0xAA, 1, 2), b = RGB(0xBB, 3, 4);
  CPicture p;
  EXPECT_FALSE(p.PaneFill(CRect(0, 0, 1, 1), 4, a, b));
  ASSERT_TRUE(p.CreatePicture(8, 8, 0));
  ASSERT_TRUE(p.PaneFill(CRect(0, 0, 8, 8), 4, a, b));
  const std::vector<std::string> four = {"AAAABBBB", "AAAABBBB", "AAAABBBB", "AAAABBBB",
                                         "BBBBAAAA", "BBBBAAAA", "BBBBAAAA", "BBBBAAAA"};
  EXPECT_EQ(Board(p), four);

  // Columns 4..7 of the pattern land at columns 0..3: rows start at 3 * top, top being 0.
  ASSERT_TRUE(p.ClearPicture(BYTE{0}));
  ASSERT_TRUE(p.PaneFill(CRect(4, 0, 8, 8), 4, a, b));
  const std::vector<std::string> shifted = {"BBBB....", "BBBB....", "BBBB....", "BBBB....",
                                            "AAAA....", "AAAA....", "AAAA....", "AAAA...."};
  EXPECT_EQ(Board(p), shifted);

  // A rectangle outside the picture or a cell of 0 writes nothing.
  ASSERT_TRUE(p.ClearPicture(BYTE{0}));
  EXPECT_FALSE(p.PaneFill(CRect(4, 0, 9, 8), 4, a, b));
  EXPECT_FALSE(p.PaneFill(CRect(-1, 0, 8, 8), 4, a, b));
  EXPECT_FALSE(p.PaneFill(CRect(0, 0, 8, 8), 0, a, b));
  EXPECT_EQ(Board(p), std::vector<std::string>(8, "........"));
}

TEST(PictureBufferTest, DuplicateCopiesDataIntoAFreshTarget) {
  CPicture source, target;
  EXPECT_FALSE(source.Duplicate(target));
  ASSERT_TRUE(target.CreatePicture(2, 2, 1));
  ASSERT_TRUE(source.CreatePicture(3, 2, 0));
  for (int i = 0; i < source.GetDataSize(); ++i) source.GetBuffer()[i] = static_cast<BYTE>(i);
  ASSERT_TRUE(source.Duplicate(target));
  EXPECT_EQ(target.GetPictureSize(), CSize(3, 2));
  EXPECT_EQ(0, std::memcmp(target.GetBuffer(), source.GetBuffer(), 24));
  EXPECT_TRUE(source.Duplicate(source));
  EXPECT_EQ(source.GetBuffer()[23], 23);
}

}  // namespace
