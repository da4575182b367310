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

GdiObject::GdiObject(DWORD type) : m_type(type) {
  LiveObjects& live = Live();
  std::lock_guard lock(live.mutex);
  live.objects.insert(static_cast<const void*>(this));
}

GdiObject::~GdiObject() {
  LiveObjects& live = Live();
  std::lock_guard lock(live.mutex);
  live.objects.erase(static_cast<const void*>(this));
}

GdiObject* GdiObject::Find(HGDIOBJ handle) noexcept {
  if (handle == nullptr) return nullptr;
  LiveObjects& live = Live();
  std::lock_guard lock(live.mutex);
  return live.objects.count(handle) != 0 ? static_cast<GdiObject*>(handle) : nullptr;
}

}  // namespace vardell

BOOL DeleteObject(HGDIOBJ object) {
  vardell::GdiObject* found = vardell::GdiObject::Find(object);
  if (found == nullptr) return FALSE;
  delete found;
  return TRUE;
}

DWORD GetObjectType(HGDIOBJ object) {
  const vardell::GdiObject* found = vardell::GdiObject::Find(object);
  return found != nullptr ? found->Type() : 0;
}
