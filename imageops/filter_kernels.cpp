#include "imageops/filter_kernels.h"

#include "picture/simd_dispatch.h"

#include <algorithm>

#if VARDELL_HAVE_SSE2
#include "imageops/sse2_pixels.h"
#endif

namespace vardell::imageops_kernels {

namespace {

std::uint16_t SatAdd(std::uint16_t a, unsigned b) noexcept {
  return static_cast<std::uint16_t>(std::min(a + b, 65535u));
}
std::uint16_t SatSub(std::uint16_t a, unsigned b) noexcept {
  return static_cast<std::uint16_t>(a > b ? a - b : 0u);
}
BYTE MmxAverage(std::uint16_t s, int f) noexcept {
  const unsigned word = (static_cast<unsigned>(s) * static_cast<unsigned>(f)) & 0xFFFFu;
  return static_cast<BYTE>(std::min(word >> 7, 255u));
}

}  // namespace

// ---- Box filter: scalar definitions ----

void BoxRowTable(const BYTE* q, BYTE* out, std::size_t n, int r) noexcept {
  const unsigned d = 2u * static_cast<unsigned>(r) + 1u;
  const std::ptrdiff_t ahead = 3 * (static_cast<std::ptrdiff_t>(r) + 1), behind = -3 * r;
  for (int c = 0; c < 3; ++c) {
    std::uint16_t s = 0;
    for (int j = -r; j <= r; ++j) s = static_cast<std::uint16_t>(s + q[3 * j + c]);
    const BYTE* p = q + c;
    for (std::size_t x = 0; x < n; ++x, p += 3) {
      out[3 * x + c] = static_cast<BYTE>(s / d);
      s = static_cast<std::uint16_t>(s - p[behind] + p[ahead]);
    }
  }
}

void BoxRowMmxScalar(const BYTE* q, BYTE* out, std::size_t n, int r) noexcept {
  const int f = MmxBoxFactor(r);
  const std::ptrdiff_t ahead = 3 * (static_cast<std::ptrdiff_t>(r) + 1), behind = -3 * r;
  for (int c = 0; c < 3; ++c) {
    std::uint16_t s = 0;
    for (int j = -r; j <= r; ++j) s = SatAdd(s, q[3 * j + c]);
    const BYTE* p = q + c;
    for (std::size_t x = 0; x < n; ++x, p += 3) {
      out[3 * x + c] = MmxAverage(s, f);
      s = SatAdd(SatSub(s, p[behind]), p[ahead]);
    }
  }
}

void BoxStepTable(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                  std::size_t n, int r) noexcept {
  const unsigned d = 2u * static_cast<unsigned>(r) + 1u;
  for (std::size_t i = 0; i < n; ++i) {
    out[i] = static_cast<BYTE>(sums[i] / d);
    sums[i] = static_cast<std::uint16_t>(sums[i] - leaving[i] + entering[i]);
  }
}

void BoxStepMmxScalar(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                      std::size_t n, int r) noexcept {
  const int f = MmxBoxFactor(r);
  for (std::size_t i = 0; i < n; ++i) {
    out[i] = MmxAverage(sums[i], f);
    sums[i] = SatAdd(SatSub(sums[i], leaving[i]), entering[i]);
  }
}

void AddToSums(std::uint16_t* sums, const BYTE* row, std::size_t n, int times) noexcept {
  const auto t = static_cast<unsigned>(times);
  for (std::size_t i = 0; i < n; ++i)
    sums[i] = static_cast<std::uint16_t>(std::min(sums[i] + t * row[i], 65535u));
}

// ---- Box filter: SSE2 twins ----

#if VARDELL_HAVE_SSE2
namespace {

// floor(s / d) in 16-bit lanes for a divisor d >= 2: with l = ceil(log2 d) and
// m = floor(2^16 * (2^l - d) / d) + 1, t = mulhi(s, m) and s / d = (t + ((s - t) >> 1)) >> (l - 1).
// The result is cut to its low byte, as the scalar twin's byte store does.
struct TableDivide {
  __m128i m, shift, lowByte;
  explicit TableDivide(int r) noexcept {
    const unsigned d = 2u * static_cast<unsigned>(r) + 1u;
    int l = 0;
    while ((1u << l) < d) ++l;
    const auto mult = static_cast<unsigned>((65536ull * ((1ull << l) - d)) / d + 1);
    m = _mm_set1_epi16(static_cast<short>(mult));
    shift = _mm_cvtsi32_si128(l - 1);
    lowByte = _mm_set1_epi16(0x00FF);
  }
  __m128i operator()(__m128i s) const noexcept {
    const __m128i t = _mm_mulhi_epu16(s, m);
    const __m128i q =
        _mm_srl_epi16(_mm_add_epi16(t, _mm_srli_epi16(_mm_sub_epi16(s, t), 1)), shift);
    return _mm_and_si128(q, lowByte);
  }
};

// ((s * f) mod 65536) >> 7; the byte pack saturates it to 255.
struct MmxDivide {
  __m128i f;
  explicit MmxDivide(int r) noexcept : f(_mm_set1_epi16(static_cast<short>(MmxBoxFactor(r)))) {}
  __m128i operator()(__m128i s) const noexcept { return _mm_srli_epi16(_mm_mullo_epi16(s, f), 7); }
};

// The previous vector's sums of lanes 5, 6, 7 (the last of each channel) spread as lanes
// 5 6 7 5 6 7 5 6, so lane j gets the sum of the byte three before its first own term.
inline __m128i CarryOf(__m128i s) noexcept {
  return _mm_unpackhi_epi64(_mm_shufflehi_epi16(s, _MM_SHUFFLE(1, 3, 2, 1)),
                            _mm_shufflehi_epi16(s, _MM_SHUFFLE(2, 1, 3, 2)));
}

template <class Divide>
std::size_t BoxRowVectors(const BYTE* q, BYTE* out, std::size_t n, int r,
                          const Divide& divide) noexcept {
  if (n < 9) return 0;
  const std::ptrdiff_t ahead = 3 * static_cast<std::ptrdiff_t>(r);
  const std::ptrdiff_t behind = -3 * static_cast<std::ptrdiff_t>(r) - 3;
  // The sums around pixel 0 (mod 65536), put where the carry of a vector ending at byte 2
  // would be.
  std::uint16_t s0[3] = {0, 0, 0};
  for (int c = 0; c < 3; ++c)
    for (int j = -r; j <= r; ++j) s0[c] = static_cast<std::uint16_t>(s0[c] + q[3 * j + c]);
  __m128i prev = _mm_set_epi16(static_cast<short>(s0[2]), static_cast<short>(s0[1]),
                               static_cast<short>(s0[0]), 0, 0, 0, 0, 0);
  const __m128i first = divide(prev);
  alignas(16) std::uint16_t firstOut[8];
  _mm_store_si128(reinterpret_cast<__m128i*>(firstOut), first);
  out[0] = static_cast<BYTE>(std::min<unsigned>(firstOut[5], 255));
  out[1] = static_cast<BYTE>(std::min<unsigned>(firstOut[6], 255));
  out[2] = static_cast<BYTE>(std::min<unsigned>(firstOut[7], 255));
  // Groups of 8 pixels (three vectors of 8 channel bytes) from pixel 1 on.
  const std::size_t bytes = 3 * n;
  std::size_t i = 3;
  for (; i + 24 <= bytes; i += 24) {
    for (std::size_t v = 0; v < 24; v += 8) {
      const BYTE* p = q + i + v;
      const __m128i d =
          _mm_sub_epi16(sse2::Load8Widened(p + ahead), sse2::Load8Widened(p + behind));
      __m128i s = _mm_add_epi16(d, _mm_slli_si128(d, 6));
      s = _mm_add_epi16(s, _mm_slli_si128(d, 12));
      s = _mm_add_epi16(s, CarryOf(prev));
      prev = s;
      const __m128i packed = _mm_packus_epi16(divide(s), _mm_setzero_si128());
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i + v), packed);
    }
  }
  return i / 3;
}

