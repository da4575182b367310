#include "hostutil/paths.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace vardell {
namespace {

// A GBK lead byte; the byte after it belongs to the same character.
bool IsLeadByte(unsigned char c) noexcept { return c >= 0x81 && c <= 0xFE; }

// Byte length of the character starting at s[i] (1 or 2; a lead byte at the end stands alone).
std::size_t CharLength(std::string_view s, std::size_t i) noexcept {
  return IsLeadByte(static_cast<unsigned char>(s[i])) && i + 1 < s.size() ? 2 : 1;
}

CString DefaultWorkPath() {
  const char* tmp = std::getenv("TMPDIR");
  std::string path = tmp && *tmp ? tmp : "/tmp";
  if (path.back() != '/') path += '/';
  return CString(std::move(path));
}

// Starting numbers for unique == 0: seeded once from the clock and the process id, then stepped
// so that calls of one process do not retry each other's names.
UINT NextStartNumber() {
  static std::atomic<UINT> next{static_cast<UINT>(
      std::chrono::steady_clock::now().time_since_epoch().count() ^ (::getpid() * 2654435761u))};
  return next.fetch_add(1, std::memory_order_relaxed) % 0xFFFF + 1;
}

std::string TempName(const std::string& base, UINT number) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%X.tmp", number & 0xFFFF);
  return base + digits;
}

bool CreateNew(const std::string& name, int& error) {
  int fd;
  do {
    fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    error = errno;
    return false;
  }
  ::close(fd);
  return true;
}

}  // namespace
}  // namespace vardell

CString strWorkPath = vardell::DefaultWorkPath();

CString ChangeExtension(CString path, CString ext) {
  const std::string_view s = path.view();
  std::size_t nameStart = 0, dot = std::string_view::npos;
  for (std::size_t i = 0; i < s.size(); i += vardell::CharLength(s, i)) {
    if (s[i] == '/' || s[i] == '\\') {
      nameStart = i + 1;
      dot = std::string_view::npos;
    } else if (s[i] == '.' && i > nameStart) {
      dot = i;
    }
  }
  std::string result(s.substr(0, dot == std::string_view::npos ? s.size() : dot));
  std::string_view e = ext.view();
  if (!e.empty() && e.front() == '.') e.remove_prefix(1);
  if (!e.empty()) {
    result += '.';
    result += e;
  }
  return CString(std::move(result));
}

UINT GetTempFileNameA(LPCSTR path, LPCSTR prefix, UINT unique, LPSTR out) {
  if (path == nullptr || out == nullptr) return 0;
  const std::size_t pathLength = std::strlen(path);
  if (pathLength > static_cast<std::size_t>(MAX_PATH - 14)) return 0;

  std::string base(path, pathLength);
  if (!base.empty() && base.back() != '/') base += '/';
  if (prefix != nullptr) {
    const std::string_view p(prefix);
    std::size_t bytes = 0;
    for (int chars = 0; chars < 3 && bytes < p.size(); ++chars)
      bytes += vardell::CharLength(p, bytes);
    base.append(p.substr(0, bytes));
  }
  // A prefix of three double-byte characters can push the longest name, "FFFF.tmp", past out.
  if (base.size() + 8 + 1 > static_cast<std::size_t>(MAX_PATH)) return 0;

  const auto deliver = [out](const std::string& name) {
    std::memcpy(out, name.c_str(), name.size() + 1);
  };
  if (unique != 0) {
    deliver(vardell::TempName(base, unique));
    return unique;
  }
  const UINT start = vardell::NextStartNumber();
  UINT number = start;
  do {
    const std::string name = vardell::TempName(base, number);
    int error = 0;
    if (vardell::CreateNew(name, error)) {
      deliver(name);
      return number;
    }
    if (error != EEXIST) return 0;
    number = number % 0xFFFF + 1;
  } while (number != start);
  return 0;
}
