// Effect documents: layouts worked out by hand, a mask's round trip, and documents that must fail
// cleanly (a CArchiveException inside, null outside, no object and no temporary file left behind).
#include "effects_fixtures.h"

#include "effects/effect_names.h"
#include "platform/mem_file.h"
#include "platform/archive.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace vardell::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes B(std::initializer_list<int> values) { return Bytes(values.begin(), values.end()); }
Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }
Bytes Le32(std::initializer_list<std::uint32_t> values) {
  Bytes out;
  for (std::uint32_t v : values) out = out + PiPLBuilder::Le(v);
  return out;
}
Bytes NewClass(int schema, const std::string& name) {
  return B({0xFF, 0xFF, schema & 0xFF, schema >> 8, int(name.size()), 0}) + Text(name);
}
// enabled, needs-before, the name with its one-byte length, and the mask's length (0: none).
Bytes BasePart(int enable, int needBefore, const std::string& name, std::uint32_t mask = 0) {
  return Le32({std::uint32_t(enable), std::uint32_t(needBefore)}) + B({int(name.size())}) +
         Text(name) + Le32({mask});
}

}  // namespace

IMPLEMENT_SERIAL(CCountedEffect, CEffectObj, 1)

namespace {

class EffectArchive : public ::testing::Test {
 protected:
  Bytes Store(const CEffectObj& effect) {
    const std::string path = m_docs.File("doc.vfx");
    EXPECT_TRUE(StoreEffect(path.c_str(), &effect));
    return ReadBytes(path);
  }
  std::unique_ptr<CEffectObj> Load(const Bytes& bytes) {
    const std::string path = m_docs.File("in.vfx");
    WriteBytes(path, bytes);
    return std::unique_ptr<CEffectObj>(LoadEffect(path.c_str()));
  }
  // The loaded effect stored again (every field it read shows), or nothing when it did not load.
  Bytes Restored(const Bytes& bytes) {
    auto effect = Load(bytes);
    return effect ? Store(*effect) : Bytes();
  }
  // The cause of the archive exception that loading throws inside, or -1 for none.
  static int CauseInside(const Bytes& bytes) {
    CMemFile file(bytes);
    try {
      CArchive ar(&file, CArchive::load);
      delete ar.ReadObject(RUNTIME_CLASS(CEffectObj));
    } catch (CArchiveException* e) {
      const int cause = e->m_cause;
      e->Delete();
      return cause;
    }
    return -1;
  }
  // Loading fails outside with the document text and leaves nothing behind.
  void ExpectRefused(const Bytes& bytes, int cause) {
    ErrorRecorder errors;
    EXPECT_EQ(Load(bytes), nullptr);
    ASSERT_FALSE(errors.texts().empty());
    EXPECT_EQ(errors.texts().back(), m_docs.File("in.vfx") + " is not an effect document!");
    EXPECT_EQ(CauseInside(bytes), cause);
    EXPECT_EQ(g_live, 0);
    EXPECT_TRUE(m_work.Empty());
  }

