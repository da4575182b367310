// Row kernels of the softening and sharpening operations: plain functions of pointers and counts
// that know nothing of pictures, switches or errors. Internal to the library (not exported); the
// tests call them to compare each SSE2 twin with its plain definition. Every SSE2 twin handles
// whole vectors and hands the tail to its scalar twin; where no SSE2 is built, the Sse2 names run
// the scalar twin.
#pragma once

#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>

namespace vardell::imageops_kernels {

// ---- Box filter: horizontal pass ----
//
// `padded` points at pixel 0 of a copy of a row of n pixels (3 bytes each) that has r copies of
// the first pixel before it and r + 1 copies of the last pixel after it; out receives the n box
// averages (3 * n bytes; it may be the row the copy was taken from). Each channel keeps a running
// sum S of the 2r + 1 pixels centred on the current one: S starts as the sum around pixel 0 and
// moves by S - padded[x - r] + padded[x + r + 1].

// S / (2r + 1), truncating, with S a 16-bit unsigned sum: exact for r <= 128 (257 * 255 = 65535);
// larger radii wrap (the operation never asks for them).
void BoxRowTable(const BYTE* padded, BYTE* out, std::size_t n, int r) noexcept;
// Same results as BoxRowTable for any r. The running sums are 16-bit lanes over the channel
// bytes: with D[i] = padded[i + 3r] - padded[i - 3r - 3] (mod 65536), S[i] = S[i - 3] + D[i] is
// a prefix sum with stride 3, done as D + (D << 3 lanes) + (D << 6 lanes) plus the previous
// vector's last sum of each channel. The division is a multiply-high by a 16-bit reciprocal with
// the usual correction step, exact for every 16-bit S.
void BoxRowTableSse2(const BYTE* padded, BYTE* out, std::size_t n, int r) noexcept;

// The MMX variant: the sums kept with unsigned saturating 16-bit adds and subtracts, each output
// ((S * f) mod 65536) >> 7 saturated to 255, with f = 129 / (2r + 1). f / 128 only approximates
// 1 / (2r + 1) (white becomes 249 at r = 2) and f = 0 for r >= 65: intended. r >= 1.
void BoxRowMmxScalar(const BYTE* padded, BYTE* out, std::size_t n, int r) noexcept;
// Same results as BoxRowMmxScalar for any r >= 1. A sum saturates only when the true window sum
// exceeds 65535, that is r >= 129, where f = 0 and every output is 0 either way; below that the
// wrapping lanes of the table twin's running sum are exact, and S * f <= 129 * 255 fits a word.
void BoxRowMmxSse2(const BYTE* padded, BYTE* out, std::size_t n, int r) noexcept;

// ---- Box filter: vertical pass ----
//
// Every channel byte of a row is a column of its own. One step over n of them: out[i] = the
// average of sums[i] (the box sum of the column around the output row), then
// sums[i] = sums[i] - leaving[i] + entering[i] for the next row.

// out[i] = sums[i] / (2r + 1) as a byte (truncated to its low 8 bits, which only matters for
// sums no box of bytes can have); 16-bit sums wrap.
void BoxStepTable(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                  std::size_t n, int r) noexcept;
void BoxStepTableSse2(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                      std::size_t n, int r) noexcept;
// out[i] = min(255, ((sums[i] * f) mod 65536) >> 7); the sums move with unsigned saturating
// subtract, then add.
void BoxStepMmxScalar(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                      std::size_t n, int r) noexcept;
void BoxStepMmxSse2(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                    std::size_t n, int r) noexcept;

// sums[i] = min(65535, sums[i] + times * row[i]): the start of a column's box sum.
void AddToSums(std::uint16_t* sums, const BYTE* row, std::size_t n, int times) noexcept;

// f = 129 / (2r + 1) of the MMX variant.
constexpr int MmxBoxFactor(int r) noexcept { return 129 / (2 * r + 1); }

// ---- Sharpen ----
//
// n channel bytes of one row: cur points at the first byte to compute, above and below at the
// same byte of the rows around it; the left and right neighbours are 3 bytes away. With c the
// byte and s the sum of its eight neighbours: v = 9c - s, result = ((v * k) >> 4) +
// ((c * (16 - k)) >> 4) with an arithmetic shift, clamped to 0..255 into out. The two separate
// truncations can take one from a uniform area (255 with k = 1 gives 254): intended. k is 1..16.
void SharpenRow(const BYTE* above, const BYTE* cur, const BYTE* below, BYTE* out, std::size_t n,
                int k) noexcept;
// Same results as SharpenRow. v = 10c - (the nine bytes of the 3 x 3 box, summed by rows of three);
// |v| <= 9 * 255, so v * k needs 17 bits: its arithmetic shift by 4 is
// (low word >> 4) | (high word << 12) of the 32-bit product, which fits a word again.
void SharpenRowSse2(const BYTE* above, const BYTE* cur, const BYTE* below, BYTE* out, std::size_t n,
                    int k) noexcept;

}  // namespace vardell::imageops_kernels
