// CPicture compositing: the figures of the blend arithmetics, clipping and sampling against a
// per-pixel oracle (pictures drawn onto themselves included), bad input, and device drawing
// checked pixel by pixel on memory DCs.
#include "picture/picture.h"

#include "hostutil/geometry_utils.h"
#include "mask/mask.h"
#include "picture/mmx_switch.h"
#include "picture/print_tiles.h"
#include "platform/dc_test_util.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

using vardell::ByteTables;
using vardell::test::MemoryDc;
using vardell::test::Px;
using vardell::test::Rng;

// Every test leaves the MMX switch off.
class Compositing : public ::testing::Test {
 protected:
  void TearDown() override { EnableMMX(0); }
};

void Fill(CPicture& p, int w, int h, Rng& rng) {
  ASSERT_TRUE(p.CreatePicture(w, h, 0));
  for (int i = 0; i < p.GetDataSize(); ++i) p.GetBuffer()[i] = rng.Byte();
}
void Fill(CMask& m, int w, int h, Rng& rng) {
  ASSERT_TRUE(m.CreateMask(w, h, 0));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) *m.GetPixel(x, y) = rng.Byte();
}
std::vector<BYTE> Bytes(const CPicture& p) {
  return std::vector<BYTE>(p.GetBuffer(), p.GetBuffer() + p.GetDataSize());
}
CRect RandomRect(Rng& r, int w, int h) {
  const int x = r.Range(-w / 2, w), y = r.Range(-h / 2, h);
  return CRect(x, y, x + r.Range(1, w + 6), y + r.Range(1, h + 6));
}

// The blends as defined, pixel by pixel in the system's order (rows from the top, pixels from
// the left, each read after the previous one was written), on the clipped rectangles.
using Channel = std::function<BYTE(BYTE d, BYTE s, BYTE m)>;
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
      for (int c = 0; c < 3; ++c) dp[c] = f(dp[c], sp[c], m);
    }
}

TEST_F(Compositing, UniformBlendFigures) {
  CPicture src, dst;
  src.CreatePicture(2, 2, 255);
  dst.CreatePicture(2, 2, 0);
  const CRect all(0, 0, 2, 2);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, 128, 1), 1);
  EXPECT_EQ(dst.GetPixel(1, 1)[0], 128);  // M[127][0] + M[128][255]
  dst.ClearPicture(BYTE{0});
  EnableMMX(1);  // read at the start of each call
  EXPECT_EQ(src.DrawTransparent(dst, all, all, 128, 1), 1);
  EXPECT_EQ(dst.GetPixel(1, 1)[2], 127);  // (255 * 128 + 0 * 128) >> 8
  EnableMMX(0);
  src.ClearPicture(BYTE{200});
  dst.ClearPicture(BYTE{100});
  EXPECT_EQ(src.DrawTransparent(dst, all, all, 255, 0), 1);  // zero bBlend adds
  EXPECT_EQ(dst.GetPixel(0, 0)[1], 255);
  // Level 0 answers 1 at once, even without buffers; level 255 blending is the scaled copy.
  CPicture none;
  EXPECT_EQ(none.DrawTransparent(none, all, all, 0, 1), 1);
  EXPECT_EQ(none.DrawTransparent(dst, all, all, 5, 1), 0);
  Rng rng(7);
  CPicture a, b, c;
  Fill(a, 9, 7, rng);
  Fill(b, 13, 11, rng);
  b.Duplicate(c);
  a.DrawTransparent(b, CRect(-3, 2, 11, 9), CRect(1, 1, 8, 6), 255, 1);
  a.Draw(c, CRect(-3, 2, 11, 9), CRect(1, 1, 8, 6));
  EXPECT_EQ(Bytes(b), Bytes(c));
}

TEST_F(Compositing, MaskedBlendFigures) {
  Rng rng(11);
  CPicture src, dst, expected;
  Fill(src, 6, 5, rng);
  Fill(dst, 6, 5, rng);
  dst.Duplicate(expected);
  CMask zero;
  zero.CreateMask(6, 5, 0);
  const CRect all(0, 0, 6, 5);
  for (int mmx = 0; mmx < 2; ++mmx) {
    EnableMMX(mmx);
    EXPECT_EQ(src.DrawTransparent(dst, all, all, zero, all, 200, 0, 0, CRect()), 1);
    EXPECT_EQ(Bytes(dst), Bytes(expected)) << "mmx " << mmx;  // 257: weight 0 keeps the target
    // Inverted, the all-zero mask is the uniform blend.
    CPicture uniform;
    dst.Duplicate(uniform);
    EXPECT_EQ(src.DrawTransparent(dst, all, all, zero, all, 90, 0, 1, CRect()), 1);
    if (mmx == 0) {
      src.DrawTransparent(uniform, all, all, 90, 1);
      EXPECT_EQ(Bytes(dst), Bytes(uniform));
    }
    expected.Duplicate(dst);
  }
}

