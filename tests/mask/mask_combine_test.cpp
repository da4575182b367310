// Combination of one mask into another: modes, levels, clipping, and the SIMD twin.
#include "hostutil/geometry_utils.h"
#include "mask/mask.h"
#include "mask/mask_kernels.h"
#include "picture/byte_tables.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using vardell::test::Rng;

void MakeRow(CMask& m, std::vector<BYTE> values) {
  ASSERT_TRUE(m.CreateMask(static_cast<int>(values.size()), 1, 0));
  for (std::size_t i = 0; i < values.size(); ++i) *m.GetPixel(static_cast<int>(i), 0) = values[i];
}

std::vector<BYTE> Row(CMask& m, int y = 0) {
  return std::vector<BYTE>(m.GetPixel(0, y), m.GetPixel(0, y) + m.Width());
}

TEST(MaskCombine, ColumnMapAndBitwiseModesOnSoftValues) {
  CMask src, dst;
  MakeRow(src, {10, 20, 30, 40});
  ASSERT_TRUE(dst.CreateMask(8, 1, 0));
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 8, 1), CRect(0, 0, 4, 1), MASK_COPY));
  EXPECT_EQ(Row(dst), (std::vector<BYTE>{10, 10, 20, 20, 30, 30, 40, 40}));
  // Reduction 5 -> 3 takes columns 0, 1, 3.
  MakeRow(src, {1, 2, 3, 4, 5});
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 3, 1), CRect(0, 0, 5, 1), 77));  // unknown mode copies
  EXPECT_EQ(Row(dst), (std::vector<BYTE>{1, 2, 4, 20, 30, 30, 40, 40}));

  MakeRow(src, {0x0F, 0x0F, 0x0F});
  MakeRow(dst, {0xF0, 0xFF, 0x3C});
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), MASK_OR));
  ASSERT_TRUE(src.Draw(dst, CRect(1, 0, 2, 1), CRect(1, 0, 2, 1), MASK_REMOVE));
  ASSERT_TRUE(src.Draw(dst, CRect(2, 0, 3, 1), CRect(2, 0, 3, 1), MASK_AND));
  EXPECT_EQ(Row(dst), (std::vector<BYTE>{0xFF, 0xF0, 0x0C}));

  MakeRow(src, {100, 100});
  MakeRow(dst, {200, 200});
  ASSERT_TRUE(src.DrawTransparent(dst, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), 255, FALSE));
  ASSERT_TRUE(src.DrawTransparent(dst, CRect(1, 0, 2, 1), CRect(1, 0, 2, 1), 255, TRUE));
  EXPECT_EQ(Row(dst), (std::vector<BYTE>{255, 100}));
  ASSERT_TRUE(src.DrawTransparent(dst, CRect(0, 0, 2, 1), CRect(0, 0, 2, 1), 128, TRUE));
  EXPECT_EQ(Row(dst), (std::vector<BYTE>{205, 50}));  // M[128][100] = 50

  // Whole unpadded masks, done as one span.
  CMask a, b;
  ASSERT_TRUE(a.CreateMask(8, 3, 0x0F));
  ASSERT_TRUE(b.CreateMask(8, 3, 0x30));
  *a.GetPixel(7, 0) = 0xC0;
  *a.GetPixel(0, 2) = 0x01;
  ASSERT_TRUE(a.Draw(b, CRect(0, 0, 8, 3), CRect(0, 0, 8, 3), MASK_OR));
  EXPECT_EQ(Row(b, 0), (std::vector<BYTE>{0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0xF0}));
  EXPECT_EQ(Row(b, 2), (std::vector<BYTE>{0x31, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F, 0x3F}));

  CMask empty;
  EXPECT_FALSE(empty.Draw(dst, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), MASK_OR));
  EXPECT_FALSE(src.Draw(empty, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), MASK_OR));
  EXPECT_FALSE(src.DrawTransparent(empty, CRect(0, 0, 1, 1), CRect(0, 0, 1, 1), 9, FALSE));
}

TEST(MaskCombine, ClippingCutsTheOtherRectangleInProportion) {
  CMask src, dst;
  ASSERT_TRUE(src.CreateMask(10, 2, 0));
  for (int x = 0; x < 10; ++x) *src.GetPixel(x, 0) = *src.GetPixel(x, 1) = static_cast<BYTE>(x + 1);
  ASSERT_TRUE(dst.CreateMask(10, 2, 0));
  // Destination half outside on the left: the left half of the source is cut away.
  ASSERT_TRUE(src.Draw(dst, CRect(-5, 0, 5, 2), CRect(0, 0, 10, 2), MASK_COPY));
  EXPECT_EQ(Row(dst, 1), (std::vector<BYTE>{6, 7, 8, 9, 10, 0, 0, 0, 0, 0}));
  // Source half outside on the right: the destination shrinks the same way.
  ASSERT_TRUE(dst.Rectangle(dst.GetMaskRect(), 0));
  ASSERT_TRUE(src.Draw(dst, CRect(0, 0, 10, 2), CRect(5, 0, 15, 2), MASK_COPY));
  EXPECT_EQ(Row(dst, 0), (std::vector<BYTE>{6, 7, 8, 9, 10, 0, 0, 0, 0, 0}));
  // Entirely outside: nothing to do.
  EXPECT_TRUE(src.Draw(dst, CRect(20, 0, 30, 2), CRect(0, 0, 10, 2), MASK_OR));
  EXPECT_EQ(Row(dst, 0), (std::vector<BYTE>{6, 7, 8, 9, 10, 0, 0, 0, 0, 0}));
}

