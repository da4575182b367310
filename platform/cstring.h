// CString: MFC's ANSI string, a byte string in the library's code page (GBK, code page 936).
// Positions and lengths are byte counts. Out-of-range positions are clamped instead of
// asserting, so slicing never reads outside the string.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

#include <cassert>
#include <cstdarg>
#include <string>
#include <string_view>

class VARDELL_API CString {
 public:
  CString() = default;
  CString(const char* s) : m_str(s ? s : "") {}  // NOLINT: implicit, as in MFC
  CString(const unsigned char* s) : CString(reinterpret_cast<const char*>(s)) {}
  CString(const char* s, int length);
  CString(char ch, int repeat = 1);
  CString(std::string_view s) : m_str(s) {}
  CString(const std::string& s) : m_str(s) {}
  CString(std::string&& s) noexcept : m_str(std::move(s)) {}

  int GetLength() const noexcept { return static_cast<int>(m_str.size()); }
  BOOL IsEmpty() const noexcept { return m_str.empty(); }
  void Empty() noexcept { m_str.clear(); }
  // Unchecked, as in MFC: a position outside the string asserts in debug builds only. Reading at
  // GetLength() answers the terminating zero.
  char GetAt(int index) const noexcept {
    assert(index >= 0 && index <= GetLength());
    return m_str[static_cast<std::size_t>(index)];
  }
  char operator[](int index) const noexcept { return GetAt(index); }
  void SetAt(int index, char ch) noexcept {
    assert(index >= 0 && index < GetLength());
    m_str[static_cast<std::size_t>(index)] = ch;
  }
  operator LPCTSTR() const noexcept { return m_str.c_str(); }  // NOLINT: implicit, as in MFC
  const std::string& str() const noexcept { return m_str; }
  std::string_view view() const noexcept { return m_str; }

  CString& operator=(const char* s) {
    m_str = s ? s : "";
    return *this;
  }
  CString& operator=(char ch) {
    m_str.assign(1, ch);
    return *this;
  }
  CString& operator+=(const CString& s) {
    m_str += s.m_str;
    return *this;
  }
  CString& operator+=(const char* s) {
    if (s) m_str += s;
    return *this;
  }
  CString& operator+=(char ch) {
    m_str += ch;
    return *this;
  }

  // Byte-wise comparison (strcmp); Collate is the same in the C locale.
  int Compare(const char* s) const noexcept;
  int CompareNoCase(const char* s) const noexcept;
  int Collate(const char* s) const noexcept { return Compare(s); }
  int CollateNoCase(const char* s) const noexcept { return CompareNoCase(s); }

  CString Mid(int first) const;
  CString Mid(int first, int count) const;
  CString Left(int count) const;
  CString Right(int count) const;
  CString SpanIncluding(const char* set) const;
  CString SpanExcluding(const char* set) const;

  void MakeUpper() noexcept;
  void MakeLower() noexcept;
  void MakeReverse() noexcept;
  int Replace(char oldCh, char newCh) noexcept;
  int Replace(const char* oldStr, const char* newStr);
  int Remove(char ch) noexcept;
  int Insert(int index, char ch);
  int Insert(int index, const char* s);
  int Delete(int index, int count = 1);

  void TrimLeft() noexcept;
  void TrimLeft(char ch) noexcept;
  void TrimLeft(const char* set) noexcept;
  void TrimRight() noexcept;
  void TrimRight(char ch) noexcept;
  void TrimRight(const char* set) noexcept;
  // Both ends (as in later MFC).
  CString& Trim() noexcept;
  CString& Trim(char ch) noexcept;
  CString& Trim(const char* set) noexcept;

  int Find(char ch) const noexcept { return Find(ch, 0); }
  int Find(char ch, int start) const noexcept;
  int Find(const char* sub) const noexcept { return Find(sub, 0); }
  int Find(const char* sub, int start) const noexcept;
  int ReverseFind(char ch) const noexcept;
  int FindOneOf(const char* set) const noexcept;

  void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void FormatV(const char* format, va_list args);

  // The buffer holds at least minLength bytes plus a terminating zero; after writing into it,
  // ReleaseBuffer(-1) takes the length up to the first zero, ReleaseBuffer(n) takes n bytes.
  char* GetBuffer(int minLength);
  char* GetBufferSetLength(int length);
  void ReleaseBuffer(int newLength = -1);
  void FreeExtra() { m_str.shrink_to_fit(); }

 private:
  std::string m_str;
};

VARDELL_API CString operator+(const CString& a, const CString& b);
VARDELL_API CString operator+(const CString& a, const char* b);
VARDELL_API CString operator+(const char* a, const CString& b);
VARDELL_API CString operator+(const CString& a, char b);
VARDELL_API CString operator+(char a, const CString& b);

inline bool operator==(const CString& a, const CString& b) noexcept { return a.str() == b.str(); }
inline bool operator==(const CString& a, const char* b) noexcept { return a.Compare(b) == 0; }
inline bool operator!=(const CString& a, const CString& b) noexcept { return !(a == b); }
inline bool operator!=(const CString& a, const char* b) noexcept { return !(a == b); }
inline bool operator<(const CString& a, const CString& b) noexcept { return a.Compare(b) < 0; }
inline bool operator>(const CString& a, const CString& b) noexcept { return a.Compare(b) > 0; }
inline bool operator<=(const CString& a, const CString& b) noexcept { return a.Compare(b) <= 0; }
inline bool operator>=(const CString& a, const CString& b) noexcept { return a.Compare(b) >= 0; }

namespace vardell {

// Text conversion between the library's code page (GBK) and UTF-8, for the GUI and terminals.
// A character that does not convert (no equivalent, or an invalid sequence) becomes one '?'.
VARDELL_API std::string GbkToUtf8(std::string_view gbk);
VARDELL_API CString Utf8ToGbk(std::string_view utf8);

}  // namespace vardell
