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
using Pixels = std::vector<std::uint32_t>;

constexpr std::uint32_t kWhite = 0xFFFFFF;

BOOL Line(HDC hdc, int x1, int y1, int x2, int y2) {
  MoveToEx(hdc, x1, y1, nullptr);
  return LineTo(hdc, x2, y2);
}

// The pixels of a picture that differ from a reference.
std::set<std::pair<int, int>> Changed(const Pixels& before, const Pixels& after, int width) {
  std::set<std::pair<int, int>> out;
  for (std::size_t i = 0; i < after.size(); ++i)
    if (after[i] != before[i]) out.emplace(int(i) % width, int(i) / width);
  return out;
}

TEST(Lines, LastPixelIsNotDrawn) {
  MemoryDc dc(6, 4);
  dc.Use(CreatePen(PS_SOLID, 1, RGB(255, 255, 255)));
  EXPECT_TRUE(Line(dc.hdc(), 1, 0, 5, 0));
  Line(dc.hdc(), 4, 1, 0, 1);  // leftwards: pixels 4..1
  EXPECT_EQ(dc.Rows(kWhite), ".####.|.####.|......|......");
  // (0,0)->(4,2): Bresenham from an error of 2*2-4, stepping when the error is positive.
  dc.Fill(0);
  Line(dc.hdc(), 0, 0, 4, 2);
  EXPECT_EQ(dc.Rows(kWhite), "##....|..##..|......|......");
  // Drawn backwards the same pixels appear, the other end left out: the platform's bias.
  dc.Fill(0);
  Line(dc.hdc(), 4, 2, 0, 0);
  EXPECT_EQ(dc.Rows(kWhite), ".#....|..##..|....#.|......");
}

TEST(Lines, BothDirectionsCoverTheSamePixelsAndClippingChangesNone) {
  vardell::test::Rng rng(20240611);
  MemoryDc whole(40, 30), clipped(40, 30);
  SelectObject(whole.hdc(), GetStockObject(WHITE_PEN));
  SelectObject(clipped.hdc(), GetStockObject(WHITE_PEN));
  HRGN window = CreateRectRgn(7, 5, 31, 22);
  SelectClipRgn(clipped.hdc(), window);
  DeleteObject(window);
  for (int i = 0; i < 300; ++i) {
    const POINT a{rng.Range(-20, 60), rng.Range(-20, 50)},
        b{rng.Range(-20, 60), rng.Range(-20, 50)};
    SCOPED_TRACE(testing::Message() << "line " << i);
    whole.Fill(0);
    Line(whole.hdc(), a.x, a.y, b.x, b.y);
    const Pixels forward = whole.Pixels();
    whole.Fill(0);
    Line(whole.hdc(), b.x, b.y, a.x, a.y);
    Pixels backward = whole.Pixels(), f = forward;
    // Apart from the end points the two are the same.
    for (POINT p : {a, b})
      if (p.x >= 0 && p.x < 40 && p.y >= 0 && p.y < 30)
        f[p.y * 40 + p.x] = backward[p.y * 40 + p.x] = 0;
    EXPECT_EQ(f, backward);
    // Clipping to a rectangle keeps exactly the pixels inside it.
    clipped.Fill(0);
    Line(clipped.hdc(), a.x, a.y, b.x, b.y);
    Pixels expected = forward;
    for (int y = 0; y < 30; ++y)
      for (int x = 0; x < 40; ++x)
        if (!(x >= 7 && x < 31 && y >= 5 && y < 22)) expected[y * 40 + x] = 0;
    ASSERT_EQ(clipped.Pixels(), expected);
  }
}