template <class Divide>
void BoxStepVectors(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                    std::size_t n, const Divide& divide, bool saturating,
                    std::size_t& done) noexcept {
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    auto* at = reinterpret_cast<__m128i*>(sums + i);
    __m128i lo = _mm_loadu_si128(at), hi = _mm_loadu_si128(at + 1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(divide(lo), divide(hi)));
    const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i*>(entering + i));
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(leaving + i));
    if (saturating) {
      lo = _mm_adds_epu16(_mm_subs_epu16(lo, sse2::WidenLow(l)), sse2::WidenLow(e));
      hi = _mm_adds_epu16(_mm_subs_epu16(hi, sse2::WidenHigh(l)), sse2::WidenHigh(e));
    } else {
      lo = _mm_add_epi16(_mm_sub_epi16(lo, sse2::WidenLow(l)), sse2::WidenLow(e));
      hi = _mm_add_epi16(_mm_sub_epi16(hi, sse2::WidenHigh(l)), sse2::WidenHigh(e));
    }
    _mm_storeu_si128(at, lo);
    _mm_storeu_si128(at + 1, hi);
  }
  done = i;
}

}  // namespace
#endif

void BoxRowTableSse2(const BYTE* q, BYTE* out, std::size_t n, int r) noexcept {
  std::size_t x = 0;
#if VARDELL_HAVE_SSE2
  if (r >= 1) x = BoxRowVectors(q, out, n, r, TableDivide(r));
#endif
  BoxRowTable(q + 3 * x, out + 3 * x, n - x, r);
}

