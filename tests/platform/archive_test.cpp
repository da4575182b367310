// CArchive in MFC 4.2's format: layouts worked by hand, round trips, loading failures with their
// causes, archives cut at every byte and a seeded corpus through the fuzz target, with no object
// left behind.
#include "platform/archive.h"
#include "platform/collections.h"
#include "platform_fixtures.h"
#include "support/test_support.h"

#include "fuzz/archive_fuzzer.cpp"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <type_traits>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
using vardell::fuzz::MemoryFile;
using vardell::test::CauseOf;
using vardell::test::Hex;
using vardell::test::ThrownBy;

int g_live = 0;  // test objects alive, so that leaks show in every build

template <class... T>
void Exchange(CArchive& ar, T&... values) {
  if (ar.IsStoring())
    (ar << ... << values);
  else
    (ar >> ... >> values);
}

class CArcLeaf : public CObject {
  DECLARE_SERIAL(CArcLeaf)
 public:
  CArcLeaf() { ++g_live; }
  explicit CArcLeaf(DWORD value) : CArcLeaf() { m_value = value; }
  ~CArcLeaf() override { --g_live; }
  void Serialize(CArchive& ar) override { Exchange(ar, m_value); }
  DWORD m_value = 0;
};

class CArcOther : public CArcLeaf {
  DECLARE_SERIAL(CArcOther)
};

class CArcVersioned : public CArcLeaf {
  DECLARE_SERIAL(CArcVersioned)
 public:
  void Serialize(CArchive& ar) override {
    if (ar.IsLoading()) {
      m_schema = ar.GetObjectSchema();
      m_again = ar.GetObjectSchema();
    }
  }
  UINT m_schema = 0, m_again = 0;
};

// Owns its children; the link refers to an object owned elsewhere and stored before it.
class CArcNode : public CObject {
  DECLARE_SERIAL(CArcNode)
 public:
  CArcNode() { ++g_live; }
  ~CArcNode() override {
    for (int i = 0; i < m_children.GetSize(); ++i) delete m_children[i];
    --g_live;
  }
  void Serialize(CArchive& ar) override {
    m_values.Serialize(ar);
    m_children.Serialize(ar);
    Exchange(ar, m_name, m_link);
  }
  CString m_name;
  CObject* m_link = nullptr;
  CDWordArray m_values;
  CObArray m_children;
};

IMPLEMENT_SERIAL(CArcLeaf, CObject, 1)
IMPLEMENT_SERIAL(CArcOther, CArcLeaf, 2)
IMPLEMENT_SERIAL(CArcVersioned, CArcLeaf, 3 | VERSIONABLE_SCHEMA)
IMPLEMENT_SERIAL(CArcNode, CObject, 1)

Bytes Store(const std::function<void(CArchive&)>& write, int bufSize = 4096) {
  MemoryFile file;
  CArchive ar(&file, CArchive::store, bufSize);
  write(ar);
  ar.Close();
  return file.bytes();
}

void Load(const Bytes& bytes, const std::function<void(CArchive&)>& read, int bufSize = 4096,
          bool lengthUnknown = false) {
  MemoryFile file(bytes, lengthUnknown);
  CArchive ar(&file, CArchive::load, bufSize);
  read(ar);
}

int LoadCause(const Bytes& bytes, const std::function<void(CArchive&)>& read, int bufSize = 4096,
              bool lengthUnknown = false) {
  return CauseOf([&] { Load(bytes, read, bufSize, lengthUnknown); });
}

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
Bytes NewClass(int schema, const std::string& name) {
  return Bytes{0xFF, 0xFF, BYTE(schema), BYTE(schema >> 8), BYTE(name.size()), 0} +
         Bytes(name.begin(), name.end());
}

