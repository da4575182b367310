#include "imageops/colour_kernels.h"

#include "picture/simd_dispatch.h"

#include <algorithm>

#if VARDELL_HAVE_SSE2
#include "imageops/sse2_pixels.h"
#endif

// The SSE2 helpers of one kernel are inlined into it, whatever the optimiser would choose.
#define VARDELL_INLINE inline __attribute__((always_inline))

namespace vardell::imageops_kernels {

// ---- Lookup tables ----

void TransformRow(BYTE* p, std::size_t n, const BYTE* red, const BYTE* green,
                  const BYTE* blue) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    const BYTE b = p[0], g = p[1], r = p[2];
    p[0] = blue[b];
    p[1] = green[g];
    p[2] = red[r];
  }
}

// ---- Offsets ----

namespace {

// An offset beyond +-255 moves every byte to the same end as +-255 does.
int Limit(int d) noexcept { return std::clamp(d, -255, 255); }

Offsets Limit(Offsets d) noexcept { return {Limit(d.blue), Limit(d.green), Limit(d.red)}; }

// The low 16 bits of an offset as a signed word, as the MMX variant packs it.
int Word(int d) noexcept { return static_cast<std::int16_t>(static_cast<std::uint16_t>(d)); }

BYTE ClampByte(int v) noexcept { return static_cast<BYTE>(std::clamp(v, 0, 255)); }

#if VARDELL_HAVE_SSE2
// clamp(x + d) for offsets within -255..255: the positive parts added and the negative parts
// subtracted with unsigned byte saturation. The offsets repeat every 48 bytes (16 pixels).
void AddLimitedSse2(BYTE* p, std::size_t n, Offsets d) noexcept {
  alignas(16) BYTE up[48], down[48];
  const int ds[3] = {d.blue, d.green, d.red};
  for (int j = 0; j < 48; ++j) {
    up[j] = static_cast<BYTE>(std::max(ds[j % 3], 0));
    down[j] = static_cast<BYTE>(std::max(-ds[j % 3], 0));
  }
  __m128i u[3], v[3];
  for (int k = 0; k < 3; ++k) {
    u[k] = _mm_load_si128(reinterpret_cast<const __m128i*>(up + 16 * k));
    v[k] = _mm_load_si128(reinterpret_cast<const __m128i*>(down + 16 * k));
  }
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    BYTE* q = p + 3 * i;
    for (int k = 0; k < 3; ++k) {
      auto* at = reinterpret_cast<__m128i*>(q + 16 * k);
      const __m128i x = _mm_loadu_si128(at);
      _mm_storeu_si128(at, _mm_subs_epu8(_mm_adds_epu8(x, u[k]), v[k]));
    }
  }
  AdjustRowTable(p + 3 * i, n - i, d);
}
#endif

}  // namespace

void AdjustRowTable(BYTE* p, std::size_t n, Offsets d) noexcept {
  d = Limit(d);
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    p[0] = ClampByte(p[0] + d.blue);
    p[1] = ClampByte(p[1] + d.green);
    p[2] = ClampByte(p[2] + d.red);
  }
}

void AdjustRowTableSse2(BYTE* p, std::size_t n, Offsets d) noexcept {
#if VARDELL_HAVE_SSE2
  AddLimitedSse2(p, n, Limit(d));
#else
  AdjustRowTable(p, n, d);
#endif
}

void AdjustRowMmxScalar(BYTE* p, std::size_t n, Offsets d) noexcept {
  const int lanes[3] = {Word(d.blue), Word(d.green), Word(d.red)};
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    for (int c = 0; c < 3; ++c) {
      const int word = std::clamp(p[c] + lanes[c], -32768, 32767);  // signed saturating add
      p[c] = ClampByte(word);                                       // unsigned saturating pack
    }
  }
}

