#include "platform/region.h"
#include "platform/region_scan.h"

#include "platform_fixtures.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

using vardell::test::Calls;
using vardell::test::Rng;

std::vector<RECT> RectsOf(HRGN h) {
  std::vector<unsigned char> buffer(GetRegionData(h, 0, nullptr));
  if (buffer.empty() || GetRegionData(h, DWORD(buffer.size()),
                                      reinterpret_cast<RGNDATA*>(buffer.data())) != buffer.size())
    return {};
  RGNDATAHEADER header;
  std::memcpy(&header, buffer.data(), sizeof header);
  std::vector<RECT> rects(header.nCount);
  if (!rects.empty()) std::memcpy(rects.data(), buffer.data() + 32, rects.size() * sizeof(RECT));
  return rects;
}

std::string Str(const std::vector<RECT>& rects) {
  std::ostringstream s;
  for (const RECT& r : rects)
    s << (&r == rects.data() ? "" : " ") << '(' << r.left << ',' << r.top << ',' << r.right << ','
      << r.bottom << ')';
  return s.str();
}
std::string Str(HRGN h) { return Str(RectsOf(h)); }
std::string Box(HRGN h) {
  RECT r{-1, -1, -1, -1};
  const int type = GetRgnBox(h, &r);
  return std::to_string(type) + " " + Str(std::vector<RECT>{r});
}

// Region data of rectangles given in any order.
std::vector<unsigned char> Data(const std::vector<RECT>& rects) {
  std::vector<unsigned char> data(32 + 16 * rects.size());
  const RGNDATAHEADER h{32, RDH_RECTANGLES, DWORD(rects.size()), 0, RECT{0, 0, 0, 0}};
  std::memcpy(data.data(), &h, 32);
  if (!rects.empty()) std::memcpy(data.data() + 32, rects.data(), 16 * rects.size());
  return data;
}

// The regions a test makes, deleted at its end.
struct Regions {
  std::vector<HRGN> held;
  ~Regions() {
    for (HRGN h : held) DeleteObject(h);
  }
  HRGN operator()(HRGN h) { return held.emplace_back(h); }
};

// A pixel set over a fixed frame, the oracle's representation.
struct Grid {
  static constexpr int kX0 = -8, kY0 = -8, kSize = 48;
  std::vector<std::uint8_t> bits = std::vector<std::uint8_t>(kSize * kSize, 0);

  std::uint8_t& At(int x, int y) { return bits[(y - kY0) * kSize + (x - kX0)]; }
  bool Get(int x, int y) const {
    if (x < kX0 || y < kY0 || x >= kX0 + kSize || y >= kY0 + kSize) return false;
    return bits[(y - kY0) * kSize + (x - kX0)] != 0;
  }
  void Fill(const RECT& r) {
    for (int y = std::min(r.top, r.bottom); y < std::max(r.top, r.bottom); ++y)
      for (int x = std::min(r.left, r.right); x < std::max(r.left, r.right); ++x) At(x, y) = 1;
  }
  // This set combined with another as CombineRgn does.
  void Combine(const Grid& other, int mode) {
    for (std::size_t i = 0; i < bits.size(); ++i) {
      const bool a = bits[i], b = other.bits[i];
      bits[i] = mode == RGN_AND    ? a && b
                : mode == RGN_OR   ? a || b
                : mode == RGN_XOR  ? a != b
                : mode == RGN_DIFF ? a && !b
                                   : a;
    }
  }
  // Maximal runs of each row; consecutive rows with the same runs make one band.
  std::vector<RECT> Canonical() const {
    std::vector<RECT> out;
    std::vector<std::pair<int, int>> prev, runs;
    std::size_t bandStart = 0;
    for (int y = kY0; y < kY0 + kSize; ++y) {
      runs.clear();
      const std::uint8_t* row = &bits[(y - kY0) * kSize];
      for (int i = 0; i < kSize; ++i) {
        if (row[i] && (i == 0 || !row[i - 1])) runs.emplace_back(kX0 + i, kX0 + i);
        if (row[i]) runs.back().second = kX0 + i + 1;
      }
      if (!runs.empty() && runs == prev && out.back().bottom == y) {
        for (std::size_t i = bandStart; i < out.size(); ++i) out[i].bottom = y + 1;
      } else {
        bandStart = out.size();
        for (auto [l, r] : runs) out.push_back(RECT{l, y, r, y + 1});
      }
      prev = runs;
    }
    return out;
  }
};