// The string the bytes hold, "cause N" for an archive exception, "+" after it for bytes left.
std::string ReadText(const Bytes& bytes, bool lengthUnknown = false) {
  std::string text;
  const int cause = LoadCause(
      bytes,
      [&](CArchive& ar) {
        CString s;
        BYTE left;
        ar >> s;
        text = s.str() + (ar.Read(&left, 1) ? "+" : "");
      },
      4096, lengthUnknown);
  return cause == -1 ? text : "cause " + std::to_string(cause);
}

void ReadAny(CArchive& ar) { delete ar.ReadObject(nullptr); }

TEST(Archive, PrimitivesAtPlatformWidthsAndDirections) {
  const auto values =
      std::make_tuple(BYTE(0x12), WORD(0x3456), LONG(-2), DWORD(0x89ABCDEF), short(-3), 'z', 1.5f,
                      -0.25, CPoint(1, -1), CSize(2, 3), CRect(4, 5, 6, 7));
  auto copy = values;
  const Bytes bytes =
      Store([&](CArchive& ar) { std::apply([&](auto&... v) { Exchange(ar, v...); }, copy); });
  EXPECT_EQ(bytes, Hex("12 5634 FEFFFFFF EFCDAB89 FDFF 7A 0000C03F 000000000000D0BF "
                       "01000000 FFFFFFFF 02000000 03000000 04000000 05000000 06000000 07000000"));
  Load(bytes, [&](CArchive& ar) {
    std::remove_const_t<decltype(values)> back{};
    std::apply([&](auto&... v) { Exchange(ar, v...); }, back);
    EXPECT_TRUE(back == values);
    BYTE by;
    EXPECT_EQ(ar.Read(&by, 1), 0u);  // short at the end, without throwing
  });
  DWORD dw;
  EXPECT_EQ(LoadCause(Hex("010203"), [&](CArchive& ar) { ar >> dw; }),
            CArchiveException::endOfFile);
  EXPECT_EQ(LoadCause(Hex("01"), [](CArchive& ar) { ar << BYTE(1); }), CArchiveException::readOnly);
  MemoryFile file;
  CArchive ar(&file, CArchive::store);
  BYTE by = 0;
  EXPECT_EQ(CauseOf([&] { ar >> by; }), CArchiveException::writeOnly);
  ar.Close();
  EXPECT_EQ(CauseOf([&] { ar << by; }), CArchiveException::genericException);
}

TEST(Archive, BuffersUntilFlushAndGivesBackReadAhead) {
  MemoryFile out;
  {
    CArchive ar(&out, CArchive::store);
    ar << DWORD(1);
    EXPECT_EQ(out.bytes().size(), 0u);
    ar << WORD(3);
  }  // the destructor flushes
  EXPECT_EQ(out.bytes().size(), 6u);
  MemoryFile in(out.bytes());
  {
    CArchive ar(&in, CArchive::load);
    DWORD dw;
    ar >> dw;
  }
  EXPECT_EQ(in.GetPosition(), 4u);

  // Raw blocks larger than the buffer; a caller's buffer below 128 bytes is never used.
  Bytes block(1000, 0x5C);
  BYTE tiny[16];
  const Bytes bytes = Store([&](CArchive& ar) {
    CArchive small(ar.GetFile(), CArchive::store, sizeof tiny, tiny);
    small << BYTE(0xAA);
    small.Write(block.data(), 1000);
  });
  ASSERT_EQ(bytes, Hex("AA") + block);
  Load(
      bytes,
      [&](CArchive& ar) {
        Bytes back(1201);
        EXPECT_EQ(ar.Read(back.data(), 1201), 1001u);
        EXPECT_EQ(Bytes(back.begin() + 1, back.begin() + 1001), block);
      },
      128);
}

