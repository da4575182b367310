#include "hostutil/xor_draw.h"

#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A memory DC over a bitmap of random colours.
class XorCanvas : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_dc.CreateCompatibleDC(nullptr));
    ASSERT_TRUE(m_bitmap.CreateCompatibleBitmap(&m_dc, kWidth, kHeight));
    m_old = m_dc.SelectObject(&m_bitmap);
    vardell::test::Rng rng(77);
    std::vector<std::uint32_t> pixels(kWidth * kHeight);
    for (auto& p : pixels) p = rng.Next() & 0xFFFFFF;
    m_bitmap.SetBitmapBits(static_cast<DWORD>(pixels.size() * 4), pixels.data());
  }
  void TearDown() override { m_dc.SelectObject(m_old); }

  std::vector<std::uint32_t> Pixels() {
    std::vector<std::uint32_t> p(kWidth * kHeight);
    m_bitmap.GetBitmapBits(static_cast<DWORD>(p.size() * 4), p.data());
    return p;
  }

  static constexpr int kWidth = 24;
  static constexpr int kHeight = 16;
  CDC m_dc;
  CBitmap m_bitmap;
  CBitmap* m_old = nullptr;
};

TEST_F(XorCanvas, RectangleTwiceRestoresThePicture) {
  const std::vector<std::uint32_t> before = Pixels();
  // A dragged rectangle may come inverted and may reach outside the picture.
  ASSERT_TRUE(DrawXORRect(&m_dc, CRect(20, 12, 3, 2)));
  const std::vector<std::uint32_t> once = Pixels();
  for (int y = 0; y < kHeight; ++y)
    for (int x = 0; x < kWidth; ++x) {
      const std::size_t i = static_cast<std::size_t>(y) * kWidth + x;
      const bool inBox = x >= 3 && x < 20 && y >= 2 && y < 12;
      const bool edge = inBox && (x == 3 || x == 19 || y == 2 || y == 11);
      EXPECT_EQ(once[i], edge ? ~before[i] & 0xFFFFFF : before[i]) << x << "," << y;
    }
  ASSERT_TRUE(DrawXORRect(&m_dc, CRect(3, 2, 20, 12)));
  EXPECT_EQ(Pixels(), before);
  ASSERT_TRUE(DrawXORRect(&m_dc, CRect(-5, -5, 30, 8)));
  ASSERT_TRUE(DrawXORRect(&m_dc, CRect(-5, -5, 30, 8)));
  EXPECT_EQ(Pixels(), before);
}

TEST_F(XorCanvas, EllipseTwiceRestoresThePicture) {
  const std::vector<std::uint32_t> before = Pixels();
  ASSERT_TRUE(DrawXOREllipse(&m_dc, CRect(2, 1, 22, 15)));
  const std::vector<std::uint32_t> once = Pixels();
  int inverted = 0;
  for (std::size_t i = 0; i < once.size(); ++i) {
    if (once[i] == before[i]) continue;
    EXPECT_EQ(once[i], ~before[i] & 0xFFFFFF);
    ++inverted;
  }
  EXPECT_GT(inverted, 40);
  EXPECT_EQ(once[7 * kWidth + 12], before[7 * kWidth + 12]);  // the inside is left alone
  ASSERT_TRUE(DrawXOREllipse(&m_dc, CRect(2, 1, 22, 15)));
  EXPECT_EQ(Pixels(), before);
}

TEST_F(XorCanvas, DcStateIsRestored) {
  CPen pen(PS_SOLID, 3, RGB(1, 2, 3));
  CBrush brush(RGB(4, 5, 6));
  CPen* oldPen = m_dc.SelectObject(&pen);
  CBrush* oldBrush = m_dc.SelectObject(&brush);
  m_dc.SetROP2(R2_MASKPEN);
  DrawXORRect(&m_dc, CRect(1, 1, 5, 5));
  DrawXOREllipse(&m_dc, CRect(1, 1, 5, 5));
  EXPECT_EQ(m_dc.GetROP2(), R2_MASKPEN);
  EXPECT_EQ(m_dc.GetCurrentPen(), &pen);
  EXPECT_EQ(m_dc.GetCurrentBrush(), &brush);
  m_dc.SelectObject(oldPen);
  m_dc.SelectObject(oldBrush);

  EXPECT_FALSE(DrawXORRect(nullptr, CRect(1, 1, 5, 5)));
  CDC bare;  // a memory DC without a bitmap cannot draw
  ASSERT_TRUE(bare.CreateCompatibleDC(nullptr));
  EXPECT_FALSE(DrawXORRect(&bare, CRect(1, 1, 5, 5)));
}

}  // namespace
