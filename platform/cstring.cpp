#include "platform/cstring.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iconv.h>

namespace {

int Clamp(int v, int lo, int hi) noexcept { return std::max(lo, std::min(v, hi)); }

bool IsSpace(char c) noexcept { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// The bytes of the character that starts at p: a UTF-8 lead byte and its continuation bytes, or
// a GBK lead and trail byte pair; 1 for a stray byte.
std::size_t SequenceLength(bool utf8, const char* p, std::size_t left) noexcept {
  auto byte = [p](std::size_t i) { return static_cast<unsigned char>(p[i]); };
  if (utf8) {
    std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC0 ? 2 : 1;
    std::size_t n = 1;
    while (n < length && n < left && (byte(n) & 0xC0) == 0x80) ++n;
    return n;
  }
  bool lead = byte(0) >= 0x81 && byte(0) <= 0xFE;
  bool trail = left > 1 && byte(1) >= 0x40 && byte(1) <= 0xFE && byte(1) != 0x7F;
  return lead && trail ? 2 : 1;
}

std::string Convert(const char* to, const char* from, std::string_view in) {
  const bool fromUtf8 = std::strcmp(from, "UTF-8") == 0;
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return std::string(in);
  std::string out;
  out.resize(in.size() * 4 + 4);
  char* src = const_cast<char*>(in.data());
  std::size_t srcLeft = in.size();
  char* dst = out.data();
  std::size_t dstLeft = out.size();
  while (srcLeft > 0) {
    if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) != static_cast<std::size_t>(-1)) break;
    if (errno == E2BIG) {
      std::size_t used = out.size() - dstLeft;
      out.resize(out.size() * 2);
      dst = out.data() + used;
      dstLeft = out.size() - used;
    } else {
      // A character with no equivalent, or an invalid or incomplete sequence: one '?' for it.
      if (dstLeft == 0) {
        std::size_t used = out.size();
        out.resize(out.size() * 2);
        dst = out.data() + used;
        dstLeft = out.size() - used;
      }
      *dst++ = '?';
      --dstLeft;
      std::size_t skip = SequenceLength(fromUtf8, src, srcLeft);
      src += skip;
      srcLeft -= skip;
    }
  }
  out.resize(out.size() - dstLeft);
  iconv_close(cd);
  return out;
}

}  // namespace

CString::CString(const char* s, int length) {
  if (s && length > 0) m_str.assign(s, static_cast<std::size_t>(length));
}

CString::CString(char ch, int repeat) {
  if (repeat > 0) m_str.assign(static_cast<std::size_t>(repeat), ch);
}

int CString::Compare(const char* s) const noexcept {
  return std::strcmp(m_str.c_str(), s ? s : "");
}

int CString::CompareNoCase(const char* s) const noexcept {
  return strcasecmp(m_str.c_str(), s ? s : "");
}

CString CString::Mid(int first) const { return Mid(first, GetLength()); }

CString CString::Mid(int first, int count) const {
  first = Clamp(first, 0, GetLength());
  count = Clamp(count, 0, GetLength() - first);
  return CString(m_str.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(count)));
}

CString CString::Left(int count) const { return Mid(0, count); }

CString CString::Right(int count) const {
  count = Clamp(count, 0, GetLength());
  return Mid(GetLength() - count, count);
}

CString CString::SpanIncluding(const char* set) const {
  return Left(static_cast<int>(std::strspn(m_str.c_str(), set ? set : "")));
}

CString CString::SpanExcluding(const char* set) const {
  return Left(static_cast<int>(std::strcspn(m_str.c_str(), set ? set : "")));
}

