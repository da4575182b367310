#include "platform/sync.h"

#include "platform/exception.h"
#include "platform/last_error.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <new>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

template <class Predicate>
bool WaitFor(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, DWORD ms,
             Predicate ready) {
  if (ms == INFINITE) {
    cv.wait(lock, ready);
    return true;
  }
  return cv.wait_for(lock, std::chrono::milliseconds(ms), ready);
}

class WaitableObject {
 public:
  virtual ~WaitableObject() = default;
  virtual DWORD Wait(DWORD ms) = 0;
};

class EventObject final : public WaitableObject {
 public:
  EventObject(bool manualReset, bool signalled) : m_manual(manualReset), m_signalled(signalled) {}

  DWORD Wait(DWORD ms) override {
    std::unique_lock lock(m_mutex);
    if (!m_signalled) {
      // A pulse releases the waiters that were waiting when it came, so each waiter remembers
      // the pulse count it started with.
      std::uint64_t pulses = m_pulses;
      ++m_waiters;
      bool released = WaitFor(m_changed, lock, ms, [&] {
        return m_signalled || (m_pulses != pulses && (m_manual || m_pulseReleases > 0));
      });
      --m_waiters;
      if (!released) return WAIT_TIMEOUT;
      if (!m_signalled) {
        if (!m_manual) --m_pulseReleases;
        return WAIT_OBJECT_0;
      }
    }
    if (!m_manual) m_signalled = false;
    return WAIT_OBJECT_0;
  }

  void Set() {
    std::lock_guard lock(m_mutex);
    m_signalled = true;
    m_changed.notify_all();
  }

  void Reset() {
    std::lock_guard lock(m_mutex);
    m_signalled = false;
  }

  void Pulse() {
    std::lock_guard lock(m_mutex);
    m_signalled = false;
    if (m_waiters == 0) return;
    ++m_pulses;
    m_pulseReleases = 1;  // auto-reset: one waiter
    m_changed.notify_all();
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  const bool m_manual;
  bool m_signalled;
  int m_waiters = 0;
  std::uint64_t m_pulses = 0;
  int m_pulseReleases = 0;
};

class MutexObject;

// The mutexes the current thread owns; when the thread ends they are abandoned.
class OwnedMutexes {
 public:
  ~OwnedMutexes();
  void Add(const std::shared_ptr<MutexObject>& m) { m_owned.push_back(m); }
  void Remove(const MutexObject* m) {
    std::erase_if(m_owned, [m](const std::weak_ptr<MutexObject>& w) {
      auto p = w.lock();
      return !p || p.get() == m;
    });
  }

 private:
  std::vector<std::weak_ptr<MutexObject>> m_owned;
};

thread_local OwnedMutexes t_ownedMutexes;

class MutexObject final : public WaitableObject, public std::enable_shared_from_this<MutexObject> {
 public:
  DWORD Wait(DWORD ms) override {
    std::unique_lock lock(m_mutex);
    std::thread::id self = std::this_thread::get_id();
    if (m_count > 0 && m_owner == self) {
      ++m_count;
      return WAIT_OBJECT_0;
    }
    if (!WaitFor(m_released, lock, ms, [&] { return m_count == 0; })) return WAIT_TIMEOUT;
    m_owner = self;
    m_count = 1;
    t_ownedMutexes.Add(shared_from_this());
    if (m_abandoned) {
      m_abandoned = false;
      return WAIT_ABANDONED;
    }
    return WAIT_OBJECT_0;
  }

  BOOL Release() {
    std::lock_guard lock(m_mutex);
    if (m_count == 0 || m_owner != std::this_thread::get_id()) {
      SetLastError(ERROR_NOT_OWNER);
      return FALSE;
    }
    if (--m_count == 0) {
      m_owner = std::thread::id();
      t_ownedMutexes.Remove(this);
      m_released.notify_one();
    }
    return TRUE;
  }

  // Called when the thread owner ends while still owning the mutex.
  void Abandon(std::thread::id owner) {
    std::lock_guard lock(m_mutex);
    if (m_count == 0 || m_owner != owner) return;
    m_count = 0;
    m_owner = std::thread::id();
    m_abandoned = true;
    m_released.notify_one();
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_released;
  std::thread::id m_owner;
  unsigned m_count = 0;
  bool m_abandoned = false;
};

OwnedMutexes::~OwnedMutexes() {
  std::thread::id self = std::this_thread::get_id();
  for (auto& w : m_owned)
    if (auto m = w.lock()) m->Abandon(self);
}

// A handle is the address of its entry; several entries may share one object.
struct HandleEntry {
  std::shared_ptr<WaitableObject> object;
};

class HandleTable {
 public:
  HANDLE Open(std::shared_ptr<WaitableObject> object) {
    auto entry = std::make_unique<HandleEntry>(HandleEntry{std::move(object)});
    HANDLE h = entry.get();
    std::lock_guard lock(m_mutex);
    m_entries.emplace(h, std::move(entry));
    return h;
  }

  bool Close(HANDLE h) {
    std::unique_ptr<HandleEntry> entry;
    {
      std::lock_guard lock(m_mutex);
      auto it = m_entries.find(h);
      if (it == m_entries.end()) return false;
      entry = std::move(it->second);
      m_entries.erase(it);
    }
    return true;  // the object goes when its last handle and its last waiter are gone
  }

