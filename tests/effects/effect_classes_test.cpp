// Each effect class against the picture operation it records (argument order, the light's paper
// scaling, the gray balance's two passes), and CMultiEffects running its list.
#include "effect_test_util.h"

#include <gtest/gtest.h>

namespace vardell::test {
namespace {

// The effect run on a copy of the picture gives what op gives on another copy.
void ExpectSameAs(CEffectObj& effect, const CPicture& original,
                  const std::function<void(CPicture&)>& op) {
  CPicture byEffect, byOp;
  original.Duplicate(byEffect);
  CopyWith(original, byOp, op);
  RunEffect(effect, byEffect);
  EXPECT_EQ(Pixels(byEffect), Pixels(byOp));
  EXPECT_NE(Pixels(byOp), Pixels(original)) << "the case should change the picture";
}

TEST(EffectClasses, EachRunsItsOperationWithItsParameters) {
  CPicture original;
  FillRandom(original, 21, 13, 3);

  CColorAdjust adjust;
  adjust.m_nHue = 30;
  adjust.m_nSaturation = 20;
  adjust.m_nBrightness = 10;
  adjust.m_nContrast = 15;
  adjust.m_nRed = 5;
  adjust.m_nBlue = -7;
  adjust.m_nGreen = 3;
  ExpectSameAs(adjust, original, [](CPicture& p) { p.ColorAdjust(10, 15, 30, 20, 5, 3, -7); });

  CSoften soften;
  EXPECT_EQ(soften.m_wRadius, 1);
  soften.m_wRadius = 2;
  ExpectSameAs(soften, original, [](CPicture& p) { p.Soften(2); });

  CSharpen sharpen;
  sharpen.m_nStrength = 3;
  ExpectSameAs(sharpen, original, [](CPicture& p) { p.Sharpen(3); });

  CGray gray;
  ExpectSameAs(gray, original, [](CPicture& p) { p.ConvertToGray(); });

  CMirror mirror;
  EXPECT_EQ(mirror.m_byMirror, 1);
  ExpectSameAs(mirror, original, [](CPicture& p) { p.Mirror(); });

  // The channel curves first, then the master curve on all three channels.
  CGrayBalance balance;
  balance.SetCurve(CGrayBalance::red, 10, 240, 0.8, 0, 255);
  balance.SetCurve(CGrayBalance::green, 0, 200, 1.0, 20, 250);
  balance.SetCurve(CGrayBalance::blue, 30, 255, 1.5, 5, 230);
  balance.SetCurve(CGrayBalance::master, 20, 220, 1.2, 10, 245);
  ExpectSameAs(balance, original, [](CPicture& p) {
    p.GrayBalance(10, 240, 0.8, 0, 200, 1.0, 30, 255, 1.5, 0, 255, 20, 250, 5, 230);
    p.GrayBalance(20, 220, 1.2, 20, 220, 1.2, 20, 220, 1.2, 10, 245, 10, 245, 10, 245);
  });
  // Only the master curve set: the channel pass is refused and only the master pass runs.
  CGrayBalance masterOnly;
  masterOnly.SetCurve(CGrayBalance::master, 20, 220, 1.2, 10, 245);
  ExpectSameAs(masterOnly, original, [](CPicture& p) {
    p.GrayBalance(20, 220, 1.2, 20, 220, 1.2, 20, 220, 1.2, 10, 245, 10, 245, 10, 245);
  });
}

TEST(EffectClasses, LightScalesFromItsPaperSize) {
  CPicture original;
  original.CreatePicture(40, 30, 40);
  CLight light;
  light.SetLightParams(CPoint(7, 5), CPoint(12, 11), 20, 9, RGB(200, 180, 90), 80, 35);
  // Without a paper size the stored values are used as they are.
  ExpectSameAs(light, original, [](CPicture& p) {
    p.DrawLight(CPoint(7, 5), CPoint(12, 11), 20, 9, RGB(200, 180, 90), 80, 35);
  });
  // A paper half the target's size doubles the points and both lengths.
  light.m_PaperSize = CSize(20, 15);
  ExpectSameAs(light, original, [](CPicture& p) {
    p.DrawLight(CPoint(14, 10), CPoint(24, 22), 40, 18, RGB(200, 180, 90), 80, 35);
  });
  // 40/30 and 30/20: x by 1.333, y by 1.5, lengths by their mean 1.4167, each truncated.
  light.m_PaperSize = CSize(30, 20);
  ExpectSameAs(light, original, [](CPicture& p) {
    p.DrawLight(CPoint(9, 7), CPoint(16, 16), 28, 12, RGB(200, 180, 90), 80, 35);
  });
  // SetPaperSize takes the target's size; with none set it changes nothing.
  CLight other;
  other.SetPaperSize();
  EXPECT_EQ(other.m_PaperSize, CSize(0, 0));
  other.SetPictures(&original, nullptr, nullptr);
  other.SetPaperSize();
  EXPECT_EQ(other.m_PaperSize, CSize(40, 30));
}

// Copies the before-picture it is given, so that a test can see it.
class CBeforeProbe : public CEffectObj {
 public:
  CBeforeProbe() { m_pfnWorker = Worker; }
  ~CBeforeProbe() override { StopWorker(); }
  CPicture m_seen;