// Pixel (x, y) is inside when the point (x, y) is, counting an edge when its crossing X <= x:
// exact integer comparisons, no scan conversion.
struct OracleEdge {
  std::int64_t x1, y1, x2, y2;  // y1 < y2
  int dir;
};

std::vector<OracleEdge> OracleEdges(const std::vector<POINT>& pts, const std::vector<INT>& counts) {
  std::vector<OracleEdge> edges;
  std::size_t start = 0;
  for (INT n : counts) {
    for (INT i = 0; i < n && n >= 2; ++i) {
      const POINT a = pts[start + (i + n - 1) % n], b = pts[start + i];
      if (a.y < b.y) edges.push_back({a.x, a.y, b.x, b.y, 1});
      if (a.y > b.y) edges.push_back({b.x, b.y, a.x, a.y, -1});
    }
    start += n;
  }
  return edges;
}

bool Covers(const std::vector<OracleEdge>& edges, int mode, int x, int y) {
  int state = 0;
  for (const OracleEdge& e : edges)
    if (y >= e.y1 && y < e.y2 && (e.x2 - e.x1) * (y - e.y1) <= (x - e.x1) * (e.y2 - e.y1))
      state += mode == WINDING ? e.dir : 1;
  return mode == WINDING ? state != 0 : (state & 1) != 0;
}

Grid RasterisePolygons(const std::vector<POINT>& pts, const std::vector<INT>& counts, int mode) {
  const std::vector<OracleEdge> edges = OracleEdges(pts, counts);
  std::vector<OracleEdge> row;
  Grid g;
  for (int y = Grid::kY0; y < Grid::kY0 + Grid::kSize; ++y) {
    row.clear();
    for (const OracleEdge& e : edges)
      if (y >= e.y1 && y < e.y2) row.push_back(e);
    for (int x = Grid::kX0; x < Grid::kX0 + Grid::kSize && !row.empty(); ++x)
      g.At(x, y) = Covers(row, mode, x, y);
  }
  return g;
}

HRGN Polygon(std::initializer_list<POINT> pts, int mode) {
  const std::vector<POINT> v(pts);
  return CreatePolygonRgn(v.data(), static_cast<int>(v.size()), mode);
}

TEST(RegionTest, PolygonFollowsTheTopLeftCornerRule) {
  Regions own;
  HRGN square = own(Polygon({{0, 0}, {4, 0}, {4, 4}, {0, 4}}, ALTERNATE));
  EXPECT_TRUE(EqualRgn(square, own(CreateRectRgn(0, 0, 4, 4))));
  EXPECT_FALSE(PtInRegion(square, 4, 0) || PtInRegion(square, 0, 4));
  for (int mode : {ALTERNATE, WINDING}) {
    HRGN t1 = own(Polygon({{0, 0}, {4, 0}, {0, 4}}, mode));
    EXPECT_EQ(Box(t1) + " " + Str(t1), "3 (0,0,4,4) (0,0,4,1) (0,1,3,2) (0,2,2,3) (0,3,1,4)");
  }

  // The sheared 10 x 10 square: both edges cross row 0 at x = 0, so row 0 is empty.
  HRGN shear = own(Polygon({{0, 0}, {10, 100}, {10, 110}, {0, 10}}, ALTERNATE));
  EXPECT_EQ(Box(shear), "3 (0,1,10,101)");
}

