// Shared by the picture tests: bitmap files built byte by byte independently of the library's
// writer, seeded random pictures and masks, and checks of sampled file pixels.
#pragma once

#include "mask/mask.h"
#include "picture/picture.h"
#include "platform/byte_order.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vardell::test {

// A file pixel whose bytes tell where it came from: blue = column, green = file row (from the
// bottom), red = a mix of both.
inline std::vector<BYTE> Pattern(int x, int row) {
  return {BYTE(x), BYTE(row), BYTE(x * 3 + row * 5)};
}

struct BmpLayout {
  int width = 1;
  int height = 1;
  int bitCount = 24;
  std::uint32_t infoSize = 40;
  std::uint32_t offBits = 54;
  int stride = -1;                   // -1: the DIB rule for width and bitCount
  int rows = -1;                     // pixel rows actually written; -1: all
  std::vector<BYTE> afterHeaders{};  // bytes between the headers and the rows
};

// Headers, then afterHeaders, then rows of the pattern (bottom row first), padding 0xEE.
inline std::vector<BYTE> MakeBmp(const BmpLayout& s) {
  const int stride = s.stride >= 0 ? s.stride : (s.width * s.bitCount + 31) / 32 * 4;
  const int rows = s.rows >= 0 ? s.rows : s.height;
  std::vector<BYTE> v;
  v.reserve(54 + s.afterHeaders.size() + static_cast<std::size_t>(std::max(0, rows) * stride));
  v.resize(54, 0);
  v[0] = 'B', v[1] = 'M';
  StoreLE(&v[10], s.offBits);
  StoreLE(&v[14], s.infoSize);
  StoreLE(&v[18], std::int32_t{s.width});
  StoreLE(&v[22], std::int32_t{s.height});
  StoreLE(&v[26], std::uint16_t{1});
  StoreLE(&v[28], static_cast<std::uint16_t>(s.bitCount));
  v.insert(v.end(), s.afterHeaders.begin(), s.afterHeaders.end());
  for (int row = 0; row < rows; ++row) {
    std::vector<BYTE> line(static_cast<std::size_t>(stride), 0xEE);
    for (int x = 0; x < s.width && 3 * x + 2 < stride; ++x)
      std::copy_n(Pattern(x, row).begin(), 3, &line[3 * x]);
    v.insert(v.end(), line.begin(), line.end());
  }
  StoreLE(&v[2], static_cast<std::uint32_t>(v.size()));
  return v;
}

// Writes bytes as dir/name, grown (sparse) to size when size is given; answers the path.
inline std::string WriteFile(const TempDir& dir, const std::string& name,
                             const std::vector<BYTE>& bytes, std::uintmax_t size = 0) {
  WriteBytes(dir.File(name), bytes);
  if (size) std::filesystem::resize_file(dir.File(name), size);
  return dir.File(name);
}

inline void Fill(CPicture& p, int w, int h, Rng& rng) {
  ASSERT_TRUE(p.CreatePicture(w, h, 0));
  for (int i = 0; i < p.GetDataSize(); ++i) p.GetBuffer()[i] = rng.Byte();
}
inline void Fill(CMask& m, int w, int h, Rng& rng) {
  ASSERT_TRUE(m.CreateMask(w, h, 0));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) *m.GetPixel(x, y) = rng.Byte();
}
inline std::vector<BYTE> Bytes(const CPicture& p) {
  return std::vector<BYTE>(p.GetBuffer(), p.GetBuffer() + p.GetDataSize());
}
inline std::vector<BYTE> PixelOf(const CPicture& p, int x, int y) {
  return std::vector<BYTE>(p.GetPixel(x, y), p.GetPixel(x, y) + 3);
}

// The positions nearest-neighbour sampling reads when `from` pixels shrink to `to`.
inline std::vector<int> Picks(int from, int to) {
  std::vector<int> v;
  for (int i = 0; i < to; ++i) v.push_back(i * from / to);
  return v;
}

// Picture row j from the bottom, column i, holds file pixel (columns[i], rows[j]).
inline void ExpectSampled(const CPicture& p, const std::vector<int>& columns,
                          const std::vector<int>& rows) {
  ASSERT_EQ(p.GetPictureSize(), CSize(int(columns.size()), int(rows.size())));
  for (std::size_t j = 0; j < rows.size(); ++j)
    for (std::size_t i = 0; i < columns.size(); ++i)
      ASSERT_EQ(PixelOf(p, int(i), p.Height() - 1 - int(j)), Pattern(columns[i], rows[j]))
          << "column " << i << " row " << j;
}

}  // namespace vardell::test
