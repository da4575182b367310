#include "picture/blend_kernels.h"

#include "picture/simd_dispatch.h"

#include <cstring>

#if VARDELL_HAVE_SSE2
#include <emmintrin.h>
#endif

namespace vardell::kernels {

// ---- Nearest-neighbour sampling ----

void CopyPixels(const std::uint8_t* src, const int* steps, std::uint8_t* dst,
                std::size_t n) noexcept {
  // The step after the last pixel is not taken, so src never leaves the sampled span.
  for (std::size_t i = 0; i < n; ++i, dst += 3) {
    const std::uint8_t b = src[0], g = src[1], r = src[2];
    dst[0] = b;
    dst[1] = g;
    dst[2] = r;
    if (i + 1 < n) src += steps[i];
  }
}

void CopyPixelsWide(const std::uint8_t* src, const int* steps, std::uint8_t* dst,
                    std::size_t n) noexcept {
  if (n == 0) return;
  for (std::size_t i = 0; i + 1 < n; ++i, dst += 3) {
    std::uint32_t v;
    std::memcpy(&v, src, 4);
    std::memcpy(dst, &v, 4);
    src += steps[i];
  }
  dst[0] = src[0];
  dst[1] = src[1];
  dst[2] = src[2];
}

void SampleMask(const std::uint8_t* mask, const int* steps, std::uint8_t* out,
                std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    out[i] = *mask;
    if (i + 1 < n) mask += steps[i];
  }
}

// ---- Scalar definitions ----

void BlendTable(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                const ByteTables& t) noexcept {
  const BYTE* keep = t.mul[255 - w];
  const BYTE* take = t.mul[w];
  for (std::size_t i = 0; i < n; ++i)
    dst[i] = static_cast<std::uint8_t>(keep[dst[i]] + take[src[i]]);
}

void AddTable(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
              const ByteTables& t) noexcept {
  const BYTE* take = t.mul[w];
  const BYTE* clamp = t.Clamp();
  for (std::size_t i = 0; i < n; ++i) dst[i] = clamp[dst[i] + take[src[i]]];
}

void BlendMmxScalar(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                    std::uint8_t w) noexcept {
  const unsigned ws = w, wd = 256u - w;
  for (std::size_t i = 0; i < n; ++i)
    dst[i] = static_cast<std::uint8_t>((src[i] * ws + dst[i] * wd) >> 8);
}

void AddMmxScalar(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                  std::uint8_t w) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    unsigned sum = 256u * dst[i] + src[i] * unsigned{w};
    if (sum > 65535u) sum = 65535u;  // the saturating word add
    dst[i] = static_cast<std::uint8_t>(sum >> 8);
  }
}

void MaskWeights(const std::uint8_t* mask, std::uint8_t* out, std::size_t n, std::uint8_t level,
                 bool invert, const ByteTables& t) noexcept {
  const BYTE* take = t.mul[level];
  const BYTE* n255 = invert ? t.inv : t.mul[255];
  for (std::size_t i = 0; i < n; ++i) out[i] = take[n255[mask[i]]];
}

void MaskBlendTable(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                    std::size_t n, const ByteTables& t) noexcept {
  for (std::size_t i = 0; i < n; ++i, src += 3, dst += 3) {
    const BYTE* keep = t.mul[255 - weights[i]];
    const BYTE* take = t.mul[weights[i]];
    for (int c = 0; c < 3; ++c) dst[c] = static_cast<std::uint8_t>(keep[dst[c]] + take[src[c]]);
  }
}

void MaskAddTable(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                  std::size_t n, std::uint8_t level, const ByteTables& t) noexcept {
  const BYTE* keep = t.mul[255 - level];
  const BYTE* take = t.mul[level];
  const BYTE* clamp = t.Clamp();
  for (std::size_t i = 0; i < n; ++i, src += 3, dst += 3) {
    const BYTE* m = t.mul[weights[i]];
    for (int c = 0; c < 3; ++c)
      dst[c] = static_cast<std::uint8_t>(keep[dst[c]] + take[clamp[dst[c] + m[src[c]]]]);
  }
}

void MaskBlendMmxScalar(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i, src += 3, dst += 3) {
    const unsigned a = weights[i];
    for (int c = 0; c < 3; ++c)
      dst[c] = static_cast<std::uint8_t>((src[c] * a + dst[c] * (257u - a)) >> 8);
  }
}

// ---- SSE2 twins ----

