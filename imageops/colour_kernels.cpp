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

VARDELL_INLINE __m128i Select(__m128i mask, __m128i a, __m128i b) noexcept {
  return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}
inline __m128i Words(int v) noexcept { return _mm_set1_epi16(static_cast<short>(v)); }

// The half-way lanes of X recomputed by the double steps; rare, so kept out of line.
__attribute__((noinline)) __m128i HalfWayX(__m128i x, __m128i big, __m128i small, __m128i mid,
                                           int lanes) noexcept {
  alignas(16) std::int32_t xs[4], bs[4], ss[4], ms[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(xs), x);
  _mm_store_si128(reinterpret_cast<__m128i*>(bs), big);
  _mm_store_si128(reinterpret_cast<__m128i*>(ss), small);
  _mm_store_si128(reinterpret_cast<__m128i*>(ms), mid);
  for (int i = 0; i < 4; ++i)
    if (lanes & (1 << i)) xs[i] = hwv::SectorX(bs[i], ss[i], ms[i]);
  return _mm_load_si128(reinterpret_cast<const __m128i*>(xs));
}

// Whiteness, X and t = X * 60 / M for 4 pixels in 32-bit lanes (see HueRowSse2).
VARDELL_INLINE void Quotients4(__m128i big, __m128i small, __m128i mid, __m128i& whiteness,
                               __m128i& t) noexcept {
  const __m128 one = _mm_set1_ps(1.0f), eps = _mm_set1_ps(1.0f / 1024);
  const __m128 fb = _mm_cvtepi32_ps(big), fs = _mm_cvtepi32_ps(small), fm = _mm_cvtepi32_ps(mid);
  // 0.5 / M is exactly half of the rounded 1 / M.
  const __m128 halfInvBig = _mm_div_ps(_mm_set1_ps(0.5f), fb);
  // (256 m + M) / (2 M).
  const __m128 wNum = _mm_add_ps(_mm_mul_ps(fs, _mm_set1_ps(256.0f)), fb);
  whiteness = _mm_cvttps_epi32(_mm_mul_ps(wNum, halfInvBig));
  // X = (2 M (c - m) + (M - m)) / (2 (M - m)), rounded down.
  const __m128 span = _mm_sub_ps(fb, fs), span2 = _mm_add_ps(span, span);
  const __m128 xNum = _mm_add_ps(_mm_mul_ps(_mm_add_ps(fb, fb), _mm_sub_ps(fm, fs)), span);
  __m128i x = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(xNum, _mm_div_ps(one, span2)), eps));
  const int halfWay =
      _mm_movemask_ps(_mm_and_ps(_mm_cmpeq_ps(_mm_mul_ps(_mm_cvtepi32_ps(x), span2), xNum),
                                 _mm_cmpneq_ps(span, _mm_setzero_ps())));
  if (halfWay != 0) x = HalfWayX(x, big, small, mid, halfWay);
  const __m128 x120 = _mm_mul_ps(_mm_cvtepi32_ps(x), _mm_set1_ps(120.0f));
  t = _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(x120, halfInvBig), eps));
}

// The model of 8 pixels in 16-bit lanes: hue 0..360, whiteness, value.
VARDELL_INLINE void ToHwv8(__m128i r, __m128i g, __m128i b, __m128i& hue, __m128i& whiteness,
                           __m128i& value) noexcept {
  const __m128i ones = _mm_set1_epi16(-1), zero = _mm_setzero_si128();
  const __m128i gtGR = _mm_cmpgt_epi16(g, r), gtBR = _mm_cmpgt_epi16(b, r);
  const __m128i gtRG = _mm_cmpgt_epi16(r, g), gtBG = _mm_cmpgt_epi16(b, g);
  const __m128i redBig = _mm_xor_si128(_mm_or_si128(gtGR, gtBR), ones);
  const __m128i greenBig = _mm_andnot_si128(_mm_or_si128(redBig, _mm_or_si128(gtRG, gtBG)), ones);
  const __m128i blueBig = _mm_xor_si128(_mm_or_si128(redBig, greenBig), ones);
  const __m128i big = _mm_max_epi16(r, _mm_max_epi16(g, b));
  const __m128i small = _mm_min_epi16(r, _mm_min_epi16(g, b));
  const __m128i mid =
      _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(r, g), b), _mm_add_epi16(big, small));
  // Sectors whose hue counts down from their base: red with B > G (360 - t), green with
  // R >= B (120 - t), blue with G > R (240 - t).
  const __m128i down =
      _mm_or_si128(_mm_or_si128(_mm_and_si128(redBig, gtBG), _mm_andnot_si128(gtBR, greenBig)),
                   _mm_and_si128(blueBig, gtGR));
  const __m128i base = _mm_or_si128(
      _mm_and_si128(_mm_and_si128(redBig, down), Words(360)),
      _mm_or_si128(_mm_and_si128(greenBig, Words(120)), _mm_and_si128(blueBig, Words(240))));
  __m128i w[2], t[2];
  Quotients4(_mm_unpacklo_epi16(big, zero), _mm_unpacklo_epi16(small, zero),
             _mm_unpacklo_epi16(mid, zero), w[0], t[0]);
  Quotients4(_mm_unpackhi_epi16(big, zero), _mm_unpackhi_epi16(small, zero),
             _mm_unpackhi_epi16(mid, zero), w[1], t[1]);
  const __m128i t16 = _mm_packs_epi32(t[0], t[1]);
  const __m128i gray = _mm_cmpeq_epi16(big, small);  // black included
  hue = _mm_andnot_si128(gray, _mm_add_epi16(base, _mm_sub_epi16(_mm_xor_si128(t16, down), down)));
  whiteness = _mm_andnot_si128(_mm_cmpeq_epi16(big, zero), _mm_packs_epi32(w[0], w[1]));
  value = big;
}