TEST(Archive, CountsAndStrings) {
  const DWORD counts[] = {0xFFFE, 0xFFFF};
  const char* const countBytes[] = {"FEFF", "FFFF FFFF0000"};
  for (int i = 0; i < 2; ++i) {
    const DWORD count = counts[i];
    EXPECT_EQ(Store([&](CArchive& ar) { ar.WriteCount(count); }), Hex(countBytes[i])) << count;
    Load(Hex(countBytes[i]), [&](CArchive& ar) { EXPECT_EQ(ar.ReadCount(), count); });
  }
  const int lengths[] = {254, 255, 0xFFFD, 0xFFFE};
  const char* const prefixes[] = {"FE", "FF FF00", "FF FDFF", "FF FFFF FEFF0000"};
  for (int i = 0; i < 4; ++i) {
    const CString text('x', lengths[i]);
    const Bytes bytes = Store([&](CArchive& ar) { ar << text; });
    EXPECT_EQ(bytes, Hex(prefixes[i]) + Bytes(lengths[i], 'x')) << lengths[i];
    EXPECT_EQ(ReadText(bytes), text.str());
    EXPECT_EQ(ReadText(bytes, true), text.str());  // over a file that cannot tell its length
  }
  EXPECT_EQ(Store([](CArchive& ar) { ar << CString("\xD6\xD0\xCE\xC4"); }),  // GBK counts bytes
            Hex("04 D6D0CEC4"));
  // Strings of Unicode builds are converted (U+4E2D to GBK, a lone surrogate to '?', a zero ends
  // the text); a DWORD length of 0xFFFFFFFF is taken for the Unicode marker, as the platform
  // does; two gigabytes announced with three bytes there are refused before any allocation.
  const char* const reads[] = {"FFFEFF 01 2D4E>\xD6\xD0",       "FFFEFF 03 6100 00D8 6200>a?b",
                               "FFFEFF 03 6100 0000 6200>a",    "FFFF FFFFFFFF FF 01 6100>a",
                               "FFFEFF FFFEFF 01 6100>cause 3", "03 6162>cause 3",
                               "FFFEFF 02 6100 62>cause 3",     "FF FFFF FFFFFF7F 010203>cause 3"};
  for (const std::string read : reads) {
    const std::size_t at = read.find('>');
    EXPECT_EQ(ReadText(Hex(read.substr(0, at))), read.substr(at + 1)) << read;
    EXPECT_EQ(ReadText(Hex(read.substr(0, at)), true), read.substr(at + 1)) << read;
  }
}

TEST(Archive, ObjectsShareOneIndexSpace) {
  CArcLeaf a(0x11223344), b(0x55667788);
  CArcOther c, d;
  c.m_value = 0xAABBCCDD;
  const Bytes bytes = Store([&](CArchive& ar) {
    ar << &a << &b << &a << static_cast<CObject*>(nullptr) << &c << &c << &d;
  });
  EXPECT_EQ(bytes, NewClass(1, "CArcLeaf") + Hex("44332211") +       // class 1, a 2
                       Hex("01808877665502000000") +                 // b 3, a, null
                       NewClass(2, "CArcOther") + Hex("DDCCBBAA") +  // class 4, c 5
                       Hex("0500048000000000"));                     // c, d 6
  Load(bytes, [](CArchive& ar) {
    CObject* got[7];
    for (CObject*& p : got) p = ar.ReadObject(nullptr);
    EXPECT_TRUE(got[2] == got[0] && got[3] == nullptr && got[5] == got[4]);
    EXPECT_TRUE(got[4]->IsKindOf(RUNTIME_CLASS(CArcOther)));
    EXPECT_EQ(static_cast<CArcLeaf*>(got[4])->m_value, 0xAABBCCDDu);
    for (int i : {0, 1, 4, 6}) delete got[i];
  });
  EXPECT_EQ(g_live, 4);
  // What an object writes itself is numbered after it: node 2, leaf class 3, leaf 4.
  CArcNode node;
  auto* child = new CArcLeaf(9);
  node.m_children.Add(child);
  const Bytes nested = Store([&](CArchive& ar) { ar << &node << child; });
  EXPECT_EQ(Bytes(nested.end() - 2, nested.end()), Hex("0400"));
}