void AdjustRowMmxSse2(BYTE* p, std::size_t n, Offsets d) noexcept {
#if VARDELL_HAVE_SSE2
  AddLimitedSse2(p, n, Limit(Offsets{Word(d.blue), Word(d.green), Word(d.red)}));
#else
  AdjustRowMmxScalar(p, n, d);
#endif
}

// ---- Gray ----

void GrayRow(BYTE* p, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3) p[0] = p[1] = p[2] = GrayOf(p);
}

void GrayBytesRow(const BYTE* p, BYTE* out, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3) out[i] = GrayOf(p);
}

#if VARDELL_HAVE_SSE2
namespace {

// The grays of 16 pixels at p as words: the even pixels' and the odd pixels'.
VARDELL_INLINE void Gray16(const BYTE* p, __m128i& even, __m128i& odd) noexcept {
  using sse2::EvenWords, sse2::OddWords;
  __m128i w0, w1, w2;
  sse2::LoadPairs(p, w0, w1, w2);
  const __m128i wb = _mm_set1_epi16(29), wg = _mm_set1_epi16(150), wr = _mm_set1_epi16(76);
  const __m128i inv255 = _mm_set1_epi16(static_cast<short>(0x8081));
  auto gray8 = [&](__m128i b, __m128i g, __m128i r) {
    const __m128i sum = _mm_add_epi16(_mm_add_epi16(_mm_mullo_epi16(b, wb), _mm_mullo_epi16(g, wg)),
                                      _mm_mullo_epi16(r, wr));
    return _mm_srli_epi16(_mm_mulhi_epu16(sum, inv255), 7);
  };
  even = gray8(EvenWords(w0), OddWords(w0), EvenWords(w1));
  odd = gray8(OddWords(w1), EvenWords(w2), OddWords(w2));
}

}  // namespace
#endif

void GrayRowSse2(BYTE* p, std::size_t n) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  using sse2::JoinEvenOdd;
  for (; i + 16 <= n; i += 16) {
    __m128i even, odd;
    Gray16(p + 3 * i, even, odd);
    const __m128i gray = JoinEvenOdd(even, odd);
    sse2::StorePlanes(p + 3 * i, gray, gray, gray);
  }
#endif
  GrayRow(p + 3 * i, n - i);
}

void GrayBytesRowSse2(const BYTE* p, BYTE* out, std::size_t n) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  for (; i + 16 <= n; i += 16) {
    __m128i even, odd;
    Gray16(p + 3 * i, even, odd);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), sse2::JoinEvenOdd(even, odd));
  }
#endif
  GrayBytesRow(p + 3 * i, out + i, n - i);
}

// ---- The HWV model ----

void SaturateRow(BYTE* p, std::size_t n, int s) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3) hwv::SaturatePixel(p, s);
}

void HueRow(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
            const hwv::HueTables& tables) noexcept {
  // The model's hues are 0..360, so with the shift brought into 0..359 one subtraction wraps.
  const int shift = hwv::WrapHue(0, dh);
  const int whitenessShift = static_cast<int>(std::clamp(ds, -1000, 1000));
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    const hwv::Hwv c = hwv::ToHwv(p[2], p[1], p[0]);
    int hue = c.hue + shift;
    if (hue >= 360) hue -= 360;
    int whiteness = c.whiteness;
    if (withWhiteness) whiteness = std::clamp(whiteness - whitenessShift, 0, 127);
    hwv::FromHwv(tables, hue, whiteness, c.value, p);
  }
}

