// Helpers of the mask tests: masks from rows of values and back, and whole-buffer snapshots.
#pragma once

#include "mask/mask.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <vector>

namespace vardell::test {

using Image = std::vector<std::vector<int>>;  // [y][x], y from the top

inline void Load(CMask& m, const Image& img) {
  ASSERT_TRUE(m.CreateMask(static_cast<int>(img[0].size()), static_cast<int>(img.size()), 0));
  for (int y = 0; y < m.Height(); ++y)
    for (int x = 0; x < m.Width(); ++x) *m.GetPixel(x, y) = static_cast<BYTE>(img[y][x]);
}

inline Image Read(CMask& m) {
  Image img(static_cast<std::size_t>(m.Height()));
  for (int y = 0; y < m.Height(); ++y) img[y].assign(m.GetPixel(0, y), m.GetPixel(m.Width(), y));
  return img;
}

// Every byte of the stride * height data, padding included.
inline std::vector<BYTE> Bytes(const CMask& m) {
  return std::vector<BYTE>(m.GetBuffer(), m.GetBuffer() + m.GetDataWidth() * m.Height());
}

}  // namespace vardell::test
