// AVX2 twins of the gray and hue kernels. Built only with the AVX2 build option, which compiles
// this file with AVX2, FMA and BMI2 and without implicit floating-point contraction; the operations
// then pick these twins instead of the SSE2 ones. Each gives the same bytes as its scalar
// definition and hands its tail (fewer pixels than one block) to the SSE2 twin.
#include "imageops/colour_kernels.h"

#if VARDELL_HAVE_AVX2

#if !defined(__AVX2__) || !defined(__FMA__)
#error "colour_kernels_avx2.cpp must be compiled with -mavx2 -mfma"
#endif

#include <immintrin.h>

#include <algorithm>
#include <cstdint>

#define VARDELL_INLINE inline __attribute__((always_inline))

namespace vardell::imageops_kernels {
namespace {

// A byte shuffle control from 32 indexes (each 128-bit lane shuffles its own 16 bytes; an index
// of 0x80 makes a zero).
struct Shuffle {
  alignas(32) std::int8_t bytes[32];
  __m256i Load() const noexcept {
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(bytes));
  }
};

// Two 16-byte loads, at lo into the low lane and at hi into the high one.
VARDELL_INLINE __m256i Load2(const BYTE* lo, const BYTE* hi) noexcept {
  return _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lo))),
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(hi)), 1);
}

VARDELL_INLINE __m256i Words(int v) noexcept { return _mm256_set1_epi16(static_cast<short>(v)); }

// ---- Gray ----

// Each lane gathers 4 pixels (12 bytes from its byte lowAt or highAt) as B G R G each. Unsigned
// bytes times signed weights with pairs added (maddubs) then make the words 29 B + 99 G and
// 76 R + 51 G, at most 128 * 255 and 127 * 255, so nothing saturates; their sum is the gray's
// 29 B + 150 G + 76 R.
constexpr Shuffle GrayGather(int lowAt, int highAt) {
  Shuffle s{};
  for (int lane = 0; lane < 2; ++lane)
    for (int j = 0; j < 4; ++j) {
      const int at = (lane == 0 ? lowAt : highAt) + 3 * j;
      const int picks[4] = {at, at + 1, at + 2, at + 1};
      for (int k = 0; k < 4; ++k)
        s.bytes[16 * lane + 4 * j + k] = static_cast<std::int8_t>(picks[k]);
    }
  return s;
}
constexpr Shuffle kGrayGather = GrayGather(0, 0);
// The last group of a block is loaded 4 bytes early so that no load passes the block's end.
constexpr Shuffle kGrayGatherLast = GrayGather(0, 4);

// Output byte 16 k + i of 16 pixels repeated three times is gray (16 k + i) / 3.
constexpr Shuffle GraySpread(int lowK, int highK) {
  Shuffle s{};
  for (int i = 0; i < 16; ++i) {
    s.bytes[i] = static_cast<std::int8_t>((16 * lowK + i) / 3);
    s.bytes[16 + i] = static_cast<std::int8_t>((16 * highK + i) / 3);
  }
  return s;
}
constexpr Shuffle kSpread01 = GraySpread(0, 1), kSpread20 = GraySpread(2, 0),
                  kSpread12 = GraySpread(1, 2);