#if VARDELL_HAVE_SSE2
namespace {

inline __m128i Words(int v) noexcept { return _mm_set1_epi16(static_cast<short>(v)); }

// t of the half-way lanes recomputed through the double steps; rare, so kept out of line. All
// lanes are 16-bit; bit 2 i of lanes marks lane i.
__attribute__((noinline)) __m128i HalfWayT(__m128i t, __m128i big, __m128i small, __m128i mid,
                                           int lanes) noexcept {
  alignas(16) std::int16_t ts[8], bs[8], ss[8], ms[8];
  _mm_store_si128(reinterpret_cast<__m128i*>(ts), t);
  _mm_store_si128(reinterpret_cast<__m128i*>(bs), big);
  _mm_store_si128(reinterpret_cast<__m128i*>(ss), small);
  _mm_store_si128(reinterpret_cast<__m128i*>(ms), mid);
  for (int i = 0; i < 8; ++i)
    if (lanes & (1 << (2 * i)))
      ts[i] = static_cast<std::int16_t>(hwv::SectorX(bs[i], ss[i], ms[i]) * 60 / bs[i]);
  return _mm_load_si128(reinterpret_cast<const __m128i*>(ts));
}

// The unsigned words of v in 32-bit lanes: the low four (half 0) or the high four (half 1).
VARDELL_INLINE __m128i Dwords(__m128i v, int half) noexcept {
  return half == 0 ? _mm_unpacklo_epi16(v, _mm_setzero_si128())
                   : _mm_unpackhi_epi16(v, _mm_setzero_si128());
}
VARDELL_INLINE __m128 Floats(__m128i v, int half) noexcept {
  return _mm_cvtepi32_ps(Dwords(v, half));
}

// Whiteness and t = X * 60 / M of 8 pixels in 16-bit lanes, through float lanes four at a time
// (see HueRowSse2). X = floor(M (c - m) / (M - m) + 1/2): M (c - m) < 2^16 is exact in a word
// and in a float, so y = M (c - m) * (1 / (M - m)) + 1/2 + 2^-10 is within 5e-5 of the exact
// quotient plus 2^-10, and its truncation is X; the quotient plus 1/2 is an integer exactly when
// y - 2^-9 truncates to one less, and those half-way lanes go to the double steps.
VARDELL_INLINE void Quotients8(__m128i big, __m128i small, __m128i mid, __m128i& whiteness,
                               __m128i& t) noexcept {
  const __m128i span = _mm_sub_epi16(big, small);
  const __m128i product = _mm_mullo_epi16(big, _mm_sub_epi16(mid, small));
  // 256 m + M <= 65535.
  const __m128i wNum = _mm_add_epi16(_mm_slli_epi16(small, 8), big);
  const __m128 eps = _mm_set1_ps(1.0f / 1024);
  __m128i w[2], q[2], x[2], below[2];
  __m128 halfInvBig[2];
  for (int half = 0; half < 2; ++half) {
    // 0.5 / M is exactly half of the rounded 1 / M.
    halfInvBig[half] = _mm_div_ps(_mm_set1_ps(0.5f), Floats(big, half));
    w[half] = _mm_cvttps_epi32(_mm_mul_ps(Floats(wNum, half), halfInvBig[half]));
    const __m128 y = _mm_add_ps(
        _mm_mul_ps(Floats(product, half), _mm_div_ps(_mm_set1_ps(1.0f), Floats(span, half))),
        _mm_set1_ps(0.5f + 1.0f / 1024));
    x[half] = _mm_cvttps_epi32(y);
    below[half] = _mm_cvttps_epi32(_mm_sub_ps(y, _mm_set1_ps(2.0f / 1024)));
    // Gray lanes (M = m) give NaN on both sides, equal: not half-way.
    q[half] = _mm_cmpeq_epi32(x[half], below[half]);
  }
  const int halfWay = _mm_movemask_epi8(_mm_packs_epi32(q[0], q[1])) ^ 0xFFFF;
  __m128i ts[2];
  for (int half = 0; half < 2; ++half) {
    const __m128 x120 = _mm_mul_ps(_mm_cvtepi32_ps(x[half]), _mm_set1_ps(120.0f));
    ts[half] = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(x120, halfInvBig[half]), eps));
  }
  whiteness = _mm_packs_epi32(w[0], w[1]);
  t = _mm_packs_epi32(ts[0], ts[1]);
  if (halfWay != 0) [[unlikely]]
    t = HalfWayT(t, big, small, mid, halfWay);
}

