// The Win32 scalar types, handles and helper macros the library is written against, at their
// Win32 widths: never `long` (64-bit here) and never `wchar_t` (32-bit here).
#pragma once

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using INT = std::int32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using BOOL = std::int32_t;
using CHAR = char;
using TCHAR = char;
using COLORREF = DWORD;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using WCHAR = char16_t;

using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using LPWORD = WORD*;
using LPDWORD = DWORD*;
using LPLONG = LONG*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPTSTR = char*;
using LPCTSTR = const char*;

// Pointer-sized, as on 64-bit Windows.
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using INT_PTR = std::intptr_t;
using DWORD_PTR = std::uintptr_t;

using HANDLE = void*;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
inline constexpr DWORD INFINITE = 0xFFFFFFFFu;

constexpr BYTE LOBYTE(DWORD_PTR w) noexcept { return static_cast<BYTE>(w & 0xFF); }
constexpr BYTE HIBYTE(DWORD_PTR w) noexcept { return static_cast<BYTE>((w >> 8) & 0xFF); }
constexpr WORD LOWORD(DWORD_PTR l) noexcept { return static_cast<WORD>(l & 0xFFFF); }
constexpr WORD HIWORD(DWORD_PTR l) noexcept { return static_cast<WORD>((l >> 16) & 0xFFFF); }
constexpr WORD MAKEWORD(DWORD_PTR lo, DWORD_PTR hi) noexcept {
  return static_cast<WORD>((lo & 0xFF) | ((hi & 0xFF) << 8));
}
constexpr LONG MAKELONG(DWORD_PTR lo, DWORD_PTR hi) noexcept {
  return static_cast<LONG>(static_cast<DWORD>((lo & 0xFFFF) | ((hi & 0xFFFF) << 16)));
}
constexpr LPARAM MAKELPARAM(DWORD_PTR lo, DWORD_PTR hi) noexcept {
  return static_cast<LPARAM>(static_cast<DWORD>(MAKELONG(lo, hi)));
}
constexpr WPARAM MAKEWPARAM(DWORD_PTR lo, DWORD_PTR hi) noexcept {
  return static_cast<WPARAM>(static_cast<DWORD>(MAKELONG(lo, hi)));
}

// COLORREF is 0x00BBGGRR.
constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) noexcept {
  return static_cast<COLORREF>(r) | (static_cast<COLORREF>(g) << 8) |
         (static_cast<COLORREF>(b) << 16);
}
constexpr BYTE GetRValue(COLORREF rgb) noexcept { return LOBYTE(rgb); }
constexpr BYTE GetGValue(COLORREF rgb) noexcept { return LOBYTE(static_cast<WORD>(rgb) >> 8); }
constexpr BYTE GetBValue(COLORREF rgb) noexcept { return LOBYTE(rgb >> 16); }

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 0x102;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFu;

inline constexpr int THREAD_PRIORITY_NORMAL = 0;
inline constexpr DWORD CREATE_SUSPENDED = 0x4;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;

inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;

inline constexpr int MAX_PATH = 260;
