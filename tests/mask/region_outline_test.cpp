// Outline tracing: known answers, the exact vertex order against a plain model of the tracer
// (every open edge walked for every rectangle), filling outlines back, thinning, bad input.
#include "mask/mask.h"
#include "mask/region_outline.h"
#include "platform/region.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using vardell::test::ErrorRecorder;
using vardell::test::Rng;

using Polygon = std::vector<std::pair<int, int>>;

std::vector<Polygon> Polygons(const CRegionOutline& o) {
  std::vector<Polygon> out;
  int at = 0;
  for (int g = 0; g < o.m_groupSizes.GetSize(); ++g) {
    out.emplace_back();
    for (int i = 0; i < o.m_groupSizes[g]; ++i, ++at) {
      const CPoint p(o.m_vertices[at]);
      out.back().emplace_back(p.x, p.y);
    }
  }
  EXPECT_EQ(at, o.m_vertices.GetSize());
  return out;
}

// The runs of 255 row by row, identical rows coalesced: the rectangles the tracer starts from.
std::vector<CRect> MaskRects(CMask& m) {
  std::vector<CRect> rects;
  std::vector<std::pair<int, int>> prev;
  int prevRow = -2;
  for (int y = 0; y < m.Height(); ++y) {
    std::vector<std::pair<int, int>> runs;
    for (int x = 0; x < m.Width(); ++x) {
      if (*m.GetPixel(x, y) != 255) continue;
      int e = x;
      while (e < m.Width() && *m.GetPixel(e, y) == 255) ++e;
      runs.emplace_back(x, e);
      x = e;
    }
    if (runs.empty()) continue;
    if (prevRow == y - 1 && runs == prev) {
      for (std::size_t k = rects.size() - runs.size(); k < rects.size(); ++k) ++rects[k].bottom;
    } else {
      for (auto& r : runs) rects.emplace_back(r.first, y, r.second, y + 1);
    }
    prev = runs;
    prevRow = y;
  }
  return rects;
}

// The tracer as plainly as it can be said: every rectangle walks the whole open-edge list.
std::vector<Polygon> ModelTrace(const std::vector<CRect>& rects) {
  struct V {
    int x, y;
    V* next;
  };
  std::vector<V> pool;
  pool.reserve(rects.size() * 4);
  std::vector<V*> active, closed;
  for (const CRect& q : rects) {
    std::vector<std::pair<V*, V*>> over;
    for (std::size_t i = 0; i + 1 < active.size();) {
      V *a = active[i], *c = active[i + 1];
      if (a->y < q.top) {
        closed.push_back(a);
        active.erase(active.begin() + i, active.begin() + i + 2);
        continue;
      }
      if (a->y == q.top && q.left < c->x && q.right > a->x) over.emplace_back(a, c);
      i += 2;
    }
    V* bl = &pool.emplace_back(V{q.left, q.bottom, nullptr});
    V* tl = &pool.emplace_back(V{q.left, q.top, nullptr});
    V* tr = &pool.emplace_back(V{q.right, q.top, nullptr});
    V* br = &pool.emplace_back(V{q.right, q.bottom, nullptr});
    bl->next = tl, tr->next = br, br->next = bl;
    tl->next = over.empty() ? tr : over.front().first;
    active.push_back(bl);
    active.push_back(br);
    if (over.empty()) continue;
    for (std::size_t j = 0; j + 1 < over.size(); ++j) over[j].second->next = over[j + 1].first;
    over.back().second->next = tr;
    std::size_t pos = 0;
    for (auto& [a, c] : over)
      for (V* v : {a, c}) {
        pos = static_cast<std::size_t>(std::find(active.begin(), active.end(), v) - active.begin());
        active.erase(active.begin() + pos);
      }
    if (q.right < over.back().second->x)
      active.insert(active.begin() + pos, {tr, over.back().second});
  }
  std::vector<Polygon> out;
  const auto close = [&](V* s) {
    if (!s->next) return;
    out.emplace_back();
    V* v = s;
    do {
      out.back().emplace_back(v->x, v->y);
      V* n = v->next;
      v->next = nullptr;
      v = n;
    } while (v != s);
  };
  for (V* v : closed) close(v);
  for (V* v : active) close(v);
  for (V& v : pool) close(&v);
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
  for (int k = rng.Range(0, 40); k > 0; --k) {
    static const BYTE values[] = {255, 255, 0, 254, 128, 1};
    *m.GetPixel(rng.Range(0, w - 1), rng.Range(0, h - 1)) = values[rng.Range(0, 5)];
  }
}

