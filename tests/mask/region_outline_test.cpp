// Outline tracing: known answers, the exact vertex order against a plain model of the tracer
// (every open edge walked for every rectangle), filling outlines back, thinning, bad input.
#include "mask/mask.h"
#include "mask/region_outline.h"
#include "platform/region.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using vardell::test::ErrorRecorder;
using vardell::test::Rng;

// Outlines as text: "x,y " for each vertex, "|" after each polygon.
std::string Vertex(int x, int y) { return std::to_string(x) + ',' + std::to_string(y) + ' '; }

std::string Traced(const CRegionOutline& o) {
  std::string out;
  int at = 0;
  for (int g = 0; g < o.m_groupSizes.GetSize(); ++g, out += '|')
    for (int i = 0; i < o.m_groupSizes[g]; ++i, ++at)
      out += Vertex(CPoint(o.m_vertices[at]).x, CPoint(o.m_vertices[at]).y);
  EXPECT_EQ(at, o.m_vertices.GetSize());
  return out;
}

// The rectangles of a region, as GetRegionData gives them.
std::vector<CRect> RegionRects(CRgn& region) {
  std::vector<BYTE> data(static_cast<std::size_t>(region.GetRegionData(nullptr, 0)));
  EXPECT_GT(region.GetRegionData(reinterpret_cast<RGNDATA*>(data.data()), int(data.size())), 0);
  std::vector<CRect> rects(reinterpret_cast<RGNDATAHEADER*>(data.data())->nCount);
  std::memcpy(rects.data(), data.data() + sizeof(RGNDATAHEADER), rects.size() * sizeof(RECT));
  return rects;
}

// The tracer as plainly as it can be said: every rectangle walks the whole open-edge list.
std::string ModelTrace(const std::vector<CRect>& rects) {
  struct V {
    int x, y;
    V* next;
  };
  std::vector<V> pool(rects.size() * 4);  // BL, TL, TR, BR of each rectangle
  std::vector<V*> active, closed;
  for (const CRect& q : rects) {
    std::vector<V*> kept;
    std::vector<std::pair<V*, V*>> over;
    std::size_t pos = 0;  // where the last overlapped edge was taken out
    for (std::size_t i = 0; i + 1 < active.size(); i += 2) {
      V *a = active[i], *c = active[i + 1];
      if (a->y < q.top)
        closed.push_back(a);
      else if (a->y == q.top && q.left < c->x && q.right > a->x)
        over.emplace_back(a, c), pos = kept.size();
      else
        kept.insert(kept.end(), {a, c});
    }
    V* bl = &pool[4 * static_cast<std::size_t>(&q - rects.data())];
    V *tl = bl + 1, *tr = bl + 2, *br = bl + 3;
    *bl = {q.left, q.bottom, tl}, *tl = {q.left, q.top, over.empty() ? tr : over.front().first};
    *tr = {q.right, q.top, br}, *br = {q.right, q.bottom, bl};
    kept.insert(kept.end(), {bl, br});
    for (std::size_t j = 0; j < over.size(); ++j)
      over[j].second->next = j + 1 < over.size() ? over[j + 1].first : tr;
    if (!over.empty() && q.right < over.back().second->x)
      kept.insert(kept.begin() + pos, {tr, over.back().second});
    active = kept;
  }
  closed.insert(closed.end(), active.begin(), active.end());
  for (V& v : pool) closed.push_back(&v);
  std::string out;
  for (V* s : closed) {
    if (!s->next) continue;
    for (V* v = s; v->next; v = std::exchange(v->next, nullptr)) out += Vertex(v->x, v->y);
    out += '|';
  }
  return out;
}

// Random 0/255 shapes: discs, rings with islands inside them, bars, single pixels, and soft
// values that are never part of a region.
void Scribble(CMask& m, Rng& rng) {
  const int w = m.Width(), h = m.Height();
  for (int k = rng.Range(1, 7); k > 0; --k) {
    const int cx = rng.Range(0, w - 1), cy = rng.Range(0, h - 1), r = rng.Range(1, 12);
    const int hole = rng.Range(0, 2) ? 0 : r / 2, island = hole / 2;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        if (d < r * r) *m.GetPixel(x, y) = (d >= hole * hole || d < island * island) ? 255 : 0;
      }
  }
  for (int k = rng.Range(0, 4); k > 0; --k) {
    const int l = rng.Range(0, w - 1), t = rng.Range(0, h - 1);
    m.Rectangle(CRect(l, t, l + rng.Range(1, w), t + rng.Range(1, 4)), 255);
  }
  const BYTE values[] = {255, 255, 0, 254, 128, 1};
  for (int k = rng.Range(0, 40); k > 0; --k)
    *m.GetPixel(rng.Range(0, w - 1), rng.Range(0, h - 1)) = values[rng.Range(0, 5)];
}

