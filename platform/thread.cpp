#include "platform/thread.h"

#include "platform/debug_log.h"
#include "platform/exception.h"
#include "platform/sync.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

namespace vardell::detail {

// The suspend count a new thread waits on before it calls its function.
struct ThreadStart {
  std::mutex mutex;
  std::condition_variable resumed;
  DWORD suspendCount = 0;
};

}  // namespace vardell::detail

namespace {

using vardell::detail::ThreadStart;

std::atomic<DWORD> g_nextThreadId{1};
thread_local DWORD t_threadId = 0;

DWORD NewThreadId() noexcept {
  DWORD id;
  do {
    id = g_nextThreadId.fetch_add(1);
  } while (id == 0);
  return id;
}

// The workers still running. Never destroyed: workers may end while the process exits.
struct Workers {
  std::mutex mutex;
  std::condition_variable done;
  int running = 0;
};

Workers& RunningWorkers() {
  static Workers* workers = new Workers;
  return *workers;
}

void WorkerEnded() {
  Workers& w = RunningWorkers();
  std::lock_guard lock(w.mutex);
  if (--w.running == 0) w.done.notify_all();
}

void RunWorker(CWinThread* thread, std::shared_ptr<ThreadStart> start, HANDLE exitHandle,
               DWORD id) {
  t_threadId = id;
  {
    std::unique_lock lock(start->mutex);
    start->resumed.wait(lock, [&] { return start->suspendCount == 0; });
  }
  AFX_THREADPROC proc = thread->m_pfnThreadProc;
  try {
    proc(thread->m_pThreadParams);
  } catch (CException* e) {
    vardell::DebugLog("worker thread %u ended by an exception: %s", id,
                      static_cast<LPCTSTR>(e->Describe()));
    e->Delete();
  } catch (const std::exception& e) {
    vardell::DebugLog("worker thread %u ended by an exception: %s", id, e.what());
  } catch (...) {
    vardell::DebugLog("worker thread %u ended by an exception", id);
  }
  // The object may be gone after Delete; an owner that kept it waits for the exit handle, so
  // nothing below touches it.
  thread->Delete();
  SetEvent(exitHandle);
  CloseHandle(exitHandle);
}

}  // namespace

DWORD GetCurrentThreadId() noexcept {
  if (t_threadId == 0) t_threadId = NewThreadId();
  return t_threadId;
}

DWORD GetTickCount() noexcept {
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
  return static_cast<DWORD>(ms.count());
}

void Sleep(DWORD dwMilliseconds) {
  if (dwMilliseconds == 0)
    std::this_thread::yield();
  else
    std::this_thread::sleep_for(std::chrono::milliseconds(dwMilliseconds));
}

IMPLEMENT_DYNAMIC(CWinThread, CObject)

CWinThread::CWinThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam)
    : m_pfnThreadProc(pfnThreadProc), m_pThreadParams(pParam) {}

CWinThread::~CWinThread() {
  if (m_hThread) CloseHandle(m_hThread);
}

BOOL CWinThread::CreateThread(DWORD dwCreateFlags, UINT, void*) {
  if (m_start || !m_pfnThreadProc) return FALSE;
  HANDLE handle = CreateEvent(nullptr, TRUE, FALSE, nullptr);
  HANDLE exitHandle = vardell::DuplicateSyncHandle(handle);
  std::shared_ptr<ThreadStart> start;
  try {
    start = std::make_shared<ThreadStart>();
  } catch (const std::bad_alloc&) {
  }
  if (!handle || !exitHandle || !start) {
    CloseHandle(handle);
    CloseHandle(exitHandle);
    return FALSE;
  }
  start->suspendCount = (dwCreateFlags & CREATE_SUSPENDED) ? 1 : 0;
  DWORD id = NewThreadId();
  m_start = start;
  m_hThread = handle;
  m_nThreadID = id;

  Workers& workers = RunningWorkers();
  {
    std::lock_guard lock(workers.mutex);
    ++workers.running;
  }
  try {
    std::thread([this, start, exitHandle, id] {
      RunWorker(this, start, exitHandle, id);
      WorkerEnded();
    }).detach();
  } catch (const std::system_error& e) {
    vardell::DebugLog("CreateThread: %s", e.what());
    WorkerEnded();
    CloseHandle(exitHandle);
    CloseHandle(m_hThread);
    m_hThread = nullptr;
    m_nThreadID = 0;
    m_start.reset();
    return FALSE;
  }
  return TRUE;
}

DWORD CWinThread::ResumeThread() {
  // A copy: once the count reaches 0 the thread may run and delete this object.
  std::shared_ptr<ThreadStart> start = m_start;
  if (!start) return 0xFFFFFFFFu;
  std::lock_guard lock(start->mutex);
  DWORD previous = start->suspendCount;
  if (previous > 0 && --start->suspendCount == 0) start->resumed.notify_all();
  return previous;
}

BOOL CWinThread::SetThreadPriority(int nPriority) noexcept {
  bool valid = (nPriority >= THREAD_PRIORITY_LOWEST && nPriority <= THREAD_PRIORITY_HIGHEST) ||
               nPriority == THREAD_PRIORITY_IDLE || nPriority == THREAD_PRIORITY_TIME_CRITICAL;
  if (!valid || !m_hThread) return FALSE;
  m_nPriority.store(nPriority);
  return TRUE;
}

void CWinThread::Delete() {
  if (m_bAutoDelete) delete this;
}

CWinThread* AfxBeginThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam, int nPriority,
                           UINT nStackSize, DWORD dwCreateFlags, void* lpSecurityAttrs) {
  if (!pfnThreadProc) return nullptr;
  auto* thread = new (std::nothrow) CWinThread(pfnThreadProc, pParam);
  if (!thread) return nullptr;
  if (!thread->CreateThread(dwCreateFlags | CREATE_SUSPENDED, nStackSize, lpSecurityAttrs)) {
    thread->Delete();
    return nullptr;
  }
  thread->SetThreadPriority(nPriority);
  if (!(dwCreateFlags & CREATE_SUSPENDED)) thread->ResumeThread();
  return thread;
}

namespace vardell {

BOOL WaitForWorkerThreads(DWORD dwMilliseconds) {
  Workers& w = RunningWorkers();
  std::unique_lock lock(w.mutex);
  auto none = [&] { return w.running == 0; };
  if (dwMilliseconds == INFINITE) {
    w.done.wait(lock, none);
    return TRUE;
  }
  return w.done.wait_for(lock, std::chrono::milliseconds(dwMilliseconds), none);
}

}  // namespace vardell
