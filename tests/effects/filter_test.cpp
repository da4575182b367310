// Plug-in descriptions read from PiPL and PiMI resources, and the filter list: the committed
// plug-ins scanned, its order, and damaged files skipped.
#include "effects/filter_description.h"
#include "effects/filter_list.h"

#include "effects_fixtures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

namespace vardell::test {
namespace {

using Bytes = PiPLBuilder::Bytes;

CFilterDescription Read(const Bytes& pipl) {
  CFilterDescription d("p/x.8bf", 0, 16000, "");
  d.ReadPiPL(pipl);
  return d;
}

TEST(ReadPiPL, PropertiesAndWalkRules) {
  using P = PiPLBuilder;
  P late;  // three 'fici' and a last property claiming more bytes than remain
  for (int i = 0; i < 3; ++i) late.Add("fici", Bytes(28));
  Bytes longCatg(20, 'c');
  longCatg[0] = 40;
  const std::pair<Bytes, const char*> cases[] = {
      // the priority sign-extended from 16 bits; another vendor's property ignored
      {P().Dword("prty", 0x0000FFFE).Add("name", {4, 'E', 'v', 'i', 'l'}, -1, "ABCD").Build(),
       "//-2//- 0 - 0 0"},
      // no 'wx86': no filter
      {P().Dword("kind", FourCC("8BFM")).Pascal("name", "N").Build(), "/N/0//8BFM 0 - 0 0"},
      // 'catg' longer than its property: none, still a filter
      {P().Filter("", "N", "E").Add("catg", longCatg).Build(), "/N/0/E/8BFM 0 - 0 1"},
      // 30 bytes, the fewest read; n + 1 == length is enough
      {P().Add("name", {3, 'a', 'b', 'c'}).Build(), "/abc/0//- 0 - 0 0"},
      // 'wx86' without a zero sets nothing; an empty name is no filter
      {P().Filter("C", "", "E").Add("wx86", {'A', 'B', 'C', 'D'}).Build(), "C//0/E/8BFM 0 - 0 0"},
      // kind other than 8BFM
      {P().Filter("C", "N", "E").Dword("kind", FourCC("8BEM")).Build(), "C/N/0/E/8BEM 0 - 0 0"},
      // padded to 4 past its length: the next is missed
      {P().Add("name", {4, 'B', 'l', 'u', 'r', 0, 0, 0}, 5).Text("wx86", "E").Build(),
       "/Blur/0//- 0 - 0 0"},
      // lengths tested against the size after the head, not against what is left
      {late.Add("wx86", {'L', 'a', 't', 'e', 0}, 100).Build(), "//0/Late/- 0 - 0 0"},
      // a length past the size after the head, even one negative as a signed 32-bit value,
      // stops the walk
      {P().Add("vers", P::Le(7), 0xFFFFFFF0).Pascal("catg", "C").Build(), "//0//- 0 - 0 0"},
      // nonzero version: nothing read
      {P().Filter("C", "N", "E").Build(1), "//0//- 0 - 0 0"},
      // 29 bytes: not read
      {P().Add("name", {1, 'A', 0}).Build(), "//0//- 0 - 0 0"},
      // Mode bytes, little-endian; bit 0x8000 is not tested; shorter than 4 bytes: not read.
      {P().Add("mode", {0x01, 0x88, 0, 0}).Build(), "//0//- 0 - 180 0"},
      {P().Dword("vers", 0).Add("mode", {0xFF, 0xFF, 0xFF}).Build(), "//0//- 0 - 0 0"},
  };
  for (const auto& c : cases) EXPECT_EQ(Summary(Read(c.first)), c.second) << "case " << &c - cases;
  EXPECT_EQ(TranslatePiPLModes(0xFFFFFFFF), 0x3FF);
  EXPECT_EQ(TranslatePiPLModes(0x55), 0x0AA);
}

// Old-format blocks that are read are in the committed plug-ins; these are refused.
TEST(ReadPiMI, RefusesShortBlocks) {
  CFilterDescription bad("p/old.8bf", 1, 7, "");
  EXPECT_FALSE(bad.ReadPiMI(Bytes(18)));  // an empty category, then 15 bytes of a 16-byte block
  EXPECT_FALSE(bad.ReadPiMI(Bytes{1, 0, 'n', 'o', 'z', 'e', 'r', 'o'}));
  EXPECT_FALSE(bad.ReadPiMIName(Bytes{0, 0}, FourCC("8BFM")));
  EXPECT_FALSE(bad.ReadPiMIName(Bytes{0}, FourCC("8BFM")));
  EXPECT_EQ(Summary(bad), "//0//- 0 - 0 0");
}

TEST(GetPiMIKind, ExtensionTable) {
  const auto kind = [](const char* extension) {
    return std::string(GetPiMIKind(extension).type) + " " + Code(GetPiMIKind(extension).kind);
  };
  EXPECT_EQ(kind(".8BI"), "_8BIF 8BIM");
  EXPECT_EQ(kind(".8BP"), " 8BPI");
  EXPECT_EQ(kind("    "), "_ARPI ARPI");
  EXPECT_EQ(kind(".dll"), "     ");
}

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
  EXPECT_EQ(GetFilterDescription(0)->GetFile(), folder + "multi.8BF");
  EXPECT_EQ(GetFilterDescription(0)->GetResourceName(), "SHARP");
  EXPECT_EQ(GetFilterDescription(2)->IsOldStyle(), 1);
  EXPECT_EQ(GetFilterDescription(3)->GetFilterCaseInfo()[0], 0);  // its 'fici' has 24 bytes
  EXPECT_EQ(GetFilterDescription(5)->GetFilterCaseInfo()[27], 0x1C);
  EXPECT_EQ(GetFilterDescription(6), nullptr);

