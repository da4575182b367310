#include "effects/filter_description.h"

#include "pipl_builder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vardell::test {
namespace {

using Bytes = PiPLBuilder::Bytes;

CFilterDescription Read(const Bytes& pipl) {
  CFilterDescription d("p/x.8bf", 0, 16000, "");
  d.ReadPiPL(pipl);
  return d;
}

Bytes Fici(int n) {
  Bytes b(n);
  for (int i = 0; i < n; ++i) b[i] = static_cast<std::uint8_t>(i + 1);
  return b;
}

TEST(ReadPiPL, ReadsEveryPropertyOfTheTable) {
  const Bytes pipl = PiPLBuilder()
                         .Dword("kind", FourCC("8BFM"))
                         .Dword("vers", 0x00040000)
                         .Dword("prty", 0x0000FFFE)  // -2 once sign-extended from 16 bits
                         .Dword("host", FourCC("8BIM"))
                         .Pascal("catg", "Vardell Test")
                         .Pascal("name", "Soft Blur")
                         .Text("wx86", "SoftBlur")
                         .Add("mode", {0xE0, 0x0C, 0, 0})
                         .Add("fici", Fici(28))
                         .Add("name", {4, 'E', 'v', 'i', 'l'}, -1, "ABCD")  // other vendor
                         .Build();
  const CFilterDescription d = Read(pipl);
  EXPECT_EQ(d.GetKind(), FourCC("8BFM"));
  EXPECT_EQ(d.GetVersion(), 0x00040000);
  EXPECT_EQ(d.GetPriority(), -2);
  EXPECT_EQ(d.GetHost(), FourCC("8BIM"));
  EXPECT_EQ(d.GetCategory(), "Vardell Test");
  EXPECT_EQ(d.GetName(), "Soft Blur");
  EXPECT_EQ(d.GetEntryPoint(), "SoftBlur");
  EXPECT_EQ(d.GetModes(), 0x307);
  EXPECT_EQ(std::memcmp(d.GetFilterCaseInfo(), Fici(28).data(), 28), 0);
  EXPECT_TRUE(d.IsFilter());
  EXPECT_EQ(d.GetFile(), "p/x.8bf");
  EXPECT_EQ(d.GetResourceId(), 16000);
  EXPECT_EQ(d.IsOldStyle(), 0);
}

TEST(ReadPiPL, PropertyConditions) {
  // A 24-byte 'fici' leaves the filter case info zero.
  CFilterDescription d = Read(PiPLBuilder().Filter("C", "N", "E").Add("fici", Fici(24)).Build());
  EXPECT_EQ(std::memcmp(d.GetFilterCaseInfo(), Bytes(28).data(), 28), 0);
  EXPECT_TRUE(d.IsFilter());
  // No 'wx86': no entry point, no filter.
  d = Read(PiPLBuilder().Dword("kind", FourCC("8BFM")).Pascal("name", "N").Build());
  EXPECT_EQ(d.GetEntryPoint(), "");
  EXPECT_FALSE(d.IsFilter());
  // A 'catg' saying 40 in a 20-byte property: no category, still a filter.
  Bytes catg(20, 'c');
  catg[0] = 40;
  d = Read(PiPLBuilder().Filter("", "N", "E").Add("catg", catg).Build());
  EXPECT_EQ(d.GetCategory(), "");
  EXPECT_TRUE(d.IsFilter());
  // n + 1 == length is enough.
  d = Read(PiPLBuilder().Add("name", {3, 'a', 'b', 'c'}).Build());
  EXPECT_EQ(d.GetName(), "abc");
  // A 'wx86' without a zero byte inside it sets nothing; an empty name is no filter.
  d = Read(PiPLBuilder().Filter("C", "", "E").Add("wx86", {'A', 'B', 'C', 'D'}).Build());
  EXPECT_EQ(d.GetEntryPoint(), "E");
  EXPECT_FALSE(d.IsFilter());
  // Kind other than '8BFM'.
  d = Read(PiPLBuilder().Filter("C", "N", "E").Dword("kind", FourCC("8BEM")).Build());
  EXPECT_FALSE(d.IsFilter());
}

TEST(ReadPiPL, ModeBytes) {
  auto modes = [](Bytes m) {
    return Read(PiPLBuilder().Dword("vers", 0).Add("mode", m).Build()).GetModes();
  };
  EXPECT_EQ(modes({0x80, 0, 0, 0}), 0x001);
  EXPECT_EQ(modes({0, 0x80, 0, 0}), 0);  // bit 0x8000 is not tested
  EXPECT_EQ(modes({0x01, 0x08, 0, 0}), 0x180);
  EXPECT_EQ(modes({0, 0x04, 0, 0}), 0x200);
  EXPECT_EQ(modes({0xFF, 0xFF, 0xFF}), 0);  // shorter than 4 bytes: not read
  EXPECT_EQ(TranslatePiPLModes(0xFFFFFFFF), 0x3FF);
  EXPECT_EQ(TranslatePiPLModes(0x55), 0x0AA);
}

TEST(ReadPiPL, WalkRules) {
  // Lengths are used as stored: a 5-byte property followed at once by the next is read...
  CFilterDescription d =
      Read(PiPLBuilder().Add("name", {4, 'B', 'l', 'u', 'r'}).Text("wx86", "Entry").Build());
  EXPECT_EQ(d.GetName(), "Blur");
  EXPECT_EQ(d.GetEntryPoint(), "Entry");
  // ...and after padding to 4 the next property is missed.
  d = Read(
      PiPLBuilder().Add("name", {4, 'B', 'l', 'u', 'r', 0, 0, 0}, 5).Text("wx86", "E").Build());
  EXPECT_EQ(d.GetName(), "Blur");
  EXPECT_EQ(d.GetEntryPoint(), "");
  // Each length is tested against the size after the head, not against what is left: the last
  // property claims 100 bytes, more than remain, and is still read up to its zero byte.
  Bytes tail = {'L', 'a', 't', 'e', 0};
  PiPLBuilder late;
  for (int i = 0; i < 3; ++i) late.Add("fici", Fici(28));
  d = Read(late.Add("wx86", tail, 100).Build());
  EXPECT_EQ(d.GetEntryPoint(), "Late");
  // A length past the size after the head stops the walk there.
  d = Read(PiPLBuilder().Add("name", {1, 'A'}, 200).Pascal("catg", "C").Build());
  EXPECT_EQ(d.GetName(), "");
  EXPECT_EQ(d.GetCategory(), "");
  // So does a length the original would take as negative.
  d = Read(PiPLBuilder().Add("vers", PiPLBuilder::Le(7), 0xFFFFFFF0).Pascal("catg", "C").Build());
  EXPECT_EQ(d.GetCategory(), "");
  // A nonzero version, or fewer than 30 bytes, and nothing is read.
  d = Read(PiPLBuilder().Filter("C", "N", "E").Build(1));
  EXPECT_EQ(d.GetName(), "");
  d = Read(PiPLBuilder().Add("name", {1, 'A', 0, 0}).Build());  // 30 bytes: read
  EXPECT_EQ(d.GetName(), "A");
  d = Read(PiPLBuilder().Add("name", {1, 'A', 0}).Build());  // 29 bytes: not read
  EXPECT_EQ(d.GetName(), "");
}

TEST(ReadPiMI, ReadsTheOldFormat) {
  CFilterDescription d("p/old.8bf", 1, 16000, "");
  Bytes pimi = {0xFE, 0xFF, 'O', 'l', 'd', 0,  // version -2, category
                0,    0,    0,   0,   5,   0, 0, 0, 0, 0, 0xFF, 0xFF, 'M', 'I', 'B', '8'};
  ASSERT_TRUE(d.ReadPiMI(pimi));
  ASSERT_TRUE(d.ReadPiMIName(Bytes{9, 9, 'E', 'm', 'b', 'o', 's', 's', 0}, FourCC("8BFM")));
  EXPECT_EQ(d.GetVersion(), -2);
  EXPECT_EQ(d.GetCategory(), "Old");
  EXPECT_EQ(d.GetPriority(), 5);
  EXPECT_EQ(d.GetModes(), -1);  // stored as it is
  EXPECT_EQ(d.GetHost(), FourCC("8BIM"));
  EXPECT_EQ(d.GetName(), "Emboss");
  EXPECT_EQ(d.GetEntryPoint(), "ENTRYPOINT16000");
  EXPECT_TRUE(d.IsFilter());

  CFilterDescription bad("p/old.8bf", 1, 7, "");
  pimi.pop_back();  // one byte short of the 16-byte block
  EXPECT_FALSE(bad.ReadPiMI(pimi));
  EXPECT_FALSE(bad.ReadPiMI(Bytes{1, 0, 'n', 'o', 'z', 'e', 'r', 'o'}));
  EXPECT_FALSE(bad.ReadPiMIName(Bytes{0, 0}, FourCC("8BFM")));
  EXPECT_FALSE(bad.ReadPiMIName(Bytes{0}, FourCC("8BFM")));
  EXPECT_EQ(bad.GetEntryPoint(), "");
  EXPECT_EQ(bad.GetKind(), 0u);
}

TEST(GetPiMIKind, ExtensionTable) {
  EXPECT_STREQ(GetPiMIKind(".8bf").type, "_8BFM");
  EXPECT_EQ(GetPiMIKind(".8BF").kind, FourCC("8BFM"));
  EXPECT_STREQ(GetPiMIKind(".8bi").type, "_8BIF");
  EXPECT_EQ(GetPiMIKind(".8BI").kind, FourCC("8BIM"));
  EXPECT_STREQ(GetPiMIKind(".8BP").type, "");
  EXPECT_EQ(GetPiMIKind(".8BP").kind, FourCC("8BPI"));
  EXPECT_STREQ(GetPiMIKind("    ").type, "_ARPI");
  EXPECT_STREQ(GetPiMIKind(".dll").type, "");
  EXPECT_EQ(GetPiMIKind("").kind, FourCC("    "));
}

}  // namespace
}  // namespace vardell::test
