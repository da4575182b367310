#include "platform/dc.h"
#include "platform/region.h"

#include "dc_test_util.h"
#include "platform_fixtures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

namespace {

using vardell::test::Calls;
using vardell::test::MemoryDc;
using vardell::test::Px;
using Pixels = std::vector<std::uint32_t>;

// A DIB in memory: header and colour table back to back, and its bottom-up rows.
struct Dib {
  std::vector<BYTE> info;
  std::vector<BYTE> bits;
  const BITMAPINFO* bmi() const { return reinterpret_cast<const BITMAPINFO*>(info.data()); }
  BITMAPINFOHEADER& header() { return *reinterpret_cast<BITMAPINFOHEADER*>(info.data()); }
};

// A DIB of 24 or 8 bits, value(x, y) with y top-based stored bottom-up: the pixel, or the index
// into a grey table of `entries` entries (biClrUsed).
Dib Make(int bits, int w, int h, const std::function<std::uint32_t(int, int)>& value,
         DWORD entries = 0) {
  Dib d;
  d.info.assign(bits == 8 ? 40 + 4 * 256 : 40, 0);
  d.header() = BITMAPINFOHEADER{40, w, h, 1, WORD(bits), BI_RGB, 0, 0, 0, entries, 0};
  for (int i = 0; i < 256 && bits == 8; ++i) std::memset(&d.info[40 + 4 * i], i, 3);
  const int stride = DibStride(w, bits);
  d.bits.assign(static_cast<std::size_t>(stride) * h, 0);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const std::uint32_t v = value(x, y);
      BYTE* q = &d.bits[static_cast<std::size_t>(h - 1 - y) * stride + bits / 8 * x];
      for (int k = 0; k < bits / 8; ++k) q[k] = static_cast<BYTE>(v >> (8 * k));
    }
  return d;
}
Dib Make24(int w, int h, const std::function<std::uint32_t(int, int)>& pixel) {
  return Make(24, w, h, pixel);
}

int Draw(HDC hdc, int xd, int yd, int wd, int hd, int xs, int ys, int ws, int hs, const Dib& d,
         DWORD rop = SRCCOPY) {
  return StretchDIBits(hdc, xd, yd, wd, hd, xs, ys, ws, hs, d.bits.data(), d.bmi(), DIB_RGB_COLORS,
                       rop);
}

// 24-bit, pixel (x, y) = 1 + x + y * w, top-based.
Dib Ramp(int w, int h) {
  return Make24(w, h, [w](int x, int y) { return static_cast<std::uint32_t>(1 + x + y * w); });
}

TEST(StretchDIBits, RowsFromTheBottomMirroringAndClipping) {
  struct Case {
    int sw, sh, dw, dh, xd, yd, wd, hd, xs, ys, ws, hs;
    Pixels expected;
  };
  const Case cases[] = {
      // A bottom-up source counts ySrc from the bottom: top-based rows 1..2 of 4 are ySrc 1.
      {1, 4, 1, 2, 0, 0, 1, 2, 0, 1, 1, 2, {2, 3}},
      // Opposite signs mirror; a negative extent covers the pixels from its origin leftwards.
      {4, 1, 4, 1, 3, 0, -4, 1, 0, 0, 4, 1, {4, 3, 2, 1}},
      {4, 1, 4, 1, 3, 0, -4, 1, 3, 0, -4, 1, {1, 2, 3, 4}},
      {1, 3, 1, 3, 0, 2, 1, -3, 0, 0, 1, 3, {3, 2, 1}},
      // Clipped to the surface; stretched 4 -> 8 with only the middle visible, the sampling
      // does not restart at the edge.
      {4, 1, 4, 1, -2, 0, 4, 1, 0, 0, 4, 1, {3, 4, 0, 0}},
      {4, 1, 4, 1, -2, 0, 8, 1, 0, 0, 4, 1, {2, 2, 3, 3}},
      // Sampling across and down, stretched and shrunk.
      {3, 1, 5, 1, 0, 0, 5, 1, 0, 0, 3, 1, {1, 1, 2, 3, 3}},
      {1, 5, 1, 3, 0, 0, 1, 3, 0, 0, 1, 5, {1, 3, 4}}};
  for (const Case& c : cases) {
    MemoryDc dc(c.dw, c.dh);
    SetStretchBltMode(dc.hdc(), COLORONCOLOR);
    Draw(dc.hdc(), c.xd, c.yd, c.wd, c.hd, c.xs, c.ys, c.ws, c.hs, Ramp(c.sw, c.sh));
    EXPECT_EQ(dc.Pixels(), c.expected) << "case " << &c - cases;
  }
  // Source pixels outside the DIB leave their destination pixels alone.
  MemoryDc dc(4, 1, 9);
  Draw(dc.hdc(), 0, 0, 4, 1, -1, 0, 4, 1, Ramp(4, 1));
  EXPECT_EQ(dc.Pixels(), (Pixels{9, 1, 2, 3}));
}