// Clipping and nearest-neighbour sampling of every blend against the oracle, on odd sizes
// (row padding), with rectangles partly outside and pictures drawn onto themselves.
TEST_F(Compositing, BlendsMatchTheOracle) {
  const ByteTables& t = ByteTables::Get();
  for (std::uint32_t seed = 1; seed <= 120; ++seed) {
    Rng rng(seed);
    CPicture src, dst, expected;
    Fill(src, rng.Range(1, 19), rng.Range(1, 13), rng);
    Fill(dst, rng.Range(1, 23), rng.Range(1, 17), rng);
    CMask mask;
    Fill(mask, rng.Range(1, 11), rng.Range(1, 9), rng);
    const bool self = (seed / 6) % 2 == 1;
    CPicture& source = self ? dst : src;
    const CRect dstRect = RandomRect(rng, dst.Width(), dst.Height());
    // Drawn onto itself mostly as the clone brush does: from a spot a few pixels away.
    const bool clone = self && (seed / 12) % 2 == 0;
    const CRect srcRect =
        clone ? dstRect + CPoint(rng.Range(-3, 3), rng.Range(-1, 1) * rng.Range(0, 1))
              : RandomRect(rng, source.Width(), source.Height());
    const CRect clip = seed % 4 == 0 ? RandomRect(rng, dst.Width(), dst.Height()) : CRect();
    const BYTE level = static_cast<BYTE>(rng.Range(1, 254));
    const int variant = static_cast<int>(seed % 6), inv = rng.Range(0, 1);
    const BYTE* n = inv ? t.inv : t.mul[255];
    dst.Duplicate(expected);
    CPicture& oracleSource = self ? expected : src;
    const CRect none;
    int result = 0;
    EnableMMX(variant % 2);
    switch (variant) {
      case 0:
      case 1:
        result = source.DrawTransparent(dst, dstRect, srcRect, level, 1);
        Oracle(oracleSource, expected, dstRect, srcRect, nullptr, none, none,
               variant ? Channel([&](BYTE d, BYTE s, BYTE) {
                 return (s * level + d * (256 - level)) >> 8;
               })
                       : Channel([&](BYTE d, BYTE s, BYTE) {
                           return t.mul[255 - level][d] + t.mul[level][s];
                         }));
        break;
      case 2:
      case 3:
        result = source.DrawTransparent(dst, dstRect, srcRect, level, 0);
        Oracle(oracleSource, expected, dstRect, srcRect, nullptr, none, none,
               variant == 3
                   ? Channel([&](BYTE d, BYTE s, BYTE) {
                       return std::min(255, (256 * d + s * level) >> 8);
                     })
                   : Channel([&](BYTE d, BYTE s, BYTE) { return t.Clamp()[d + t.mul[level][s]]; }));
        break;
      default: {
        // Masked: the mask rectangle stays inside the mask so the draw goes through.
        const int mx = rng.Range(0, mask.Width() - 1), my = rng.Range(0, mask.Height() - 1);
        const CRect maskRect(mx, my, rng.Range(mx + 1, mask.Width()),
                             rng.Range(my + 1, mask.Height()));
        const int bAdd = rng.Range(0, 1);
        result =
            source.DrawTransparent(dst, dstRect, srcRect, mask, maskRect, level, bAdd, inv, clip);
        Channel f = [&](BYTE d, BYTE s, BYTE m) {
          const BYTE a = t.mul[level][n[m]];
          if (bAdd) return t.mul[255 - level][d] + t.mul[level][t.Clamp()[d + t.mul[n[m]][s]]];
          return variant == 5 ? (s * a + d * (257 - a)) >> 8 : t.mul[255 - a][d] + t.mul[a][s];
        };
        Oracle(oracleSource, expected, dstRect, srcRect, &mask, maskRect, clip, f);
      }
    }
    ASSERT_EQ(result, 1) << "seed " << seed;
    ASSERT_EQ(Bytes(dst), Bytes(expected)) << "seed " << seed << " variant " << variant;
  }
}