// FillOutline on an empty mask of the same size gives exactly the 255 pixels of `expected`.
void ExpectFillsBack(CRegionOutline& o, CMask& expected, const std::string& what) {
  CMask back;
  ASSERT_TRUE(back.CreateMask(expected.Width(), expected.Height(), 0));
  ASSERT_TRUE(back.FillOutline(&o, 255)) << what;
  for (int y = 0; y < back.Height(); ++y)
    for (int x = 0; x < back.Width(); ++x)
      ASSERT_EQ(*back.GetPixel(x, y), *expected.GetPixel(x, y) == 255 ? 255 : 0)
          << what << " at " << x << "," << y;
}

TEST(RegionOutline, KnownShapesAndThinning) {
  const char* const lShape = "2,6 2,4 2,4 2,2 5,2 5,4 7,4 7,6 |";
  // The outer ring from the open bottom edge, then the hole, which only the pool reaches,
  // running the other way round.
  const char* const withHole = "1,6 1,4 1,4 1,3 1,3 1,1 6,1 6,3 6,3 6,4 6,4 6,6 |3,3 3,4 4,4 4,3 |";
  const std::vector<CRect> l{{2, 2, 5, 4}, {2, 4, 7, 6}};
  // 255 rectangles, then 0 holes; thin: -1 none, 0 OptimizeOutline, else RemoveSmallRegion(thin).
  const std::tuple<std::vector<CRect>, std::vector<CRect>, int, const char*> cases[] = {
      {{{3, 5, 4, 6}}, {}, -1, "3,6 3,5 4,5 4,6 |"},
      {{{2, 2, 5, 9}}, {}, -1, "2,9 2,2 5,2 5,9 |"},  // rows coalesced
      // An L: the ring keeps TL of the lower rectangle next to BL of the upper one. Step 3 cuts
      // its 3-wide bump ((5, 4) comes back within 3 of (2, 4)), step 2 does not; a step larger
      // than the polygon removes it.
      {l, {}, -1, lShape},
      {l, {}, 0, "2,6 2,2 5,2 5,4 7,4 7,6 |"},
      {l, {}, 2, lShape},
      {l, {}, 3, "2,6 2,4 2,4 7,4 7,6 |"},
      {l, {}, 100, ""},
      {{{1, 1, 6, 6}}, {{3, 3, 4, 4}}, -1, withHole},
      // Regions touching only at a corner stay apart.
      {{{1, 1, 3, 3}, {3, 3, 5, 5}}, {}, -1, "1,3 1,1 3,1 3,3 |3,5 3,3 5,3 5,5 |"},
  };
  ErrorRecorder errors;
  CMask m;
  CRegionOutline o;
  for (const auto& [rects, holes, thin, expected] : cases) {
    ASSERT_TRUE(m.CreateMask(10, 12, 0));
    for (const CRect& r : rects) m.Rectangle(r, 255);
    for (const CRect& r : holes) m.Rectangle(r, 0);
    ASSERT_TRUE(o.GetMaskOutline(m));
    if (thin >= 0) thin ? o.RemoveSmallRegion(thin) : o.OptimizeOutline();
    EXPECT_EQ(Traced(o), expected) << thin;
  }
  EXPECT_TRUE(errors.texts().empty());

  // Soft values are outside; the failed trace empties the outline and leaves the mask as it was.
  ASSERT_TRUE(m.CreateMask(6, 4, 254));
  EXPECT_FALSE(o.GetMaskOutline(m));
  EXPECT_EQ(errors.Single(), "Warning! No region found!");
  EXPECT_TRUE(o.GetGroupCount() == 0 && *m.GetPixel(2, 2) == 254);
}

TEST(RegionOutline, RandomMasksMatchThePlainTracerAndFillBack) {
  for (std::uint32_t seed = 1; seed <= 30; ++seed) {
    Rng rng(seed);
    CMask m;
    ASSERT_TRUE(m.CreateMask(rng.Range(1, seed % 3 ? 70 : 150), rng.Range(1, 50), 0));
    Scribble(m, rng);
    const std::unique_ptr<CMask> original(m.Duplicate());
    // The 255 pixels run by run as a region: its bands are the runs with identical neighbouring
    // rows coalesced, the rectangles the tracer starts from.
    CRgn region, run;
    ASSERT_TRUE(region.CreateRectRgn(0, 0, 0, 0) && run.CreateRectRgn(0, 0, 0, 0));
    for (int y = 0; y < m.Height(); ++y)
      for (int x = 0, e = 0; x < m.Width(); x = e + 1) {
        for (e = x; e < m.Width() && *m.GetPixel(e, y) == 255;) ++e;
        run.SetRectRgn(x, y, e, y + 1);  // empty where e == x
        region.CombineRgn(&region, &run, RGN_OR);
      }
    const std::vector<CRect> rects = RegionRects(region);
    const std::string what = "seed " + std::to_string(seed);
    CRegionOutline o, fromRegion;
    ErrorRecorder errors;
    ASSERT_EQ(o.GetMaskOutline(m), rects.empty() ? FALSE : TRUE) << what;
    ASSERT_TRUE(fromRegion.GetRegionOutline(&region));
    EXPECT_EQ(Traced(o), ModelTrace(rects)) << what;
    EXPECT_EQ(Traced(fromRegion), Traced(o)) << what;
    const BYTE* was = original->GetBuffer();  // only the 255 pixels take the mark
    for (int i = 0; i < m.Height() * m.GetDataWidth(); ++i)
      ASSERT_EQ(m.GetBuffer()[i], was[i] == 255 ? 128 : was[i]) << what;
    if (rects.empty()) continue;
    ExpectFillsBack(o, *original, what);
    o.OptimizeOutline();
    ExpectFillsBack(o, *original, what + " optimized");
  }
}

