// Combination of one mask into another: modes, levels, clipping, against a per-pixel oracle.
#include "hostutil/geometry_utils.h"
#include "picture/byte_tables.h"
#include "mask_fixtures.h"

#include <algorithm>
#include <tuple>

namespace {

using namespace vardell::test;

TEST(MaskCombine, ColumnMapModesAndLevels) {
  CMask src, dst, empty;
  Load(src, {{10, 20, 30, 40}});
  ASSERT_TRUE(dst.CreateMask(8, 2, 0));
  // Rows and columns doubled; a source row used again is copied from the row just written.
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 8, 2), CRect(0, 0, 4, 1), MASK_COPY));
  const std::vector<int> doubled = {10, 10, 20, 20, 30, 30, 40, 40};
  EXPECT_EQ(Read(dst), Image({doubled, doubled}));
  // Reduction 5 -> 3 takes columns 0, 1, 3; an unknown mode copies.
  Load(src, {{1, 2, 3, 4, 5}});
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 3, 1), CRect(0, 0, 5, 1), 77));
  EXPECT_EQ(Read(dst), Image({{1, 2, 4, 20, 30, 30, 40, 40}, doubled}));
  Load(src, {{100, 100}});
  Load(dst, {{200, 200}});
  ASSERT_TRUE(src.DrawTransparent(dst, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), 128, FALSE));
  ASSERT_TRUE(src.DrawTransparent(dst, CRect(1, 0, 2, 1), CRect(1, 0, 2, 1), 128, TRUE));
  EXPECT_EQ(Read(dst), Image({{250, 150}}));  // M[128][100] = 50
  // Whole unpadded masks, done as one span.
  Load(src, {{15, 15, 15, 15, 15, 15, 15, 192}, {15, 15, 15, 15, 15, 15, 15, 15}});
  ASSERT_TRUE(dst.CreateMask(8, 2, 0x30));
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 8, 2), CRect(0, 0, 8, 2), MASK_OR));
  EXPECT_EQ(Read(dst), Image({{63, 63, 63, 63, 63, 63, 63, 240}, std::vector<int>(8, 63)}));
  EXPECT_FALSE(empty.Draw(dst, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), MASK_OR));
  EXPECT_FALSE(src.Draw(empty, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), MASK_OR));
  EXPECT_FALSE(src.DrawTransparent(empty, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), 9, FALSE));
}

// The per-pixel definition over the same clipped rectangles and maps.
void Oracle(CMask& src, CMask& dst, CRect d, CRect s, int mode, int level) {
  for (auto [a, b, m] : {std::tuple{&d, &s, &dst}, std::tuple{&s, &d, &src}}) {
    CRect c;
    c.IntersectRect(*a, m->GetMaskRect());
    if (c == *a) continue;
    CRect t = c;
    ScaleTransform(*a, *b, t);
    *b = t, *a = c;
  }
  const auto& mul = vardell::ByteTables::Get().mul;
  for (int j = 0; j < d.Height(); ++j)
    for (int i = 0; i < d.Width(); ++i) {
      const int sv =
          *src.GetPixel(s.left + i * s.Width() / d.Width(), s.top + j * s.Height() / d.Height());
      BYTE& dv = *dst.GetPixel(d.left + i, d.top + j);
      const int m = mul[level][sv];
      dv = static_cast<BYTE>(mode == MASK_OR       ? dv | sv
                             : mode == MASK_AND    ? dv & sv
                             : mode == MASK_REMOVE ? dv & ~sv
                             : mode == 4           ? std::min(dv + m, 255)
                             : mode == 5           ? std::max(dv - m, 0)
                                                   : sv);
    }
}

TEST(MaskCombine, RandomRectanglesMatchThePerPixelDefinition) {
  Rng rng(4242);
  for (int round = 0; round < 300; ++round) {
    CMask src, dst, expected;
    // Rows up to 150 wide, so that the 64-byte blocks of the kernels are reached too.
    const int wide = round % 2 ? 40 : 150;
    for (CMask* m : {&src, &dst}) {
      ASSERT_TRUE(m->CreateMask(rng.Range(1, wide), rng.Range(1, 30), 0));
      for (int y = 0; y < m->Height(); ++y)
        for (int x = 0; x < m->Width(); ++x) *m->GetPixel(x, y) = rng.Byte();
    }
    ASSERT_TRUE(dst.Duplicate(&expected));
    const auto randomRect = [&] {
      const int l = rng.Range(-20, wide), t = rng.Range(-20, 30);
      return CRect(l, t, l + rng.Range(0, wide + 20), t + rng.Range(0, 50));
    };
    CRect d = randomRect(), s = randomRect();
    if (round % 3 == 0) {  // one to one, mostly inside both masks
      const CSize size(std::min(src.Width(), dst.Width()) - rng.Range(0, 3),
                       std::min(src.Height(), dst.Height()));
      d = CRect(CPoint(rng.Range(0, 3), 0), size);
      s = CRect(CPoint(rng.Range(0, 3), 0), size);
    }
    // Modes 4 and 5 add and subtract a level.
    const int mode = rng.Range(0, 5), level = rng.Byte();
    // Every fourth round combines the destination into itself, read as it is being written.
    CMask& from = (round % 4 == 0) ? dst : src;
    ASSERT_TRUE(mode >= 4 ? from.DrawTransparent(dst, d, s, level, mode == 5)
                          : from.Draw(dst, d, s, mode));
    Oracle(round % 4 == 0 ? expected : src, expected, d, s, mode, level);
    ASSERT_EQ(Bytes(dst), Bytes(expected)) << "round " << round << " mode " << mode;
  }
}

}  // namespace