TEST(Archive, SchemasAndVersionableClasses) {
  CArcVersioned v1, v2;
  const Bytes stored = Store([&](CArchive& ar) { ar << &v1 << &v2; });
  EXPECT_EQ(stored, NewClass(3, "CArcVersioned") + Hex("0180"));  // the flag is not stored
  for (int schema : {3, 1}) {
    Bytes bytes = stored;
    bytes[2] = BYTE(schema);
    Load(bytes, [&](CArchive& ar) {
      for (int i = 0; i < 2; ++i) {
        CArcVersioned* v = nullptr;
        ar >> v;
        EXPECT_TRUE(v->m_schema == UINT(schema) && v->m_again == UINT(-1)) << schema;
        delete v;
      }
    });
  }
  CArcLeaf leaf(1);
  Bytes other = Store([&](CArchive& ar) { ar << &leaf; });
  other[2] = 2;
  EXPECT_EQ(LoadCause(other, ReadAny), CArchiveException::badSchema);
  EXPECT_EQ(g_live, 3);
}

TEST(Archive, LoadingErrorsHaveThePlatformsCauses) {
  const Bytes leaf = NewClass(1, "CArcLeaf") + Hex("44332211");
  const std::pair<Bytes, int> cases[] = {
      {NewClass(1, "CArcLeaX") + Hex("01000000"), CArchiveException::badClass},
      {NewClass(1, "CArc"), CArchiveException::badClass},  // name cut short
      {NewClass(1, std::string(64, 'C')), CArchiveException::badClass},
      {Hex("0080"), CArchiveException::badIndex},
      {Hex("0180"), CArchiveException::badIndex},
      {Hex("0300"), CArchiveException::badIndex},
      {Hex("FF7F01000080"), CArchiveException::badIndex},
      {leaf + Hex("0280"), CArchiveException::badIndex},  // an object where a class goes
      {leaf + Hex("0100"), CArchiveException::badIndex},  // a class where an object goes
      {Bytes(leaf.begin(), leaf.end() - 2), CArchiveException::endOfFile},
      {Hex("FFFF01"), CArchiveException::endOfFile},
      {leaf + leaf, -1}};
  for (const auto& [bytes, cause] : cases)
    EXPECT_EQ(LoadCause(bytes, [](CArchive& ar) { ReadAny(ar), ReadAny(ar); }), cause)
        << testing::PrintToString(bytes);
  // Typed reads refuse a new object of another class before creating it, and a reference too.
  EXPECT_EQ(LoadCause(leaf, [](CArchive& ar) { ar.ReadObject(RUNTIME_CLASS(CArcOther)); }),
            CArchiveException::badClass);
  EXPECT_EQ(LoadCause(leaf + Hex("0200"),
                      [](CArchive& ar) {
                        std::unique_ptr<CObject> first(ar.ReadObject(RUNTIME_CLASS(CArcLeaf)));
                        ar.ReadObject(RUNTIME_CLASS(CArcVersioned));
                      }),
            CArchiveException::badClass);
  EXPECT_EQ(
      LoadCause(Hex("0200"), [](CArchive& ar) { ar.SerializeClass(RUNTIME_CLASS(CArcLeaf)); }),
      CArchiveException::badIndex);
  EXPECT_EQ(g_live, 0);

  // A class that is not serialisable is refused both ways, and nothing is written for it.
  CPtrArray pointers;
  MemoryFile file;
  {
    CArchive ar(&file, CArchive::store);
    EXPECT_EQ(ThrownBy([&] { ar << &pointers; }), RUNTIME_CLASS(CNotSupportedException));
  }
  EXPECT_TRUE(file.bytes().empty());
  EXPECT_EQ(
      ThrownBy([&] { Load(leaf, [](CArchive& ar) { ar.ReadObject(RUNTIME_CLASS(CPtrArray)); }); }),
      RUNTIME_CLASS(CNotSupportedException));
}

