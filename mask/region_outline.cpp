// CRegionOutline: tracing masks and regions into polygons, and the two thinning passes.
#include "mask/region_outline.h"

#include "hostutil/messages.h"
#include "mask/mask.h"
#include "platform/exception.h"
#include "platform/region.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "picture/simd_dispatch.h"
#if VARDELL_HAVE_SSE2
#include <emmintrin.h>
#endif

namespace {

// The texts the user sees.
constexpr const char* kNoRegion = "Warning! No region found!";
constexpr const char* kNoRectMemory = "Not enough memory to finish GetMaskOutline.";
constexpr const char* kNoPoolMemory = "Can not alloc memory when getting outline of a region.";
constexpr const char* kTooLarge =
    "Can not get the outline: coordinates beyond -32768..32767 do not fit its vertices.";
constexpr const char* kTooManyVertices =
    "Can not get the outline: a polygon would have more than 65535 vertices.";
constexpr const char* kGettingOutline = "Getting outline of a region...";
constexpr const char* kRemovingSmall = "Removing too small region...";

constexpr int kMinCoordinate = -32768;
constexpr int kMaxCoordinate = 32767;
constexpr int kMaxGroupVertices = 65535;
// The most DWORDs a platform array holds (2 GiB).
constexpr std::int64_t kMaxVertices = 0x7FFFFFFF / 4;

// How far ahead of the ring walks the pool is prefetched (vertices; 16 bytes each).
constexpr std::int64_t kPrefetchVertices = 4096;

constexpr BYTE kRegionValue = 255;
constexpr BYTE kMark = 128;

DWORD Pack(int x, int y) noexcept {
  return static_cast<DWORD>(static_cast<WORD>(x)) |
         (static_cast<DWORD>(static_cast<WORD>(y)) << 16);
}
int UnpackX(DWORD v) noexcept { return static_cast<SHORT>(v & 0xFFFF); }
int UnpackY(DWORD v) noexcept { return static_cast<SHORT>(v >> 16); }

CVertex* AsVertex(void* p) noexcept { return static_cast<CVertex*>(p); }

// ---- The mask's runs ----
// A trace needs the runs of 255 of every region, in increasing row and, within a row,
// increasing left column. Every maximal run of 255 in a row lies in exactly one 4-connected
// region, and filling the regions one by one records exactly those runs, so in that order they
// are the rows' maximal runs read left to right. One pass over the rows finds them and repaints
// each with the mark, as the fills would.

// The edges of a row's runs from byte `from` on, one byte at a time; `in` says whether the byte
// before `from` was 255. Returns the new edge count.
std::size_t MarkEdgesFrom(BYTE* p, std::size_t from, std::size_t n, WORD* edges, std::size_t count,
                          bool in) noexcept {
  for (std::size_t i = from; i < n; ++i) {
    const bool region = p[i] == kRegionValue;
    if (region != in) edges[count++] = static_cast<WORD>(i);
    if (region) p[i] = kMark;
    in = region;
  }
  if (in) edges[count++] = static_cast<WORD>(n);
  return count;
}

// Writes the edges of the maximal runs of 255 among the n bytes at p to `edges`, left to right:
// each run's first column, then the column after its last, so that run k is the pair at 2k.
// Repaints the runs with the mark and returns the number of edges. `edges` holds n + 1 entries;
// n is at most 32767.
std::size_t MarkRegionRunsScalar(BYTE* p, std::size_t n, WORD* edges) noexcept {
  return MarkEdgesFrom(p, 0, n, edges, 0, false);
}

// Same results as MarkRegionRunsScalar, 64 bytes at a time. The edges are the bits where the
// block's equality mask differs from the same mask moved one byte on (carrying in the last byte
// before the block); a block without a 255 and without a run coming in is passed over.
// v - (eq & 127) turns exactly the 255 lanes into 128.
std::size_t MarkRegionRunsSse2(BYTE* p, std::size_t n, WORD* edges) noexcept {
  std::size_t i = 0, count = 0;
  std::uint64_t carry = 0;
#if VARDELL_HAVE_SSE2
  const __m128i all = _mm_set1_epi8(static_cast<char>(kRegionValue));
  const __m128i low7 = _mm_set1_epi8(kRegionValue - kMark);
  for (; i + 64 <= n; i += 64) {
    auto* q = reinterpret_cast<__m128i*>(p + i);
    __m128i v[4], eq[4];
    std::uint64_t bits = 0;
    for (int k = 0; k < 4; ++k) {
      v[k] = _mm_loadu_si128(q + k);
      eq[k] = _mm_cmpeq_epi8(v[k], all);
      bits |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(eq[k])))
              << (16 * k);
    }
    if (!(bits | carry)) continue;
    if (bits)
      for (int k = 0; k < 4; ++k)
        _mm_storeu_si128(q + k, _mm_sub_epi8(v[k], _mm_and_si128(eq[k], low7)));
    for (std::uint64_t e = bits ^ (bits << 1 | carry); e; e &= e - 1)
      edges[count++] = static_cast<WORD>(i + static_cast<std::size_t>(__builtin_ctzll(e)));
    carry = bits >> 63;
  }
