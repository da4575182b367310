#include "platform/profile.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <strings.h>

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string Trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && IsBlank(s[b])) ++b;
  while (e > b && IsBlank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

std::string ResolvePath(LPCSTR file) {
  std::string path = file ? file : "";
  if (path.empty() || path[0] == '/') return path;
  return std::string(static_cast<LPCSTR>(vardell::ProfileFolder())) + "/" + path;
}

// The value of key in section, or nothing when the file, section or key is missing.
std::optional<std::string> FindValue(LPCSTR section, LPCSTR key, LPCSTR file) {
  if (!section || !*section || !key || !*key) return std::nullopt;
  std::ifstream in(ResolvePath(file), std::ios::binary);
  if (!in) return std::nullopt;
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  bool inSection = false;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find_first_of("\r\n", pos);
    if (end == std::string::npos) end = text.size();
    const std::string line = Trim(text.substr(pos, end - pos));
    pos = end + 1;
    if (!line.empty() && line.front() == '[') {
      const size_t close = line.find(']');
      const std::string name =
          Trim(line.substr(1, close == std::string::npos ? std::string::npos : close - 1));
      inSection = strcasecmp(name.c_str(), section) == 0;
      continue;
    }
    if (!inSection) continue;
    const size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    if (strcasecmp(Trim(line.substr(0, eq)).c_str(), key) != 0) continue;
    std::string value = Trim(line.substr(eq + 1));
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front())
      value = value.substr(1, value.size() - 2);
    return value;
  }
  return std::nullopt;
}

// Base-0 parse with 32-bit wrap-around; no leading digit gives 0.
UINT ParseInteger(const std::string& text) {
  size_t i = 0;
  while (i < text.size() && IsBlank(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  UINT base = 10;
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
    base = 16;
    i += 2;
  }
  UINT value = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    UINT digit;
    if (c >= '0' && c <= '9')
      digit = static_cast<UINT>(c - '0');
    else if (base == 16 && c >= 'a' && c <= 'f')
      digit = static_cast<UINT>(c - 'a' + 10);
    else if (base == 16 && c >= 'A' && c <= 'F')
      digit = static_cast<UINT>(c - 'A' + 10);
    else
      break;
    value = value * base + digit;
  }
  return negative ? 0u - value : value;
}

}  // namespace

DWORD GetPrivateProfileString(LPCSTR lpAppName, LPCSTR lpKeyName, LPCSTR lpDefault,
                              LPSTR lpReturnedString, DWORD nSize, LPCSTR lpFileName) {
  if (nSize == 0 || !lpReturnedString) return 0;
  std::string value;
  if (auto found = FindValue(lpAppName, lpKeyName, lpFileName)) {
    value = *found;
  } else {
    value = lpDefault ? lpDefault : "";
    while (!value.empty() && value.back() == ' ') value.pop_back();
  }
  const size_t n = std::min<size_t>(value.size(), nSize - 1);
  std::memcpy(lpReturnedString, value.data(), n);
  lpReturnedString[n] = '\0';
  return static_cast<DWORD>(n);
}

UINT GetPrivateProfileInt(LPCSTR lpAppName, LPCSTR lpKeyName, int nDefault, LPCSTR lpFileName) {
  const auto found = FindValue(lpAppName, lpKeyName, lpFileName);
  if (!found || found->empty()) return static_cast<UINT>(nDefault);
  return ParseInteger(*found);
}

namespace vardell {

CString ProfileFolder() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config && *config) return CString(config) + "/vardell";
  const char* home = std::getenv("HOME");
  return CString(home ? home : "") + "/.config/vardell";
}

}  // namespace vardell

CWinApp::CWinApp() : m_pszProfileName("vardell.ini") {}

UINT CWinApp::GetProfileInt(LPCSTR lpszSection, LPCSTR lpszEntry, int nDefault) {
  return GetPrivateProfileInt(lpszSection, lpszEntry, nDefault, m_pszProfileName);
}

CString CWinApp::GetProfileString(LPCSTR lpszSection, LPCSTR lpszEntry, LPCSTR lpszDefault) {
  char buffer[4096];
  GetPrivateProfileString(lpszSection, lpszEntry, lpszDefault ? lpszDefault : "", buffer,
                          sizeof buffer, m_pszProfileName);
  return CString(buffer);
}

CWinApp* AfxGetApp() {
  static CWinApp app;
  return &app;
}
