// CFile over a POSIX file descriptor, with MFC's open modes and CFileException.
//
// Differences from the platform, kept small on purpose: share modes are accepted and ignored
// (POSIX has no mandatory sharing); positions and lengths are 64-bit, as in later MFC. As on the
// platform, opening a directory fails with accessDenied.
#pragma once

#include "platform/cstring.h"
#include "platform/exception.h"
#include "platform/export.h"
#include "platform/win_types.h"

#include <ctime>

struct CFileStatus {
  std::time_t m_mtime = 0;
  ULONGLONG m_size = 0;
  BYTE m_attribute = 0;  // 0x10 for a directory, 0x01 for read-only
  CString m_szFullName;
};

class VARDELL_API CFile {
 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    shareCompat = 0x0000,
    shareExclusive = 0x0010,
    shareDenyWrite = 0x0020,
    shareDenyRead = 0x0030,
    shareDenyNone = 0x0040,
    modeNoInherit = 0x0080,
    modeCreate = 0x1000,
    modeNoTruncate = 0x2000,
    typeText = 0x4000,
    typeBinary = 0x8000,
  };
  enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };
  static constexpr int hFileNull = -1;

  CFile() noexcept = default;
  explicit CFile(int hFile) noexcept : m_hFile(hFile) {}
  // Opens or throws a CFileException*.
  CFile(const char* fileName, UINT openFlags);
  virtual ~CFile();
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  // Returns FALSE on failure and fills *error when given; never throws.
  virtual BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
  // Reads up to count bytes; fewer only at the end of the file. Throws on an I/O error.
  virtual UINT Read(void* buffer, UINT count);
  // Writes all count bytes or throws (diskFull, accessDenied, ...).
  virtual void Write(const void* buffer, UINT count);
  // Throws badSeek for a position before the start of the file.
  virtual ULONGLONG Seek(LONGLONG offset, UINT from);
  void SeekToBegin() { Seek(0, begin); }
  ULONGLONG SeekToEnd() { return Seek(0, end); }
  virtual ULONGLONG GetLength() const;
  virtual void SetLength(ULONGLONG newLength);
  virtual ULONGLONG GetPosition() const;
  virtual void Flush();
  // Close throws on an error; Abort closes and never throws.
  virtual void Close();
  virtual void Abort() noexcept;

  CString GetFileName() const;
  CString GetFileTitle() const;
  CString GetFilePath() const { return m_strFileName; }
  BOOL IsOpen() const noexcept { return m_hFile != hFileNull; }

  static void Rename(const char* oldName, const char* newName);
  static void Remove(const char* fileName);
  static BOOL GetStatus(const char* fileName, CFileStatus& status);

  int m_hFile = hFileNull;
  BOOL m_bCloseOnDelete = FALSE;

 protected:
  [[noreturn]] void ThrowErrno(int err) const;
  CString m_strFileName;
};
