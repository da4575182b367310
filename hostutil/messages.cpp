#include "hostutil/messages.h"

#include <cstdio>
#include <mutex>

namespace vardell {
namespace {

std::mutex g_lock;
ErrorMessageHandler g_error;
ProgressHandler g_progress;

void DefaultError(const CString& text) { std::fprintf(stderr, "%s\n", static_cast<LPCTSTR>(text)); }

}  // namespace

ErrorMessageHandler SetErrorMessageHandler(ErrorMessageHandler handler) {
  std::lock_guard lock(g_lock);
  std::swap(g_error, handler);
  return handler;
}

ProgressHandler SetProgressHandler(ProgressHandler handler) {
  std::lock_guard lock(g_lock);
  std::swap(g_progress, handler);
  return handler;
}

}  // namespace vardell

using vardell::g_error;
using vardell::g_lock;
using vardell::g_progress;

void ThrowErrorMessage(CString text) {
  vardell::ErrorMessageHandler handler;
  {
    std::lock_guard lock(g_lock);
    handler = g_error;
  }
  if (handler)
    handler(text);
  else
    vardell::DefaultError(text);
}

int BeginProgress(CString text) {
  std::function<int(const CString&)> begin;
  {
    std::lock_guard lock(g_lock);
    begin = g_progress.begin;
  }
  return begin ? begin(text) : 0;
}

void SetProgress(int handle, int percent) {
  if (handle == 0) return;
  std::function<void(int, int)> set;
  {
    std::lock_guard lock(g_lock);
    set = g_progress.set;
  }
  if (set) set(handle, percent);
}

void EndProgress(int handle) {
  if (handle == 0) return;
  std::function<void(int)> end;
  {
    std::lock_guard lock(g_lock);
    end = g_progress.end;
  }
  if (end) end(handle);
}
