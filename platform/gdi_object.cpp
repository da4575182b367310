#include "platform/gdi_object.h"

#include <mutex>
#include <unordered_set>

namespace vardell {
namespace {

struct LiveObjects {
  std::mutex mutex;
  std::unordered_set<const void*> objects;
};

// Never destroyed, so that objects that outlive static destruction can still leave it.
LiveObjects& Live() {
  static LiveObjects* live = new LiveObjects;
  return *live;
}

}  // namespace

GdiObject::GdiObject(DWORD type, bool stock) : m_type(type), m_stock(stock) {
  LiveObjects& live = Live();
  std::lock_guard lock(live.mutex);
  live.objects.insert(static_cast<const void*>(this));
}

GdiObject::~GdiObject() {
  LiveObjects& live = Live();
  std::lock_guard lock(live.mutex);
  live.objects.erase(static_cast<const void*>(this));
}

void GdiObject::AddSelection() noexcept {
  std::lock_guard lock(Live().mutex);
  ++m_selections;
}

void GdiObject::RemoveSelection() noexcept {
  std::lock_guard lock(Live().mutex);
  if (m_selections > 0) --m_selections;
}

int GdiObject::Selections() const noexcept {
  std::lock_guard lock(Live().mutex);
  return m_selections;
}

bool GdiObject::MayDelete() const noexcept { return m_selections == 0; }

GdiObject* GdiObject::Find(HGDIOBJ handle) noexcept {
  if (handle == nullptr) return nullptr;
  LiveObjects& live = Live();
  std::lock_guard lock(live.mutex);
  return live.objects.count(handle) != 0 ? static_cast<GdiObject*>(handle) : nullptr;
}

}  // namespace vardell

BOOL DeleteObject(HGDIOBJ object) {
  if (object == nullptr) return FALSE;
  vardell::GdiObject* found = nullptr;
  {
    vardell::LiveObjects& live = vardell::Live();
    std::lock_guard lock(live.mutex);
    if (live.objects.count(object) == 0) return FALSE;
    found = static_cast<vardell::GdiObject*>(object);
    if (found->m_stock) return TRUE;
    if (!found->MayDelete()) return FALSE;
    // Out of the table before the lock is let go: no other thread can find it any more.
    live.objects.erase(object);
  }
  delete found;
  return TRUE;
}

DWORD GetObjectType(HGDIOBJ object) {
  const vardell::GdiObject* found = vardell::GdiObject::Find(object);
  return found != nullptr ? found->Type() : 0;
}