TEST(RegionTest, DegeneratePolygonsAreEmptyAndBadArgumentsFail) {
  const POINT same[] = {{6, 6}, {6, 6}, {6, 6}};
  const POINT line[] = {{1, 0}, {11, 0}, {21, 0}};
  const POINT slanted[] = {{0, 0}, {50, 70}, {-100, -140}, {25, 35}};
  const POINT mixed[] = {{0, 0}, {0, 0}, {0, 0}, {6, 6}, {6, 6}, {6, 6}};
  const INT two[] = {3, 3}, withEmpty[] = {0, 1, 2, 3}, negative[] = {3, -1}, one[] = {3};
  Regions own;
  for (HRGN h :
       {CreatePolygonRgn(same, 3, ALTERNATE), CreatePolygonRgn(line, 3, WINDING),
        CreatePolygonRgn(slanted, 4, ALTERNATE), CreatePolygonRgn(line, 2, ALTERNATE),
        CreatePolygonRgn(line, 0, ALTERNATE), CreatePolyPolygonRgn(mixed, two, 2, ALTERNATE),
        CreatePolyPolygonRgn(mixed, withEmpty, 4, WINDING)}) {
    ASSERT_NE(own(h), nullptr);
    EXPECT_EQ(Box(h), "1 (0,0,0,0)");
    EXPECT_EQ(GetRegionData(h, 0, nullptr), 32u);
  }
  int i = 0;
  for (HRGN h : {CreatePolygonRgn(nullptr, 3, ALTERNATE), CreatePolygonRgn(line, -1, ALTERNATE),
                 CreatePolygonRgn(line, 3, 0), CreatePolygonRgn(line, 3, 3),
                 CreatePolyPolygonRgn(line, nullptr, 1, ALTERNATE),
                 CreatePolyPolygonRgn(line, one, 0, ALTERNATE),
                 CreatePolyPolygonRgn(mixed, negative, 2, ALTERNATE),
                 CreateRectRgnIndirect(nullptr), CreateEllipticRgnIndirect(nullptr)})
    EXPECT_EQ(own(h), nullptr) << i++;
}

TEST(RegionTest, CoordinatesStayInThePlatformRange) {
  constexpr int kMax = 0x7FFFFFF, kMin = -0x8000000;
  Regions own;
  int i = 0;
  for (HRGN h : {CreateRectRgn(0, 0, kMax + 1, 10),
                 CreateRectRgn(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX),
                 CreateEllipticRgn(0, 0, 10, INT32_MAX),
                 Polygon({{0, -(1 << 30)}, {1 << 30, 0}, {0, 1 << 30}, {-(1 << 30), 0}}, WINDING),
                 Polygon({{0, 0}, {INT32_MAX, 0}, {0, 5}}, ALTERNATE)})
    EXPECT_EQ(own(h), nullptr) << i++;
  EXPECT_EQ(Box(own(Polygon({{kMin, kMin}, {kMax, kMin}, {kMax, kMax}, {kMin, kMax}}, ALTERNATE))),
            "2 (-134217728,-134217728,134217727,134217727)");

  // Steep edges across the whole range change their crossing only a few times.
  const std::vector<POINT> steep = {{0, kMin}, {10, kMin}, {30, kMax}, {20, kMax}};
  const std::vector<INT> counts = {4};
  HRGN h = own(CreatePolygonRgn(steep.data(), 4, ALTERNATE));
  EXPECT_EQ(RectsOf(h).size(), 21u);
  const std::vector<OracleEdge> edges = OracleEdges(steep, counts);
  for (int y : {kMin, kMin + 1, kMin + 13421772, kMin + 13421773, 0, kMax - 1, kMax})
    for (int x = -1; x <= 31; ++x)
      ASSERT_EQ(PtInRegion(h, x, y) != 0, Covers(edges, ALTERNATE, x, y)) << x << ',' << y;

  // Diagonal edges need a band per row; past the rectangle limit the shape is refused early.
  std::vector<RECT> out;
  const std::vector<POINT> small = {{0, -600}, {600, 0}, {0, 600}, {-600, 0}};
  EXPECT_FALSE(vardell::region::ScanPolygons(small, counts, WINDING, 1198, out));
  EXPECT_TRUE(vardell::region::ScanPolygons(small, counts, WINDING, 1199, out));
  EXPECT_EQ(out.size(), 1199u);  // rows -599 .. 599; row -600 is empty

  // Offsets that would leave the range fail and change nothing; an empty region moves anywhere.
  HRGN r = own(CreateRectRgn(10, 10, 110, 110)), empty = own(CreateRectRgn(0, 0, 0, 0));
  EXPECT_EQ(OffsetRgn(r, 0x8000000 - 110, 10), ERROR);
  EXPECT_EQ(Box(r), "2 (10,10,110,110)");
  EXPECT_EQ((Calls{OffsetRgn(r, 0x8000000 - 111, 10),
                   OffsetRgn(r, -0x8000000 + 111 - 0x8000000 - 10, 0), OffsetRgn(r, -1, 0),
                   OffsetRgn(empty, INT32_MIN + 10, 10), OffsetRgn(empty, 0xF000000, 0xF000000)}),
            (Calls{SIMPLEREGION, SIMPLEREGION, ERROR, NULLREGION, NULLREGION}));
}

