// CMask morphology: horizontal and vertical dilation and erosion, the neighbour-maximum edge
// marker and the separable box blur. All work in place on the Width() pixels of each row and
// leave the row padding alone.
#include "mask/mask.h"
#include "mask/mask_kernels.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vardell::mask_kernels {

namespace {

template <bool any>
void SpanRow(const BYTE* in, BYTE* out, std::size_t n, std::size_t span, BYTE* scratch) noexcept {
  const std::size_t total = n + span - 1;
  const auto op = [](BYTE a, BYTE b) -> BYTE { return any ? (a | b) : (a & b); };
  // After each pass scratch[c] combines in[c .. c + len - 1], valid for c <= total - len.
  std::size_t len = 1;
  const BYTE* src = in;
  while (4 * len < span) {
    const std::size_t valid = total - 2 * len + 1;
    for (std::size_t c = 0; c < valid; ++c) scratch[c] = op(src[c], src[c + len]);
    src = scratch;
    len *= 2;
  }
  // Four windows of len at these offsets cover the span without gaps.
  const std::size_t o3 = span - len, o1 = std::min(len, o3), o2 = std::min(2 * len, o3);
  for (std::size_t c = 0; c < n; ++c) {
    const BYTE v = op(op(src[c], src[c + o1]), op(src[c + o2], src[c + o3]));
    out[c] = any ? (v != 0 ? 255 : 0) : (v == 255 ? 255 : 0);
  }
}

}  // namespace

void SpanAnyRow(const BYTE* in, BYTE* out, std::size_t n, std::size_t span,
                BYTE* scratch) noexcept {
  SpanRow<true>(in, out, n, span, scratch);
}

void SpanAllRow(const BYTE* in, BYTE* out, std::size_t n, std::size_t span,
                BYTE* scratch) noexcept {
  SpanRow<false>(in, out, n, span, scratch);
}

void EdgeRow(const BYTE* above, const BYTE* cur, const BYTE* below, BYTE* out,
             std::size_t n) noexcept {
  if (below) {
    for (std::size_t i = 0; i < n; ++i) {
      const BYTE m = std::min(std::min(cur[i], cur[i + 2]), std::min(above[i], below[i]));
      out[i] = cur[i + 1] > m ? 255 : 0;
    }
  } else {
    for (std::size_t i = 0; i < n; ++i) {
      const BYTE m = std::min(std::min(cur[i], cur[i + 2]), above[i]);
      out[i] = cur[i + 1] > m ? 255 : 0;
    }
  }
}

void SlideCountsRowSse2(BYTE* row, BYTE* saved, const BYTE* entering, const BYTE* leaving,
                        std::uint8_t* count, std::size_t n, std::uint8_t atLeast) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128(), ones = _mm_set1_epi8(-1);
  const __m128i limit = _mm_set1_epi8(static_cast<char>(atLeast));
  for (; i + 16 <= n; i += 16) {
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(count + i));
    const __m128i r = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(saved + i), r);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i),
                     _mm_cmpeq_epi8(_mm_max_epu8(c, limit), c));
    const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i*>(entering + i));
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(leaving + i));
    c = _mm_sub_epi8(c, _mm_andnot_si128(_mm_cmpeq_epi8(e, zero), ones));
    c = _mm_add_epi8(c, _mm_andnot_si128(_mm_cmpeq_epi8(l, zero), ones));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(count + i), c);
  }
#endif
  SlideCountsRow<std::uint8_t>(row + i, saved + i, entering + i, leaving + i, count + i, n - i,
                               atLeast);
}

namespace {

template <int count, bool any>
std::size_t WindowRowsBlocks(const BYTE* const* rows, BYTE* out, BYTE* saved,
                             std::size_t n) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128(), ones = _mm_set1_epi8(-1);
  for (; i + 16 <= n; i += 16) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[0] + i));
    for (int r = 1; r < count; ++r) {
      const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[r] + i));
      v = any ? _mm_max_epu8(v, w) : _mm_min_epu8(v, w);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(saved + i),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(out + i)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i),
                     _mm_xor_si128(_mm_cmpeq_epi8(v, zero), ones));
  }
#endif
  return i;
}

template <bool any>
std::size_t WindowRowsBlocks(const BYTE* const* rows, int count, BYTE* out, BYTE* saved,
                             std::size_t n) noexcept {
  switch (count) {
    case 1: return WindowRowsBlocks<1, any>(rows, out, saved, n);
    case 2: return WindowRowsBlocks<2, any>(rows, out, saved, n);
    case 3: return WindowRowsBlocks<3, any>(rows, out, saved, n);
    case 4: return WindowRowsBlocks<4, any>(rows, out, saved, n);
    default: return WindowRowsBlocks<5, any>(rows, out, saved, n);
  }
}

}  // namespace

