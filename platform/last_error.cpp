#include "platform/last_error.h"

namespace {
thread_local DWORD t_lastError = ERROR_SUCCESS;
}

DWORD GetLastError() noexcept { return t_lastError; }

void SetLastError(DWORD error) noexcept { t_lastError = error; }