// The grays of the 32 pixels at p (96 bytes, none read beyond), in order.
VARDELL_INLINE __m256i Gray32(const BYTE* p) noexcept {
  // Lanes hold groups of 4 pixels: v[g] = groups g and g + 4, so that the in-lane packs below
  // leave pixels 0..15 in the low lane and 16..31 in the high one.
  const __m256i gather = kGrayGather.Load();
  const __m256i weights = _mm256_set1_epi32(51 << 24 | 76 << 16 | 99 << 8 | 29);
  const __m256i ones = Words(1);
  __m256i sums[4];
  for (int g = 0; g < 4; ++g) {
    const __m256i v = g < 3 ? _mm256_shuffle_epi8(Load2(p + 12 * g, p + 48 + 12 * g), gather)
                            : _mm256_shuffle_epi8(Load2(p + 36, p + 80), kGrayGatherLast.Load());
    sums[g] = _mm256_madd_epi16(_mm256_maddubs_epi16(v, weights), ones);
  }
  // Sums of at most 65025 as unsigned words; x / 255 == (x * 0x8081) >> 23 for every word x.
  const __m256i inv255 = Words(0x8081);
  const __m256i lo =
      _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_packus_epi32(sums[0], sums[1]), inv255), 7);
  const __m256i hi =
      _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_packus_epi32(sums[2], sums[3]), inv255), 7);
  return _mm256_packus_epi16(lo, hi);
}

}  // namespace

void GrayRowAvx2(BYTE* p, std::size_t n) noexcept {
  std::size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    BYTE* q = p + 3 * i;
    const __m256i gray = Gray32(q);
    const __m256i low = _mm256_permute2x128_si256(gray, gray, 0x00);
    const __m256i high = _mm256_permute2x128_si256(gray, gray, 0x11);
    auto* out = reinterpret_cast<__m256i*>(q);
    _mm256_storeu_si256(out, _mm256_shuffle_epi8(low, kSpread01.Load()));
    _mm256_storeu_si256(out + 1, _mm256_shuffle_epi8(gray, kSpread20.Load()));
    _mm256_storeu_si256(out + 2, _mm256_shuffle_epi8(high, kSpread12.Load()));
  }
  GrayRowSse2(p + 3 * i, n - i);
}

void GrayBytesRowAvx2(const BYTE* p, BYTE* out, std::size_t n) noexcept {
  std::size_t i = 0;
  for (; i + 32 <= n; i += 32)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), Gray32(p + 3 * i));
  GrayBytesRowSse2(p + 3 * i, out + i, n - i);
}

// ---- The HWV model ----

namespace {

// Lanes hold 8 pixels each, from two loads 8 bytes apart (bytes 0..15 and 8..23 of the lane's
// 24): plane c of pixel j is byte 3 j + c, taken from the first load while it lies there.
constexpr Shuffle PlaneGather(int c, bool second) {
  Shuffle s{};
  for (int lane = 0; lane < 2; ++lane)
    for (int j = 0; j < 8; ++j) {
      const int at = 3 * j + c;
      const bool inFirst = at < 16;
      s.bytes[16 * lane + 2 * j] =
          static_cast<std::int8_t>(inFirst == !second ? (second ? at - 8 : at) : 0x80);
      s.bytes[16 * lane + 2 * j + 1] = static_cast<std::int8_t>(0x80);
    }
  return s;
}
constexpr Shuffle kPlane[3][2] = {{PlaneGather(0, false), PlaneGather(0, true)},
                                  {PlaneGather(1, false), PlaneGather(1, true)},
                                  {PlaneGather(2, false), PlaneGather(2, true)}};

// The blue, green and red words of 16 pixels at p: pixels 0..7 in the low lane, 8..15 high.
VARDELL_INLINE void LoadPlanes16(const BYTE* p, __m256i planes[3]) noexcept {
  const __m256i first = Load2(p, p + 24), second = Load2(p + 8, p + 32);
  for (int c = 0; c < 3; ++c)
    planes[c] = _mm256_or_si256(_mm256_shuffle_epi8(first, kPlane[c][0].Load()),
                                _mm256_shuffle_epi8(second, kPlane[c][1].Load()));
}

// The inverse: from bytes B0..B7 G0..G7 and R0..R7 (twice) of each lane, the lane's 24 bytes of
// pixels as bytes 0..15 of `head` and 0..7 of `tail`.
constexpr Shuffle PixelGather(int from, bool red) {
  Shuffle s{};
  for (int lane = 0; lane < 2; ++lane)
    for (int k = 0; k < 16; ++k) {
      const int at = from + k, pixel = at / 3, c = at % 3;
      const bool want = at < 24 && (c == 2) == red;
      s.bytes[16 * lane + k] = static_cast<std::int8_t>(want ? (c == 1 ? 8 + pixel : pixel) : 0x80);
    }
  return s;
}
constexpr Shuffle kHeadBG = PixelGather(0, false), kHeadR = PixelGather(0, true);
constexpr Shuffle kTailBG = PixelGather(16, false), kTailR = PixelGather(16, true);

// Stores 16 pixels made of three planes of words (each at most 255) at p.
VARDELL_INLINE void StorePlanes16(BYTE* p, const __m256i planes[3]) noexcept {
  const __m256i bg = _mm256_packus_epi16(planes[0], planes[1]);
  const __m256i rr = _mm256_packus_epi16(planes[2], planes[2]);
  const __m256i head = _mm256_or_si256(_mm256_shuffle_epi8(bg, kHeadBG.Load()),
                                       _mm256_shuffle_epi8(rr, kHeadR.Load()));
  const __m256i tail = _mm256_or_si256(_mm256_shuffle_epi8(bg, kTailBG.Load()),
                                       _mm256_shuffle_epi8(rr, kTailR.Load()));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(head));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 16), _mm256_castsi256_si128(tail));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 24), _mm256_extracti128_si256(head, 1));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 40), _mm256_extracti128_si256(tail, 1));
}

