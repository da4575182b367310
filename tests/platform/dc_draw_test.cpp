#include "platform/dc.h"
#include "platform/region.h"

#include "dc_test_util.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

namespace {

using vardell::test::MemoryDc;
using vardell::test::Px;

constexpr std::uint32_t kWhite = 0xFFFFFF;

// The pixels of a picture that differ from a reference.
std::set<std::pair<int, int>> Changed(const std::vector<std::uint32_t>& before,
                                      const std::vector<std::uint32_t>& after, int width) {
  std::set<std::pair<int, int>> out;
  for (std::size_t i = 0; i < after.size(); ++i)
    if (after[i] != before[i])
      out.emplace(static_cast<int>(i) % width, static_cast<int>(i) / width);
  return out;
}

TEST(Lines, LastPixelIsNotDrawn) {
  MemoryDc dc(6, 4);
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(255, 255, 255));
  HGDIOBJ old = SelectObject(dc.hdc(), pen);
  MoveToEx(dc.hdc(), 1, 0, nullptr);
  EXPECT_TRUE(LineTo(dc.hdc(), 5, 0));
  EXPECT_EQ(dc.Row(0, kWhite), ".####.");
  MoveToEx(dc.hdc(), 4, 1, nullptr);
  LineTo(dc.hdc(), 0, 1);  // leftwards: pixels 4..1
  EXPECT_EQ(dc.Row(1, kWhite), ".####.");

  // (0,0)->(4,2): Bresenham from an error of 2*2-4, stepping when the error is positive.
  dc.Fill(0);
  MoveToEx(dc.hdc(), 0, 0, nullptr);
  LineTo(dc.hdc(), 4, 2);
  EXPECT_EQ(dc.Row(0, kWhite), "##....");
  EXPECT_EQ(dc.Row(1, kWhite), "..##..");
  EXPECT_EQ(dc.Row(2, kWhite), "......");
  // Drawn backwards the same pixels appear, the other end left out: the platform's bias.
  dc.Fill(0);
  MoveToEx(dc.hdc(), 4, 2, nullptr);
  LineTo(dc.hdc(), 0, 0);
  EXPECT_EQ(dc.Row(0, kWhite), ".#....");
  EXPECT_EQ(dc.Row(1, kWhite), "..##..");
  EXPECT_EQ(dc.Row(2, kWhite), "....#.");
  SelectObject(dc.hdc(), old);
  DeleteObject(pen);
}

TEST(Lines, BothDirectionsCoverTheSamePixelsAndClippingChangesNone) {
  vardell::test::Rng rng(20240611);
  MemoryDc whole(40, 30), clipped(40, 30);
  SelectObject(whole.hdc(), GetStockObject(WHITE_PEN));
  SelectObject(clipped.hdc(), GetStockObject(WHITE_PEN));
  HRGN window = CreateRectRgn(7, 5, 31, 22);
  SelectClipRgn(clipped.hdc(), window);
  for (int i = 0; i < 300; ++i) {
    const POINT a{rng.Range(-20, 60), rng.Range(-20, 50)},
        b{rng.Range(-20, 60), rng.Range(-20, 50)};
    SCOPED_TRACE(testing::Message() << "seed 20240611 line " << i << ": (" << a.x << "," << a.y
                                    << ")-(" << b.x << "," << b.y << ")");
    whole.Fill(0);
    MoveToEx(whole.hdc(), a.x, a.y, nullptr);
    LineTo(whole.hdc(), b.x, b.y);
    const std::vector<std::uint32_t> forward = whole.Pixels();
    whole.Fill(0);
    MoveToEx(whole.hdc(), b.x, b.y, nullptr);
    LineTo(whole.hdc(), a.x, a.y);
    std::vector<std::uint32_t> backward = whole.Pixels();
    // Apart from the end points the two are the same.
    auto in = [](POINT p) { return p.x >= 0 && p.x < 40 && p.y >= 0 && p.y < 30; };
    std::vector<std::uint32_t> f = forward;
    for (POINT p : {a, b})
      if (in(p))
        f[static_cast<std::size_t>(p.y) * 40 + p.x] =
            backward[static_cast<std::size_t>(p.y) * 40 + p.x] = 0;
    EXPECT_EQ(f, backward);
    // Clipping to a rectangle keeps exactly the pixels inside it.
    clipped.Fill(0);
    MoveToEx(clipped.hdc(), a.x, a.y, nullptr);
    LineTo(clipped.hdc(), b.x, b.y);
    std::vector<std::uint32_t> expected = forward;
    for (int y = 0; y < 30; ++y)
      for (int x = 0; x < 40; ++x)
        if (!(x >= 7 && x < 31 && y >= 5 && y < 22))
          expected[static_cast<std::size_t>(y) * 40 + x] = 0;
    ASSERT_EQ(clipped.Pixels(), expected);
  }
  DeleteObject(window);
}