TEST(Archive, BigTagsFromIndex0x7FFF) {
  // Indices 1 to 0x7FFE are taken, so the class gets 0x7FFF and its first object 0x8000.
  std::vector<CArcLeaf> fillers(0x7FFE);
  CArcLeaf a(1), b(2);
  const Bytes bytes = Store([&](CArchive& ar) {
    for (const CArcLeaf& f : fillers) ar.MapObject(&f);
    ar << &a << &b << &a;
  });
  EXPECT_EQ(bytes, NewClass(1, "CArcLeaf") + Hex("01000000") +  // class, a
                       Hex("FF7FFF7F008002000000") +            // class ref, b
                       Hex("FF7F00800000"));                    // a again
  Load(bytes, [&](CArchive& ar) {
    for (const CArcLeaf& f : fillers) ar.MapObject(&f);
    CArcLeaf *a2 = nullptr, *b2 = nullptr, *a3 = nullptr;
    ar >> a2 >> b2 >> a3;
    EXPECT_TRUE(a3 == a2 && b2->m_value == 2);
    delete a2;
    delete b2;
  });
}

// Every serialisable array directly, a CObArray and a CByteArray also as objects.
struct AllArrays {
  CByteArray bytes;
  CWordArray words;
  CDWordArray dwords;
  CStringArray strings;
  CPtrArray pointers;
  CObArray objects;
  CObArray* objectsAgain = &objects;
  CByteArray* bytesAgain = &bytes;
  void Serialize(CArchive& ar) {
    for (CObject* array :
         std::initializer_list<CObject*>{&bytes, &words, &dwords, &strings, &pointers, &objects})
      array->Serialize(ar);  // CPtrArray writes nothing
    Exchange(ar, objectsAgain, bytesAgain);
  }
};

TEST(Archive, CollectionsInThePlatformsLayout) {
  CArcLeaf a(0xA), b(0xB);
  AllArrays arrays;
  for (BYTE v : {1, 2, 3}) arrays.bytes.Add(v);
  arrays.words.Add(0x1234);
  arrays.words.Add(0xFFFF);
  arrays.dwords.Add(0x11223344);
  for (const CString& s : {CString("a"), CString(), CString('y', 255)}) arrays.strings.Add(s);
  arrays.pointers.Add(&a);
  for (CObject* p : {(CObject*)&a, (CObject*)&b, (CObject*)&a, (CObject*)nullptr})
    arrays.objects.Add(p);
  const Bytes stored = Store([&](CArchive& ar) { arrays.Serialize(ar); });
  EXPECT_EQ(stored, Hex("030001020302003412FFFF0100443322110300016100FFFF00") + Bytes(255, 'y') +
                        Hex("0400") + NewClass(1, "CArcLeaf") +
                        Hex("0A00000001800B00000002000000") + NewClass(0, "CObArray") +
                        Hex("04000200030002000000") + NewClass(0, "CByteArray") +
                        Hex("0300010203"));
  // Loaded back, they store the same bytes: values, and the identity of shared elements.
  Load(stored, [&](CArchive& ar) {
    AllArrays back;
    back.Serialize(ar);
    EXPECT_EQ(Store([&](CArchive& again) { back.Serialize(again); }), stored);
    EXPECT_TRUE(back.objectsAgain != &back.objects && back.objects.GetSize() == 4);
    delete back.objects[0];
    delete back.objects[1];
    delete back.objectsAgain;
    delete back.bytesAgain;
  });
  EXPECT_EQ(g_live, 2);
  // Short data throws (MFC 4.2 zero-filled), and a huge count is refused before allocating.
  EXPECT_EQ(LoadCause(Hex("0300010000000200"), [](CArchive& ar) { CDWordArray().Serialize(ar); }),
            CArchiveException::endOfFile);
  EXPECT_EQ(LoadCause(Hex("FFFFFFFFFF7F0000"), [](CArchive& ar) { CObArray().Serialize(ar); }),
            CArchiveException::endOfFile);
}

