// Running effects. The protocol: Execute, Wait, Terminate and the destructor around a worker
// thread that the test holds or releases through events. Each effect class against the picture
// operation it records (argument order, the light's paper scaling, the gray balance's two passes)
// on the whole picture and through a mask, and CMultiEffects running its list.
#include "effects_fixtures.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>

namespace vardell::test {
namespace {

// A worker that tells when it has started, then waits for the gate or for a stop request (as the
// long-running plug-in effects do).
class CGatedEffect : public CEffectObj {
 public:
  CGatedEffect() { m_pfnWorker = Worker; }
  ~CGatedEffect() override { StopWorker(); }
  CEvent m_started, m_gate;
  std::atomic<int> m_runs{0};

 private:
  static UINT Worker(LPVOID param) {
    auto* self = static_cast<CGatedEffect*>(param);
    self->m_runs++;
    self->m_started.SetEvent();
    while (!self->m_bCancel.load() && !self->m_gate.Lock(0)) std::this_thread::yield();
    return self->EndWorker();
  }
};

TEST(EffectObject, RunProtocolTerminateAndDestructor) {
  CEffectObj base;
  EXPECT_EQ(base.Execute(), 0);
  EXPECT_EQ(base.Wait(), 1);  // never ran: answers at once
  // No target, or an empty one: the worker still ends and signals.
  CGray gray;
  EXPECT_EQ(gray.Execute(), 1);
  EXPECT_EQ(gray.Wait(), 1);
  CPicture nothing;
  RunEffect(gray, nothing);

  CGatedEffect effect;
  // The running flag and the runs so far; a start that waits until the worker has begun.
  const auto state = [&] { return std::make_pair(effect.m_bRunning.load(), effect.m_runs.load()); };
  const auto start = [&] {
    ASSERT_EQ(effect.Execute(), 1);
    effect.m_started.Lock();
  };
  effect.m_bEnable = 0;  // disabled: answers 1 and starts nothing
  EXPECT_EQ(effect.Execute(), 1);
  EXPECT_EQ(effect.Wait(), 1);
  EXPECT_EQ(state(), std::make_pair(0, 0));
  effect.m_bEnable = 1;
  start();
  EXPECT_EQ(effect.Execute(), 1);  // a second Execute while running starts nothing
  EXPECT_EQ(state(), std::make_pair(1, 1));
  effect.m_gate.SetEvent();
  EXPECT_EQ(effect.Wait(), 1);
  EXPECT_EQ(effect.Wait(), 1);       // the signal is consumed; not running, so no wait
  EXPECT_EQ(effect.Terminate(), 0);  // idle: answers the cancel flag

  // The next run is not fooled by a signal left by a run nobody waited for.
  effect.m_gate.SetEvent();
  start();
  while (effect.m_bRunning.load()) std::this_thread::yield();  // ended; its signal left unused
  start();
  EXPECT_EQ(state(), std::make_pair(1, 3));
  effect.m_gate.SetEvent();
  EXPECT_EQ(effect.Wait(), 1);
  EXPECT_EQ(state(), std::make_pair(0, 3));

  // Terminate waits for the worker; the destructor stops it first.
  start();
  EXPECT_EQ(effect.Terminate(), 1);
  EXPECT_EQ(effect.m_bCancel.load(), 0);  // cleared by the worker at its end

  auto* running = new CGatedEffect;
  ASSERT_EQ(running->Execute(), 1);
  running->m_started.Lock();
  delete running;
  EXPECT_TRUE(WaitForWorkerThreads(INFINITE));
}

using Op = std::function<void(CPicture&)>;

// The effect run on a copy of the picture gives what op gives on another copy. Run again through
// a mask of the left half, the effect still sees the whole picture (softening reaches across the
// mask's edge) and the masked area alone takes its result; mirroring always takes the whole.
void ExpectSameAs(CEffectObj& effect, const CPicture& original, const Op& op) {
  CPicture byEffect, byOp, masked;
  for (CPicture* p : {&byEffect, &byOp, &masked}) original.Duplicate(*p);
  op(byOp);
  RunEffect(effect, byEffect);
  EXPECT_EQ(Pixels(byEffect), Pixels(byOp));
  EXPECT_NE(Pixels(byOp), Pixels(original)) << "the case should change the picture";
  const CSize size = original.GetPictureSize();
  CMask mask, empty;
  MakeHalfMask(mask, size.cx, size.cy);
  effect.SetMask(mask);
  effect.SetMask(empty);  // an empty mask changes nothing
  RunEffect(effect, masked);
  effect.m_Mask.DeleteObject();
  const bool whole = effect.IsKindOf(RUNTIME_CLASS(CMirror));
  const int edge = size.cx / 2;  // the column of 128
  for (int y = 0; y < size.cy; ++y)
    for (int x = 0; x < size.cx; ++x) {
      const auto got = PixelAt(masked, x, y);
      const auto want = whole || x < edge ? PixelAt(byOp, x, y)
                        : x > edge        ? PixelAt(original, x, y)
                                          : got;
      ASSERT_EQ(got, want) << x << "," << y;
    }
}

TEST(EffectClasses, EachRunsItsOperationWithItsParameters) {
  CPicture original;
  FillRandom(original, 21, 13, 3);
  // The channel curves first, then the master curve on all three channels. With only the master
  // curve set the channel pass is refused and only the master pass runs.
  const auto balance = [](bool channels) {
    return New<CGrayBalance>([&](CGrayBalance& b) {
      if (channels) {
        b.SetCurve(CGrayBalance::red, 10, 240, 0.8, 0, 255);
        b.SetCurve(CGrayBalance::green, 0, 200, 1.0, 20, 250);
        b.SetCurve(CGrayBalance::blue, 30, 255, 1.5, 5, 230);
      }
      b.SetCurve(CGrayBalance::master, 20, 220, 1.2, 10, 245);
    });
  };
  const Op master = [](CPicture& p) {
    p.GrayBalance(20, 220, 1.2, 20, 220, 1.2, 20, 220, 1.2, 10, 245, 10, 245, 10, 245);
  };
  // A list with a mask of its own runs its children on the whole picture, then blends.
  auto* list = new CMultiEffects;
  list->AddEffect(New<CSoften>([](CSoften& e) { e.m_wRadius = 3; }));
  list->AddEffect(new CGray);
  // The light's points and lengths as stored without a paper size; else x scaled by 21 / 14, y by
  // 13 / 9 and lengths by their mean, each truncated.
  const auto light = [](CSize paper) {
    return New<CLight>([&](CLight& e) {
      e.SetLightParams(CPoint(7, 5), CPoint(12, 11), 20, 9, RGB(200, 180, 90), 80, 35);
      e.m_PaperSize = paper;
    });
  };
  const auto draw = [](CPoint from, CPoint to, int length, int height) -> Op {
    return [=](CPicture& p) { p.DrawLight(from, to, length, height, RGB(200, 180, 90), 80, 35); };
  };
  const std::pair<CEffectObj*, Op> cases[] = {
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
      {light(CSize(0, 0)), draw(CPoint(7, 5), CPoint(12, 11), 20, 9)},
      {light(CSize(14, 9)), draw(CPoint(10, 7), CPoint(18, 15), 29, 13)},
      {list,
       [](CPicture& p) {
         p.Soften(3);
         p.ConvertToGray();
       }},
  };
  for (const auto& [created, op] : cases) {
    const std::unique_ptr<CEffectObj> effect(created);
    SCOPED_TRACE(effect->GetRuntimeClass()->m_lpszClassName);
    ExpectSameAs(*effect, original, op);
  }
  // The light's SetPaperSize takes the target's size.
  CLight sized;
  sized.SetPictures(&original, nullptr, nullptr);
  sized.SetPaperSize();
  EXPECT_EQ(sized.m_PaperSize, CSize(21, 13));
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
  CPicture original, result, softened, both;
  FillRandom(original, 19, 11, 5);
  original.Duplicate(softened);
  softened.Soften(2);
  softened.Duplicate(both);
  both.ColorAdjust(40, 0, 0, 0, 0, 0, 0);
  // Soften, then a probe that wants the picture as it is now, then brightness: the children run
  // one after another on each other's results.
  CMultiEffects list;
  auto* probe = New<CBeforeProbe>([](CBeforeProbe& e) { e.m_bNeedBefore = 1; });
  list.AddEffect(New<CSoften>([](CSoften& e) { e.m_wRadius = 2; }));
  list.AddEffect(probe);
  list.AddEffect(NewAdjust(0, 0, 40, 0, 0, 0, 0));
  original.Duplicate(result);
  RunEffect(list, result);
  EXPECT_EQ(Pixels(result), Pixels(both));
  EXPECT_EQ(Pixels(probe->m_seen), Pixels(softened));
  // Afterwards the children point at the target and no longer at the worker's temporaries.
  EXPECT_EQ(probe->m_pTarget, &result);
  EXPECT_EQ(probe->m_pBefore, nullptr);
  // Without the flag the before-picture is not refreshed: the probe sees it empty.
  probe->m_bNeedBefore = 0;
  RunEffect(list, result);
  EXPECT_FALSE(probe->m_seen.IsValid());
}

}  // namespace
}  // namespace vardell::test
