// CPicture's box softening (with its MMX variant) and 3 x 3 sharpening.
//
// Soften is a separable box filter of 2r + 1 pixels with edges extended by replication: a
// horizontal pass over every row, then a vertical pass over every column of its result. Here the
// two passes run in one sweep over the rows: each row's horizontal result goes into a ring of
// 2r + 2 rows, and the vertical running sums (one per channel byte) consume the ring as they move
// on, writing each finished row back into the picture. Every output is the same as that of the
// two passes done one after the other, and the cost per pixel does not depend on r.
//
// Both filters are symmetric from top to bottom (the box and the edge replication; the 3 x 3
// kernel), and every output is computed from the picture as it was before the call, so they
// sweep the rows in memory order, bottom row first: the same results, with the forward walk
// through memory that the processor's prefetching serves best.
#include "imageops/filter_kernels.h"
#include "imageops/picture_rows.h"
#include "picture/mmx_switch.h"
#include "picture/picture.h"
#include "picture/simd_dispatch.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace k = vardell::imageops_kernels;
using vardell::imageops::ForEachRow;
using vardell::imageops::StoredRow;

namespace {

using BoxRowFn = void (*)(const BYTE*, BYTE*, std::size_t, int) noexcept;
using BoxStepFn = void (*)(std::uint16_t*, BYTE*, const BYTE*, const BYTE*, std::size_t,
                           int) noexcept;

template <class T>
std::unique_ptr<T[]> Allocate(std::size_t count) {
  return std::unique_ptr<T[]>(new (std::nothrow) T[count]);
}

// Both passes of the box filter with the given row kernels; 0 when memory is short.
int BoxFilter(CPicture& picture, int r, BoxRowFn boxRow, BoxStepFn boxStep) {
  const int width = picture.Width(), height = picture.Height();
  const auto w = static_cast<std::size_t>(width);
  const std::size_t bytes = 3 * w;
  const auto rr = static_cast<std::size_t>(r);
  // The ring holds the horizontal results of the rows from the one leaving the vertical box to
  // the one entering it; a short picture needs a slot a row.
  const std::size_t slots = std::min(2 * rr + 2, static_cast<std::size_t>(height));
  auto padded = Allocate<BYTE>(3 * (w + 2 * rr + 1));
  auto ring = Allocate<BYTE>(slots * bytes);
  auto sums = Allocate<std::uint16_t>(bytes);
  if (!padded || !ring || !sums) return 0;

  auto ringRow = [&](int row) {
    return ring.get() + static_cast<std::size_t>(row) % slots * bytes;
  };
  int next = 0;  // the next row whose horizontal pass is due
  auto horizontalUpTo = [&](int last) {
    for (; next <= last; ++next) {
      BYTE* q = padded.get() + 3 * rr;
      const BYTE* row = StoredRow(picture, next);
      std::memcpy(q, row, bytes);
      for (std::size_t j = 1; j <= rr; ++j) std::memcpy(q - 3 * j, row, 3);
      for (std::size_t j = 0; j <= rr; ++j) std::memcpy(q + bytes + 3 * j, row + bytes - 3, 3);
      boxRow(q, ringRow(next), w, r);
    }
  };

  // The box around the first row: r + 1 copies of it (the edge replicated), then rows 1..r,
  // the last row standing in for those beyond it.
  horizontalUpTo(std::min(r, height - 1));
  std::fill_n(sums.get(), bytes, std::uint16_t{0});
  k::AddToSums(sums.get(), ringRow(0), bytes, r + 1);
  int lastRowCount = 0;
  for (int j = 1; j <= r; ++j) {
    if (j < height - 1)
      k::AddToSums(sums.get(), ringRow(j), bytes, 1);
    else
      ++lastRowCount;
  }
  if (lastRowCount > 0) k::AddToSums(sums.get(), ringRow(height - 1), bytes, lastRowCount);

  for (int y = 0; y < height; ++y) {
    const int entering = std::min(y + r + 1, height - 1);
    const int leaving = std::max(y - r, 0);
    horizontalUpTo(entering);  // rows after y only: their pixels are still the original ones
    boxStep(sums.get(), StoredRow(picture, y), ringRow(entering), ringRow(leaving), bytes, r);
  }
  return 1;
}

}  // namespace

int CPicture::Soften(int radius) {
  if (!IsValid()) return 0;
  if (vardell::MmxEnabled()) return SoftenMMX(radius);
  // 16-bit sums hold a box of bytes exactly up to r = 128; larger radii (and negative ones) have
  // no defined result and are refused, leaving the picture as it is.
  if (radius < 0 || radius > 128) return 0;
  if (radius == 0) return 1;  // a box of one pixel
  const bool sse2 = vardell::simd::UseSse2();
  return BoxFilter(*this, radius, sse2 ? k::BoxRowTableSse2 : k::BoxRowTable,
                   sse2 ? k::BoxStepTableSse2 : k::BoxStepTable);
}

int CPicture::SoftenMMX(int radius) {
  if (!IsValid()) return 0;
  // The variant's loops need r >= 1. Below that there is no box to average: 0 leaves the
  // picture as it is, like Soften(0) (answering 1), and a negative radius is refused.
  if (radius < 0) return 0;
  if (radius == 0) return 1;
  if (k::MmxBoxFactor(radius) == 0) {
    // f = 0 for r >= 65: every average is 0, so the picture becomes black (the padding stays).
    const std::size_t bytes = 3 * static_cast<std::size_t>(Width());
    ForEachRow(*this, [bytes](BYTE* row) { std::memset(row, 0, bytes); });
    return 1;
  }
  const bool sse2 = vardell::simd::UseSse2();
  return BoxFilter(*this, radius, sse2 ? k::BoxRowMmxSse2 : k::BoxRowMmxScalar,
                   sse2 ? k::BoxStepMmxSse2 : k::BoxStepMmxScalar);
}

int CPicture::Sharpen(int strength) {
  if (!IsValid() || strength < 1 || strength > 16) return 0;
  const int width = Width(), height = Height();
  // Nothing lies inside the one-pixel border.
  if (width < 3 || height < 3) return 1;
  const std::size_t bytes = 3 * static_cast<std::size_t>(width);
  auto copies = std::unique_ptr<BYTE[]>(new (std::nothrow) BYTE[3 * bytes]);
  if (!copies) return 0;
  // Three copied rows (above, current, below), so every neighbour is read as it was before the
  // call.
  BYTE* rows[3] = {copies.get(), copies.get() + bytes, copies.get() + 2 * bytes};
  for (int i = 0; i < 3; ++i) std::memcpy(rows[i], StoredRow(*this, i), bytes);
  const auto sharpenRow = vardell::simd::UseSse2() ? k::SharpenRowSse2 : k::SharpenRow;
  const std::size_t inner = bytes - 6;
  for (int y = 1; y <= height - 2; ++y) {
    sharpenRow(rows[0] + 3, rows[1] + 3, rows[2] + 3, StoredRow(*this, y) + 3, inner, strength);
    std::rotate(rows, rows + 1, rows + 3);
    if (y < height - 2) std::memcpy(rows[2], StoredRow(*this, y + 2), bytes);
  }
  return 1;
}
