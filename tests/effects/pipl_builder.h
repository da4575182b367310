// Builds PiPL resource bytes for tests: a reserved word, version 0, a property count, then
// properties of vendor, key, id, length and data, exactly as added (no padding unless asked).
#pragma once

#include "effects/filter_description.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vardell::test {

class PiPLBuilder {
 public:
  using Bytes = std::vector<std::uint8_t>;

  // A property whose stored length is `length` (the data's size when negative).
  PiPLBuilder& Add(const char (&key)[5], const Bytes& data, long long length = -1,
                   const char (&vendor)[5] = "8BIM") {
    Put(FourCC(vendor));
    Put(FourCC(key));
    Put(0);
    Put(length < 0 ? static_cast<std::uint32_t>(data.size()) : static_cast<std::uint32_t>(length));
    m_bytes.insert(m_bytes.end(), data.begin(), data.end());
    ++m_count;
    return *this;
  }
  PiPLBuilder& Dword(const char (&key)[5], std::uint32_t value) { return Add(key, Le(value)); }
  // A Pascal string padded with zeros to a multiple of 4, the length saying so.
  PiPLBuilder& Pascal(const char (&key)[5], const std::string& text) {
    Bytes b{static_cast<std::uint8_t>(text.size())};
    b.insert(b.end(), text.begin(), text.end());
    b.resize((b.size() + 3) & ~std::size_t{3});
    return Add(key, b);
  }
  // A zero-terminated text padded to a multiple of 4.
  PiPLBuilder& Text(const char (&key)[5], const std::string& text) {
    Bytes b(text.begin(), text.end());
    b.resize((text.size() + 4) & ~std::size_t{3});
    return Add(key, b);
  }
  // The properties that make a kept filter.
  PiPLBuilder& Filter(const std::string& category, const std::string& name,
                      const std::string& entry) {
    Dword("kind", FourCC("8BFM"));
    if (!category.empty()) Pascal("catg", category);
    Pascal("name", name);
    return Text("wx86", entry);
  }

  Bytes Build(std::uint32_t version = 0) const {
    Bytes out{1, 0};
    Bytes v = Le(version), c = Le(m_count);
    out.insert(out.end(), v.begin(), v.end());
    out.insert(out.end(), c.begin(), c.end());
    out.insert(out.end(), m_bytes.begin(), m_bytes.end());
    return out;
  }

  static Bytes Le(std::uint32_t v) {
    return {static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 8),
            static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 24)};
  }

 private:
  void Put(std::uint32_t v) {
    Bytes b = Le(v);
    m_bytes.insert(m_bytes.end(), b.begin(), b.end());
  }

  Bytes m_bytes;
  std::uint32_t m_count = 0;
};

// A four-character code as text, "-" for none.
inline std::string Code(DWORD v) {
  return v ? std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)} : "-";
}

// The description's fields on one line: category/name/priority/entry point, then kind, version,
// host, modes (hex) and whether it is kept as a filter.
inline std::string Summary(const CFilterDescription& d) {
  char tail[64];
  std::snprintf(tail, sizeof tail, "/%s %X %s %X %d", Code(d.GetKind()).c_str(), d.GetVersion(),
                Code(d.GetHost()).c_str(), d.GetModes(), d.IsFilter());
  return d.GetCategory().str() + "/" + d.GetName().str() + "/" + std::to_string(d.GetPriority()) +
         "/" + d.GetEntryPoint().str() + tail;
}

}  // namespace vardell::test
