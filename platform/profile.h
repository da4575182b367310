// The application's profile: an INI-style file read with the platform's private-profile rules,
// and the application object whose GetProfileInt/GetProfileString read it.
//
// Rules kept from the platform: section and key names match without regard to case; blanks
// around section names, keys and values are dropped; a value in a matching pair of quotes (" or
// ') loses them; CR LF and lone CR end lines; the first of duplicate keys wins. A missing file,
// section or key gives the default with its trailing blanks removed. Integers are read with base
// 0 (sign, "0x" for hexadecimal, digits up to the first other character), wrapping modulo 2^32;
// text that starts with no digit reads as 0, not the default; an empty value gives the default.
//
// A relative file name is taken in the profile folder ($XDG_CONFIG_HOME/vardell, else
// ~/.config/vardell), as the platform takes it in its own folder rather than the current one.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/object.h"
#include "platform/win_types.h"

// Copies at most nSize - 1 characters and a NUL; answers the number of characters copied. A
// null default is "". nSize 0 leaves the buffer untouched and answers 0.
VARDELL_API DWORD GetPrivateProfileString(LPCSTR lpAppName, LPCSTR lpKeyName, LPCSTR lpDefault,
                                          LPSTR lpReturnedString, DWORD nSize, LPCSTR lpFileName);
VARDELL_API UINT GetPrivateProfileInt(LPCSTR lpAppName, LPCSTR lpKeyName, int nDefault,
                                      LPCSTR lpFileName);

namespace vardell {
// The folder relative profile names are taken in.
VARDELL_API CString ProfileFolder();
}  // namespace vardell

// The part of the application object the library reads: its profile.
class VARDELL_API CWinApp : public CObject {
 public:
  CWinApp();

  // Reads through a 4096-character buffer; a null default is "".
  UINT GetProfileInt(LPCSTR lpszSection, LPCSTR lpszEntry, int nDefault);
  CString GetProfileString(LPCSTR lpszSection, LPCSTR lpszEntry, LPCSTR lpszDefault = nullptr);

  // The profile file the host names; "vardell.ini" (in the profile folder) unless set.
  CString m_pszProfileName;
};

// The process's application object. The host sets its profile name before the library starts.
VARDELL_API CWinApp* AfxGetApp();
