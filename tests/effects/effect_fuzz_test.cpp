// The effect-document fuzz target run as an ordinary test over a small corpus: documents of
// every class with and without masks, and seeded mutations and cuts of them.
// The plug-in discovery target shares this program, so this target's entry point is renamed.
#define LLVMFuzzerTestOneInput EffectDocumentFuzzerTestOneInput
#include "fuzz/effect_document_fuzzer.cpp"
#undef LLVMFuzzerTestOneInput

#include "effect_test_util.h"

#include <gtest/gtest.h>

namespace vardell::test {
namespace {

using fuzz_effects::StoreToMemory;

std::vector<std::vector<std::uint8_t>> Seeds() {
  CMask mask;
  MakeHalfMask(mask, 6, 5);
  auto* adjust = new CColorAdjust;
  adjust->m_nBrightness = 30;
  auto* light = new CLight;
  light->SetLightParams(CPoint(1, 1), CPoint(4, 3), 8, 5, RGB(250, 240, 200), 90, 40);
  light->m_PaperSize = CSize(18, 14);
  auto* balance = new CGrayBalance;
  balance->SetCurve(CGrayBalance::master, 10, 240, 1.3, 0, 255);
  auto* soften = new CSoften;
  soften->m_wRadius = 2;
  auto* sharpen = new CSharpen;
  sharpen->m_nStrength = 4;
  CMultiEffects inner;
  inner.AddEffect(new CMirror);
  inner.AddEffect(new CGray);
  inner.SetMask(mask);
  CMultiEffects all;
  for (CEffectObj* e : std::initializer_list<CEffectObj*>{adjust, light, balance, soften, sharpen})
    all.AddEffect(e);
  std::vector<std::vector<std::uint8_t>> seeds = {StoreToMemory(&all), StoreToMemory(&inner)};
  for (int i = 0; i < all.GetCount(); ++i) seeds.push_back(StoreToMemory(all.GetEffect(i)));
  // One child with a mask of its own; masks cost a temporary file a load, so only two seeds
  // carry one.
  adjust->SetMask(mask);
  seeds.push_back(StoreToMemory(adjust));
  return seeds;
}

TEST(EffectDocumentFuzzer, CorpusRunsCleanly) {
  WorkFolder work;
  const auto seeds = Seeds();
  for (const auto& seed : seeds)
    EXPECT_TRUE(fuzz_effects::LoadEffectInput(seed.data(), seed.size()));
  Rng rng(20240918);
  static const std::uint32_t kValues[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x4000, 0x3E};
  int loaded = 0;
  for (int round = 0; round < 300; ++round) {
    std::vector<std::uint8_t> f = seeds[rng.Range(0, static_cast<int>(seeds.size()) - 1)];
    const int last = static_cast<int>(f.size()) - 1;
    for (int k = rng.Range(1, 4); k > 0; --k) {
      const int at = rng.Range(0, last - 3);
      if (rng.Range(0, 1))
        for (int b = 0; b < 4; ++b)
          f[at + b] = static_cast<std::uint8_t>(kValues[rng.Range(0, 6)] >> 8 * b);
      else
        f[at] = rng.Byte();
    }
    if (rng.Range(0, 5) == 0) f.resize(rng.Range(0, last + 1));
    SCOPED_TRACE("round " + std::to_string(round));
    loaded += fuzz_effects::LoadEffectInput(f.data(), f.size());
  }
  // The mutations reach both outcomes, and no temporary mask file outlives its load.
  EXPECT_GT(loaded, 15);
  EXPECT_LT(loaded, 280);
  EXPECT_TRUE(work.Empty());
}

}  // namespace
}  // namespace vardell::test
