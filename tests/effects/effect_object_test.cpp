// The effect protocol: Execute, Wait, Terminate and the destructor around a worker thread that the
// test holds or releases through events; the masked path against the operation on the whole
// picture.
#include "effect_test_util.h"

#include <gtest/gtest.h>

#include <thread>

namespace vardell::test {
namespace {

// A worker that tells when it has started, then waits for the gate (or, when cancellable, for a
// stop request, as the long-running plug-in effects do).
class CGatedEffect : public CEffectObj {
 public:
  explicit CGatedEffect(bool cancellable = false) : m_cancellable(cancellable) {
    m_pfnWorker = Worker;
  }
  ~CGatedEffect() override { StopWorker(); }

  CEvent m_started;
  CEvent m_gate;
  std::atomic<int> m_runs{0};

 private:
  static UINT Worker(LPVOID param) {
    auto* self = static_cast<CGatedEffect*>(param);
    self->m_runs++;
    self->m_started.SetEvent();
    if (self->m_cancellable) {
      while (!self->m_bCancel.load()) std::this_thread::yield();
    } else {
      self->m_gate.Lock();
    }
    return self->EndWorker();
  }
  bool m_cancellable;
};

TEST(EffectObject, ProtocolOfOneRun) {
  CEffectObj base;
  EXPECT_EQ(base.m_strName, "EffectObject");
  EXPECT_FALSE(base.CanExecute());
  EXPECT_EQ(base.Execute(), 0);
  EXPECT_EQ(base.Wait(), 1);  // never ran: answers at once

  CGatedEffect effect;
  effect.m_bEnable = 0;  // disabled: answers 1 and starts nothing
  EXPECT_EQ(effect.Execute(), 1);
  EXPECT_EQ(effect.m_bRunning.load(), 0);
  EXPECT_EQ(effect.Wait(), 1);
  effect.m_bEnable = 1;
  ASSERT_EQ(effect.Execute(), 1);
  effect.m_started.Lock();
  EXPECT_EQ(effect.m_bRunning.load(), 1);
  // A second Execute while running starts nothing.
  EXPECT_EQ(effect.Execute(), 1);
  effect.m_gate.SetEvent();
  EXPECT_EQ(effect.Wait(), 1);
  EXPECT_EQ(effect.m_runs.load(), 1);
  EXPECT_EQ(effect.m_bRunning.load(), 0);
  EXPECT_EQ(effect.Wait(), 1);       // the signal is consumed; not running, so no wait
  EXPECT_EQ(effect.Terminate(), 0);  // idle: answers the cancel flag

  // The next run is not fooled by a signal left by a run nobody waited for.
  effect.m_gate.SetEvent();
  ASSERT_EQ(effect.Execute(), 1);
  effect.m_started.Lock();
  while (effect.m_bRunning.load()) std::this_thread::yield();  // ended; its signal left unused
  effect.m_gate.ResetEvent();
  ASSERT_EQ(effect.Execute(), 1);
  effect.m_started.Lock();
  EXPECT_EQ(effect.m_bRunning.load(), 1);
  effect.m_gate.SetEvent();
  EXPECT_EQ(effect.Wait(), 1);
  EXPECT_EQ(effect.m_runs.load(), 3);
  EXPECT_EQ(effect.m_bRunning.load(), 0);
}

TEST(EffectObject, TerminateAndDestructorWaitForTheWorker) {
  CGatedEffect effect(true);
  ASSERT_EQ(effect.Execute(), 1);
  effect.m_started.Lock();
  EXPECT_EQ(effect.Terminate(), 1);
  EXPECT_EQ(effect.m_bRunning.load(), 0);
  EXPECT_EQ(effect.m_bCancel.load(), 0);  // cleared by the worker at its end
  EXPECT_EQ(effect.Wait(), 1);

  // Destroyed while running: the destructor stops the worker first (the sanitizers check that
  // nothing touches the effect afterwards).
  auto* running = new CGatedEffect(true);
  ASSERT_EQ(running->Execute(), 1);
  running->m_started.Lock();
  delete running;
  EXPECT_TRUE(WaitForWorkerThreads(INFINITE));
}

TEST(EffectObject, MaskedPathChangesOnlyTheMaskedArea) {
  CPicture original;
  FillRandom(original, 24, 10, 7);
  CMask mask;
  MakeHalfMask(mask, 24, 10);
  const int edge = 12;  // the column of 128
  CSoften soften;
  soften.m_wRadius = 2;
  CColorAdjust disabled;
  disabled.m_nBrightness = 50;
  disabled.m_bEnable = 0;
  CMultiEffects list;  // its own mask over its children's whole-picture runs
  list.AddEffect(New<CSoften>([](CSoften& e) { e.m_wRadius = 3; }));
  list.AddEffect(new CGray);
  const std::unique_ptr<CEffectObj> adjust(NewAdjust(40, 0, 60, 0, 0, 0, 0));
  CMirror mirror;
  CEffectObj* const effects[] = {&soften, adjust.get(), &list, &disabled, &mirror};
  for (CEffectObj* effect : effects) {
    SCOPED_TRACE(effect->GetRuntimeClass()->m_lpszClassName);
    CPicture whole, masked;
    original.Duplicate(whole);
    original.Duplicate(masked);
    RunEffect(*effect, whole);
    effect->SetMask(mask);
    RunEffect(*effect, masked);
    effect->m_Mask.DeleteObject();
    if (effect == &mirror) {
      EXPECT_EQ(Pixels(masked), Pixels(whole));  // mirroring always takes the whole picture
      continue;
    }
    EXPECT_TRUE(effect != &disabled || Pixels(whole) == Pixels(original));
    // The operation saw the whole picture (softening reaches across the mask's edge), and the
    // masked area alone took its result.
    for (int y = 0; y < 10; ++y)
      for (int x = 0; x < 24; ++x) {
        const auto got = PixelAt(masked, x, y);
        const auto want = x < edge   ? PixelAt(whole, x, y)
                          : x > edge ? PixelAt(original, x, y)
                                     : got;
        ASSERT_EQ(got, want) << x << "," << y;
      }
  }
}

TEST(EffectObject, SetMaskAndMissingPictures) {
  CGray gray;
  CMask empty, mask;
  gray.SetMask(empty);
  EXPECT_FALSE(gray.m_Mask.IsValid());
  MakeHalfMask(mask, 6, 4);
  gray.SetMask(mask);
  ASSERT_TRUE(gray.m_Mask.IsValid());
  EXPECT_NE(gray.m_Mask.GetBuffer(), mask.GetBuffer());  // its own copy
  gray.SetMask(empty);                                   // an empty mask changes nothing
  EXPECT_TRUE(gray.m_Mask.IsValid());
  // No target, or an empty one: the worker still ends and signals.
  EXPECT_EQ(gray.Execute(), 1);
  EXPECT_EQ(gray.Wait(), 1);
  CPicture nothing;
  RunEffect(gray, nothing);
  EXPECT_FALSE(nothing.IsValid());
}

}  // namespace
}  // namespace vardell::test