TEST(StretchDIBits, WorkedRasterOperationBytes) {
  // S = FE DC BA and D = 89 AB CD, byte by byte (blue, green, red).
  const Dib s = Make24(1, 1, [](int, int) { return 0xBADCFEu; });
  const struct {
    DWORD rop;
    std::uint32_t expected;
  } cases[] = {{SRCAND, 0x888888},     {SRCERASE, 0x325476},  {NOTSRCCOPY, 0x452301},
               {MERGEPAINT, 0xCDAB89}, {DSTINVERT, 0x325476}, {WHITENESS, 0xFFFFFF}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.rop);
    MemoryDc dc(1, 1, 0xCDAB89);
    Draw(dc.hdc(), 0, 0, 1, 1, 0, 0, 1, 1, s, c.rop);
    EXPECT_EQ(dc.At(0, 0), c.expected);
  }
  // Operations with a pattern take the selected brush.
  MemoryDc dc(1, 1, 0xCDAB89);
  dc.Use(CreateSolidBrush(RGB(0x0F, 0xF0, 0x3C)));  // pixel 0x0FF03C
  Draw(dc.hdc(), 0, 0, 1, 1, 0, 0, 1, 1, s, MERGECOPY);
  EXPECT_EQ(dc.At(0, 0), 0xBADCFEu & 0x0FF03Cu);
}

TEST(StretchDIBits, EightBitDibDrawsThroughItsColourTable) {
  const BYTE indexes[] = {0, 255, 128, 5};
  Dib d = Make(8, 4, 1, [&](int x, int) { return indexes[x]; });
  MemoryDc dc(4, 1, 0x123456);
  Draw(dc.hdc(), 0, 0, 4, 1, 0, 0, 4, 1, d);
  EXPECT_EQ(dc.Pixels(), (Pixels{0, 0xFFFFFF, 0x808080, 0x050505}));
  // A table of 4 entries (biClrUsed): index 5 and above have no colour and draw black.
  d.header().biClrUsed = 4;
  std::memset(&d.info[40 + 4 * 255], 0x77, 4);
  Draw(dc.hdc(), 0, 0, 4, 1, 0, 0, 4, 1, d);
  EXPECT_EQ(dc.Pixels(), (Pixels{0, 0, 0, 0}));
  // Stretched through the table too.
  Draw(dc.hdc(), 0, 0, 4, 1, 0, 1, 2, 1, Make(8, 2, 2, [](int x, int) { return x * 200u; }));
  EXPECT_EQ(dc.Pixels(), (Pixels{0, 0, 0xC8C8C8, 0xC8C8C8}));
}

TEST(StretchDIBits, ReturnValues) {
  Dib d = Make24(2, 4, [](int, int) { return 0x010203u; });
  MemoryDc dc(4, 4);
  // The DIB's height, not the rows drawn; nothing to draw gives 0, which callers take for success.
  EXPECT_EQ(
      (Calls{Draw(dc.hdc(), 0, 0, 2, 1, 0, 0, 2, 1, d),
             Draw(dc.hdc(), 0, 0, 2, 1, 0, 0, 2, 1, d, SRCINVERT),
             Draw(dc.hdc(), 0, 0, 2, 2, 5, 0, 2, 2, d), Draw(dc.hdc(), 10, 0, 2, 2, 0, 0, 2, 2, d),
             Draw(dc.hdc(), 0, 0, 0, 2, 0, 0, 2, 2, d), Draw(dc.hdc(), 0, 0, 2, 2, 0, 0, 2, 0, d)}),
      (Calls{4, 4, 0, 0, 0, 0}));
  d.header().biHeight = -4;  // top-down: other operations answer the signed height
  EXPECT_EQ(Draw(dc.hdc(), 0, 0, 2, 1, 0, 0, 2, 1, d, SRCINVERT), -4);
  EXPECT_EQ(Draw(dc.hdc(), 0, 0, 2, 1, 0, 0, 2, 1, d), 4);
}