#endif
  return MarkEdgesFrom(p, i, n, edges, count, carry != 0);
}

// Reports (done * 100) / total each time it grows, without a division per step: `next` is the
// first count at which the percentage moves on.
class ProgressSteps {
 public:
  ProgressSteps(int handle, std::int64_t total) : m_handle(handle), m_total(total) { Advance(); }
  void Report(std::int64_t done) {
    if (done < m_next) return;
    m_percent = static_cast<int>(done * 100 / m_total);
    if (m_handle) SetProgress(m_handle, m_percent);
    Advance();
  }

 private:
  // Smallest done with done * 100 / total > m_percent.
  void Advance() { m_next = m_total > 0 ? ((m_percent + 1) * m_total + 99) / 100 : INT64_MAX; }
  int m_handle;
  std::int64_t m_total;
  int m_percent = 0;
  std::int64_t m_next = 0;
};

}  // namespace

CRegionOutline::CRegionOutline() : m_pPool(nullptr), m_nPoolFill(0) {}

CRegionOutline::~CRegionOutline() { delete[] m_pPool; }

void CRegionOutline::DeleteOutline() {
  m_groupSizes.RemoveAll();
  m_vertices.RemoveAll();
}

// ---- Tracing a mask ----

BOOL CRegionOutline::GetMaskOutline(CMask& mask) {
  DeleteOutline();
  if (!mask.IsValid()) return FALSE;
  if (mask.Width() > kMaxCoordinate || mask.Height() > kMaxCoordinate) {
    ThrowErrorMessage(kTooLarge);
    return FALSE;
  }
  const int width = mask.Width(), height = mask.Height();

  // Rectangles: rows with the same runs as the row directly above extend that row's rectangles
  // down. The rows are read in memory order (bottom up: the mask is a bottom-up DIB), since
  // walking a buffer backwards row by row leaves the processor's prefetching behind. A maximal
  // block of identical neighbouring rows is the same whichever way it is walked, so each block
  // keeps its runs once and the rectangles follow from the blocks taken in the other order.
  struct RowBlock {
    int top, bottom;
    std::size_t first, count;  // its run edges in `edges`
  };
  std::vector<CRect> rects;
  try {
    const std::size_t rowEdges = static_cast<std::size_t>(width) + 1;
    std::vector<WORD> edges;
    std::vector<RowBlock> blocks;
    std::size_t used = 0;
    const bool sse2 = vardell::simd::UseSse2();
    for (int y = height - 1; y >= 0; --y) {
      if (edges.size() - used < rowEdges) edges.resize(std::max(edges.size() * 2, used + rowEdges));
      BYTE* line = mask.GetLineBuffer(y);
      WORD* out = edges.data() + used;
      const std::size_t count =
          sse2 ? MarkRegionRunsSse2(line, static_cast<std::size_t>(width), out)
               : MarkRegionRunsScalar(line, static_cast<std::size_t>(width), out);
      if (count == 0) continue;
      if (!blocks.empty()) {
        RowBlock& below = blocks.back();
        if (below.top == y + 1 && below.count == count &&
            std::memcmp(out, edges.data() + below.first, count * sizeof(WORD)) == 0) {
          below.top = y;
          continue;
        }
      }
      blocks.push_back({y, y + 1, used, count});
      used += count;
    }
    rects.reserve(used / 2);
    for (auto b = blocks.rbegin(); b != blocks.rend(); ++b)
      for (std::size_t i = b->first; i < b->first + b->count; i += 2)
        rects.emplace_back(edges[i], b->top, edges[i + 1], b->bottom);
  } catch (const std::bad_alloc&) {
    ThrowErrorMessage(kNoRectMemory);
    return FALSE;
  }
  if (rects.empty()) {
    ThrowErrorMessage(kNoRegion);
    return FALSE;
  }
  // At most 32767 rows of 16384 runs: the count fits an int.
  return TraceRects(rects.data(), static_cast<int>(rects.size()));
}

