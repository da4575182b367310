#include "effects/filter_list.h"

#include "pipl_builder.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace vardell::test {
namespace {

namespace fs = std::filesystem;

class FilterListTest : public ::testing::Test {
 protected:
  void SetUp() override { FreeFilterList(); }
  void TearDown() override { FreeFilterList(); }

  // The committed plug-ins copied into a scratch folder, with a matching subfolder.
  std::string Folder() {
    const fs::path source = fs::path(VARDELL_TEST_DATA_DIR) / "plugins";
    for (const auto& e : fs::directory_iterator(source))
      if (e.is_regular_file()) fs::copy_file(e.path(), m_dir.path() / e.path().filename());
    fs::create_directory(m_dir.path() / "folder.8bf");
    fs::copy_file(source / "soft_blur.8bf", m_dir.path() / "folder.8bf" / "inner.8bf");
    return m_dir.path().string() + "/";
  }

  // One line a filter, as Summary gives it (or only category/name/priority/entry point).
  static std::string Listed(bool whole = true) {
    std::string out;
    for (int i = 0; i < GetFilterCount(); ++i) {
      const std::string s = Summary(*GetFilterDescription(i));
      out += (whole ? s : s.substr(0, s.rfind('/'))) + "\n";
    }
    return out;
  }

  TempDir m_dir;
};

TEST_F(FilterListTest, ScansTheCommittedPlugins) {
  const std::string folder = Folder();
  ErrorRecorder errors;
  EXPECT_EQ(AddFilters(folder + "*.8B?"), 0);
  EXPECT_TRUE(errors.texts().empty());
  EXPECT_EQ(Listed(),
            "Artistic/Sharpen Edges/0/SharpenEdges/8BFM 0 - 0 1\n"  // mode bytes 00 80 00 00
            "Mixed/From PiMI/-1/ENTRYPOINT16001/8BFM 2 - 40 1\n"
            "Old Style/Emboss Legacy/3/ENTRYPOINT16000/8BFM 1 8BIM 1234 1\n"
            "Vardell Test/Ripple/1/RippleB/8BFM 0 - 0 1\n"
            "Vardell Test/Ripple/2/RippleA/8BFM 0 - 1 1\n"
            "Vardell Test/Soft Blur/0/SoftBlur/8BFM 40000 8BIM 307 1\n");
  const CFilterDescription* sharp = GetFilterDescription(0);
  EXPECT_EQ(sharp->GetFile(), folder + "multi.8BF");
  EXPECT_EQ(sharp->GetResourceName(), "SHARP");
  const CFilterDescription* legacy = GetFilterDescription(2);
  EXPECT_EQ(legacy->IsOldStyle(), 1);
  EXPECT_EQ(legacy->GetResourceId(), 16000);
  EXPECT_EQ(GetFilterDescription(5)->GetFilterCaseInfo()[27], 0x1C);
  EXPECT_EQ(GetFilterDescription(3)->GetFilterCaseInfo()[0], 0);  // its 'fici' has 24 bytes
  EXPECT_EQ(GetFilterDescription(6), nullptr);

  CStringArray categories, names;
  categories.Add("stale");
  EXPECT_EQ(GetFilterList(categories, names), 6);
  ASSERT_EQ(categories.GetSize(), 6);
  ASSERT_EQ(names.GetSize(), 6);
  EXPECT_EQ(categories[1], "Mixed");
  EXPECT_EQ(names[1], "From PiMI");
}

TEST_F(FilterListTest, ScanningTwiceListsEverythingTwiceInDiscoveryOrder) {
  const std::string folder = Folder();
  AddFilters(folder + "multi.8bf");  // names match without regard to case
  AddFilters(folder + "MULTI.8BF");
  EXPECT_EQ(Listed(false),
            "Artistic/Sharpen Edges/0/SharpenEdges\nArtistic/Sharpen Edges/0/SharpenEdges\n"
            "Vardell Test/Ripple/1/RippleB\nVardell Test/Ripple/1/RippleB\n"
            "Vardell Test/Ripple/2/RippleA\nVardell Test/Ripple/2/RippleA\n");
}

TEST_F(FilterListTest, OrderIsCategoryNameThenPriorityByTheWordSort) {
  const struct {
    const char *category, *name;
    int priority;
  } filters[] = {{"blur", "x", 0},     {"Blur", "x", 0},     {"_Test", "x", 0},
                 {"Artistic", "x", 0}, {"Artistic", "B", 2}, {"Artistic", "b", 2},
                 {"Artistic", "B", 1}, {"Artistic", "B", 2}, {"", "x", 5}};
  for (const auto& f : filters) {  // entry points E0, E1, ... in discovery order
    auto d = std::make_unique<CFilterDescription>("f", 0, 0, "");
    d->ReadPiPL(PiPLBuilder()
                    .Filter(f.category, f.name, "E" + std::to_string(&f - filters))
                    .Dword("prty", static_cast<std::uint32_t>(f.priority))
                    .Build());
    InsertFilter(std::move(d));
  }
  // E7 ties with E4 and goes after it.
  EXPECT_EQ(Listed(false),
            "/x/5/E8\n_Test/x/0/E2\nArtistic/b/2/E5\nArtistic/B/1/E6\nArtistic/B/2/E4\n"
            "Artistic/B/2/E7\nArtistic/x/0/E3\nblur/x/0/E0\nBlur/x/0/E1\n");
  FreeFilterList();
  EXPECT_EQ(GetFilterCount(), 0);
}

TEST_F(FilterListTest, DamagedAndForeignFilesAreSkippedSilently) {
  const std::vector<std::uint8_t> good =
      ReadBytes(std::string(VARDELL_TEST_DATA_DIR) + "/plugins/soft_blur.8bf");
  const fs::path dir = m_dir.path();
  WriteBytes((dir / "cut.8bf").string(), {good.begin(), good.begin() + good.size() / 2});
  WriteBytes((dir / "text.8bf").string(), {'h', 'e', 'l', 'l', 'o'});
  WriteBytes((dir / "empty.8bf").string(), {});
  std::vector<std::uint8_t> badTree = good;
  for (std::size_t i = 0x400; i < badTree.size(); ++i) badTree[i] ^= 0x5A;
  WriteBytes((dir / "scrambled.8bf").string(), badTree);
  ErrorRecorder errors;
  EXPECT_EQ(AddFilters(dir.string() + "/*.8bf"), 0);
  EXPECT_EQ(AddFilters(dir.string() + "/missing/*.8bf"), 0);
  EXPECT_EQ(GetFilterCount(), 0);
  EXPECT_TRUE(errors.texts().empty());
}
}  // namespace
}  // namespace vardell::test