#if VARDELL_HAVE_SSE2
namespace {

constexpr std::size_t kVector = 16;

inline __m128i Load(const std::uint8_t* p) noexcept {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void Store(std::uint8_t* p, __m128i v) noexcept {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}
inline __m128i Lo(__m128i v) noexcept { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
inline __m128i Hi(__m128i v) noexcept { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }

// M[x][y] = (x * y + 128) / 255 exactly, for words x, y <= 255: mulhi(x * y + 129, 257).
inline __m128i Mul255(__m128i x, __m128i y) noexcept {
  const __m128i p = _mm_add_epi16(_mm_mullo_epi16(x, y), _mm_set1_epi16(129));
  return _mm_mulhi_epu16(p, _mm_set1_epi16(257));
}

}  // namespace

void BlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                    const ByteTables& t) noexcept {
  const __m128i take = _mm_set1_epi16(w), keep = _mm_set1_epi16(static_cast<short>(255 - w));
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i), d = Load(dst + i);
    const __m128i lo = _mm_add_epi16(Mul255(Lo(d), keep), Mul255(Lo(s), take));
    const __m128i hi = _mm_add_epi16(Mul255(Hi(d), keep), Mul255(Hi(s), take));
    Store(dst + i, _mm_packus_epi16(lo, hi));
  }
  BlendTable(src + i, dst + i, n - i, w, t);
}

void AddTableSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                  const ByteTables& t) noexcept {
  const __m128i take = _mm_set1_epi16(w);
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i);
    const __m128i m = _mm_packus_epi16(Mul255(Lo(s), take), Mul255(Hi(s), take));
    Store(dst + i, _mm_adds_epu8(Load(dst + i), m));
  }
  AddTable(src + i, dst + i, n - i, w, t);
}

void BlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                  std::uint8_t w) noexcept {
  const __m128i ws = _mm_set1_epi16(w), wd = _mm_set1_epi16(static_cast<short>(256 - w));
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i), d = Load(dst + i);
    const __m128i lo = _mm_add_epi16(_mm_mullo_epi16(Lo(s), ws), _mm_mullo_epi16(Lo(d), wd));
    const __m128i hi = _mm_add_epi16(_mm_mullo_epi16(Hi(s), ws), _mm_mullo_epi16(Hi(d), wd));
    Store(dst + i, _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8)));
  }
  BlendMmxScalar(src + i, dst + i, n - i, w);
}

void AddMmxSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                std::uint8_t w) noexcept {
  const __m128i ws = _mm_set1_epi16(w), zero = _mm_setzero_si128();
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i), d = Load(dst + i);
    // Interleaving zero below each byte gives 256 * dst in every word.
    const __m128i lo = _mm_adds_epu16(_mm_unpacklo_epi8(zero, d), _mm_mullo_epi16(Lo(s), ws));
    const __m128i hi = _mm_adds_epu16(_mm_unpackhi_epi8(zero, d), _mm_mullo_epi16(Hi(s), ws));
    Store(dst + i, _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8)));
  }
  AddMmxScalar(src + i, dst + i, n - i, w);
}

void MaskWeightsSse2(const std::uint8_t* mask, std::uint8_t* out, std::size_t n, std::uint8_t level,
                     bool invert, const ByteTables& t) noexcept {
  const __m128i flip = _mm_set1_epi8(invert ? static_cast<char>(0xFF) : 0);
  const __m128i take = _mm_set1_epi16(level);
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i m = _mm_xor_si128(Load(mask + i), flip);  // 255 - m is m ^ 255
    Store(out + i, _mm_packus_epi16(Mul255(Lo(m), take), Mul255(Hi(m), take)));
  }
  MaskWeights(mask + i, out + i, n - i, level, invert, t);
}