TEST(Lines, CoordinatesNearTheLimits) {
  MemoryDc dc(5, 5);
  SelectObject(dc.hdc(), GetStockObject(WHITE_PEN));
  EXPECT_TRUE(Line(dc.hdc(), -2000000000, 1, 2000000000, 1));
  EXPECT_TRUE(Line(dc.hdc(), -0x7FFFFFFF, -0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF));
  EXPECT_EQ(dc.Rows(kWhite), "#....|#####|..#..|...#.|....#");
  dc.Use(CreatePen(PS_SOLID, 3, RGB(0, 0, 255)));
  const POINT far[] = {{-0x7FFFFFFF, 3}, {0x7FFFFFFF, 3}};
  EXPECT_TRUE(Polyline(dc.hdc(), far, 2));
  EXPECT_EQ(dc.Row(4, 0x0000FF), "#####");
  EXPECT_TRUE(Rectangle(dc.hdc(), -0x7FFFFFFF, -0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF));
}

TEST(Lines, XorPolylineDrawsEachPixelOnce) {
  MemoryDc dc(8, 8, 0x00FF00);
  const Pixels before = dc.Pixels();
  SetROP2(dc.hdc(), R2_XORPEN);
  dc.Use(CreatePen(PS_SOLID, 0, RGB(255, 0, 0)));
  const POINT square[] = {{1, 1}, {6, 1}, {6, 6}, {1, 6}, {1, 1}};
  EXPECT_TRUE(Polyline(dc.hdc(), square, 5));
  // A closed outline of 5 x 5 steps: 20 pixels, each flipped once (joints are not drawn twice).
  EXPECT_EQ(Changed(before, dc.Pixels(), 8).size(), 20u);
  EXPECT_TRUE(Polyline(dc.hdc(), square, 5));
  EXPECT_EQ(dc.Pixels(), before);
  EXPECT_FALSE(Polyline(dc.hdc(), square, 1) || Polyline(dc.hdc(), nullptr, 3));
}

TEST(Lines, StyledAndWidePens) {
  MemoryDc dc(16, 9, 0x0000FF);
  dc.Use(CreatePen(PS_DOT, 1, RGB(255, 255, 255)));
  SetBkColor(dc.hdc(), RGB(0, 0, 0));
  Line(dc.hdc(), 0, 0, 16, 0);
  EXPECT_EQ(dc.Row(0, kWhite), "###...###...###.");  // gaps painted with the background colour
  SetBkMode(dc.hdc(), TRANSPARENT);
  Line(dc.hdc(), 0, 1, 16, 1);
  EXPECT_EQ(dc.Row(1, kWhite, 0x0000FF), "###...###...###.");

  // Wide pens have round ends and cover as many rows as they are wide.
  dc.Use(CreatePen(PS_DOT, 3, RGB(255, 255, 255)));  // wide dotted pens draw solid
  dc.Fill(0);
  Line(dc.hdc(), 3, 4, 12, 4);
  for (int y = 0; y < 9; ++y)
    EXPECT_EQ(dc.Row(y, kWhite), y >= 3 && y <= 5 ? "..############.." : std::string(16, '.'));
  // A wide XOR polyline that crosses itself flips each pixel it covers once: it changes the
  // same pixels as a copying one.
  const Pixels black(16 * 9, 0);
  const POINT zigzag[] = {{1, 1}, {14, 7}, {1, 7}, {14, 1}};
  dc.Fill(0);
  Polyline(dc.hdc(), zigzag, 4);
  const auto copied = Changed(black, dc.Pixels(), 16);
  dc.Fill(0);
  SetROP2(dc.hdc(), R2_XORPEN);
  Polyline(dc.hdc(), zigzag, 4);
  EXPECT_EQ(Changed(black, dc.Pixels(), 16), copied);
  EXPECT_GT(copied.size(), 40u);
}

