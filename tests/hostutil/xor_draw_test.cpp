#include "hostutil/xor_draw.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 24, kHeight = 16;

// A memory DC over a bitmap of random colours.
class XorCanvas : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_dc.CreateCompatibleDC(nullptr));
    ASSERT_TRUE(m_bitmap.CreateCompatibleBitmap(&m_dc, kWidth, kHeight));
    m_old = m_dc.SelectObject(&m_bitmap);
    vardell::test::Rng rng(77);
    for (auto& p : m_before) p = rng.Next() & 0xFFFFFF;
    m_bitmap.SetBitmapBits(kWidth * kHeight * 4, m_before.data());
  }
  void TearDown() override { m_dc.SelectObject(m_old); }
  std::vector<std::uint32_t> Pixels() {
    std::vector<std::uint32_t> p(kWidth * kHeight);
    m_bitmap.GetBitmapBits(kWidth * kHeight * 4, p.data());
    return p;
  }
  CDC m_dc;
  CBitmap m_bitmap;
  CBitmap* m_old = nullptr;
  std::vector<std::uint32_t> m_before = std::vector<std::uint32_t>(kWidth * kHeight);
};

// Drawn once a shape inverts its outline only; drawn twice it restores the picture.
TEST_F(XorCanvas, ShapesTwiceRestoreThePicture) {
  // A dragged rectangle may come inverted.
  ASSERT_TRUE(DrawXORRect(&m_dc, CRect(20, 12, 3, 2)));
  std::vector<std::uint32_t> want = m_before;
  for (int y = 2; y < 12; ++y)
    for (int x = 3; x < 20; ++x)
      if (x == 3 || x == 19 || y == 2 || y == 11) want[y * kWidth + x] ^= 0xFFFFFF;
  EXPECT_EQ(Pixels(), want);
  ASSERT_TRUE(DrawXORRect(&m_dc, CRect(3, 2, 20, 12)));
  EXPECT_EQ(Pixels(), m_before);
  ASSERT_TRUE(DrawXOREllipse(&m_dc, CRect(2, 1, 22, 15)));
  const std::vector<std::uint32_t> once = Pixels();
  int inverted = 0;
  for (std::size_t i = 0; i < once.size(); ++i)
    inverted += once[i] == (m_before[i] ^ 0xFFFFFF) ? 1 : once[i] == m_before[i] ? 0 : 1000;
  EXPECT_TRUE(inverted > 40 && inverted < 1000) << inverted;
  EXPECT_EQ(once[7 * kWidth + 12], m_before[7 * kWidth + 12]);  // the inside is left alone
  ASSERT_TRUE(DrawXOREllipse(&m_dc, CRect(2, 1, 22, 15)));
  EXPECT_EQ(Pixels(), m_before);
}

TEST_F(XorCanvas, DcStateIsRestored) {
  CPen pen(PS_SOLID, 3, RGB(1, 2, 3));
  CPen* oldPen = m_dc.SelectObject(&pen);
  m_dc.SetROP2(R2_MASKPEN);
  DrawXORRect(&m_dc, CRect(1, 1, 5, 5));
  DrawXOREllipse(&m_dc, CRect(1, 1, 5, 5));
  EXPECT_EQ(m_dc.GetROP2(), R2_MASKPEN);
  EXPECT_EQ(m_dc.GetCurrentPen(), &pen);
  m_dc.SelectObject(oldPen);

  EXPECT_FALSE(DrawXORRect(nullptr, CRect(1, 1, 5, 5)));
  CDC bare;  // a memory DC without a bitmap cannot draw
  ASSERT_TRUE(bare.CreateCompatibleDC(nullptr));
  EXPECT_FALSE(DrawXORRect(&bare, CRect(1, 1, 5, 5)));
}

}  // namespace
