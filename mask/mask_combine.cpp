// CMask combination: one mask drawn into another with copy, bitwise OR/AND/remove, or a
// level-weighted saturating add or subtract, through nearest-neighbour column and row maps.
#include "hostutil/geometry_utils.h"
#include "mask/mask.h"
#include "mask/mask_kernels.h"
#include "picture/byte_tables.h"

#include <cassert>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vardell::mask_kernels {

void CopyRow(const BYTE* s, BYTE* d, std::size_t n) noexcept {
  if (s + n <= d || d + n <= s) {
    std::memcpy(d, s, n);
    return;
  }
  for (std::size_t i = 0; i < n; ++i) d[i] = s[i];
}
namespace {

// d = op(d, s) over whole 64-byte blocks while the rows do not overlap (or are the same row);
// answers how many bytes it did. Overlapping rows keep the plain left-to-right loop.
template <class Op>
std::size_t BitwiseBlocks(const BYTE* s, BYTE* d, std::size_t n, Op op) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  if (s + n <= d || d + n <= s || s == d) {
    for (; i + 64 <= n; i += 64) {
      __m128i v[4];
      for (int k = 0; k < 4; ++k)
        v[k] = op(_mm_loadu_si128(reinterpret_cast<const __m128i*>(d + i + 16 * k)),
                  _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 16 * k)));
      for (int k = 0; k < 4; ++k)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i + 16 * k), v[k]);
    }
  }
#endif
  return i;
}

}  // namespace

void OrRow(const BYTE* s, BYTE* d, std::size_t n) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  i = BitwiseBlocks(s, d, n, [](__m128i a, __m128i b) { return _mm_or_si128(a, b); });
#endif
  for (; i < n; ++i) d[i] = static_cast<BYTE>(d[i] | s[i]);
}
void AndRow(const BYTE* s, BYTE* d, std::size_t n) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  i = BitwiseBlocks(s, d, n, [](__m128i a, __m128i b) { return _mm_and_si128(a, b); });
#endif
  for (; i < n; ++i) d[i] = static_cast<BYTE>(d[i] & s[i]);
}
void RemoveRow(const BYTE* s, BYTE* d, std::size_t n) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  i = BitwiseBlocks(s, d, n, [](__m128i a, __m128i b) { return _mm_andnot_si128(b, a); });
#endif
  for (; i < n; ++i) d[i] = static_cast<BYTE>(d[i] & ~s[i]);
}
void CopyRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) d[i] = s[xs[i]];
}
void OrRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) d[i] = static_cast<BYTE>(d[i] | s[xs[i]]);
}
void AndRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) d[i] = static_cast<BYTE>(d[i] & s[xs[i]]);
}
void RemoveRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) d[i] = static_cast<BYTE>(d[i] & ~s[xs[i]]);
}

void LevelRowTable(const BYTE* s, BYTE* d, std::size_t n, int level, bool subtract,
                   const ByteTables& t) noexcept {
  const BYTE* m = t.mul[level];
  const BYTE* clamp = t.Clamp();
  if (subtract) {
    for (std::size_t i = 0; i < n; ++i) d[i] = clamp[d[i] - m[s[i]]];
  } else {
    for (std::size_t i = 0; i < n; ++i) d[i] = clamp[d[i] + m[s[i]]];
  }
}

void LevelRowMappedTable(const BYTE* s, const int* xs, BYTE* d, std::size_t n, int level,
                         bool subtract, const ByteTables& t) noexcept {
  const BYTE* m = t.mul[level];
  const BYTE* clamp = t.Clamp();
  if (subtract) {
    for (std::size_t i = 0; i < n; ++i) d[i] = clamp[d[i] - m[s[xs[i]]]];
  } else {
    for (std::size_t i = 0; i < n; ++i) d[i] = clamp[d[i] + m[s[xs[i]]]];
  }
}

void LevelRowSse2(const BYTE* s, BYTE* d, std::size_t n, int level, bool subtract) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  // The vector loop reads a whole block before writing it; overlapping rows keep the
  // left-to-right results of the table twin instead.
  const bool overlap = s < d + n && d < s + n && s != d;
  if (!overlap) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i lv = _mm_set1_epi16(static_cast<short>(level));
    const __m128i bias = _mm_set1_epi16(128);
    const __m128i magic = _mm_set1_epi16(static_cast<short>(0x8081));
    for (; i + 16 <= n; i += 16) {
      const __m128i sv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
      __m128i lo = _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(sv, zero), lv), bias);
      __m128i hi = _mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(sv, zero), lv), bias);
      lo = _mm_srli_epi16(_mm_mulhi_epu16(lo, magic), 7);
      hi = _mm_srli_epi16(_mm_mulhi_epu16(hi, magic), 7);
      const __m128i m = _mm_packus_epi16(lo, hi);
      const __m128i dv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d + i));
      const __m128i r = subtract ? _mm_subs_epu8(dv, m) : _mm_adds_epu8(dv, m);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), r);
    }
  }
#endif
  LevelRowTable(s + i, d + i, n - i, level, subtract, ByteTables::Get());
}

}  // namespace vardell::mask_kernels

namespace {

using namespace vardell::mask_kernels;

// Nearest-neighbour map: map[i] = (i * from) / to for i < to, walked by successive
// differences (a quotient step and a remainder step), so no entry needs a division.
void FillMap(std::vector<int>& map, int to, int from) {
  map.resize(static_cast<std::size_t>(to) + 1);
  const int step = from / to, remStep = from % to;
  int q = 0;
  std::int64_t rem = 0;
  for (int i = 0; i <= to; ++i) {
    map[static_cast<std::size_t>(i)] = q;
    q += step;
    rem += remStep;
    if (rem >= to) {
      rem -= to;
      ++q;
    }
  }
}

bool Inside(const CRect& r, const CRect& bounds) {
  return r.left >= bounds.left && r.top >= bounds.top && r.right <= bounds.right &&
         r.bottom <= bounds.bottom;
}

}  // namespace