// FillOutline on an empty mask of the same size gives exactly the 255 pixels of `expected`.
void ExpectFillsBack(CRegionOutline& o, CMask& expected, BYTE inside, const std::string& what) {
  CMask back;
  ASSERT_TRUE(back.CreateMask(expected.Width(), expected.Height(), 0));
  ASSERT_TRUE(back.FillOutline(&o, 255)) << what;
  for (int y = 0; y < back.Height(); ++y)
    for (int x = 0; x < back.Width(); ++x)
      ASSERT_EQ(*back.GetPixel(x, y), *expected.GetPixel(x, y) == inside ? 255 : 0)
          << what << " at " << x << "," << y;
}

TEST(RegionOutline, KnownShapes) {
  ErrorRecorder errors;
  CMask m;
  CRegionOutline o;
  ASSERT_TRUE(m.CreateMask(10, 12, 0));
  *m.GetPixel(3, 5) = 255;
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{3, 6}, {3, 5}, {4, 5}, {4, 6}}}));
  EXPECT_EQ(*m.GetPixel(3, 5), 128);  // the mask keeps the mark

  m.Rectangle(m.GetMaskRect(), 0);
  m.Rectangle(CRect(2, 2, 5, 9), 255);
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{2, 9}, {2, 2}, {5, 2}, {5, 9}}}));

  // A square with a hole: the outer ring from the open bottom edge, then the hole, which only
  // the pool reaches, running the other way round.
  m.Rectangle(m.GetMaskRect(), 0);
  m.Rectangle(CRect(1, 1, 6, 6), 255);
  m.Rectangle(CRect(3, 3, 4, 4), 0);
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{1, 6},
                                                {1, 4},
                                                {1, 4},
                                                {1, 3},
                                                {1, 3},
                                                {1, 1},
                                                {6, 1},
                                                {6, 3},
                                                {6, 3},
                                                {6, 4},
                                                {6, 4},
                                                {6, 6}},
                                               {{3, 3}, {3, 4}, {4, 4}, {4, 3}}}));

  // Regions touching only at a corner stay apart.
  m.Rectangle(m.GetMaskRect(), 0);
  m.Rectangle(CRect(1, 1, 3, 3), 255);
  m.Rectangle(CRect(3, 3, 5, 5), 255);
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{1, 3}, {1, 1}, {3, 1}, {3, 3}},
                                               {{3, 5}, {3, 3}, {5, 3}, {5, 5}}}));
  EXPECT_TRUE(errors.texts().empty());

  // Soft values are outside; the failed trace leaves the outline and the mask as they were.
  ASSERT_TRUE(m.CreateMask(6, 4, 254));
  EXPECT_FALSE(o.GetMaskOutline(m));
  EXPECT_EQ(errors.Single(), "Warning! No region found!");
  EXPECT_EQ(o.GetGroupCount(), 0);
  EXPECT_EQ(*m.GetPixel(2, 2), 254);
}