VARDELL_INLINE __m256i Select(__m256i mask, __m256i a, __m256i b) noexcept {
  return _mm256_blendv_epi8(b, a, mask);
}

// The half-way lanes of X recomputed by the double steps; rare, so kept out of line.
__attribute__((noinline)) __m256i HalfWayX(__m256i x, __m256i big, __m256i small, __m256i mid,
                                           int lanes) noexcept {
  alignas(32) std::int32_t xs[8], bs[8], ss[8], ms[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(xs), x);
  _mm256_store_si256(reinterpret_cast<__m256i*>(bs), big);
  _mm256_store_si256(reinterpret_cast<__m256i*>(ss), small);
  _mm256_store_si256(reinterpret_cast<__m256i*>(ms), mid);
  for (int i = 0; i < 8; ++i)
    if (lanes & (1 << i)) xs[i] = hwv::SectorX(bs[i], ss[i], ms[i]);
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(xs));
}

// Whiteness, X and t = X * 60 / M for 8 pixels in 32-bit lanes, as the SSE2 twin computes them;
// its margins hold, since a fused multiply-add only rounds once where the twin rounds twice.
VARDELL_INLINE void Quotients8(__m256i big, __m256i small, __m256i mid, __m256i& whiteness,
                               __m256i& t) noexcept {
  const __m256 one = _mm256_set1_ps(1.0f), eps = _mm256_set1_ps(1.0f / 1024);
  const __m256 fb = _mm256_cvtepi32_ps(big), fs = _mm256_cvtepi32_ps(small),
               fm = _mm256_cvtepi32_ps(mid);
  // 0.5 / M is exactly half of the rounded 1 / M.
  const __m256 halfInvBig = _mm256_div_ps(_mm256_set1_ps(0.5f), fb);
  // (256 m + M) / (2 M), never an integer nor within 1 / 510 of one.
  const __m256 wNum = _mm256_fmadd_ps(fs, _mm256_set1_ps(256.0f), fb);
  whiteness = _mm256_cvttps_epi32(_mm256_mul_ps(wNum, halfInvBig));
  // X = (2 M (c - m) + (M - m)) / (2 (M - m)), rounded down; half-way X to the double steps.
  const __m256 span = _mm256_sub_ps(fb, fs), span2 = _mm256_add_ps(span, span);
  const __m256 xNum = _mm256_fmadd_ps(_mm256_add_ps(fb, fb), _mm256_sub_ps(fm, fs), span);
  __m256i x = _mm256_cvttps_epi32(_mm256_fmadd_ps(xNum, _mm256_div_ps(one, span2), eps));
  const __m256 exact = _mm256_cmp_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(x), span2), xNum, _CMP_EQ_OQ);
  const int halfWay = _mm256_movemask_ps(
      _mm256_and_ps(exact, _mm256_cmp_ps(span, _mm256_setzero_ps(), _CMP_NEQ_OQ)));
  if (halfWay != 0) x = HalfWayX(x, big, small, mid, halfWay);
  const __m256 x120 = _mm256_mul_ps(_mm256_cvtepi32_ps(x), _mm256_set1_ps(120.0f));
  t = _mm256_cvttps_epi32(_mm256_fmadd_ps(x120, halfInvBig, eps));
}

