// The host's message and progress services. The host installs handlers; the library only calls
// the functions below. Texts are passed through exactly as the library composed them.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"

#include <functional>

// Shows text to the user. The default handler writes it as one line to standard error.
VARDELL_API void ThrowErrorMessage(CString text);

// Starts a progress display titled text; answers its handle, or 0 when no display is available.
VARDELL_API int BeginProgress(CString text);
// percent is 0..100; a handle of 0 is ignored.
VARDELL_API void SetProgress(int handle, int percent);
VARDELL_API void EndProgress(int handle);

namespace vardell {

using ErrorMessageHandler = std::function<void(const CString&)>;

// A progress display. Begin answers a nonzero handle for a display, or 0 for none.
struct ProgressHandler {
  std::function<int(const CString&)> begin;
  std::function<void(int, int)> set;
  std::function<void(int)> end;
};

// Replace the handlers process-wide; an empty handler restores the default. Each returns the
// handler it replaced. The default progress handler shows nothing (Begin answers 0).
VARDELL_API ErrorMessageHandler SetErrorMessageHandler(ErrorMessageHandler handler);
VARDELL_API ProgressHandler SetProgressHandler(ProgressHandler handler);

}  // namespace vardell
