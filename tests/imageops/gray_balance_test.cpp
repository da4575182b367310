#include "imageops_test_util.h"

namespace {

using vardell::test::Snapshot;

// A 256 x 1 picture whose pixel x is (x, x, x).
void Ramp(CPicture& p) {
  p.CreatePicture(256, 1, 0);
  for (int x = 0; x < 256; ++x)
    p.GetPixel(x, 0)[0] = p.GetPixel(x, 0)[1] = p.GetPixel(x, 0)[2] = static_cast<BYTE>(x);
}

// Channel c (0 blue, 1 green, 2 red) of the pixels at xs.
std::vector<int> Out(const CPicture& p, int c, std::vector<int> xs) {
  for (int& x : xs) x = p.GetPixel(x, 0)[c];
  return xs;
}

TEST(GrayBalanceTest, LevelsAndExponentPerChannelAndRefusals) {
  CPicture p, empty;
  Ramp(p);
  // Zero exponent, an empty output range, inverted or out-of-range levels change nothing.
  const auto before = Snapshot(p);
  EXPECT_EQ(p.GrayBalance(0, 255, 0.0, 0, 255, 1.0, 0, 255, 1.0, 0, 255, 0, 255, 0, 255) +
                p.GrayBalance(0, 255, 1.0, 0, 255, 1.0, 0, 255, 1.0, 0, 255, 0, 255, 7, 7) +
                p.GrayBalance(30, 20, 1.0, 0, 255, 1.0, 0, 255, 1.0, 0, 255, 0, 255, 0, 255) +
                p.GrayBalance(-1, 255, 1.0, 0, 256, 1.0, 0, 255, 1.0, 0, 255, 0, 255, 0, 255) +
                empty.GrayBalance(0, 255, 1.0, 0, 255, 1.0, 0, 255, 1.0, 0, 255, 0, 255, 0, 255),
            0);
  EXPECT_EQ(Snapshot(p), before);
  // Red 10..30 squared onto 10..210; green straight through; blue inverted exponent 0.5.
  ASSERT_EQ(p.GrayBalance(10, 30, 2.0, 0, 255, 1.0, 0, 100, 0.5, 10, 210, 0, 255, 50, 60), 1);
  // 20: 10 + 200 * 0.25.
  EXPECT_EQ(Out(p, 2, {20, 5, 30, 40, 25}), std::vector<int>({60, 10, 210, 210, 122}));
  // Exponent 1.0 is still evaluated through exp and ln: exp(ln(2 / 255)) is just below 2 / 255.
  EXPECT_EQ(Out(p, 1, {2, 100, 255}), std::vector<int>({1, 100, 255}));
  EXPECT_EQ(Out(p, 0, {25, 200}), std::vector<int>({55, 60}));  // 25: 50 + 10 * sqrt(0.25)
  // A negative exponent: the entry at the low level is infinite and stores 0.
  Ramp(p);
  ASSERT_EQ(p.GrayBalance(0, 255, -1.0, 0, 255, 1.0, 0, 255, 1.0, 0, 255, 0, 255, 0, 255), 1);
  EXPECT_EQ(Out(p, 2, {0}), std::vector<int>({0}));
}

}  // namespace
