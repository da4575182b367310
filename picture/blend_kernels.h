// Row kernels of the picture compositing: plain functions of pointers and counts that know
// nothing of pictures, clipping or errors. Internal to the library (not exported); the tests call
// them to compare each SSE2 twin with its plain definition.
//
// Blend kernels work on channel bytes (3 per pixel: blue, green, red) and touch nothing else,
// so the padding behind a row is never written. The MMX variants of the system loaded and stored
// four bytes a pixel and wrote the fourth byte back as it was; touching only the three channel
// bytes has exactly that effect.
//
// src and dst are either the same memory (an in-place call) or do not overlap; a picture drawn
// onto itself with overlapping rows is walked pixel by pixel by the operation (see
// compositing.cpp). Every SSE2 twin handles whole 16-byte vectors and hands the tail to its
// scalar twin. Where no SSE2 is built, the Sse2 names run the scalar twin.
//
// Lane bounds of the SSE2 twins: every product of two bytes is at most 255 * 255 = 65025; the
// exact table value M[a][b] = (a * b + 128) / 255 is mulhi(a * b + 129, 257) (65154 * 257 stays
// within 32 bits before the high half is taken), checked for all 65536 pairs by the tests.
#pragma once

#include "picture/byte_tables.h"

#include <cstddef>
#include <cstdint>

namespace vardell::kernels {

// ---- Nearest-neighbour sampling ----

// Copies n pixels (3 bytes each) to dst, reading the first at src and moving src by steps[i]
// bytes after pixel i. Strictly in order, one pixel read after the previous one is written, so
// a row drawn onto an overlapping part of itself gives the results of that walk.
void CopyPixels(const std::uint8_t* src, const int* steps, std::uint8_t* dst,
                std::size_t n) noexcept;
// The same pixels for rows that do not overlap, each but the last moved as one 4-byte word: the
// byte after each of the first n - 1 source pixels must be readable, and the byte written after
// each of the first n - 1 target pixels is the next pixel's, written again right after.
void CopyPixelsWide(const std::uint8_t* src, const int* steps, std::uint8_t* dst,
                    std::size_t n) noexcept;

// out[i] = *mask for n pixels, moving mask by steps[i] bytes after pixel i.
void SampleMask(const std::uint8_t* mask, const int* steps, std::uint8_t* out,
                std::size_t n) noexcept;

// The weight of each mask byte: out[i] = M[level][N[mask[i]]], N the identity or, with invert,
// I. Level 255 gives N[mask[i]] itself. mask and out may be the same memory.
void MaskWeights(const std::uint8_t* mask, std::uint8_t* out, std::size_t n, std::uint8_t level,
                 bool invert, const ByteTables& t) noexcept;
// Same results as MaskWeights: the inverse as an exclusive or with 255, M in 16-bit lanes.
void MaskWeightsSse2(const std::uint8_t* mask, std::uint8_t* out, std::size_t n, std::uint8_t level,
                     bool invert, const ByteTables& t) noexcept;

// ---- Uniform level w ----

// dst = M[255 - w][dst] + M[w][src]; no clamp needed because M[a][255] == a and M is monotonic.
void BlendTable(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                const ByteTables& t) noexcept;
// Same results as BlendTable, each M computed exactly in 16-bit lanes.
void BlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                    const ByteTables& t) noexcept;

// dst = S[dst + M[w][src]], the additive blend: min(255, dst + M[w][src]).
void AddTable(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
              const ByteTables& t) noexcept;
// Same results as AddTable: M in 16-bit lanes, then a saturating byte add.
void AddTableSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                  const ByteTables& t) noexcept;

// (src * w + dst * (256 - w)) >> 8, truncating: the MMX variant's blend. Differs from the table
// arithmetic on purpose (level 128 of 255 over 0 gives 127, not 128).
void BlendMmxScalar(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                    std::uint8_t w) noexcept;
// Same results as BlendMmxScalar. Lanes: src * w + dst * (256 - w) <= 255 * 256, no wrap.
void BlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                  std::uint8_t w) noexcept;

// min(255, (256 * dst + src * w) >> 8): the MMX variant's additive blend, a saturating word add
// (capped at 65535) shifted down.
void AddMmxScalar(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                  std::uint8_t w) noexcept;
// Same results as AddMmxScalar: 256 * dst <= 65280 and src * w <= 65025 in unsigned words,
// added with unsigned saturation.
void AddMmxSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w) noexcept;

// ---- A weight per pixel (masked blends) ----
// n counts pixels: src and dst hold 3n bytes, weights n. The SSE2 twins take 16 pixels at a
// time and give each of the 48 channel words its pixel's weight with word shuffles.

// dst = M[255 - a][dst] + M[a][src] in each channel, a = weights[i].
void MaskBlendTable(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                    std::size_t n, const ByteTables& t) noexcept;
void MaskBlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n, const ByteTables& t) noexcept;

// dst = M[255 - level][dst] + M[level][S[dst + M[m][src]]] in each channel, m = weights[i]: the
// masked additive blend (the MMX variant keeps this table arithmetic too). Lanes: dst + M <= 510
// before the clamp.
void MaskAddTable(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                  std::size_t n, std::uint8_t level, const ByteTables& t) noexcept;
void MaskAddTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n, std::uint8_t level, const ByteTables& t) noexcept;

// (src * a + dst * (257 - a)) >> 8 in each channel, a = weights[i]: the masked MMX variant's
// blend. The constant is 257, not the uniform variant's 256 (intended), so a = 0 leaves dst
// exactly as it was and a = 255 gives (255 * src + 2 * dst) >> 8.
void MaskBlendMmxScalar(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n) noexcept;
// Same results as MaskBlendMmxScalar. Lanes: src * a + dst * (257 - a) <= 255 * 257 = 65535.
void MaskBlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n) noexcept;

}  // namespace vardell::kernels