  WorkFolder m_work;
  TempDir m_docs;
};

TEST_F(EffectArchive, LayoutsByHand) {
  CSoften soften;
  soften.m_wRadius = 3;
  const Bytes one = NewClass(1, "CSoften") + BasePart(1, 0, effect_names::kSoften) + B({3, 0});
  EXPECT_EQ(Store(soften), one);
  EXPECT_EQ(Restored(one), one);

  // A class met a second time is its index: two grays give FF FF ... "CGray", then 03 80. The
  // adjustment's fields are signed.
  CMultiEffects list;
  list.m_bEnable = 0;
  list.AddEffect(new CGray);
  list.AddEffect(new CGray);
  list.AddEffect(NewAdjust(1, 2, 3, 4, 5, 6, -7));
  const Bytes gray = BasePart(1, 0, effect_names::kGray);
  const Bytes two = NewClass(1, "CMultiEffects") + BasePart(0, 0, effect_names::kMultiEffects) +
                    B({3, 0}) + NewClass(1, "CGray") + gray + B({0x03, 0x80}) + gray +
                    NewClass(1, "CColorAdjust") + BasePart(1, 0, effect_names::kColorAdjust) +
                    Le32({1, 2, 3, 4, 5, 6, 0xFFFFFFF9});
  EXPECT_EQ(Store(list), two);
  EXPECT_EQ(Restored(two), two);
}

TEST_F(EffectArchive, MaskTravelsAsABitmapFile) {
  CGray gray;
  CMask mask;
  mask.CreateMask(3, 2, 0);
  for (int i = 0; i < 6; ++i) *mask.GetPixel(i % 3, i / 3) = static_cast<BYTE>(i + 1);
  gray.SetMask(mask);
  // File header (size 1078 + 8, pixels at 1078), info header (biSizeImage one stride), the grey
  // palette, then the rows bottom-up with their padding.
  Bytes file =
      B({'B', 'M'}) + Le32({1086, 0, 1078, 40, 3, 2}) + B({1, 0, 8, 0}) + Le32({0, 4, 0, 0, 0, 0});
  for (int i = 0; i < 256; ++i) file = file + B({i, i, i, 0});
  const Bytes expected = NewClass(1, "CGray") + BasePart(1, 0, effect_names::kGray, 1086) + file +
                         B({4, 5, 6, 0, 1, 2, 3, 0});
  EXPECT_EQ(Store(gray), expected);
  EXPECT_EQ(Restored(expected), expected);
  // 150 x 120: more than one 16384-byte piece.
  mask.CreateMask(150, 120, 0);
  Rng rng(11);
  for (int i = 0; i < 150 * 120; ++i) *mask.GetPixel(i % 150, i / 150) = rng.Byte();
  gray.SetMask(mask);
  EXPECT_EQ(Restored(Store(gray)), Store(gray));
  EXPECT_TRUE(m_work.Empty());
}

TEST_F(EffectArchive, WrongClassesReferencesAndMasksAreRefused) {
  const Bytes gray = BasePart(1, 0, "g");
  const Bytes listHead = NewClass(1, "CMultiEffects") + BasePart(1, 0, "m");
  ExpectRefused(NewClass(1, "CNoSuchEffect") + gray, CArchiveException::badClass);
  ExpectRefused(NewClass(0, "CWordArray") + B({0, 0}), CArchiveException::badClass);
  ExpectRefused(NewClass(2, "CSoften") + gray + B({1, 0}), CArchiveException::badSchema);
  ExpectRefused(B({0, 0}), -1);  // a null document: no exception, but no effect either
  // Children: another class, the list itself, and one child twice.
  ExpectRefused(listHead + B({1, 0}) + NewClass(0, "CWordArray") + B({0, 0}),
                CArchiveException::badClass);
  ExpectRefused(listHead + B({1, 0, 0x02, 0x00}), CArchiveException::badIndex);
  ExpectRefused(listHead + B({2, 0}) + NewClass(1, "CCountedEffect") + gray + B({0x04, 0x00}),
                CArchiveException::badIndex);
  // A count larger than the data, a document cut short.
  ExpectRefused(listHead + B({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}), CArchiveException::endOfFile);
  ExpectRefused(listHead + B({2, 0}) + NewClass(1, "CCountedEffect") + gray,
                CArchiveException::endOfFile);
  // A mask that is no bitmap file, and one longer than the document.
  ExpectRefused(NewClass(1, "CGray") + BasePart(1, 0, "g", 10) + Text("0123456789"),
                CArchiveException::genericException);
  ExpectRefused(NewClass(1, "CGray") + BasePart(1, 0, "g", 0xFFFFFFF0) + Text("BM..."),
                CArchiveException::endOfFile);
}

TEST_F(EffectArchive, UnopenableAndUnwritableFilesFailWithTheirTexts) {
  CCountedEffect effect;
  ErrorRecorder errors;
  const std::string missing = m_docs.File("no-folder/doc.vfx");
  EXPECT_EQ(LoadEffect(missing.c_str()), nullptr);
  EXPECT_FALSE(StoreEffect(missing.c_str(), &effect));
  const std::string cannotOpen = "Can not open effect document " + missing + ".";
  EXPECT_EQ(errors.texts(), (std::vector<std::string>{cannotOpen, cannotOpen}));
  // A file that refuses the bytes (a full disk): the write text, and the effect is kept.
  struct FullFile : CMemFile {
    void Write(const void*, UINT) override { AfxThrowFileException(CFileException::diskFull); }
  } full;
  errors.Clear();
  EXPECT_FALSE(StoreEffect(full, &effect));
  EXPECT_EQ(errors.Single(), "Writing effect document  failed.");
  EXPECT_EQ(g_live, 1);
}

TEST_F(EffectArchive, NestingIsLimited) {
  // Lists each holding the next, the last holding a null child.
  const auto nest = [](int levels) {
    Bytes b = NewClass(1, "CMultiEffects") + BasePart(1, 0, "m") + B({1, 0});
    for (int i = 1; i < levels; ++i) b = b + B({0x01, 0x80}) + BasePart(1, 0, "m") + B({1, 0});
    return b + B({0, 0});
  };
  EXPECT_NE(Load(nest(CMultiEffects::kMaxNesting)), nullptr);
  ExpectRefused(nest(CMultiEffects::kMaxNesting + 1), CArchiveException::genericException);
}

}  // namespace
}  // namespace vardell::test
