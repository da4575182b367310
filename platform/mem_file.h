// CMemFile: a CFile over bytes in memory that grows as it is written, as MFC's. Used for
// archives built in memory (documents inside documents, tests, fuzz targets).
#pragma once

#include "platform/export.h"
#include "platform/file.h"

#include <vector>

class VARDELL_API CMemFile : public CFile {
 public:
  CMemFile() = default;
  explicit CMemFile(std::vector<BYTE> bytes) : m_bytes(std::move(bytes)) {}
  CMemFile(const BYTE* buffer, UINT size) : m_bytes(buffer, buffer + (buffer ? size : 0)) {}

  // Reads up to count bytes from the position; none at or past the end.
  UINT Read(void* buffer, UINT count) override;
  // Writes at the position, growing the file (a gap after a seek past the end reads as 0).
  void Write(const void* buffer, UINT count) override;
  // Throws badSeek for a position before the start; a position past the end is allowed.
  ULONGLONG Seek(LONGLONG offset, UINT from) override;
  ULONGLONG GetLength() const override { return m_bytes.size(); }
  void SetLength(ULONGLONG newLength) override;
  ULONGLONG GetPosition() const override { return m_pos; }
  void Flush() override {}
  void Close() override {}
  void Abort() noexcept override {}

  const std::vector<BYTE>& bytes() const noexcept { return m_bytes; }
  // Hands the bytes over and leaves the file empty.
  std::vector<BYTE> Detach() noexcept;

 private:
  std::vector<BYTE> m_bytes;
  ULONGLONG m_pos = 0;
};
