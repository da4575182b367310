#include "imageops/colour_model.h"
#include "imageops/reciprocal.h"
#include "imageops_test_util.h"

namespace {

std::vector<int> Hwv(BYTE r, BYTE g, BYTE b) {
  WORD h, w, v;
  RGBToHWV(r, g, b, h, w, v);
  return {h, w, v};
}

COLORREF Rgb(int h, int w, int v) {
  BYTE r, g, b;
  HWVToRGB(static_cast<WORD>(h), static_cast<WORD>(w), static_cast<WORD>(v), r, g, b);
  return RGB(r, g, b);
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
      const unsigned below = m ? m - 1 : 0;
      ASSERT_TRUE(DivideSmall(m, d) == m / d && DivideSmall(below, d) == below / d)
          << m << "/" << d;
    }
}

TEST(ColourModelTest, KnownAnswersTieRulesAndTables) {
  // One colour of each sector; red wins its ties, green its tie with blue; (255, 0, 1): the
  // truncation gives 360; (255, 254, 253): half-way whiteness.
  const int known[][6] = {
      {200, 100, 50, 20, 32, 200},  {7, 3, 5, 326, 55, 7},        {50, 200, 100, 140, 32, 200},
      {100, 200, 50, 100, 32, 200}, {50, 100, 200, 220, 32, 200}, {100, 50, 200, 260, 32, 200},
      {200, 200, 0, 60, 0, 200},    {200, 0, 200, 300, 0, 200},   {0, 200, 200, 180, 0, 200},
      {255, 0, 1, 360, 0, 255},     {100, 100, 100, 0, 128, 100}, {255, 254, 253, 29, 127, 255}};
  for (const auto& k : known)
    EXPECT_EQ(Hwv(BYTE(k[0]), BYTE(k[1]), BYTE(k[2])), std::vector<int>({k[3], k[4], k[5]}))
        << k[0] << "," << k[1] << "," << k[2];
  const auto& t = vardell::hwv::Tables();
  EXPECT_TRUE(vardell::hwv::TablesBuilt());
  for (int h = 0; h < 60; ++h)
    ASSERT_TRUE(t.green[h] == h * 255 / 60 && t.green[239 - h] == t.green[h] &&
                t.red[60 + h] == 255 - h * 255 / 60 && t.red[299 - h] == t.red[60 + h] &&
                t.blue[120 + h] == h * 255 / 60 && t.blue[359 - h] == t.blue[120 + h])
        << h;
  // A copy, not the formula: (299 - 240) * 255 / 60 would be 250, the mirror of 60 gives 255.
  EXPECT_EQ(t.red[299], 255);
  EXPECT_EQ(t.red[150] + t.green[270] + t.blue[60], 0);
  // Back to RGB: gray with whiteness 127 is tinted red; 360 (as RGBToHWV can answer) is red,
  // like 0; pure blue comes back with red 5, as the mirrored red edge at 240 is red[119].
  EXPECT_EQ(Rgb(0, 127, 100), RGB(100, 99, 99));
  EXPECT_EQ(Rgb(200, 64, 0), 0u);
  EXPECT_EQ(Rgb(360, 30, 200), Rgb(0, 30, 200));
  EXPECT_EQ(Rgb(240, 0, 255), RGB(5, 0, 255));
  EXPECT_EQ(Hwv(0, 0, 255), std::vector<int>({240, 0, 255}));
}

}  // namespace