 private:
  static UINT Worker(LPVOID param) {
    auto* self = static_cast<CBeforeProbe*>(param);
    self->m_seen.DeleteObject();
    if (self->m_pBefore && self->m_pBefore->IsValid()) self->m_pBefore->Duplicate(self->m_seen);
    return self->EndWorker();
  }
};

TEST(EffectClasses, MultiEffectsRunsItsListInOrder) {
  CPicture original;
  FillRandom(original, 19, 11, 5);

  CMultiEffects empty;
  EXPECT_TRUE(empty.CanExecute());
  CPicture untouched;
  original.Duplicate(untouched);
  RunEffect(empty, untouched);
  EXPECT_EQ(Pixels(untouched), Pixels(original));

  // Soften, then a probe that wants the picture as it is now, then brightness: the children run
  // one after another on each other's results.
  CMultiEffects list;
  auto* soften = new CSoften;
  soften->m_wRadius = 2;
  auto* probe = new CBeforeProbe;
  probe->m_bNeedBefore = 1;
  auto* adjust = new CColorAdjust;
  adjust->m_nBrightness = 40;
  list.AddEffect(soften);
  list.AddEffect(probe);
  list.AddEffect(adjust);
  ASSERT_EQ(list.GetCount(), 3);
  CPicture expected, softened;
  CopyWith(original, softened, [](CPicture& p) { p.Soften(2); });
  CopyWith(softened, expected, [](CPicture& p) { p.ColorAdjust(40, 0, 0, 0, 0, 0, 0); });
  CPicture result;
  original.Duplicate(result);
  RunEffect(list, result);
  EXPECT_EQ(list.m_bRunning.load(), 0);
  EXPECT_EQ(Pixels(result), Pixels(expected));
  EXPECT_EQ(Pixels(probe->m_seen), Pixels(softened));
  // Afterwards the children point at the target and no longer at the worker's temporaries.
  EXPECT_EQ(probe->m_pTarget, &result);
  EXPECT_EQ(probe->m_pBefore, nullptr);

  // Without the flag the before-picture is not refreshed: the probe sees it empty.
  probe->m_bNeedBefore = 0;
  original.Duplicate(result);
  RunEffect(list, result);
  EXPECT_FALSE(probe->m_seen.IsValid());

  // A disabled child is skipped; a disabled list runs nothing.
  soften->m_bEnable = 0;
  original.Duplicate(result);
  RunEffect(list, result);
  CPicture adjusted;
  CopyWith(original, adjusted, [](CPicture& p) { p.ColorAdjust(40, 0, 0, 0, 0, 0, 0); });
  EXPECT_EQ(Pixels(result), Pixels(adjusted));
  list.m_bEnable = 0;
  original.Duplicate(result);
  RunEffect(list, result);
  EXPECT_EQ(Pixels(result), Pixels(original));
}

TEST(EffectClasses, MultiEffectsThroughItsOwnMask) {
  CPicture original;
  FillRandom(original, 22, 8, 9);
  CMultiEffects list;
  auto* soften = new CSoften;
  soften->m_wRadius = 3;
  list.AddEffect(soften);
  list.AddEffect(new CGray);
  CPicture whole;
  original.Duplicate(whole);
  RunEffect(list, whole);

  CMask mask;
  MakeHalfMask(mask, 22, 8);
  list.SetMask(mask);
  CPicture masked;
  original.Duplicate(masked);
  RunEffect(list, masked);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 22; ++x) {
      if (x < 11) {
        ASSERT_EQ(PixelAt(masked, x, y), PixelAt(whole, x, y)) << x << "," << y;
      }
      if (x > 11) {
        ASSERT_EQ(PixelAt(masked, x, y), PixelAt(original, x, y)) << x << "," << y;
      }
    }
}

}  // namespace
}  // namespace vardell::test
