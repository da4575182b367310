// lstrcmp and lstrcmpi: the platform's locale-aware "word sort" comparison of ANSI strings.
//
// Contract: the result is exactly -1, 0 or +1 (callers should still test only the sign).
// Null arguments: (null, null) is 0, ("", null) is +1, (null, "") is -1.
//
// Levels, as the platform compares them:
//   1. Primary: letters case-folded; control characters, blanks, punctuation and symbols sort
//      before digits, digits before letters, letters before the bytes of the GBK code page.
//      Hyphen '-' and apostrophe '\'' are ignored at this level. A proper prefix sorts first.
//   2. Case (lstrcmp only): at the first letter whose case differs, lowercase sorts first.
//   3. Special: a hyphen or apostrophe earlier in the string sorts first, an apostrophe before a
//      hyphen at the same place, and a string without one before a string with one.
//
// Approximations kept on purpose (the platform's full weight table is not available): symbols
// are ordered among themselves by their byte value, and GBK characters by their byte pairs,
// which follows pinyin order for the level-1 ideographs of GB2312 but not for level 2.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

VARDELL_API int lstrcmp(LPCSTR a, LPCSTR b) noexcept;
VARDELL_API int lstrcmpi(LPCSTR a, LPCSTR b) noexcept;

inline int lstrcmpA(LPCSTR a, LPCSTR b) noexcept { return lstrcmp(a, b); }
inline int lstrcmpiA(LPCSTR a, LPCSTR b) noexcept { return lstrcmpi(a, b); }
