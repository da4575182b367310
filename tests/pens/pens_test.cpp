// The pens: points packed and queued, styles read and scaled, each pen kind painting its target
// (picture or mask), the stroke-start mark, threads appending while the worker paints, and a pen
// stored in an effect document.
#include "effects/effect_document.h"
#include "pens/pen_kinds.h"
#include "pens/pen_names.h"
#include "pens/pen_styles.h"
#include "platform/profile.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

namespace vardell::test {
namespace {

// An 8-bit BMP pen style of w x h pixels, all of value, in a folder kept for the whole program.
std::string MakeStyle(int w, int h, BYTE value = 255) {
  static const TempDir dir;
  CMask mask;
  mask.CreateMask(w, h, value);
  const std::string path = dir.File("style" + std::to_string(w) + "x" + std::to_string(h) + "_" +
                                    std::to_string(value) + ".bmp");
  EXPECT_TRUE(mask.StoreMask(path.c_str(), 0, 75));
  return path;
}

// A picture of seeded pixels.
void MakePattern(CPicture& picture, int w, int h) {
  picture.CreatePicture(w, h, 0);
  Rng rng(w * h);
  for (int i = 0; i < picture.GetDataSize(); ++i) picture.GetBuffer()[i] = rng.Byte();
}

bool SamePixels(const CPicture& a, const CPicture& b) {
  return a.GetDataSize() == b.GetDataSize() &&
         std::memcmp(a.GetBuffer(), b.GetBuffer(), a.GetDataSize()) == 0;
}

// The pen given its target (with a source picture and a target mask when asked) and its style.
void Prepare(CPenObject& pen, CPicture* target, const std::string& style, COLORREF color, UINT size,
             CPicture* source = nullptr, CMask* mask = nullptr) {
  pen.SetPictures(target, source, mask);
  pen.SetPenStyle(style.c_str(), color, size);
}

// Queues the points, each with its pressure, and runs the stroke to its end.
void Paint(CPenObject& pen, std::initializer_list<std::pair<CPoint, BYTE>> points) {
  for (const auto& [at, pressure] : points) pen.AddPoint(at, pressure);
  ASSERT_TRUE(pen.Execute());
  pen.Wait();
}

// The three bytes of pixel (x, y) as one number.
std::uint32_t Px(const CPicture& p, int x, int y) {
  const BYTE* b = p.GetPixel(x, y);
  return b[0] | b[1] << 8 | b[2] << 16;
}

// A point carrying the stroke-start mark.
CPoint Marked(int x, int y) { return CPoint(x + 16384, y + 16384); }

TEST(PenObject, StyleOfZeroSizePassesButThePenRefusesToRun) {
  ErrorRecorder errors;
  CPicture target;
  target.CreatePicture(20, 20, 0);
  CWaterPen pen;
  pen.SetPictures(&target, nullptr, nullptr);
  EXPECT_EQ(1, pen.SetPenStyle("no/such/style.bmp", RGB(1, 2, 3), 5));
  // LoadMask may tell about the unreadable file; the size test itself says nothing.
  for (const std::string& text : errors.texts())
    EXPECT_EQ(std::string::npos, text.find("Cannot get the size"));
  EXPECT_FALSE(pen.Execute());
  pen.SetPenStyle(MakeStyle(4, 4).c_str(), RGB(1, 2, 3), 5);
  EXPECT_TRUE(pen.CanExecute());
}

// Paints one black square with a full-strength pen on white; answers the painted rectangle, then
// the side and corner of the posted message.
template <class Pen = CWaterPen>
std::tuple<CRect, WPARAM, CPoint> PaintSquare(CSize target, CSize paper, UINT size, CPoint at) {
  CPicture picture;
  picture.CreatePicture(target.cx, target.cy, 255);
  Pen pen;
  Prepare(pen, &picture, MakeStyle(8, 8), RGB(0, 0, 0), size);
  pen.m_PaperSize = paper;
  CWnd wnd;
  wnd.CreateMessageWindow();
  pen.SetDisplay(&wnd, WM_USER + 7);
  Paint(pen, {{at, 255}});
  pen.SetDisplay(nullptr, 0);
  MSG msg{};
  EXPECT_TRUE(wnd.PeekPostedMessage(msg));
  EXPECT_EQ(WM_USER + 7u, msg.message);
  CRect painted(0, 0, 0, 0);
  for (int y = 0; y < target.cy; ++y)
    for (int x = 0; x < target.cx; ++x)
      if (*picture.GetPixel(x, y) != 255) painted.UnionRect(painted, CRect(x, y, x + 1, y + 1));
  return {painted, msg.wParam, CPenObject::UnpackPoint(static_cast<DWORD>(msg.lParam))};
}

TEST(PenObject, FootprintScaledCornerAtHalfTheSizeAndTheStrokeStartMark) {
  using Square = std::tuple<CRect, WPARAM, CPoint>;
  EXPECT_EQ(PaintSquare(CSize(1600, 1200), CSize(800, 600), 10, CPoint(100, 100)),
            Square(CRect(190, 190, 210, 210), 20, CPoint(190, 190)));
  EXPECT_EQ(PaintSquare(CSize(40, 40), CSize(0, 0), 7, CPoint(20, 20)),
            Square(CRect(17, 17, 24, 24), 7, CPoint(17, 17)));
  // The stroke-start mark: the water pen takes the point as it is; the finger pen reads
  // (-6383, -6383), and its posted corner's negative x borrows from y when packed.
  EXPECT_EQ(PaintSquare(CSize(40, 40), CSize(0, 0), 10, CPoint(10001, 10001)),
            Square(CRect(0, 0, 0, 0), 10, CPoint(9996, 9996)));
  EXPECT_EQ(PaintSquare<CFingerPen>(CSize(40, 40), CSize(0, 0), 10, CPoint(10001, 10001)),
            Square(CRect(0, 0, 0, 0), 10, CPoint(-6388, -6389)));
}

TEST(PenObject, ResetRepaintsTheWholeQueueAndAppendsWhileRunningAreKept) {
  const std::string style = MakeStyle(16, 16, 180);
  CPicture first, second, third;
  MakePattern(first, 120, 80);
  for (CPicture* p : {&second, &third}) first.Duplicate(*p);
  const auto point = [](int i) { return CPoint(10 + 2 * i, 20 + i); };

  CSoftenPen pen;
  Prepare(pen, &first, style, 0, 12);
  for (int i = 0; i < 40; ++i) pen.AddPoint(point(i), static_cast<BYTE>(100 + i));
  Paint(pen, {});
  EXPECT_FALSE(SamePixels(first, third));
  pen.Reset();
  pen.SetPictures(&second, nullptr, nullptr);
  Paint(pen, {});
  EXPECT_TRUE(SamePixels(first, second));

  // The same stroke appended from another thread while the worker paints.
  CSoftenPen live;
  Prepare(live, &third, style, 0, 12);
  live.AddPoint(point(0), 100);
  ASSERT_TRUE(live.Execute());
  std::thread host([&] {
    for (int i = 1; i < 40; ++i) live.AddPoint(point(i), static_cast<BYTE>(100 + i));
  });
  host.join();
  live.Wait();
  Paint(live, {});
  EXPECT_EQ(40, live.m_nProcessed);
  EXPECT_TRUE(SamePixels(first, third));
}

TEST(PenObject, PointsPackedAndSerializedWithTheStrokeAndTheShape) {
  TempDir dir;
  CDoublePen pen;
  pen.SetPenStyle(MakeStyle(6, 5).c_str(), RGB(9, 8, 7), 33);
  pen.m_PaperSize = CSize(640, 480);
  pen.SetPoints(CPoint(3, 4), CPoint(5, 6));
  pen.AddPoint(CPoint(40000, 5), 1);
  pen.AddPoint(CPoint(-1, 5), 250);
  pen.m_nProcessed = 2;
  ASSERT_TRUE(StoreEffect(dir.File("pen.vfx").c_str(), &pen));
  std::unique_ptr<CEffectObj> loaded(LoadEffect(dir.File("pen.vfx").c_str()));
  auto* copy = dynamic_cast<CDoublePen*>(loaded.get());
  ASSERT_NE(nullptr, copy);
  ASSERT_EQ(2, copy->m_Points.GetSize());
  const auto fields = [](const CDoublePen& p) {
    return std::make_tuple(std::string(p.m_strName), std::string(p.m_PenStyle), p.m_Color,
                           p.m_nSize, p.m_PaperSize, p.m_ptFirst, p.m_ptSecond, p.m_Points[0],
                           p.m_Points[1], p.m_Pressures[0], p.m_Pressures[1]);
  };
  EXPECT_EQ(fields(pen), fields(*copy));
  // Points are packed as 16-bit halves that wrap; a negative x borrows from y.
  EXPECT_EQ(CPoint(-25536, 5), CPenObject::UnpackPoint(copy->m_Points[0]));
  EXPECT_EQ(CPoint(-1, 4), CPenObject::UnpackPoint(copy->m_Points[1]));
  EXPECT_EQ(CSize(6, 5), copy->m_PenMask.GetMaskSize());
  EXPECT_EQ(0, copy->m_nProcessed);
}

// The pen styles read from a profile of the given text, one a line.
std::string ReadStyles(const TempDir& dir, const std::string& text) {
  WriteBytes(dir.File("pens.ini"), std::vector<std::uint8_t>(text.begin(), text.end()));
  AfxGetApp()->m_pszProfileName = dir.File("pens.ini").c_str();
  ReadPenStyles();
  AfxGetApp()->m_pszProfileName = "vardell.ini";
  std::string out;
  for (int i = 0; i < PenStyleList().GetSize(); ++i) out += std::string(PenStyleList()[i]) + "\n";
  return out;
}

TEST(PenStyles, ReadFromTheProfileAndJoinedToTheCurrentDirectory) {
  TempDir dir;
  const std::string cwd = std::filesystem::current_path().string() + "/";
  EXPECT_EQ(ReadStyles(dir, "[penstyle]\nCOUNT=2\nPen0=a.bmp\nPen1=\"name.bmp\"\n"),
            cwd + "a.bmp\n" + cwd + "name.bmp\n");
  // A count that is not a number reads as 0 and empties the list; missing entries stay empty.
  EXPECT_EQ(ReadStyles(dir, "[PenStyle]\ncount=abc\n"), "");
  EXPECT_EQ(ReadStyles(dir, "[PenStyle]\ncount= 1 \n"), cwd + "\n");
}

std::string Style(int side) { return MakeStyle(side, side); }

TEST(PenKinds, NamesAndSettings) {
  EXPECT_STREQ("\xC3\xC9\xC6\xAC\xC8\xE1\xBB\xAF\xB1\xCA", CMaskSoftenPen().m_strName);
  CSoftenPen soften;
  soften.SetMode(1);
  soften.SetMode(0);
  EXPECT_STREQ(pen_names::kSharpenPen, soften.m_strName);
  EXPECT_EQ(1, CSoftenPen::GetStrength(63));
  EXPECT_EQ(2, CSoftenPen::GetStrength(128));

  CPicture picture;
  picture.CreatePicture(30, 30, 0);
  CModifyPen modify;
  Prepare(modify, &picture, Style(4), 0, 6);
  EXPECT_FALSE(modify.CanExecute());
  // The mode's display name, and whether the pen can run with it.
  const auto mode = [&](int m, int amount) {
    modify.SetMode(m, amount);
    return std::string(modify.m_strName) + (modify.CanExecute() ? " runs" : "");
  };
  EXPECT_EQ(mode(1, -20), "-\xB6\xD4\xB1\xC8\xB6\xC8 runs");
  EXPECT_EQ(mode(2, 0), "-\xC9\xAB\xB6\xC8");
  EXPECT_EQ(mode(0, 5), "+\xC1\xC1\xB6\xC8 runs");
}

TEST(PenKinds, FingerPicksUpAtAMarkAndBlendsAnUnmarkedPointIntoItsLoad) {
  CPicture a, b, c, original;
  MakePattern(original, 40, 40);
  for (CPicture* p : {&a, &b, &c}) original.Duplicate(*p);
  // Unmarked first point at full pressure: the load is still the pen colour, laid at 200.
  CFingerPen finger;
  Prepare(finger, &a, Style(10), RGB(200, 10, 90), 10);
  Paint(finger, {{CPoint(20, 20), 255}});
  CWaterPen water;
  Prepare(water, &b, Style(10), RGB(200, 10, 90), 10);
  Paint(water, {{CPoint(20, 20), 200}});
  EXPECT_TRUE(SamePixels(a, b));
  // A marked point picks up the ground under it and lays it back where it was: nearly no change.
  CFingerPen pick;
  Prepare(pick, &c, Style(10), RGB(255, 255, 255), 10);
  Paint(pick, {{Marked(20, 20), 255}});
  for (int x = 15; x < 25; ++x) EXPECT_NEAR(*original.GetPixel(x, 17), *c.GetPixel(x, 17), 1);
}

TEST(PenKinds, ClonePenAndUndoPenCopyFromTheirSource) {
  CPicture picture, original, blank, source;
  MakePattern(picture, 300, 300);
  picture.Duplicate(original);
  // The clone offset is fixed by its two points.
  CDoublePen clone;
  Prepare(clone, &picture, Style(4), 0, 10);
  EXPECT_FALSE(clone.CanExecute());
  clone.SetPoints(CPoint(100, 100), CPoint(50, 60));
  Paint(clone, {{CPoint(205, 205), 255}});
  for (int i : {0, 9}) EXPECT_EQ(Px(picture, 200 + i, 200 + i), Px(original, 250 + i, 240 + i));
  // The undo pen needs its source and brings it back.
  blank.CreatePicture(40, 40, 0);
  MakePattern(source, 40, 40);
  CUndoPen undo;
  Prepare(undo, &blank, Style(4), 0, 8);
  EXPECT_FALSE(undo.CanExecute());
  Prepare(undo, &blank, Style(4), 0, 8, &source);
  Paint(undo, {{CPoint(20, 20), 255}});
  for (int xy : {16, 23}) EXPECT_EQ(Px(blank, xy, xy), Px(source, xy, xy));
  EXPECT_EQ(0u, Px(blank, 24, 24));
}

TEST(PenKinds, MaskPensPaintTheTargetMask) {
  CPicture picture;
  picture.CreatePicture(40, 40, 0);
  CMask mask, expected, square;
  mask.CreateMask(40, 40, 0);
  mask.Rectangle(CRect(0, 0, 20, 40), 255);
  mask.Duplicate(&expected);
  CMaskSoftenPen soften;
  Prepare(soften, &picture, Style(4), 0, 10);
  EXPECT_EQ(0, soften.SetPaperSize());  // no target mask: nothing to measure
  EXPECT_FALSE(soften.CanExecute());
  Prepare(soften, &picture, Style(4), 0, 10, nullptr, &mask);
  Paint(soften, {{CPoint(20, 20), 0}});
  square.CreateMask(10, 10, 255);
  expected.Draw(square, square.GetMaskRect(), CRect(15, 15, 25, 25), 0);
  square.Soften(3);
  square.Draw(expected, CRect(15, 15, 25, 25), square.GetMaskRect(), 0);
  for (int x = 10; x < 30; ++x) EXPECT_EQ(*expected.GetPixel(x, 20), *mask.GetPixel(x, 20)) << x;

  CMaskPen add;
  Prepare(add, &picture, Style(4), 0, 4, nullptr, &mask);
  Paint(add, {{CPoint(32, 32), 255}});
  EXPECT_EQ(255, *mask.GetPixel(30, 30));
  EXPECT_EQ(0, *mask.GetPixel(34, 34));
}

TEST(PenKinds, LimitingMaskConfinesTheFootprint) {
  CPicture picture;
  picture.CreatePicture(40, 40, 255);
  CMask limit;
  limit.CreateMask(20, 20, 0);
  limit.Rectangle(CRect(0, 0, 10, 20), 255);
  CWaterPen pen;
  pen.SetMask(limit);
  Prepare(pen, &picture, Style(8), RGB(0, 0, 0), 10);
  Paint(pen, {{CPoint(20, 20), 255}});
  // The limit is half the picture's size: its left half maps onto x < 20.
  EXPECT_EQ(0, *picture.GetPixel(16, 20));
  EXPECT_EQ(255, *picture.GetPixel(22, 20));
}

TEST(PenKinds, ModifyPenStartsEveryPointFromTheStrokeSnapshot) {
  CPicture once, twice;
  once.CreatePicture(40, 40, 100);
  twice.CreatePicture(40, 40, 100);
  CModifyPen a, b;
  for (CModifyPen* pen : {&a, &b}) {
    Prepare(*pen, pen == &a ? &once : &twice, Style(4), 0, 8);
    pen->SetMode(0, 30);
    pen->AddPoint(Marked(20, 20), 255);
  }
  Paint(a, {});
  Paint(b, {{CPoint(20, 20), 255}});
  EXPECT_NE(100, *once.GetPixel(20, 20));
  EXPECT_TRUE(SamePixels(once, twice));
  // A new stroke adds on top.
  Paint(b, {{Marked(20, 20), 255}});
  EXPECT_GT(*twice.GetPixel(20, 20), *once.GetPixel(20, 20));
}

}  // namespace
}  // namespace vardell::test