void WindowRowsSse2(const BYTE* const* rows, int count, BYTE* out, BYTE* saved, std::size_t n,
                    bool any) noexcept {
  std::size_t i = any ? WindowRowsBlocks<true>(rows, count, out, saved, n)
                      : WindowRowsBlocks<false>(rows, count, out, saved, n);
  for (; i < n; ++i) {
    BYTE v = rows[0][i];
    for (int r = 1; r < count; ++r) v = any ? std::max(v, rows[r][i]) : std::min(v, rows[r][i]);
    saved[i] = out[i];
    out[i] = v != 0 ? 255 : 0;
  }
}

Divider16::Divider16(std::uint16_t divisor) noexcept {
  int l = 0;
  while ((1u << l) < divisor) ++l;
  magic =
      static_cast<std::uint16_t>(((std::uint32_t{1} << 16) * ((1u << l) - divisor)) / divisor + 1);
  shift1 = l < 1 ? l : 1;
  shift2 = l > 1 ? l - 1 : 0;
}

void DivideRow(const std::uint16_t* sums, BYTE* out, std::size_t n, const Divider16& div) noexcept {
  for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<BYTE>(div.Divide(sums[i]));
}

#if defined(__SSE2__)
namespace {

struct DividerSse2 {
  explicit DividerSse2(const Divider16& div)
      : magic(_mm_set1_epi16(static_cast<short>(div.magic))),
        s1(_mm_cvtsi32_si128(div.shift1)),
        s2(_mm_cvtsi32_si128(div.shift2)) {}
  // The low 8 bits of each lane's quotient.
  __m128i LowQuotient(__m128i x) const {
    const __m128i t = _mm_mulhi_epu16(x, magic);
    const __m128i q = _mm_srl_epi16(_mm_add_epi16(t, _mm_srl_epi16(_mm_sub_epi16(x, t), s1)), s2);
    return _mm_and_si128(q, _mm_set1_epi16(0xFF));
  }
  // 16 bytes of quotients from 16 sums.
  __m128i Bytes(__m128i a, __m128i b) const {
    return _mm_packus_epi16(LowQuotient(a), LowQuotient(b));
  }
  __m128i magic, s1, s2;
};

__m128i Load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
void Store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

}  // namespace
#endif

void DivideRowSse2(const std::uint16_t* sums, BYTE* out, std::size_t n,
                   const Divider16& div) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  const DividerSse2 d(div);
  for (; i + 16 <= n; i += 16) Store(out + i, d.Bytes(Load(sums + i), Load(sums + i + 8)));
#endif
  DivideRow(sums + i, out + i, n - i, div);
}

void PrefixSums(const BYTE* row, std::uint16_t* prefix, std::size_t n) noexcept {
  std::uint16_t acc = 0;
  prefix[0] = 0;
  for (std::size_t i = 0; i < n; ++i)
    prefix[i + 1] = acc = static_cast<std::uint16_t>(acc + row[i]);
}

void PrefixSumsSse2(const BYTE* row, std::uint16_t* prefix, std::size_t n) noexcept {
  std::size_t i = 0;
  prefix[0] = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  __m128i carry = zero;  // the running total in every lane
  for (; i + 8 <= n; i += 8) {
    __m128i v = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + i)), zero);
    v = _mm_add_epi16(v, _mm_slli_si128(v, 2));
    v = _mm_add_epi16(v, _mm_slli_si128(v, 4));
    v = _mm_add_epi16(v, _mm_slli_si128(v, 8));
    v = _mm_add_epi16(v, carry);
    Store(prefix + i + 1, v);
    carry = _mm_shufflehi_epi16(v, 0xFF);
    carry = _mm_unpackhi_epi64(carry, carry);
  }
#endif
  std::uint16_t acc = prefix[i];
  for (; i < n; ++i) prefix[i + 1] = acc = static_cast<std::uint16_t>(acc + row[i]);
}

