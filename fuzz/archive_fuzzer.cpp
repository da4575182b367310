// libFuzzer target of archive loading: objects of two registered classes (one versionable) with
// strings, numbers, counts, the serialisable number and string arrays and references to other
// objects, read from an archive over memory with a buffer size chosen by the input. Every node
// created is tracked, so the target frees what loading leaves and the sanitizers see the rest.
// The platform tests include this file to run it over a seeded corpus.
#include "platform/archive.h"
#include "platform/mem_file.h"
#include "platform/collections.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

namespace vardell::fuzz {

// A file in memory. When told, it cannot answer its length or position, like a pipe.
class MemoryFile : public CMemFile {
 public:
  MemoryFile() = default;
  explicit MemoryFile(std::vector<std::uint8_t> bytes, bool lengthUnknown = false)
      : CMemFile(std::move(bytes)), m_lengthUnknown(lengthUnknown) {}

  ULONGLONG GetLength() const override {
    if (m_lengthUnknown) AfxThrowFileException(CFileException::badSeek);
    return CMemFile::GetLength();
  }
  ULONGLONG GetPosition() const override {
    if (m_lengthUnknown) AfxThrowFileException(CFileException::badSeek);
    return CMemFile::GetPosition();
  }

 private:
  bool m_lengthUnknown = false;
};

// A node of the fuzzed documents. References to other nodes are not owned: every node is in
// Live() from construction to destruction, and the target deletes what is left.
class CFuzzNode : public CObject {
  DECLARE_SERIAL(CFuzzNode)
 public:
  CFuzzNode() { Live().insert(this); }
  ~CFuzzNode() override { Live().erase(this); }
  static std::set<CFuzzNode*>& Live() {
    static std::set<CFuzzNode*> live;
    return live;
  }

  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) {
      ar << m_name << m_value << m_weight;
    } else {
      ar >> m_name >> m_value >> m_weight;
    }
    m_bytes.Serialize(ar);
    m_words.Serialize(ar);
    m_dwords.Serialize(ar);
    m_strings.Serialize(ar);
    if (ar.IsStoring()) {
      ar.WriteCount(static_cast<DWORD>(m_links.size()));
      for (CFuzzNode* link : m_links) ar << link;
    } else {
      // Each reference takes at least two bytes, so the end of the data stops a huge count.
      for (DWORD n = ar.ReadCount(); n > 0; --n)
        m_links.push_back(static_cast<CFuzzNode*>(ar.ReadObject(RUNTIME_CLASS(CFuzzNode))));
    }
  }

  CString m_name;
  DWORD m_value = 0;
  double m_weight = 0;
  CByteArray m_bytes;
  CWordArray m_words;
  CDWordArray m_dwords;
  CStringArray m_strings;
  std::vector<CFuzzNode*> m_links;
};

// Versionable: schema 1 adds a WORD, which loading asks GetObjectSchema about.
class CFuzzLeaf : public CFuzzNode {
  DECLARE_SERIAL(CFuzzLeaf)
 public:
  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) {
      ar << m_extra;
    } else if (ar.GetObjectSchema() >= 1) {
      ar >> m_extra;
    }
    CFuzzNode::Serialize(ar);
  }
  WORD m_extra = 0;
};

IMPLEMENT_SERIAL(CFuzzNode, CObject, 1)
IMPLEMENT_SERIAL(CFuzzLeaf, CFuzzNode, 1 | VERSIONABLE_SCHEMA)

// Loads what an input holds: up to four nodes, each followed by a string and a count, and deletes
// the nodes it created. Answers the number of nodes read before the first failure.
inline int LoadFuzzInput(const std::uint8_t* data, std::size_t size, int bufSize = 4096,
                         bool lengthUnknown = false) {
  MemoryFile file(std::vector<std::uint8_t>(data, data + size), lengthUnknown);
  const std::set<CFuzzNode*> before = CFuzzNode::Live();
  int nodes = 0;
  {
    CArchive ar(&file, CArchive::load, bufSize);
    try {
      for (; nodes < 4; ++nodes) {
        ar.ReadObject(RUNTIME_CLASS(CFuzzNode));
        CString text;
        ar >> text;
        ar.ReadCount();
      }
    } catch (CException* e) {
      e->Delete();
    }
  }
  std::vector<CFuzzNode*> created;
  for (CFuzzNode* node : CFuzzNode::Live())
    if (!before.count(node)) created.push_back(node);
  for (CFuzzNode* node : created) delete node;
  return nodes;
}

}  // namespace vardell::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The last byte also picks the buffer size (below 128 gives the archive's own) and whether the
  // file can tell its length.
  const std::uint8_t pick = size ? data[size - 1] : 0;
  vardell::fuzz::LoadFuzzInput(data, size, 64 + (pick >> 1) * 8, (pick & 1) != 0);
  return 0;
}
