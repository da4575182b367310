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

void ExpandWeights(const std::uint8_t* mask, const int* steps, const std::uint32_t* lut,
                   std::uint8_t* out, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i, out += 3) {
    std::memcpy(out, &lut[*mask], 4);
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

void MaskBlendTable(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                    std::size_t n, const ByteTables& t) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned a = weights[i];
    dst[i] = static_cast<std::uint8_t>(t.mul[255 - a][dst[i]] + t.mul[a][src[i]]);
  }
}

void MaskAddTable(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                  std::size_t n, std::uint8_t level, const ByteTables& t) noexcept {
  const BYTE* keep = t.mul[255 - level];
  const BYTE* take = t.mul[level];
  const BYTE* clamp = t.Clamp();
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint8_t d = dst[i];
    dst[i] = static_cast<std::uint8_t>(keep[d] + take[clamp[d + t.mul[weights[i]][src[i]]]]);
  }
}

void MaskBlendMmxScalar(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned a = weights[i];
    dst[i] = static_cast<std::uint8_t>((src[i] * a + dst[i] * (257u - a)) >> 8);
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

void MaskBlendTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                        std::size_t n, const ByteTables& t) noexcept {
  const __m128i full = _mm_set1_epi16(255);
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i), d = Load(dst + i), a = Load(weights + i);
    const __m128i aLo = Lo(a), aHi = Hi(a);
    const __m128i lo = _mm_add_epi16(Mul255(Lo(d), _mm_sub_epi16(full, aLo)), Mul255(Lo(s), aLo));
    const __m128i hi = _mm_add_epi16(Mul255(Hi(d), _mm_sub_epi16(full, aHi)), Mul255(Hi(s), aHi));
    Store(dst + i, _mm_packus_epi16(lo, hi));
  }
  MaskBlendTable(src + i, dst + i, weights + i, n - i, t);
}

void MaskAddTableSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n, std::uint8_t level, const ByteTables& t) noexcept {
  const __m128i take = _mm_set1_epi16(level);
  const __m128i keep = _mm_set1_epi16(static_cast<short>(255 - level));
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i), d = Load(dst + i), m = Load(weights + i);
    const __m128i sm = _mm_packus_epi16(Mul255(Lo(s), Lo(m)), Mul255(Hi(s), Hi(m)));
    const __m128i sum = _mm_adds_epu8(d, sm);  // S[d + M[m][s]]
    const __m128i lo = _mm_add_epi16(Mul255(Lo(d), keep), Mul255(Lo(sum), take));
    const __m128i hi = _mm_add_epi16(Mul255(Hi(d), keep), Mul255(Hi(sum), take));
    Store(dst + i, _mm_packus_epi16(lo, hi));
  }
  MaskAddTable(src + i, dst + i, weights + i, n - i, level, t);
}

void MaskBlendMmxSse2(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* weights,
                      std::size_t n) noexcept {
  const __m128i k257 = _mm_set1_epi16(257);
  std::size_t i = 0;
  for (; i + kVector <= n; i += kVector) {
    const __m128i s = Load(src + i), d = Load(dst + i), a = Load(weights + i);
    const __m128i aLo = Lo(a), aHi = Hi(a);
    const __m128i lo = _mm_add_epi16(_mm_mullo_epi16(Lo(s), aLo),
                                     _mm_mullo_epi16(Lo(d), _mm_sub_epi16(k257, aLo)));
    const __m128i hi = _mm_add_epi16(_mm_mullo_epi16(Hi(s), aHi),
                                     _mm_mullo_epi16(Hi(d), _mm_sub_epi16(k257, aHi)));
    Store(dst + i, _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8)));
  }
  MaskBlendMmxScalar(src + i, dst + i, weights + i, n - i);
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
