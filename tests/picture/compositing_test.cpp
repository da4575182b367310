// CPicture compositing: every blend and copy against a per-pixel oracle (clipping, sampling,
// pictures drawn onto themselves), the figures the oracle does not show, bad input, and device
// drawing checked pixel by pixel on memory DCs.
#include "picture_fixtures.h"

#include "hostutil/geometry_utils.h"
#include "picture/mmx_switch.h"
#include "picture/print_tiles.h"
#include "platform/dc_test_util.h"

#include <functional>

namespace {

using namespace vardell::test;
using vardell::ByteTables;

class Compositing : public ::testing::Test {
 protected:
  void TearDown() override { EnableMMX(0); }  // every test leaves the MMX switch off
};

const CRect kNone;
CRect RandomRect(Rng& r, int w, int h) {
  const int x = r.Range(-w / 2, w), y = r.Range(-h / 2, h);
  return CRect(x, y, x + r.Range(1, w + 6), y + r.Range(1, h + 6));
}
std::uint32_t DevicePx(const CPicture& pic, int x, int y) {
  const BYTE* p = pic.GetPixel(x, y);
  return Px(p[2], p[1], p[0]);
}

// A draw as defined, pixel by pixel in the system's order (rows from the top, pixels from the
// left, each read after the previous one was written), on the clipped rectangles.
using Channel = std::function<int(int d, int s, int m)>;
void Oracle(CPicture& src, CPicture& dst, CRect dstRect, CRect srcRect, CMask* mask, CRect maskRect,
            CRect clip, const Channel& f) {
  CRect d = dstRect & dst.GetPictureRect();
  if (!clip.IsRectNull()) d &= clip;
  if (d.IsRectEmpty()) return;
  if (!d.EqualRect(dstRect)) {
    CRect r = d;
    ScaleTransform(dstRect, srcRect, r);
    srcRect = r;
    r = d;
    ScaleTransform(dstRect, maskRect, r);
    maskRect = r;
  }
  CRect s = srcRect & src.GetPictureRect();
  if (s.IsRectEmpty()) return;
  if (!s.EqualRect(srcRect)) {
    CRect r = s;
    ScaleTransform(srcRect, d, r);
    d = r;
  }
  for (int j = 0; j < d.Height(); ++j)
    for (int i = 0; i < d.Width(); ++i) {
      const BYTE* sp =
          src.GetPixel(s.left + i * s.Width() / d.Width(), s.top + j * s.Height() / d.Height());
      const BYTE m = mask ? *mask->GetPixel(maskRect.left + i * maskRect.Width() / d.Width(),
                                            maskRect.top + j * maskRect.Height() / d.Height())
                          : 0;
      BYTE* dp = dst.GetPixel(d.left + i, d.top + j);
      for (int c = 0; c < 3; ++c) dp[c] = static_cast<BYTE>(f(dp[c], sp[c], m));
    }
}

// Odd sizes (row padding), rectangles partly outside, clip rectangles, both MMX settings.
TEST_F(Compositing, BlendsAndCopiesMatchTheOracle) {
  const ByteTables& t = ByteTables::Get();
  for (std::uint32_t seed = 1; seed <= 160; ++seed) {
    Rng rng(seed);
    CPicture src, dst, expected;
    Fill(src, rng.Range(1, 19), rng.Range(1, 13), rng);
    Fill(dst, rng.Range(1, 23), rng.Range(1, 17), rng);
    CMask mask;
    Fill(mask, rng.Range(1, 11), rng.Range(1, 9), rng);
    // 0-3: uniform table blend, MMX blend, table add, MMX add; 4-5: masked table and MMX forms;
    // 6: scaled copy; 7: copy from a point (a block move a row, so never onto itself here).
    const int variant = static_cast<int>(seed % 8);
    const bool self = (seed / 8) % 2 == 1 && variant != 7;
    CPicture& source = self ? dst : src;
    const CRect dstRect = RandomRect(rng, dst.Width(), dst.Height());
    // Drawn onto itself mostly as the clone brush does: from a spot a few pixels away.
    const bool clone = self && (seed / 16) % 2 == 0;
    const CRect srcRect =
        clone ? dstRect + CPoint(rng.Range(-3, 3), rng.Range(-1, 1) * rng.Range(0, 1))
              : RandomRect(rng, source.Width(), source.Height());
    const CRect clip = seed % 4 == 0 ? RandomRect(rng, dst.Width(), dst.Height()) : CRect();
    const int level = rng.Range(1, 254), inv = rng.Range(0, 1), bAdd = rng.Range(0, 1);
    // The mask rectangle stays inside the mask so that the masked draws go through.
    const int mx = rng.Range(0, mask.Width() - 1), my = rng.Range(0, mask.Height() - 1);
    const CRect maskRect(mx, my, rng.Range(mx + 1, mask.Width()), rng.Range(my + 1, mask.Height()));
    const BYTE* n = inv ? t.inv : t.mul[255];
    const Channel channels[] = {
        [&](int d, int s, int) { return t.mul[255 - level][d] + t.mul[level][s]; },
        [&](int d, int s, int) { return (s * level + d * (256 - level)) >> 8; },
        [&](int d, int s, int) { return t.Clamp()[d + t.mul[level][s]]; },
        [&](int d, int s, int) { return std::min(255, (256 * d + s * level) >> 8); },
        [&](int d, int s, int m) {
          const int a = t.mul[level][n[m]];
          if (bAdd) return t.mul[255 - level][d] + t.mul[level][t.Clamp()[d + t.mul[n[m]][s]]];
          return variant == 5 ? (s * a + d * (257 - a)) >> 8 : t.mul[255 - a][d] + t.mul[a][s];
        },
        [](int, int s, int) { return s; }};
    dst.Duplicate(expected);
    EnableMMX(variant % 2);
    int result = 0;
    if (variant < 4)
      result = source.DrawTransparent(dst, dstRect, srcRect, static_cast<BYTE>(level), variant < 2);
    else if (variant < 6)
      result = source.DrawTransparent(dst, dstRect, srcRect, mask, maskRect,
                                      static_cast<BYTE>(level), bAdd, inv, clip);
    else if (variant == 6)
      result = source.Draw(dst, dstRect, srcRect);
    else
      result = source.Draw(dst, dstRect, srcRect.TopLeft());
    const bool masked = variant == 4 || variant == 5;
    Oracle(self ? expected : src, expected, dstRect,
           variant == 7 ? CRect(srcRect.TopLeft(), dstRect.Size()) : srcRect,
           masked ? &mask : nullptr, maskRect, masked ? clip : kNone,
           channels[std::min(variant, variant < 6 ? 4 : 5)]);
    ASSERT_EQ(result, 1) << "seed " << seed;
    ASSERT_EQ(Bytes(dst), Bytes(expected)) << "seed " << seed << " variant " << variant;
  }
}

// The MMX variants write three bytes a pixel: row padding and the spare bytes stay as they were.
TEST_F(Compositing, PaddingAndBadInputStayUntouched) {
  Rng rng(5);
  CPicture src, dst, empty;
  Fill(src, 5, 4, rng);
  Fill(dst, 5, 4, rng);  // stride 16: one padding byte a row
  const std::vector<BYTE> before = Bytes(dst);
  CMask mask, emptyMask;
  mask.CreateMask(5, 4, 255);
  const CRect all(0, 0, 5, 4);
  EnableMMX(1);
  src.DrawTransparent(dst, all, all, 77, 1);
  src.DrawTransparent(dst, all, all, mask, all, 77, 0, 0, CRect());
  for (int y = 0; y < 4; ++y) EXPECT_EQ(dst.GetBuffer()[16 * y + 15], before[16 * y + 15]);
  EnableMMX(0);

  const std::vector<BYTE> kept = Bytes(dst);
  // Level 0 answers 1 at once, even without buffers.
  EXPECT_EQ(empty.DrawTransparent(empty, all, all, 0, 1), 1);
  EXPECT_EQ(empty.DrawTransparent(dst, all, all, 5, 1), 0);
  EXPECT_EQ(empty.Draw(dst, all, all), 0);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, emptyMask, all, 9, 0, 0, CRect()), 0);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, CRect(1, 0, 6, 4), 9, 0, 0, CRect()), 0);
  // An empty mask rectangle passes the union test but is sampled at its corner, outside here.
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, CRect(40, 40, 40, 40), 9, 0, 0, CRect()), 0);
  // Nothing to draw is no failure.
  EXPECT_EQ(src.Draw(dst, CRect(10, 10, 20, 20), all), 1);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, all, 9, 0, 0, CRect(9, 9, 12, 12)), 1);
  EXPECT_EQ(Bytes(dst), kept);
  // Huge rectangles and scale factors stay inside both buffers.
  const CRect huge(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
  EXPECT_EQ(src.Draw(dst, huge, all), 1);
  EXPECT_EQ(src.Draw(dst, huge, CPoint(INT32_MAX, INT32_MIN)), 1);
  EXPECT_EQ(src.DrawTransparent(dst, huge, all, mask, all, 9, 1, 1, huge), 1);
  // An inverted mask rectangle inside the mask is sampled backwards.
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, CRect(4, 3, 1, 1), 9, 0, 0, CRect()), 1);
}

