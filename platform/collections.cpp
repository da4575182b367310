#include "platform/collections.h"

#include "platform/exception.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>
#include <vector>

namespace vardell::detail {

namespace {

// No array may hold more than 2 GiB of elements: the original platform's whole user address
// space, so no request beyond it was ever meant to succeed.
constexpr long long kMaxArrayBytes = 0x7FFFFFFF;

template <class T>
constexpr long long MaxCount() noexcept {
  return kMaxArrayBytes / static_cast<long long>(sizeof(T));
}

template <class T>
T* Allocate(long long count) {
  if (count > MaxCount<T>()) AfxThrowMemoryException();
  try {
    return new T[static_cast<std::size_t>(count)]();
  } catch (const std::bad_alloc&) {
    AfxThrowMemoryException();
  }
}

}  // namespace

template <class Derived, class T>
void TypedArray<Derived, T>::Grow(long long nNewSize) {
  if (nNewSize < 0) AfxThrowInvalidArgException();
  if (nNewSize > MaxCount<T>()) AfxThrowMemoryException();
  if (nNewSize <= m_nMaxSize) {
    m_nSize = static_cast<int>(nNewSize);
    return;
  }
  long long newMax = nNewSize;
  if (m_pData) {
    // The heuristic step of a growth step of 0 avoids fragmenting the heap, as in MFC.
    long long growBy = m_nGrowBy != 0 ? m_nGrowBy : std::clamp(m_nSize / 8, 4, 1024);
    newMax = std::min(std::max(nNewSize, m_nMaxSize + growBy), MaxCount<T>());
  }
  T* data = Allocate<T>(newMax);
  std::move(m_pData, m_pData + m_nSize, data);
  delete[] m_pData;
  m_pData = data;
  m_nSize = static_cast<int>(nNewSize);
  m_nMaxSize = static_cast<int>(newMax);
}

template <class Derived, class T>
void TypedArray<Derived, T>::SetSize(int nNewSize, int nGrowBy) {
  if (nNewSize < 0) AfxThrowInvalidArgException();
  if (nNewSize > MaxCount<T>()) AfxThrowMemoryException();
  if (nGrowBy >= 0) m_nGrowBy = nGrowBy;
  if (nNewSize == 0) {
    RemoveAll();
  } else if (nNewSize < m_nSize) {
    // Slots past the size always hold T(), so a later growth finds zeros (and strings free
    // their text now).
    std::fill(m_pData + nNewSize, m_pData + m_nSize, T());
    m_nSize = nNewSize;
  } else {
    Grow(nNewSize);
  }
}

template <class Derived, class T>
void TypedArray<Derived, T>::FreeExtra() {
  if (m_nSize == m_nMaxSize) return;
  T* data = m_nSize ? Allocate<T>(m_nSize) : nullptr;
  std::move(m_pData, m_pData + m_nSize, data);
  delete[] m_pData;
  m_pData = data;
  m_nMaxSize = m_nSize;
}

template <class Derived, class T>
void TypedArray<Derived, T>::RemoveAll() noexcept {
  delete[] m_pData;
  m_pData = nullptr;
  m_nSize = m_nMaxSize = 0;
}

template <class Derived, class T>
void TypedArray<Derived, T>::SetAtGrow(int nIndex, Arg newElement) {
  if (nIndex < 0) AfxThrowInvalidArgException();
  T value(newElement);
  if (nIndex >= m_nSize) Grow(static_cast<long long>(nIndex) + 1);
  m_pData[nIndex] = std::move(value);
}

template <class Derived, class T>
int TypedArray<Derived, T>::Add(Arg newElement) {
  int index = m_nSize;
  SetAtGrow(index, newElement);
  return index;
}

template <class Derived, class T>
int TypedArray<Derived, T>::Append(const Derived& src) {
  int oldSize = m_nSize;
  int count = src.m_nSize;
  Grow(static_cast<long long>(oldSize) + count);
  // Reads src after the growth: for a self-append its elements are now at the same indices here.
  for (int i = 0; i < count; ++i) m_pData[oldSize + i] = src.m_pData[i];
  return oldSize;
}

template <class Derived, class T>
void TypedArray<Derived, T>::Copy(const Derived& src) {
  if (static_cast<const TypedArray*>(&src) == this) return;
  SetSize(src.m_nSize);
  std::copy(src.m_pData, src.m_pData + src.m_nSize, m_pData);
}

template <class Derived, class T>
void TypedArray<Derived, T>::InsertAt(int nIndex, Arg newElement, int nCount) {
  if (nIndex < 0 || nCount < 0) AfxThrowInvalidArgException();
  if (nCount == 0) return;
  T value(newElement);
  int oldSize = m_nSize;
  if (nIndex >= oldSize) {
    // After the end: the array grows to hold the gap (zeros) and the new elements.
    Grow(static_cast<long long>(nIndex) + nCount);
  } else {
    Grow(static_cast<long long>(oldSize) + nCount);
    std::move_backward(m_pData + nIndex, m_pData + oldSize, m_pData + oldSize + nCount);
  }
  std::fill(m_pData + nIndex, m_pData + nIndex + nCount, value);
}

template <class Derived, class T>
void TypedArray<Derived, T>::InsertAt(int nStartIndex, const Derived* pNewArray) {
  if (!pNewArray || nStartIndex < 0) AfxThrowInvalidArgException();
  int count = pNewArray->m_nSize;
  if (count == 0) return;
  if (static_cast<const TypedArray*>(pNewArray) == this) {
    std::vector<T> copy(m_pData, m_pData + m_nSize);
    InsertAt(nStartIndex, copy[0], count);
    std::copy(copy.begin(), copy.end(), m_pData + nStartIndex);
    return;
  }
  InsertAt(nStartIndex, pNewArray->m_pData[0], count);
  std::copy(pNewArray->m_pData, pNewArray->m_pData + count, m_pData + nStartIndex);
}

template <class Derived, class T>
void TypedArray<Derived, T>::RemoveAt(int nIndex, int nCount) {
  if (nIndex < 0 || nCount < 0 || static_cast<long long>(nIndex) + nCount > m_nSize)
    AfxThrowInvalidArgException();
  std::move(m_pData + nIndex + nCount, m_pData + m_nSize, m_pData + nIndex);
  std::fill(m_pData + m_nSize - nCount, m_pData + m_nSize, T());
  m_nSize -= nCount;
}

template class TypedArray<CByteArray, BYTE>;
template class TypedArray<CWordArray, WORD>;
template class TypedArray<CDWordArray, DWORD>;
template class TypedArray<CUIntArray, UINT>;
template class TypedArray<CPtrArray, void*>;
template class TypedArray<CStringArray, CString>;
template class TypedArray<CObArray, CObject*>;

}  // namespace vardell::detail

IMPLEMENT_SERIAL(CByteArray, CObject, 0)
IMPLEMENT_SERIAL(CWordArray, CObject, 0)
IMPLEMENT_SERIAL(CDWordArray, CObject, 0)
IMPLEMENT_DYNAMIC(CUIntArray, CObject)
IMPLEMENT_DYNAMIC(CPtrArray, CObject)
IMPLEMENT_SERIAL(CStringArray, CObject, 0)
IMPLEMENT_SERIAL(CObArray, CObject, 0)
