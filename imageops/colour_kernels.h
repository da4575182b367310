// Row kernels of the colour operations: plain functions of pointers and counts that know nothing
// of pictures, switches or errors. Internal to the library (not exported); the tests call them to
// compare each SSE2 twin with its plain definition.
//
// A row is n pixels of 3 bytes (blue, green, red) and the kernels touch those 3 * n bytes only,
// never the padding behind them. The MMX variant of AdjustColors loaded and stored 4 bytes a
// pixel and wrote the fourth byte back as it was read; touching only the channel bytes has
// exactly that effect. Every SSE2 twin handles whole vectors and hands the tail to its scalar
// twin; where no SSE2 is built, the Sse2 names run the scalar twin.
#pragma once

#include "imageops/colour_model.h"
#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>

namespace vardell::imageops_kernels {

// ---- Lookup tables ----

// B = blue[B], G = green[G], R = red[R] for each pixel.
void TransformRow(BYTE* p, std::size_t n, const BYTE* red, const BYTE* green,
                  const BYTE* blue) noexcept;

// ---- Offsets ----

// Channel offsets in blue, green, red order.
struct Offsets {
  int blue, green, red;
};

// B = clamp(B + blue), G = clamp(G + green), R = clamp(R + red), clamped to 0..255: the table
// arithmetic of AdjustColors and Brightness. Any int offsets.
void AdjustRowTable(BYTE* p, std::size_t n, Offsets d) noexcept;
// Same results as AdjustRowTable. An offset beyond +-255 clamps like +-255, so each lane adds the
// positive part with unsigned byte saturation and subtracts the negative part likewise.
void AdjustRowTableSse2(BYTE* p, std::size_t n, Offsets d) noexcept;

// The MMX variant: each offset taken as a signed 16-bit word, channels widened to words, added
// with signed saturation and packed back to bytes with unsigned saturation. Equal to the table
// arithmetic for offsets within -32768..32767; beyond, only the low 16 bits count.
void AdjustRowMmxScalar(BYTE* p, std::size_t n, Offsets d) noexcept;
// Same results as AdjustRowMmxScalar: x + int16(d) saturated to a word and then to a byte is
// clamp(x + int16(d)), the table arithmetic on the 16-bit offsets.
void AdjustRowMmxSse2(BYTE* p, std::size_t n, Offsets d) noexcept;

// ---- Gray ----

// (B * 29 + G * 150 + R * 76) / 255, truncating; the weights add up to 255.
inline BYTE GrayOf(const BYTE* bgr) noexcept {
  return static_cast<BYTE>((bgr[0] * 29u + bgr[1] * 150u + bgr[2] * 76u) / 255u);
}
// Each pixel's three channels set to its gray.
void GrayRow(BYTE* p, std::size_t n) noexcept;
// Same results as GrayRow. 16 pixels are split into the words of their 8 pairs by three rounds
// of word unpacks, and those into the channels of the even and of the odd pixels by masks and
// shifts; the weighted sum is at most 255 * 255 = 65025, so it fits an unsigned word, and
// x / 255 == (x * 0x8081) >> 23 for every word x.
void GrayRowSse2(BYTE* p, std::size_t n) noexcept;
// out[i] = the gray of pixel i (one byte a pixel, as a mask row).
void GrayBytesRow(const BYTE* p, BYTE* out, std::size_t n) noexcept;
void GrayBytesRowSse2(const BYTE* p, BYTE* out, std::size_t n) noexcept;

// ---- The HWV model, pixel by pixel ----

// SaturatePixel on each pixel.
void SaturateRow(BYTE* p, std::size_t n, int s) noexcept;
// Through the model with the hue shifted by dh (wrapped into 0..359); when withWhiteness, the
// whiteness minus ds clamped to 0..127 (not 128, so gray gets a tint of the hue: intended).
void HueRow(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
            const hwv::HueTables& tables) noexcept;
// Same results as HueRow, 16 pixels at a time in 16-bit lanes, for any pixels:
//   - the quotients of the model (whiteness, X, X * 60 / M) come from float lanes: each
//     numerator is an integer below 2^24 and each divisor at most 510, so n * (1 / d) is within
//     3e-5 of n / d, while a quotient that is not an integer lies at least 1 / 510 from one;
//     adding 2^-10 before truncating therefore gives the exact floor, integers included. The
//     whiteness is never an integer plus one half, so it needs no such step. Half-way X (an
//     integer quotient there) is detected exactly and left to the double steps, lane by lane;
//   - the hue tables are their formulas: each edge is x * 255 / 60 = (17 x) >> 2 on one side and
//     its mirror on the other, and in each 60-degree segment one channel is on an edge, one
//     full and one 0;
//   - all three channels are lifted: the sector's primary is 255 and a lift leaves 255 alone;
//   - c * value / 255 is (c * value * 0x8081) >> 23, exact for products below 65536.
void HueRowSse2(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
                const hwv::HueTables& tables) noexcept;

// ---- AVX2 twins ----

#if VARDELL_HAVE_AVX2
// Built only with the AVX2 build option (colour_kernels_avx2.cpp); the operations then run these
// instead of the SSE2 twins. Same results as GrayRow, GrayBytesRow and HueRow: the gray sums come
// from byte multiply-adds of each pixel gathered as B G R G with weights 29, 99, 76, 51 (pairs of
// at most 128 * 255, so the signed words never saturate); the hue twin is HueRowSse2's arithmetic
// on 16 lanes.
void GrayRowAvx2(BYTE* p, std::size_t n) noexcept;
void GrayBytesRowAvx2(const BYTE* p, BYTE* out, std::size_t n) noexcept;
void HueRowAvx2(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
                const hwv::HueTables& tables) noexcept;
#endif

// ---- Measures and masks ----

// Adds each channel of the n pixels to sums (blue, green, red), in unsigned 32-bit arithmetic.
void SumRow(const BYTE* p, std::size_t n, std::uint32_t sums[3]) noexcept;
// out[i] = equal when pixel i is exactly (blue, green, red), else other.
void ExactColourRow(const BYTE* p, BYTE* out, std::size_t n, const BYTE bgr[3], BYTE equal,
                    BYTE other) noexcept;
// out[i] = match when each channel of pixel i is a member of its 256-entry table, else other.
void ColourRangeRow(const BYTE* p, BYTE* out, std::size_t n, const bool* blue, const bool* green,
                    const bool* red, BYTE match, BYTE other) noexcept;

}  // namespace vardell::imageops_kernels
