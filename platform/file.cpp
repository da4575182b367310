#include "platform/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

CFile::CFile(const char* fileName, UINT openFlags) {
  CFileException error;
  if (!Open(fileName, openFlags, &error))
    AfxThrowFileException(error.m_cause, error.m_lOsError, fileName);
}

CFile::~CFile() {
  if (m_hFile != hFileNull && m_bCloseOnDelete) Abort();
}

BOOL CFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
  auto fail = [&](int err, int cause) {
    if (error) {
      error->m_cause = cause;
      error->m_lOsError = err;
      error->m_strFileName = fileName ? fileName : "";
    }
    return FALSE;
  };
  auto failErrno = [&](int err) { return fail(err, CFileException::ErrnoToException(err)); };
  if (m_hFile != hFileNull) Abort();
  if (!fileName || !*fileName) return failErrno(ENOENT);

  int flags = O_CLOEXEC;
  switch (openFlags & 3) {
    case modeRead: flags |= O_RDONLY; break;
    case modeWrite: flags |= O_WRONLY; break;
    case modeReadWrite: flags |= O_RDWR; break;
    default: return fail(EINVAL, CFileException::generic);  // both read and write bits
  }
  if (openFlags & modeCreate) {
    flags |= O_CREAT;
    if (!(openFlags & modeNoTruncate)) flags |= O_TRUNC;
  }
  int fd;
  do {
    fd = ::open(fileName, flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return failErrno(errno);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    ::close(fd);
    return failErrno(EISDIR);
  }
  m_hFile = fd;
  m_bCloseOnDelete = TRUE;
  m_strFileName = fileName;
  return TRUE;
}

void CFile::ThrowErrno(int err) const {
  AfxThrowFileException(CFileException::ErrnoToException(err), err, m_strFileName);
}

namespace {

// Reading a file opened only for writing, or writing one opened only for reading, is
// accessDenied on the platform; POSIX says EBADF.
int AccessErrno(int err) noexcept { return err == EBADF ? EACCES : err; }

}  // namespace

UINT CFile::Read(void* buffer, UINT count) {
  if (count == 0) return 0;
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  auto* out = static_cast<char*>(buffer);
  UINT done = 0;
  while (done < count) {
    ssize_t n = ::read(m_hFile, out + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      ThrowErrno(AccessErrno(errno));
    }
    if (n == 0) break;
    done += static_cast<UINT>(n);
  }
  return done;
}

void CFile::Write(const void* buffer, UINT count) {
  if (count == 0) return;
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  const auto* in = static_cast<const char*>(buffer);
  UINT done = 0;
  while (done < count) {
    ssize_t n = ::write(m_hFile, in + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      ThrowErrno(AccessErrno(errno));
    }
    if (n == 0) ThrowErrno(ENOSPC);
    done += static_cast<UINT>(n);
  }
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  int whence = from == begin ? SEEK_SET : from == current ? SEEK_CUR : from == end ? SEEK_END : -1;
  if (whence < 0) ThrowErrno(EINVAL);
  off_t pos = ::lseek(m_hFile, static_cast<off_t>(offset), whence);
  if (pos < 0) ThrowErrno(errno);
  return static_cast<ULONGLONG>(pos);
}

ULONGLONG CFile::GetLength() const {
  struct stat st {};
  if (m_hFile == hFileNull || ::fstat(m_hFile, &st) != 0)
    ThrowErrno(m_hFile == hFileNull ? EBADF : errno);
  return static_cast<ULONGLONG>(st.st_size);
}

void CFile::SetLength(ULONGLONG newLength) {
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  if (newLength > static_cast<ULONGLONG>(INT64_MAX)) ThrowErrno(EINVAL);
  if (::ftruncate(m_hFile, static_cast<off_t>(newLength)) != 0)
    ThrowErrno(errno == EINVAL ? EACCES : AccessErrno(errno));  // EINVAL: not open for writing
}

ULONGLONG CFile::GetPosition() const {
  if (m_hFile == hFileNull) ThrowErrno(EBADF);
  off_t pos = ::lseek(m_hFile, 0, SEEK_CUR);
  if (pos < 0) ThrowErrno(errno);
  return static_cast<ULONGLONG>(pos);
}

void CFile::Flush() {
  if (m_hFile != hFileNull && ::fsync(m_hFile) != 0 && errno != EINVAL) ThrowErrno(errno);
}

void CFile::Close() {
  int err = 0;
  if (m_hFile != hFileNull && ::close(m_hFile) != 0) err = errno;
  CString name = m_strFileName;
  m_hFile = hFileNull;
  m_bCloseOnDelete = FALSE;
  m_strFileName.Empty();
  if (err) AfxThrowFileException(CFileException::ErrnoToException(err), err, name);
}

void CFile::Abort() noexcept {
  if (m_hFile != hFileNull) ::close(m_hFile);
  m_hFile = hFileNull;
  m_bCloseOnDelete = FALSE;
  m_strFileName.Empty();
}

CString CFile::GetFileName() const {
  int slash = std::max(m_strFileName.ReverseFind('/'), m_strFileName.ReverseFind('\\'));
  return m_strFileName.Mid(slash + 1);
}

CString CFile::GetFileTitle() const {
  CString name = GetFileName();
  int dot = name.ReverseFind('.');
  return dot < 0 ? name : name.Left(dot);
}

void CFile::Rename(const char* oldName, const char* newName) {
  if (::rename(oldName, newName) != 0)
    AfxThrowFileException(CFileException::ErrnoToException(errno), errno, oldName);
}

void CFile::Remove(const char* fileName) {
  if (::unlink(fileName) != 0)
    AfxThrowFileException(CFileException::ErrnoToException(errno), errno, fileName);
}

BOOL CFile::GetStatus(const char* fileName, CFileStatus& status) {
  struct stat st {};
  if (!fileName || ::stat(fileName, &st) != 0) return FALSE;
  status.m_mtime = st.st_mtime;
  status.m_size = static_cast<ULONGLONG>(st.st_size);
  status.m_attribute = static_cast<BYTE>((S_ISDIR(st.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0) |
                                         (::access(fileName, W_OK) != 0 ? 0x01 : 0));
  status.m_szFullName = fileName;
  char resolved[PATH_MAX];
  if (::realpath(fileName, resolved)) status.m_szFullName = resolved;
  return TRUE;
}