void BoxBlurRow(BYTE* row, std::size_t n, std::int64_t radius, const Divider16& div,
                std::uint16_t* prefix) noexcept {
  PrefixSumsSse2(row, prefix, n);
  const std::int64_t last = static_cast<std::int64_t>(n) - 1;
  const std::uint32_t first = row[0], lastValue = row[n - 1];
  // Columns whose span reaches past an end count the replicated end pixels, modulo 2^16.
  const auto edge = [&](std::int64_t c) {
    const std::int64_t lo = c - radius, hi = c + radius;
    const std::uint32_t left = static_cast<std::uint32_t>(std::max<std::int64_t>(0, -lo) & 0xFFFF);
    const std::uint32_t right =
        static_cast<std::uint32_t>(std::max<std::int64_t>(0, hi - last) & 0xFFFF);
    const std::size_t a = static_cast<std::size_t>(std::max<std::int64_t>(lo, 0));
    const std::size_t b = static_cast<std::size_t>(std::min(hi, last));
    const std::uint16_t sum =
        static_cast<std::uint16_t>(left * first + right * lastValue + prefix[b + 1] - prefix[a]);
    row[c] = static_cast<BYTE>(div.Divide(sum));
  };
  // Columns whose span stays inside the row: a difference of two prefix sums.
  const std::int64_t innerBegin = std::min<std::int64_t>(radius, last + 1);
  const std::int64_t innerEnd = std::max(innerBegin, last - radius + 1);
  for (std::int64_t c = 0; c < innerBegin; ++c) edge(c);
  std::size_t c = static_cast<std::size_t>(innerBegin);
  const std::size_t end = static_cast<std::size_t>(innerEnd);
  if (c < end) {
    const std::size_t r = static_cast<std::size_t>(radius);
    const std::uint16_t* hi = prefix + r + 1;
    const std::uint16_t* lo = prefix - r;
#if defined(__SSE2__)
    const DividerSse2 d(div);
    for (; c + 16 <= end; c += 16) {
      const __m128i a = _mm_sub_epi16(Load(hi + c), Load(lo + c));
      const __m128i b = _mm_sub_epi16(Load(hi + c + 8), Load(lo + c + 8));
      Store(row + c, d.Bytes(a, b));
    }
#endif
    for (; c < end; ++c)
      row[c] = static_cast<BYTE>(div.Divide(static_cast<std::uint16_t>(hi[c] - lo[c])));
  }
  for (std::int64_t e = std::max(innerEnd, innerBegin); e <= last; ++e) edge(e);
}

void SlideSumsRow(BYTE* row, BYTE* saved, const BYTE* entering, const BYTE* leaving,
                  std::uint16_t* sums, std::size_t n, const Divider16& div) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  const DividerSse2 d(div);
  const __m128i zero = _mm_setzero_si128();
  for (; i + 16 <= n; i += 16) {
    const __m128i a = Load(sums + i), b = Load(sums + i + 8);
    Store(saved + i, Load(row + i));
    Store(row + i, d.Bytes(a, b));
    if (entering) {
      const __m128i in = Load(entering + i), out = Load(leaving + i);
      Store(sums + i, _mm_sub_epi16(_mm_add_epi16(a, _mm_unpacklo_epi8(in, zero)),
                                    _mm_unpacklo_epi8(out, zero)));
      Store(sums + i + 8, _mm_sub_epi16(_mm_add_epi16(b, _mm_unpackhi_epi8(in, zero)),
                                        _mm_unpackhi_epi8(out, zero)));
    }
  }
#endif
  for (; i < n; ++i) {
    const std::uint16_t s = sums[i];
    saved[i] = row[i];
    row[i] = static_cast<BYTE>(div.Divide(s));
    if (entering) sums[i] = static_cast<std::uint16_t>(s + entering[i] - leaving[i]);
  }
}

}  // namespace vardell::mask_kernels