TEST(Lines, CoordinatesNearTheLimits) {
  MemoryDc dc(5, 5);
  SelectObject(dc.hdc(), GetStockObject(WHITE_PEN));
  MoveToEx(dc.hdc(), -2000000000, 1, nullptr);
  EXPECT_TRUE(LineTo(dc.hdc(), 2000000000, 1));
  EXPECT_EQ(dc.Row(1, kWhite), "#####");
  MoveToEx(dc.hdc(), -0x7FFFFFFF, -0x7FFFFFFF, nullptr);
  EXPECT_TRUE(LineTo(dc.hdc(), 0x7FFFFFFF, 0x7FFFFFFF));
  for (int y = 2; y < 5; ++y) EXPECT_EQ(dc.At(y, y), kWhite) << y;
  EXPECT_EQ(dc.At(3, 2), 0u);
  HPEN wide = CreatePen(PS_SOLID, 3, RGB(0, 0, 255));
  SelectObject(dc.hdc(), wide);
  const POINT far[] = {{-0x7FFFFFFF, 3}, {0x7FFFFFFF, 3}};
  EXPECT_TRUE(Polyline(dc.hdc(), far, 2));
  EXPECT_EQ(dc.Row(4, 0x0000FF), "#####");
  EXPECT_TRUE(Rectangle(dc.hdc(), -0x7FFFFFFF, -0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF));
  SelectObject(dc.hdc(), GetStockObject(BLACK_PEN));
  DeleteObject(wide);
}

TEST(Lines, XorPolylineDrawsEachPixelOnce) {
  MemoryDc dc(8, 8, 0x00FF00);
  const std::vector<std::uint32_t> before = dc.Pixels();
  SetROP2(dc.hdc(), R2_XORPEN);
  HPEN pen = CreatePen(PS_SOLID, 0, RGB(255, 0, 0));
  SelectObject(dc.hdc(), pen);
  const POINT square[] = {{1, 1}, {6, 1}, {6, 6}, {1, 6}, {1, 1}};
  EXPECT_TRUE(Polyline(dc.hdc(), square, 5));
  // A closed outline of 5 x 5 steps: 20 pixels, each flipped once (joints are not drawn twice).
  const auto changed = Changed(before, dc.Pixels(), 8);
  EXPECT_EQ(changed.size(), 20u);
  EXPECT_EQ(dc.At(1, 1), 0xFFFF00u);
  EXPECT_TRUE(Polyline(dc.hdc(), square, 5));
  EXPECT_EQ(dc.Pixels(), before);
  EXPECT_FALSE(Polyline(dc.hdc(), square, 1));
  EXPECT_FALSE(Polyline(dc.hdc(), nullptr, 3));
  SelectObject(dc.hdc(), GetStockObject(BLACK_PEN));
  DeleteObject(pen);
}