void CString::MakeUpper() noexcept {
  for (char& c : m_str) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

void CString::MakeLower() noexcept {
  for (char& c : m_str) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

void CString::MakeReverse() noexcept { std::reverse(m_str.begin(), m_str.end()); }

int CString::Replace(char oldCh, char newCh) noexcept {
  int n = 0;
  for (char& c : m_str)
    if (c == oldCh) c = newCh, ++n;
  return n;
}

int CString::Replace(const char* oldStr, const char* newStr) {
  std::string_view from = oldStr ? oldStr : "";
  std::string_view to = newStr ? newStr : "";
  if (from.empty()) return 0;
  int n = 0;
  std::string out;
  std::size_t pos = 0;
  for (std::size_t hit; (hit = m_str.find(from, pos)) != std::string::npos;
       pos = hit + from.size()) {
    out.append(m_str, pos, hit - pos).append(to);
    ++n;
  }
  if (n) {
    out.append(m_str, pos);
    m_str = std::move(out);
  }
  return n;
}

int CString::Remove(char ch) noexcept {
  auto end = std::remove(m_str.begin(), m_str.end(), ch);
  int n = static_cast<int>(m_str.end() - end);
  m_str.erase(end, m_str.end());
  return n;
}

int CString::Insert(int index, char ch) {
  m_str.insert(static_cast<std::size_t>(Clamp(index, 0, GetLength())), 1, ch);
  return GetLength();
}

int CString::Insert(int index, const char* s) {
  if (s) m_str.insert(static_cast<std::size_t>(Clamp(index, 0, GetLength())), s);
  return GetLength();
}

int CString::Delete(int index, int count) {
  index = Clamp(index, 0, GetLength());
  count = Clamp(count, 0, GetLength() - index);
  m_str.erase(static_cast<std::size_t>(index), static_cast<std::size_t>(count));
  return GetLength();
}

void CString::TrimLeft() noexcept {
  auto it = std::find_if_not(m_str.begin(), m_str.end(), IsSpace);
  m_str.erase(m_str.begin(), it);
}

void CString::TrimLeft(char ch) noexcept {
  m_str.erase(0, std::min(m_str.find_first_not_of(ch), m_str.size()));
}

void CString::TrimLeft(const char* set) noexcept {
  m_str.erase(0, std::min(m_str.find_first_not_of(set ? set : ""), m_str.size()));
}

void CString::TrimRight() noexcept {
  while (!m_str.empty() && IsSpace(m_str.back())) m_str.pop_back();
}

void CString::TrimRight(char ch) noexcept {
  while (!m_str.empty() && m_str.back() == ch) m_str.pop_back();
}

CString& CString::Trim() noexcept {
  TrimRight();
  TrimLeft();
  return *this;
}

CString& CString::Trim(char ch) noexcept {
  TrimRight(ch);
  TrimLeft(ch);
  return *this;
}

CString& CString::Trim(const char* set) noexcept {
  TrimRight(set);
  TrimLeft(set);
  return *this;
}

void CString::TrimRight(const char* set) noexcept {
  std::size_t keep = m_str.find_last_not_of(set ? set : "");
  m_str.erase(keep == std::string::npos ? 0 : keep + 1);
}

int CString::Find(char ch, int start) const noexcept {
  if (start < 0) start = 0;
  if (start >= GetLength()) return -1;
  std::size_t hit = m_str.find(ch, static_cast<std::size_t>(start));
  return hit == std::string::npos ? -1 : static_cast<int>(hit);
}

int CString::Find(const char* sub, int start) const noexcept {
  if (start < 0) start = 0;
  if (start > GetLength()) return -1;
  std::size_t hit = m_str.find(sub ? sub : "", static_cast<std::size_t>(start));
  return hit == std::string::npos ? -1 : static_cast<int>(hit);
}

int CString::ReverseFind(char ch) const noexcept {
  std::size_t hit = m_str.rfind(ch);
  return hit == std::string::npos ? -1 : static_cast<int>(hit);
}

int CString::FindOneOf(const char* set) const noexcept {
  std::size_t hit = m_str.find_first_of(set ? set : "");
  return hit == std::string::npos ? -1 : static_cast<int>(hit);
}

void CString::Format(const char* format, ...) {
  va_list args;
  va_start(args, format);
  FormatV(format, args);
  va_end(args);
}

void CString::FormatV(const char* format, va_list args) {
  if (!format) {
    m_str.clear();
    return;
  }
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (n < 0) {
    m_str.clear();
    return;
  }
  std::string out(static_cast<std::size_t>(n) + 1, '\0');
  std::vsnprintf(out.data(), out.size(), format, args);
  out.resize(static_cast<std::size_t>(n));
  m_str = std::move(out);
}

char* CString::GetBuffer(int minLength) {
  if (minLength > GetLength()) m_str.resize(static_cast<std::size_t>(minLength));
  return m_str.data();
}

char* CString::GetBufferSetLength(int length) {
  m_str.resize(static_cast<std::size_t>(std::max(length, 0)));
  return m_str.data();
}

void CString::ReleaseBuffer(int newLength) {
  if (newLength < 0) newLength = static_cast<int>(std::strlen(m_str.c_str()));
  m_str.resize(static_cast<std::size_t>(std::min(newLength, GetLength())));
}

CString operator+(const CString& a, const CString& b) { return CString(a.str() + b.str()); }
CString operator+(const CString& a, const char* b) { return CString(a.str() + (b ? b : "")); }
CString operator+(const char* a, const CString& b) { return CString((a ? a : "") + b.str()); }
CString operator+(const CString& a, char b) { return CString(a.str() + b); }
CString operator+(char a, const CString& b) { return CString(a + b.str()); }

namespace vardell {

std::string GbkToUtf8(std::string_view gbk) { return Convert("UTF-8", "GBK", gbk); }

CString Utf8ToGbk(std::string_view utf8) { return CString(Convert("GBK", "UTF-8", utf8)); }

}  // namespace vardell