TEST(StretchDIBits, BadInputFailsWithGdiError) {
  Dib d = Make24(2, 2, [](int, int) { return 0x010203u; });
  MemoryDc dc(4, 4, 0x777777);
  const HDC hdc = dc.hdc();
  auto raw = [&](HDC to, const void* bits, const BITMAPINFO* bmi, UINT usage) {
    return StretchDIBits(to, 0, 0, 2, 2, 0, 0, 2, 2, bits, bmi, usage, SRCCOPY);
  };
  EXPECT_EQ(raw(hdc, nullptr, d.bmi(), DIB_RGB_COLORS), GDI_ERROR);
  EXPECT_EQ((Calls{raw(hdc, d.bits.data(), nullptr, DIB_RGB_COLORS),
                   raw(hdc, d.bits.data(), d.bmi(), DIB_PAL_COLORS),
                   raw(nullptr, d.bits.data(), d.bmi(), DIB_RGB_COLORS)}),
            Calls(3, GDI_ERROR));
  const auto with = [&](auto change) {
    Dib bad = d;
    change(bad.header());
    return Draw(hdc, 0, 0, 2, 2, 0, 0, 2, 2, bad);
  };
  EXPECT_EQ(with([](BITMAPINFOHEADER& h) { h.biBitCount = 16; }), GDI_ERROR);
  EXPECT_EQ(with([](BITMAPINFOHEADER& h) { h.biCompression = BI_RLE8; }), GDI_ERROR);
  EXPECT_EQ(with([](BITMAPINFOHEADER& h) { h.biWidth = -2; }), GDI_ERROR);
  EXPECT_EQ(with([](BITMAPINFOHEADER& h) { h.biHeight = 0; }), GDI_ERROR);
  EXPECT_EQ(with([](BITMAPINFOHEADER& h) { h.biSize = 12; }), GDI_ERROR);
  EXPECT_EQ(dc.Pixels(), Pixels(16, 0x777777));

  // A DC without a bitmap of its own, and a DC that was deleted.
  HDC bare = CreateCompatibleDC(nullptr);
  EXPECT_EQ(Draw(bare, 0, 0, 2, 2, 0, 0, 2, 2, d), GDI_ERROR);
  EXPECT_TRUE(DeleteDC(bare));
  EXPECT_EQ(Draw(bare, 0, 0, 2, 2, 0, 0, 2, 2, d), GDI_ERROR);
}

TEST(StretchDIBits, ClipsToTheSurfaceAndTheClipRegion) {
  // Two separate rectangles of clip: (0,0)-(2,1) and (3,1)-(5,3).
  MemoryDc big(6, 3);
  HRGN a = CreateRectRgn(0, 0, 2, 1), b = CreateRectRgn(3, 1, 5, 3);
  CombineRgn(a, a, b, RGN_OR);
  EXPECT_EQ(SelectClipRgn(big.hdc(), a), COMPLEXREGION);
  DeleteObject(a);  // the DC keeps its own copy
  DeleteObject(b);
  const Dib white = Make24(1, 1, [](int, int) { return 0xFFFFFFu; });
  Draw(big.hdc(), 0, 0, 6, 3, 0, 0, 1, 1, white);
  EXPECT_EQ(big.Rows(0xFFFFFF), "##....|...##.|...##.");
  RECT box;
  EXPECT_EQ(GetClipBox(big.hdc(), &box), COMPLEXREGION);
  EXPECT_EQ(box.right, 5);
  EXPECT_EQ(SelectClipRgn(big.hdc(), nullptr), SIMPLEREGION);
  Draw(big.hdc(), 0, 0, 6, 3, 0, 0, 1, 1, white);
  EXPECT_EQ(big.Row(2, 0xFFFFFF), "######");
}