TEST_F(Compositing, CopiesClipAndSample) {
  CPicture src, dst;
  src.CreatePicture(2, 1, 0);
  src.GetPixel(1, 0)[0] = 9;
  dst.CreatePicture(4, 1, 1);
  // 2 source columns onto 4 target pixels: 0, 0, 1, 1.
  EXPECT_EQ(src.Draw(dst, CRect(0, 0, 4, 1), CRect(0, 0, 2, 1)), 1);
  EXPECT_EQ(std::vector<BYTE>(dst.GetBuffer(), dst.GetBuffer() + 12),
            (std::vector<BYTE>{0, 0, 0, 0, 0, 0, 9, 0, 0, 9, 0, 0}));
  // Half outside: only the inside half is drawn, from the matching half of the source.
  dst.ClearPicture(BYTE{1});
  EXPECT_EQ(src.Draw(dst, CRect(2, 0, 6, 1), CRect(0, 0, 2, 1)), 1);
  EXPECT_EQ(std::vector<BYTE>(dst.GetBuffer(), dst.GetBuffer() + 12),
            (std::vector<BYTE>{1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0}));
  // One to one from a point, cut by both pictures.
  Rng rng(3);
  CPicture a, b;
  Fill(a, 7, 5, rng);
  Fill(b, 6, 6, rng);
  const std::vector<BYTE> before = Bytes(b);
  EXPECT_EQ(a.Draw(b, CRect(-1, 2, 5, 9), CPoint(3, 1)), 1);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 6; ++x) {
      const int sx = x + 4, sy = y - 1;  // target (x, y) <- source (x + 4, y - 1)
      const bool drawn = x < 5 && y >= 2 && sx < 7 && sy < 5;
      const BYTE* want = drawn ? a.GetPixel(sx, sy) : &before[(5 - y) * b.GetDataWidth() + 3 * x];
      EXPECT_EQ(std::vector<BYTE>(b.GetPixel(x, y), b.GetPixel(x, y) + 3),
                std::vector<BYTE>(want, want + 3))
          << x << "," << y;
    }
}

// The MMX variants write three bytes a pixel: row padding and the spare bytes stay as they were.
TEST_F(Compositing, PaddingAndBadInputStayUntouched) {
  Rng rng(5);
  CPicture src, dst;
  Fill(src, 5, 4, rng);
  Fill(dst, 5, 4, rng);  // stride 16: one padding byte a row
  const std::vector<BYTE> before = Bytes(dst);
  CMask mask;
  mask.CreateMask(5, 4, 255);
  EnableMMX(1);
  src.DrawTransparent(dst, CRect(0, 0, 5, 4), CRect(0, 0, 5, 4), 77, 1);
  src.DrawTransparent(dst, CRect(0, 0, 5, 4), CRect(0, 0, 5, 4), mask, CRect(0, 0, 5, 4), 77, 0, 0,
                      CRect());
  for (int y = 0; y < 4; ++y) EXPECT_EQ(dst.GetBuffer()[16 * y + 15], before[16 * y + 15]);
  EnableMMX(0);

  const std::vector<BYTE> kept = Bytes(dst);
  CPicture empty;
  CMask emptyMask;
  const CRect all(0, 0, 5, 4);
  EXPECT_EQ(empty.Draw(dst, all, all), 0);
  EXPECT_EQ(src.Draw(empty, all, CPoint(0, 0)), 0);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, emptyMask, all, 9, 0, 0, CRect()), 0);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, CRect(1, 0, 6, 4), 9, 0, 0, CRect()), 0);
  // An empty mask rectangle passes the union test but is sampled at its corner, outside here.
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, CRect(40, 40, 40, 40), 9, 0, 0, CRect()), 0);
  // Nothing to draw is no failure.
  EXPECT_EQ(src.Draw(dst, CRect(10, 10, 20, 20), all), 1);
  EXPECT_EQ(src.Draw(dst, CRect(4, 3, 1, 1), all), 1);
  EXPECT_EQ(src.DrawTransparent(dst, all, CRect(3, 3, 0, 0), 9, 1), 1);
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, all, 9, 0, 0, CRect(9, 9, 12, 12)), 1);
  EXPECT_EQ(Bytes(dst), kept);
  // Huge rectangles and scale factors stay inside both buffers.
  const CRect huge(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
  EXPECT_EQ(src.Draw(dst, huge, all), 1);
  EXPECT_EQ(src.Draw(dst, all, huge), 1);
  EXPECT_EQ(src.Draw(dst, huge, CPoint(INT32_MAX, INT32_MIN)), 1);
  EXPECT_EQ(src.DrawTransparent(dst, CRect(0, 0, 1, 1), CRect(0, 0, 1 << 30, 1 << 30), 50, 1), 1);
  EXPECT_EQ(src.DrawTransparent(dst, huge, all, mask, all, 9, 1, 1, huge), 1);
  // An inverted mask rectangle inside the mask is sampled backwards.
  EXPECT_EQ(src.DrawTransparent(dst, all, all, mask, CRect(4, 3, 1, 1), 9, 0, 0, CRect()), 1);
}

