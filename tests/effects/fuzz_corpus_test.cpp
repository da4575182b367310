// The fuzz targets of effect documents and of plug-in discovery run as ordinary tests over small
// corpora (documents of every class with and without masks; the committed plug-ins and synthetic
// modules) and seeded mutations and cuts of them. The sanitizer build checks the reads.
// Both targets share this program, so the document target's entry point is renamed.
#define LLVMFuzzerTestOneInput EffectDocumentFuzzerTestOneInput
#include "fuzz/effect_document_fuzzer.cpp"
#undef LLVMFuzzerTestOneInput
#include "fuzz/plugin_discovery_fuzzer.cpp"

#include "effects_fixtures.h"
#include "platform/pe_test_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vardell::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Runs the target over the seeds and over `rounds` mutations of them (1 to maxEdits random bytes
// or 4-byte values, and one time in six a cut); answers how many inputs the target took.
template <class Target>
int RunCorpus(const std::vector<Bytes>& seeds, std::uint32_t seed, int rounds, int maxEdits,
              const std::vector<std::uint32_t>& values, Target target) {
  for (const Bytes& s : seeds) EXPECT_TRUE(target(s)) << "a seed should be taken";
  Rng rng(seed);
  int taken = 0;
  for (int round = 0; round < rounds; ++round) {
    Bytes f = seeds[rng.Range(0, static_cast<int>(seeds.size()) - 1)];
    const int last = static_cast<int>(f.size()) - 1;
    for (int k = rng.Range(1, maxEdits); k > 0; --k) {
      if (rng.Range(0, 1) && last >= 4)
        Poke32(f, rng.Range(0, last - 3), values[rng.Range(0, int(values.size()) - 1)]);
      else
        f[rng.Range(0, last)] = rng.Byte();
    }
    if (rng.Range(0, 5) == 0) f.resize(rng.Range(0, last + 1));
    taken += target(f);
  }
  return taken;
}

TEST(EffectDocumentFuzzer, CorpusRunsCleanly) {
  WorkFolder work;
  // Every class, enabled so that the target runs it, alone and all in one list with a mask (a
  // mask costs a temporary file a load, so only one seed carries one).
  std::vector<Bytes> seeds;
  CMultiEffects all;
  for (auto& effect : EveryClass()) {
    effect->m_bEnable = 1;
    seeds.push_back(fuzz_effects::StoreToMemory(effect.get()));
    all.AddEffect(effect.release());
  }
  CMask mask;
  MakeHalfMask(mask, 6, 5);
  all.SetMask(mask);
  seeds.push_back(fuzz_effects::StoreToMemory(&all));
  // Each seed loads with every parameter it was stored with: storing it again gives its bytes.
  for (const Bytes& seed : seeds) {
    CMemFile file(seed);
    const std::unique_ptr<CEffectObj> loaded(LoadEffect(file));
    EXPECT_EQ(fuzz_effects::StoreToMemory(loaded.get()), seed);
  }
  const int loaded =
      RunCorpus(seeds, 20240918, 300, 4, {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x4000, 0x3E},
                [](const Bytes& f) { return fuzz_effects::LoadEffectInput(f.data(), f.size()); });
  // The mutations reach both outcomes, and no temporary mask file outlives its load.
  EXPECT_GT(loaded, 15);
  EXPECT_LT(loaded, 280);
  EXPECT_TRUE(work.Empty());
}

TEST(PluginDiscoveryFuzzer, CorpusRunsCleanly) {
  std::vector<Bytes> seeds;
  for (const auto& e :
       std::filesystem::directory_iterator(std::string(VARDELL_TEST_DATA_DIR) + "/plugins"))
    if (e.is_regular_file() && e.path().extension() != ".py" && e.path().extension() != ".sh")
      seeds.push_back(ReadBytes(e.path().string()));
  const Bytes pipl =
      PiPLBuilder().Filter("Cat", "Name", "Entry").Add("mode", {0x80, 0, 0, 0}).Build();
  const Bytes pimi = {1, 0, 'C', 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  for (bool pe32plus : {false, true})
    seeds.push_back(WritePe({{"PIPL", "#16000", pipl},
                             {"PIPL", "NAMED", pipl},
                             {"PIMI", "#7", pimi},
                             {"_8BFM", "#7", {0, 0, 'N', 0}}},
                            pe32plus)
                        .bytes);
  seeds.push_back(pipl);
  ASSERT_GE(seeds.size(), 10u);
  RunCorpus(seeds, 20240917, 600, 6, {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x10, 0x3000},
            [](const Bytes& f) { return LLVMFuzzerTestOneInput(f.data(), f.size()) == 0; });
  // The target's scan keeps state nowhere: the global list is untouched.
  EXPECT_EQ(GetFilterCount(), 0);
}

}  // namespace
}  // namespace vardell::test