TEST(BitBlt, CopiesBetweenDcsAndWithinOne) {
  MemoryDc src(4, 2), dst(4, 2, 0xABCDEF);
  src.Set({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_TRUE(BitBlt(dst.hdc(), 1, 0, 2, 2, src.hdc(), 2, 0, SRCCOPY));
  EXPECT_EQ(dst.Pixels(), (Pixels{0xABCDEF, 3, 4, 0xABCDEF, 0xABCDEF, 7, 8, 0xABCDEF}));

  // Overlapping areas of one surface: shifted right by one and down by one.
  src.Set({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_TRUE(BitBlt(src.hdc(), 1, 0, 3, 2, src.hdc(), 0, 0, SRCCOPY));
  EXPECT_EQ(src.Pixels(), (Pixels{1, 1, 2, 3, 5, 5, 6, 7}));
  EXPECT_TRUE(BitBlt(src.hdc(), 0, 1, 4, 1, src.hdc(), 0, 0, SRCCOPY));
  EXPECT_EQ(src.Pixels(), (Pixels{1, 1, 2, 3, 1, 1, 2, 3}));

  // StretchBlt samples as StretchDIBits does.
  MemoryDc wide(8, 1);
  src.Set({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_TRUE(StretchBlt(wide.hdc(), 7, 0, -8, 1, src.hdc(), 0, 0, 4, 1, SRCCOPY));
  EXPECT_EQ(wide.Pixels(), (Pixels{4, 4, 3, 3, 2, 2, 1, 1}));

  // A source is needed only by operations that use one.
  EXPECT_TRUE(BitBlt(wide.hdc(), 0, 0, 2, 1, nullptr, 0, 0, BLACKNESS));
  EXPECT_FALSE(BitBlt(wide.hdc(), 0, 0, 2, 1, nullptr, 0, 0, SRCCOPY));
  HDC bare = CreateCompatibleDC(nullptr);
  EXPECT_FALSE(BitBlt(wide.hdc(), 0, 0, 2, 1, bare, 0, 0, SRCCOPY));
  EXPECT_FALSE(BitBlt(bare, 0, 0, 2, 1, wide.hdc(), 0, 0, SRCCOPY));
  DeleteDC(bare);
}

TEST(PatBlt, Variants) {
  MemoryDc dc(4, 2, 0x123456);
  EXPECT_TRUE(PatBlt(dc.hdc(), 0, 0, 4, 2, WHITENESS));
  EXPECT_TRUE(PatBlt(dc.hdc(), 1, 0, 2, 1, BLACKNESS));
  EXPECT_EQ(dc.Rows(0, 0xFFFFFF), ".##.|....");  // right edge exclusive
  EXPECT_TRUE(PatBlt(dc.hdc(), 0, 0, 4, 2, DSTINVERT));
  EXPECT_EQ(dc.Rows(0xFFFFFF), ".##.|....");

  dc.Use(CreateSolidBrush(RGB(0x11, 0x22, 0x33)));
  EXPECT_TRUE(PatBlt(dc.hdc(), 3, 2, -2, -1, PATCOPY));  // normalised to (1,1)-(3,2)
  EXPECT_EQ(dc.Row(1, 0x112233), ".##.");
  EXPECT_TRUE(PatBlt(dc.hdc(), 0, 1, 4, 1, PATINVERT));
  EXPECT_EQ(dc.Row(1, 0x112233), "#..#");
  EXPECT_FALSE(PatBlt(dc.hdc(), 0, 0, 1, 1, SRCCOPY));  // needs a source

  SelectObject(dc.hdc(), GetStockObject(NULL_BRUSH));
  const Pixels before = dc.Pixels();
  EXPECT_TRUE(PatBlt(dc.hdc(), 0, 0, 4, 2, PATCOPY));  // the null brush paints nothing
  EXPECT_EQ(dc.Pixels(), before);

  EXPECT_FALSE(PatBlt(nullptr, 0, 0, 1, 1, WHITENESS));
}

}  // namespace
