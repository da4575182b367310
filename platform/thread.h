// Worker threads: CWinThread and AfxBeginThread, as in MFC, over detached std::threads.
//
// - AfxBeginThread returns once the thread exists; whether the function has started yet is not
//   known. With CREATE_SUSPENDED the function starts only after ResumeThread.
// - m_bAutoDelete is TRUE by default: the CWinThread deletes itself (and closes m_hThread) as
//   soon as the thread function returns, so the pointer may dangle from then on. Synchronise
//   with a worker through an event of your own, never through the CWinThread.
// - With m_bAutoDelete set to FALSE (set it while the thread is suspended), the object stays
//   until the caller deletes it, and WaitForSingleObject(m_hThread, ...) returns WAIT_OBJECT_0
//   once the thread function has returned.
// - The priority is stored and answered back; threads are not rescheduled. The stack size is
//   the system's default whatever nStackSize says (8 MiB here, more than the platform's 1 MiB).
// - An exception that escapes the thread function ends that thread only: it is reported to the
//   debug log instead of terminating the process.
#pragma once

#include "platform/export.h"
#include "platform/object.h"
#include "platform/win_types.h"

#include <atomic>
#include <memory>

using AFX_THREADPROC = UINT (*)(LPVOID);

inline constexpr int THREAD_PRIORITY_IDLE = -15;
inline constexpr int THREAD_PRIORITY_LOWEST = -2;
inline constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;
inline constexpr int THREAD_PRIORITY_ABOVE_NORMAL = 1;
inline constexpr int THREAD_PRIORITY_HIGHEST = 2;
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

// A process-unique number of the calling thread, never 0; a CWinThread's thread answers its
// m_nThreadID.
VARDELL_API DWORD GetCurrentThreadId() noexcept;
// Milliseconds since an arbitrary start, wrapping at 2^32.
VARDELL_API DWORD GetTickCount() noexcept;
VARDELL_API void Sleep(DWORD dwMilliseconds);

namespace vardell::detail {
struct ThreadStart;
}

class VARDELL_API CWinThread : public CObject {
  DECLARE_DYNAMIC(CWinThread)
 public:
  CWinThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam);
  ~CWinThread() override;

  // Starts the thread, suspended with CREATE_SUSPENDED. FALSE when it could not be started (or
  // was started already).
  BOOL CreateThread(DWORD dwCreateFlags = 0, UINT nStackSize = 0, void* lpSecurityAttrs = nullptr);
  // Answers the previous suspend count, or 0xFFFFFFFF when there is no thread.
  DWORD ResumeThread();
  int GetThreadPriority() const noexcept { return m_nPriority.load(); }
  BOOL SetThreadPriority(int nPriority) noexcept;
  // Deletes the object when m_bAutoDelete is set; called when the thread function returns.
  virtual void Delete();
  operator HANDLE() const noexcept { return m_hThread; }  // NOLINT: implicit, as in MFC

  BOOL m_bAutoDelete = TRUE;
  HANDLE m_hThread = nullptr;
  DWORD m_nThreadID = 0;
  AFX_THREADPROC m_pfnThreadProc;
  LPVOID m_pThreadParams;

 private:
  std::shared_ptr<vardell::detail::ThreadStart> m_start;
  std::atomic<int> m_nPriority{THREAD_PRIORITY_NORMAL};
};

// Starts fn(param) on a new thread; null when it could not be started.
VARDELL_API CWinThread* AfxBeginThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam,
                                       int nPriority = THREAD_PRIORITY_NORMAL, UINT nStackSize = 0,
                                       DWORD dwCreateFlags = 0, void* lpSecurityAttrs = nullptr);

namespace vardell {

// Waits until every thread started by CWinThread::CreateThread has finished, at most
// dwMilliseconds; TRUE when none is left. For hosts and tests that must not end the process
// while workers still run.
VARDELL_API BOOL WaitForWorkerThreads(DWORD dwMilliseconds = INFINITE);

}  // namespace vardell