BOOL CMask::Draw(CMask& dest, CRect destRect, CRect srcRect, int mode) {
  switch (mode) {
    case MASK_OR: return DrawOr(dest, destRect, srcRect);
    case MASK_AND: return DrawAnd(dest, destRect, srcRect);
    case MASK_REMOVE: return DrawRemove(dest, destRect, srcRect);
    default: return Combine(dest, destRect, srcRect, CombineOp::copy, 0);
  }
}

BOOL CMask::DrawOr(CMask& dest, CRect destRect, CRect srcRect) {
  return Combine(dest, destRect, srcRect, CombineOp::orOp, 0);
}

BOOL CMask::DrawAnd(CMask& dest, CRect destRect, CRect srcRect) {
  return Combine(dest, destRect, srcRect, CombineOp::andOp, 0);
}

BOOL CMask::DrawRemove(CMask& dest, CRect destRect, CRect srcRect) {
  return Combine(dest, destRect, srcRect, CombineOp::removeOp, 0);
}

BOOL CMask::DrawTransparent(CMask& dest, CRect destRect, CRect srcRect, int level, BOOL subtract) {
  // The level is a table row; values outside 0..255 are clamped rather than read outside it.
  assert(level >= 0 && level <= 255);
  level = level < 0 ? 0 : level > 255 ? 255 : level;
  return Combine(dest, destRect, srcRect, subtract ? CombineOp::subtract : CombineOp::add, level);
}

BOOL CMask::Combine(CMask& dest, CRect destRect, CRect srcRect, CombineOp op, int level) {
  if (!IsValid() || !dest.IsValid()) return FALSE;

  const CRect destBounds = dest.GetMaskRect(), srcBounds = GetMaskRect();
  CRect clipped;
  clipped.IntersectRect(destRect, destBounds);
  if (clipped != destRect) {
    CRect src = clipped;
    ScaleTransform(destRect, srcRect, src);
    srcRect = src;
    destRect = clipped;
  }
  clipped.IntersectRect(srcRect, srcBounds);
  if (clipped != srcRect) {
    CRect dst = clipped;
    ScaleTransform(srcRect, destRect, dst);
    destRect = dst;
    srcRect = clipped;
  }

  const int W = destRect.Width(), H = destRect.Height();
  if (W <= 0 || H <= 0) return TRUE;
  // The clipping above leaves both rectangles inside their masks; a source of zero extent
  // samples its corner pixel, which lies inside too. Anything else is a broken map.
  if (!Inside(destRect, destBounds) || srcRect.Width() < 0 || srcRect.Height() < 0 ||
      srcRect.left < 0 || srcRect.top < 0 || srcRect.left >= Width() || srcRect.top >= Height() ||
      srcRect.right > Width() || srcRect.bottom > Height()) {
    assert(!"combination rectangles outside their masks");
    return FALSE;
  }
  const int sw = srcRect.Width(), sh = srcRect.Height();

  std::vector<int> xs, ys;
  FillMap(xs, W, sw);
  FillMap(ys, H, sh);
  const bool identityColumns = (W == sw);

  const vardell::ByteTables& tables = vardell::ByteTables::Get();
  const std::ptrdiff_t dstStride = dest.GetDataWidth(), srcStride = GetDataWidth();
  // Image row y lives at base - y * stride: one image row down is one stride back in memory.
  BYTE* const dstTop = dest.GetLineBuffer(destRect.top) + destRect.left;
  const BYTE* srcBase = GetLineBuffer(srcRect.top) + srcRect.left;
  const int* map = xs.data();
  // A mask combined into itself goes from the top row down, as defined. Otherwise the rows are
  // independent and go in memory order, bottom row first, which streams through memory.
  const bool self = (&dest == this);

  // Whole unpadded rows one to one lie back to back in both masks: one span does them all.
  int rows = H;
  std::size_t n = static_cast<std::size_t>(W);
  if (!self && identityColumns && H == sh && W == dstStride && W == srcStride) {
    n *= static_cast<std::size_t>(H);
    rows = 1;
  }

  for (int step = 0; step < rows; ++step) {
    const int j = self ? step : H - 1 - step;
    BYTE* const dstRow = dstTop - j * dstStride;
    const BYTE* s = srcBase - ys[static_cast<std::size_t>(j)] * srcStride;
    switch (op) {
      case CombineOp::copy:
        // A source row used again gives the destination row just written below it.
        if (!self && j + 1 < H &&
            ys[static_cast<std::size_t>(j)] == ys[static_cast<std::size_t>(j) + 1])
          std::memcpy(dstRow, dstRow - dstStride, n);
        else if (identityColumns)
          CopyRow(s, dstRow, n);
        else
          CopyRowMapped(s, map, dstRow, n);
        break;
      case CombineOp::orOp:
        identityColumns ? OrRow(s, dstRow, n) : OrRowMapped(s, map, dstRow, n);
        break;
      case CombineOp::andOp:
        identityColumns ? AndRow(s, dstRow, n) : AndRowMapped(s, map, dstRow, n);
        break;
      case CombineOp::removeOp:
        identityColumns ? RemoveRow(s, dstRow, n) : RemoveRowMapped(s, map, dstRow, n);
        break;
      case CombineOp::add:
      case CombineOp::subtract: {
        const bool sub = (op == CombineOp::subtract);
        if (identityColumns)
          LevelRowSse2(s, dstRow, n, level, sub);
        else
          LevelRowMappedTable(s, map, dstRow, n, level, sub, tables);
        break;
      }
    }
  }
  return TRUE;
}
