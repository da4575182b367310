// Row kernels of the mask operations: plain functions of pointers and counts that know nothing
// of masks, clipping or errors. Internal to the library (not exported); the tests call them to
// compare each SIMD twin with its plain definition.
#pragma once

#include "picture/byte_tables.h"
#include "platform/win_types.h"

#include <cstddef>
#include <cstdint>

namespace vardell::mask_kernels {

// ---- Buffer ----

// data[i] = lut[data[i]].
void TransformBytes(BYTE* data, std::size_t n, const BYTE* lut) noexcept;
// Bytes of `rows` rows of an 8-bit mask of this width, or -1 when the width is below 1, rows is
// negative or the result exceeds INT_MAX (the largest mask buffer the library takes).
std::int64_t MaskBytes(std::int64_t width, std::int64_t rows) noexcept;

// ---- Combination ----
// Plain loops in source order: the source and destination rows may be the same memory (a mask
// combined into itself), and the results are then those of walking the row left to right.

void CopyRow(const BYTE* s, BYTE* d, std::size_t n) noexcept;
void OrRow(const BYTE* s, BYTE* d, std::size_t n) noexcept;
void AndRow(const BYTE* s, BYTE* d, std::size_t n) noexcept;
// d = d AND (NOT s), on all 8 bits.
void RemoveRow(const BYTE* s, BYTE* d, std::size_t n) noexcept;
// The same four with a column map: source pixel i is s[xs[i]].
void CopyRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept;
void OrRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept;
void AndRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept;
void RemoveRowMapped(const BYTE* s, const int* xs, BYTE* d, std::size_t n) noexcept;

// d = S[d + M[level][s]] (subtract FALSE) or S[d - M[level][s]] (subtract TRUE): the normative
// table arithmetic of DrawTransparent.
void LevelRowTable(const BYTE* s, BYTE* d, std::size_t n, int level, bool subtract,
                   const ByteTables& t) noexcept;
void LevelRowMappedTable(const BYTE* s, const int* xs, BYTE* d, std::size_t n, int level,
                         bool subtract, const ByteTables& t) noexcept;
// Same results as LevelRowTable. M[level][s] = (s * level + 128) / 255 is computed in 16-bit
// lanes: s * level + 128 <= 65153, and (x * 0x8081) >> 23 == x / 255 for every 16-bit x; the
// saturating byte add/subtract is S[d +- m]. Rows that overlap in memory go to the table twin.
void LevelRowSse2(const BYTE* s, BYTE* d, std::size_t n, int level, bool subtract) noexcept;

// ---- Morphology ----

// Horizontal spans: out[c] for c < n looks at in[c .. c + span - 1] (in holds n + span - 1
// bytes). SpanAnyRow: 255 when any of them is nonzero, else 0. SpanAllRow: 255 when all of them
// are 255, else 0. Both compute the OR (or AND) of the span by doubling: passes of an OR of two
// shifted rows until 4 windows cover the span, then one pass that ORs 4 windows and compares.
// The OR of bytes is nonzero exactly when one of them is, and their AND is 255 exactly when all
// are, so the result is the span comparison's. scratch holds n + span - 1 bytes.
void SpanAnyRow(const BYTE* in, BYTE* out, std::size_t n, std::size_t span, BYTE* scratch) noexcept;
void SpanAllRow(const BYTE* in, BYTE* out, std::size_t n, std::size_t span, BYTE* scratch) noexcept;

// One step of the vertical running counts, for the row being written: saved[i] = row[i] (the
// original, still needed when it leaves the window); row[i] = count[i] >= atLeast ? 255 : 0;
// then count[i] += (entering[i] != 0) - (leaving[i] != 0), each pointer possibly null. Count is
// std::uint8_t while the window holds at most 255 rows, std::uint16_t or std::uint32_t beyond.
template <class Count>
void SlideCountsRow(BYTE* row, BYTE* saved, const BYTE* entering, const BYTE* leaving, Count* count,
                    std::size_t n, Count atLeast) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    Count c = count[i];
    saved[i] = row[i];
    row[i] = c >= atLeast ? 255 : 0;
    if (entering) c = static_cast<Count>(c + (entering[i] != 0));
    if (leaving) c = static_cast<Count>(c - (leaving[i] != 0));
    count[i] = c;
  }
}
// Same results as SlideCountsRow<std::uint8_t>: count >= atLeast is max(count, atLeast) ==
// count, and a nonzero byte adds or takes away 1 as the all-ones result of a comparison.
void SlideCountsRowSse2(BYTE* row, BYTE* saved, const BYTE* entering, const BYTE* leaving,
                        std::uint8_t* count, std::size_t n, std::uint8_t atLeast) noexcept;
