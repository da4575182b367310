// Rectangle and region fills, and the seed fills against a breadth-first oracle.
#include "mask/mask.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <deque>
#include <vector>

namespace {

using vardell::test::Rng;

std::vector<BYTE> Pixels(CMask& m) {
  std::vector<BYTE> v;
  for (int y = 0; y < m.Height(); ++y)
    v.insert(v.end(), m.GetPixel(0, y), m.GetPixel(0, y) + m.Width());
  return v;
}

TEST(MaskFill, RectangleIsClippedAndLeavesThePadding) {
  CMask mask;
  EXPECT_FALSE(mask.Rectangle(CRect(0, 0, 1, 1), 1));
  ASSERT_TRUE(mask.CreateMask(3, 3, 0));
  EXPECT_TRUE(mask.Rectangle(CRect(-5, 1, 2, 99), 7));
  EXPECT_EQ(Pixels(mask), (std::vector<BYTE>{0, 0, 0, 7, 7, 0, 7, 7, 0}));
  EXPECT_EQ(mask.GetBuffer()[3], 0);
  EXPECT_TRUE(mask.Rectangle(CRect(5, 5, 9, 9), 1));  // nothing inside
}

TEST(MaskFill, FillRegionMatchesPtInRegion) {
  CMask mask;
  CRgn region, ring, hole;
  ASSERT_TRUE(ring.CreateEllipticRgn(-3, 2, 25, 17));
  ASSERT_TRUE(hole.CreateRectRgn(5, 5, 9, 30));
  ASSERT_TRUE(region.CreateRectRgn(0, 0, 0, 0));
  ASSERT_NE(region.CombineRgn(&ring, &hole, RGN_DIFF), ERROR);
  EXPECT_FALSE(mask.FillRegion(&region, 9));
  ASSERT_TRUE(mask.CreateMask(20, 16, 1));
  ASSERT_TRUE(mask.FillRegion(&region, 9));
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 20; ++x)
      ASSERT_EQ(*mask.GetPixel(x, y), region.PtInRegion(x, y) ? 9 : 1) << x << "," << y;
  EXPECT_FALSE(mask.FillRegion(nullptr, 9));
}

TEST(MaskFill, SeedFillKnownAnswers) {
  CMask mask;
  EXPECT_EQ(mask.FloodFill(0, 0, 1), 0);
  ASSERT_TRUE(mask.CreateMask(3, 3, 0));
  CWordArray left, end, row;
  EXPECT_EQ(mask.FloodFillRecord(1, 1, 9, left, end, row), 9);
  ASSERT_EQ(row.GetSize(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(left[i], 0);
    EXPECT_EQ(end[i], 3);
  }
  EXPECT_EQ(row[0], 1);
  EXPECT_EQ(row[1], 0);
  EXPECT_EQ(row[2], 2);
  // Already the value, or a seed outside: nothing, and the records are only appended to.
  EXPECT_EQ(mask.FloodFillRecord(2, 2, 9, left, end, row), 0);
  EXPECT_EQ(mask.FloodFill(-1, 0, 5), 0);
  EXPECT_EQ(mask.FloodFill(0, 3, 5), 0);
  EXPECT_EQ(mask.FloodFill(3, 0, 5), 0);
  EXPECT_EQ(row.GetSize(), 3);

  // A ring of 255 with two cells inside, and a region touching the outside only at a corner.
  ASSERT_TRUE(mask.CreateMask(6, 5, 0));
  mask.Rectangle(CRect(0, 0, 4, 4), 255);
  mask.Rectangle(CRect(1, 1, 3, 3), 0);
  *mask.GetPixel(3, 3) = 0;  // touches the inside (2, 2) only at a corner
  EXPECT_EQ(mask.FloodFill(1, 1, 50), 4);
  EXPECT_EQ(*mask.GetPixel(3, 3), 0);
  EXPECT_EQ(mask.FloodFill(4, 0, 70), 2 * 5 + 4 + 1);
  EXPECT_EQ(*mask.GetPixel(2, 2), 50);
  EXPECT_EQ(*mask.GetPixel(3, 3), 70);
}

// The definition: every pixel 4-connected to the seed through pixels of the seed's value.
int BfsFill(std::vector<BYTE>& p, int w, int h, int x, int y, BYTE value) {
  const BYTE old = p[static_cast<std::size_t>(y * w + x)];
  if (old == value) return 0;
  std::deque<std::pair<int, int>> queue{{x, y}};
  p[static_cast<std::size_t>(y * w + x)] = value;
  int count = 0;
  while (!queue.empty()) {
    auto [cx, cy] = queue.front();
    queue.pop_front();
    ++count;
    const int dx[] = {1, -1, 0, 0}, dy[] = {0, 0, 1, -1};
    for (int k = 0; k < 4; ++k) {
      const int nx = cx + dx[k], ny = cy + dy[k];
      if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
      BYTE& q = p[static_cast<std::size_t>(ny * w + nx)];
      if (q == old) q = value, queue.push_back({nx, ny});
    }
  }
  return count;
}

TEST(MaskFill, SeedFillsMatchBreadthFirstSearch) {
  Rng rng(99);
  for (int round = 0; round < 300; ++round) {
    const int w = rng.Range(1, 70), h = rng.Range(1, 50);
    CMask mask;
    ASSERT_TRUE(mask.CreateMask(w, h, 0));
    // Few values, so that regions are large and winding.
    const int values = rng.Range(2, 3);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        *mask.GetPixel(x, y) = static_cast<BYTE>(rng.Range(0, values - 1));
    std::vector<BYTE> expected = Pixels(mask);
    const int x = rng.Range(0, w - 1), y = rng.Range(0, h - 1);
    const BYTE value = static_cast<BYTE>(rng.Range(0, 3));
    const int count = BfsFill(expected, w, h, x, y, value);
    std::vector<BYTE> before = Pixels(mask);
    CWordArray left, end, row;
    ASSERT_EQ(mask.FloodFillRecord(x, y, value, left, end, row), count) << "round " << round;
    ASSERT_EQ(Pixels(mask), expected) << "round " << round;
    // The runs are disjoint and cover exactly the filled pixels.
    int covered = 0;
    for (int i = 0; i < row.GetSize(); ++i) {
      ASSERT_LT(left[i], end[i]);
      for (int c = left[i]; c < end[i]; ++c) {
        BYTE& b = before[static_cast<std::size_t>(row[i] * w + c)];
        ASSERT_NE(b, 0xEE);
        b = 0xEE;
        ++covered;
      }
    }
    EXPECT_EQ(covered, count);
  }
}

}  // namespace
