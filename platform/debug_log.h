// Developer diagnostics. They go to standard error, one line each, only when the environment
// variable VARDELL_DEBUG is set to a value other than "" or "0" when the library first logs.
// Never used for texts a user must see: those go through ThrowErrorMessage.
#pragma once

#include "platform/export.h"

namespace vardell {

VARDELL_API bool DebugLogEnabled() noexcept;
// printf-like; a line end is added. Lines from several threads are not interleaved.
VARDELL_API void DebugLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vardell