TEST(RegionOutline, VertexOrderMatchesThePlainTracerAndFillsBack) {
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    Rng rng(seed);
    CMask m;
    ASSERT_TRUE(m.CreateMask(rng.Range(1, seed % 4 ? 70 : 150), rng.Range(1, 50), 0));
    Scribble(m, rng);
    CMask* original = m.Duplicate();
    ASSERT_NE(original, nullptr);
    const std::vector<CRect> rects = MaskRects(m);
    CRegionOutline o;
    ErrorRecorder errors;
    ASSERT_EQ(o.GetMaskOutline(m), rects.empty() ? FALSE : TRUE) << seed;
    const std::string what = "seed " + std::to_string(seed);
    EXPECT_EQ(Polygons(o), ModelTrace(rects)) << what;
    if (!rects.empty()) {
      ExpectFillsBack(o, *original, 255, what);
      // The same pixels as a region: its banded rectangles are the mask's coalesced runs, so the
      // region traces to the very same polygons.
      CRgn region;
      ASSERT_TRUE(region.CreateRectRgn(0, 0, 0, 0));
      for (const CRect& r : rects) {
        CRgn part;
        ASSERT_TRUE(part.CreateRectRgnIndirect(&r));
        region.CombineRgn(&region, &part, RGN_OR);
      }
      CRegionOutline fromRegion;
      ASSERT_TRUE(fromRegion.GetRegionOutline(&region));
      EXPECT_EQ(Polygons(fromRegion), Polygons(o)) << what;
      o.OptimizeOutline();
      ExpectFillsBack(o, *original, 255, what + " optimized");
    }
    delete original;
  }
}

TEST(RegionOutline, RandomRegionsFillBack) {
  for (std::uint32_t seed = 100; seed < 115; ++seed) {
    Rng rng(seed);
    CRgn region;
    ASSERT_TRUE(region.CreateRectRgn(0, 0, 0, 0));
    for (int k = rng.Range(1, 8); k > 0; --k) {
      CRgn part;
      const int l = rng.Range(-5, 50), t = rng.Range(-5, 40);
      const int r = l + rng.Range(1, 30), b = t + rng.Range(1, 30);
      ASSERT_TRUE(k % 2 ? part.CreateEllipticRgn(l, t, r, b) : part.CreateRectRgn(l, t, r, b));
      region.CombineRgn(&region, &part, rng.Range(0, 2) ? RGN_OR : RGN_XOR);
    }
    CRegionOutline o;
    ASSERT_TRUE(o.GetRegionOutline(&region));
    CMask expected;
    ASSERT_TRUE(expected.CreateMask(60, 50, 0));
    expected.FillRegion(&region, 255);
    if (o.GetGroupCount() > 0) ExpectFillsBack(o, expected, 255, "seed " + std::to_string(seed));
  }
}

TEST(RegionOutline, ThinningKnownAnswers) {
  // An L of two rectangles: the ring keeps TL of the lower one next to BL of the upper one.
  CMask m;
  CRegionOutline o;
  ASSERT_TRUE(m.CreateMask(10, 10, 0));
  m.Rectangle(CRect(2, 2, 5, 4), 255);
  m.Rectangle(CRect(2, 4, 7, 6), 255);
  const Polygon traced{{2, 6}, {2, 4}, {2, 4}, {2, 2}, {5, 2}, {5, 4}, {7, 4}, {7, 6}};
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Polygons(o), std::vector<Polygon>{traced});
  o.OptimizeOutline();
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{2, 6}, {2, 2}, {5, 2}, {5, 4}, {7, 4}, {7, 6}}}));

  // Step 3 cuts the 3-wide bump: (5, 4) comes back within 3 of (2, 4).
  m.Rectangle(m.GetMaskRect(), 0);
  m.Rectangle(CRect(2, 2, 5, 4), 255);
  m.Rectangle(CRect(2, 4, 7, 6), 255);
  ASSERT_TRUE(o.GetMaskOutline(m));
  o.RemoveSmallRegion(2);
  EXPECT_EQ(Polygons(o), std::vector<Polygon>{traced});
  o.RemoveSmallRegion(3);
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{2, 6}, {2, 4}, {2, 4}, {7, 4}, {7, 6}}}));
  // A step larger than the polygon removes it; an empty outline stays empty.
  o.RemoveSmallRegion(100);
  EXPECT_EQ(o.GetGroupCount(), 0);
  EXPECT_EQ(o.m_vertices.GetSize(), 0);
  o.RemoveSmallRegion(1);
  o.OptimizeOutline();
  EXPECT_EQ(o.GetGroupCount(), 0);
}

