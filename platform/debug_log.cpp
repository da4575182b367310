#include "platform/debug_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace vardell {

bool DebugLogEnabled() noexcept {
  static const bool enabled = [] {
    const char* value = std::getenv("VARDELL_DEBUG");
    return value && *value && std::strcmp(value, "0") != 0;
  }();
  return enabled;
}

void DebugLog(const char* format, ...) {
  if (!DebugLogEnabled() || !format) return;
  std::string line = "vardell: ";
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (n > 0) {
    std::size_t prefix = line.size();
    line.resize(prefix + static_cast<std::size_t>(n) + 1);
    std::vsnprintf(line.data() + prefix, static_cast<std::size_t>(n) + 1, format, args);
    line.resize(prefix + static_cast<std::size_t>(n));
  }
  va_end(args);
  if (line.empty() || line.back() != '\n') line += '\n';
  // One call, so the stream's own lock keeps the line whole.
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace vardell
