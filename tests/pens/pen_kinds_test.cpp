#include "pen_test_util.h"

#include "pens/pen_names.h"

namespace {

using namespace vardell::test;

TEST(PenKinds, NamesAndSettings) {
  EXPECT_STREQ(vardell::pen_names::kWaterPen, CWaterPen().m_strName);
  EXPECT_STREQ("\xC3\xC9\xC6\xAC\xC8\xE1\xBB\xAF\xB1\xCA", CMaskSoftenPen().m_strName);
  CSoftenPen soften;
  soften.SetMode(1);
  soften.SetMode(0);
  EXPECT_STREQ(vardell::pen_names::kSharpenPen, soften.m_strName);
  EXPECT_EQ(0, soften.m_nMode);
  EXPECT_EQ(1, CSoftenPen::GetStrength(63));
  EXPECT_EQ(1, CSoftenPen::GetStrength(64));
  EXPECT_EQ(2, CSoftenPen::GetStrength(128));

  TempDir dir;
  CPicture picture;
  picture.CreatePicture(30, 30, 0);
  CModifyPen modify;
  modify.SetPictures(&picture, nullptr, nullptr);
  modify.SetPenStyle(MakeStyle(dir, 4, 4).c_str(), 0, 6);
  EXPECT_FALSE(modify.CanExecute());
  modify.SetMode(1, -20);
  EXPECT_STREQ("-\xB6\xD4\xB1\xC8\xB6\xC8", modify.m_strName);
  EXPECT_TRUE(modify.CanExecute());
  modify.SetMode(2, 0);
  EXPECT_STREQ("-\xC9\xAB\xB6\xC8", modify.m_strName);
  EXPECT_FALSE(modify.CanExecute());
  modify.SetMode(0, 5);
  EXPECT_STREQ("+\xC1\xC1\xB6\xC8", modify.m_strName);
}

CPoint PostedCorner(CPenObject& pen, CPoint at) {
  CWnd wnd;
  wnd.CreateMessageWindow();
  pen.SetDisplay(&wnd, WM_USER);
  pen.AddPoint(at, 255);
  RunPen(pen);
  MSG msg{};
  EXPECT_TRUE(wnd.PeekPostedMessage(msg));
  pen.SetDisplay(nullptr, 0);
  return CPenObject::UnpackPoint(static_cast<DWORD>(msg.lParam));
}

TEST(PenKinds, StrokeStartMarkOnlyForFingerAndModifyPens) {
  TempDir dir;
  const std::string style = MakeStyle(dir, 4, 4);
  CPicture picture;
  MakePattern(picture, 50, 50);
  CFingerPen finger;
  finger.SetPictures(&picture, nullptr, nullptr);
  finger.SetPenStyle(style.c_str(), 0, 10);
  // Read as (-6383, -6383); the posted corner's negative x borrows from y when packed.
  EXPECT_EQ(CPoint(-6388, -6389), PostedCorner(finger, CPoint(10001, 10001)));
  CWaterPen water;
  water.SetPictures(&picture, nullptr, nullptr);
  water.SetPenStyle(style.c_str(), 0, 10);
  EXPECT_EQ(CPoint(9996, 9996), PostedCorner(water, CPoint(10001, 10001)));
}

TEST(PenKinds, FingerPicksUpAtAMarkAndBlendsAnUnmarkedPointIntoItsLoad) {
  TempDir dir;
  const std::string style = MakeStyle(dir, 10, 10);
  CPicture a, b;
  MakePattern(a, 40, 40);
  a.Duplicate(b);
  // Unmarked first point at full pressure: the load is still the pen colour, laid at 200.
  CFingerPen finger;
  finger.SetPictures(&a, nullptr, nullptr);
  finger.SetPenStyle(style.c_str(), RGB(200, 10, 90), 10);
  finger.AddPoint(CPoint(20, 20), 255);
  RunPen(finger);
  CWaterPen water;
  water.SetPictures(&b, nullptr, nullptr);
  water.SetPenStyle(style.c_str(), RGB(200, 10, 90), 10);
  water.AddPoint(CPoint(20, 20), 200);
  RunPen(water);
  EXPECT_TRUE(SamePixels(a, b));

  // A marked point picks up the ground under it and lays it back where it was: nearly no change.
  CPicture c, original;
  MakePattern(c, 40, 40);
  c.Duplicate(original);
  CFingerPen pick;
  pick.SetPictures(&c, nullptr, nullptr);
  pick.SetPenStyle(style.c_str(), RGB(255, 255, 255), 10);
  pick.AddPoint(CPoint(20 + 16384, 20 + 16384), 255);
  RunPen(pick);
  EXPECT_EQ(CSize(10, 10), pick.m_ColorPic.GetPictureSize());
  for (int x = 15; x < 25; ++x) EXPECT_NEAR(*original.GetPixel(x, 17), *c.GetPixel(x, 17), 1);
}

TEST(PenKinds, CloneOffsetIsFixedByItsTwoPoints) {
  TempDir dir;
  CPicture picture, original;
  MakePattern(picture, 300, 300);
  picture.Duplicate(original);
  CDoublePen pen;
  pen.SetPictures(&picture, nullptr, nullptr);
  pen.SetPenStyle(MakeStyle(dir, 4, 4).c_str(), 0, 10);
  EXPECT_FALSE(pen.CanExecute());
  pen.SetPoints(CPoint(100, 100), CPoint(50, 60));
  pen.AddPoint(CPoint(205, 205), 255);
  pen.AddPoint(CPoint(55, 65), 255);
  RunPen(pen);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(
        0, std::memcmp(picture.GetPixel(200 + i, 200 + i), original.GetPixel(250 + i, 240 + i), 3));
    EXPECT_EQ(
        0, std::memcmp(picture.GetPixel(50 + i, 60 + i), original.GetPixel(100 + i, 100 + i), 3));
  }
}

