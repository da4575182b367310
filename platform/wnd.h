// Windows as far as the library needs them: a handle, posted messages and a small CWnd.
//
// PostMessage may be called from any thread. It finds the window by its handle in a registry
// that windows leave when they are destroyed, so posting to a null or destroyed window fails
// (FALSE) instead of touching freed memory; handles are never reused.
//
// A window made by CreateMessageWindow is headless: posted messages wait in its queue, in the
// order they were posted, until PeekPostedMessage or WaitPostedMessage takes them (tests and the
// command-line tool read them so). A window that shows on screen installs a posted-message sink
// instead, which receives every message as it is posted (from the posting thread) and forwards
// it to its GUI event loop; messages queued before the sink was installed are handed to it
// first. As on the platform, a queue holds at most 10000 messages; posting to a full queue fails.
#pragma once

#include "platform/export.h"
#include "platform/geometry.h"
#include "platform/object.h"
#include "platform/win_types.h"

#include <atomic>
#include <functional>
#include <memory>

struct HWND__;
using HWND = HWND__*;

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;  // GetTickCount() when posted
  POINT pt;    // the cursor position when posted; (0, 0) without a screen
};
using LPMSG = MSG*;

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_USER = 0x0400;
inline constexpr UINT WM_APP = 0x8000;

// The maximum number of messages waiting in one window's queue.
inline constexpr int kPostedMessageLimit = 10000;

// FALSE for a null or destroyed window, or a full queue.
VARDELL_API BOOL PostMessage(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
VARDELL_API BOOL IsWindow(HWND hWnd);

namespace vardell::detail {
struct WindowTarget;
}

class VARDELL_API CWnd : public CObject {
  DECLARE_DYNAMIC(CWnd)
 public:
  // Receives a posted message on the posting thread. It must not block for long, and must not
  // destroy the window it belongs to.
  using PostedMessageSink = std::function<void(const MSG&)>;

  CWnd() = default;
  // Destroys the window. A derived class whose sink uses its own members must call
  // DestroyWindow (or clear the sink) in its own destructor.
  ~CWnd() override;

  // Makes a headless window with a fresh handle. FALSE when the object already has a window.
  BOOL CreateMessageWindow();
  // Unregisters the handle and drops queued messages; posting to it fails from then on, and no
  // sink call is running or will start when this returns. FALSE when there was no window.
  virtual BOOL DestroyWindow();

  // Unlike MFC, calling it through a null pointer is not allowed (it is undefined in C++): test
  // the pointer first.
  HWND GetSafeHwnd() const noexcept { return m_hWnd; }
  operator HWND() const noexcept { return m_hWnd; }  // NOLINT: implicit, as in MFC
  // Safe to call from any thread while the CWnd object exists, even while another thread
  // destroys the window.
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
  // The CWnd that owns hWnd, or null.
  static CWnd* FromHandlePermanent(HWND hWnd);

  // Takes the oldest posted message into msg (and out of the queue when bRemove); FALSE when the
  // queue is empty or there is no window.
  BOOL PeekPostedMessage(MSG& msg, BOOL bRemove = TRUE);
  // Like PeekPostedMessage(msg, TRUE), waiting up to dwTimeoutMs (INFINITE allowed) for a message.
  BOOL WaitPostedMessage(MSG& msg, DWORD dwTimeoutMs);
  // The number of queued messages.
  int GetPostedMessageCount() const;

  // Installs or (with an empty function) removes the sink; FALSE when there is no window.
  BOOL SetPostedMessageSink(PostedMessageSink sink);

  HWND m_hWnd = nullptr;

 private:
  std::shared_ptr<vardell::detail::WindowTarget> m_target;
  // m_hWnd for posting threads.
  std::atomic<HWND> m_hPostWnd{nullptr};
};
