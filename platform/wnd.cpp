#include "platform/wnd.h"

#include "platform/debug_log.h"
#include "platform/thread.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <unordered_map>

namespace vardell::detail {

// What a handle leads to. Posting holds the mutex while it delivers, so DestroyWindow, which
// takes it too, returns only when no delivery is in progress. Recursive, so that a sink may post.
struct WindowTarget {
  std::recursive_mutex mutex;
  std::condition_variable_any posted;
  std::deque<MSG> queue;
  CWnd::PostedMessageSink sink;
  CWnd* owner = nullptr;
  bool alive = true;
};

}  // namespace vardell::detail

namespace {

using vardell::detail::WindowTarget;

class WindowRegistry {
 public:
  HWND Add(std::shared_ptr<WindowTarget> target) {
    std::lock_guard lock(m_mutex);
    // Handles count up and are never reused.
    HWND h = reinterpret_cast<HWND>(static_cast<std::uintptr_t>(++m_last) << 4);
    m_windows.emplace(h, std::move(target));
    return h;
  }

  void Remove(HWND h) {
    std::lock_guard lock(m_mutex);
    m_windows.erase(h);
  }

  std::shared_ptr<WindowTarget> Find(HWND h) {
    if (!h) return nullptr;
    std::lock_guard lock(m_mutex);
    auto it = m_windows.find(h);
    return it == m_windows.end() ? nullptr : it->second;
  }

 private:
  std::mutex m_mutex;
  std::unordered_map<HWND, std::shared_ptr<WindowTarget>> m_windows;
  std::uintptr_t m_last = 0;
};

// Never destroyed: workers may still post while the process exits.
WindowRegistry& Windows() {
  static WindowRegistry* registry = new WindowRegistry;
  return *registry;
}

}  // namespace

BOOL PostMessage(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
  std::shared_ptr<WindowTarget> target = Windows().Find(hWnd);
  if (!target) return FALSE;
  MSG msg{hWnd, Msg, wParam, lParam, GetTickCount(), POINT{0, 0}};
  std::lock_guard lock(target->mutex);
  if (!target->alive) return FALSE;
  if (target->sink) {
    try {
      target->sink(msg);
    } catch (const std::exception& e) {
      vardell::DebugLog("PostMessage: the window's sink failed: %s", e.what());
      return FALSE;
    }
    return TRUE;
  }
  if (target->queue.size() >= static_cast<std::size_t>(kPostedMessageLimit)) return FALSE;
  target->queue.push_back(msg);
  target->posted.notify_all();
  return TRUE;
}

BOOL IsWindow(HWND hWnd) { return Windows().Find(hWnd) != nullptr; }

IMPLEMENT_DYNAMIC(CWnd, CObject)

CWnd::~CWnd() { DestroyWindow(); }

BOOL CWnd::CreateMessageWindow() {
  if (m_target) return FALSE;
  auto target = std::make_shared<WindowTarget>();
  target->owner = this;
  HWND h = Windows().Add(target);
  m_target = std::move(target);
  m_hWnd = h;
  m_hPostWnd.store(h);
  return TRUE;
}

BOOL CWnd::DestroyWindow() {
  if (!m_target) return FALSE;
  m_hPostWnd.store(nullptr);
  Windows().Remove(m_hWnd);
  PostedMessageSink sink;
  {
    std::lock_guard lock(m_target->mutex);
    m_target->alive = false;
    m_target->queue.clear();
    m_target->owner = nullptr;
    sink.swap(m_target->sink);  // destroyed below, outside the lock
    m_target->posted.notify_all();
  }
  m_target.reset();
  m_hWnd = nullptr;
  return TRUE;
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  return ::PostMessage(m_hPostWnd.load(), message, wParam, lParam);
}

CWnd* CWnd::FromHandlePermanent(HWND hWnd) {
  std::shared_ptr<WindowTarget> target = Windows().Find(hWnd);
  if (!target) return nullptr;
  std::lock_guard lock(target->mutex);
  return target->owner;
}

BOOL CWnd::PeekPostedMessage(MSG& msg, BOOL bRemove) {
  if (!m_target) return FALSE;
  std::lock_guard lock(m_target->mutex);
  if (m_target->queue.empty()) return FALSE;
  msg = m_target->queue.front();
  if (bRemove) m_target->queue.pop_front();
  return TRUE;
}

BOOL CWnd::WaitPostedMessage(MSG& msg, DWORD dwTimeoutMs) {
  if (!m_target) return FALSE;
  std::shared_ptr<WindowTarget> target = m_target;
  std::unique_lock lock(target->mutex);
  auto ready = [&] { return !target->queue.empty() || !target->alive; };
  if (dwTimeoutMs == INFINITE)
    target->posted.wait(lock, ready);
  else if (!target->posted.wait_for(lock, std::chrono::milliseconds(dwTimeoutMs), ready))
    return FALSE;
  if (target->queue.empty()) return FALSE;
  msg = target->queue.front();
  target->queue.pop_front();
  return TRUE;
}

int CWnd::GetPostedMessageCount() const {
  if (!m_target) return 0;
  std::lock_guard lock(m_target->mutex);
  return static_cast<int>(m_target->queue.size());
}

BOOL CWnd::SetPostedMessageSink(PostedMessageSink sink) {
  if (!m_target) return FALSE;
  PostedMessageSink old;
  {
    std::lock_guard lock(m_target->mutex);
    old.swap(m_target->sink);
    m_target->sink = std::move(sink);
    if (m_target->sink) {
      // Messages that waited for a sink go first, in their order.
      while (!m_target->queue.empty()) {
        MSG msg = m_target->queue.front();
        m_target->queue.pop_front();
        m_target->sink(msg);
      }
    }
  }
  return TRUE;
}
