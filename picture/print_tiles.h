// The tiles CPicture::Print sends: at most kPrintTile x kPrintTile source pixels each, row of
// tiles by row of tiles from the top, left to right. Internal to the picture component.
#pragma once

#include "platform/geometry.h"

#include <algorithm>

namespace vardell::compositing {

inline constexpr int kPrintTile = 500;

// Calls draw(tile) for each tile of a width x height picture in printing order, until draw
// answers false; answers whether every call answered true.
template <class Draw>
bool ForEachPrintTile(int width, int height, Draw&& draw) {
  for (int top = 0; top < height; top += kPrintTile) {
    const int bottom = top + std::min(kPrintTile, height - top);
    for (int left = 0; left < width; left += kPrintTile) {
      if (!draw(CRect(left, top, left + std::min(kPrintTile, width - left), bottom))) return false;
    }
  }
  return true;
}

}  // namespace vardell::compositing