TEST(RegionTest, RegionDataHasThePlatformLayout) {
  Regions own;
  HRGN empty = own(CreateRectRgn(5, 5, 5, 9)), one = own(CreateRectRgn(300, -2, 1, 7));
  EXPECT_EQ(Box(empty), "1 (0,0,0,0)");
  alignas(4) unsigned char buf[64];
  std::memset(buf, 0xAB, sizeof buf);
  EXPECT_EQ(GetRegionData(empty, 48, reinterpret_cast<RGNDATA*>(buf)), 32u);
  const unsigned char emptyBytes[32] = {32, 0, 0, 0, 1, 0, 0, 0};
  EXPECT_TRUE(std::memcmp(buf, emptyBytes, 32) == 0 && buf[32] == 0xAB);
  EXPECT_EQ(GetRegionData(one, 47, reinterpret_cast<RGNDATA*>(buf)), 0u);
  EXPECT_EQ(GetRegionData(one, 48, reinterpret_cast<RGNDATA*>(buf)), 48u);
  const unsigned char oneBytes[48] = {
      32, 0, 0, 0, 1,    0,    0,    0,    1,  0, 0, 0, 16, 0, 0, 0,  // header
      1,  0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 44, 1, 0, 0, 7,  0, 0, 0,  // rcBound
      1,  0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 44, 1, 0, 0, 7,  0, 0, 0};
  EXPECT_EQ(std::memcmp(buf, oneBytes, 48), 0);
  EXPECT_EQ(GetRegionData(nullptr, 0, nullptr), 0u);
}

TEST(RegionTest, ExtCreateRegionReadsDataAndTransforms) {
  Regions own;
  auto rgn = [&](const std::vector<unsigned char>& d, const XFORM* x = nullptr) {
    return own(ExtCreateRegion(x, DWORD(d.size()), reinterpret_cast<const RGNDATA*>(d.data())));
  };
  const auto single = Data({RECT{111, 222, 333, 444}}), ten = Data({RECT{0, 0, 10, 10}});
  const XFORM half{0.5f, 0, 0, 0.5f, 20, 40}, moved{2.5f, 0, 0, 1.5f, 20, 40},
      shear{1, 10, 0, 1, 0, 0}, huge{1e9f, 0, 0, 1, 0, 0};
  EXPECT_EQ(Str(rgn(single, &half)), "(76,151,187,262)");  // 75.5 and 186.5 round up
  EXPECT_EQ(Box(rgn(ten, &moved)), "2 (20,40,45,55)");
  EXPECT_EQ(Box(rgn(ten, &shear)), "3 (0,1,10,101)");
  EXPECT_EQ(rgn(ten, &huge), nullptr);
  // Any order, overlaps, empty and inverted rectangles: the canonical union.
  EXPECT_EQ(Str(rgn(Data({{4, 4, 8, 8}, {0, 0, 5, 5}, {9, 9, 2, 2}, {5, 0, 5, 9}}))),
            "(0,0,5,4) (0,4,8,5) (4,5,8,8)");
  EXPECT_EQ(Box(rgn(Data({}))), "1 (0,0,0,0)");

  auto bad = Data({RECT{0, 0, 1, 1}, RECT{1, 1, 2, 2}});
  const auto* data = reinterpret_cast<const RGNDATA*>(bad.data());
  for (HRGN h : {ExtCreateRegion(nullptr, 63, data), ExtCreateRegion(nullptr, 31, data),
                 ExtCreateRegion(nullptr, 64, nullptr)})
    EXPECT_EQ(own(h), nullptr);
  bad[0] = 31;
  EXPECT_EQ(rgn(bad), nullptr);
}