// A graph with a shared child and a cycle, strings and arrays: read whole it keeps identity; cut
// at every byte it fails with an archive exception and leaves no object alive.
TEST(Archive, GraphRoundTripAndEveryCutFailsCleanly) {
  Bytes whole;
  {
    CArcNode root, *inner = new CArcNode;
    auto* leaf = new CArcLeaf(7);
    root.m_name = "root";
    root.m_values.Add(1);
    inner->m_name = "\xD6\xD0\xCE\xC4";
    inner->m_link = &root;
    inner->m_children.Add(new CArcLeaf(8));
    inner->m_children.Add(new CArcVersioned);
    root.m_link = leaf;
    for (CObject* child : {static_cast<CObject*>(leaf), static_cast<CObject*>(inner),
                           static_cast<CObject*>(new CArcOther)})
      root.m_children.Add(child);
    whole = Store([&](CArchive& ar) {
      ar << &root << CString('y', 300);
      ar << WORD(0xBEEF);
    });
  }
  auto read = [](CArchive& ar) {
    CArcNode* root = nullptr;
    ar >> root;
    std::unique_ptr<CArcNode> owner(root);
    CString tail;
    WORD last;
    ar >> tail >> last;
    auto* inner = static_cast<CArcNode*>(root->m_children[1]);
    EXPECT_TRUE(root->m_link == root->m_children[0] && inner->m_link == root);
    EXPECT_TRUE(inner->m_name == "\xD6\xD0\xCE\xC4" && root->m_values[0] == 1 && last == 0xBEEF);
  };
  EXPECT_EQ(LoadCause(whole, read), -1);
  EXPECT_EQ(g_live, 0);
  for (std::size_t cut = 0; cut < whole.size(); ++cut) {
    const int cause = LoadCause(Bytes(whole.begin(), whole.begin() + cut), read, 128 + cut % 3);
    EXPECT_TRUE(cause == CArchiveException::endOfFile || cause == CArchiveException::badClass)
        << "cut at " << cut << ": " << cause;
    ASSERT_EQ(g_live, 0) << "cut at " << cut;
  }
}

// The fuzz target over seeded mutations of a document it reads whole.
TEST(Archive, FuzzTargetOverSeededCorpus) {
  using vardell::fuzz::CFuzzNode;
  const Bytes seed = [] {
    CFuzzNode first;
    vardell::fuzz::CFuzzLeaf second;
    first.m_name = CString('n', 300);
    first.m_bytes.Add(1);
    first.m_strings.Add("s");
    second.m_links = {&first, &second};
    first.m_links = {&second};
    return Store([&](CArchive& ar) {
      for (CFuzzNode* n : {&first, static_cast<CFuzzNode*>(&second), &first}) {
        ar << n << CString("between");
        ar.WriteCount(0x10000);
      }
    });
  }();
  ASSERT_EQ(vardell::fuzz::LoadFuzzInput(seed.data(), seed.size()), 3);
  vardell::test::Rng rng(20240917);
  for (int round = 0; round < 400; ++round) {
    Bytes f = seed;
    for (int k = rng.Range(1, 3); k > 0; --k) f[rng.Range(0, int(f.size()) - 1)] = rng.Byte();
    if (rng.Range(0, 3) == 0) f.resize(rng.Range(0, int(f.size())));
    vardell::fuzz::LoadFuzzInput(f.data(), f.size(), 64 + rng.Range(0, 127) * 8, rng.Range(0, 1));
    ASSERT_TRUE(CFuzzNode::Live().empty()) << "round " << round;
    LLVMFuzzerTestOneInput(f.data(), f.size());
  }
}

}  // namespace
