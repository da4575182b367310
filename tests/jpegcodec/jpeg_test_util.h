// Helpers of the codec tests: DIB pixels from our decoder, from BMP files and from the system's
// djpeg, compared row by row from the top.
#pragma once

#include "jpegcodec/jpeg_codec.h"
#include "platform/bitmap.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace vardell::test {

struct Dib {
  int width = 0;
  int height = 0;
  int bpp = 0;  // bytes a pixel
  std::size_t stride = 0;
  std::vector<std::uint8_t> bits;  // bottom-up rows
  const std::uint8_t* Row(int y) const { return bits.data() + (height - 1 - y) * stride; }
  std::uint8_t* Row(int y) { return bits.data() + (height - 1 - y) * stride; }
};

inline Dib MakeDib(int width, int height, int bpp) {
  Dib d{width, height, bpp, static_cast<std::size_t>((width * bpp * 8 + 31) / 32 * 4), {}};
  d.bits.assign(d.stride * height, 0);
  return d;
}

// ReadBitmap's result as a Dib; also checks that the padding, spare row and slack are zero.
inline Dib Ours(const std::string& path, int num, int den, BOOL gray = FALSE) {
  int w = -1, h = -1;
  BYTE* bits = ReadBitmap(path.c_str(), &w, &h, num, den, gray);
  if (!bits) return {};
  Dib d = MakeDib(w, h, gray ? 1 : 3);
  d.bits.assign(bits, bits + d.stride * h);
  std::size_t nonzero = 0;
  for (std::size_t i = d.stride * h; i < d.stride * (h + 1) + 8; ++i) nonzero += bits[i] != 0;
  for (int y = 0; y < h; ++y)
    for (std::size_t x = std::size_t(w) * d.bpp; x < d.stride; ++x) nonzero += d.Row(y)[x] != 0;
  EXPECT_EQ(nonzero, 0u) << "padding, spare row and slack must be 0";
  delete[] bits;
  return d;
}

// A bottom-up 24-bit or 8-bit BMP file's pixel rows.
inline Dib LoadBmp(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  std::vector<std::uint8_t> file(in ? std::size_t(in.tellg()) : 0);
  in.seekg(0);
  in.read(reinterpret_cast<char*>(file.data()), std::streamsize(file.size()));
  if (!in || file.size() < 54) return {};
  BITMAPFILEHEADER fh;
  BITMAPINFOHEADER ih;
  fh.Load(file.data());
  ih.Load(file.data() + 14);
  Dib d = MakeDib(ih.biWidth, ih.biHeight, ih.biBitCount / 8);
  if (fh.bfOffBits + d.stride * d.height > file.size()) return {};
  d.bits.assign(file.begin() + fh.bfOffBits, file.begin() + fh.bfOffBits + d.stride * d.height);
  return d;
}

inline bool HaveDjpeg() {
#ifdef VARDELL_DJPEG
  return true;
#else
  return false;
#endif
}

// djpeg's decoding of jpeg with the given options, as BMP rows.
inline Dib Djpeg(const std::string& options, const std::string& jpeg, const TempDir& dir) {
#ifdef VARDELL_DJPEG
  const std::string out = dir.File("djpeg.bmp");
  const std::string cmd = std::string("'") + VARDELL_DJPEG + "' " + options + " -bmp -outfile '" +
                          out + "' '" + jpeg + "'";
  if (std::system(cmd.c_str()) != 0) return {};
  return LoadBmp(out);
#else
  return {};
#endif
}

// Number of rows (from the top) whose first width pixels differ.
inline int DifferentRows(const Dib& a, const Dib& b, int width, int height) {
  int bad = 0;
  for (int y = 0; y < height; ++y)
    bad += std::memcmp(a.Row(y), b.Row(y), std::size_t(width) * a.bpp) != 0;
  return bad;
}

}  // namespace vardell::test
