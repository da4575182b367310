// File search: FindFirstFile / FindNextFile / FindClose over one directory.
//
// The pattern is a path whose last component may hold the wildcards `*` and `?`. It is split at
// its last '/' or '\'; the directory part is handed to the system as it is (bytes unchanged),
// and an empty one means the current directory. Names match without regard to case (ASCII letters),
// after the platform's rewrite of DOS wildcards:
//   "*.*" matches every name, with or without a dot;
//   a `*` before a '.' stops at the name's last dot ("*.8bf" matches "a.b.8BF", not "a8bf");
//   a '.' before a wildcard or at the end may also match the end of the name ("a.*" matches "a");
//   `?` matches one character, or nothing at a '.' or at the end ("a?.txt" matches "a.txt").
// Intended differences from the platform: only the long name is matched (there are no 8.3
// aliases, so "*.8bf" never returns "plugin.8bfx"), and entries come back sorted by their
// upper-cased name, so a scan is the same on every file system. "." and ".." are reported
// when the pattern matches them, like any directory.
//
// Attributes: FILE_ATTRIBUTE_DIRECTORY for directories, FILE_ATTRIBUTE_READONLY when nobody may
// write the file, FILE_ATTRIBUTE_NORMAL when neither applies. There is no temporary attribute.
//
// Failures leave the thread's last error (platform/last_error.h): ERROR_FILE_NOT_FOUND when
// nothing matches, ERROR_PATH_NOT_FOUND when the directory does not exist, ERROR_ACCESS_DENIED
// when it cannot be read, ERROR_NO_MORE_FILES at the end of a search.
#pragma once

#include "platform/export.h"
#include "platform/last_error.h"
#include "platform/win_types.h"

#include <string_view>

// The platform's invalid handle, (HANDLE)-1.
#ifndef INVALID_HANDLE_VALUE
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<INT_PTR>(-1)))
#endif

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x2;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x4;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

// 100-nanosecond intervals since 1 January 1601 (UTC).
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;  // the status-change time: POSIX keeps no creation time
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwReserved0;
  DWORD dwReserved1;
  CHAR cFileName[MAX_PATH];
  CHAR cAlternateFileName[14];  // always empty: no 8.3 aliases
};
using WIN32_FIND_DATA = WIN32_FIND_DATAA;
using LPWIN32_FIND_DATA = WIN32_FIND_DATA*;

// Starts a search and fills *findData with the first match; answers the search handle, or
// INVALID_HANDLE_VALUE when nothing matches or the directory cannot be read.
VARDELL_API HANDLE FindFirstFile(LPCSTR fileName, WIN32_FIND_DATA* findData);
// Fills *findData with the next match; FALSE with ERROR_NO_MORE_FILES at the end.
VARDELL_API BOOL FindNextFile(HANDLE findFile, WIN32_FIND_DATA* findData);
// Ends a search and frees its handle.
VARDELL_API BOOL FindClose(HANDLE findFile);

inline HANDLE FindFirstFileA(LPCSTR fileName, WIN32_FIND_DATAA* findData) {
  return FindFirstFile(fileName, findData);
}
inline BOOL FindNextFileA(HANDLE findFile, WIN32_FIND_DATAA* findData) {
  return FindNextFile(findFile, findData);
}

namespace vardell {

// True when name (one file name, no directory) matches pattern (one wildcard name) under the
// rules above.
VARDELL_API bool MatchFileName(std::string_view pattern, std::string_view name);

}  // namespace vardell
