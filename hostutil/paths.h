// The host's path helpers: changing a file name's extension, naming and creating temporary files,
// and the host's work directory. Paths are byte strings in the library's code page (GBK): a
// double-byte character is never split, and its trail byte is never taken for a '\' separator.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/win_types.h"

// The host's work directory, where the library keeps its temporary files. Process-wide; the
// host may set it at start-up, before any library call that uses it (it is not synchronised).
// The default, set before main, is the system's temporary folder ($TMPDIR when set and not
// empty, otherwise /tmp) and always ends with '/'. A value the host sets may end with a
// separator or not: GetTempFileNameA accepts both.
VARDELL_API extern CString strWorkPath;

// path with its extension replaced by ext. The extension is the part of the last path component
// (after the last '\' or '/') from its last '.'; a '.' that begins the component (".profile")
// does not start one. ext may be given with or without its dot ("bmp" and ".bmp" both give
// "name.bmp"); an empty ext removes the extension and its dot. A name without an extension gets
// ext appended.
VARDELL_API CString ChangeExtension(CString path, CString ext);

// Win32 GetTempFileName: writes into out (MAX_PATH bytes) the name
//   path + '/' + up to the first 3 characters of prefix + hexadecimal number + ".tmp"
// where the '/' is left out when path is empty or already ends with '/', and the number is the
// low 16 bits of unique in upper-case hexadecimal without leading zeros.
//   - unique != 0: only forms the name (the file is neither created nor checked) and answers
//     unique.
//   - unique == 0: tries numbers from a fresh starting point, increasing and wrapping within
//     1..FFFF, until it creates a new empty file (permissions 0600, never an existing one); it
//     answers the number used, and the file is left for the caller to use and delete.
// Answers 0 on failure: path or out null, path longer than MAX_PATH - 14 bytes, a name that would
// not fit in out, the folder missing or not writable, or every number taken. A null prefix counts
// as empty.
VARDELL_API UINT GetTempFileNameA(LPCSTR path, LPCSTR prefix, UINT unique, LPSTR out);

// The generic name that code written against the Win32 headers calls.
inline UINT GetTempFileName(LPCSTR path, LPCSTR prefix, UINT unique, LPSTR out) {
  return GetTempFileNameA(path, prefix, unique, out);
}
