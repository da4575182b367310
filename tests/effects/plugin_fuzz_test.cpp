// The discovery fuzz target run as an ordinary test over a small corpus: the committed plug-ins,
// synthetic modules, and seeded mutations of both. The sanitizer build checks the reads.
#include "fuzz/plugin_discovery_fuzzer.cpp"

#include "pipl_builder.h"
#include "platform/pe_test_writer.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vardell::test {
namespace {

std::vector<std::vector<std::uint8_t>> Seeds() {
  std::vector<std::vector<std::uint8_t>> seeds;
  for (const auto& e :
       std::filesystem::directory_iterator(std::string(VARDELL_TEST_DATA_DIR) + "/plugins"))
    if (e.is_regular_file() && e.path().extension() != ".py" && e.path().extension() != ".sh")
      seeds.push_back(ReadBytes(e.path().string()));
  const auto pipl = PiPLBuilder().Filter("Cat", "Name", "Entry").Add("mode", {0x80, 0, 0, 0});
  const std::vector<std::uint8_t> pimi = {1, 0, 'C', 0, 0, 0, 0, 0, 1, 0,
                                          0, 0, 0,   0, 0, 0, 0, 0, 0, 0};
  for (bool pe32plus : {false, true})
    seeds.push_back(WritePe({{"PIPL", "#16000", pipl.Build()},
                             {"PIPL", "NAMED", pipl.Build()},
                             {"PIMI", "#7", pimi},
                             {"_8BFM", "#7", {0, 0, 'N', 0}}},
                            pe32plus)
                        .bytes);
  seeds.push_back(pipl.Build());
  return seeds;
}

TEST(PluginDiscoveryFuzzer, CorpusRunsCleanly) {
  const auto seeds = Seeds();
  ASSERT_GE(seeds.size(), 10u);
  for (const auto& seed : seeds) LLVMFuzzerTestOneInput(seed.data(), seed.size());
  Rng rng(20240917);
  static const std::uint32_t kValues[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x10, 0x3000};
  for (int round = 0; round < 600; ++round) {
    std::vector<std::uint8_t> f = seeds[rng.Range(0, static_cast<int>(seeds.size()) - 1)];
    const int last = static_cast<int>(f.size()) - 1;
    for (int k = rng.Range(1, 6); k > 0; --k) {
      if (rng.Range(0, 1) && last >= 4) {
        const std::size_t at = rng.Range(0, last - 3);
        Poke32(f, at, kValues[rng.Range(0, 6)]);
      } else {
        f[rng.Range(0, last)] = rng.Byte();
      }
    }
    if (rng.Range(0, 5) == 0) f.resize(rng.Range(0, last + 1));
    SCOPED_TRACE("round " + std::to_string(round));
    LLVMFuzzerTestOneInput(f.data(), f.size());
  }
  // The target's scan keeps state nowhere: the global list is untouched.
  EXPECT_EQ(GetFilterCount(), 0);
}

}  // namespace
}  // namespace vardell::test
