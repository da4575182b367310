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
  std::string
      type;  // "#10" names the integer 10; anything else is a text name (UTF-8), stored as given
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

inline PeFile WritePe(const std::vector<PeResource>& resources, bool pe32plus = false) {
  constexpr std::uint32_t kRva = 0x3000, kRaw = 0x200;
  struct Key {  // text names first (in text order), then integers ascending
    std::string text;
    int id = -1;
    bool operator<(const Key& o) const {
      if ((id < 0) != (o.id < 0)) return id < 0;
      return id < 0 ? text < o.text : id < o.id;
    }
  };
  auto key = [](const std::string& s) {
    return s.size() > 1 && s[0] == '#' ? Key{"", std::stoi(s.substr(1))} : Key{s, -1};
  };
  std::map<Key, std::map<Key, const PeResource*>> tree;
  for (const PeResource& r : resources) tree[key(r.type)][key(r.name)] = &r;

  std::vector<std::uint8_t> s;  // the section
  auto put = [&s](std::size_t at, std::uint64_t v, int n) {
    if (s.size() < at + n) s.resize(at + n);
    for (int i = 0; i < n; ++i) s[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
  };
  auto directory = [&](std::size_t at, const auto& entries) {
    int named = 0;
    for (const auto& e : entries) named += e.first.id < 0;
    put(at + 12, named, 2);
    put(at + 14, entries.size() - named, 2);
    return at + 16;
  };
  std::vector<std::pair<std::size_t, std::string>> names;  // entry offset, text to place later
  std::vector<std::pair<std::size_t, const PeResource*>> datas;
  std::size_t entry = directory(0, tree);
  std::size_t next = 16 + 8 * tree.size();
  for (const auto& [type, byName] : tree) {
    if (type.id < 0) names.emplace_back(entry, type.text);
    put(entry, type.id < 0 ? 0 : type.id, 4);
    put(entry + 4, 0x80000000u | next, 4);
    entry += 8;
    std::size_t nameEntry = directory(next, byName);
    next += 16 + 8 * byName.size();
    for (const auto& [name, r] : byName) {
      if (name.id < 0) names.emplace_back(nameEntry, name.text);
      put(nameEntry, name.id < 0 ? 0 : name.id, 4);
      put(nameEntry + 4, 0x80000000u | next, 4);
      nameEntry += 8;
      put(next + 12, 0, 2);
      put(next + 14, 1, 2);          // one language,
      put(next + 16, 0x409, 4);      // US English,
      put(next + 20, next + 24, 4);  // its data entry right after
      datas.emplace_back(next + 24, r);
      next += 24 + 16;
    }
  }
  for (const auto& [at, text] : names) {
    std::vector<std::uint16_t> units;  // from UTF-8, one to three bytes a character
    for (std::size_t i = 0; i < text.size(); ++i) {
      const unsigned c = static_cast<unsigned char>(text[i]);
      if (c < 0x80) {
        units.push_back(c);
      } else if (c < 0xE0) {
        units.push_back(((c & 0x1F) << 6) | (text[i + 1] & 0x3F));
        i += 1;
      } else {
        units.push_back(((c & 0x0F) << 12) | ((text[i + 1] & 0x3F) << 6) | (text[i + 2] & 0x3F));
        i += 2;
      }
    }
    put(at, 0x80000000u | next, 4);
    put(next, units.size(), 2);
    for (std::size_t i = 0; i < units.size(); ++i) put(next + 2 + 2 * i, units[i], 2);
    next += 2 + 2 * units.size();
  }
  for (const auto& [at, r] : datas) {
    next = (next + 7) & ~std::size_t{7};
    put(at, kRva + next, 4);  // an address, not an offset in the tree
    put(at + 4, r->data.size(), 4);
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
  auto at = [&f](std::size_t o, std::uint64_t v, int n) {
    for (int i = 0; i < n; ++i) f[o + i] = static_cast<std::uint8_t>(v >> (8 * i));
  };
  at(0, 0x5A4D, 2);
  at(0x3C, 0x40, 4);
  at(0x40, 0x00004550, 4);
  at(0x44, pe32plus ? 0x8664 : 0x14C, 2);
  at(0x46, 1, 2);  // one section
  at(0x54, optionalSize, 2);
  at(pe.optional, pe32plus ? 0x20B : 0x10B, 2);
  const std::size_t dirs = pe.optional + (pe32plus ? 112 : 96);
  at(dirs - 4, 16, 4);  // NumberOfRvaAndSizes
  at(dirs + 16, kRva, 4);
  at(dirs + 20, virtualSize, 4);
  const std::size_t sh = pe.sectionTable;
  for (int i = 0; i < 5; ++i) f[sh + i] = static_cast<std::uint8_t>(".rsrc"[i]);
  at(sh + 8, virtualSize, 4);
  at(sh + 12, kRva, 4);
  at(sh + 16, s.size(), 4);
  at(sh + 20, kRaw, 4);
  at(sh + 36, 0x40000040, 4);
  f.insert(f.end(), s.begin(), s.end());
  return pe;
}

inline void Poke32(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

}  // namespace vardell::test