void BoxRowMmxSse2(const BYTE* q, BYTE* out, std::size_t n, int r) noexcept {
  std::size_t x = 0;
#if VARDELL_HAVE_SSE2
  x = BoxRowVectors(q, out, n, r, MmxDivide(r));
#endif
  BoxRowMmxScalar(q + 3 * x, out + 3 * x, n - x, r);
}

void BoxStepTableSse2(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                      std::size_t n, int r) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  if (r >= 1) BoxStepVectors(sums, out, entering, leaving, n, TableDivide(r), false, i);
#endif
  BoxStepTable(sums + i, out + i, entering + i, leaving + i, n - i, r);
}

void BoxStepMmxSse2(std::uint16_t* sums, BYTE* out, const BYTE* entering, const BYTE* leaving,
                    std::size_t n, int r) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  BoxStepVectors(sums, out, entering, leaving, n, MmxDivide(r), true, i);
#endif
  BoxStepMmxScalar(sums + i, out + i, entering + i, leaving + i, n - i, r);
}

// ---- Sharpen ----

void SharpenRow(const BYTE* above, const BYTE* cur, const BYTE* below, BYTE* out, std::size_t n,
                int k) noexcept {
  // A signed index: the rows are addressed from 3 bytes before their first byte.
  for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(n); ++i) {
    const int c = cur[i];
    const int s = above[i - 3] + above[i] + above[i + 3] + cur[i - 3] + cur[i + 3] + below[i - 3] +
                  below[i] + below[i + 3];
    const int v = 9 * c - s;
    const int result = ((v * k) >> 4) + ((c * (16 - k)) >> 4);
    // The clamp table covers -256..511; the results beyond clamp the same way.
    out[i] = static_cast<BYTE>(std::clamp(result, 0, 255));
  }
}

#if VARDELL_HAVE_SSE2
namespace {

// The sum of the three bytes at p - 3, p and p + 3 of one row, as two vectors of 8 words.
inline void Triple(const BYTE* p, __m128i& lo, __m128i& hi) noexcept {
  const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p - 3));
  const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i r = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 3));
  lo = _mm_add_epi16(_mm_add_epi16(sse2::WidenLow(l), sse2::WidenLow(c)), sse2::WidenLow(r));
  hi = _mm_add_epi16(_mm_add_epi16(sse2::WidenHigh(l), sse2::WidenHigh(c)), sse2::WidenHigh(r));
}

}  // namespace
#endif

void SharpenRowSse2(const BYTE* above, const BYTE* cur, const BYTE* below, BYTE* out, std::size_t n,
                    int k) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  const __m128i kk = _mm_set1_epi16(static_cast<short>(k));
  const __m128i rest = _mm_set1_epi16(static_cast<short>(16 - k));
  const __m128i ten = _mm_set1_epi16(10);
  for (; i + 16 <= n; i += 16) {
    __m128i alo, ahi, clo, chi, blo, bhi;
    Triple(above + i, alo, ahi);
    Triple(cur + i, clo, chi);
    Triple(below + i, blo, bhi);
    const __m128i centre = _mm_loadu_si128(reinterpret_cast<const __m128i*>(cur + i));
    __m128i result[2];
    for (int h = 0; h < 2; ++h) {
      const __m128i c = h == 0 ? sse2::WidenLow(centre) : sse2::WidenHigh(centre);
      const __m128i all = h == 0 ? _mm_add_epi16(_mm_add_epi16(alo, clo), blo)
                                 : _mm_add_epi16(_mm_add_epi16(ahi, chi), bhi);
      // 9c - (the eight neighbours) = 10c - (all nine).
      const __m128i v = _mm_sub_epi16(_mm_mullo_epi16(c, ten), all);
      const __m128i vk = _mm_or_si128(_mm_srli_epi16(_mm_mullo_epi16(v, kk), 4),
                                      _mm_slli_epi16(_mm_mulhi_epi16(v, kk), 12));
      result[h] = _mm_add_epi16(vk, _mm_srli_epi16(_mm_mullo_epi16(c, rest), 4));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(result[0], result[1]));
  }
#endif
  SharpenRow(above + i, cur + i, below + i, out + i, n - i, k);
}

}  // namespace vardell::imageops_kernels
