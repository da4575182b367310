// Row walking shared by the image operations. Internal.
#pragma once

#include "picture/picture.h"

#include <cstddef>

namespace vardell::imageops {

// Start of display row y (0 = top): rows are stored bottom-up.
inline BYTE* RowOf(const CPicture& picture, int y) noexcept {
  return picture.GetBuffer() +
         static_cast<std::ptrdiff_t>(picture.Height() - 1 - y) * picture.GetDataWidth();
}

// Start of the row stored k-th in memory (0 = the bottom row of the picture).
inline BYTE* StoredRow(const CPicture& picture, int k) noexcept {
  return picture.GetBuffer() + static_cast<std::ptrdiff_t>(k) * picture.GetDataWidth();
}

// Calls f(row) with the start of each row, in memory order (bottom row first). For operations
// that treat every pixel alone the order is not observable, and a forward walk through memory is
// the one the processor's prefetching serves best.
template <class F>
void ForEachRow(const CPicture& picture, F&& f) {
  for (int k = 0; k < picture.Height(); ++k) f(StoredRow(picture, k));
}

}  // namespace vardell::imageops
