// Serialize of the platform's arrays, in MFC 4.2's layout: WriteCount(n), then the elements.
// Number arrays are n raw little-endian values, CStringArray n strings, CObArray n object
// references. Loading checks the count against what the archive still holds before anything is
// allocated, reads the elements before it sizes the array (so that memory grows with the data
// even when the file cannot tell its length), and throws endOfFile when the data is short
// (MFC 4.2 zero-filled number arrays instead; later MFC throws, and so do we). An array whose
// loading fails is left as it was.
#include "platform/archive.h"
#include "platform/byte_order.h"
#include "platform/collections.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

using vardell::detail::ArchiveAccess;

// The count of a loading array, checked against what the archive holds: each element takes at
// least minBytes.
int ReadCheckedCount(CArchive& ar, ULONGLONG minBytes) {
  const DWORD count = ar.ReadCount();
  ArchiveAccess::CheckRemaining(ar, count * minBytes);
  if (count > static_cast<DWORD>(INT_MAX)) ArchiveAccess::Throw(ar, CArchiveException::endOfFile);
  return static_cast<int>(count);
}

template <class T>
void StoreNumbers(CArchive& ar, const T* data, int size) {
  ar.WriteCount(static_cast<DWORD>(size));
  constexpr int kChunk = 4096;
  T le[kChunk];
  for (int done = 0; done < size;) {
    const int n = std::min(kChunk, size - done);
    const T* chunk = data + done;
    if constexpr (std::endian::native != std::endian::little) {
      for (int i = 0; i < n; ++i) vardell::StoreLE(&le[i], chunk[i]);
      chunk = le;
    }
    ar.Write(chunk, static_cast<UINT>(n * sizeof(T)));
    done += n;
  }
}

// Reads the values first, then sizes the array with setSize and fills it.
template <class T>
void LoadNumbers(CArchive& ar, auto&& setSize) {
  const int count = ReadCheckedCount(ar, sizeof(T));
  std::string bytes;
  ArchiveAccess::ReadExact(ar, bytes, static_cast<ULONGLONG>(count) * sizeof(T));
  T* data = setSize(count);
  if constexpr (std::endian::native == std::endian::little) {
    if (count) std::memcpy(data, bytes.data(), bytes.size());
  } else {
    for (int i = 0; i < count; ++i) data[i] = vardell::LoadLE<T>(bytes.data() + i * sizeof(T));
  }
}

}  // namespace

void CByteArray::Serialize(CArchive& ar) {
  CObject::Serialize(ar);
  if (ar.IsStoring()) {
    StoreNumbers(ar, m_pData, m_nSize);
    return;
  }
  LoadNumbers<BYTE>(ar, [this](int n) {
    SetSize(n);
    return m_pData;
  });
}

void CWordArray::Serialize(CArchive& ar) {
  CObject::Serialize(ar);
  if (ar.IsStoring()) {
    StoreNumbers(ar, m_pData, m_nSize);
    return;
  }
  LoadNumbers<WORD>(ar, [this](int n) {
    SetSize(n);
    return m_pData;
  });
}

void CDWordArray::Serialize(CArchive& ar) {
  CObject::Serialize(ar);
  if (ar.IsStoring()) {
    StoreNumbers(ar, m_pData, m_nSize);
    return;
  }
  LoadNumbers<DWORD>(ar, [this](int n) {
    SetSize(n);
    return m_pData;
  });
}

void CStringArray::Serialize(CArchive& ar) {
  CObject::Serialize(ar);
  if (ar.IsStoring()) {
    ar.WriteCount(static_cast<DWORD>(m_nSize));
    for (int i = 0; i < m_nSize; ++i) ar << m_pData[i];
    return;
  }
  const int count = ReadCheckedCount(ar, 1);
  std::vector<CString> strings;
  for (int i = 0; i < count; ++i) ar >> strings.emplace_back();
  SetSize(count);
  for (int i = 0; i < count; ++i) m_pData[i] = std::move(strings[i]);
}

void CObArray::Serialize(CArchive& ar) {
  CObject::Serialize(ar);
  if (ar.IsStoring()) {
    ar.WriteCount(static_cast<DWORD>(m_nSize));
    for (int i = 0; i < m_nSize; ++i) ar << m_pData[i];
    return;
  }
  // Pointers already held are overwritten, not deleted: the array does not own them.
  const int count = ReadCheckedCount(ar, 2);
  const UINT mark = ArchiveAccess::LoadMark(ar);
  std::vector<CObject*> elements, created;
  try {
    for (int i = 0; i < count; ++i) {
      const UINT before = ArchiveAccess::LoadMark(ar);
      CObject* pOb = ar.ReadObject(nullptr);
      elements.push_back(pOb);
      if (ArchiveAccess::IsFirstObjectSince(ar, before, pOb)) created.push_back(pOb);
    }
    SetSize(count);
  } catch (...) {
    // The objects this load created go with it; what they created themselves is theirs to free.
    for (CObject* pOb : created) delete pOb;
    ArchiveAccess::ForgetLoadedSince(ar, mark);
    throw;
  }
  std::copy(elements.begin(), elements.end(), m_pData);
}
