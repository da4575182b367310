// Helpers of the image-operation tests: seeded pictures and whole-buffer snapshots.
#pragma once

#include "picture/picture.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace vardell::test {

// A width x height picture whose every byte (padding and spare row included) comes from seed.
inline void FillRandom(CPicture& p, int width, int height, std::uint32_t seed) {
  p.CreatePicture(width, height, 0);
  Rng rng(seed);
  const int bytes = p.GetDataSize() + p.GetDataWidth() + 8;
  for (int i = 0; i < bytes; ++i) p.GetBuffer()[i] = rng.Byte();
}

// Every byte of the picture's block: the data, the spare row and the 8 bytes behind it.
inline std::vector<BYTE> Snapshot(const CPicture& p) {
  const BYTE* b = p.GetBuffer();
  return std::vector<BYTE>(b, b + p.GetDataSize() + p.GetDataWidth() + 8);
}

// Byte c (0 blue, 1 green, 2 red) of pixel (x, y) in a snapshot.
inline BYTE At(const std::vector<BYTE>& s, const CPicture& p, int x, int y, int c) {
  return s[static_cast<std::size_t>(p.Height() - 1 - y) * p.GetDataWidth() + 3 * x + c];
}

// The channel bytes, blue, green, red of each pixel, top row first.
inline std::vector<int> Channels(const CPicture& p) {
  std::vector<int> px;
  for (int y = 0; y < p.Height(); ++y)
    px.insert(px.end(), p.GetLineBuffer(y), p.GetLineBuffer(y) + 3 * p.Width());
  return px;
}

// A snapshot of p with its channel bytes replaced by px (as Channels lists them): what p must
// hold after an operation that computes px and leaves every other byte alone.
inline std::vector<BYTE> WithChannels(const CPicture& p, const std::vector<int>& px) {
  auto s = Snapshot(p);
  for (std::size_t i = 0; i < px.size(); ++i)
    s[(p.Height() - 1 - i / (3 * p.Width())) * p.GetDataWidth() + i % (3 * p.Width())] =
        static_cast<BYTE>(px[i]);
  return s;
}

}  // namespace vardell::test
