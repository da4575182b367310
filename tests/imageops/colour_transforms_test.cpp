#include "imageops/colour_model.h"
#include "imageops_test_util.h"
#include "mask/mask.h"
#include "picture/mmx_switch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <vector>

namespace {

using vardell::test::At;
using vardell::test::FillRandom;
using vardell::test::OnlyChannelsChanged;
using vardell::test::Snapshot;

// Sets pixel (0, 0) of a 1 x 1 picture and answers the picture.
void OnePixel(CPicture& p, BYTE r, BYTE g, BYTE b) {
  p.CreatePicture(1, 1, 0);
  p.GetBuffer()[0] = b;
  p.GetBuffer()[1] = g;
  p.GetBuffer()[2] = r;
}
COLORREF Pixel(const CPicture& p, int x = 0, int y = 0) {
  const BYTE* q = p.GetPixel(x, y);
  return RGB(q[2], q[1], q[0]);
}

TEST(ColourTransformsTest, EmptyPictureChangesNothing) {
  CPicture p;
  CMask mask;
  int h = 1, s = 1, v = 1;
  EXPECT_EQ(p.Transform(nullptr, nullptr, nullptr) + p.Brightness(3) + p.Contrast(3) +
                p.Saturate(3) + p.Hue(3) + p.HueSaturate(3, 3) + p.AdjustColors(1, 2, 3) +
                p.ColorAdjust(1, 1, 1, 1, 1, 1, 1) + p.ConvertToGray() + p.ConvertToGray(&mask),
            0);
  EXPECT_FALSE(mask.IsValid());
  EXPECT_EQ(p.GetAverageColor(CRect(0, 0, 5, 5)), 0u);
  EXPECT_EQ(p.CreateMask(0, 0), nullptr);
  EXPECT_EQ(p.CreateMask(0, 3, 0, 255), nullptr);
  CPicture::GetColorDifference(RGB(10, 200, 30), RGB(10, 200, 30), h, s, v);
  EXPECT_EQ(h, 0);
}

TEST(ColourTransformsTest, TablesBrightnessAndOffsetsMatchTheirDefinitions) {
  CPicture p, q;
  FillRandom(p, 23, 7, 650);
  auto before = Snapshot(p);
  EXPECT_EQ(p.Transform(nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(Snapshot(p), before);

  EnableMMX(0);
  for (int b : {0, 17, -40, 255, -300, INT_MAX, INT_MIN}) {
    FillRandom(p, 23, 7, 651);
    FillRandom(q, 23, 7, 651);
    before = Snapshot(p);
    BYTE t[256];
    for (int i = 0; i < 256; ++i)
      t[i] = static_cast<BYTE>(std::clamp<long long>(i + 0LL + b, 0, 255));
    ASSERT_EQ(p.Brightness(b), 1);
    ASSERT_EQ(q.Transform(t, t, t), 1);
    ASSERT_EQ(Snapshot(p), Snapshot(q)) << b;
    ASSERT_TRUE(OnlyChannelsChanged(before, Snapshot(p), p));
  }
  // The MMX path takes the offsets as 16-bit words: equal within them, wrapped beyond.
  OnePixel(p, 100, 100, 100);
  OnePixel(q, 100, 100, 100);
  EnableMMX(1);
  p.Brightness(-30);
  q.AdjustColors(65536 + 5, 20, -65536 - 200);
  EnableMMX(0);
  EXPECT_EQ(Pixel(p), RGB(70, 70, 70));
  EXPECT_EQ(Pixel(q), RGB(105, 120, 0));
  q.AdjustColors(65536 + 5, 20, -65536 - 200);
  EXPECT_EQ(Pixel(q), RGB(255, 140, 0));
}

TEST(ColourTransformsTest, Contrast) {
  CPicture p;
  FillRandom(p, 9, 4, 652);
  EXPECT_EQ(p.Contrast(-100), 1);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 9; ++x) ASSERT_EQ(Pixel(p, x, y), RGB(128, 128, 128));
  OnePixel(p, 0, 255, 100);
  p.Contrast(0);
  EXPECT_EQ(Pixel(p), RGB(0, 255, 100));
  p.Contrast(-200);  // inverted around 128: 256 - v
  EXPECT_EQ(Pixel(p), RGB(255, 1, 156));
  p.Contrast(100);  // 2 (v - 128) + 128
  EXPECT_EQ(Pixel(p), RGB(255, 0, 184));
  OnePixel(p, 100, 127, 129);
  p.Contrast(-301);  // -201 / 100 truncates towards zero, to -2
  EXPECT_EQ(Pixel(p), RGB(184, 130, 126));
}

TEST(ColourTransformsTest, SaturateClipsThroughWhiteness) {
  CPicture p;
  for (int s : {0, 5, -5}) {
    OnePixel(p, 255, 100, 1);  // smallest * 128 < largest: w = 0 clears it
    p.Saturate(s);
    EXPECT_EQ(Pixel(p), s < 0 ? RGB(255, 107, 0) : RGB(255, 100, 0)) << s;
  }
  OnePixel(p, 90, 90, 90);
  p.Saturate(50);
  EXPECT_EQ(Pixel(p), RGB(90, 90, 90));
  OnePixel(p, 40, 200, 120);
  p.Saturate(1000);
  EXPECT_EQ(Pixel(p), RGB(0, 200, 101));
  OnePixel(p, 40, 200, 120);
  p.Saturate(-1000);  // the truncated whiteness lets the smallest pass the largest
  EXPECT_EQ(Pixel(p), RGB(204, 200, 200));
  OnePixel(p, 50, 50, 200);  // blue largest, tie of the others: red counts as the middle
  p.Saturate(10);
  EXPECT_EQ(Pixel(p), RGB(35, 34, 200));
}

TEST(ColourTransformsTest, HueGoesThroughTheModel) {
  CPicture p, q;
  for (int dh : {0, 37, -400, 360}) {
    FillRandom(p, 31, 5, 653);
    const auto before = Snapshot(p);
    ASSERT_EQ(p.Hue(dh), 1);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 31; ++x) {
        const auto c = vardell::test::SlowRgbToHwv(At(before, p, x, y, 2), At(before, p, x, y, 1),
                                                   At(before, p, x, y, 0));
        BYTE r, g, b;
        HWVToRGB(static_cast<WORD>(((c.hue + dh) % 360 + 360) % 360), c.whiteness, c.value, r, g,
                 b);
        ASSERT_EQ(Pixel(p, x, y), RGB(r, g, b)) << dh << " at " << x << "," << y;
      }
    ASSERT_TRUE(OnlyChannelsChanged(before, Snapshot(p), p));
  }
  FillRandom(p, 31, 5, 654);
  FillRandom(q, 31, 5, 654);
  p.Hue(0);
  q.Hue(360);
  EXPECT_EQ(Snapshot(p), Snapshot(q));

  OnePixel(p, 100, 100, 100);
  p.HueSaturate(0, 0);  // whiteness clamped to 127: a red tint
  EXPECT_EQ(Pixel(p), RGB(100, 99, 99));
  OnePixel(p, 255, 0, 1);  // hue 360 wraps
  p.Hue(120);
  EXPECT_EQ(Pixel(p), RGB(0, 255, 0));
  OnePixel(p, 200, 100, 100);
  p.HueSaturate(-120, -1000);
  EXPECT_EQ(Pixel(p), RGB(198, 198, 200));
}

TEST(ColourTransformsTest, ColorAdjustRunsItsStepsInOrder) {
  const int cases[][7] = {{10, 20, 30, 40, 5, -5, 9},
                          {0, 0, 0, 25, 0, 0, 0},
                          {-7, 0, 45, 0, 0, 3, 0},
                          {0, -30, 0, 0, 0, 0, 0}};
  for (const auto& a : cases) {
    CPicture p, q;
    FillRandom(p, 13, 6, 655);
    FillRandom(q, 13, 6, 655);
    EXPECT_EQ(p.ColorAdjust(a[0], a[1], a[2], a[3], a[4], a[5], a[6]), 1);
    if (a[4] || a[5] || a[6]) q.AdjustColors(a[4], a[5], a[6]);
    if (a[2] && a[3])
      q.HueSaturate(a[2], a[3]);
    else if (a[2])
      q.Hue(a[2]);
    else if (a[3])
      q.Saturate(a[3]);
    if (a[0]) q.Brightness(a[0]);
    if (a[1]) q.Contrast(a[1]);
    EXPECT_EQ(Snapshot(p), Snapshot(q));
  }
}

TEST(ColourTransformsTest, GrayInPlaceAndIntoAMask) {
  CPicture p;
  FillRandom(p, 37, 5, 656);
  const auto before = Snapshot(p);
  CMask mask;
  mask.CreateMask(2, 2, 9);
  ASSERT_EQ(p.ConvertToGray(&mask), 1);
  EXPECT_EQ(Snapshot(p), before);
  ASSERT_EQ(mask.GetMaskSize(), CSize(37, 5));
  ASSERT_EQ(p.ConvertToGray(), 1);
  EXPECT_TRUE(OnlyChannelsChanged(before, Snapshot(p), p));
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 37; ++x) {
      const int gray = (At(before, p, x, y, 0) * 29 + At(before, p, x, y, 1) * 150 +
                        At(before, p, x, y, 2) * 76) /
                       255;
      ASSERT_EQ(Pixel(p, x, y), RGB(gray, gray, gray));
      ASSERT_EQ(*mask.GetPixel(x, y), gray);
    }
  EXPECT_EQ(p.ConvertToGray(nullptr), 0);
}

