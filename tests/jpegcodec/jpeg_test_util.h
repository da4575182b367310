// Helpers of the codec tests: DIB pixels from our decoder, from BMP files and from the system's
// djpeg, and the comparison of our decoding with djpeg's.
#pragma once

#include "jpegcodec/jpeg_codec.h"
#include "platform/bitmap.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#ifndef VARDELL_DJPEG
#define VARDELL_DJPEG ""  // no djpeg on this machine: the comparisons with it are skipped
#endif

namespace vardell::test {

struct Dib {
  int width = 0;
  int height = 0;
  int bpp = 0;  // bytes a pixel
  std::size_t stride = 0;
  std::vector<std::uint8_t> bits;  // bottom-up rows
  std::uint8_t* Row(int y) { return bits.data() + (height - 1 - y) * stride; }
  const std::uint8_t* Row(int y) const { return bits.data() + (height - 1 - y) * stride; }
  const std::uint8_t* At(int x, int y) const { return Row(y) + std::size_t(x) * bpp; }
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
  const std::vector<std::uint8_t> file = ReadBytes(path);
  if (file.size() < 54) return {};
  BITMAPFILEHEADER fh;
  BITMAPINFOHEADER ih;
  fh.Load(file.data());
  ih.Load(file.data() + 14);
  Dib d = MakeDib(ih.biWidth, ih.biHeight, ih.biBitCount / 8);
  if (fh.bfOffBits + d.stride * d.height > file.size()) return {};
  d.bits.assign(file.begin() + fh.bfOffBits, file.begin() + fh.bfOffBits + d.stride * d.height);
  return d;
}

inline bool HaveDjpeg() { return *VARDELL_DJPEG != '\0'; }

// djpeg's decoding of jpeg with the given options, as BMP rows.
inline Dib Djpeg(const std::string& options, const std::string& jpeg, const TempDir& dir) {
  const std::string out = dir.File("djpeg.bmp");
  const std::string cmd = std::string("'") + VARDELL_DJPEG + "' " + options + " -bmp -outfile '" +
                          out + "' '" + jpeg + "'";
  return std::system(cmd.c_str()) == 0 ? LoadBmp(out) : Dib{};
}

// Our decoding of a full-sized file at num/den against djpeg's at the scale m/8 (grayscale for
// gray): the same pixels where the ratio is m/8 (our sizes truncated, djpeg's rounded up),
// nearest-neighbour samples of djpeg's otherwise.
inline void ExpectLikeDjpeg(const std::string& path, CSize full, int num, int den, int m, BOOL gray,
                            const TempDir& dir) {
  SCOPED_TRACE(path + " " + std::to_string(num) + "/" + std::to_string(den) +
               (gray ? " gray" : ""));
  const Dib ours = Ours(path, num, den, gray);
  const Dib ref =
      Djpeg((gray ? "-grayscale -scale " : "-scale ") + std::to_string(m) + "/8", path, dir);
  ASSERT_EQ(CSize(ours.width, ours.height), CSize(full.cx * num / den, full.cy * num / den));
  ASSERT_EQ(CSize(ref.width, ref.height), CSize((full.cx * m + 7) / 8, (full.cy * m + 7) / 8));
  const bool exact = num * 8 == den * m;
  int bad = 0;
  for (int y = 0; y < ours.height; ++y)
    for (int x = 0; x < ours.width; ++x)
      bad += std::memcmp(ours.At(x, y),
                         exact ? ref.At(x, y)
                               : ref.At(x * ref.width / ours.width, y * ref.height / ours.height),
                         ours.bpp) != 0;
  EXPECT_EQ(bad, 0);
}

}  // namespace vardell::test
