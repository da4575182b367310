// A CFile over bytes in memory, for the effect-document fuzz target and the effects tests.
#pragma once

#include "platform/file.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace vardell::fuzz_effects {

// A CFile over bytes in memory.
class MemoryFile : public CFile {
 public:
  MemoryFile() = default;
  explicit MemoryFile(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

  UINT Read(void* buffer, UINT count) override {
    const std::size_t n = std::min<std::size_t>(count, m_bytes.size() - m_pos);
    if (n) std::memcpy(buffer, m_bytes.data() + m_pos, n);
    m_pos += n;
    return static_cast<UINT>(n);
  }
  void Write(const void* buffer, UINT count) override {
    if (m_pos + count > m_bytes.size()) m_bytes.resize(m_pos + count);
    if (count) std::memcpy(m_bytes.data() + m_pos, buffer, count);
    m_pos += count;
  }
  ULONGLONG Seek(LONGLONG offset, UINT from) override {
    const LONGLONG base = from == begin     ? 0
                          : from == current ? static_cast<LONGLONG>(m_pos)
                                            : static_cast<LONGLONG>(m_bytes.size());
    if (base + offset < 0) AfxThrowFileException(CFileException::badSeek);
    m_pos = static_cast<std::size_t>(base + offset);
    return m_pos;
  }
  ULONGLONG GetLength() const override { return m_bytes.size(); }
  ULONGLONG GetPosition() const override { return m_pos; }
  void SetLength(ULONGLONG length) override { m_bytes.resize(length); }
  void Flush() override {}
  void Close() override {}
  void Abort() noexcept override {}

  const std::vector<std::uint8_t>& bytes() const { return m_bytes; }

 private:
  std::vector<std::uint8_t> m_bytes;
  std::size_t m_pos = 0;
};

}  // namespace vardell::fuzz_effects
