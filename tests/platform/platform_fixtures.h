// Helpers shared by the platform tests: what a call throws, and many results as one line.
#pragma once

#include "platform/archive.h"
#include "platform/cstring.h"
#include "platform/exception.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vardell::test {

constexpr int kOtherException = 1000;

// Runs f and answers the m_cause of the CFileException or CArchiveException it throws,
// kOtherException for any other CException (its class in *thrown), or -1 when it throws none.
// The exception is deleted.
template <class F>
int CauseOf(F&& f, const CRuntimeClass** thrown = nullptr) {
  try {
    f();
  } catch (CException* e) {
    int cause = kOtherException;
    if (auto* file = dynamic_cast<CFileException*>(e)) cause = file->m_cause;
    if (auto* archive = dynamic_cast<CArchiveException*>(e)) cause = archive->m_cause;
    if (thrown) *thrown = e->GetRuntimeClass();
    e->Delete();
    return cause;
  }
  return -1;
}

template <class F>
const CRuntimeClass* ThrownBy(F&& f) {
  const CRuntimeClass* thrown = nullptr;
  CauseOf(f, &thrown);
  return thrown;
}

// Results of calls listed in braces, which run them in order: a sequence checked in one assertion.
using Calls = std::vector<long long>;

// The values separated by '|', so that a table of results is checked in one assertion.
inline std::string Part(const CString& s) { return s.str(); }
inline std::string Part(const char* s) { return s; }
inline std::string Part(long long v) { return std::to_string(v); }
template <class... T>
std::string Join(const T&... values) {
  std::string s;
  int n = 0;
  ((s += (n++ ? "|" : "") + Part(values)), ...);
  return s;
}

// Bytes from pairs of hex digits; blanks between them are ignored.
inline std::vector<std::uint8_t> Hex(std::string_view digits) {
  std::vector<std::uint8_t> out;
  int high = -1;
  for (const char c : digits) {
    if (c == ' ') continue;
    const int v = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
    if (high < 0) {
      high = v;
    } else {
      out.push_back(static_cast<std::uint8_t>(high * 16 + v));
      high = -1;
    }
  }
  return out;
}

}  // namespace vardell::test