// ---- Tracing a region ----

BOOL CRegionOutline::GetRegionOutline(CRgn* pRgn) {
  DeleteOutline();
  if (!pRgn) return FALSE;
  const int size = pRgn->GetRegionData(nullptr, 0);
  if (size < static_cast<int>(sizeof(RGNDATAHEADER))) return FALSE;
  std::vector<CRect> rects;
  try {
    std::vector<BYTE> data(static_cast<std::size_t>(size));
    auto* rgnData = reinterpret_cast<RGNDATA*>(data.data());
    if (pRgn->GetRegionData(rgnData, size) <= 0) return FALSE;
    const std::size_t count = std::min<std::size_t>(
        rgnData->rdh.nCount, (data.size() - sizeof(RGNDATAHEADER)) / sizeof(RECT));
    rects.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      RECT r;
      std::memcpy(&r, data.data() + sizeof(RGNDATAHEADER) + i * sizeof(RECT), sizeof r);
      if (std::min(r.left, r.top) < kMinCoordinate ||
          std::max(r.right, r.bottom) > kMaxCoordinate) {
        ThrowErrorMessage(kTooLarge);
        return FALSE;
      }
      rects[i] = r;
    }
  } catch (const std::bad_alloc&) {
    ThrowErrorMessage(kNoPoolMemory);
    return FALSE;
  }
  if (rects.size() > static_cast<std::size_t>(INT_MAX)) {
    ThrowErrorMessage(kNoPoolMemory);
    return FALSE;
  }
  return TraceRects(rects.data(), static_cast<int>(rects.size()));
}

// ---- The trace ----

BOOL CRegionOutline::TraceRects(const CRect* rects, int count) {
  const std::int64_t poolSize = std::int64_t{4} * count;
  if (poolSize > kMaxVertices) {
    ThrowErrorMessage(kNoPoolMemory);
    return FALSE;
  }
  m_pPool = new (std::nothrow) CVertex[static_cast<std::size_t>(poolSize)];
  if (!m_pPool) {
    ThrowErrorMessage(kNoPoolMemory);
    return FALSE;
  }
  m_nPoolFill = 0;

  const int handle = BeginProgress(kGettingOutline);
  bool tooManyVertices = false, outOfMemory = false;
  try {
    // The closed list holds at most one entry a rectangle: one growth step takes it all.
    m_closedList.SetSize(0, std::max(count, 1));
    Band band{INT_MIN, 0, 0, 0, 0};
    ProgressSteps progress(handle, count);
    for (int i = 0; i < count; ++i) {
      AddRect(rects[i], band);
      progress.Report(i);
    }
    FinishBand(band);

    // Every ring once: those reached from the closed list, then from the open edges, then the
    // holes, which no list reaches. Every pool vertex lies on exactly one ring, so the sweep of
    // the pool ends once all of them have been emitted.
    m_vertices.SetSize(0, static_cast<int>(poolSize));
    m_groupSizes.SetSize(0, std::max(count, 1));
    // The lists hold vertices in the order their bands were traced, so the walks sweep through
    // the pool from front to back, each ring reaching a few bands back from its starting vertex.
    // Prefetching the pool ahead of the starting vertices keeps those walks from waiting on
    // memory one rectangle at a time.
    int prefetched = 0;
    const auto close = [&](CVertex* v) {
      const auto lead =
          static_cast<int>(std::min<std::int64_t>(v - m_pPool + kPrefetchVertices, m_nPoolFill));
      for (; prefetched < lead; prefetched += 4) __builtin_prefetch(m_pPool + prefetched);
      if (!CloseGroup(v) && v->pNext) tooManyVertices = true;
      return !tooManyVertices;
    };
    for (int i = 0; i < m_closedList.GetSize(); ++i)
      if (!close(AsVertex(m_closedList[i]))) break;
    for (int i = 0; !tooManyVertices && i < m_activeList.GetSize(); ++i)
      if (!close(AsVertex(m_activeList[i]))) break;
    for (int i = 0; !tooManyVertices && m_vertices.GetSize() < m_nPoolFill; ++i)
      if (m_pPool[i].pNext && !close(&m_pPool[i])) break;
  } catch (CException* e) {
    e->Delete();
    outOfMemory = true;
  } catch (const std::bad_alloc&) {
    outOfMemory = true;
  }

  delete[] m_pPool;
  m_pPool = nullptr;
  m_nPoolFill = 0;
  m_activeList.RemoveAll();
  m_closedList.SetSize(0, 0);
  m_vertices.SetSize(m_vertices.GetSize(), 0);
  m_groupSizes.SetSize(m_groupSizes.GetSize(), 0);
  if (handle) EndProgress(handle);
  if (tooManyVertices || outOfMemory) {
    DeleteOutline();
    ThrowErrorMessage(tooManyVertices ? kTooManyVertices : kNoPoolMemory);
    return FALSE;
  }
  return TRUE;
}