  std::shared_ptr<WaitableObject> Find(HANDLE h) {
    std::lock_guard lock(m_mutex);
    auto it = m_entries.find(h);
    if (it == m_entries.end()) return nullptr;
    return it->second->object;
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<HANDLE, std::unique_ptr<HandleEntry>> m_entries;
};

// Never destroyed: detached workers may still close handles while the process exits.
HandleTable& Handles() {
  static HandleTable* table = new HandleTable;
  return *table;
}

template <class T>
std::shared_ptr<T> FindObject(HANDLE h) {
  auto object = std::dynamic_pointer_cast<T>(Handles().Find(h));
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace

HANDLE CreateEvent(void*, BOOL bManualReset, BOOL bInitialState, LPCSTR) {
  try {
    return Handles().Open(std::make_shared<EventObject>(bManualReset != 0, bInitialState != 0));
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

HANDLE CreateMutex(void*, BOOL bInitialOwner, LPCSTR) {
  try {
    auto mutex = std::make_shared<MutexObject>();
    if (bInitialOwner) mutex->Wait(0);
    return Handles().Open(std::move(mutex));
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

BOOL CloseHandle(HANDLE hObject) {
  if (Handles().Close(hObject)) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
  auto object = FindObject<WaitableObject>(hHandle);
  return object ? object->Wait(dwMilliseconds) : WAIT_FAILED;
}

BOOL SetEvent(HANDLE hEvent) {
  auto event = FindObject<EventObject>(hEvent);
  if (!event) return FALSE;
  event->Set();
  return TRUE;
}

BOOL ResetEvent(HANDLE hEvent) {
  auto event = FindObject<EventObject>(hEvent);
  if (!event) return FALSE;
  event->Reset();
  return TRUE;
}

BOOL PulseEvent(HANDLE hEvent) {
  auto event = FindObject<EventObject>(hEvent);
  if (!event) return FALSE;
  event->Pulse();
  return TRUE;
}

BOOL ReleaseMutex(HANDLE hMutex) {
  auto mutex = FindObject<MutexObject>(hMutex);
  return mutex ? mutex->Release() : FALSE;
}

namespace vardell {

HANDLE DuplicateSyncHandle(HANDLE hObject) {
  auto object = FindObject<WaitableObject>(hObject);
  return object ? Handles().Open(std::move(object)) : nullptr;
}

}  // namespace vardell

IMPLEMENT_DYNAMIC(CSyncObject, CObject)
IMPLEMENT_DYNAMIC(CEvent, CSyncObject)
IMPLEMENT_DYNAMIC(CMutex, CSyncObject)
IMPLEMENT_DYNAMIC(CCriticalSection, CSyncObject)

CSyncObject::~CSyncObject() {
  if (m_hObject) CloseHandle(m_hObject);
}

BOOL CSyncObject::Lock(DWORD dwTimeout) {
  DWORD result = WaitForSingleObject(m_hObject, dwTimeout);
  return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

BOOL CSyncObject::Unlock(LONG, LPLONG) { return TRUE; }

CEvent::CEvent(BOOL bInitiallyOwn, BOOL bManualReset, LPCSTR lpszName, void* lpsaAttribute) {
  m_hObject = CreateEvent(lpsaAttribute, bManualReset, bInitiallyOwn, lpszName);
  if (!m_hObject) AfxThrowMemoryException();
}

BOOL CEvent::SetEvent() { return ::SetEvent(m_hObject); }
BOOL CEvent::PulseEvent() { return ::PulseEvent(m_hObject); }
BOOL CEvent::ResetEvent() { return ::ResetEvent(m_hObject); }

CMutex::CMutex(BOOL bInitiallyOwn, LPCSTR lpszName, void* lpsaAttribute) {
  m_hObject = CreateMutex(lpsaAttribute, bInitiallyOwn, lpszName);
  if (!m_hObject) AfxThrowMemoryException();
}

BOOL CMutex::Unlock() { return ::ReleaseMutex(m_hObject); }

namespace {

bool EnterWithin(LPCRITICAL_SECTION cs, DWORD ms) {
  std::unique_lock lock(cs->m_mutex);
  std::thread::id self = std::this_thread::get_id();
  if (cs->m_nCount > 0 && cs->m_owner == self) {
    ++cs->m_nCount;
    return true;
  }
  if (!WaitFor(cs->m_free, lock, ms, [cs] { return cs->m_nCount == 0; })) return false;
  cs->m_owner = self;
  cs->m_nCount = 1;
  return true;
}

}  // namespace

void EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
  EnterWithin(lpCriticalSection, INFINITE);
}

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
  return EnterWithin(lpCriticalSection, 0);
}

void LeaveCriticalSection(LPCRITICAL_SECTION cs) {
  std::lock_guard lock(cs->m_mutex);
  bool owner = cs->m_nCount > 0 && cs->m_owner == std::this_thread::get_id();
  assert(owner && "LeaveCriticalSection by a thread that does not own it");
  if (!owner) return;
  if (--cs->m_nCount == 0) {
    cs->m_owner = std::thread::id();
    cs->m_free.notify_one();
  }
}

BOOL CCriticalSection::Lock(DWORD dwTimeout) { return EnterWithin(&m_sect, dwTimeout); }

CSingleLock::CSingleLock(CSyncObject* pObject, BOOL bInitialLock)
    : m_pObject(pObject), m_hObject(pObject ? pObject->m_hObject : nullptr) {
  if (bInitialLock) Lock();
}

BOOL CSingleLock::Lock(DWORD dwTimeOut) {
  if (!m_pObject) return FALSE;
  if (!m_bAcquired) m_bAcquired = m_pObject->Lock(dwTimeOut);
  return m_bAcquired;
}

BOOL CSingleLock::Unlock() {
  if (m_pObject && m_bAcquired) m_bAcquired = !m_pObject->Unlock();
  return !m_bAcquired;
}
