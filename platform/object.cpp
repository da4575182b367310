#include "platform/object.h"

#include "platform/debug_log.h"
#include "platform/exception.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace {

struct ClassRegistry {
  std::mutex mutex;
  std::vector<CRuntimeClass*> classes;
};

// Never destroyed: static destructors of other objects may still look classes up.
ClassRegistry& Registry() {
  static ClassRegistry* registry = new ClassRegistry;
  return *registry;
}

}  // namespace

constinit CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)),
                                                 0xFFFF, nullptr, nullptr};

CRuntimeClass* CObject::GetRuntimeClass() const { return RUNTIME_CLASS(CObject); }

BOOL CObject::IsKindOf(const CRuntimeClass* pClass) const noexcept {
  return GetRuntimeClass()->IsDerivedFrom(pClass);
}

BOOL CObject::IsSerializable() const noexcept { return GetRuntimeClass()->m_wSchema != 0xFFFF; }

void CObject::Serialize(CArchive&) {}

CObject* CRuntimeClass::CreateObject() const {
  if (!m_pfnCreateObject) {
    vardell::DebugLog("CreateObject: %s is not DECLARE_DYNCREATE or DECLARE_SERIAL",
                      m_lpszClassName);
    return nullptr;
  }
  // As in MFC, a failing constructor gives null rather than an exception.
  try {
    return m_pfnCreateObject();
  } catch (CException* e) {
    vardell::DebugLog("CreateObject: %s: %s", m_lpszClassName, static_cast<LPCTSTR>(e->Describe()));
    e->Delete();
  } catch (const std::bad_alloc&) {
    vardell::DebugLog("CreateObject: %s: out of memory", m_lpszClassName);
  }
  return nullptr;
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const noexcept {
  if (!pBaseClass) return FALSE;
  for (const CRuntimeClass* c = this; c; c = c->m_pBaseClass)
    if (c == pBaseClass) return TRUE;
  return FALSE;
}

CRuntimeClass* CRuntimeClass::FromName(LPCSTR lpszClassName) {
  if (!lpszClassName) return nullptr;
  ClassRegistry& registry = Registry();
  std::lock_guard lock(registry.mutex);
  for (CRuntimeClass* c : registry.classes)
    if (std::strcmp(c->m_lpszClassName, lpszClassName) == 0) return c;
  return nullptr;
}

CObject* CRuntimeClass::CreateObject(LPCSTR lpszClassName) {
  CRuntimeClass* c = FromName(lpszClassName);
  if (!c) {
    vardell::DebugLog("CreateObject: no registered class %s", lpszClassName ? lpszClassName : "");
    return nullptr;
  }
  return c->CreateObject();
}

void AfxClassInit(CRuntimeClass* pNewClass) {
  if (!pNewClass || !pNewClass->m_lpszClassName) return;
  ClassRegistry& registry = Registry();
  std::lock_guard lock(registry.mutex);
  if (std::find(registry.classes.begin(), registry.classes.end(), pNewClass) ==
      registry.classes.end())
    registry.classes.push_back(pNewClass);
}