// The model of 16 pixels in 16-bit lanes: hue 0..360, whiteness, value (see the SSE2 twin).
VARDELL_INLINE void ToHwv16(__m256i r, __m256i g, __m256i b, __m256i& hue, __m256i& whiteness,
                            __m256i& value) noexcept {
  const __m256i ones = _mm256_set1_epi16(-1), zero = _mm256_setzero_si256();
  const __m256i gtGR = _mm256_cmpgt_epi16(g, r), gtBR = _mm256_cmpgt_epi16(b, r);
  const __m256i gtRG = _mm256_cmpgt_epi16(r, g), gtBG = _mm256_cmpgt_epi16(b, g);
  const __m256i redBig = _mm256_xor_si256(_mm256_or_si256(gtGR, gtBR), ones);
  const __m256i greenBig =
      _mm256_andnot_si256(_mm256_or_si256(redBig, _mm256_or_si256(gtRG, gtBG)), ones);
  const __m256i blueBig = _mm256_xor_si256(_mm256_or_si256(redBig, greenBig), ones);
  const __m256i big = _mm256_max_epi16(r, _mm256_max_epi16(g, b));
  const __m256i small = _mm256_min_epi16(r, _mm256_min_epi16(g, b));
  const __m256i mid =
      _mm256_sub_epi16(_mm256_add_epi16(_mm256_add_epi16(r, g), b), _mm256_add_epi16(big, small));
  // Sectors whose hue counts down from their base: red with B > G (360 - t), green with
  // R >= B (120 - t), blue with G > R (240 - t).
  const __m256i down = _mm256_or_si256(
      _mm256_or_si256(_mm256_and_si256(redBig, gtBG), _mm256_andnot_si256(gtBR, greenBig)),
      _mm256_and_si256(blueBig, gtGR));
  const __m256i base = _mm256_or_si256(_mm256_and_si256(_mm256_and_si256(redBig, down), Words(360)),
                                       _mm256_or_si256(_mm256_and_si256(greenBig, Words(120)),
                                                       _mm256_and_si256(blueBig, Words(240))));
  __m256i w[2], t[2];
  Quotients8(_mm256_unpacklo_epi16(big, zero), _mm256_unpacklo_epi16(small, zero),
             _mm256_unpacklo_epi16(mid, zero), w[0], t[0]);
  Quotients8(_mm256_unpackhi_epi16(big, zero), _mm256_unpackhi_epi16(small, zero),
             _mm256_unpackhi_epi16(mid, zero), w[1], t[1]);
  const __m256i t16 = _mm256_packs_epi32(t[0], t[1]);
  const __m256i gray = _mm256_cmpeq_epi16(big, small);  // black included
  hue = _mm256_andnot_si256(
      gray, _mm256_add_epi16(base, _mm256_sub_epi16(_mm256_xor_si256(t16, down), down)));
  whiteness = _mm256_andnot_si256(_mm256_cmpeq_epi16(big, zero), _mm256_packs_epi32(w[0], w[1]));
  value = big;
}

