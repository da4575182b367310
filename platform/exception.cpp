#include "platform/exception.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CMemoryException, CException)
IMPLEMENT_DYNAMIC(CNotSupportedException, CException)
IMPLEMENT_DYNAMIC(CInvalidArgException, CException)
IMPLEMENT_DYNAMIC(CFileException, CException)

BOOL CException::GetErrorMessage(char* buffer, UINT maxLength, UINT* helpContext) const {
  if (helpContext) *helpContext = 0;
  if (!buffer || maxLength == 0) return FALSE;
  CString text = Describe();
  std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(text.GetLength()), maxLength - 1);
  std::memcpy(buffer, static_cast<LPCTSTR>(text), n);
  buffer[n] = '\0';
  return TRUE;
}

int CFileException::ErrnoToException(int err) noexcept {
  switch (err) {
    case 0: return none;
    case ENOENT: return fileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP: return badPath;
    case EMFILE:
    case ENFILE: return tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS: return accessDenied;
    case EBADF: return invalidFile;
    case ESPIPE:
    case EINVAL: return badSeek;
    case EIO: return hardIO;
    case ETXTBSY:
    case EBUSY: return sharingViolation;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return diskFull;
    default: return generic;
  }
}

CString CFileException::Describe() const {
  static const char* const kCauses[] = {"no error",
                                        "unspecified error",
                                        "file not found",
                                        "bad path",
                                        "too many open files",
                                        "access denied",
                                        "invalid file",
                                        "cannot remove current directory",
                                        "directory full",
                                        "bad seek",
                                        "hardware I/O error",
                                        "sharing violation",
                                        "lock violation",
                                        "disk full",
                                        "end of file"};
  CString text = m_cause >= 0 && m_cause <= endOfFile ? kCauses[m_cause] : "file error";
  if (!m_strFileName.IsEmpty()) text = m_strFileName + ": " + text;
  return text;
}

void AfxThrowFileException(int cause, LONG osError, const char* fileName) {
  throw new CFileException(cause, osError, fileName);
}

void AfxThrowMemoryException() { throw new CMemoryException; }

void AfxThrowNotSupportedException() { throw new CNotSupportedException; }

void AfxThrowInvalidArgException() { throw new CInvalidArgException; }
