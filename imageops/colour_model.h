// The hue/whiteness/value colour model (HWV) of the hue and saturation operations.
//
//   hue        0..359 degrees (0 red, 120 green, 240 blue); RGBToHWV can answer 360, see below.
//   whiteness  0..128: 128 * min / max of the three channels, rounded. 0 is a fully saturated
//              colour, 128 gray: the opposite way to the usual saturation scale.
//   value      0..255: the largest channel.
//
// The per-pixel steps here also serve other pictures that keep their pixels elsewhere, so they
// are free functions of channel values, not members of CPicture.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

// Case by the largest channel, ties to red, then green. whiteness = trunc(m * 128.0 / M + 0.5) and
// X = trunc(M - (M - c) * 128 / (128 - q) + 0.5) in double precision (q the unrounded whiteness, c
// the channel that is neither largest nor smallest), the hue from X * 60 / M by sector. The
// truncation lets a nearly pure red with blue just above green answer hue 360 (255, 0, 1 does):
// intended, callers that add to the hue wrap it. Black answers (0, 0, 0); gray has hue 0.
VARDELL_API void RGBToHWV(BYTE red, BYTE green, BYTE blue, WORD& hue, WORD& whiteness, WORD& value);

// The hue tables' primaries at hue, the two channels outside the hue's 120-degree sector lifted
// towards 255 by whiteness / 128, then each scaled by value / 255 (integer arithmetic). Beyond
// the model's ranges: hue 360 and above is taken modulo 360 (so the 360 that RGBToHWV can answer
// is red, like 0), whiteness above 128 as 128 and value above 255 as 255.
VARDELL_API void HWVToRGB(WORD hue, WORD whiteness, WORD value, BYTE& red, BYTE& green, BYTE& blue);

namespace vardell::hwv {

// The three primary curves by hue, built once on the first HWVToRGB and kept for the process.
// Each rising or falling edge is computed on one side, x * 255 / 60 with truncation, and the
// mirrored edge is a copy of it (not a second, differently rounded evaluation).
struct HueTables {
  BYTE red[360];
  BYTE green[360];
  BYTE blue[360];
};
const HueTables& Tables() noexcept;
// True once the tables exist.
bool TablesBuilt() noexcept;

// trunc(smallest * 128.0 / largest + 0.5) for 0 <= smallest <= largest, 1 <= largest <= 255,
// computed exactly in integers: 128 * m / M is never half-way between two integers for M < 256,
// so the double rounding cannot differ from the exact one.
int Whiteness(int smallest, int largest) noexcept;

// X = trunc(M - (M - c) * 128 / (128 - q) + 0.5) with q = m * 128.0 / M in double precision, for
// 0 <= m <= c <= M <= 255 and m < M. In exact arithmetic the argument of trunc is
// M * (c - m) / (M - m) + 0.5; unless that is an integer it lies at least 1 / 510 away from one,
// far beyond the error of the double steps, so the integer quotient gives the same X. The
// half-way cases (M = 3, m = 1, c = 2) are left to the double steps, which decide them by their
// rounding.
int SectorX(int largest, int smallest, int c) noexcept;

// Hue and whiteness with the value of RGBToHWV, through the integer steps above.
struct Hwv {
  int hue;
  int whiteness;
  int value;
};
Hwv ToHwv(int red, int green, int blue) noexcept;
// HWVToRGB for hue 0..359, whiteness 0..128, value 0..255; channels in blue, green, red order.
void FromHwv(const HueTables& tables, int hue, int whiteness, int value, BYTE* bgr) noexcept;

// (hue + shift) brought into 0..359 as repeated subtraction or addition of 360 would.
inline int WrapHue(int hue, int shift) noexcept {
  const long long h = (static_cast<long long>(hue) + shift) % 360;
  return static_cast<int>(h < 0 ? h + 360 : h);
}

// The saturation step of one pixel (blue, green, red bytes): s whiteness units removed
// (positive) or added (negative). The channels are sorted into largest M, middle d and smallest m
// (largest as in RGBToHWV; the middle is, by largest: red G if G >= B, green R if R >= B, blue G
// if G > R). w = 128 * m / M (0 for black), a = s limited to w and then to -(128 - w); a gray
// pixel (w = 128) is left alone. Otherwise middle = M - (M - d) * (a + k) / k with k = 128 - w,
// smallest = m * (w - a) / w (0 when w = 0, so any s clears a smallest channel below M / 128),
// each capped at 255; the largest never changes.
void SaturatePixel(BYTE* bgr, int s) noexcept;

}  // namespace vardell::hwv
