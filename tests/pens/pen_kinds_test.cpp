#include "pen_test_util.h"

#include "pens/pen_names.h"

namespace {

using namespace vardell::test;

class PenKinds : public ::testing::Test {
 protected:
  std::string Style(int side) { return MakeStyle(m_dir, side, side); }
  TempDir m_dir;
};

TEST_F(PenKinds, NamesAndSettings) {
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

TEST_F(PenKinds, StrokeStartMarkOnlyForFingerAndModifyPens) {
  CPicture picture;
  MakePattern(picture, 50, 50);
  CFingerPen finger;
  CWaterPen water;
  // The finger pen reads (-6383, -6383); its posted corner's negative x borrows from y when
  // packed. The water pen takes the point as it is.
  const std::pair<CPenObject*, CPoint> cases[] = {{&finger, CPoint(-6388, -6389)},
                                                  {&water, CPoint(9996, 9996)}};
  for (const auto& [pen, corner] : cases) {
    Prepare(*pen, &picture, Style(4), 0, 10);
    const MSG msg = PaintShown(*pen, {{CPoint(10001, 10001), 255}});
    EXPECT_EQ(corner, CPenObject::UnpackPoint(static_cast<DWORD>(msg.lParam)));
  }
}

TEST_F(PenKinds, FingerPicksUpAtAMarkAndBlendsAnUnmarkedPointIntoItsLoad) {
  CPicture a, b, c, original;
  MakePattern(a, 40, 40);
  a.Duplicate(b);
  a.Duplicate(c);
  a.Duplicate(original);
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
  EXPECT_EQ(CSize(10, 10), pick.m_ColorPic.GetPictureSize());
  for (int x = 15; x < 25; ++x) EXPECT_NEAR(*original.GetPixel(x, 17), *c.GetPixel(x, 17), 1);
}

TEST_F(PenKinds, ClonePenAndUndoPenCopyFromTheirSource) {
  CPicture picture, original, blank, source;
  MakePattern(picture, 300, 300);
  picture.Duplicate(original);
  // The clone offset is fixed by its two points.
  CDoublePen clone;
  Prepare(clone, &picture, Style(4), 0, 10);
  EXPECT_FALSE(clone.CanExecute());
  clone.SetPoints(CPoint(100, 100), CPoint(50, 60));
  Paint(clone, {{CPoint(205, 205), 255}, {CPoint(55, 65), 255}});
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(Px(picture, 200 + i, 200 + i), Px(original, 250 + i, 240 + i));
    EXPECT_EQ(Px(picture, 50 + i, 60 + i), Px(original, 100 + i, 100 + i));
  }
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

TEST_F(PenKinds, MaskPensPaintTheTargetMask) {
  CPicture picture;
  picture.CreatePicture(40, 40, 0);
  CMask mask, expected, square;
  mask.CreateMask(40, 40, 0);
  mask.Rectangle(CRect(0, 0, 20, 40), 255);
  mask.Duplicate(&expected);
  CMaskSoftenPen soften;
  Prepare(soften, &picture, Style(4), 0, 10);
  EXPECT_EQ(0, soften.SetPaperSize());
  EXPECT_FALSE(soften.CanExecute());
  Prepare(soften, &picture, Style(4), 0, 10, nullptr, &mask);
  Paint(soften, {{CPoint(20, 20), 0}});
  square.CreateMask(10, 10, 255);
  expected.Draw(square, square.GetMaskRect(), CRect(15, 15, 25, 25), 0);
  square.Soften(3);
  square.Draw(expected, CRect(15, 15, 25, 25), square.GetMaskRect(), 0);
  for (int x = 10; x < 30; ++x) EXPECT_EQ(*expected.GetPixel(x, 20), *mask.GetPixel(x, 20)) << x;
  EXPECT_NE(255, *mask.GetPixel(19, 20));

  CMaskPen add;
  Prepare(add, &picture, Style(4), 0, 4, nullptr, &mask);
  Paint(add, {{CPoint(32, 32), 255}});
  EXPECT_EQ(255, *mask.GetPixel(30, 30));
  EXPECT_EQ(0, *mask.GetPixel(34, 34));
}

TEST_F(PenKinds, LimitingMaskConfinesTheFootprint) {
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

TEST_F(PenKinds, ModifyPenStartsEveryPointFromTheStrokeSnapshot) {
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