TEST(ColourTransformsTest, AverageColourOfAnInclusiveRectangle) {
  CPicture p;
  p.CreatePicture(4, 3, 0);
  p.ClearPicture(CRect(0, 0, 1, 1), RGB(200, 100, 50));
  p.ClearPicture(CRect(1, 0, 2, 1), RGB(101, 0, 0));
  EXPECT_EQ(p.GetAverageColor(CRect(0, 0, 0, 0)), RGB(200, 100, 50));
  EXPECT_EQ(p.GetAverageColor(CRect(0, 0, 1, 0)), RGB(150, 50, 25));
  EXPECT_EQ(p.GetAverageColor(CRect(-5, -5, 1, 1)), RGB(75, 25, 12));
  EXPECT_EQ(p.GetAverageColor(CRect(10, 10, 20, 20)), 0u);
}

TEST(ColourTransformsTest, ColourDifferenceStepsThroughTheModel) {
  int h = 9, s = 9, v = 9;
  CPicture::GetColorDifference(RGB(255, 0, 0), RGB(255, 0, 0), h, s, v);
  EXPECT_EQ(h + s + v, 0);
  CPicture::GetColorDifference(RGB(255, 0, 0), RGB(0, 128, 0), h, s, v);
  EXPECT_EQ(h, 120);
  EXPECT_EQ(s, 0);
  EXPECT_EQ(v, -64);  // half of 128 - 255, towards minus infinity
  CPicture::GetColorDifference(RGB(200, 100, 100), RGB(100, 100, 100), h, s, v);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(s, 63 - 128);  // 200, 99, 99 after the hue step
  EXPECT_EQ(v, -50);
}

