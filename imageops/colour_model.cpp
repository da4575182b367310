// The HWV colour model: RGBToHWV, HWVToRGB, the hue tables and the per-pixel saturation step.
#include "imageops/colour_model.h"

#include "imageops/reciprocal.h"

#include <algorithm>
#include <atomic>

namespace vardell::hwv {
namespace {

std::atomic<bool> g_tablesBuilt{false};

HueTables MakeTables() noexcept {
  HueTables t{};
  for (int h = 0; h < 360; ++h) {
    // Red: full at 0..59 and 300..359, falling at 60..119, rising at 240..299 as the mirror.
    if (h < 60 || h >= 300)
      t.red[h] = 255;
    else if (h < 120)
      t.red[h] = static_cast<BYTE>(255 - (h - 60) * 255 / 60);
    // Green: rising at 0..59, full at 60..179, falling at 180..239 as the mirror.
    if (h < 60)
      t.green[h] = static_cast<BYTE>(h * 255 / 60);
    else if (h < 180)
      t.green[h] = 255;
    // Blue: rising at 120..179, full at 180..299, falling at 300..359 as the mirror.
    if (h >= 120 && h < 180)
      t.blue[h] = static_cast<BYTE>((h - 120) * 255 / 60);
    else if (h >= 180 && h < 300)
      t.blue[h] = 255;
  }
  // The mirrored edges are copies of the computed ones, not recomputed: intended.
  for (int h = 240; h < 300; ++h) t.red[h] = t.red[359 - h];
  for (int h = 180; h < 240; ++h) t.green[h] = t.green[239 - h];
  for (int h = 300; h < 360; ++h) t.blue[h] = t.blue[479 - h];
  g_tablesBuilt.store(true, std::memory_order_release);
  return t;
}

}  // namespace

const HueTables& Tables() noexcept {
  static const HueTables tables = MakeTables();
  return tables;
}

bool TablesBuilt() noexcept { return g_tablesBuilt.load(std::memory_order_acquire); }

int Whiteness(int smallest, int largest) noexcept {
  // floor(128 * m / M + 1/2) = floor((256 * m + M) / (2 * M)).
  return static_cast<int>(imageops::DivideSmall(256u * smallest + largest, 2u * largest));
}

int SectorX(int largest, int smallest, int c) noexcept {
  const int den = 2 * (largest - smallest);
  const int num = 2 * largest * (c - smallest) + (largest - smallest);
  const int x = static_cast<int>(imageops::DivideSmall(num, den));
  if (x * den != num) return x;
  // Half-way: the double steps decide.
  const double q = smallest * 128.0 / largest;
  return static_cast<int>(largest - (largest - c) * 128 / (128 - q) + 0.5);
}

Hwv ToHwv(int r, int g, int b) noexcept {
  // Sectors: 0 red > green >= blue ... 5 blue > red >= green, named by the table of hues below.
  int big, small, c, sector;
  if (r >= g && r >= b) {
    if (r == 0) return {0, 0, 0};
    big = r;
    if (g >= b)
      small = b, c = g, sector = 0;
    else
      small = g, c = b, sector = 1;
  } else if (g >= r && g >= b) {
    big = g;
    if (b > r)
      small = r, c = b, sector = 2;
    else
      small = b, c = r, sector = 3;
  } else {
    big = b;
    if (g > r)
      small = r, c = g, sector = 4;
    else
      small = g, c = r, sector = 5;
  }
  const int whiteness = Whiteness(small, big);
  if (whiteness == 128) return {0, 128, big};
  const int t = static_cast<int>(imageops::DivideSmall(SectorX(big, small, c) * 60u, big));
  static constexpr int kBase[6] = {0, 360, 120, 120, 240, 240};
  static constexpr int kSign[6] = {1, -1, 1, -1, -1, 1};
  return {kBase[sector] + kSign[sector] * t, whiteness, big};
}

void FromHwv(const HueTables& t, int hue, int whiteness, int value, BYTE* bgr) noexcept {
  int r = t.red[hue], g = t.green[hue], b = t.blue[hue];
  // The two channels outside the hue's sector are lifted towards 255.
  if (hue >= 60 && hue < 180) {
    r += (255 - r) * whiteness / 128;
    b += (255 - b) * whiteness / 128;
  } else if (hue < 60 || hue >= 300) {
    g += (255 - g) * whiteness / 128;
    b += (255 - b) * whiteness / 128;
  } else {
    r += (255 - r) * whiteness / 128;
    g += (255 - g) * whiteness / 128;
  }
  bgr[0] = static_cast<BYTE>(b * value / 255);
  bgr[1] = static_cast<BYTE>(g * value / 255);
  bgr[2] = static_cast<BYTE>(r * value / 255);
}

void SaturatePixel(BYTE* bgr, int s) noexcept {
  const int r = bgr[2], g = bgr[1], b = bgr[0];
  // Largest, middle and smallest with the model's tie rules; each names a byte of the pixel.
  BYTE *big, *mid, *small;
  if (r >= g && r >= b) {
    big = bgr + 2;
    if (g >= b)
      mid = bgr + 1, small = bgr;
    else
      mid = bgr, small = bgr + 1;
  } else if (g >= r && g >= b) {
    big = bgr + 1;
    if (r >= b)
      mid = bgr + 2, small = bgr;
    else
      mid = bgr, small = bgr + 2;
  } else {
    big = bgr;
    if (g > r)
      mid = bgr + 1, small = bgr + 2;
    else
      mid = bgr + 2, small = bgr + 1;
  }
  const int m = *big, d = *mid, n = *small;
  using imageops::DivideSmall;
  const int w = m != 0 ? static_cast<int>(DivideSmall(n * 128u, m)) : 0;
  // The amount is limited to what the pixel has (w) and can take (k); s is clamped first only so
  // that -a cannot overflow, which changes no result.
  int a = std::clamp(s, -129, 129);
  if (a > w) a = w;
  const int k = 128 - w;
  if (a < 0 && -a > k) a = -k;
  if (w == 128) return;
  // Both products are non-negative (a + k >= 0, w - a >= 0) and at most 255 * 128.
  const int newMid = m - static_cast<int>(DivideSmall((m - d) * (a + k), k));
  const int newSmall = w != 0 ? static_cast<int>(DivideSmall(n * (w - a), w)) : 0;
  *mid = static_cast<BYTE>(std::min(newMid, 255));
  *small = static_cast<BYTE>(std::min(newSmall, 255));
}

}  // namespace vardell::hwv

void RGBToHWV(BYTE red, BYTE green, BYTE blue, WORD& hue, WORD& whiteness, WORD& value) {
  const vardell::hwv::Hwv c = vardell::hwv::ToHwv(red, green, blue);
  hue = static_cast<WORD>(c.hue);
  whiteness = static_cast<WORD>(c.whiteness);
  value = static_cast<WORD>(c.value);
}

void HWVToRGB(WORD hue, WORD whiteness, WORD value, BYTE& red, BYTE& green, BYTE& blue) {
  BYTE bgr[3];
  vardell::hwv::FromHwv(vardell::hwv::Tables(), hue % 360, std::min<int>(whiteness, 128),
                        std::min<int>(value, 255), bgr);
  blue = bgr[0];
  green = bgr[1];
  red = bgr[2];
}