namespace {

// The channel words of 8 pixels (24 channels, three vectors of 8 words) given the pixels'
// weights as 8 words a0..a7: [a0 a0 a0 a1 a1 a1 a2 a2], [a2 a3 a3 a3 a4 a4 a4 a5],
// [a5 a5 a6 a6 a6 a7 a7 a7].
inline void Triple(__m128i w, __m128i out[3]) noexcept {
  out[0] = _mm_unpacklo_epi64(_mm_shufflelo_epi16(w, _MM_SHUFFLE(1, 0, 0, 0)),
                              _mm_shufflelo_epi16(w, _MM_SHUFFLE(2, 2, 1, 1)));
  const __m128i low = _mm_shufflelo_epi16(w, _MM_SHUFFLE(3, 3, 3, 2));
  const __m128i high = _mm_shufflehi_epi16(w, _MM_SHUFFLE(1, 0, 0, 0));
  out[1] = _mm_castpd_si128(_mm_move_sd(_mm_castsi128_pd(high), _mm_castsi128_pd(low)));
  out[2] = _mm_unpackhi_epi64(_mm_shufflehi_epi16(w, _MM_SHUFFLE(2, 2, 1, 1)),
                              _mm_shufflehi_epi16(w, _MM_SHUFFLE(3, 3, 3, 2)));
}

// Runs op(d, s, a) -> new d over the 48 channel words of 16 pixels at a time, the weights of
// the pixels' channels in a; the tail goes to the scalar twin.
template <class Op, class Tail>
void PerPixel(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
              std::size_t n, Op op, Tail tail) noexcept {
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i w = Load(weights + i);
    __m128i a[6];
    Triple(Lo(w), a);
    Triple(Hi(w), a + 3);
    const std::uint8_t* s = src + 3 * i;
    std::uint8_t* d = dst + 3 * i;
    for (int v = 0; v < 3; ++v) {
      const __m128i sv = Load(s + 16 * v), dv = Load(d + 16 * v);
      const __m128i lo = op(Lo(dv), Lo(sv), a[2 * v]);
      const __m128i hi = op(Hi(dv), Hi(sv), a[2 * v + 1]);
      Store(d + 16 * v, _mm_packus_epi16(lo, hi));
    }
  }
  tail(src + 3 * i, dst + 3 * i, weights + i, n - i);
}

}  // namespace

void MaskBlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n, const ByteTables& t) noexcept {
  const __m128i full = _mm_set1_epi16(255);
  PerPixel(
      src, dst, weights, n,
      [&](__m128i d, __m128i s, __m128i a) {
        return _mm_add_epi16(Mul255(d, _mm_sub_epi16(full, a)), Mul255(s, a));
      },
      [&](auto... args) { MaskBlendTable(args..., t); });
}

void MaskAddTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n, std::uint8_t level, const ByteTables& t) noexcept {
  const __m128i take = _mm_set1_epi16(level);
  const __m128i keep = _mm_set1_epi16(static_cast<short>(255 - level));
  const __m128i full = _mm_set1_epi16(255);
  PerPixel(
      src, dst, weights, n,
      [&](__m128i d, __m128i s, __m128i m) {
        const __m128i sum = _mm_min_epi16(_mm_add_epi16(d, Mul255(s, m)), full);  // S[d + M]
        return _mm_add_epi16(Mul255(d, keep), Mul255(sum, take));
      },
      [&](auto... args) { MaskAddTable(args..., level, t); });
}

void MaskBlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n) noexcept {
  const __m128i k257 = _mm_set1_epi16(257);
  PerPixel(
      src, dst, weights, n,
      [&](__m128i d, __m128i s, __m128i a) {
        const __m128i sum =
            _mm_add_epi16(_mm_mullo_epi16(s, a), _mm_mullo_epi16(d, _mm_sub_epi16(k257, a)));
        return _mm_srli_epi16(sum, 8);
      },
      [](auto... args) { MaskBlendMmxScalar(args...); });
}

#else  // no SSE2 built: the twins are their scalar definitions

void BlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                    const ByteTables& t) noexcept {
  BlendTable(src, dst, n, w, t);
}
void AddTableSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, std::uint8_t w,
                  const ByteTables& t) noexcept {
  AddTable(src, dst, n, w, t);
}
void BlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                  std::uint8_t w) noexcept {
  BlendMmxScalar(src, dst, n, w);
}
void AddMmxSse2(const std::uint8_t* src, std::uint8_t* dst, std::size_t n,
                std::uint8_t w) noexcept {
  AddMmxScalar(src, dst, n, w);
}
void MaskWeightsSse2(const std::uint8_t* mask, std::uint8_t* out, std::size_t n, std::uint8_t level,
                     bool invert, const ByteTables& t) noexcept {
  MaskWeights(mask, out, n, level, invert, t);
}
void MaskBlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n, const ByteTables& t) noexcept {
  MaskBlendTable(src, dst, weights, n, t);
}
void MaskAddTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n, std::uint8_t level, const ByteTables& t) noexcept {
  MaskAddTable(src, dst, weights, n, level, t);
}
void MaskBlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n) noexcept {
  MaskBlendMmxScalar(src, dst, weights, n);
}

#endif

}  // namespace vardell::kernels