TEST(RegionTest, RectRegionsNormalise) {
  Regions own;
  HRGN inverted = own(CreateRectRgn(20, 10, 10, 20)), plain = own(CreateRectRgn(10, 10, 20, 20));
  EXPECT_TRUE(EqualRgn(inverted, plain));
  const RECT flat{12, 12, 12, 18};
  EXPECT_FALSE(RectInRegion(inverted, &flat));
  EXPECT_EQ((Calls{SetRectRgn(plain, 3, 3, 0, 0), SetRectRgn(plain, 0, 0, 0x8000000, 1)}),
            (Calls{TRUE, FALSE}));
  EXPECT_EQ(Str(plain), "(0,0,3,3)");
  EXPECT_TRUE(SetRectRgn(plain, 0, 0, 0, 9));
  EXPECT_EQ(Box(plain), "1 (0,0,0,0)");
  EXPECT_EQ(EqualRgn(plain, nullptr), ERROR);
  EXPECT_FALSE(PtInRegion(nullptr, 0, 0));
  EXPECT_EQ(GetRgnBox(plain, nullptr), ERROR);
}

TEST(RegionTest, CombineMatchesThePlatformTable) {
  struct Row {
    RECT a, b;
    const char *andR, *orR, *xorR, *diffR;
  };
  const Row rows[] = {
      {{0, 0, 0, 0}, {0, 0, 1, 1}, "1 (0,0,0,0)", "2 (0,0,1,1)", "2 (0,0,1,1)", "1 (0,0,0,0)"},
      {{0, 0, 4, 4}, {0, 0, 2, 2}, "2 (0,0,2,2)", "2 (0,0,4,4)", "3 (0,0,4,4)", "3 (0,0,4,4)"},
      {{2, 2, 4, 4}, {3, 3, 6, 6}, "2 (3,3,4,4)", "3 (2,2,6,6)", "3 (2,2,6,6)", "3 (2,2,4,4)"},
      {{0, 0, 5, 5}, {5, 0, 10, 5}, "1 (0,0,0,0)", "2 (0,0,10,5)", "2 (0,0,10,5)", "2 (0,0,5,5)"},
  };
  Regions own;
  HRGN dst = own(CreateRectRgn(0, 0, 0, 0));
  for (const Row& row : rows) {
    HRGN a = own(CreateRectRgnIndirect(&row.a)), b = own(CreateRectRgnIndirect(&row.b));
    const char* expected[] = {row.andR, row.orR, row.xorR, row.diffR};
    for (int mode = RGN_AND; mode <= RGN_DIFF; ++mode) {
      const int type = CombineRgn(dst, a, b, mode);
      EXPECT_EQ(Box(dst), expected[mode - 1]) << Str({row.a}) << Str({row.b}) << " mode " << mode;
      EXPECT_EQ(type, expected[mode - 1][0] - '0');
    }
  }
  HRGN a = CreateRectRgn(0, 0, 4, 4), b = CreateRectRgn(0, 0, 2, 2);
  CombineRgn(dst, a, b, RGN_XOR);
  EXPECT_EQ(Str(dst), "(2,0,4,2) (0,2,4,4)");

  // Failures leave the destination as it was; RGN_COPY ignores src2; dst may be a source.
  for (int type : {CombineRgn(dst, a, b, 0), CombineRgn(dst, a, b, 6), CombineRgn(dst, a, b, -1),
                   CombineRgn(dst, nullptr, b, RGN_OR), CombineRgn(dst, a, nullptr, RGN_AND),
                   CombineRgn(nullptr, a, b, RGN_OR)})
    EXPECT_EQ(type, ERROR);
  EXPECT_EQ(Str(dst), "(2,0,4,2) (0,2,4,4)");
  int notARegion = 0;
  EXPECT_EQ(CombineRgn(dst, a, reinterpret_cast<HRGN>(&notARegion), RGN_COPY), SIMPLEREGION);
  EXPECT_EQ(Str(dst), "(0,0,4,4)");
  EXPECT_EQ(CombineRgn(dst, dst, b, RGN_DIFF), COMPLEXREGION);
  EXPECT_EQ(CombineRgn(b, dst, b, RGN_OR), SIMPLEREGION);
  EXPECT_EQ(Str(b), "(0,0,4,4)");
  for (HRGN h : {a, b}) EXPECT_TRUE(DeleteObject(h));
  EXPECT_FALSE(DeleteObject(a));
  EXPECT_EQ(CombineRgn(a, a, a, RGN_COPY), ERROR);
}