TEST(Lines, StyledAndWidePens) {
  MemoryDc dc(16, 9, 0x0000FF);
  HPEN dot = CreatePen(PS_DOT, 1, RGB(255, 255, 255));
  SelectObject(dc.hdc(), dot);
  SetBkColor(dc.hdc(), RGB(0, 0, 0));
  MoveToEx(dc.hdc(), 0, 0, nullptr);
  LineTo(dc.hdc(), 16, 0);
  EXPECT_EQ(dc.Row(0, kWhite), "###...###...###.");  // gaps painted with the background colour
  SetBkMode(dc.hdc(), TRANSPARENT);
  MoveToEx(dc.hdc(), 0, 1, nullptr);
  LineTo(dc.hdc(), 16, 1);
  EXPECT_EQ(dc.Row(1, kWhite, 0x0000FF), "###...###...###.");

  // Wide pens have round ends; widths of 3 and 2 cover exactly that many rows.
  HPEN wide = CreatePen(PS_DOT, 3, RGB(255, 255, 255));  // wide dotted pens draw solid
  SelectObject(dc.hdc(), wide);
  DeleteObject(dot);
  dc.Fill(0);
  MoveToEx(dc.hdc(), 3, 4, nullptr);
  LineTo(dc.hdc(), 12, 4);
  EXPECT_EQ(dc.Row(2, kWhite), "................");
  for (int y = 3; y <= 5; ++y) EXPECT_EQ(dc.Row(y, kWhite), "..############..") << y;
  EXPECT_EQ(dc.Row(6, kWhite), "................");
  HPEN two = CreatePen(PS_SOLID, 2, RGB(255, 255, 255));
  SelectObject(dc.hdc(), two);
  DeleteObject(wide);
  dc.Fill(0);
  MoveToEx(dc.hdc(), 2, 4, nullptr);
  LineTo(dc.hdc(), 12, 4);
  int rows = 0;
  for (int y = 0; y < 9; ++y) rows += dc.Row(y, kWhite).find('#') != std::string::npos;
  EXPECT_EQ(rows, 2);
  // A wide XOR polyline that crosses itself flips each pixel it covers once: it changes the
  // same pixels as a copying one.
  const std::vector<std::uint32_t> black(16 * 9, 0);
  const POINT zigzag[] = {{1, 1}, {14, 7}, {1, 7}, {14, 1}};
  dc.Fill(0);
  Polyline(dc.hdc(), zigzag, 4);
  const auto copied = Changed(black, dc.Pixels(), 16);
  dc.Fill(0);
  SetROP2(dc.hdc(), R2_XORPEN);
  Polyline(dc.hdc(), zigzag, 4);
  EXPECT_EQ(Changed(black, dc.Pixels(), 16), copied);
  EXPECT_GT(copied.size(), 40u);
  SelectObject(dc.hdc(), GetStockObject(BLACK_PEN));
  DeleteObject(two);
}

TEST(Shapes, RectangleOutlineFillAndNullPen) {
  MemoryDc dc(7, 6);
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(255, 255, 255));
  HBRUSH brush = CreateSolidBrush(RGB(0, 0, 128));
  SelectObject(dc.hdc(), pen);
  SelectObject(dc.hdc(), brush);
  EXPECT_TRUE(Rectangle(dc.hdc(), 5, 4, 1, 0));  // normalised to (1,0)-(5,4)
  EXPECT_EQ(dc.Row(0, kWhite), ".####..");
  EXPECT_EQ(dc.Row(1, {{kWhite, '#'}, {0, '.'}, {0x000080, 'o'}}), ".#oo#..");
  EXPECT_EQ(dc.Row(2, {{kWhite, '#'}, {0, '.'}, {0x000080, 'o'}}), ".#oo#..");
  EXPECT_EQ(dc.Row(3, kWhite), ".####..");
  EXPECT_EQ(dc.Row(4, kWhite), ".......");

  // The null pen fills one pixel less to the right and below.
  dc.Fill(0);
  SelectObject(dc.hdc(), GetStockObject(NULL_PEN));
  Rectangle(dc.hdc(), 1, 0, 5, 4);
  EXPECT_EQ(dc.Row(0, 0x000080), ".###...");
  EXPECT_EQ(dc.Row(2, 0x000080), ".###...");
  EXPECT_EQ(dc.Row(3, 0x000080), ".......");

  // PS_INSIDEFRAME keeps a wide outline inside the rectangle.
  HPEN frame = CreatePen(PS_INSIDEFRAME, 2, RGB(255, 255, 255));
  SelectObject(dc.hdc(), frame);
  dc.Fill(0);
  Rectangle(dc.hdc(), 0, 0, 7, 6);
  EXPECT_EQ(dc.Row(0, kWhite), "#######");
  EXPECT_EQ(dc.Row(2, kWhite, 0x000080), "##...##");
  EXPECT_EQ(dc.Row(5, kWhite), "#######");
  SelectObject(dc.hdc(), GetStockObject(BLACK_PEN));
  SelectObject(dc.hdc(), GetStockObject(WHITE_BRUSH));
  DeleteObject(frame);
  DeleteObject(pen);
  DeleteObject(brush);
}