namespace {

using namespace vardell::mask_kernels;

// Row k in memory order: the bottom image row is 0. The passes whose rule is the same read
// upwards or downwards (every one but EdgeDetect) walk the rows this way, streaming through
// memory forwards; their results are those of walking from the top.
BYTE* MemoryRow(CMask& mask, std::int64_t k) {
  return mask.GetBuffer() + k * static_cast<std::ptrdiff_t>(mask.GetDataWidth());
}

// Vertical dilation or erosion by running counts of nonzero pixels per column: a pixel is set
// when its window holds at least `atLeast` nonzero pixels (1 for dilation, the whole window for
// erosion; rows outside the mask count as 0). Rows are written in place, so the originals that
// still have to leave the window are kept in a ring of half + 1 row copies.
template <class Count>
void VerticalCounts(CMask& mask, std::int64_t half, Count atLeast) {
  const int height = mask.Height();
  const std::size_t n = static_cast<std::size_t>(mask.Width());
  const std::int64_t ringRows = std::min<std::int64_t>(half + 1, height);
  std::vector<BYTE> ring(static_cast<std::size_t>(ringRows) * n);
  std::vector<Count> count(n, 0);
  const std::vector<BYTE> zeros(n, 0);
  for (std::int64_t y = 0; y <= std::min<std::int64_t>(half, height - 1); ++y)
    AddNonZeroCounts(MemoryRow(mask, y), count.data(), n);
  for (std::int64_t y = 0; y < height; ++y) {
    const BYTE* entering = y + half + 1 < height ? MemoryRow(mask, y + half + 1) : zeros.data();
    const BYTE* leaving =
        y - half >= 0 ? &ring[static_cast<std::size_t>((y - half) % ringRows) * n] : zeros.data();
    BYTE* line = MemoryRow(mask, y);
    BYTE* saved = &ring[static_cast<std::size_t>(y % ringRows) * n];
    if constexpr (std::is_same_v<Count, std::uint8_t>)
      SlideCountsRowSse2(line, saved, entering, leaving, count.data(), n, atLeast);
    else
      SlideCountsRow(line, saved, entering, leaving, count.data(), n, atLeast);
  }
}

// Small windows look at their rows directly: the rows above the one being written come from a
// ring of copies of their originals, the others from the mask. For erosion a window that
// reaches past the top or bottom holds a border 0 and clears its row.
void VerticalWindow(CMask& mask, int half, bool any) {
  const int height = mask.Height();
  const std::size_t n = static_cast<std::size_t>(mask.Width());
  const int ringRows = std::min(half + 1, height);
  std::vector<BYTE> ring(static_cast<std::size_t>(ringRows) * n);
  const auto slot = [&](int y) { return &ring[static_cast<std::size_t>(y % ringRows) * n]; };
  const BYTE* rows[5];
  for (int y = 0; y < height; ++y) {
    BYTE* line = MemoryRow(mask, y);
    if (!any && (y - half < 0 || y + half >= height)) {
      std::memcpy(slot(y), line, n);
      std::memset(line, 0, n);
      continue;
    }
    int count = 0;
    for (int j = std::max(y - half, 0); j <= std::min(y + half, height - 1); ++j)
      rows[count++] = j < y ? slot(j) : MemoryRow(mask, j);
    WindowRowsSse2(rows, count, line, slot(y), n, any);
  }
}

void Vertical(CMask& mask, std::int64_t half, std::int64_t atLeast) {
  if (half <= 2) {
    VerticalWindow(mask, static_cast<int>(half), atLeast == 1);
    return;
  }
  // The window holds at most min(2 * half + 1, height) rows.
  const std::int64_t most = std::min<std::int64_t>(2 * half + 1, mask.Height());
  if (most <= 0xFF)
    VerticalCounts<std::uint8_t>(mask, half, static_cast<std::uint8_t>(atLeast));
  else if (most <= 0xFFFF)
    VerticalCounts<std::uint16_t>(mask, half, static_cast<std::uint16_t>(atLeast));
  else
    VerticalCounts<std::uint32_t>(mask, half, static_cast<std::uint32_t>(atLeast));
}

void ClearPixels(CMask& mask) {
  for (int y = 0; y < mask.Height(); ++y)
    std::memset(MemoryRow(mask, y), 0, static_cast<std::size_t>(mask.Width()));
}

// Horizontal dilation (any) or erosion through a padded row whose `half` bytes at each end are
// 0: the span of 2 * half + 1 padded bytes centred on each pixel is compared with all 0
// (dilation: the pixel is set unless the span is all 0) or all 255 (erosion: set only when the
// span is all 255).
void Horizontal(CMask& mask, std::int64_t half, bool any) {
  const std::size_t n = static_cast<std::size_t>(mask.Width());
  const std::size_t h = static_cast<std::size_t>(half), span = 2 * h + 1;
  std::vector<BYTE> padded(n + 2 * h, 0), scratch(n + 2 * h);
  for (int y = 0; y < mask.Height(); ++y) {
    BYTE* line = MemoryRow(mask, y);
    std::memcpy(padded.data() + h, line, n);
    if (any)
      SpanAnyRow(padded.data(), line, n, span, scratch.data());
    else
      SpanAllRow(padded.data(), line, n, span, scratch.data());
  }
}

}  // namespace

BOOL CMask::DilateH(int size) {
  if (!IsValid() || size < 2) return FALSE;
  // A span reaching past both ends of the row sees the whole row, whatever its length.
  Horizontal(*this, std::min<std::int64_t>(size / 2, Width()), true);
  return TRUE;
}

BOOL CMask::ErosionH(int size) {
  if (!IsValid() || size < 2) return FALSE;
  const std::int64_t half = size / 2;
  // Every span holds a border 0 once it is wider than the row.
  if (2 * half + 1 > Width())
    ClearPixels(*this);
  else
    Horizontal(*this, half, false);
  return TRUE;
}