  CStringArray categories, names;
  categories.Add("stale");
  EXPECT_EQ(GetFilterList(categories, names), 6);
  EXPECT_EQ(categories.GetSize(), 6);
  EXPECT_EQ(names[1], "From PiMI");
  // Scanning again lists the same filters again, each after its equal; names match in any case.
  AddFilters(folder + "MULTI.8bf");
  EXPECT_EQ(Listed(false).substr(0, 76),
            "Artistic/Sharpen Edges/0/SharpenEdges\nArtistic/Sharpen Edges/0/SharpenEdges\n");
  EXPECT_EQ(GetFilterCount(), 9);
}

TEST_F(FilterListTest, OrderIsCategoryNameThenPriorityByTheWordSort) {
  const std::tuple<const char*, const char*, std::uint32_t> filters[] = {
      {"blur", "x", 0},     {"Blur", "x", 0},     {"_Test", "x", 0},
      {"Artistic", "x", 0}, {"Artistic", "B", 2}, {"Artistic", "b", 2},
      {"Artistic", "B", 1}, {"Artistic", "B", 2}, {"", "x", 5}};
  int entry = 0;  // entry points E0, E1, ... in discovery order
  for (const auto& [category, name, priority] : filters) {
    auto d = std::make_unique<CFilterDescription>("f", 0, 0, "");
    d->ReadPiPL(PiPLBuilder()
                    .Filter(category, name, "E" + std::to_string(entry++))
                    .Dword("prty", priority)
                    .Build());
    InsertFilter(std::move(d));
  }
  // E7 ties with E4 and goes after it.
  EXPECT_EQ(Listed(false),
            "/x/5/E8\n_Test/x/0/E2\nArtistic/b/2/E5\nArtistic/B/1/E6\nArtistic/B/2/E4\n"
            "Artistic/B/2/E7\nArtistic/x/0/E3\nblur/x/0/E0\nBlur/x/0/E1\n");
}

TEST_F(FilterListTest, DamagedAndForeignFilesAreSkippedSilently) {
  const std::vector<std::uint8_t> good =
      ReadBytes(std::string(VARDELL_TEST_DATA_DIR) + "/plugins/soft_blur.8bf");
  const std::string dir = m_dir.path().string() + "/";
  WriteBytes(dir + "cut.8bf", {good.begin(), good.begin() + good.size() / 2});
  WriteBytes(dir + "text.8bf", {'h', 'e', 'l', 'l', 'o'});
  std::vector<std::uint8_t> badTree = good;
  for (std::size_t i = 0x400; i < badTree.size(); ++i) badTree[i] ^= 0x5A;
  WriteBytes(dir + "scrambled.8bf", badTree);
  ErrorRecorder errors;
  EXPECT_EQ(AddFilters(dir + "*.8bf"), 0);
  EXPECT_EQ(AddFilters(dir + "missing/*.8bf"), 0);
  EXPECT_EQ(GetFilterCount(), 0);
  EXPECT_TRUE(errors.texts().empty());
}

}  // namespace
}  // namespace vardell::test
