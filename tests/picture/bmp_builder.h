// Builds bitmap files byte by byte for the picture tests, independently of the library's writer.
#pragma once

#include <cstdint>
#include <vector>

namespace vardell::test {

// A pixel whose bytes tell where it came from: blue = column, green = file row (from the
// bottom), red = a mix of both.
inline std::uint8_t PatternB(int x, int row) { return static_cast<std::uint8_t>(x); }
inline std::uint8_t PatternG(int x, int row) { return static_cast<std::uint8_t>(row); }
inline std::uint8_t PatternR(int x, int row) { return static_cast<std::uint8_t>(x * 3 + row * 5); }

struct BmpSpec {
  int width = 1;
  int height = 1;
  int bitCount = 24;
  std::uint32_t infoSize = 40;
  std::uint32_t offBits = 54;
  int stride = -1;                              // -1: the DIB rule for width and bitCount
  int rows = -1;                                // pixel rows actually written; -1: all
  std::vector<std::uint8_t> afterHeaders = {};  // bytes between the headers and the rows
};

inline void PutLE(std::vector<std::uint8_t>& v, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) v[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

// Headers, then layout.afterHeaders, then rows of the pattern (bottom row first), padding 0xEE.
inline std::vector<std::uint8_t> MakeBmp(const BmpSpec& s) {
  const int stride = s.stride >= 0 ? s.stride : ((s.width * s.bitCount + 31) / 32) * 4;
  const int rows = s.rows >= 0 ? s.rows : s.height;
  std::vector<std::uint8_t> v(54, 0);
  v[0] = 'B';
  v[1] = 'M';
  PutLE(v, 10, s.offBits, 4);
  PutLE(v, 14, s.infoSize, 4);
  PutLE(v, 18, static_cast<std::uint32_t>(s.width), 4);
  PutLE(v, 22, static_cast<std::uint32_t>(s.height), 4);
  PutLE(v, 26, 1, 2);
  PutLE(v, 28, static_cast<std::uint32_t>(s.bitCount), 2);
  v.insert(v.end(), s.afterHeaders.begin(), s.afterHeaders.end());
  for (int row = 0; row < rows; ++row) {
    std::vector<std::uint8_t> line(static_cast<std::size_t>(stride), 0xEE);
    for (int x = 0; x < s.width && 3 * x + 2 < stride; ++x) {
      line[3 * x] = PatternB(x, row);
      line[3 * x + 1] = PatternG(x, row);
      line[3 * x + 2] = PatternR(x, row);
    }
    v.insert(v.end(), line.begin(), line.end());
  }
  PutLE(v, 2, static_cast<std::uint32_t>(v.size()), 4);
  return v;
}

}  // namespace vardell::test