TEST(ColourTransformsTest, MasksFromAColourAndARange) {
  CPicture p;
  p.CreatePicture(5, 2, 0);
  p.ClearPicture(CRect(1, 0, 2, 1), RGB(10, 20, 30));
  p.ClearPicture(CRect(2, 0, 3, 1), RGB(11, 21, 31));
  p.ClearPicture(CRect(3, 0, 4, 1), RGB(8, 18, 28));
  p.ClearPicture(CRect(4, 0, 5, 1), RGB(7, 20, 30));
  auto row = [](CMask* m) {
    std::unique_ptr<CMask> owned(m);
    std::vector<int> v;
    for (int x = 0; x < 5; ++x) v.push_back(*m->GetPixel(x, 0));
    return v;
  };
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 0)), (std::vector<int>{0, 255, 0, 0, 0}));
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 1)), (std::vector<int>{255, 0, 255, 255, 255}));
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 0, 0, 255)), (std::vector<int>{0, 0, 0, 0, 0}));
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 1, 3, 1)), (std::vector<int>{3, 1, 3, 3, 3}));
  // 8..11 selected, 12 not; 7 not.
  EXPECT_EQ(row(p.CreateMask(RGB(10, 20, 30), 2, 0, 255)), (std::vector<int>{0, 255, 255, 255, 0}));
  std::unique_ptr<CMask> all(p.CreateMask(RGB(0, 0, 0), 1000, 0, 77));
  EXPECT_EQ(*all->GetPixel(0, 1), 77);
}

}  // namespace
