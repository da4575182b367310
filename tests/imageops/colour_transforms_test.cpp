#include "imageops/colour_model.h"
#include "imageops_test_util.h"
#include "mask/mask.h"
#include "picture/mmx_switch.h"

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <utility>

namespace {

using namespace vardell::test;

COLORREF Pixel(const CPicture& p) {
  const BYTE* q = p.GetPixel(0, 0);
  return RGB(q[2], q[1], q[0]);
}

TEST(ColourTransformsTest, EmptyPictureChangesNothing) {
  CPicture p;
  CMask mask;
  EXPECT_EQ(p.Transform(nullptr, nullptr, nullptr) + p.Brightness(3) + p.Contrast(3) +
                p.Saturate(3) + p.Hue(3) + p.HueSaturate(3, 3) + p.AdjustColors(1, 2, 3) +
                p.ColorAdjust(1, 1, 1, 1, 1, 1, 1) + p.ConvertToGray() + p.ConvertToGray(&mask),
            0);
  EXPECT_FALSE(mask.IsValid());
  EXPECT_EQ(p.GetAverageColor(CRect(0, 0, 5, 5)), 0u);
  EXPECT_TRUE(!p.CreateMask(0, 0) && !p.CreateMask(0, 3, 0, 255));
}

TEST(ColourTransformsTest, OnePixelKnownAnswers) {
  const struct {
    void (*op)(CPicture&);
    COLORREF in, out;
    int mmx = 0;
  } cases[] = {
      // Inverted around 128: 256 - v.
      {[](CPicture& p) { p.Contrast(-200); }, RGB(0, 255, 100), RGB(255, 1, 156)},
      // -201 / 100 truncates towards zero, to -2.
      {[](CPicture& p) { p.Contrast(-301); }, RGB(100, 127, 129), RGB(184, 130, 126)},
      // smallest * 128 < largest: w = 0 clears it.
      {[](CPicture& p) { p.Saturate(0); }, RGB(255, 100, 1), RGB(255, 100, 0)},
      // The truncated whiteness lets the smallest pass the largest.
      {[](CPicture& p) { p.Saturate(-1000); }, RGB(40, 200, 120), RGB(204, 200, 200)},
      // Blue largest, tie of the others: red counts as the middle.
      {[](CPicture& p) { p.Saturate(10); }, RGB(50, 50, 200), RGB(35, 34, 200)},
      // Whiteness clamped to 127: a red tint.
      {[](CPicture& p) { p.HueSaturate(0, 0); }, RGB(100, 100, 100), RGB(100, 99, 99)},
      {[](CPicture& p) { p.Hue(120); }, RGB(255, 0, 1), RGB(0, 255, 0)},  // hue 360 wraps
      // The MMX path takes the offsets as 16-bit words: equal within them, wrapped beyond.
      {[](CPicture& p) { p.Brightness(-30); }, RGB(100, 100, 100), RGB(70, 70, 70), 1},
      {[](CPicture& p) { p.AdjustColors(65536 + 5, 20, -65536 - 200); }, RGB(100, 100, 100),
       RGB(105, 120, 0), 1},
      {[](CPicture& p) { p.AdjustColors(65536 + 5, 20, -65536 - 200); }, RGB(105, 120, 0),
       RGB(255, 140, 0)},
  };
  CPicture p;
  for (const auto& c : cases) {
    p.CreatePicture(1, 1, 0);
    p.ClearPicture(CRect(0, 0, 1, 1), c.in);
    EnableMMX(c.mmx);
    c.op(p);
    EnableMMX(0);
    EXPECT_EQ(Pixel(p), c.out) << "case " << &c - cases;
  }
  FillRandom(p, 9, 4, 652);
  EXPECT_EQ(p.Contrast(-100), 1);
  EXPECT_EQ(Channels(p), std::vector<int>(3 * 9 * 4, 128));
}

TEST(ColourTransformsTest, TablesBrightnessAndHueMatchTheirDefinitions) {
  CPicture p, q;
  FillRandom(p, 23, 7, 650);
  const auto before = Snapshot(p);
  EXPECT_EQ(p.Transform(nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(Snapshot(p), before);
  EnableMMX(0);
  for (int b : {-40, INT_MAX, INT_MIN}) {
    BYTE t[256];
    for (int i = 0; i < 256; ++i)
      t[i] = static_cast<BYTE>(std::clamp<long long>(i + 0LL + b, 0, 255));
    FillRandom(p, 23, 7, 651);
    FillRandom(q, 23, 7, 651);
    auto px = Channels(p);
    for (int& v : px) v = t[v];
    const auto expected = WithChannels(p, px);
    ASSERT_EQ(p.Brightness(b) + q.Transform(t, t, t), 2);
    ASSERT_TRUE(Snapshot(p) == expected && Snapshot(q) == expected) << b;
  }
  // Hue on every colour of a grid of step 5 (every channel order, ties, gray and black), against
  // the model's two conversions.
  p.CreatePicture(52 * 52, 52, 0);
  for (int y = 0; y < 52; ++y)
    for (int x = 0; x < 52 * 52; ++x) {
      BYTE* px = p.GetPixel(x, y);
      px[0] = static_cast<BYTE>(5 * (x % 52)), px[1] = static_cast<BYTE>(5 * (x / 52));
      px[2] = static_cast<BYTE>(5 * y);
    }
  for (int dh : {0, -400}) {
    auto px = Channels(p);
    for (std::size_t i = 0; i < px.size(); i += 3) {
      WORD h, w, v;
      BYTE r, g, b;
      RGBToHWV(static_cast<BYTE>(px[i + 2]), static_cast<BYTE>(px[i + 1]), static_cast<BYTE>(px[i]),
               h, w, v);
      HWVToRGB(static_cast<WORD>(((h + dh) % 360 + 360) % 360), w, v, r, g, b);
      px[i] = b, px[i + 1] = g, px[i + 2] = r;
    }
    const auto expected = WithChannels(p, px);
    ASSERT_EQ(p.Hue(dh), 1);
    ASSERT_EQ(Snapshot(p), expected) << dh;
  }
}

TEST(ColourTransformsTest, ColorAdjustRunsItsStepsInOrder) {
  // Offsets, then hue and saturation together, or hue alone, or saturation alone (clipping), then
  // brightness, then contrast.
  const std::pair<std::array<int, 7>, void (*)(CPicture&)> cases[] = {
      {{10, 20, 30, 40, 5, -5, 9},
       [](CPicture& q) {
         q.AdjustColors(5, -5, 9), q.HueSaturate(30, 40), q.Brightness(10), q.Contrast(20);
       }},
      {{-7, 0, 45, 0, 0, 3, 0},
       [](CPicture& q) { q.AdjustColors(0, 3, 0), q.Hue(45), q.Brightness(-7); }},
      {{0, 0, 0, 25, 0, 0, 0}, [](CPicture& q) { q.Saturate(25); }},
  };
  for (const auto& [a, steps] : cases) {
    CPicture p, q;
    FillRandom(p, 13, 6, 655);
    FillRandom(q, 13, 6, 655);
    EXPECT_EQ(p.ColorAdjust(a[0], a[1], a[2], a[3], a[4], a[5], a[6]), 1);
    steps(q);
    EXPECT_EQ(Snapshot(p), Snapshot(q)) << a[0];
  }
}

TEST(ColourTransformsTest, GrayInPlaceAndIntoAMask) {
  CPicture p;
  CMask mask;
  FillRandom(p, 37, 5, 656);
  auto px = Channels(p);
  std::vector<int> grays, masked;
  for (std::size_t i = 0; i < px.size(); i += 3) {
    grays.push_back((px[i] * 29 + px[i + 1] * 150 + px[i + 2] * 76) / 255);
    px[i] = px[i + 1] = px[i + 2] = grays.back();
  }
  const auto before = Snapshot(p), expected = WithChannels(p, px);
  mask.CreateMask(2, 2, 9);
  ASSERT_EQ(p.ConvertToGray(&mask), 1);
  EXPECT_EQ(Snapshot(p), before);
  ASSERT_EQ(mask.GetMaskSize(), CSize(37, 5));
  // Whole rows: the padding keeps the 255 the mask is created with.
  for (int y = 0; y < 5; ++y) {
    masked.insert(masked.end(), mask.GetPixel(0, y), mask.GetPixel(0, y) + 40);
    grays.insert(grays.begin() + 40 * y + 37, 3, 255);
  }
  EXPECT_EQ(masked, grays);
  ASSERT_EQ(p.ConvertToGray(), 1);
  EXPECT_EQ(Snapshot(p), expected);
  EXPECT_EQ(p.ConvertToGray(nullptr), 0);
}

TEST(ColourTransformsTest, AverageColourAndColourDifference) {
  CPicture p;
  p.CreatePicture(4, 3, 0);
  p.ClearPicture(CRect(0, 0, 1, 1), RGB(200, 100, 50));
  p.ClearPicture(CRect(1, 0, 2, 1), RGB(101, 0, 0));
  // The rectangle is inclusive.
  EXPECT_EQ(p.GetAverageColor(CRect(0, 0, 1, 0)), RGB(150, 50, 25));
  EXPECT_EQ(p.GetAverageColor(CRect(-5, -5, 1, 1)), RGB(75, 25, 12));
  EXPECT_EQ(p.GetAverageColor(CRect(10, 10, 20, 20)), 0u);
  const auto difference = [](COLORREF from, COLORREF to) {
    int h = 9, s = 9, v = 9;
    CPicture::GetColorDifference(from, to, h, s, v);
    return std::vector<int>({h, s, v});
  };
  EXPECT_EQ(difference(RGB(255, 0, 0), RGB(255, 0, 0)), std::vector<int>({0, 0, 0}));
  // v: half of 128 - 255, towards minus infinity; s: 200, 99, 99 after the hue step.
  EXPECT_EQ(difference(RGB(255, 0, 0), RGB(0, 128, 0)), std::vector<int>({120, 0, -64}));
  EXPECT_EQ(difference(RGB(200, 100, 100), RGB(100, 100, 100)), std::vector<int>({0, -65, -50}));
}

TEST(ColourTransformsTest, MasksFromAColourAndARange) {
  CPicture p;
  p.CreatePicture(5, 2, 0);
  const COLORREF colours[] = {RGB(10, 20, 30), RGB(11, 21, 31), RGB(8, 18, 28), RGB(7, 20, 30)};
  for (int x = 1; x < 5; ++x) p.ClearPicture(CRect(x, 0, x + 1, 1), colours[x - 1]);
  auto row = [](CMask* m) {
    std::unique_ptr<CMask> owned(m);
    return std::vector<int>(m->GetPixel(0, 0), m->GetPixel(5, 0));
  };
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 0)), (std::vector<int>{0, 255, 0, 0, 0}));
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 1)), (std::vector<int>{255, 0, 255, 255, 255}));
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 1, 3, 1)), (std::vector<int>{3, 1, 3, 3, 3}));
  // 8..11 selected, 12 not; 7 not.
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 2, 0, 255)), (std::vector<int>{0, 255, 255, 255, 0}));
  std::unique_ptr<CMask> all(p.CreateMask(RGB(0, 0, 0), 1000, 0, 77));
  EXPECT_EQ(*all->GetPixel(0, 1), 77);
}

}  // namespace
