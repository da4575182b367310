// SSE2 helpers shared by the image-operation kernels: 16 pixels of 3 bytes split into channel
// planes (or into the words of their pairs) and joined again, and widening of bytes to words.
// Internal; include only where VARDELL_HAVE_SSE2 is 1.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace vardell::imageops_kernels::sse2 {

// 48 bytes s[0..47] held in three vectors. One round of byte unpacks makes t[2i] = s[i] and
// t[2i + 1] = s[i + 24], that is t[j] = s[24 j mod 47] (with 47 staying in place). Four rounds
// give s[24^4 j mod 47] = s[3 j mod 47]: plane c holds byte 3 j + c of the interleaved pixels.
inline void SplitRound(__m128i& a, __m128i& b, __m128i& c) noexcept {
  const __m128i t0 = _mm_unpacklo_epi8(a, _mm_unpackhi_epi64(b, b));
  const __m128i t1 = _mm_unpacklo_epi8(_mm_unpackhi_epi64(a, a), c);
  const __m128i t2 = _mm_unpacklo_epi8(b, _mm_unpackhi_epi64(c, c));
  a = t0;
  b = t1;
  c = t2;
}

// Loads 16 pixels from p and answers their blue, green and red planes.
inline void LoadPlanes(const std::uint8_t* p, __m128i& blue, __m128i& green,
                       __m128i& red) noexcept {
  __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
  __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32));
  for (int round = 0; round < 4; ++round) SplitRound(a, b, c);
  blue = a;
  green = b;
  red = c;
}

// The inverse direction: t[j] = s[2 j mod 47], the even bytes of the sequence followed by the odd
// ones. Four rounds give s[16 j mod 47], which interleaves three planes into pixels.
inline void JoinRound(__m128i& a, __m128i& b, __m128i& c) noexcept {
  const __m128i low = _mm_set1_epi16(0x00FF);
  const __m128i t0 = _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
  const __m128i t1 = _mm_packus_epi16(_mm_and_si128(c, low), _mm_srli_epi16(a, 8));
  const __m128i t2 = _mm_packus_epi16(_mm_srli_epi16(b, 8), _mm_srli_epi16(c, 8));
  a = t0;
  b = t1;
  c = t2;
}

// Stores 16 pixels made of the three planes at p.
inline void StorePlanes(std::uint8_t* p, __m128i blue, __m128i green, __m128i red) noexcept {
  for (int round = 0; round < 4; ++round) JoinRound(blue, green, red);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), blue);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), green);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 32), red);
}

// 16 pixels of 3 bytes are 8 pairs of 6 bytes, or 24 little-endian words s[0..23] held in three
// vectors. One round of word unpacks makes t[2i] = s[i] and t[2i + 1] = s[i + 12], that is
// t[j] = s[12 j mod 23] (with 23 staying in place); three rounds give s[1728 j mod 23] =
// s[3 j mod 23], so vector k holds word k of each pair. Splitting words, not bytes, takes three
// rounds instead of four, and the bytes of each word are separated by masks and shifts.
inline void SplitWordRound(__m128i& a, __m128i& b, __m128i& c) noexcept {
  const __m128i t0 = _mm_unpacklo_epi16(a, _mm_unpackhi_epi64(b, b));
  const __m128i t1 = _mm_unpacklo_epi16(_mm_unpackhi_epi64(a, a), c);
  const __m128i t2 = _mm_unpacklo_epi16(b, _mm_unpackhi_epi64(c, c));
  a = t0;
  b = t1;
  c = t2;
}

// Loads 16 pixels from p as the words of their 8 pairs: with e the even pixel of a pair and o the
// odd one, w0 = Be | Ge << 8, w1 = Re | Bo << 8 and w2 = Go | Ro << 8.
inline void LoadPairs(const std::uint8_t* p, __m128i& w0, __m128i& w1, __m128i& w2) noexcept {
  w0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  w1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
  w2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32));
  for (int round = 0; round < 3; ++round) SplitWordRound(w0, w1, w2);
}

// The even bytes (0, 2, ..., 14) and the odd bytes (1, 3, ..., 15) of v as unsigned words.
inline __m128i EvenWords(__m128i v) noexcept { return _mm_and_si128(v, _mm_set1_epi16(0x00FF)); }
inline __m128i OddWords(__m128i v) noexcept { return _mm_srli_epi16(v, 8); }
// The inverse of the two above for words of at most 255: bytes in their original order.
inline __m128i JoinEvenOdd(__m128i even, __m128i odd) noexcept {
  return _mm_or_si128(even, _mm_slli_epi16(odd, 8));
}

// The low and high 8 bytes of v widened to unsigned words.
inline __m128i WidenLow(__m128i v) noexcept { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
inline __m128i WidenHigh(__m128i v) noexcept { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }

// 8 bytes at p widened to unsigned words.
inline __m128i Load8Widened(const std::uint8_t* p) noexcept {
  return WidenLow(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

}  // namespace vardell::imageops_kernels::sse2
