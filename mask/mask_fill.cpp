// CMask fills: rectangles, regions and scan-line seed fills.
#include "hostutil/messages.h"
#include "mask/mask.h"
#include "mask/mask_kernels.h"
#include "platform/exception.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vardell::mask_kernels {

namespace {

// Index of the first byte at p whose equality with v is `wantEqual`, or n.
template <bool wantEqual>
std::size_t FindFirst(const BYTE* p, std::size_t n, BYTE v) noexcept {
  std::size_t i = 0;
#if defined(__SSE2__)
  const __m128i vv = _mm_set1_epi8(static_cast<char>(v));
  for (; i + 16 <= n; i += 16) {
    const __m128i eq = _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i)), vv);
    unsigned bits = static_cast<unsigned>(_mm_movemask_epi8(eq));
    if (!wantEqual) bits ^= 0xFFFFu;
    if (bits) return i + static_cast<std::size_t>(__builtin_ctz(bits));
  }
#endif
  for (; i < n; ++i)
    if ((p[i] == v) == wantEqual) return i;
  return n;
}

}  // namespace

}  // namespace vardell::mask_kernels

BOOL CMask::Rectangle(CRect rect, BYTE value) {
  if (!IsValid()) return FALSE;
  CRect r;
  r.IntersectRect(rect, GetMaskRect());
  for (int y = r.top; y < r.bottom; ++y)
    std::memset(GetPixel(r.left, y), value, static_cast<std::size_t>(r.Width()));
  return TRUE;
}

namespace {

struct Seed {
  int x, y;
};

struct RecordedRun {
  WORD row, left, end;
};

// Index one past the last byte before p + n that differs from v, counting back from p + n: the
// first column of the run of v that ends at p + n - 1, or 0 when the run reaches p.
std::size_t RunBegin(const BYTE* p, std::size_t n, BYTE v) noexcept {
#if defined(__SSE2__)
  const __m128i vv = _mm_set1_epi8(static_cast<char>(v));
  while (n >= 16) {
    const __m128i eq =
        _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n - 16)), vv);
    const unsigned other = static_cast<unsigned>(_mm_movemask_epi8(eq)) ^ 0xFFFFu;
    if (other) return n - 16 + static_cast<std::size_t>(32 - __builtin_clz(other));
    n -= 16;
  }
#endif
  while (n > 0 && p[n - 1] == v) --n;
  return n;
}

// Calls start(i) for each i in [0, n) that begins a run of v, in increasing order: the same
// columns as a plain scan would give, 16 columns compared at a time.
template <class Start>
void ScanRunStarts(const BYTE* p, std::size_t n, BYTE v, Start&& start) {
  std::size_t i = 0;
  unsigned before = 0;  // p[i - 1] == v
#if defined(__SSE2__)
  const __m128i vv = _mm_set1_epi8(static_cast<char>(v));
  for (; i + 16 <= n; i += 16) {
    const unsigned eq = static_cast<unsigned>(_mm_movemask_epi8(
        _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i)), vv)));
    unsigned starts = eq & ~((eq << 1) | before);
    before = eq >> 15;
    for (; starts; starts &= starts - 1) start(i + static_cast<std::size_t>(__builtin_ctz(starts)));
  }
#endif
  for (; i < n; ++i) {
    const unsigned eq = p[i] == v;
    if (eq && !before) start(i);
    before = eq;
  }
}

// The seed queue and the recorded runs, kept from fill to fill on each thread so that a run of
// fills allocates them once.
std::vector<Seed>& SeedQueue() {
  thread_local std::vector<Seed> queue;
  return queue;
}

std::vector<RecordedRun>& RecordedRuns() {
  thread_local std::vector<RecordedRun> runs;
  return runs;
}

// Appends the `field` of every run to the array.
template <WORD RecordedRun::*field>
void AppendRuns(CWordArray& array, const std::vector<RecordedRun>& runs) {
  const int base = array.GetSize();
  if (runs.size() > static_cast<std::size_t>(INT_MAX - base)) AfxThrowMemoryException();
  array.SetSize(base + static_cast<int>(runs.size()));
  WORD* out = array.GetData() + base;
  for (const RecordedRun& run : runs) *out++ = run.*field;
}

}  // namespace

