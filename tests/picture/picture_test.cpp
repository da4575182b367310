#include "picture_fixtures.h"

namespace {

using namespace vardell::test;

TEST(PictureBufferTest, LayoutStridesAndRowAddressing) {
  CPicture p;
  EXPECT_TRUE(vardell::ByteTables::Built());
  EXPECT_EQ(p.GetPictureRect(), CRect(0, 0, 0, 0));
  for (const auto& [width, stride] : {std::pair{1, 4}, {4, 12}, {5, 16}}) {
    ASSERT_TRUE(p.CreatePicture(width, 3, 7));
    EXPECT_EQ(p.GetDataWidth(), stride) << width;
    EXPECT_EQ(p.GetDataSize(), stride * 3) << width;
  }
  ASSERT_TRUE(p.CreatePicture(5, 3, 7));
  EXPECT_EQ(p.GetLineBuffer(0), p.GetBuffer() + 2 * 16);  // the top row is last in memory
  EXPECT_EQ(p.GetPixel(4, 1), p.GetBuffer() + 16 + 12);
  EXPECT_EQ(Bytes(p), std::vector<BYTE>(48, 7));

  // Invalid dimensions fail silently and keep the old buffer.
  ErrorRecorder errors;
  BYTE* old = p.GetBuffer();
  EXPECT_FALSE(p.CreatePicture(10, -1, 0));
  EXPECT_EQ(p.GetBuffer(), old);
  EXPECT_TRUE(errors.texts().empty());

  // The header outlives the buffer.
  p.DeleteObject();
  EXPECT_EQ(p.Width(), 5);
  EXPECT_EQ(p.GetPictureSize(), CSize(0, 0));

  // stride 300000 * 100000 rows wraps to -64771072 in 32 bits, as the platform words it; a row
  // alone may overflow too.
  for (const auto& [width, height, size] :
       {std::tuple{100000, 100000, "-64771072"}, std::tuple{0x7FFFFFFF, 1, "0"}}) {
    ASSERT_TRUE(p.CreatePicture(2, 2, 0));
    EXPECT_FALSE(p.CreatePicture(width, height, 0));
    EXPECT_EQ(errors.Single(),
              "Can not alloc memory which size is " + std::string(size) + " Bytes.");
    EXPECT_FALSE(p.IsValid());
    EXPECT_EQ(p.Width(), width);
    errors.Clear();
  }
}

// Pixels as letters, one row a string from the top, rows separated by '|': 'A' and 'B' for the
// two test colours, '.' for a grey, '?' for anything else.
const COLORREF kA = RGB(0xAA, 1, 2), kB = RGB(0xBB, 3, 4);
std::string Board(const CPicture& p) {
  std::string s;
  for (int y = 0; y < p.Height(); ++y) {
    s += y ? "|" : "";
    for (int x = 0; x < p.Width(); ++x) {
      const BYTE* q = p.GetPixel(x, y);
      const COLORREF c = RGB(q[2], q[1], q[0]);
      s += c == kA ? 'A' : c == kB ? 'B' : q[0] == q[1] && q[1] == q[2] ? '.' : '?';
    }
  }
  return s;
}

TEST(PictureBufferTest, ClearAndPaneFill) {
  CPicture p;
  EXPECT_FALSE(p.ClearPicture(kA));
  EXPECT_FALSE(p.ClearPicture(CRect(0, 0, 1, 1), kA));
  EXPECT_FALSE(p.PaneFill(CRect(0, 0, 1, 1), 4, kA, kB));

  ASSERT_TRUE(p.CreatePicture(5, 4, 0));
  ASSERT_TRUE(p.ClearPicture(BYTE{0x5A}));
  EXPECT_EQ(Bytes(p), std::vector<BYTE>(64, 0x5A));  // padding too
  // Clipped to the picture: columns 3..4, rows 0..1; the row padding stays.
  ASSERT_TRUE(p.ClearPicture(CRect(3, -2, 9, 2), kB));
  EXPECT_EQ(Board(p), "...BB|...BB|.....|.....");
  for (int y = 0; y < 4; ++y) EXPECT_EQ(p.GetLineBuffer(y)[15], 0x5A);
  EXPECT_TRUE(p.ClearPicture(CRect(6, 0, 9, 2), RGB(0, 0, 0)));  // nothing to clear

  // Squares anchored at the origin; a rectangle's rows start at 3 * top in the pattern row (top
  // being 0 here), so columns 4..7 of the pattern land at columns 0..3.
  ASSERT_TRUE(p.CreatePicture(8, 8, 0));
  ASSERT_TRUE(p.PaneFill(CRect(0, 0, 8, 8), 4, kA, kB));
  EXPECT_EQ(Board(p), "AAAABBBB|AAAABBBB|AAAABBBB|AAAABBBB|BBBBAAAA|BBBBAAAA|BBBBAAAA|BBBBAAAA");
  ASSERT_TRUE(p.ClearPicture(BYTE{0}));
  ASSERT_TRUE(p.PaneFill(CRect(4, 0, 8, 8), 4, kA, kB));
  EXPECT_EQ(Board(p), "BBBB....|BBBB....|BBBB....|BBBB....|AAAA....|AAAA....|AAAA....|AAAA....");
  // A rectangle outside the picture or a cell of 0 writes nothing.
  ASSERT_TRUE(p.ClearPicture(BYTE{0}));
  EXPECT_FALSE(p.PaneFill(CRect(4, 0, 9, 8), 4, kA, kB));
  EXPECT_FALSE(p.PaneFill(CRect(0, 0, 8, 8), 0, kA, kB));
  EXPECT_EQ(Bytes(p), std::vector<BYTE>(p.GetDataSize(), 0));
}

}  // namespace