// HWVToRGB of 8 pixels in 16-bit lanes, hue 0..359.
VARDELL_INLINE void FromHwv8(__m128i h, __m128i w, __m128i v, __m128i& r, __m128i& g,
                             __m128i& b) noexcept {
  const __m128i lt60 = _mm_cmplt_epi16(h, Words(60)), lt120 = _mm_cmplt_epi16(h, Words(120));
  const __m128i lt180 = _mm_cmplt_epi16(h, Words(180)), lt240 = _mm_cmplt_epi16(h, Words(240));
  const __m128i lt300 = _mm_cmplt_epi16(h, Words(300));
  const __m128i seg0 = lt60, seg1 = _mm_andnot_si128(lt60, lt120);
  const __m128i seg2 = _mm_andnot_si128(lt120, lt180), seg3 = _mm_andnot_si128(lt180, lt240);
  const __m128i seg4 = _mm_andnot_si128(lt240, lt300),
                seg5 = _mm_xor_si128(lt300, _mm_set1_epi16(-1));
  const __m128i sixty = Words(60);
  // The edge's argument: h, h - 60, h - 120 rising or falling; 239 - h, 299 - h, 359 - h for
  // the mirrored edges.
  const __m128i low = _mm_sub_epi16(_mm_sub_epi16(h, _mm_andnot_si128(lt60, sixty)),
                                    _mm_andnot_si128(lt120, sixty));
  const __m128i high =
      _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(Words(239), _mm_andnot_si128(lt240, sixty)),
                                  _mm_andnot_si128(lt300, sixty)),
                    h);
  const __m128i e = _mm_srli_epi16(_mm_mullo_epi16(Select(lt180, low, high), Words(17)), 2);
  const __m128i full = Words(255);
  const __m128i edge = Select(_mm_or_si128(seg1, seg4), _mm_sub_epi16(full, e), e);
  r = _mm_or_si128(_mm_and_si128(_mm_or_si128(seg0, seg5), full),
                   _mm_and_si128(_mm_or_si128(seg1, seg4), edge));
  g = _mm_or_si128(_mm_and_si128(_mm_or_si128(seg1, seg2), full),
                   _mm_and_si128(_mm_or_si128(seg0, seg3), edge));
  b = _mm_or_si128(_mm_and_si128(_mm_or_si128(seg3, seg4), full),
                   _mm_and_si128(_mm_or_si128(seg2, seg5), edge));
  const __m128i inv255 = Words(0x8081);
  for (__m128i* c : {&r, &g, &b}) {
    const __m128i lifted =
        _mm_add_epi16(*c, _mm_srli_epi16(_mm_mullo_epi16(_mm_sub_epi16(full, *c), w), 7));
    *c = _mm_srli_epi16(_mm_mulhi_epu16(_mm_mullo_epi16(lifted, v), inv255), 7);
  }
}

}  // namespace
#endif

void HueRowSse2(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
                const hwv::HueTables& tables) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  const __m128i shift = Words(hwv::WrapHue(0, dh));
  const __m128i whitenessShift = Words(std::clamp(ds, -1000, 1000));
  for (; i + 16 <= n; i += 16) {
    __m128i planes[3];
    sse2::LoadPlanes(p + 3 * i, planes[0], planes[1], planes[2]);
    __m128i out[3][2];
    for (int half = 0; half < 2; ++half) {
      auto widen = [half](__m128i x) { return half == 0 ? sse2::WidenLow(x) : sse2::WidenHigh(x); };
      __m128i hue, whiteness, value;
      ToHwv8(widen(planes[2]), widen(planes[1]), widen(planes[0]), hue, whiteness, value);
      hue = _mm_add_epi16(hue, shift);
      hue = _mm_sub_epi16(hue, _mm_and_si128(_mm_cmpgt_epi16(hue, Words(359)), Words(360)));
      if (withWhiteness)
        whiteness = _mm_min_epi16(_mm_max_epi16(_mm_sub_epi16(whiteness, whitenessShift), Words(0)),
                                  Words(127));
      FromHwv8(hue, whiteness, value, out[2][half], out[1][half], out[0][half]);
    }
    sse2::StorePlanes(p + 3 * i, _mm_packus_epi16(out[0][0], out[0][1]),
                      _mm_packus_epi16(out[1][0], out[1][1]),
                      _mm_packus_epi16(out[2][0], out[2][1]));
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