TEST_F(Compositing, DeviceDrawingAndPrintTiles) {
  Rng rng(9);
  CPicture pic, empty;
  Fill(pic, 5, 3, rng);
  MemoryDc dc(8, 6, 0x123456);
  CDC* cdc = CDC::FromHandle(dc.hdc());
  EXPECT_EQ(pic.Draw(cdc, 2, 1, SRCCOPY), 1);
  EXPECT_EQ((std::vector{dc.At(1, 1), dc.At(2, 1), dc.At(6, 3), dc.At(7, 3)}),
            (std::vector{0x123456u, DevicePx(pic, 0, 0), DevicePx(pic, 4, 2), 0x123456u}));
  // A source rectangle counts rows from the top; the buffer is handed over bottom-up.
  EXPECT_EQ(pic.Draw(cdc, CRect(0, 0, 6, 4), CRect(1, 1, 4, 3), SRCCOPY), 1);  // 2 pixels a pixel
  EXPECT_EQ(dc.At(5, 3), DevicePx(pic, 3, 2));
  EXPECT_EQ(pic.Draw(cdc, CRect(0, 0, 10, 6), SRCCOPY), 1);
  const CRect huge(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
  pic.Draw(cdc, huge, huge, SRCCOPY);
  pic.Draw(cdc, huge, SRCCOPY);
  pic.Print(cdc, huge, SRCCOPY);
  EXPECT_EQ(empty.Draw(cdc, 0, 0, SRCCOPY), 0);
  EXPECT_EQ(pic.Draw(nullptr, 0, 0, SRCCOPY), 0);

  std::vector<CRect> tiles;
  vardell::compositing::ForEachPrintTile(1200, 700, [&](const CRect& r) {
    tiles.push_back(r);
    return true;
  });
  EXPECT_EQ(tiles, (std::vector<CRect>{CRect(0, 0, 500, 500), CRect(500, 0, 1000, 500),
                                       CRect(1000, 0, 1200, 500), CRect(0, 500, 500, 700),
                                       CRect(500, 500, 1000, 700), CRect(1000, 500, 1200, 700)}));
  Fill(pic, 1200, 700, rng);
  MemoryDc page(1200, 700);
  EXPECT_EQ(pic.Print(CDC::FromHandle(page.hdc()), pic.GetPictureRect(), SRCCOPY), 1);
  const std::vector<std::uint32_t> px = page.Pixels();
  int wrong = 0;
  for (int i = 0; i < 1200 * 700; ++i) wrong += px[i] != DevicePx(pic, i % 1200, i / 1200);
  EXPECT_EQ(wrong, 0);
  CDC::DeleteTempMap();
}

TEST_F(Compositing, CreateDdbFillsWhiteAroundAFittedPicture) {
  CPicture pic, empty;
  pic.CreatePicture(4, 2, 0);
  pic.ClearPicture(COLORREF{RGB(255, 0, 0)});
  MemoryDc dc(1, 1);
  CDC* cdc = CDC::FromHandle(dc.hdc());
  for (int stretch = 0; stretch < 2; ++stretch) {
    HBITMAP bitmap = pic.CreateDDB(cdc, CSize(8, 8), stretch);
    std::vector<std::uint32_t> px(64);
    ASSERT_EQ(GetBitmapBits(bitmap, 256, px.data()), 256);
    std::string column;  // FitIn: (0, 2, 8, 6)
    for (int y = 0; y < 8; ++y)
      column += px[y * 8] == 0xFF0000u ? 'R' : px[y * 8] == 0xFFFFFFu ? 'W' : '?';
    EXPECT_EQ(column, stretch ? "RRRRRRRR" : "WWRRRRWW");
    DeleteObject(bitmap);
  }
  EXPECT_EQ(empty.CreateDDB(cdc, CSize(8, 8), 1), nullptr);
  CDC::DeleteTempMap();
}

}  // namespace
