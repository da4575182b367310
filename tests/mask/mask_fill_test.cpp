// Rectangle and region fills, and the seed fills against a breadth-first oracle.
#include "mask_fixtures.h"

#include <deque>

namespace {

using namespace vardell::test;

TEST(MaskFill, RectangleAndRegion) {
  CMask mask, empty;
  CRgn region, hole;
  EXPECT_FALSE(empty.Rectangle(CRect(0, 0, 1, 1), 1));
  ASSERT_TRUE(mask.CreateMask(3, 3, 0));
  // Clipped to the mask; the padding is left alone.
  EXPECT_TRUE(mask.Rectangle(CRect(-5, 1, 2, 99), 7) && mask.Rectangle(CRect(5, 5, 9, 9), 1));
  EXPECT_EQ(Bytes(mask), std::vector<BYTE>({7, 7, 0, 0, 7, 7, 0, 0, 0, 0, 0, 0}));
  ASSERT_TRUE(region.CreateEllipticRgn(-3, 2, 25, 17) && hole.CreateRectRgn(5, 5, 9, 30));
  ASSERT_NE(region.CombineRgn(&region, &hole, RGN_DIFF), ERROR);
  ASSERT_TRUE(mask.CreateMask(20, 16, 1));
  ASSERT_TRUE(mask.FillRegion(&region, 9));
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 20; ++x)
      ASSERT_EQ(*mask.GetPixel(x, y), region.PtInRegion(x, y) ? 9 : 1) << x << "," << y;
  EXPECT_FALSE(mask.FillRegion(nullptr, 9) || empty.FillRegion(&region, 9));
}

TEST(MaskFill, SeedFillKnownAnswers) {
  CMask mask;
  CWordArray left, end, row;
  EXPECT_EQ(mask.FloodFill(0, 0, 1), 0);
  ASSERT_TRUE(mask.CreateMask(3, 3, 0));
  EXPECT_EQ(mask.FloodFillRecord(1, 1, 9, left, end, row), 9);
  // Already the value, or a seed outside: nothing, and the records are only appended to.
  EXPECT_EQ(mask.FloodFillRecord(2, 2, 9, left, end, row), 0);
  for (CPoint p : {CPoint(-1, 0), CPoint(0, 3), CPoint(3, 0)})
    EXPECT_EQ(mask.FloodFill(p.x, p.y, 5), 0);
  std::vector<int> runs;
  for (int i = 0; i < row.GetSize(); ++i) runs.insert(runs.end(), {row[i], left[i], end[i]});
  EXPECT_EQ(runs, std::vector<int>({1, 0, 3, 0, 0, 3, 2, 0, 3}));
  // A fill long enough for the seed queue to drop its front.
  ASSERT_TRUE(mask.CreateMask(3, 5000, 0));
  EXPECT_EQ(mask.FloodFill(1, 2500, 1), 15000);
}

// The definition: every pixel 4-connected to the seed through pixels of the seed's value.
int BfsFill(Image& p, int x, int y, int value) {
  const int old = p[y][x], h = static_cast<int>(p.size()), w = static_cast<int>(p[0].size());
  if (old == value) return 0;
  std::deque<CPoint> queue{{x, y}};
  p[y][x] = value;
  int count = 0;
  for (; !queue.empty(); queue.pop_front(), ++count)
    for (CSize step : {CSize(1, 0), CSize(-1, 0), CSize(0, 1), CSize(0, -1)}) {
      const CPoint n = queue.front() + step;
      if (n.x >= 0 && n.y >= 0 && n.x < w && n.y < h && p[n.y][n.x] == old)
        p[n.y][n.x] = value, queue.push_back(n);
    }
  return count;
}

TEST(MaskFill, SeedFillsMatchBreadthFirstSearch) {
  Rng rng(99);
  for (int round = 0; round < 200; ++round) {
    // Few values, so that regions are large and winding; every third round mostly 0, with
    // rows of long runs.
    const int values = rng.Range(2, 3), sparse = round % 3 == 0;
    Image before(static_cast<std::size_t>(rng.Range(1, 50)),
                 std::vector<int>(static_cast<std::size_t>(rng.Range(1, 70))));
    for (auto& line : before)
      for (auto& v : line) v = sparse ? rng.Range(0, 20) == 0 : rng.Range(0, values - 1);
    CMask mask;
    Load(mask, before);
    Image expected = before;
    const int x = rng.Range(0, mask.Width() - 1), y = rng.Range(0, mask.Height() - 1);
    const BYTE value = static_cast<BYTE>(rng.Range(0, 3));
    const int count = BfsFill(expected, x, y, value);
    CWordArray left, end, row;
    ASSERT_EQ(mask.FloodFillRecord(x, y, value, left, end, row), count) << "round " << round;
    ASSERT_EQ(Read(mask), expected) << "round " << round;
    // The runs are disjoint and cover exactly the filled pixels.
    int covered = 0;
    for (int i = 0; i < row.GetSize(); ++i)
      for (int c = left[i]; c < end[i]; ++c, ++covered) {
        ASSERT_NE(before[row[i]][c], -1) << "round " << round;
        before[row[i]][c] = -1;
      }
    EXPECT_EQ(covered, count);
  }
}

}  // namespace