BOOL CMask::DilateV(int size) {
  if (!IsValid() || size < 2) return FALSE;
  Vertical(*this, std::min<std::int64_t>(size / 2, Height()), 1);
  return TRUE;
}

BOOL CMask::ErosionV(int size) {
  if (!IsValid() || size < 2) return FALSE;
  const std::int64_t half = size / 2;
  // Only every entry being nonzero counts here, not being 255 as in ErosionH: intended.
  if (2 * half + 1 > Height())
    ClearPixels(*this);
  else
    Vertical(*this, half, 2 * half + 1);
  return TRUE;
}

BOOL CMask::EdgeDetect() {
  if (!IsValid()) return FALSE;
  const int height = Height();
  const std::size_t n = static_cast<std::size_t>(Width());
  // Only row 0 is compared with the row below it; every later row is compared with itself
  // there, so bottom boundaries are not marked: intended.
  // The rows go in memory order, from the bottom row up: the row above the one being written is
  // still the original, and the row itself is copied (with a 0 at each end) before it is
  // rewritten. Row 0, the last, needs the original row 1, kept aside first.
  std::vector<BYTE> current(n + 2, 0), rowOne(height > 1 ? n : 0), zeros(n, 0);
  if (height > 1) std::memcpy(rowOne.data(), GetLineBuffer(1), n);
  for (int y = height - 1; y >= 0; --y) {
    BYTE* line = GetLineBuffer(y);
    std::memcpy(current.data() + 1, line, n);
    if (y > 0)
      EdgeRow(GetLineBuffer(y - 1), current.data(), nullptr, line, n);
    else
      EdgeRow(zeros.data(), current.data(), height > 1 ? rowOne.data() : zeros.data(), line, n);
  }
  return TRUE;
}

BOOL CMask::Soften(int radius) {
  if (!IsValid()) return FALSE;
  // A negative radius has no span; it is refused rather than read outside the row.
  if (radius < 0) return FALSE;
  if (radius == 0) return TRUE;
  const int height = Height();
  const std::size_t n = static_cast<std::size_t>(Width());
  const std::int64_t r = radius;
  // The running sums and the divisor are 16-bit: radii above 128 wrap, unguarded: intended.
  // (Above 32767 the span itself would wrap; the window stays 2 * radius + 1 pixels here.)
  const Divider16 div(static_cast<std::uint16_t>(2 * r + 1));
  std::vector<std::uint16_t> sums(n), prefix(n + 1);
  for (int k = 0; k < height; ++k) BoxBlurRow(MemoryRow(*this, k), n, r, div, prefix.data());

  // Vertical pass over running column sums, in memory order. The first row counts radius + 1
  // times and rows past the last repeat the last row. Rows are rewritten in place, so the
  // originals that still have to leave the window are kept in a ring of radius + 1 row copies.
  const std::int64_t lastRow = height - 1;
  const std::int64_t below = std::min(r, lastRow);
  const unsigned firstCopies = static_cast<unsigned>((r + 1) & 0xFFFF);
  const unsigned lastCopies = static_cast<unsigned>((r - below) & 0xFFFF);
  const BYTE* first = MemoryRow(*this, 0);
  const BYTE* last = MemoryRow(*this, height - 1);
  for (std::size_t c = 0; c < n; ++c)
    sums[c] = static_cast<std::uint16_t>(first[c] * firstCopies + last[c] * lastCopies);
  for (std::int64_t i = 1; i <= below; ++i) {
    const BYTE* row = MemoryRow(*this, i);
    for (std::size_t c = 0; c < n; ++c) sums[c] = static_cast<std::uint16_t>(sums[c] + row[c]);
  }
  const std::int64_t ringRows = std::min<std::int64_t>(r + 1, height);
  std::vector<BYTE> ring(static_cast<std::size_t>(ringRows) * n);
  const auto slot = [&](std::int64_t y) {
    return &ring[static_cast<std::size_t>(y % ringRows) * n];
  };
  for (std::int64_t y = 0; y < height; ++y) {
    const bool more = y < lastRow;
    const BYTE* entering = more ? MemoryRow(*this, std::min(y + r + 1, lastRow)) : nullptr;
    // The leaving row was saved at an earlier step; at the first row it is the row itself,
    // which SlideSumsRow saves before it reads it.
    const BYTE* leaving = more ? slot(std::max<std::int64_t>(y - r, 0)) : nullptr;
    SlideSumsRow(MemoryRow(*this, y), slot(y), entering, leaving, sums.data(), n, div);
  }
  return TRUE;
}