TEST(RegionTest, EllipseLeavesOutTheLastColumnAndRow) {
  Regions own;
  HRGN circle = own(CreateEllipticRgn(0, 0, 21, 21));
  EXPECT_EQ(Box(circle), "3 (0,0,20,20)");
  for (const RECT& r : RectsOf(circle)) EXPECT_EQ(r.left, 20 - r.right);  // symmetric
  EXPECT_TRUE(EqualRgn(circle, own(CreateEllipticRgn(21, 21, 0, 0))));
  HRGN wide = own(CreateEllipticRgn(-100, 5, 300, 106));
  EXPECT_EQ(Box(wide), "3 (-100,5,299,105)");
  EXPECT_EQ(Str(own(CreateEllipticRgn(0, 0, 2, 10))), "(0,0,1,9)");
  EXPECT_EQ(Box(own(CreateEllipticRgn(0, 0, 1, 10))), "1 (0,0,0,0)");
}

struct PolygonCase {
  std::vector<POINT> pts;
  std::vector<INT> counts;
};

PolygonCase RandomPolygons(Rng& rng) {
  PolygonCase c;
  const int polygons = rng.Range(1, 3);
  for (int p = 0; p < polygons; ++p) {
    const int n = rng.Range(0, 9) == 0 ? rng.Range(0, 2) : rng.Range(3, 7);
    const bool onLine = rng.Range(0, 7) == 0, rectilinear = rng.Range(0, 3) == 0;
    for (int i = 0; i < n; ++i) {
      POINT q{rng.Range(-6, 36), rng.Range(-6, 36)};
      if (onLine) q = POINT{2 * i - 3, 3 * i + 1};
      if (rectilinear && i > 0) (i % 2 ? q.y : q.x) = i % 2 ? c.pts.back().y : c.pts.back().x;
      c.pts.push_back(q);
    }
    c.counts.push_back(n);
  }
  c.pts.reserve(c.pts.size() + 1);  // never a null pointer, even with no points
  return c;
}

// A random region with its pixel set, built from rectangles, polygons and ellipses combined.
HRGN RandomRegion(Rng& rng, Grid& g) {
  HRGN h = CreateRectRgn(0, 0, 0, 0);
  g = Grid();
  for (int p = 0, parts = rng.Range(1, 4); p < parts; ++p) {
    Grid pg;
    HRGN part = nullptr;
    const int kind = rng.Range(0, 3);
    if (kind < 2) {
      const RECT r{rng.Range(-6, 36), rng.Range(-6, 36), rng.Range(-6, 36), rng.Range(-6, 36)};
      part = CreateRectRgnIndirect(&r);
      pg.Fill(r);
    } else if (kind == 2) {
      const PolygonCase c = RandomPolygons(rng);
      const int fill = rng.Range(0, 1) ? WINDING : ALTERNATE;
      part = CreatePolyPolygonRgn(c.pts.data(), c.counts.data(), int(c.counts.size()), fill);
      pg = RasterisePolygons(c.pts, c.counts, fill);
    } else {
      part = CreateEllipticRgn(rng.Range(-6, 36), rng.Range(-6, 36), rng.Range(-6, 36),
                               rng.Range(-6, 36));
      for (const RECT& r : RectsOf(part)) pg.Fill(r);
    }
    const int mode = p == 0 ? RGN_OR : rng.Range(RGN_AND, RGN_DIFF);
    CombineRgn(h, h, part, mode);
    g.Combine(pg, mode);
    DeleteObject(part);
  }
  return h;
}