TEST(Shapes, EllipseIsSymmetricAndInsideItsBox) {
  MemoryDc dc(12, 9);
  SelectObject(dc.hdc(), GetStockObject(WHITE_PEN));
  SelectObject(dc.hdc(), GetStockObject(GRAY_BRUSH));
  EXPECT_TRUE(Ellipse(dc.hdc(), 1, 1, 11, 8));
  const std::vector<std::uint32_t> p = dc.Pixels();
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) {
      const std::uint32_t v = p[static_cast<std::size_t>(y) * 12 + x];
      const bool outside = x < 1 || x >= 11 || y < 1 || y >= 8;
      if (outside) {
        EXPECT_EQ(v, 0u) << x << "," << y;
      }
      // Mirror images about the box's centre lines.
      EXPECT_EQ(v, p[static_cast<std::size_t>(y) * 12 + (11 - x)]) << x << "," << y;
      EXPECT_EQ(v, p[static_cast<std::size_t>(8 - y) * 12 + x]) << x << "," << y;
    }
  EXPECT_EQ(dc.Row(4, {{kWhite, '#'}, {0, '.'}, {0x808080, 'o'}}),
            ".#oooooooo#.");                                  // touches the box's sides
  EXPECT_NE(dc.Row(1, kWhite).find('#'), std::string::npos);  // and its top row
  // Drawn twice with R2_NOT it leaves no trace.
  dc.Fill(0x336699);
  SetROP2(dc.hdc(), R2_NOT);
  Ellipse(dc.hdc(), 0, 0, 12, 9);
  EXPECT_NE(dc.At(0, 4), 0x336699u);
  Ellipse(dc.hdc(), 0, 0, 12, 9);
  EXPECT_EQ(dc.Pixels(), std::vector<std::uint32_t>(12 * 9, 0x336699));
  EXPECT_FALSE(Ellipse(dc.hdc(), -0x7FFFFFFF, 0, 0x7FFFFFFF, 9));  // beyond exact arithmetic
}

TEST(Shapes, MixModesAndFillRect) {
  MemoryDc dc(4, 1, 0x0F0F0F);
  SelectObject(dc.hdc(), GetStockObject(NULL_PEN));
  HBRUSH brush = CreateSolidBrush(RGB(0xF0, 0x33, 0x0F));  // pixel 0xF0330F
  SelectObject(dc.hdc(), brush);
  // The mix mode combines the brush with the surface (the codes are checked in raster_ops_test).
  const std::pair<int, std::uint32_t> cases[] = {
      {R2_XORPEN, 0xFF3C00}, {R2_NOT, 0xF0F0F0}, {R2_MASKPEN, 0x00030F}, {R2_NOP, 0x0F0F0F}};
  for (const auto& [mode, expected] : cases) {
    SCOPED_TRACE(mode);
    dc.Fill(0x0F0F0F);
    SetROP2(dc.hdc(), mode);
    Rectangle(dc.hdc(), 0, 0, 3, 2);  // null pen: fills (0,0)-(2,1)
    EXPECT_EQ(dc.At(1, 0), expected);
    EXPECT_EQ(dc.At(2, 0), 0x0F0F0Fu);
  }
  // FillRect ignores the mix mode; an empty rectangle fills nothing.
  SetROP2(dc.hdc(), R2_XORPEN);
  const RECT r{1, 0, 3, 1}, empty{3, 0, 1, 1};
  EXPECT_NE(FillRect(dc.hdc(), &r, brush), 0);
  EXPECT_NE(FillRect(dc.hdc(), &empty, brush), 0);
  EXPECT_EQ(dc.Pixels(), (std::vector<std::uint32_t>{0x0F0F0F, 0xF0330F, 0xF0330F, 0x0F0F0F}));
  EXPECT_EQ(FillRect(dc.hdc(), nullptr, brush), 0);
  SelectObject(dc.hdc(), GetStockObject(WHITE_BRUSH));
  DeleteObject(brush);
  EXPECT_EQ(FillRect(dc.hdc(), &r, brush), 0);  // deleted
  // Deleting a stock object is harmless.
  EXPECT_TRUE(DeleteObject(GetStockObject(GRAY_BRUSH)));
  LOGBRUSH lb{};
  EXPECT_EQ(GetObject(GetStockObject(GRAY_BRUSH), sizeof lb, &lb), static_cast<int>(sizeof lb));
  EXPECT_EQ(lb.lbColor, RGB(128, 128, 128));
}

}  // namespace