// The model of 8 pixels in 16-bit lanes, plus shift: hue 0..360 + shift, whiteness, value.
VARDELL_INLINE void ToHwv8(__m128i r, __m128i g, __m128i b, __m128i shift, __m128i& hue,
                           __m128i& whiteness, __m128i& value) noexcept {
  const __m128i gtGR = _mm_cmpgt_epi16(g, r), gtBR = _mm_cmpgt_epi16(b, r);
  const __m128i gtBG = _mm_cmpgt_epi16(b, g);
  // Largest channel, ties to red, then green.
  const __m128i greenBig = _mm_andnot_si128(gtBG, gtGR);
  const __m128i blueBig = _mm_and_si128(gtBR, gtBG);
  const __m128i lowRG = _mm_min_epi16(r, g), highRG = _mm_max_epi16(r, g);
  const __m128i big = _mm_max_epi16(highRG, b);
  const __m128i small = _mm_min_epi16(lowRG, b);
  const __m128i mid = _mm_max_epi16(lowRG, _mm_min_epi16(highRG, b));
  // Sectors whose hue counts down from their base: red with B > G (360 - t), green with
  // R >= B (120 - t), blue with G > R (240 - t).
  const __m128i redDown = _mm_andnot_si128(_mm_or_si128(gtGR, gtBR), gtBG);
  const __m128i down = _mm_or_si128(_mm_or_si128(redDown, _mm_andnot_si128(gtBR, greenBig)),
                                    _mm_and_si128(blueBig, gtGR));
  const __m128i base = _mm_add_epi16(_mm_or_si128(_mm_and_si128(redDown, Words(360)),
                                                  _mm_or_si128(_mm_and_si128(greenBig, Words(120)),
                                                               _mm_and_si128(blueBig, Words(240)))),
                                     shift);
  __m128i t;
  Quotients8(big, small, mid, whiteness, t);
  const __m128i gray = _mm_cmpeq_epi16(big, small);  // black included
  t = _mm_andnot_si128(gray, t);
  hue = _mm_add_epi16(base, _mm_sub_epi16(_mm_xor_si128(t, down), down));
  whiteness = _mm_andnot_si128(_mm_cmpeq_epi16(big, _mm_setzero_si128()), whiteness);
  value = big;
}

// floor(c * value / 255) of c lifted towards 255 by w / 128; k = 255 - c.
VARDELL_INLINE __m128i LiftScale(__m128i c, __m128i k, __m128i w, __m128i v) noexcept {
  const __m128i lifted = _mm_add_epi16(c, _mm_srli_epi16(_mm_mullo_epi16(k, w), 7));
  return _mm_srli_epi16(_mm_mulhi_epu16(_mm_mullo_epi16(lifted, v), Words(0x8081)), 7);
}

// HWVToRGB of 8 pixels in 16-bit lanes, hue 0..359. Each table channel is its edge clamped to
// 0..255: with e(a) = floor(17 a / 4), green is e(h) below 180 and e(239 - h) from 180, blue
// e(h - 120) and e(359 - h), red 255 - e(h - 60) and 255 - e(299 - h); outside its edges an
// argument is negative or gives at least 255. With hh = h or -h, 17 a = 17 hh + a constant.
VARDELL_INLINE void FromHwv8(__m128i h, __m128i w, __m128i v, __m128i& r, __m128i& g,
                             __m128i& b) noexcept {
  const __m128i upper = _mm_cmpgt_epi16(h, Words(179));
  const __m128i p = _mm_mullo_epi16(_mm_sub_epi16(_mm_xor_si128(h, upper), upper), Words(17));
  const __m128i zero = _mm_setzero_si128(), full = Words(255);
  auto edge = [&](int low, int high) {
    const __m128i a = _mm_add_epi16(_mm_add_epi16(p, Words(17 * low)),
                                    _mm_and_si128(upper, Words(17 * (high - low))));
    return _mm_min_epi16(_mm_max_epi16(_mm_srai_epi16(a, 2), zero), full);
  };
  const __m128i gc = edge(0, 239), bc = edge(-120, 359), rk = edge(-60, 299);
  g = LiftScale(gc, _mm_sub_epi16(full, gc), w, v);
  b = LiftScale(bc, _mm_sub_epi16(full, bc), w, v);
  r = LiftScale(_mm_sub_epi16(full, rk), rk, w, v);
}

}  // namespace
#endif