TEST(RegionTest, RandomCombinationsMatchThePixelOracle) {
  Rng rng(77);
  for (int iter = 0; iter < 800; ++iter) {
    Grid ga, gb;
    Regions own;
    HRGN a = own(RandomRegion(rng, ga)), b = own(RandomRegion(rng, gb));
    ASSERT_EQ(Str(a), Str(ga.Canonical())) << "iteration " << iter;
    HRGN d = own(CreateRectRgn(0, 0, 0, 0));
    const int mode = rng.Range(RGN_AND, RGN_COPY);
    const int type = CombineRgn(d, a, b, mode);
    Grid gd = ga;
    gd.Combine(gb, mode);
    const std::vector<RECT> expected = gd.Canonical(), rects = RectsOf(d);
    ASSERT_EQ(Str(rects), Str(expected)) << "iteration " << iter << " mode " << mode;
    ASSERT_EQ(type, expected.empty()       ? NULLREGION
                    : expected.size() == 1 ? SIMPLEREGION
                                           : COMPLEXREGION);
    ASSERT_EQ(EqualRgn(a, b) != 0, ga.bits == gb.bits);

    // Region data read back, in any order, rebuilds the same region.
    std::vector<RECT> shuffled = rects;
    for (std::size_t i = shuffled.size(); i > 1; --i)
      std::swap(shuffled[i - 1], shuffled[rng.Next() % i]);
    const std::vector<unsigned char> data = Data(shuffled);
    ASSERT_TRUE(EqualRgn(
        own(ExtCreateRegion(nullptr, DWORD(data.size()), (const RGNDATA*)data.data())), d));

    for (int k = 0; k < 8; ++k) {
      const int x = rng.Range(-9, 40), y = rng.Range(-9, 40);
      ASSERT_EQ(PtInRegion(d, x, y) != 0, gd.Get(x, y));
      const RECT q{x, y, rng.Range(-9, 40), rng.Range(-9, 40)};
      bool any = false;
      for (int yy = std::min(q.top, q.bottom); yy < std::max(q.top, q.bottom); ++yy)
        for (int xx = std::min(q.left, q.right); xx < std::max(q.left, q.right); ++xx)
          any = any || gd.Get(xx, yy);
      ASSERT_EQ(RectInRegion(d, &q) != 0, any);
    }
    const int dx = rng.Range(-5, 5), dy = rng.Range(-5, 5);
    if (OffsetRgn(d, dx, dy) != NULLREGION) {
      std::vector<RECT> moved = expected;
      for (RECT& r : moved) r = RECT{r.left + dx, r.top + dy, r.right + dx, r.bottom + dy};
      ASSERT_EQ(Str(d), Str(moved));
    }
  }
}

TEST(CRgnTest, OwnsItsHandleAndWrapsOthersThroughTheGdiObjectMaps) {
  HRGN kept = nullptr;
  {
    CRgn rgn, other;
    EXPECT_EQ(rgn.GetRgnBox(nullptr), ERROR);
    EXPECT_TRUE(rgn.CreateRectRgn(0, 0, 4, 4));
    EXPECT_FALSE(rgn.CreateRectRgn(0, 0, 8, 8));  // already holds one
    kept = rgn;
    EXPECT_EQ(CGdiObject::FromHandle(kept), &rgn);
    const POINT tri[] = {{0, 0}, {4, 0}, {0, 4}};
    EXPECT_TRUE(other.CreatePolygonRgn(tri, 3, ALTERNATE));
    EXPECT_EQ(other.CombineRgn(&rgn, &other, RGN_DIFF), COMPLEXREGION);
    EXPECT_EQ((Calls{rgn.CopyRgn(&other), rgn.EqualRgn(&other), rgn.OffsetRgn(CPoint(1, 1)),
                     rgn.PtInRegion(CPoint(4, 2)), rgn.GetRegionData(nullptr, 0)}),
              (Calls{COMPLEXREGION, TRUE, COMPLEXREGION, TRUE, 80}));

    // The shared factory makes a temporary CRgn, which never deletes its region.
    HRGN loose = CreateRectRgn(1, 1, 2, 2);
    CGdiObject* temp = CGdiObject::FromHandle(loose);
    ASSERT_NE(dynamic_cast<CRgn*>(temp), nullptr);
    EXPECT_TRUE(CRgn::FromHandle(loose) == temp && static_cast<CRgn*>(temp)->PtInRegion(1, 1));
    CRgn::DeleteTempMap();
    EXPECT_EQ(GetObjectType(loose), OBJ_REGION);
    CRgn owner;
    EXPECT_TRUE(owner.Attach(loose));
    EXPECT_EQ(owner.Detach(), loose);
    EXPECT_FALSE(owner.DeleteObject());
    EXPECT_TRUE(DeleteObject(loose));
    RECT box;  // a stale handle still gives a CRgn, whose calls fail
    EXPECT_EQ(CRgn::FromHandle(loose)->GetRgnBox(&box), ERROR);
    CRgn::DeleteTempMap();
    EXPECT_EQ(CRgn::FromHandle(nullptr), nullptr);
    CGdiObject* base = &other;
    EXPECT_TRUE(base->DeleteObject() && other.m_hObject == nullptr);
  }
  EXPECT_EQ(GetObjectType(kept), 0u);  // deleted with its CRgn
  EXPECT_FALSE(DeleteObject(kept) || DeleteObject(nullptr));
}

}  // namespace
