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

// Calls f(row) for each display row from the top, with the pixels' start of each.
template <class F>
void ForEachRow(const CPicture& picture, F&& f) {
  for (int y = 0; y < picture.Height(); ++y) f(RowOf(picture, y));
}

}  // namespace vardell::imageops