TEST_F(Compositing, DeviceDrawing) {
  Rng rng(9);
  CPicture pic;
  Fill(pic, 5, 3, rng);
  const auto device = [&](int x, int y) {
    const BYTE* p = pic.GetPixel(x, y);
    return Px(p[2], p[1], p[0]);
  };
  MemoryDc dc(8, 6, 0x123456);
  CDC* cdc = CDC::FromHandle(dc.hdc());
  EXPECT_EQ(pic.Draw(cdc, 2, 1, SRCCOPY), 1);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) {
      const bool in = x >= 2 && x < 7 && y >= 1 && y < 4;
      EXPECT_EQ(dc.At(x, y), in ? device(x - 2, y - 1) : 0x123456u) << x << "," << y;
    }
  // A source rectangle counts rows from the top; the buffer is handed over bottom-up.
  EXPECT_EQ(pic.Draw(cdc, CRect(0, 0, 3, 2), CRect(1, 1, 4, 3), SRCCOPY), 1);
  EXPECT_EQ(dc.At(0, 0), device(1, 1));
  EXPECT_EQ(dc.At(2, 1), device(3, 2));
  EXPECT_EQ(pic.Draw(cdc, CRect(0, 0, 10, 6), SRCCOPY), 1);  // stretched: 2 pixels a column
  EXPECT_EQ(dc.At(7, 5), device(3, 2));
  const CRect huge(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
  pic.Draw(cdc, huge, huge, SRCCOPY);
  pic.Draw(cdc, huge, SRCCOPY);
  pic.Print(cdc, huge, SRCCOPY);
  CPicture empty;
  EXPECT_EQ(empty.Draw(cdc, 0, 0, SRCCOPY), 0);
  EXPECT_EQ(pic.Draw(nullptr, 0, 0, SRCCOPY), 0);
  CDC::DeleteTempMap();
}

TEST_F(Compositing, PrintSendsTiles) {
  std::vector<CRect> tiles;
  vardell::compositing::ForEachPrintTile(1200, 700, [&](const CRect& r) {
    tiles.push_back(r);
    return true;
  });
  EXPECT_EQ(tiles, (std::vector<CRect>{{0, 0, 500, 500},
                                       {500, 0, 1000, 500},
                                       {1000, 0, 1200, 500},
                                       {0, 500, 500, 700},
                                       {500, 500, 1000, 700},
                                       {1000, 500, 1200, 700}}));
  Rng rng(2);
  CPicture pic;
  Fill(pic, 1200, 700, rng);
  MemoryDc dc(1200, 700);
  CDC* cdc = CDC::FromHandle(dc.hdc());
  EXPECT_EQ(pic.Print(cdc, pic.GetPictureRect(), SRCCOPY), 1);
  const std::vector<std::uint32_t> px = dc.Pixels();
  int wrong = 0;
  for (int y = 0; y < 700; ++y)
    for (int x = 0; x < 1200; ++x) {
      const BYTE* p = pic.GetPixel(x, y);
      wrong += px[static_cast<std::size_t>(y) * 1200 + x] != Px(p[2], p[1], p[0]);
    }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(pic.Print(nullptr, pic.GetPictureRect(), SRCCOPY), 0);
  CDC::DeleteTempMap();
}

TEST_F(Compositing, CreateDdbFillsWhiteAroundAFittedPicture) {
  CPicture pic;
  pic.CreatePicture(4, 2, 0);
  pic.ClearPicture(COLORREF{RGB(255, 0, 0)});
  MemoryDc dc(1, 1);
  CDC* cdc = CDC::FromHandle(dc.hdc());
  for (int stretch = 0; stretch < 2; ++stretch) {
    HBITMAP bitmap = pic.CreateDDB(cdc, CSize(8, 8), stretch);
    ASSERT_NE(bitmap, nullptr);
    std::vector<std::uint32_t> px(64);
    ASSERT_EQ(GetBitmapBits(bitmap, 256, px.data()), 256);
    for (int y = 0; y < 8; ++y) {
      const bool red = stretch || (y >= 2 && y < 6);  // FitIn: (0, 2, 8, 6)
      EXPECT_EQ(px[y * 8], red ? 0xFF0000u : 0xFFFFFFu) << "row " << y;
    }
    DeleteObject(bitmap);
  }
  HBITMAP own = pic.CreateDDB(cdc, CSize(0, 0), 0);
  BITMAP info{};
  ASSERT_NE(own, nullptr);
  GetObject(own, sizeof info, &info);
  EXPECT_EQ(info.bmWidth, 4);
  DeleteObject(own);
  CPicture empty;
  EXPECT_EQ(empty.CreateDDB(cdc, CSize(8, 8), 1), nullptr);
  CDC::DeleteTempMap();
}

}  // namespace
