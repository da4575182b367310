#include "imageops/colour_kernels.h"

#include "picture/simd_dispatch.h"

#include <algorithm>

#if VARDELL_HAVE_SSE2
#include "imageops/sse2_pixels.h"
#endif

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

void TransformRowSame(BYTE* p, std::size_t n, const BYTE* lut) noexcept {
  const std::size_t bytes = 3 * n;
  std::size_t i = 0;
  for (; i + 4 <= bytes; i += 4) {
    const BYTE a = p[i], b = p[i + 1], c = p[i + 2], d = p[i + 3];
    p[i] = lut[a];
    p[i + 1] = lut[b];
    p[i + 2] = lut[c];
    p[i + 3] = lut[d];
  }
  for (; i < bytes; ++i) p[i] = lut[p[i]];
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

// The grays of 16 pixels at p.
__m128i Gray16(const BYTE* p) noexcept {
  __m128i b, g, r;
  sse2::LoadPlanes(p, b, g, r);
  const __m128i wb = _mm_set1_epi16(29), wg = _mm_set1_epi16(150), wr = _mm_set1_epi16(76);
  const __m128i inv255 = _mm_set1_epi16(static_cast<short>(0x8081));
  auto half = [&](__m128i bw, __m128i gw, __m128i rw) {
    const __m128i sum = _mm_add_epi16(
        _mm_add_epi16(_mm_mullo_epi16(bw, wb), _mm_mullo_epi16(gw, wg)), _mm_mullo_epi16(rw, wr));
    return _mm_srli_epi16(_mm_mulhi_epu16(sum, inv255), 7);
  };
  const __m128i lo = half(sse2::WidenLow(b), sse2::WidenLow(g), sse2::WidenLow(r));
  const __m128i hi = half(sse2::WidenHigh(b), sse2::WidenHigh(g), sse2::WidenHigh(r));
  return _mm_packus_epi16(lo, hi);
}

}  // namespace
#endif

void GrayRowSse2(BYTE* p, std::size_t n) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  for (; i + 16 <= n; i += 16) {
    const __m128i gray = Gray16(p + 3 * i);
    sse2::StorePlanes(p + 3 * i, gray, gray, gray);
  }
#endif
  GrayRow(p + 3 * i, n - i);
}

void GrayBytesRowSse2(const BYTE* p, BYTE* out, std::size_t n) noexcept {
  std::size_t i = 0;
#if VARDELL_HAVE_SSE2
  for (; i + 16 <= n; i += 16)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), Gray16(p + 3 * i));
#endif
  GrayBytesRow(p + 3 * i, out + i, n - i);
}

// ---- The HWV model ----

void SaturateRow(BYTE* p, std::size_t n, int s) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3) hwv::SaturatePixel(p, s);
}

void HueRow(BYTE* p, std::size_t n, int dh, bool withWhiteness, int ds,
            const hwv::HueTables& tables) noexcept {
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    const hwv::Hwv c = hwv::ToHwv(p[2], p[1], p[0]);
    int whiteness = c.whiteness;
    if (withWhiteness)
      whiteness =
          static_cast<int>(std::clamp<long long>(whiteness - static_cast<long long>(ds), 0, 127));
    hwv::FromHwv(tables, hwv::WrapHue(c.hue, dh), whiteness, c.value, p);
  }
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
