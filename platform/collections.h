// MFC's typed arrays: CByteArray, CWordArray, CDWordArray, CUIntArray, CPtrArray, CStringArray
// and CObArray, with MFC's interface and growth rules.
//
// - Sizes and indices are int. New elements are zero (an empty string for CStringArray).
// - SetSize(n, growBy): growBy = -1 keeps the current growth step; a step of 0 (the default)
//   grows by m_nSize / 8 clamped to 4..1024. A first allocation is exact, as in MFC 4.2.
// - GetAt, SetAt, ElementAt and operator[] are unchecked, as in MFC: they assert in debug
//   builds only.
// - The operations that change the size check their arguments in every build, as later MFC
//   does: a negative size, index or count, or a range past the end, throws
//   CInvalidArgException*; a size beyond 2 GiB of elements (more than the original platform
//   could ever hold) or a failed allocation throws CMemoryException*. The array is unchanged
//   when they throw.
// - An element argument may refer to an element of the same array, and Append and InsertAt
//   accept the array itself: the values are taken before anything moves.
// - CObArray and CPtrArray hold pointers they do not own.
// - Not thread-safe: guard a shared array with a lock, as in MFC.
//
// Serialize stores and loads MFC 4.2's layout (platform/archive.h); CPtrArray keeps CObject's,
// which writes nothing.
#pragma once

#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/object.h"
#include "platform/win_types.h"

#include <cassert>
#include <type_traits>

namespace vardell::detail {

// The storage shared by the typed arrays. Derived is the array class (its own type is the type
// of Append, Copy and InsertAt arguments); T is the element.
template <class Derived, class T>
class VARDELL_API TypedArray : public CObject {
 public:
  // Scalars by value, strings by reference, as MFC's ARG_TYPE.
  using Arg = std::conditional_t<std::is_scalar_v<T>, T, const T&>;

  TypedArray() noexcept = default;
  ~TypedArray() override { delete[] m_pData; }

  int GetSize() const noexcept { return m_nSize; }
  int GetCount() const noexcept { return m_nSize; }
  BOOL IsEmpty() const noexcept { return m_nSize == 0; }
  int GetUpperBound() const noexcept { return m_nSize - 1; }
  void SetSize(int nNewSize, int nGrowBy = -1);
  void FreeExtra();
  void RemoveAll() noexcept;

  Arg GetAt(int nIndex) const noexcept {
    assert(nIndex >= 0 && nIndex < m_nSize);
    return m_pData[nIndex];
  }
  void SetAt(int nIndex, Arg newElement) {
    assert(nIndex >= 0 && nIndex < m_nSize);
    m_pData[nIndex] = newElement;
  }
  T& ElementAt(int nIndex) noexcept {
    assert(nIndex >= 0 && nIndex < m_nSize);
    return m_pData[nIndex];
  }
  const T* GetData() const noexcept { return m_pData; }
  T* GetData() noexcept { return m_pData; }
  Arg operator[](int nIndex) const noexcept { return GetAt(nIndex); }
  T& operator[](int nIndex) noexcept { return ElementAt(nIndex); }

  void SetAtGrow(int nIndex, Arg newElement);
  // Returns the index of the new element.
  int Add(Arg newElement);
  // Returns the index of the first appended element (the old size).
  int Append(const Derived& src);
  void Copy(const Derived& src);

  void InsertAt(int nIndex, Arg newElement, int nCount = 1);
  void InsertAt(int nStartIndex, const Derived* pNewArray);
  void RemoveAt(int nIndex, int nCount = 1);

 protected:
  T* m_pData = nullptr;
  int m_nSize = 0;
  int m_nMaxSize = 0;
  int m_nGrowBy = 0;

 private:
  // Makes room for nNewSize elements; the new ones are T(). Throws before changing anything.
  void Grow(long long nNewSize);
};

}  // namespace vardell::detail

class VARDELL_API CByteArray : public vardell::detail::TypedArray<CByteArray, BYTE> {
  DECLARE_SERIAL(CByteArray)
 public:
  CByteArray() = default;
  void Serialize(CArchive& ar) override;
};

class VARDELL_API CWordArray : public vardell::detail::TypedArray<CWordArray, WORD> {
  DECLARE_SERIAL(CWordArray)
 public:
  CWordArray() = default;
  void Serialize(CArchive& ar) override;
};

class VARDELL_API CDWordArray : public vardell::detail::TypedArray<CDWordArray, DWORD> {
  DECLARE_SERIAL(CDWordArray)
 public:
  CDWordArray() = default;
  void Serialize(CArchive& ar) override;
};

// Not serialisable, as in MFC.
class VARDELL_API CUIntArray : public vardell::detail::TypedArray<CUIntArray, UINT> {
  DECLARE_DYNAMIC(CUIntArray)
 public:
  CUIntArray() = default;
};

// Not serialisable, as in MFC.
class VARDELL_API CPtrArray : public vardell::detail::TypedArray<CPtrArray, void*> {
  DECLARE_DYNAMIC(CPtrArray)
 public:
  CPtrArray() = default;
};

class VARDELL_API CStringArray : public vardell::detail::TypedArray<CStringArray, CString> {
  DECLARE_SERIAL(CStringArray)
 public:
  CStringArray() = default;
  void Serialize(CArchive& ar) override;
};

class VARDELL_API CObArray : public vardell::detail::TypedArray<CObArray, CObject*> {
  DECLARE_SERIAL(CObArray)
 public:
  CObArray() = default;
  void Serialize(CArchive& ar) override;
};

namespace vardell::detail {
extern template class TypedArray<CByteArray, BYTE>;
extern template class TypedArray<CWordArray, WORD>;
extern template class TypedArray<CDWordArray, DWORD>;
extern template class TypedArray<CUIntArray, UINT>;
extern template class TypedArray<CPtrArray, void*>;
extern template class TypedArray<CStringArray, CString>;
extern template class TypedArray<CObArray, CObject*>;
}  // namespace vardell::detail
