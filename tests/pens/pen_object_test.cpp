#include "pen_test_util.h"

#include "effects/effect_document.h"

#include <thread>

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

// Paints one black square with a full-strength water pen and reads the posted message.
struct Square {
  CRect painted;
  WPARAM side;
  CPoint corner;
};
Square PaintSquare(CSize target, CSize paper, UINT size, CPoint at) {
  TempDir dir;
  CPicture picture;
  picture.CreatePicture(target.cx, target.cy, 255);
  CWnd wnd;
  wnd.CreateMessageWindow();
  CWaterPen pen;
  pen.SetPictures(&picture, nullptr, nullptr);
  pen.SetPenStyle(MakeStyle(dir, 8, 8).c_str(), RGB(0, 0, 0), size);
  pen.SetDisplay(&wnd, WM_USER + 7);
  pen.m_PaperSize = paper;
  pen.AddPoint(at, 255);
  RunPen(pen);
  Square s{CRect(0, 0, 0, 0), 0, CPoint(0, 0)};
  for (int y = 0; y < target.cy; ++y)
    for (int x = 0; x < target.cx; ++x)
      if (*picture.GetPixel(x, y) != 255) s.painted.UnionRect(s.painted, CRect(x, y, x + 1, y + 1));
  MSG msg;
  EXPECT_TRUE(wnd.PeekPostedMessage(msg));
  EXPECT_EQ(WM_USER + 7, msg.message);
  s.side = msg.wParam;
  s.corner = CPenObject::UnpackPoint(static_cast<DWORD>(msg.lParam));
  return s;
}

TEST(PenObject, FootprintScaledByTargetOverPaperWithItsCornerAtHalfTheSize) {
  const Square plain = PaintSquare(CSize(60, 60), CSize(0, 0), 10, CPoint(30, 30));
  EXPECT_EQ(CRect(25, 25, 35, 35), plain.painted);
  EXPECT_EQ(10u, plain.side);
  const Square doubled = PaintSquare(CSize(1600, 1200), CSize(800, 600), 10, CPoint(100, 100));
  EXPECT_EQ(CRect(190, 190, 210, 210), doubled.painted);
  EXPECT_EQ(20u, doubled.side);
  EXPECT_EQ(CPoint(190, 190), doubled.corner);
  const Square odd = PaintSquare(CSize(40, 40), CSize(0, 0), 7, CPoint(20, 20));
  EXPECT_EQ(CRect(17, 17, 24, 24), odd.painted);
  EXPECT_EQ(CPoint(17, 17), odd.corner);
}

TEST(PenObject, ResetRepaintsTheWholeQueueAndAppendsWhileRunningAreKept) {
  TempDir dir;
  const std::string style = MakeStyle(dir, 16, 16, 180);
  CPicture first, second, third;
  MakePattern(first, 120, 80);
  first.Duplicate(second);
  first.Duplicate(third);

  CSoftenPen pen;
  pen.SetPictures(&first, nullptr, nullptr);
  pen.SetPenStyle(style.c_str(), 0, 12);
  for (int i = 0; i < 40; ++i) pen.AddPoint(CPoint(10 + 2 * i, 20 + i), static_cast<BYTE>(100 + i));
  RunPen(pen);
  EXPECT_EQ(40, pen.m_nProcessed);
  EXPECT_FALSE(SamePixels(first, third));

  pen.Reset();
  EXPECT_EQ(0, pen.m_nProcessed);
  pen.SetPictures(&second, nullptr, nullptr);
  RunPen(pen);
  EXPECT_TRUE(SamePixels(first, second));

  // The same stroke appended from another thread while the worker paints.
  CSoftenPen live;
  live.SetPictures(&third, nullptr, nullptr);
  live.SetPenStyle(style.c_str(), 0, 12);
  live.AddPoint(CPoint(10, 20), 100);
  ASSERT_TRUE(live.Execute());
  std::thread host([&] {
    for (int i = 1; i < 40; ++i)
      live.AddPoint(CPoint(10 + 2 * i, 20 + i), static_cast<BYTE>(100 + i));
  });
  host.join();
  live.Wait();
  RunPen(live);
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
  EXPECT_EQ(pen.m_strName, copy->m_strName);
  ASSERT_EQ(2, copy->m_Points.GetSize());
  EXPECT_EQ(pen.m_Points[0], copy->m_Points[0]);
  EXPECT_EQ(250, copy->m_Pressures[1]);
  EXPECT_EQ(pen.m_PenStyle, copy->m_PenStyle);
  EXPECT_EQ(RGB(9, 8, 7), copy->m_Color);
  EXPECT_EQ(33u, copy->m_nSize);
  EXPECT_EQ(CSize(640, 480), copy->m_PaperSize);
  EXPECT_EQ(CSize(6, 5), copy->m_PenMask.GetMaskSize());
  EXPECT_EQ(CPoint(3, 4), copy->m_ptFirst);
  EXPECT_EQ(CPoint(5, 6), copy->m_ptSecond);
  EXPECT_EQ(0, copy->m_nProcessed);
}

}  // namespace
