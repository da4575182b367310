#include "platform/find_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <new>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

// Expression codes after the DOS rewrite; literal bytes are 0..255.
enum : int { kStar = 256, kDosStar, kDosQm, kDosDot };

unsigned char Upper(unsigned char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; }

// The rewrite the platform applies before the file system sees the pattern: "*.*" becomes "*";
// otherwise every '?' becomes DOS_QM, a '*' followed by '.' becomes DOS_STAR, and a '.' followed
// by '?' or '*' or at the end becomes DOS_DOT.
std::vector<int> RewritePattern(std::string_view pattern) {
  std::vector<int> expr;
  if (pattern == "*.*") return {kStar};
  expr.reserve(pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(pattern[i]);
    char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
    if (c == '?')
      expr.push_back(kDosQm);
    else if (c == '*')
      expr.push_back(next == '.' ? kDosStar : kStar);
    else if (c == '.' && (next == '?' || next == '*' || i + 1 == pattern.size()))
      expr.push_back(kDosDot);
    else
      expr.push_back(Upper(c));
  }
  return expr;
}

// The file system's expression match, by dynamic programming over (expression, name)
// positions so that runs of stars cost no backtracking.
bool MatchExpression(const std::vector<int>& expr, std::string_view name) {
  const std::size_t p = expr.size();
  const std::size_t n = name.size();
  const std::size_t lastDot = name.rfind('.');
  // ok[i][j]: expr[i..] matches name[j..]; two rows suffice since i only grows.
  std::vector<char> next(n + 1, 0), cur(n + 1, 0);
  next[n] = 1;
  for (std::size_t i = p; i-- > 0;) {
    const int e = expr[i];
    for (std::size_t j = n + 1; j-- > 0;) {
      const bool atEnd = j == n;
      const unsigned char c = atEnd ? 0 : static_cast<unsigned char>(name[j]);
      bool ok = false;
      switch (e) {
        case kStar: ok = next[j] || (!atEnd && cur[j + 1]); break;
        case kDosStar:
          // Any run that stays before the name's last dot.
          ok = next[j] ||
               (!atEnd && (lastDot == std::string_view::npos || j < lastDot) && cur[j + 1]);
          break;
        case kDosQm: ok = (atEnd || c == '.') ? next[j] : next[j + 1]; break;
        case kDosDot: ok = atEnd ? next[j] : (c == '.' && next[j + 1]); break;
        default: ok = !atEnd && Upper(c) == e && next[j + 1]; break;
      }
      cur[j] = ok;
    }
    std::swap(cur, next);
  }
  return next[0] != 0;
}

struct FindState {
  std::string directory;  // the pattern's directory part, separator included, or empty
  std::vector<std::string> names;
  std::size_t index = 0;
};

FILETIME ToFileTime(const struct timespec& t) {
  // Seconds from 1601-01-01 to 1970-01-01.
  constexpr long long kEpochDelta = 11644473600LL;
  long long ticks = (static_cast<long long>(t.tv_sec) + kEpochDelta) * 10000000LL + t.tv_nsec / 100;
  if (ticks < 0) ticks = 0;
  return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

void Fill(const FindState& state, const std::string& name, WIN32_FIND_DATA* data) {
  std::memset(data, 0, sizeof *data);
  std::memcpy(data->cFileName, name.data(), name.size());
  std::string path = state.directory + name;
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0 && ::lstat(path.c_str(), &st) != 0) {
    data->dwFileAttributes = FILE_ATTRIBUTE_NORMAL;  // vanished meanwhile: still listed
    return;
  }
  DWORD attributes = 0;
  if (S_ISDIR(st.st_mode)) attributes |= FILE_ATTRIBUTE_DIRECTORY;
  if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  data->dwFileAttributes = attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
  if (!S_ISDIR(st.st_mode)) {
    auto size = static_cast<unsigned long long>(st.st_size);
    data->nFileSizeHigh = static_cast<DWORD>(size >> 32);
    data->nFileSizeLow = static_cast<DWORD>(size & 0xFFFFFFFF);
  }
  data->ftCreationTime = ToFileTime(st.st_ctim);
  data->ftLastAccessTime = ToFileTime(st.st_atim);
  data->ftLastWriteTime = ToFileTime(st.st_mtim);
}

bool IsUsable(HANDLE h) { return h != nullptr && h != INVALID_HANDLE_VALUE; }

bool UpperLess(const std::string& a, const std::string& b) {
  std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char x = Upper(static_cast<unsigned char>(a[i]));
    unsigned char y = Upper(static_cast<unsigned char>(b[i]));
    if (x != y) return x < y;
  }
  if (a.size() != b.size()) return a.size() < b.size();
  return a < b;  // names that differ only in case: byte order, for a stable result
}

}  // namespace

namespace vardell {

bool MatchFileName(std::string_view pattern, std::string_view name) {
  return MatchExpression(RewritePattern(pattern), name);
}

}  // namespace vardell

HANDLE FindFirstFile(LPCSTR fileName, WIN32_FIND_DATA* findData) {
  if (!fileName || !findData) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  try {
    std::string_view pattern(fileName);
    std::size_t slash = pattern.find_last_of("/\\");
    auto state = std::make_unique<FindState>();
    std::string_view namePart = pattern;
    if (slash != std::string_view::npos) {
      state->directory.assign(pattern.substr(0, slash + 1));
      namePart = pattern.substr(slash + 1);
    }
    DIR* dir = ::opendir(state->directory.empty() ? "." : state->directory.c_str());
    if (!dir) {
      SetLastError(errno == EACCES ? ERROR_ACCESS_DENIED : ERROR_PATH_NOT_FOUND);
      return INVALID_HANDLE_VALUE;
    }
    const std::vector<int> expr = RewritePattern(namePart);
    try {
      while (const dirent* entry = ::readdir(dir)) {
        std::string_view name(entry->d_name);
        if (name.size() < static_cast<std::size_t>(MAX_PATH) && MatchExpression(expr, name))
          state->names.emplace_back(name);
      }
    } catch (...) {
      ::closedir(dir);
      throw;
    }
    ::closedir(dir);
    if (state->names.empty()) {
      SetLastError(ERROR_FILE_NOT_FOUND);
      return INVALID_HANDLE_VALUE;
    }
    std::sort(state->names.begin(), state->names.end(), UpperLess);
    Fill(*state, state->names[0], findData);
    state->index = 1;
    SetLastError(ERROR_SUCCESS);
    return state.release();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
  }
}

BOOL FindNextFile(HANDLE findFile, WIN32_FIND_DATA* findData) {
  if (!IsUsable(findFile) || !findData) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  auto* state = static_cast<FindState*>(findFile);
  if (state->index >= state->names.size()) {
    SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
  }
  try {
    Fill(*state, state->names[state->index++], findData);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  return TRUE;
}

BOOL FindClose(HANDLE findFile) {
  if (!IsUsable(findFile)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  delete static_cast<FindState*>(findFile);
  return TRUE;
}
