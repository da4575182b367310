// A small PE writer for tests: one ".rsrc" section holding a resource tree built from a list of
// resources, in a PE32 or PE32+ file. The section's address (0x3000) differs from its file
// offset (0x200), so a reader that mixes up the two fails. Tests damage the result on purpose.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vardell::test {

struct PeResource {
  std::string type;  // "#10" names the integer 10; anything else is a text name (UTF-8)
  std::string name;
  std::vector<std::uint8_t> data;
};

struct PeFile {
  std::vector<std::uint8_t> bytes;
  std::size_t tree = 0;          // file offset of the resource directory
  std::uint32_t treeRva = 0;     // its address
  std::size_t optional = 0;      // file offset of the optional header
  std::size_t sectionTable = 0;  // file offset of the first section header
};

// Writes the n low bytes of v at `at`, little-endian, growing the buffer when needed.
inline void PutLE(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint64_t v, int n) {
  if (bytes.size() < at + n) bytes.resize(at + n);
  for (int i = 0; i < n; ++i) bytes[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

inline void Poke32(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t v) {
  PutLE(bytes, at, v, 4);
}

inline PeFile WritePe(const std::vector<PeResource>& resources, bool pe32plus = false) {
  constexpr std::uint32_t kRva = 0x3000, kRaw = 0x200;
  // Directory order: text names first (in text order), then integers ascending.
  auto key = [](const std::string& s) {
    if (s.size() > 1 && s[0] == '#') return "1" + std::string(10 - s.size() + 1, '0') + s.substr(1);
    return "0" + s;
  };
  std::map<std::string, std::map<std::string, const PeResource*>> tree;
  for (const PeResource& r : resources) tree[key(r.type)][key(r.name)] = &r;

  std::vector<std::uint8_t> s;  // the section
  // A directory's header, then for each entry its name or id (a text name is placed later).
  std::vector<std::pair<std::size_t, std::string>> names;  // entry offset, text
  auto entry = [&](std::size_t at, const std::string& k, std::size_t target) {
    if (k[0] == '0') names.emplace_back(at, k.substr(1));
    PutLE(s, at, k[0] == '0' ? 0 : std::stoul(k.substr(1)), 4);
    PutLE(s, at + 4, 0x80000000u | target, 4);
  };
  auto directory = [&](std::size_t at, const auto& entries) {
    int named = 0;
    for (const auto& e : entries) named += e.first[0] == '0';
    PutLE(s, at + 12, named, 2);
    PutLE(s, at + 14, entries.size() - named, 2);
  };
  std::vector<std::pair<std::size_t, const PeResource*>> datas;
  directory(0, tree);
  std::size_t typeEntry = 16, next = 16 + 8 * tree.size();
  for (const auto& [type, byName] : tree) {
    entry(typeEntry, type, next);
    typeEntry += 8;
    directory(next, byName);
    std::size_t nameEntry = next + 16;
    next += 16 + 8 * byName.size();
    for (const auto& [name, r] : byName) {
      entry(nameEntry, name, next);
      nameEntry += 8;
      PutLE(s, next + 12, 0x10000, 4);  // one language entry: US English,
      PutLE(s, next + 16, 0x409, 4);
      PutLE(s, next + 20, next + 24, 4);  // its data entry right after
      datas.emplace_back(next + 24, r);
      next += 24 + 16;
    }
  }
  for (const auto& [at, text] : names) {
    std::vector<std::uint16_t> units;  // from UTF-8, one to three bytes a character
    for (std::size_t i = 0; i < text.size();) {
      unsigned c = static_cast<unsigned char>(text[i++]);
      int more = c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
      for (c &= more == 2 ? 0x0F : more ? 0x1F : 0x7F; more > 0; --more)
        c = (c << 6) | (text[i++] & 0x3F);
      units.push_back(static_cast<std::uint16_t>(c));
    }
    PutLE(s, at, 0x80000000u | next, 4);
    PutLE(s, next, units.size(), 2);
    for (std::size_t i = 0; i < units.size(); ++i) PutLE(s, next + 2 + 2 * i, units[i], 2);
    next += 2 + 2 * units.size();
  }
  for (const auto& [at, r] : datas) {
    next = (next + 7) & ~std::size_t{7};
    PutLE(s, at, kRva + next, 4);  // an address, not an offset in the tree
    PutLE(s, at + 4, r->data.size(), 4);
    s.resize(next + r->data.size());
    std::copy(r->data.begin(), r->data.end(), s.begin() + next);
    next += r->data.size();
  }
  const std::size_t virtualSize = s.size();
  s.resize((s.size() + 0x1FF) & ~std::size_t{0x1FF});

  PeFile pe;
  const std::size_t optionalSize = pe32plus ? 240 : 224;
  pe.optional = 0x40 + 24;
  pe.sectionTable = pe.optional + optionalSize;
  pe.tree = kRaw;
  pe.treeRva = kRva;
  std::vector<std::uint8_t>& f = pe.bytes;
  f.assign(kRaw, 0);
  PutLE(f, 0, 0x5A4D, 2);
  PutLE(f, 0x3C, 0x40, 4);
  PutLE(f, 0x40, 0x00004550, 4);
  PutLE(f, 0x44, pe32plus ? 0x8664 : 0x14C, 2);
  PutLE(f, 0x46, 1, 2);  // one section
  PutLE(f, 0x54, optionalSize, 2);
  PutLE(f, pe.optional, pe32plus ? 0x20B : 0x10B, 2);
  const std::size_t dirs = pe.optional + (pe32plus ? 112 : 96);
  PutLE(f, dirs - 4, 16, 4);  // NumberOfRvaAndSizes
  PutLE(f, dirs + 16, kRva, 4);
  PutLE(f, dirs + 20, virtualSize, 4);
  const std::size_t sh = pe.sectionTable;
  std::copy_n(".rsrc", 5, f.begin() + sh);
  PutLE(f, sh + 8, virtualSize, 4);
  PutLE(f, sh + 12, kRva, 4);
  PutLE(f, sh + 16, s.size(), 4);
  PutLE(f, sh + 20, kRaw, 4);
  PutLE(f, sh + 36, 0x40000040, 4);
  f.insert(f.end(), s.begin(), s.end());
  return pe;
}

}  // namespace vardell::test
