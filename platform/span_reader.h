// A bounds-checked little-endian reader over bytes that a parser does not trust. Offsets and
// counts are 64-bit and every range is checked without overflow; a read outside the bytes
// answers false and leaves the output unchanged.
#pragma once

#include "platform/byte_order.h"

#include <cstdint>
#include <span>
#include <type_traits>

namespace vardell {

class SpanReader {
 public:
  SpanReader() noexcept = default;
  explicit SpanReader(std::span<const std::uint8_t> bytes) noexcept : m_bytes(bytes) {}

  std::uint64_t size() const noexcept { return m_bytes.size(); }
  std::span<const std::uint8_t> bytes() const noexcept { return m_bytes; }

  // True when [offset, offset + count) lies inside the bytes.
  bool Has(std::uint64_t offset, std::uint64_t count) const noexcept {
    return offset <= m_bytes.size() && count <= m_bytes.size() - offset;
  }

  template <class T>
  bool Read(std::uint64_t offset, T& value) const noexcept {
    static_assert(std::is_integral_v<T>);
    if (!Has(offset, sizeof(T))) return false;
    value = LoadLE<T>(m_bytes.data() + offset);
    return true;
  }

  // The sub-range [offset, offset + count), or false when it does not fit.
  bool Sub(std::uint64_t offset, std::uint64_t count,
           std::span<const std::uint8_t>& out) const noexcept {
    if (!Has(offset, count)) return false;
    out = m_bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
    return true;
  }

 private:
  std::span<const std::uint8_t> m_bytes;
};

}  // namespace vardell
