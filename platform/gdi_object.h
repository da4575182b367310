// GDI object handles and the one deletion path they all share.
//
// A GDI handle (HGDIOBJ, and the typed handles HRGN, HPEN, HBRUSH, HBITMAP, ...) is the address
// of a live vardell::GdiObject. Every GdiObject enters a process-wide table of live objects when
// it is constructed and leaves it when it is destroyed, so a handle can be checked before use: a
// null, deleted or made-up handle is refused with the platform's failure value instead of being
// followed. DeleteObject(HGDIOBJ) destroys any kind of GDI object through the virtual destructor,
// except where the platform refuses (see DeleteObject).
//
// To add a kind of GDI object: derive from vardell::GdiObject, pass its OBJ_* type to the base
// constructor, hand out `reinterpret_cast<HPEN>(obj->Handle())` (or the like), and find it again
// with `vardell::GdiObject::Find<Pen>(handle, OBJ_PEN)`. Objects are created with plain `new`;
// DeleteObject deletes them.
#pragma once

#include "platform/export.h"
#include "platform/win_types.h"

using HGDIOBJ = void*;

// Object types as GetObjectType answers them.
inline constexpr DWORD OBJ_PEN = 1;
inline constexpr DWORD OBJ_BRUSH = 2;
inline constexpr DWORD OBJ_DC = 3;
inline constexpr DWORD OBJ_PAL = 5;
inline constexpr DWORD OBJ_FONT = 6;
inline constexpr DWORD OBJ_BITMAP = 7;
inline constexpr DWORD OBJ_REGION = 8;
inline constexpr DWORD OBJ_MEMDC = 10;

// Destroys the object and frees its handle. As on the platform:
// - a stock object is left alone and the answer is TRUE (deleting one is harmless);
// - an object selected into a DC is left alone, still usable, and the answer is FALSE;
// - FALSE for a null or unknown handle.
VARDELL_API BOOL DeleteObject(HGDIOBJ object);

// The object's OBJ_* type, or 0 for a null or unknown handle.
VARDELL_API DWORD GetObjectType(HGDIOBJ object);

namespace vardell {

class VARDELL_API GdiObject {
 public:
  GdiObject(const GdiObject&) = delete;
  GdiObject& operator=(const GdiObject&) = delete;
  virtual ~GdiObject();

  DWORD Type() const noexcept { return m_type; }
  HGDIOBJ Handle() noexcept { return static_cast<void*>(this); }
  // Stock objects live as long as the process.
  bool IsStock() const noexcept { return m_stock; }

  // The DCs an object is selected into, counted by SelectObject and DeleteDC. DeleteObject
  // refuses an object while the count is not 0.
  void AddSelection() noexcept;
  void RemoveSelection() noexcept;
  int Selections() const noexcept;

  // The live object a handle names, or nullptr for a null, deleted or unknown handle.
  static GdiObject* Find(HGDIOBJ handle) noexcept;
  // The same, and nullptr too when the object is not of the given type.
  template <class T>
  static T* Find(HGDIOBJ handle, DWORD type) noexcept {
    GdiObject* object = Find(handle);
    return object != nullptr && object->m_type == type ? static_cast<T*>(object) : nullptr;
  }

 protected:
  // Enters the table of live objects; throws std::bad_alloc when the table cannot grow.
  explicit GdiObject(DWORD type, bool stock = false);

  // Whether DeleteObject may destroy this object, asked with the table locked for a non-stock
  // object. The base allows it unless the object is selected into a DC.
  virtual bool MayDelete() const noexcept;

 private:
  friend BOOL(::DeleteObject)(HGDIOBJ object);

  DWORD m_type;
  bool m_stock;
  int m_selections = 0;  // guarded by the table's lock
};

}  // namespace vardell
