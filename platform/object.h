// CObject and CRuntimeClass: MFC's run-time class information, dynamic creation and the
// class-name registry that archives use to re-create objects.
//
// As in MFC:
// - DECLARE_DYNAMIC/IMPLEMENT_DYNAMIC give IsKindOf; the class has schema 0xFFFF and no
//   CreateObject.
// - DECLARE_DYNCREATE/IMPLEMENT_DYNCREATE add CreateObject (the class needs a default
//   constructor); schema 0xFFFF.
// - DECLARE_SERIAL/IMPLEMENT_SERIAL(class, base, schema) add the schema and register the class by
//   name. Only serialisable classes are registered, so CRuntimeClass::FromName finds them and no
//   others. OR the schema with VERSIONABLE_SCHEMA to accept older schemas when loading.
// - A schema of 0xFFFF means "not serialisable".
//
// The registry is filled by static constructors and is safe to read from any thread. A class
// defined in a static library is registered only when the linker keeps its object file, as with
// any static registration: link the shared library, or reference the class, to be sure.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

class CArchive;
class CObject;

inline constexpr UINT VERSIONABLE_SCHEMA = 0x80000000u;

struct VARDELL_API CRuntimeClass {
  LPCSTR m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;  // 0xFFFF for a class that is not serialisable
  CObject* (*m_pfnCreateObject)();
  CRuntimeClass* m_pBaseClass;

  // A new object of this class, or null when the class has no CreateObject or creation failed.
  CObject* CreateObject() const;
  // TRUE when this class is pBaseClass or derives from it.
  BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const noexcept;

  // The registered (serialisable) class of that exact, case-sensitive name, or null.
  static CRuntimeClass* FromName(LPCSTR lpszClassName);
  // A new object of the registered class of that name, or null.
  static CObject* CreateObject(LPCSTR lpszClassName);
};

// Registers a class by name; IMPLEMENT_SERIAL calls it from a static constructor. Registering the
// same class twice has no further effect.
VARDELL_API void AfxClassInit(CRuntimeClass* pNewClass);

namespace vardell::detail {
struct ClassInit {
  explicit ClassInit(CRuntimeClass* pNewClass) { AfxClassInit(pNewClass); }
};
}  // namespace vardell::detail

class VARDELL_API CObject {
 public:
  virtual ~CObject() = default;
  CObject(const CObject&) = delete;
  CObject& operator=(const CObject&) = delete;

  virtual CRuntimeClass* GetRuntimeClass() const;
  BOOL IsKindOf(const CRuntimeClass* pClass) const noexcept;
  BOOL IsSerializable() const noexcept;
  // Stores or loads the object's data. CObject's own does nothing.
  virtual void Serialize(CArchive& ar);

  static CRuntimeClass classCObject;

 protected:
  CObject() = default;
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

namespace vardell::detail {
// ReadObject of that class; defined with CArchive.
VARDELL_API CObject* ReadSerialObject(CArchive& ar, const CRuntimeClass* pClass);
}  // namespace vardell::detail

// The typed extraction `ar >> pObject` that serialisable classes get: ReadObject of the class,
// so an object of another class throws CArchiveException::badClass.
#define VARDELL_DECLARE_SERIAL_EXTRACTION(class_name)                            \
  [[maybe_unused]] friend CArchive& operator>>(CArchive& ar, class_name*& pOb) { \
    pOb = static_cast<class_name*>(                                              \
        vardell::detail::ReadSerialObject(ar, RUNTIME_CLASS(class_name)));       \
    return ar;                                                                   \
  }

#define DECLARE_DYNAMIC(class_name)       \
 public:                                  \
  static CRuntimeClass class##class_name; \
  CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name) \
  DECLARE_DYNAMIC(class_name)         \
  static CObject* CreateObject();

#define DECLARE_SERIAL(class_name) \
  DECLARE_DYNCREATE(class_name)    \
  VARDELL_DECLARE_SERIAL_EXTRACTION(class_name)

// Constant-initialised, so a class is usable from other static constructors.
#define VARDELL_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, pfnNew)               \
  constinit CRuntimeClass class_name::class##class_name = {                                        \
      #class_name, static_cast<int>(sizeof(class class_name)), static_cast<UINT>(wSchema), pfnNew, \
      RUNTIME_CLASS(base_class_name)};                                                             \
  CRuntimeClass* class_name::GetRuntimeClass() const { return RUNTIME_CLASS(class_name); }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name) \
  VARDELL_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)         \
  CObject* class_name::CreateObject() { return new class_name; } \
  VARDELL_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, class_name::CreateObject)

#define IMPLEMENT_SERIAL(class_name, base_class_name, wSchema)                                   \
  CObject* class_name::CreateObject() { return new class_name; }                                 \
  VARDELL_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, class_name::CreateObject) \
  static const vardell::detail::ClassInit vardellClassInit_##class_name(RUNTIME_CLASS(class_name));