TEST(PenKinds, UndoPenNeedsItsSourceAndBringsItBack) {
  TempDir dir;
  CPicture picture, source;
  picture.CreatePicture(40, 40, 0);
  MakePattern(source, 40, 40);
  CUndoPen pen;
  pen.SetPictures(&picture, nullptr, nullptr);
  pen.SetPenStyle(MakeStyle(dir, 4, 4).c_str(), 0, 8);
  EXPECT_FALSE(pen.CanExecute());
  pen.SetPictures(&picture, &source, nullptr);
  pen.AddPoint(CPoint(20, 20), 255);
  RunPen(pen);
  EXPECT_EQ(0, std::memcmp(picture.GetPixel(16, 16), source.GetPixel(16, 16), 3));
  EXPECT_EQ(0, std::memcmp(picture.GetPixel(23, 23), source.GetPixel(23, 23), 3));
  EXPECT_EQ(0, *picture.GetPixel(24, 24));
}

TEST(PenKinds, MaskPensPaintTheTargetMask) {
  TempDir dir;
  CPicture picture;
  picture.CreatePicture(40, 40, 0);
  CMask mask, expected;
  mask.CreateMask(40, 40, 0);
  mask.Rectangle(CRect(0, 0, 20, 40), 255);
  mask.Duplicate(&expected);

  CMaskSoftenPen soften;
  soften.SetPictures(&picture, nullptr, nullptr);
  soften.SetPenStyle(MakeStyle(dir, 4, 4).c_str(), 0, 10);
  EXPECT_EQ(0, soften.SetPaperSize());
  EXPECT_FALSE(soften.CanExecute());
  soften.SetPictures(&picture, nullptr, &mask);
  soften.AddPoint(CPoint(20, 20), 0);
  RunPen(soften);
  CMask square;
  square.CreateMask(10, 10, 255);
  expected.Draw(square, square.GetMaskRect(), CRect(15, 15, 25, 25), 0);
  square.Soften(3);
  square.Draw(expected, CRect(15, 15, 25, 25), square.GetMaskRect(), 0);
  for (int x = 10; x < 30; ++x) EXPECT_EQ(*expected.GetPixel(x, 20), *mask.GetPixel(x, 20)) << x;
  EXPECT_NE(255, *mask.GetPixel(19, 20));

  CMaskPen add;
  add.SetPictures(&picture, nullptr, &mask);
  add.SetPenStyle(MakeStyle(dir, 4, 4).c_str(), 0, 4);
  add.AddPoint(CPoint(32, 32), 255);
  RunPen(add);
  EXPECT_EQ(255, *mask.GetPixel(30, 30));
  EXPECT_EQ(0, *mask.GetPixel(34, 34));
}

TEST(PenKinds, LimitingMaskConfinesTheFootprint) {
  TempDir dir;
  CPicture picture;
  picture.CreatePicture(40, 40, 255);
  CMask limit;
  limit.CreateMask(20, 20, 0);
  limit.Rectangle(CRect(0, 0, 10, 20), 255);
  CWaterPen pen;
  pen.SetPictures(&picture, nullptr, nullptr);
  pen.SetMask(limit);
  pen.SetPenStyle(MakeStyle(dir, 8, 8).c_str(), RGB(0, 0, 0), 10);
  pen.AddPoint(CPoint(20, 20), 255);
  RunPen(pen);
  // The limit is half the picture's size: its left half maps onto x < 20.
  EXPECT_EQ(0, *picture.GetPixel(16, 20));
  EXPECT_EQ(255, *picture.GetPixel(22, 20));
}

TEST(PenKinds, ModifyPenStartsEveryPointFromTheStrokeSnapshot) {
  TempDir dir;
  const std::string style = MakeStyle(dir, 4, 4);
  CPicture once, twice;
  once.CreatePicture(40, 40, 100);
  twice.CreatePicture(40, 40, 100);
  CModifyPen a, b;
  for (CModifyPen* pen : {&a, &b}) {
    pen->SetPictures(pen == &a ? &once : &twice, nullptr, nullptr);
    pen->SetPenStyle(style.c_str(), 0, 8);
    pen->SetMode(0, 30);
    pen->AddPoint(CPoint(20 + 16384, 20 + 16384), 255);
  }
  b.AddPoint(CPoint(20, 20), 255);
  RunPen(a);
  RunPen(b);
  EXPECT_NE(100, *once.GetPixel(20, 20));
  EXPECT_TRUE(SamePixels(once, twice));
  // A new stroke adds on top.
  b.AddPoint(CPoint(20 + 16384, 20 + 16384), 255);
  RunPen(b);
  EXPECT_GT(*twice.GetPixel(20, 20), *once.GetPixel(20, 20));
}

}  // namespace