inline CVertex* CRegionOutline::TakeVertices(const CRect& rect) noexcept {
  // BL, TL, TR, BR, in this order in the pool.
  assert(m_pPool);
  CVertex* v = m_pPool + m_nPoolFill;
  m_nPoolFill += 4;
  const auto l = static_cast<SHORT>(rect.left), t = static_cast<SHORT>(rect.top);
  const auto r = static_cast<SHORT>(rect.right), b = static_cast<SHORT>(rect.bottom);
  v[0] = {l, b, nullptr};
  v[1] = {l, t, nullptr};
  v[2] = {r, t, nullptr};
  v[3] = {r, b, nullptr};
  return v;
}

// Appends a band's bottom edge. During a band the array's size is storage, grown by doubling;
// band.end is where the list ends.
inline void CRegionOutline::AppendEdge(CVertex* left, CVertex* right, Band& band) {
  if (band.end + 2 > m_activeList.GetSize())
    m_activeList.SetSize(std::max(band.end + 2, std::max(64, 2 * m_activeList.GetSize())));
  void** list = m_activeList.GetData();
  list[band.end++] = left;
  list[band.end++] = right;
}

void CRegionOutline::AddNewGroup(const CRect& rect, Band& band) {
  CVertex* v = TakeVertices(rect);
  CVertex *bl = v, *tl = v + 1, *tr = v + 2, *br = v + 3;
  bl->pNext = tl;
  tl->pNext = tr;
  tr->pNext = br;
  br->pNext = bl;
  AppendEdge(bl, br, band);
}

// The open edges of the previous band become the ones ahead; edges above the new band's top can
// no longer continue and go to the closed list, in list order.
void CRegionOutline::StartBand(int top, Band& band) {
  FinishBand(band);
  void** list = m_activeList.GetData();
  const int size = m_activeList.GetSize();
  int kept = 0;
  for (int i = 0; i + 1 < size; i += 2) {
    if (AsVertex(list[i])->y < top) {
      m_closedList.Add(list[i]);
    } else {
      list[kept++] = list[i];
      list[kept++] = list[i + 1];
    }
  }
  band = Band{top, 0, 0, kept, kept};
}

// Closes the gap of consumed slots and trims the storage: the array is then the list of open
// edges in their order.
void CRegionOutline::FinishBand(Band& band) {
  void** list = m_activeList.GetData();
  if (band.write != band.read)
    std::memmove(list + band.write, list + band.read,
                 static_cast<std::size_t>(band.end - band.read) * sizeof(void*));
  const int gap = band.read - band.write;
  band.oldEnd -= gap;
  band.end -= gap;
  band.read = band.write;
  m_activeList.SetSize(band.end);
}