// A window of `count` (1 to 5) whole rows, for small windows: out[i] = 255 when any of rows[r][i]
// is nonzero (any) or when all of them are (not any), else 0. out is one of the rows; each of its
// original bytes is saved to saved[i] before it is written. SSE2 on the maximum or minimum of
// the rows, which is nonzero exactly when any or all of them are; scalar tail.
void WindowRowsSse2(const BYTE* const* rows, int count, BYTE* out, BYTE* saved, std::size_t n,
                    bool any) noexcept;
// count[i] += (row[i] != 0).
template <class Count>
void AddNonZeroCounts(const BYTE* row, Count* count, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i) count[i] = static_cast<Count>(count[i] + (row[i] != 0));
}

// EdgeDetect's rule for one row: out[i] = 255 when cur[i + 1] is larger than any of cur[i],
// cur[i + 2], above[i] or below[i], else 0. cur holds the row's n bytes with a 0 at each end;
// above and below hold n bytes; below may be null, and the lower neighbour is then the pixel
// itself (which never makes an edge).
void EdgeRow(const BYTE* above, const BYTE* cur, const BYTE* below, BYTE* out,
             std::size_t n) noexcept;

// Exact floor(x / n) for every 16-bit x and divisor 1 <= n <= 65535, without a division:
// Granlund and Montgomery's round-up method, t = mulhi(x, m); q = (t + ((x - t) >> s1)) >> s2.
// Every step stays within 16 bits, so SIMD lanes of 16 bits compute the same quotient.
struct Divider16 {
  explicit Divider16(std::uint16_t divisor) noexcept;
  std::uint16_t Divide(std::uint16_t x) const noexcept {
    const std::uint16_t t = static_cast<std::uint16_t>((std::uint32_t{x} * magic) >> 16);
    return static_cast<std::uint16_t>((t + ((x - t) >> shift1)) >> shift2);
  }
  std::uint16_t magic;
  int shift1;
  int shift2;
};
// out[i] = (BYTE)(sums[i] / n), the byte keeping the low 8 bits of the quotient. DivideRowSse2
// gives the same bytes (the quotient is masked to 8 bits before packing).
void DivideRow(const std::uint16_t* sums, BYTE* out, std::size_t n, const Divider16& div) noexcept;
void DivideRowSse2(const std::uint16_t* sums, BYTE* out, std::size_t n,
                   const Divider16& div) noexcept;
// prefix[0] = 0, prefix[i + 1] = prefix[i] + row[i] modulo 2^16. The SSE2 twin adds within
// 8 lanes by three shifted additions and carries the last lane on; sums wrap the same way.
void PrefixSums(const BYTE* row, std::uint16_t* prefix, std::size_t n) noexcept;
void PrefixSumsSse2(const BYTE* row, std::uint16_t* prefix, std::size_t n) noexcept;
// One row of the horizontal box blur with edge replication, in place: row[c] becomes
// (BYTE)(S / span) with S = sum of row[clamp(j, 0, n - 1)] for j = c - radius .. c + radius,
// modulo 2^16, and span the divisor (2 * radius + 1 modulo 2^16). prefix holds n + 1 words.
void BoxBlurRow(BYTE* row, std::size_t n, std::int64_t radius, const Divider16& div,
                std::uint16_t* prefix) noexcept;
// One step of the vertical running sums, for the row being written: saved[i] = row[i];
// row[i] = (BYTE)(sums[i] / span); then, when entering is not null,
// sums[i] += entering[i] - leaving[i] modulo 2^16. leaving may be saved itself: each block is
// saved before it is read. SSE2 with a scalar tail.
void SlideSumsRow(BYTE* row, BYTE* saved, const BYTE* entering, const BYTE* leaving,
                  std::uint16_t* sums, std::size_t n, const Divider16& div) noexcept;

}  // namespace vardell::mask_kernels