void HueRowSse2(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
                const hwv::HueTables& tables) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  const __m128i shift = Words(hwv::WrapHue(0, dh));
  const __m128i whitenessShift = Words(std::clamp(ds, -1000, 1000));
  // Two passes over up to 256 pixels, into the model and back: each pass's dependency chains are
  // short enough for the processor to overlap blocks, which one pass's are not.
  constexpr std::size_t kChunk = 256;
  __m128i model[kChunk / 8][3];
  while (i + 16 <= n) {
    const std::size_t count = std::min(kChunk, (n - i) / 16 * 16);
    BYTE* q = p + 3 * i;
    for (std::size_t j = 0; j < count; j += 16) {
      __m128i planes[3];
      sse2::LoadPlanes(q + 3 * j, planes[0], planes[1], planes[2]);
#pragma GCC unroll 2
      for (int half = 0; half < 2; ++half) {
        auto widen = [half](__m128i x) {
          return half == 0 ? sse2::WidenLow(x) : sse2::WidenHigh(x);
        };
        __m128i* m = model[j / 8 + half];
        __m128i hue, whiteness;
        ToHwv8(widen(planes[2]), widen(planes[1]), widen(planes[0]), shift, hue, whiteness, m[2]);
        m[0] = _mm_sub_epi16(hue, _mm_and_si128(_mm_cmpgt_epi16(hue, Words(359)), Words(360)));
        if (withWhiteness)
          whiteness = _mm_min_epi16(
              _mm_max_epi16(_mm_sub_epi16(whiteness, whitenessShift), Words(0)), Words(127));
        m[1] = whiteness;
      }
    }
    for (std::size_t j = 0; j < count; j += 16) {
      __m128i out[3][2];
#pragma GCC unroll 2
      for (int half = 0; half < 2; ++half) {
        const __m128i* m = model[j / 8 + half];
        FromHwv8(m[0], m[1], m[2], out[2][half], out[1][half], out[0][half]);
      }
      sse2::StorePlanes(q + 3 * j, _mm_packus_epi16(out[0][0], out[0][1]),
                        _mm_packus_epi16(out[1][0], out[1][1]),
                        _mm_packus_epi16(out[2][0], out[2][1]));
    }
    i += count;
  }
#endif
  HueRow(p + 3 * i, n - i, dh, withWhiteness, ds, tables);
}

// ---- Measures and masks ----

void SumRow(const BYTE* p, std::size_t n, std::uint32_t sums[3]) noexcept {
  std::uint32_t b = 0, g = 0, r = 0;
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    b += p[0];
    g += p[1];
    r += p[2];
  }
  sums[0] += b;
  sums[1] += g;
  sums[2] += r;
}

void ExactColourRow(const BYTE* p, BYTE* out, std::size_t n, const BYTE bgr[3], BYTE equal,
                    BYTE other) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3)
    out[i] = p[0] == bgr[0] && p[1] == bgr[1] && p[2] == bgr[2] ? equal : other;
}

void ColourRangeRow(const BYTE* p, BYTE* out, std::size_t n, const bool* blue, const bool* green,
                    const bool* red, BYTE match, BYTE other) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3)
    out[i] = blue[p[0]] && green[p[1]] && red[p[2]] ? match : other;
}

}  // namespace vardell::imageops_kernels