// Attaches a rectangle below the open edges it overlaps. The edges ahead are sorted and disjoint,
// and the band's rectangles arrive left to right without touching, so the edges a rectangle
// overlaps are the ones ahead from the first that ends right of its left side: those ending
// earlier are done with for the whole band. This gives the same links and the same list order as
// walking the whole list for every rectangle.
void CRegionOutline::AddRect(const CRect& rect, Band& band) {
  if (rect.top != band.top) StartBand(rect.top, band);
  void** list = m_activeList.GetData();
  const int l = rect.left, t = rect.top, r = rect.right;
  while (band.read < band.oldEnd) {
    const CVertex* a = AsVertex(list[band.read]);
    const CVertex* c = AsVertex(list[band.read + 1]);
    if (a->y == t && c->x > l) break;
    list[band.write++] = list[band.read++];
    list[band.write++] = list[band.read++];
  }
  int last = band.read;  // one past the last overlapped pair
  while (last < band.oldEnd && AsVertex(list[last])->y == t && AsVertex(list[last])->x < r)
    last += 2;
  if (last == band.read) {
    AddNewGroup(rect, band);
    return;
  }

  CVertex* v = TakeVertices(rect);
  CVertex *bl = v, *tl = v + 1, *tr = v + 2, *br = v + 3;
  // The new top edge between two edges above joins their rings.
  for (int j = band.read + 1; j + 1 < last; j += 2)
    AsVertex(list[j])->pNext = AsVertex(list[j + 1]);
  bl->pNext = tl;
  tl->pNext = AsVertex(list[band.read]);
  tr->pNext = br;
  br->pNext = bl;
  CVertex* cLast = AsVertex(list[last - 1]);
  cLast->pNext = tr;
  band.read = last;
  // The part of the last edge right of the rectangle stays open, in that edge's place.
  if (r < cLast->x) {
    band.read -= 2;
    list[band.read] = tr;
    list[band.read + 1] = cLast;
  }
  AppendEdge(bl, br, band);
}

// Emits the ring through start, unlinking it. FALSE when start is in no ring, and also, leaving
// the ring linked, when the ring is longer than a 16-bit count holds.
BOOL CRegionOutline::CloseGroup(CVertex* start) {
  if (!start->pNext) return FALSE;
  int count = 1;
  for (const CVertex* v = start->pNext; v != start; v = v->pNext) {
    if (!v || ++count > kMaxGroupVertices) return FALSE;
  }
  const int base = m_vertices.GetSize();
  m_vertices.SetSize(base + count);
  DWORD* out = m_vertices.GetData() + base;
  CVertex* v = start;
  do {
    *out++ = Pack(v->x, v->y);
    CVertex* next = v->pNext;
    v->pNext = nullptr;
    v = next;
  } while (v != start);
  m_groupSizes.Add(static_cast<WORD>(count));
  return TRUE;
}

int CRegionOutline::DeletePointer(CPtrArray& array, void* p) {
  for (int i = 0; i < array.GetSize(); ++i) {
    if (array[i] == p) {
      array.RemoveAt(i);
      return i;
    }
  }
  return -1;
}

// ---- Sorting the runs ----

inline int CRegionOutline::Compare(int x1, int y1, int x2, int y2) noexcept {
  if (y1 != y2) return y1 > y2 ? 1 : -1;
  if (x1 != x2) return x1 > x2 ? 1 : -1;
  return 0;
}

inline void CRegionOutline::Swap(CWordArray& runLeft, CWordArray& runEnd, CWordArray& runRow, int i,
                                 int j) {
  std::swap(runLeft[i], runLeft[j]);
  std::swap(runEnd[i], runEnd[j]);
  std::swap(runRow[i], runRow[j]);
}