// HWVToRGB of 16 pixels in 16-bit lanes, hue 0..359 (see the SSE2 twin).
VARDELL_INLINE void FromHwv16(__m256i h, __m256i w, __m256i v, __m256i& r, __m256i& g,
                              __m256i& b) noexcept {
  const __m256i sixty = Words(60);
  const __m256i ge60 = _mm256_cmpgt_epi16(h, Words(59)), ge120 = _mm256_cmpgt_epi16(h, Words(119));
  const __m256i ge180 = _mm256_cmpgt_epi16(h, Words(179)),
                ge240 = _mm256_cmpgt_epi16(h, Words(239));
  const __m256i ge300 = _mm256_cmpgt_epi16(h, Words(299));
  // Segment s covers hues 60 s .. 60 s + 59.
  const __m256i seg0 = _mm256_xor_si256(ge60, _mm256_set1_epi16(-1));
  const __m256i seg1 = _mm256_andnot_si256(ge120, ge60), seg2 = _mm256_andnot_si256(ge180, ge120);
  const __m256i seg3 = _mm256_andnot_si256(ge240, ge180), seg4 = _mm256_andnot_si256(ge300, ge240);
  const __m256i seg5 = ge300;
  const __m256i low = _mm256_sub_epi16(_mm256_sub_epi16(h, _mm256_and_si256(ge60, sixty)),
                                       _mm256_and_si256(ge120, sixty));
  const __m256i high = _mm256_sub_epi16(
      _mm256_add_epi16(_mm256_add_epi16(Words(239), _mm256_and_si256(ge240, sixty)),
                       _mm256_and_si256(ge300, sixty)),
      h);
  const __m256i e = _mm256_srli_epi16(_mm256_mullo_epi16(Select(ge180, high, low), Words(17)), 2);
  const __m256i full = Words(255);
  const __m256i falling = _mm256_or_si256(seg1, seg4);
  const __m256i edge = Select(falling, _mm256_sub_epi16(full, e), e);
  r = _mm256_or_si256(_mm256_and_si256(_mm256_or_si256(seg0, seg5), full),
                      _mm256_and_si256(falling, edge));
  g = _mm256_or_si256(_mm256_and_si256(_mm256_or_si256(seg1, seg2), full),
                      _mm256_and_si256(_mm256_or_si256(seg0, seg3), edge));
  b = _mm256_or_si256(_mm256_and_si256(_mm256_or_si256(seg3, seg4), full),
                      _mm256_and_si256(_mm256_or_si256(seg2, seg5), edge));
  const __m256i inv255 = Words(0x8081);
  for (__m256i* c : {&r, &g, &b}) {
    const __m256i lifted = _mm256_add_epi16(
        *c, _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_sub_epi16(full, *c), w), 7));
    *c = _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_mullo_epi16(lifted, v), inv255), 7);
  }
}

}  // namespace

void HueRowAvx2(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
                const hwv::HueTables& tables) noexcept {
  const __m256i shift = Words(hwv::WrapHue(0, dh));
  const __m256i whitenessShift = Words(std::clamp(ds, -1000, 1000));
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    __m256i planes[3];
    LoadPlanes16(p + 3 * i, planes);
    __m256i hue, whiteness, value;
    ToHwv16(planes[2], planes[1], planes[0], hue, whiteness, value);
    hue = _mm256_add_epi16(hue, shift);
    hue = _mm256_sub_epi16(hue, _mm256_and_si256(_mm256_cmpgt_epi16(hue, Words(359)), Words(360)));
    if (withWhiteness)
      whiteness = _mm256_min_epi16(
          _mm256_max_epi16(_mm256_sub_epi16(whiteness, whitenessShift), Words(0)), Words(127));
    FromHwv16(hue, whiteness, value, planes[2], planes[1], planes[0]);
    StorePlanes16(p + 3 * i, planes);
  }
  HueRowSse2(p + 3 * i, n - i, dh, withWhiteness, ds, tables);
}

}  // namespace vardell::imageops_kernels

#endif