TEST(RegionOutline, ProgressReportsGrowingPercentages) {
  std::vector<std::string> titles;
  std::vector<int> percents;
  int ended = 0;
  auto previous = vardell::SetProgressHandler({[&](const CString& t) {
                                                 titles.push_back(static_cast<LPCTSTR>(t));
                                                 return 7;
                                               },
                                               [&](int h, int p) {
                                                 EXPECT_EQ(h, 7);
                                                 percents.push_back(p);
                                               },
                                               [&](int h) { ended += h == 7; }});
  CMask m;
  ASSERT_TRUE(m.CreateMask(40, 300, 0));
  for (int y = 0; y < 300; ++y) m.Rectangle(CRect(y % 7, y, y % 7 + 3, y + 1), 255);
  CRegionOutline o;
  ASSERT_TRUE(o.GetMaskOutline(m));
  ASSERT_FALSE(percents.empty());
  EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()) &&
              std::adjacent_find(percents.begin(), percents.end()) == percents.end());
  EXPECT_GT(percents.front(), 0);
  EXPECT_LE(percents.back(), 100);
  percents.clear();
  o.RemoveSmallRegion(1);
  EXPECT_EQ(percents.back(), 100);
  vardell::SetProgressHandler(previous);
  EXPECT_EQ(titles, (std::vector<std::string>{"Getting outline of a region...",
                                              "Removing too small region..."}));
  EXPECT_EQ(ended, 2);
}

TEST(RegionOutline, BadInputFailsCleanly) {
  ErrorRecorder errors;
  CRegionOutline o;
  CMask m;
  EXPECT_FALSE(o.GetMaskOutline(m));  // empty mask
  EXPECT_FALSE(o.GetRegionOutline(nullptr));
  EXPECT_FALSE(m.FillOutline(&o, 255));
  EXPECT_TRUE(errors.texts().empty());

  // Sides above 32767 would wrap the 16-bit vertices: refused before the mask is touched.
  ASSERT_TRUE(m.CreateMask(32768, 1, 255));
  EXPECT_FALSE(o.GetMaskOutline(m));
  EXPECT_NE(errors.Single().find("-32768..32767"), std::string::npos);
  EXPECT_EQ(*m.GetPixel(32767, 0), 255);
  errors.Clear();
  ASSERT_TRUE(m.CreateMask(32767, 1, 255));
  ASSERT_TRUE(o.GetMaskOutline(m));
  EXPECT_EQ(Polygons(o), (std::vector<Polygon>{{{0, 1}, {0, 0}, {32767, 0}, {32767, 1}}}));
  CRgn empty, big;
  ASSERT_TRUE(empty.CreateRectRgn(0, 0, 0, 0));
  EXPECT_TRUE(o.GetRegionOutline(&empty));
  EXPECT_EQ(o.GetGroupCount(), 0);
  ASSERT_TRUE(big.CreateRectRgn(0, -40000, 5, 5));
  EXPECT_FALSE(o.GetRegionOutline(&big));
  EXPECT_EQ(o.GetGroupCount(), 0);
  EXPECT_NE(errors.Single().find("-32768..32767"), std::string::npos);
  errors.Clear();

  // A zigzag of one-row rectangles is one ring of 4 vertices a row: 16383 rows fit a 16-bit
  // count, 16385 do not.
  for (int rows : {16383, 16385}) {
    ASSERT_TRUE(m.CreateMask(3, rows, 0));
    for (int y = 0; y < rows; ++y) m.Rectangle(CRect(y % 2, y, y % 2 + 2, y + 1), 255);
    const BOOL ok = o.GetMaskOutline(m);
    EXPECT_EQ(ok, rows == 16383 ? TRUE : FALSE);
    ASSERT_EQ(o.GetGroupCount(), ok ? 1 : 0);
    if (ok) {
      EXPECT_EQ(o.m_groupSizes[0], 65532);
    }
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