// Quicksort of [first, last] by (row, left), the middle element as pivot. The smaller side is
// sorted by recursion and the larger one by the loop, so the depth stays logarithmic.
void CRegionOutline::FastOrder(CWordArray& runLeft, CWordArray& runEnd, CWordArray& runRow,
                               int first, int last) {
  while (last - first >= 1) {
    if (last - first == 1) {
      if (Compare(runLeft[first], runRow[first], runLeft[last], runRow[last]) > 0)
        Swap(runLeft, runEnd, runRow, first, last);
      return;
    }
    Swap(runLeft, runEnd, runRow, first, (first + last) / 2);
    const int px = runLeft[first], py = runRow[first];
    int i = first + 1, j = last;
    for (;;) {
      while (i <= j && Compare(runLeft[i], runRow[i], px, py) < 0) ++i;
      while (i <= j && Compare(runLeft[j], runRow[j], px, py) > 0) --j;
      if (i >= j) break;
      Swap(runLeft, runEnd, runRow, i++, j--);
    }
    Swap(runLeft, runEnd, runRow, first, j);
    if (j - first < last - j) {
      FastOrder(runLeft, runEnd, runRow, first, j - 1);
      first = j + 1;
    } else {
      FastOrder(runLeft, runEnd, runRow, j + 1, last);
      last = j - 1;
    }
  }
}

// ---- Thinning ----
// Both passes rebuild the arrays in place: a polygon's kept vertices never outrun the vertices
// read, and polygons that would run past the vertex array are dropped.

void CRegionOutline::RemoveSmallRegion(int step) {
  const int handle = BeginProgress(kRemovingSmall);
  DWORD* vertices = m_vertices.GetData();
  const int total = m_vertices.GetSize(), groups = m_groupSizes.GetSize();
  ProgressSteps progress(handle, total);
  int read = 0, write = 0, keptGroups = 0;
  for (int g = 0; g < groups && m_groupSizes[g] <= total - read; ++g) {
    const int n = m_groupSizes[g], start = write;
    int kept = 0;
    for (int i = 0; i < n; ++i) {
      const DWORD p = vertices[read + i];
      if (kept < 3) {
        vertices[start + kept++] = p;
      } else {
        const DWORD q = vertices[start + kept - 3];
        const int distance = std::abs(UnpackX(p) - UnpackX(q)) + std::abs(UnpackY(p) - UnpackY(q));
        if (distance > step)
          vertices[start + kept++] = p;
        else
          kept -= 2;
      }
      progress.Report(read + i + 1);
    }
    read += n;
    if (kept >= 4) {
      write += kept;
      m_groupSizes[keptGroups++] = static_cast<WORD>(kept);
    }
  }
  m_vertices.SetSize(write);
  m_groupSizes.SetSize(keptGroups);
  if (handle) EndProgress(handle);
}

void CRegionOutline::OptimizeOutline() {
  DWORD* vertices = m_vertices.GetData();
  const int total = m_vertices.GetSize(), groups = m_groupSizes.GetSize();
  int read = 0, write = 0, keptGroups = 0;
  for (int g = 0; g < groups && m_groupSizes[g] <= total - read; ++g) {
    const int n = m_groupSizes[g], start = write;
    int kept = 0;
    if (n > 0) {
      DWORD anchor = vertices[read];
      vertices[start + kept++] = anchor;
      bool vertical = false, horizontal = false;
      for (int i = 1; i < n; ++i) {
        const DWORD p = vertices[read + i];
        if (UnpackX(p) == UnpackX(anchor)) {
          if (vertical) {
            vertices[start + kept - 1] = p;
          } else {
            vertical = true;
            horizontal = false;
            vertices[start + kept++] = p;
          }
        } else if (UnpackY(p) != UnpackY(anchor)) {
          vertical = horizontal = false;
          vertices[start + kept++] = p;
          anchor = p;
        } else if (horizontal) {
          vertices[start + kept - 1] = p;
        } else {
          horizontal = true;
          vertical = false;
          vertices[start + kept++] = p;
        }
      }
    }
    read += n;
    if (kept >= 4) {
      write += kept;
      m_groupSizes[keptGroups++] = static_cast<WORD>(kept);
    }
  }
  m_vertices.SetSize(write);
  m_groupSizes.SetSize(keptGroups);
}
