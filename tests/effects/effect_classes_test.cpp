// Each effect class against the picture operation it records (argument order, the light's paper
// scaling, the gray balance's two passes), and CMultiEffects running its list.
#include "effect_test_util.h"

#include <gtest/gtest.h>

#include <memory>

namespace vardell::test {
namespace {

using Op = std::function<void(CPicture&)>;

// The effect run on a copy of the picture gives what op gives on another copy.
void ExpectSameAs(CEffectObj& effect, const CPicture& original, const Op& op) {
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
  EXPECT_EQ(CSoften().m_wRadius, 1);
  EXPECT_EQ(CMirror().m_byMirror, 1);
  // The channel curves first, then the master curve on all three channels. With only the master
  // curve set the channel pass is refused and only the master pass runs.
  const auto balance = [](bool channels) {
    return New<CGrayBalance>([&](CGrayBalance& b) {
      if (channels) b.SetCurve(CGrayBalance::red, 10, 240, 0.8, 0, 255);
      if (channels) b.SetCurve(CGrayBalance::green, 0, 200, 1.0, 20, 250);
      if (channels) b.SetCurve(CGrayBalance::blue, 30, 255, 1.5, 5, 230);
      b.SetCurve(CGrayBalance::master, 20, 220, 1.2, 10, 245);
    });
  };
  const Op master = [](CPicture& p) {
    p.GrayBalance(20, 220, 1.2, 20, 220, 1.2, 20, 220, 1.2, 10, 245, 10, 245, 10, 245);
  };
  const struct {
    CEffectObj* effect;
    Op op;
  } cases[] = {
      {NewAdjust(30, 20, 10, 15, 5, -7, 3),
       [](CPicture& p) { p.ColorAdjust(10, 15, 30, 20, 5, 3, -7); }},
      {New<CSoften>([](CSoften& e) { e.m_wRadius = 2; }), [](CPicture& p) { p.Soften(2); }},
      {New<CSharpen>([](CSharpen& e) { e.m_nStrength = 3; }), [](CPicture& p) { p.Sharpen(3); }},
      {new CGray, [](CPicture& p) { p.ConvertToGray(); }},
      {new CMirror, [](CPicture& p) { p.Mirror(); }},
      {balance(true),
       [&](CPicture& p) {
         p.GrayBalance(10, 240, 0.8, 0, 200, 1.0, 30, 255, 1.5, 0, 255, 20, 250, 5, 230);
         master(p);
       }},
      {balance(false), master},
  };
  for (const auto& c : cases) {
    const std::unique_ptr<CEffectObj> effect(c.effect);
    SCOPED_TRACE(effect->GetRuntimeClass()->m_lpszClassName);
    ExpectSameAs(*effect, original, c.op);
  }
}

TEST(EffectClasses, LightScalesFromItsPaperSize) {
  CPicture original;
  original.CreatePicture(40, 30, 40);
  CLight light;
  light.SetLightParams(CPoint(7, 5), CPoint(12, 11), 20, 9, RGB(200, 180, 90), 80, 35);
  // No paper size: the values as stored. Half the target's size: points and lengths doubled.
  // 30 x 20: x by 1.333, y by 1.5, lengths by their mean 1.4167, each truncated.
  const struct {
    CSize paper;
    CPoint from, to;
    int length, height;
  } cases[] = {{{0, 0}, {7, 5}, {12, 11}, 20, 9},
               {{20, 15}, {14, 10}, {24, 22}, 40, 18},
               {{30, 20}, {9, 7}, {16, 16}, 28, 12}};
  for (const auto& c : cases) {
    light.m_PaperSize = c.paper;
    ExpectSameAs(light, original, [&](CPicture& p) {
      p.DrawLight(c.from, c.to, c.length, c.height, RGB(200, 180, 90), 80, 35);
    });
  }
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
  CPicture original, result, softened, adjusted, both;
  FillRandom(original, 19, 11, 5);
  const Op soften = [](CPicture& p) { p.Soften(2); };
  const Op brighten = [](CPicture& p) { p.ColorAdjust(40, 0, 0, 0, 0, 0, 0); };
  CopyWith(original, softened, soften);
  CopyWith(softened, both, brighten);
  CopyWith(original, adjusted, brighten);
  // Soften, then a probe that wants the picture as it is now, then brightness: the children run
  // one after another on each other's results.
  CMultiEffects list;
  auto* probe = New<CBeforeProbe>([](CBeforeProbe& e) { e.m_bNeedBefore = 1; });
  list.AddEffect(New<CSoften>([](CSoften& e) { e.m_wRadius = 2; }));
  list.AddEffect(probe);
  list.AddEffect(NewAdjust(0, 0, 40, 0, 0, 0, 0));
  const auto run = [&](const CPicture& expected) {
    original.Duplicate(result);
    RunEffect(list, result);
    EXPECT_EQ(list.m_bRunning.load(), 0);
    EXPECT_EQ(Pixels(result), Pixels(expected));
  };
  run(both);
  EXPECT_EQ(Pixels(probe->m_seen), Pixels(softened));
  // Afterwards the children point at the target and no longer at the worker's temporaries.
  EXPECT_EQ(probe->m_pTarget, &result);
  EXPECT_EQ(probe->m_pBefore, nullptr);
  // Without the flag the before-picture is not refreshed: the probe sees it empty.
  probe->m_bNeedBefore = 0;
  run(both);
  EXPECT_FALSE(probe->m_seen.IsValid());
  // A disabled child is skipped; a disabled list runs nothing, and so does an empty one.
  list.GetEffect(0)->m_bEnable = 0;
  run(adjusted);
  list.m_bEnable = 0;
  run(original);
  list.m_bEnable = 1;
  list.RemoveAll();
  run(original);
}

}  // namespace
}  // namespace vardell::test
