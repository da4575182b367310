// Run kernels of the rotated draw: one run of target pixels fed by a 20.12 fixed-point walk
// through the source (12 fraction bits; the integer part is the pixel). Plain functions of
// pointers and counts; internal to the library.
//
// Rasters are addressed from their top row: pixel (x, y) of a picture lies at
// top + 3 * x - y * stride, of a mask at top + x - y * stride (rows are stored bottom-up). The
// walks keep byte offsets from `top` and move them by the change of each integer part, as the
// system moved its pointers; they never form a pointer outside the raster.
#pragma once

#include "picture/byte_tables.h"

#include <cstddef>
#include <cstdint>

namespace vardell::kernels {

// A position and its step per target pixel, in 20.12 fixed point. 64 bits hold the walk of any
// picture the library can make without overflow.
struct FixedWalk {
  std::int64_t fx, fy, dx, dy;
};

// Copies n pixels, pixel i from the source pixel ((fx + i * dx) >> 12, (fy + i * dy) >> 12).
// The caller guarantees that every one of these positions lies inside the source.
void RotateCopyRun(const std::uint8_t* srcTop, std::ptrdiff_t srcStride, FixedWalk walk,
                   std::uint8_t* dst, std::size_t n) noexcept;
// A mask walked beside the source. Positions outside [left, right) x [top, bottom) (rounding at
// the edges of the mask rectangle) read the nearest pixel inside it; the rectangle must not be
// empty. lut turns a mask byte into its value (identity or inverse).
struct MaskWalk {
  const std::uint8_t* top;
  std::ptrdiff_t stride;
  int left, topRow, right, bottom;
  const std::uint8_t* lut;
  FixedWalk walk;
};

// The masked rotated run. Target pixel after target pixel, the source position (x, y) and each
// mask position advance by their steps; a pixel whose source position lies outside the source
// (width x height) is skipped without moving the target pointer, so the rest of the run lands
// one pixel further left for each skipped pixel (intended). For the others, with m the mask
// value (two masks: M[m1][m2]) and a = M[level][m], each channel becomes
//   (d * (255 - a) + s * a) >> 8                      (add false)
//   (d * (255 - a) + S[d + M[m][s]] * a) >> 8          (add true)
// dividing by 256, not 255 (intended: a full-strength result comes out slightly darker).
// Answers the number of target pixels written (at most n).
std::size_t RotateBlendRun(const std::uint8_t* srcTop, std::ptrdiff_t srcStride, int srcWidth,
                           int srcHeight, FixedWalk walk, MaskWalk* masks, int maskCount,
                           std::uint8_t level, bool add, const ByteTables& t, std::uint8_t* dst,
                           std::size_t n) noexcept;

}  // namespace vardell::kernels
