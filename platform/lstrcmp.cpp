#include "platform/lstrcmp.h"

#include <cstddef>

namespace {

// One unit of the primary level: a character class and a weight within it.
struct Unit {
  int cls = -1;  // 0 symbols and controls, 1 digits, 2 letters, 3 GBK characters; -1 at the end
  int weight = 0;
  bool upper = false;  // an upper-case letter, looked at by the case level
};

bool IsSpecial(unsigned char c) { return c == '-' || c == '\''; }
bool IsGbkLead(unsigned char c) { return c >= 0x81 && c <= 0xFE; }
bool IsGbkTrail(unsigned char c) { return c >= 0x40 && c <= 0xFE && c != 0x7F; }

// Reads the primary unit at s[i] (skipping hyphens and apostrophes) and advances i past it.
Unit NextUnit(const unsigned char* s, std::size_t& i) {
  while (IsSpecial(s[i])) ++i;
  Unit u;
  unsigned char c = s[i];
  if (c == 0) return u;
  ++i;
  if (c >= 0x80) {
    // A double-byte character is one unit, so its trail byte is never read as ASCII.
    u.cls = 3;
    u.weight = c << 8;
    if (IsGbkLead(c) && IsGbkTrail(s[i])) u.weight |= s[i++];
  } else if (c >= '0' && c <= '9') {
    u = {1, c, false};
  } else if (c >= 'a' && c <= 'z') {
    u = {2, c, false};
  } else if (c >= 'A' && c <= 'Z') {
    u = {2, c - 'A' + 'a', true};
  } else {
    u = {0, c, false};
  }
  return u;
}

// Finds the next hyphen or apostrophe at or after s[i]; false at the end of the string. The
// trail byte of a double-byte character is never taken for one.
bool NextSpecial(const unsigned char* s, std::size_t& i, int& kind) {
  for (; s[i]; ++i) {
    if (IsGbkLead(s[i]) && IsGbkTrail(s[i + 1])) {
      ++i;
    } else if (IsSpecial(s[i])) {
      kind = s[i] == '-' ? 1 : 0;  // apostrophe sorts before hyphen
      return true;
    }
  }
  return false;
}

int Sign(int v) { return (v > 0) - (v < 0); }

int Compare(LPCSTR a, LPCSTR b, bool ignoreCase) {
  if (!a || !b) return (a != nullptr) - (b != nullptr);
  const auto* sa = reinterpret_cast<const unsigned char*>(a);
  const auto* sb = reinterpret_cast<const unsigned char*>(b);

  int caseResult = 0;
  for (std::size_t i = 0, j = 0;;) {
    Unit x = NextUnit(sa, i);
    Unit y = NextUnit(sb, j);
    if (x.cls != y.cls) return Sign(x.cls - y.cls);  // the end (-1) sorts first: prefix rule
    if (x.cls < 0) break;
    if (x.weight != y.weight) return Sign(x.weight - y.weight);
    if (caseResult == 0 && x.upper != y.upper) caseResult = x.upper ? 1 : -1;
  }
  if (!ignoreCase && caseResult != 0) return caseResult;

  for (std::size_t i = 0, j = 0;; ++i, ++j) {
    int kx = 0, ky = 0;
    bool hx = NextSpecial(sa, i, kx);
    bool hy = NextSpecial(sb, j, ky);
    if (hx != hy) return hx ? 1 : -1;
    if (!hx) return 0;
    if (i != j) return i < j ? -1 : 1;
    if (kx != ky) return Sign(kx - ky);
  }
}

}  // namespace

int lstrcmp(LPCSTR a, LPCSTR b) noexcept { return Compare(a, b, false); }

int lstrcmpi(LPCSTR a, LPCSTR b) noexcept { return Compare(a, b, true); }