// The per-pixel definition over the same clipped rectangles and maps.
void Oracle(CMask& src, CMask& dst, CRect d, CRect s, int mode, int level, bool transparent,
            bool subtract) {
  CRect c;
  c.IntersectRect(d, dst.GetMaskRect());
  if (c != d) {
    CRect t = c;
    ScaleTransform(d, s, t);
    s = t, d = c;
  }
  c.IntersectRect(s, src.GetMaskRect());
  if (c != s) {
    CRect t = c;
    ScaleTransform(s, d, t);
    d = t, s = c;
  }
  const vardell::ByteTables& tables = vardell::ByteTables::Get();
  for (int j = 0; j < d.Height(); ++j)
    for (int i = 0; i < d.Width(); ++i) {
      const int sv =
          *src.GetPixel(s.left + i * s.Width() / d.Width(), s.top + j * s.Height() / d.Height());
      BYTE& dv = *dst.GetPixel(d.left + i, d.top + j);
      const int m = tables.mul[level][sv];
      if (transparent)
        dv = static_cast<BYTE>(subtract ? std::max(dv - m, 0) : std::min(dv + m, 255));
      else
        dv = static_cast<BYTE>(mode == MASK_OR       ? dv | sv
                               : mode == MASK_AND    ? dv & sv
                               : mode == MASK_REMOVE ? dv & ~sv
                                                     : sv);
    }
}

TEST(MaskCombine, RandomRectanglesMatchThePerPixelDefinition) {
  Rng rng(4242);
  for (int round = 0; round < 400; ++round) {
    CMask src, dst, expected;
    // Rows up to 150 wide, so that the 64-byte blocks of the kernels are reached too.
    const int wide = round % 2 ? 40 : 150;
    ASSERT_TRUE(src.CreateMask(rng.Range(1, wide), rng.Range(1, 30), 0));
    ASSERT_TRUE(dst.CreateMask(rng.Range(1, wide), rng.Range(1, 30), 0));
    for (CMask* m : {&src, &dst})
      for (int y = 0; y < m->Height(); ++y)
        for (int x = 0; x < m->Width(); ++x) *m->GetPixel(x, y) = rng.Byte();
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
    const int mode = rng.Range(0, 5), level = rng.Byte();
    const bool transparent = mode >= 4, subtract = mode == 5;
    // Every fourth round combines the destination into itself, read as it is being written.
    CMask& from = (round % 4 == 0) ? dst : src;
    if (transparent)
      ASSERT_TRUE(from.DrawTransparent(dst, d, s, level, subtract));
    else
      ASSERT_TRUE(from.Draw(dst, d, s, mode));
    Oracle(round % 4 == 0 ? expected : src, expected, d, s, mode, level, transparent, subtract);
    ASSERT_EQ(
        std::vector<BYTE>(dst.GetBuffer(), dst.GetBuffer() + dst.GetDataWidth() * dst.Height()),
        std::vector<BYTE>(expected.GetBuffer(),
                          expected.GetBuffer() + expected.GetDataWidth() * expected.Height()))
        << "round " << round << " mode " << mode;
  }
}

TEST(MaskCombine, LevelTwinAgreesWithTheTables) {
  using namespace vardell::mask_kernels;
  const vardell::ByteTables& t = vardell::ByteTables::Get();
  Rng rng(7);
  std::vector<BYTE> s(256), d(256 + 16), a, b;
  for (int v = 0; v < 256; ++v) s[static_cast<std::size_t>(v)] = static_cast<BYTE>(v);
  for (int level = 0; level < 256; ++level)
    for (bool sub : {false, true}) {
      for (auto& v : d) v = rng.Byte();
      a = b = d;
      LevelRowTable(s.data(), a.data(), 256, level, sub, t);
      LevelRowSse2(s.data(), b.data(), 256, level, sub);
      ASSERT_EQ(a, b) << "level " << level << " subtract " << sub;
    }
  // Every length up to two vectors, with guard bytes, and rows that overlap.
  for (std::size_t n = 0; n <= 40; ++n)
    for (std::size_t shift : {0, 1, 5}) {
      std::vector<BYTE> buf(96);
      for (auto& v : buf) v = rng.Byte();
      a = b = buf;
      LevelRowTable(a.data() + shift, a.data() + 3, n, 200, false, t);
      LevelRowSse2(b.data() + shift, b.data() + 3, n, 200, false);
      ASSERT_EQ(a, b) << "n " << n << " shift " << shift;
    }
}

}  // namespace
