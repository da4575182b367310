#include "imageops/colour_model.h"
#include "imageops/reciprocal.h"
#include "imageops_test_util.h"

#include <gtest/gtest.h>

namespace {

using vardell::test::SlowRgbToHwv;

TEST(ColourModelTest, RgbToHwvMatchesTheDefinitionOnAGridOfColours) {
  for (int r = 0; r <= 255; r += 5)
    for (int g = 0; g <= 255; g += 5)
      for (int b = 0; b <= 255; b += 5) {
        WORD h, w, v;
        RGBToHWV(static_cast<BYTE>(r), static_cast<BYTE>(g), static_cast<BYTE>(b), h, w, v);
        const auto want = SlowRgbToHwv(r, g, b);
        ASSERT_EQ(h, want.hue) << r << "," << g << "," << b;
        ASSERT_EQ(w, want.whiteness) << r << "," << g << "," << b;
        ASSERT_EQ(v, want.value) << r << "," << g << "," << b;
      }
}

TEST(ColourModelTest, IntegerStepsEqualTheDoubleStepsForEveryTriple) {
  // Whiteness and X depend only on (largest, smallest, middle): all of them, half-way cases
  // included.
  for (int big = 1; big <= 255; ++big)
    for (int small = 0; small < big; ++small) {
      const double q = small * 128.0 / big;
      ASSERT_EQ(vardell::hwv::Whiteness(small, big), static_cast<int>(q + 0.5))
          << big << "," << small;
      for (int c = small; c <= big; ++c)
        ASSERT_EQ(vardell::hwv::SectorX(big, small, c),
                  static_cast<int>(big - (big - c) * 128 / (128 - q) + 0.5))
            << big << "," << small << "," << c;
    }
}

TEST(ColourModelTest, ReciprocalDivisionAtEveryMultiple) {
  // Quotients change only at multiples of d and the product is monotonic in n: checking both
  // sides of each multiple up to the largest numerator the model divides covers every n.
  using vardell::imageops::DivideSmall;
  for (unsigned d = 1; d <= 510; ++d)
    for (unsigned m = 0; m <= 130306; m += d) {
      ASSERT_EQ(DivideSmall(m, d), m / d) << m << "/" << d;
      if (m > 0) {
        ASSERT_EQ(DivideSmall(m - 1, d), (m - 1) / d) << m - 1 << "/" << d;
      }
    }
}

TEST(ColourModelTest, KnownAnswersAndTieRules) {
  WORD h, w, v;
  RGBToHWV(255, 0, 1, h, w, v);  // blue just above green: the truncation gives 360
  EXPECT_EQ(h, 360);
  EXPECT_EQ(w, 0);
  EXPECT_EQ(v, 255);
  RGBToHWV(0, 0, 0, h, w, v);
  EXPECT_EQ(h + w + v, 0);
  RGBToHWV(100, 100, 100, h, w, v);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(w, 128);
  EXPECT_EQ(v, 100);
  RGBToHWV(0, 200, 200, h, w, v);  // green wins the tie with blue
  EXPECT_EQ(h, 180);
  RGBToHWV(0, 0, 200, h, w, v);
  EXPECT_EQ(h, 240);
}

TEST(ColourModelTest, HueTablesMirrorTheComputedEdges) {
  const auto& t = vardell::hwv::Tables();
  EXPECT_TRUE(vardell::hwv::TablesBuilt());
  for (int h = 0; h < 60; ++h) {
    EXPECT_EQ(t.green[h], h * 255 / 60);
    EXPECT_EQ(t.green[239 - h], t.green[h]);
    EXPECT_EQ(t.red[60 + h], 255 - h * 255 / 60);
    EXPECT_EQ(t.red[299 - h], t.red[60 + h]);
    EXPECT_EQ(t.blue[120 + h], h * 255 / 60);
    EXPECT_EQ(t.blue[359 - h], t.blue[120 + h]);
  }
  // A copy, not the formula: (299 - 240) * 255 / 60 would be 250, the mirror of 60 gives 255.
  EXPECT_EQ(t.red[299], 255);
  EXPECT_EQ(t.red[150] + t.green[270] + t.blue[60], 0);
}

TEST(ColourModelTest, HwvToRgbLiftsOutsideTheSectorAndScales) {
  BYTE r, g, b;
  HWVToRGB(0, 127, 100, r, g, b);  // gray with whiteness 127 is tinted red
  EXPECT_EQ(r, 100);
  EXPECT_EQ(g, 99);
  EXPECT_EQ(b, 99);
  HWVToRGB(120, 0, 255, r, g, b);
  EXPECT_EQ(RGB(r, g, b), RGB(0, 255, 0));
  HWVToRGB(200, 64, 0, r, g, b);
  EXPECT_EQ(RGB(r, g, b), 0u);
  // 360 (as RGBToHWV can answer) is red, like 0.
  BYTE r0, g0, b0;
  HWVToRGB(360, 30, 200, r, g, b);
  HWVToRGB(0, 30, 200, r0, g0, b0);
  EXPECT_EQ(RGB(r, g, b), RGB(r0, g0, b0));
  // Pure blue comes back with red 5: the mirrored red edge at 240 is a copy of red[119].
  WORD h, w, v;
  RGBToHWV(0, 0, 255, h, w, v);
  HWVToRGB(h, w, v, r, g, b);
  EXPECT_EQ(RGB(r, g, b), RGB(5, 0, 255));
}

}  // namespace
