#include "platform/mem_file.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

UINT CMemFile::Read(void* buffer, UINT count) {
  if (m_pos >= m_bytes.size() || count == 0) return 0;
  const std::size_t n =
      static_cast<std::size_t>(std::min<ULONGLONG>(count, m_bytes.size() - m_pos));
  std::memcpy(buffer, m_bytes.data() + m_pos, n);
  m_pos += n;
  return static_cast<UINT>(n);
}

void CMemFile::Write(const void* buffer, UINT count) {
  if (count == 0) return;
  const ULONGLONG end = m_pos + count;
  try {
    if (end > m_bytes.size()) m_bytes.resize(static_cast<std::size_t>(end));
  } catch (const std::bad_alloc&) {
    AfxThrowFileException(CFileException::diskFull);
  }
  std::memcpy(m_bytes.data() + m_pos, buffer, count);
  m_pos = end;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
  LONGLONG base = 0;
  if (from == current)
    base = static_cast<LONGLONG>(m_pos);
  else if (from == end)
    base = static_cast<LONGLONG>(m_bytes.size());
  else if (from != begin)
    AfxThrowFileException(CFileException::badSeek);
  if (offset < 0 ? base < -offset : offset > INT64_MAX - base)
    AfxThrowFileException(CFileException::badSeek);
  m_pos = static_cast<ULONGLONG>(base + offset);
  return m_pos;
}

void CMemFile::SetLength(ULONGLONG newLength) {
  try {
    m_bytes.resize(static_cast<std::size_t>(newLength));
  } catch (const std::bad_alloc&) {
    AfxThrowFileException(CFileException::diskFull);
  } catch (const std::length_error&) {
    AfxThrowFileException(CFileException::diskFull);
  }
  if (m_pos > newLength) m_pos = newLength;
}

std::vector<BYTE> CMemFile::Detach() noexcept {
  m_pos = 0;
  return std::exchange(m_bytes, {});
}
