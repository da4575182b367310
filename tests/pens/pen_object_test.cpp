#include "pen_test_util.h"

#include "effects/effect_document.h"
#include "pens/pen_styles.h"
#include "platform/profile.h"

#include <filesystem>
#include <thread>
#include <tuple>

namespace {

using namespace vardell::test;

TEST(PenObject, PointsPackedAsSixteenBitHalvesThatWrap) {
  CPenObject pen;
  pen.AddPoint(CPoint(40000, 5), 9);
  pen.AddPoint(CPoint(-1, 5), 10);
  ASSERT_EQ(2, pen.m_Points.GetSize());
  EXPECT_EQ(0x00059C40u, pen.m_Points[0]);
  EXPECT_EQ(CPoint(-25536, 5), CPenObject::UnpackPoint(pen.m_Points[0]));
  // A negative x borrows from y.
  EXPECT_EQ(CPoint(-1, 4), CPenObject::UnpackPoint(pen.m_Points[1]));
  EXPECT_EQ(10, pen.m_Pressures[1]);
}

TEST(PenObject, StyleOfZeroSizePassesButThePenRefusesToRun) {
  TempDir dir;
  ErrorRecorder errors;
  CPicture target;
  target.CreatePicture(20, 20, 0);
  CWaterPen pen;
  pen.SetPictures(&target, nullptr, nullptr);
  EXPECT_EQ(1, pen.SetPenStyle(dir.File("none.bmp").c_str(), RGB(1, 2, 3), 5));
  // LoadMask may tell about the unreadable file; the size test itself says nothing.
  for (const std::string& text : errors.texts())
    EXPECT_EQ(std::string::npos, text.find("Cannot get the size"));
  EXPECT_STREQ(dir.File("none.bmp").c_str(), pen.m_PenStyle);
  EXPECT_FALSE(pen.CanExecute());
  EXPECT_FALSE(pen.Execute());
  pen.SetPenStyle(MakeStyle(dir, 4, 4).c_str(), RGB(1, 2, 3), 5);
  EXPECT_TRUE(pen.CanExecute());
  EXPECT_EQ(CSize(10, 10), pen.m_ColorPic.GetPictureSize());
}

// Paints one black square with a full-strength water pen; answers the painted rectangle, then the
// side and corner of the posted message.
std::tuple<CRect, WPARAM, CPoint> PaintSquare(CSize target, CSize paper, UINT size, CPoint at) {
  TempDir dir;
  CPicture picture;
  picture.CreatePicture(target.cx, target.cy, 255);
  CWaterPen pen;
  Prepare(pen, &picture, MakeStyle(dir, 8, 8), RGB(0, 0, 0), size);
  pen.m_PaperSize = paper;
  const MSG msg = PaintShown(pen, {{at, 255}}, WM_USER + 7);
  CRect painted(0, 0, 0, 0);
  for (int y = 0; y < target.cy; ++y)
    for (int x = 0; x < target.cx; ++x)
      if (*picture.GetPixel(x, y) != 255) painted.UnionRect(painted, CRect(x, y, x + 1, y + 1));
  return {painted, msg.wParam, CPenObject::UnpackPoint(static_cast<DWORD>(msg.lParam))};
}

TEST(PenObject, FootprintScaledByTargetOverPaperWithItsCornerAtHalfTheSize) {
  using Square = std::tuple<CRect, WPARAM, CPoint>;
  EXPECT_EQ(PaintSquare(CSize(60, 60), CSize(0, 0), 10, CPoint(30, 30)),
            Square(CRect(25, 25, 35, 35), 10, CPoint(25, 25)));
  EXPECT_EQ(PaintSquare(CSize(1600, 1200), CSize(800, 600), 10, CPoint(100, 100)),
            Square(CRect(190, 190, 210, 210), 20, CPoint(190, 190)));
  EXPECT_EQ(PaintSquare(CSize(40, 40), CSize(0, 0), 7, CPoint(20, 20)),
            Square(CRect(17, 17, 24, 24), 7, CPoint(17, 17)));
}

TEST(PenObject, ResetRepaintsTheWholeQueueAndAppendsWhileRunningAreKept) {
  TempDir dir;
  const std::string style = MakeStyle(dir, 16, 16, 180);
  CPicture first, second, third;
  MakePattern(first, 120, 80);
  first.Duplicate(second);
  first.Duplicate(third);
  const auto point = [](int i) { return CPoint(10 + 2 * i, 20 + i); };

  CSoftenPen pen;
  Prepare(pen, &first, style, 0, 12);
  for (int i = 0; i < 40; ++i) pen.AddPoint(point(i), static_cast<BYTE>(100 + i));
  Paint(pen, {});
  EXPECT_EQ(40, pen.m_nProcessed);
  EXPECT_FALSE(SamePixels(first, third));
  pen.Reset();
  EXPECT_EQ(0, pen.m_nProcessed);
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

TEST(PenObject, SerializeKeepsTheStrokeAndReloadsTheShape) {
  TempDir dir;
  CDoublePen pen;
  pen.SetPenStyle(MakeStyle(dir, 6, 5).c_str(), RGB(9, 8, 7), 33);
  pen.m_PaperSize = CSize(640, 480);
  pen.SetPoints(CPoint(3, 4), CPoint(5, 6));
  pen.AddPoint(CPoint(-3, 70), 1);
  pen.AddPoint(CPoint(400, 2), 250);
  pen.m_nProcessed = 2;
  const std::string doc = dir.File("pen.vfx");
  ASSERT_TRUE(StoreEffect(doc.c_str(), &pen));
  std::unique_ptr<CEffectObj> loaded(LoadEffect(doc.c_str()));
  auto* copy = dynamic_cast<CDoublePen*>(loaded.get());
  ASSERT_NE(nullptr, copy);
  ASSERT_EQ(2, copy->m_Points.GetSize());
  const auto fields = [](const CDoublePen& p) {
    return std::make_tuple(std::string(p.m_strName), std::string(p.m_PenStyle), p.m_Color,
                           p.m_nSize, p.m_PaperSize, p.m_ptFirst, p.m_ptSecond, p.m_Points[0],
                           p.m_Points[1], p.m_Pressures[0], p.m_Pressures[1]);
  };
  EXPECT_EQ(fields(pen), fields(*copy));
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

}  // namespace