// The scan-line seed fill shared by FloodFill and FloodFillRecord. The seed queue is first in,
// first out, as the platform array with RemoveAt(0) was; it is held here as a vector with a read
// position so that taking the front costs nothing. onRun(left, right, row) sees each run as it is
// filled.
template <class OnRun>
int CMask::SeedFill(int x, int y, BYTE value, OnRun&& onRun) {
  using vardell::mask_kernels::FindFirst;
  if (!IsValid() || x < 0 || y < 0 || x >= Width() || y >= Height()) return 0;
  const BYTE old = *GetPixel(x, y);
  if (old == value) return 0;

  const int width = Width(), height = Height();
  std::vector<Seed>& queue = SeedQueue();
  queue.clear();
  std::size_t head = 0;
  queue.push_back({x, y});
  int count = 0;

  // Queues the first pixel of every run of `old` in columns left..right of image row `row`.
  const auto queueRuns = [&](int row, int left, int right) {
    const BYTE* line = GetLineBuffer(row);
    ScanRunStarts(line + left, static_cast<std::size_t>(right - left + 1), old, [&](std::size_t i) {
      queue.push_back({left + static_cast<int>(i), row});
    });
  };

  while (head < queue.size()) {
    const Seed seed = queue[head++];
    if (head >= 4096 && head * 2 >= queue.size()) {
      queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(head));
      head = 0;
    }
    BYTE* line = GetLineBuffer(seed.y);
    if (line[seed.x] != old) continue;  // an earlier run covered it
    const int left = static_cast<int>(RunBegin(line, static_cast<std::size_t>(seed.x), old));
    const int right =
        seed.x + static_cast<int>(FindFirst<false>(
                     line + seed.x + 1, static_cast<std::size_t>(width - seed.x - 1), old));
    std::memset(line + left, value, static_cast<std::size_t>(right - left + 1));
    count += right - left + 1;
    onRun(left, right, seed.y);
    // Fills mostly sweep down a region row by row: the row after next, below this run, is
    // fetched ahead so that its scan does not wait on memory.
    if (seed.y + 2 < height) {
      const BYTE* ahead = GetLineBuffer(seed.y + 2);
      for (int c = left & ~63; c <= right; c += 64) __builtin_prefetch(ahead + c);
    }
    if (seed.y > 0) queueRuns(seed.y - 1, left, right);
    if (seed.y < height - 1) queueRuns(seed.y + 1, left, right);
  }
  return count;
}

int CMask::FloodFill(int x, int y, BYTE value) {
  return SeedFill(x, y, value, [](int, int, int) {});
}

int CMask::FloodFillRecord(int x, int y, BYTE value, CWordArray& runLeft, CWordArray& runEnd,
                           CWordArray& runRow) {
  // Coordinates are recorded in 16 bits; they wrap on masks wider or taller than 65535.
  if (&runLeft == &runEnd || &runLeft == &runRow || &runEnd == &runRow) {
    // Shared arrays take the records interleaved, one run at a time.
    return SeedFill(x, y, value, [&](int left, int right, int row) {
      runRow.Add(static_cast<WORD>(row));
      runLeft.Add(static_cast<WORD>(left));
      runEnd.Add(static_cast<WORD>(right + 1));
    });
  }
  // The runs are gathered first and appended to each array in one step, in the same order.
  std::vector<RecordedRun>& runs = RecordedRuns();
  runs.clear();
  const int count = SeedFill(x, y, value, [&](int left, int right, int row) {
    runs.push_back({static_cast<WORD>(row), static_cast<WORD>(left), static_cast<WORD>(right + 1)});
  });
  AppendRuns<&RecordedRun::row>(runRow, runs);
  AppendRuns<&RecordedRun::left>(runLeft, runs);
  AppendRuns<&RecordedRun::end>(runEnd, runs);
  return count;
}

BOOL CMask::FillRegion(CRgn* pRgn, BYTE value) {
  if (!IsValid() || !pRgn) return FALSE;
  const int size = pRgn->GetRegionData(nullptr, 0);
  if (size <= 0) return FALSE;
  std::vector<BYTE> data;
  try {
    data.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    ThrowErrorMessage("Can not alloc memory when getting outline of a region.");
    return FALSE;
  }
  auto* rgnData = reinterpret_cast<RGNDATA*>(data.data());
  if (pRgn->GetRegionData(rgnData, size) <= 0) return FALSE;
  const std::size_t header = sizeof(RGNDATAHEADER);
  const std::size_t count =
      std::min<std::size_t>(rgnData->rdh.nCount, (data.size() - header) / sizeof(RECT));
  for (std::size_t i = 0; i < count; ++i) {
    RECT rect;
    std::memcpy(&rect, data.data() + header + i * sizeof(RECT), sizeof rect);
    Rectangle(rect, value);
  }
  return TRUE;
}