TEST(RegionOutline, ProgressCountsRectanglesAndVertices) {
  std::vector<std::string> log, expected;
  auto previous = vardell::SetProgressHandler(
      {[&](const CString& t) { return log.emplace_back(static_cast<LPCTSTR>(t)), 7; },
       [&](int h, int p) { log.push_back(std::to_string(h) + ':' + std::to_string(p)); },
       [&](int h) { log.push_back("end " + std::to_string(h)); }});
  CMask m;
  ASSERT_TRUE(m.CreateMask(40, 300, 0));
  for (int y = 0; y < 300; ++y) m.Rectangle(CRect(y % 7, y, y % 7 + 3, y + 1), 255);
  CRegionOutline o;
  ASSERT_TRUE(o.GetMaskOutline(m));
  o.RemoveSmallRegion(1);
  vardell::SetProgressHandler(previous);
  // Rectangle i of 300 reports (i * 100) / 300 when it grows, 1 to 99; thinning reports after
  // each of the 1200 vertices, up to 100.
  for (auto [title, last] :
       {std::pair{"Getting outline of a region...", 99}, {"Removing too small region...", 100}}) {
    expected.push_back(title);
    for (int p = 1; p <= last; ++p) expected.push_back("7:" + std::to_string(p));
    expected.push_back("end 7");
  }
  EXPECT_EQ(log, expected);
}

TEST(RegionOutline, BadInputFailsCleanly) {
  ErrorRecorder errors;
  CRegionOutline o;
  CMask m;
  EXPECT_FALSE(o.GetMaskOutline(m) || o.GetRegionOutline(nullptr) || m.FillOutline(&o, 255));
  o.RemoveSmallRegion(1);  // an empty outline stays empty
  o.OptimizeOutline();
  EXPECT_EQ(Traced(o), "");
  EXPECT_TRUE(errors.texts().empty());

  // Sides above 32767 would wrap the 16-bit vertices: refused before the mask is touched.
  ASSERT_TRUE(m.CreateMask(32768, 1, 255));
  EXPECT_FALSE(o.GetMaskOutline(m));
  EXPECT_NE(errors.Single().find("-32768..32767"), std::string::npos);
  EXPECT_EQ(*m.GetPixel(32767, 0), 255);
  errors.Clear();
  ASSERT_TRUE(m.CreateMask(32767, 1, 255));
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Traced(o), "0,1 0,0 32767,0 32767,1 |");
  CRgn empty, big;
  ASSERT_TRUE(empty.CreateRectRgn(0, 0, 0, 0) && big.CreateRectRgn(0, -40000, 5, 5));
  EXPECT_TRUE(o.GetRegionOutline(&empty) && o.GetGroupCount() == 0);
  EXPECT_FALSE(o.GetRegionOutline(&big));
  EXPECT_EQ(o.GetGroupCount(), 0);
  EXPECT_NE(errors.Single().find("-32768..32767"), std::string::npos);
  errors.Clear();

  // A zigzag of one-row rectangles is one ring of 4 vertices a row: 16383 rows fit a 16-bit
  // count, 16385 do not.
  for (int rows : {16383, 16385}) {
    ASSERT_TRUE(m.CreateMask(3, rows, 0));
    for (int y = 0; y < rows; ++y) m.Rectangle(CRect(y % 2, y, y % 2 + 2, y + 1), 255);
    EXPECT_EQ(o.GetMaskOutline(m), rows == 16383 ? TRUE : FALSE);
    EXPECT_EQ(o.m_vertices.GetSize(), rows == 16383 ? 65532 : 0);
  }
  EXPECT_EQ(errors.Single(),
            "Can not get the outline: a polygon would have more than 65535 vertices.");

  // An outline whose counts ask for more vertices than it holds is not filled.
  o.m_groupSizes.Add(4);
  o.m_vertices.Add(0);
  ASSERT_TRUE(m.CreateMask(4, 4, 0));
  EXPECT_FALSE(m.FillOutline(&o, 255));
}

}  // namespace
