// MFC's exception classes. As in MFC they are thrown as pointers (`throw new CFileException`)
// and the catcher calls Delete(); the library catches every one of them at its boundary.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/win_types.h"

class VARDELL_API CException {
 public:
  virtual ~CException() = default;
  void Delete() noexcept { delete this; }
  virtual BOOL GetErrorMessage(char* buffer, UINT maxLength, UINT* helpContext = nullptr) const;
  virtual CString Describe() const { return "unknown exception"; }
};

class VARDELL_API CMemoryException : public CException {
 public:
  CString Describe() const override { return "out of memory"; }
};

class VARDELL_API CFileException : public CException {
 public:
  enum {
    none = 0,
    generic = 1,
    fileNotFound = 2,
    badPath = 3,
    tooManyOpenFiles = 4,
    accessDenied = 5,
    invalidFile = 6,
    removeCurrentDir = 7,
    directoryFull = 8,
    badSeek = 9,
    hardIO = 10,
    sharingViolation = 11,
    lockViolation = 12,
    diskFull = 13,
    endOfFile = 14,
  };

  explicit CFileException(int cause = none, LONG osError = -1, const char* fileName = nullptr)
      : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

  // The cause for a POSIX errno value.
  static int ErrnoToException(int err) noexcept;
  CString Describe() const override;

  int m_cause;
  LONG m_lOsError;
  CString m_strFileName;
};

[[noreturn]] VARDELL_API void AfxThrowFileException(int cause, LONG osError = -1,
                                                    const char* fileName = nullptr);
[[noreturn]] VARDELL_API void AfxThrowMemoryException();
