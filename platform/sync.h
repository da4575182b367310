// Events, mutexes and critical sections with the platform's semantics, and MFC's wrappers
// CEvent, CMutex, CCriticalSection and CSingleLock.
//
// A HANDLE of an event or mutex points to an internal object of this file; the functions below
// check it against the live handles, so a null, closed or foreign handle fails (WAIT_FAILED,
// FALSE, with ERROR_INVALID_HANDLE) instead of being dereferenced. A wait in progress keeps its
// object alive even when another thread closes the handle meanwhile.
//
// Events: an auto-reset event stays signalled until exactly one wait is satisfied, which
// consumes the signal; a signal nobody consumed survives, and setting a signalled event changes
// nothing (signals do not accumulate). A manual-reset event stays signalled until ResetEvent and
// releases every waiter. PulseEvent releases the threads waiting at that moment (one of them for
// an auto-reset event) and leaves the event reset.
//
// Mutexes are owned by a thread and recursive: the owner may wait again without blocking and
// must release as many times; ReleaseMutex by another thread fails with ERROR_NOT_OWNER. When a
// thread ends while owning a mutex, the next thread to wait on it gets WAIT_ABANDONED and
// becomes the owner.
//
// Names and security attributes are accepted and ignored: no object is shared between processes.
#pragma once

#include "platform/export.h"
#include "platform/object.h"
#include "platform/win_types.h"

#include <condition_variable>
#include <mutex>
#include <thread>

VARDELL_API HANDLE CreateEvent(void* lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                               LPCSTR lpName);
VARDELL_API HANDLE CreateMutex(void* lpMutexAttributes, BOOL bInitialOwner, LPCSTR lpName);
// Closes an event or mutex handle made by the functions above.
VARDELL_API BOOL CloseHandle(HANDLE hObject);

// WAIT_OBJECT_0 when the object is signalled (consuming an auto-reset event's signal, taking
// ownership of a mutex), WAIT_ABANDONED for a mutex whose owner ended, WAIT_TIMEOUT after
// dwMilliseconds (0 polls; INFINITE never times out), WAIT_FAILED for an invalid handle.
VARDELL_API DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
VARDELL_API BOOL SetEvent(HANDLE hEvent);
VARDELL_API BOOL ResetEvent(HANDLE hEvent);
VARDELL_API BOOL PulseEvent(HANDLE hEvent);
VARDELL_API BOOL ReleaseMutex(HANDLE hMutex);

namespace vardell {
// A second handle to the same event or mutex; each is closed on its own. Null for an invalid
// handle.
VARDELL_API HANDLE DuplicateSyncHandle(HANDLE hObject);
}  // namespace vardell

// The platform's critical section: recursive, owned by the thread that entered it. Leaving one
// that the thread does not own is refused (it is undefined on the platform) and asserts in debug
// builds.
struct CRITICAL_SECTION {
  std::mutex m_mutex;
  std::condition_variable m_free;
  std::thread::id m_owner;
  unsigned m_nCount = 0;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

inline void InitializeCriticalSection(LPCRITICAL_SECTION) noexcept {}
inline void DeleteCriticalSection(LPCRITICAL_SECTION) noexcept {}
VARDELL_API void EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
VARDELL_API BOOL TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection);
VARDELL_API void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection);

class VARDELL_API CSyncObject : public CObject {
  DECLARE_DYNAMIC(CSyncObject)
 public:
  ~CSyncObject() override;

  // TRUE when the wait succeeds. WAIT_ABANDONED counts as success, as in later MFC: the caller
  // owns the mutex then and must unlock it.
  virtual BOOL Lock(DWORD dwTimeout = INFINITE);
  virtual BOOL Unlock() = 0;
  virtual BOOL Unlock(LONG lCount, LPLONG lpPrevCount = nullptr);
  operator HANDLE() const noexcept { return m_hObject; }  // NOLINT: implicit, as in MFC

  HANDLE m_hObject = nullptr;

 protected:
  CSyncObject() = default;
};

class VARDELL_API CEvent : public CSyncObject {
  DECLARE_DYNAMIC(CEvent)
 public:
  // bInitiallyOwn is the initial signalled state. Auto-reset unless bManualReset.
  explicit CEvent(BOOL bInitiallyOwn = FALSE, BOOL bManualReset = FALSE, LPCSTR lpszName = nullptr,
                  void* lpsaAttribute = nullptr);

  BOOL SetEvent();
  BOOL PulseEvent();
  BOOL ResetEvent();
  // Does nothing: an event has no owner.
  BOOL Unlock() override { return TRUE; }
};

class VARDELL_API CMutex : public CSyncObject {
  DECLARE_DYNAMIC(CMutex)
 public:
  explicit CMutex(BOOL bInitiallyOwn = FALSE, LPCSTR lpszName = nullptr,
                  void* lpsaAttribute = nullptr);
  // FALSE when the calling thread does not own the mutex.
  BOOL Unlock() override;
};

// As in MFC, a critical section has no handle (m_hObject is null): lock it through the object.
class VARDELL_API CCriticalSection : public CSyncObject {
  DECLARE_DYNAMIC(CCriticalSection)
 public:
  CCriticalSection() = default;

  BOOL Lock() {
    EnterCriticalSection(&m_sect);
    return TRUE;
  }
  // Waits at most dwTimeout milliseconds (MFC only accepts INFINITE).
  BOOL Lock(DWORD dwTimeout) override;
  BOOL Unlock() override {
    LeaveCriticalSection(&m_sect);
    return TRUE;
  }
  operator CRITICAL_SECTION*() noexcept { return &m_sect; }  // NOLINT: implicit, as in MFC

  CRITICAL_SECTION m_sect;
};

// Locks a synchronisation object for a scope; the destructor unlocks what it locked.
class VARDELL_API CSingleLock {
 public:
  explicit CSingleLock(CSyncObject* pObject, BOOL bInitialLock = FALSE);
  ~CSingleLock() { Unlock(); }
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;

  // TRUE when acquired; locking what is already locked by this CSingleLock answers TRUE at once.
  BOOL Lock(DWORD dwTimeOut = INFINITE);
  // TRUE when the object is no longer locked by this CSingleLock.
  BOOL Unlock();
  BOOL IsLocked() const noexcept { return m_bAcquired; }

 protected:
  CSyncObject* m_pObject;
  HANDLE m_hObject;
  BOOL m_bAcquired = FALSE;
};
