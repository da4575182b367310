// MFC's exception classes. As in MFC they are thrown as pointers (`throw new CFileException`)
// and the catcher calls Delete(); the library catches every one of them at its boundary. They are
// CObjects with run-time class information, so a catcher of CException* can ask IsKindOf.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/object.h"
#include "platform/win_types.h"

class VARDELL_API CException : public CObject {
  DECLARE_DYNAMIC(CException)
 public:
  CException() = default;
  void Delete() noexcept { delete this; }
  virtual BOOL GetErrorMessage(char* buffer, UINT maxLength, UINT* helpContext = nullptr) const;
  virtual CString Describe() const { return "unknown exception"; }
};

class VARDELL_API CMemoryException : public CException {
  DECLARE_DYNAMIC(CMemoryException)
 public:
  CString Describe() const override { return "out of memory"; }
};

// An operation the object does not support (for example storing a class that is not
// serialisable).
class VARDELL_API CNotSupportedException : public CException {
  DECLARE_DYNAMIC(CNotSupportedException)
 public:
  CString Describe() const override { return "unsupported operation"; }
};

// An argument outside what the operation accepts (a negative count, an index past the end).
class VARDELL_API CInvalidArgException : public CException {
  DECLARE_DYNAMIC(CInvalidArgException)
 public:
  CString Describe() const override { return "invalid argument"; }
};

class VARDELL_API CFileException : public CException {
  DECLARE_DYNAMIC(CFileException)
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
[[noreturn]] VARDELL_API void AfxThrowNotSupportedException();
[[noreturn]] VARDELL_API void AfxThrowInvalidArgException();