TEST(Shapes, RectangleOutlineFillAndNullPen) {
  MemoryDc dc(7, 6);
  dc.Use(CreatePen(PS_SOLID, 1, RGB(255, 255, 255)));
  dc.Use(CreateSolidBrush(RGB(0, 0, 128)));
  EXPECT_TRUE(Rectangle(dc.hdc(), 5, 4, 1, 0));  // normalised to (1,0)-(5,4)
  EXPECT_EQ(dc.Rows({{kWhite, '#'}, {0, '.'}, {0x000080, 'o'}}),
            ".####..|.#oo#..|.#oo#..|.####..|.......|.......");
  // The null pen fills one pixel less to the right and below.
  dc.Fill(0);
  SelectObject(dc.hdc(), GetStockObject(NULL_PEN));
  Rectangle(dc.hdc(), 1, 0, 5, 4);
  EXPECT_EQ(dc.Rows(0x000080), ".###...|.###...|.###...|.......|.......|.......");
  // PS_INSIDEFRAME keeps a wide outline inside the rectangle.
  dc.Use(CreatePen(PS_INSIDEFRAME, 2, RGB(255, 255, 255)));
  dc.Fill(0);
  Rectangle(dc.hdc(), 0, 0, 7, 6);
  EXPECT_EQ(dc.Rows({{kWhite, '#'}, {0x000080, '.'}}),
            "#######|#######|##...##|##...##|#######|#######");
}

TEST(Shapes, EllipseIsSymmetricAndInsideItsBox) {
  MemoryDc dc(12, 9);
  SelectObject(dc.hdc(), GetStockObject(WHITE_PEN));
  SelectObject(dc.hdc(), GetStockObject(GRAY_BRUSH));
  EXPECT_TRUE(Ellipse(dc.hdc(), 1, 1, 11, 8));
  // Inside its box, touching each side, and mirrored about the box's centre lines.
  const std::string rows = dc.Rows({{kWhite, '#'}, {0, '.'}, {0x808080, 'o'}});
  EXPECT_EQ(rows.substr(0, 13), "............|");
  EXPECT_NE(rows.substr(13, 12).find('#'), std::string::npos);
  EXPECT_EQ(rows.substr(13 * 4, 12), ".#oooooooo#.");
  EXPECT_EQ(std::string(rows.rbegin(), rows.rend()), rows);
  // Drawn twice with R2_NOT it leaves no trace.
  dc.Fill(0x336699);
  SetROP2(dc.hdc(), R2_NOT);
  Ellipse(dc.hdc(), 0, 0, 12, 9);
  EXPECT_NE(dc.At(0, 4), 0x336699u);
  Ellipse(dc.hdc(), 0, 0, 12, 9);
  EXPECT_EQ(dc.Pixels(), Pixels(12 * 9, 0x336699));
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
    dc.Fill(0x0F0F0F);
    SetROP2(dc.hdc(), mode);
    Rectangle(dc.hdc(), 0, 0, 3, 2);  // null pen: fills (0,0)-(2,1)
    EXPECT_EQ(dc.Pixels(), (Pixels{expected, expected, 0x0F0F0F, 0x0F0F0F})) << mode;
  }
  // FillRect ignores the mix mode; an empty rectangle fills nothing.
  SetROP2(dc.hdc(), R2_XORPEN);
  const RECT r{1, 0, 3, 1}, empty{3, 0, 1, 1};
  EXPECT_TRUE(FillRect(dc.hdc(), &r, brush) && FillRect(dc.hdc(), &empty, brush));
  EXPECT_EQ(dc.Pixels(), (Pixels{0x0F0F0F, 0xF0330F, 0xF0330F, 0x0F0F0F}));
  EXPECT_EQ(FillRect(dc.hdc(), nullptr, brush), 0);
  SelectObject(dc.hdc(), GetStockObject(WHITE_BRUSH));
  DeleteObject(brush);
  EXPECT_EQ(FillRect(dc.hdc(), &r, brush), 0);  // deleted
  LOGBRUSH lb{};
  EXPECT_EQ(GetObject(GetStockObject(GRAY_BRUSH), sizeof lb, &lb), static_cast<int>(sizeof lb));
  EXPECT_EQ(lb.lbColor, RGB(128, 128, 128));
}

}  // namespace
