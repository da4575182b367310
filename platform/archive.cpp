#include "platform/archive.h"

#include "platform/debug_log.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace {

// Tags of the object format.
constexpr WORD kNullTag = 0x0000;
constexpr WORD kBigObjectTag = 0x7FFF;
constexpr WORD kClassTag = 0x8000;
constexpr WORD kNewClassTag = 0xFFFF;
constexpr DWORD kBigClassTag = 0x80000000u;
constexpr UINT kMinBufSize = 128;
// Class names of 64 bytes or more are refused, as the platform's loader does.
constexpr WORD kMaxClassName = 64;
constexpr ULONGLONG kUnknown = std::numeric_limits<ULONGLONG>::max();

// UTF-16LE code units to UTF-8, up to the first zero unit (the platform converts a terminated
// wide string). An unpaired surrogate becomes '?', as an unmappable character does.
std::string Utf16ToUtf8(const std::string& bytes) {
  std::string out;
  const std::size_t units = bytes.size() / 2;
  auto unit = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<BYTE>(bytes[2 * i]) |
                                      static_cast<BYTE>(bytes[2 * i + 1]) << 8);
  };
  for (std::size_t i = 0; i < units; ++i) {
    std::uint32_t c = unit(i);
    if (c == 0) break;
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < units && unit(i + 1) >= 0xDC00 &&
        unit(i + 1) <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (unit(i + 1) - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      out += '?';
      continue;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

}  // namespace

IMPLEMENT_DYNAMIC(CArchiveException, CException)

CString CArchiveException::Describe() const {
  static const char* const kCauses[] = {"no error",
                                        "unspecified archive error",
                                        "tried to write to an archive opened for loading",
                                        "unexpected end of archive",
                                        "tried to read from an archive opened for storing",
                                        "invalid object or class index in archive",
                                        "unknown or unexpected class in archive",
                                        "unsupported schema in archive"};
  CString text = m_cause >= 0 && m_cause <= badSchema ? kCauses[m_cause] : "archive error";
  if (!m_strFileName.IsEmpty()) text = m_strFileName + ": " + text;
  return text;
}

void AfxThrowArchiveException(int cause, const char* archiveName) {
  throw new CArchiveException(cause, archiveName);
}

struct CArchive::StoreMap {
  std::unordered_map<const void*, DWORD> indices;
};

CArchive::CArchive(CFile* pFile, UINT nMode, int nBufSize, void* lpBuf)
    : m_nMode(nMode), m_pFile(pFile) {
  if (!pFile) AfxThrowInvalidArgException();
  m_strFileName = pFile->GetFilePath();
  if (nBufSize < static_cast<int>(kMinBufSize)) {
    nBufSize = static_cast<int>(kMinBufSize);
    lpBuf = nullptr;  // too small to use: one of our own
  }
  m_nBufSize = static_cast<UINT>(nBufSize);
  m_bUserBuf = lpBuf != nullptr;
  m_lpBufStart = m_bUserBuf ? static_cast<BYTE*>(lpBuf) : new BYTE[m_nBufSize];
  m_lpBufCur = m_lpBufStart;
  // Loading starts with an empty buffer, storing with an empty one to fill.
  m_lpBufMax = IsLoading() ? m_lpBufStart : m_lpBufStart + m_nBufSize;
}

CArchive::~CArchive() {
  if (m_pFile && !(m_nMode & bNoFlushOnDelete)) {
    try {
      Close();
    } catch (CException* e) {
      vardell::DebugLog("CArchive: closing %s in the destructor failed: %s",
                        static_cast<LPCTSTR>(m_strFileName), static_cast<LPCTSTR>(e->Describe()));
      e->Delete();
    } catch (...) {
    }
  }
  Abort();
  if (!m_bUserBuf) delete[] m_lpBufStart;
}

void CArchive::Throw(int cause) const { AfxThrowArchiveException(cause, m_strFileName); }

UINT CArchive::GetObjectSchema() noexcept {
  UINT schema = m_nObjectSchema;
  m_nObjectSchema = static_cast<UINT>(-1);  // once per Serialize
  return schema;
}

void CArchive::FillBuffer(UINT nBytesNeeded) {
  CheckLoading();
  if (!m_pFile) Throw(CArchiveException::genericException);
  UINT unused = static_cast<UINT>(m_lpBufMax - m_lpBufCur);
  if (unused >= nBytesNeeded) return;
  if (unused > 0 && m_lpBufCur != m_lpBufStart) std::memmove(m_lpBufStart, m_lpBufCur, unused);
  m_lpBufCur = m_lpBufStart;
  m_lpBufMax = m_lpBufStart + unused;
  UINT have = unused;
  while (have < nBytesNeeded && have < m_nBufSize) {
    UINT got = m_pFile->Read(m_lpBufStart + have, m_nBufSize - have);
    if (got == 0) break;
    have += got;
    m_lpBufMax = m_lpBufStart + have;
  }
  if (have < nBytesNeeded) Throw(CArchiveException::endOfFile);
}

UINT CArchive::Read(void* lpBuf, UINT nMax) {
  CheckLoading();
  if (nMax == 0) return 0;
  auto* out = static_cast<BYTE*>(lpBuf);
  UINT done = std::min(nMax, static_cast<UINT>(m_lpBufMax - m_lpBufCur));
  std::memcpy(out, m_lpBufCur, done);
  m_lpBufCur += done;
  if (done == nMax) return done;
  if (!m_pFile) Throw(CArchiveException::genericException);
  // Whole buffers go straight from the file; the tail goes through the buffer.
  UINT left = nMax - done;
  const UINT direct = left - left % m_nBufSize;
  UINT directDone = 0;
  while (directDone < direct) {
    UINT got = m_pFile->Read(out + done + directDone, direct - directDone);
    if (got == 0) return done + directDone;
    directDone += got;
  }
  done += directDone;
  left -= directDone;
  if (left == 0) return done;
  m_lpBufCur = m_lpBufMax = m_lpBufStart;
  UINT have = 0;
  while (have < left) {
    UINT got = m_pFile->Read(m_lpBufStart + have, m_nBufSize - have);
    if (got == 0) break;
    have += got;
  }
  m_lpBufMax = m_lpBufStart + have;
  const UINT tail = std::min(left, have);
  std::memcpy(out + done, m_lpBufCur, tail);
  m_lpBufCur += tail;
  return done + tail;
}

void CArchive::Write(const void* lpBuf, UINT nMax) {
  CheckStoring();
  if (nMax == 0) return;
  const auto* in = static_cast<const BYTE*>(lpBuf);
  UINT now = std::min(nMax, static_cast<UINT>(m_lpBufMax - m_lpBufCur));
  std::memcpy(m_lpBufCur, in, now);
  m_lpBufCur += now;
  in += now;
  nMax -= now;
  if (nMax == 0) return;
  Flush();
  const UINT direct = nMax - nMax % m_nBufSize;
  if (direct) m_pFile->Write(in, direct);
  std::memcpy(m_lpBufCur, in + direct, nMax - direct);
  m_lpBufCur += nMax - direct;
}

void CArchive::Flush() {
  if (!m_pFile) Throw(CArchiveException::genericException);
  if (IsLoading()) {
    // Give back what was read ahead.
    if (m_lpBufMax != m_lpBufCur)
      m_pFile->Seek(-static_cast<LONGLONG>(m_lpBufMax - m_lpBufCur), CFile::current);
    m_lpBufCur = m_lpBufMax;
  } else {
    if (m_lpBufCur != m_lpBufStart)
      m_pFile->Write(m_lpBufStart, static_cast<UINT>(m_lpBufCur - m_lpBufStart));
    m_lpBufCur = m_lpBufStart;
  }
}

void CArchive::Close() {
  Flush();
  m_pFile = nullptr;
  // An empty buffer with no room: every later use reaches the missing file and throws.
  m_lpBufCur = m_lpBufMax = m_lpBufStart;
}

void CArchive::Abort() noexcept {
  m_pFile = nullptr;
  m_lpBufCur = m_lpBufMax = m_lpBufStart;
  m_loadArray.clear();
  m_loadArray.shrink_to_fit();
  m_pStoreMap.reset();
  m_schemaMap.clear();
  m_nMapCount = 0;
}

CArchive& CArchive::operator<<(float f) { return PutLE(std::bit_cast<DWORD>(f)); }
CArchive& CArchive::operator<<(double d) { return PutLE(std::bit_cast<ULONGLONG>(d)); }

CArchive& CArchive::operator>>(short& s) {
  WORD w;
  GetLE(w);
  s = static_cast<short>(w);
  return *this;
}

CArchive& CArchive::operator>>(char& ch) {
  BYTE b;
  GetLE(b);
  ch = static_cast<char>(b);
  return *this;
}

CArchive& CArchive::operator>>(float& f) {
  DWORD bits;
  GetLE(bits);
  f = std::bit_cast<float>(bits);
  return *this;
}

CArchive& CArchive::operator>>(double& d) {
  ULONGLONG bits;
  GetLE(bits);
  d = std::bit_cast<double>(bits);
  return *this;
}

void CArchive::WriteCount(DWORD dwCount) {
  if (dwCount < 0xFFFF) {
    *this << static_cast<WORD>(dwCount);
  } else {
    *this << static_cast<WORD>(0xFFFF);
    *this << dwCount;
  }
}

DWORD CArchive::ReadCount() {
  WORD wCount;
  *this >> wCount;
  if (wCount != 0xFFFF) return wCount;
  DWORD dwCount;
  *this >> dwCount;
  return dwCount;
}

ULONGLONG CArchive::RemainingBound() const {
  const ULONGLONG buffered = static_cast<ULONGLONG>(m_lpBufMax - m_lpBufCur);
  if (!m_pFile) return buffered;
  try {
    const ULONGLONG length = m_pFile->GetLength();
    const ULONGLONG position = m_pFile->GetPosition();
    return buffered + (length > position ? length - position : 0);
  } catch (CException* e) {
    // A file that cannot tell its length (a pipe): reads grow with the data instead.
    e->Delete();
    return kUnknown;
  }
}

void CArchive::CheckRemaining(ULONGLONG nBytes) const {
  if (nBytes > RemainingBound()) {
    vardell::DebugLog("CArchive: %llu bytes announced, fewer left in %s",
                      static_cast<unsigned long long>(nBytes), static_cast<LPCTSTR>(m_strFileName));
    Throw(CArchiveException::endOfFile);
  }
}

void CArchive::ReadExact(void* lpBuf, UINT nBytes) {
  if (Read(lpBuf, nBytes) != nBytes) Throw(CArchiveException::endOfFile);
}

void CArchive::ReadExact(std::string& out, ULONGLONG nBytes) {
  CheckRemaining(nBytes);
  constexpr ULONGLONG kChunk = 1u << 20;
  while (nBytes > 0) {
    const UINT step = static_cast<UINT>(std::min(nBytes, kChunk));
    const std::size_t at = out.size();
    out.resize(at + step);
    ReadExact(out.data() + at, step);
    nBytes -= step;
  }
}

void CArchive::CheckCount() const {
  if (m_nMapCount >= kMaxMapCount) Throw(CArchiveException::badIndex);
}

void CArchive::MapObject(const CObject* pOb) {
  if (IsStoring()) {
    if (!m_pStoreMap) {
      m_pStoreMap = std::make_unique<StoreMap>();
      m_nMapCount = 1;  // 0 stands for null
    }
    if (pOb) {
      CheckCount();
      m_pStoreMap->indices[pOb] = m_nMapCount++;
    }
  } else {
    if (m_loadArray.empty()) {
      m_loadArray.push_back({nullptr, false});  // index 0: null
      m_nMapCount = 1;
    }
    if (pOb) {
      CheckCount();
      m_loadArray.push_back({const_cast<CObject*>(pOb), false});
      m_nMapCount++;
    }
  }
}

bool CArchive::IsFirstObjectSince(UINT mark, const CObject* pOb) const noexcept {
  for (std::size_t i = mark; i < m_loadArray.size(); ++i)
    if (!m_loadArray[i].isClass) return m_loadArray[i].pointer == pOb;
  return false;
}

void CArchive::ForgetLoadedSince(UINT mark) noexcept {
  if (mark < m_loadArray.size()) {
    m_loadArray.resize(mark);
    m_nMapCount = mark;
  }
}

void CArchive::WriteClass(const CRuntimeClass* pClassRef) {
  CheckStoring();
  if (!pClassRef) AfxThrowInvalidArgException();
  if (pClassRef->m_wSchema == 0xFFFF) {
    vardell::DebugLog("CArchive: %s is not serialisable", pClassRef->m_lpszClassName);
    AfxThrowNotSupportedException();
  }
  MapObject(nullptr);
  auto found = m_pStoreMap->indices.find(pClassRef);
  if (found != m_pStoreMap->indices.end()) {
    const DWORD index = found->second;
    if (index < kBigObjectTag) {
      *this << static_cast<WORD>(kClassTag | index);
    } else {
      *this << kBigObjectTag;
      *this << (kBigClassTag | index);
    }
    return;
  }
  const std::size_t length = std::strlen(pClassRef->m_lpszClassName);
  *this << kNewClassTag;
  *this << static_cast<WORD>(pClassRef->m_wSchema);  // VERSIONABLE_SCHEMA is not stored
  *this << static_cast<WORD>(length);
  Write(pClassRef->m_lpszClassName, static_cast<WORD>(length));
  CheckCount();
  m_pStoreMap->indices[pClassRef] = m_nMapCount++;
}

void CArchive::WriteObject(const CObject* pOb) {
  CheckStoring();
  MapObject(nullptr);
  if (!pOb) {
    *this << kNullTag;
    return;
  }
  auto found = m_pStoreMap->indices.find(pOb);
  if (found != m_pStoreMap->indices.end()) {
    const DWORD index = found->second;
    if (index < kBigObjectTag) {
      *this << static_cast<WORD>(index);
    } else {
      *this << kBigObjectTag;
      *this << index;
    }
    return;
  }
  WriteClass(pOb->GetRuntimeClass());
  CheckCount();
  // Entered before its data, so that what it writes itself comes after it and cycles end.
  m_pStoreMap->indices[pOb] = m_nMapCount++;
  const_cast<CObject*>(pOb)->Serialize(*this);
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* pClassRefRequested, UINT* pSchema,
                                   DWORD* pObTag) {
  CheckLoading();
  if (pClassRefRequested && pClassRefRequested->m_wSchema == 0xFFFF) {
    vardell::DebugLog("CArchive: %s is not serialisable", pClassRefRequested->m_lpszClassName);
    AfxThrowNotSupportedException();
  }
  MapObject(nullptr);

  WORD wTag;
  *this >> wTag;
  DWORD obTag;
  if (wTag == kBigObjectTag)
    *this >> obTag;
  else
    obTag = (static_cast<DWORD>(wTag & kClassTag) << 16) | (wTag & ~kClassTag & 0xFFFF);

  if (!(obTag & kBigClassTag)) {
    if (!pObTag) Throw(CArchiveException::badIndex);
    *pObTag = obTag;
    return nullptr;
  }

  CRuntimeClass* pClassRef;
  UINT nSchema;
  if (wTag == kNewClassTag) {
    WORD wSchema, nLength;
    *this >> wSchema >> nLength;
    char name[kMaxClassName];
    // A name cut short is an unknown class, not an end of file, as on the platform.
    if (nLength >= kMaxClassName || Read(name, nLength) != nLength)
      Throw(CArchiveException::badClass);
    name[nLength] = '\0';
    pClassRef = CRuntimeClass::FromName(name);
    if (!pClassRef) {
      vardell::DebugLog("CArchive: class %s is not registered", name);
      Throw(CArchiveException::badClass);
    }
    nSchema = wSchema;
    if ((pClassRef->m_wSchema & ~VERSIONABLE_SCHEMA) != nSchema) {
      if (!(pClassRef->m_wSchema & VERSIONABLE_SCHEMA)) {
        vardell::DebugLog("CArchive: %s stored with schema %u, expected %u", name, nSchema,
                          pClassRef->m_wSchema);
        Throw(CArchiveException::badSchema);
      }
      auto known = std::find_if(m_schemaMap.begin(), m_schemaMap.end(),
                                [&](const auto& entry) { return entry.first == pClassRef; });
      if (known != m_schemaMap.end())
        known->second = nSchema;
      else
        m_schemaMap.emplace_back(pClassRef, nSchema);
    }
    CheckCount();
    m_loadArray.push_back({pClassRef, true});
    m_nMapCount++;
  } else {
    const DWORD index = obTag & ~kBigClassTag;
    if (index == 0 || index >= m_loadArray.size() || !m_loadArray[index].isClass)
      Throw(CArchiveException::badIndex);
    pClassRef = static_cast<CRuntimeClass*>(m_loadArray[index].pointer);
    nSchema = pClassRef->m_wSchema & ~VERSIONABLE_SCHEMA;
    for (const auto& [cls, schema] : m_schemaMap)
      if (cls == pClassRef) nSchema = schema;
  }

  if (pClassRefRequested && !pClassRef->IsDerivedFrom(pClassRefRequested))
    Throw(CArchiveException::badClass);
  if (pSchema)
    *pSchema = nSchema;
  else
    m_nObjectSchema = nSchema;
  if (pObTag) *pObTag = obTag;
  return pClassRef;
}

CObject* CArchive::ReadObject(const CRuntimeClass* pClassRefRequested) {
  UINT nSchema = 0;
  DWORD obTag = 0;
  CRuntimeClass* pClassRef = ReadClass(pClassRefRequested, &nSchema, &obTag);
  if (!pClassRef) {
    if (obTag >= m_loadArray.size() || m_loadArray[obTag].isClass)
      Throw(CArchiveException::badIndex);
    auto* pOb = static_cast<CObject*>(m_loadArray[obTag].pointer);
    if (pOb && pClassRefRequested && !pOb->IsKindOf(pClassRefRequested))
      Throw(CArchiveException::badClass);
    return pOb;
  }

  CObject* pOb = pClassRef->CreateObject();
  if (!pOb) AfxThrowMemoryException();
  const UINT mark = LoadMark();
  const UINT schemaSaved = m_nObjectSchema;
  try {
    CheckCount();
    // Entered before its data, so that references to it from inside its data resolve.
    m_loadArray.push_back({pOb, false});
    m_nMapCount++;
    m_nObjectSchema = nSchema;
    pOb->Serialize(*this);
    m_nObjectSchema = schemaSaved;
  } catch (...) {
    m_nObjectSchema = schemaSaved;
    ForgetLoadedSince(mark);
    delete pOb;
    throw;
  }
  return pOb;
}

void CArchive::SerializeClass(const CRuntimeClass* pClassRef) {
  if (IsStoring())
    WriteClass(pClassRef);
  else
    ReadClass(pClassRef);
}

CArchive& operator<<(CArchive& ar, const CString& string) {
  const UINT length = static_cast<UINT>(string.GetLength());
  if (length < 0xFF) {
    ar << static_cast<BYTE>(length);
  } else {
    ar << static_cast<BYTE>(0xFF);
    // 0xFFFE is never a WORD length: after FF it marks a Unicode string.
    if (length < 0xFFFE) {
      ar << static_cast<WORD>(length);
    } else {
      ar << static_cast<WORD>(0xFFFF);
      ar << static_cast<DWORD>(length);
    }
  }
  ar.Write(static_cast<LPCTSTR>(string), length);
  return ar;
}

namespace {

constexpr ULONGLONG kUnicodeMarker = kUnknown;

// A length prefix, or kUnicodeMarker for FF FE FF. A DWORD length of 0xFFFFFFFF reads as the
// marker too: intended, the platform's reader cannot tell them apart.
ULONGLONG ReadStringLength(CArchive& ar) {
  BYTE bLength;
  ar >> bLength;
  if (bLength < 0xFF) return bLength;
  WORD wLength;
  ar >> wLength;
  if (wLength == 0xFFFE) return kUnicodeMarker;
  if (wLength != 0xFFFF) return wLength;
  DWORD dwLength;
  ar >> dwLength;
  return dwLength == 0xFFFFFFFFu ? kUnicodeMarker : dwLength;
}

}  // namespace

CArchive& operator>>(CArchive& ar, CString& string) {
  ULONGLONG length = ReadStringLength(ar);
  bool unicode = false;
  if (length == kUnicodeMarker) {
    unicode = true;
    length = ReadStringLength(ar);
    // A second marker is a length no archive can hold.
    if (length == kUnicodeMarker) length = 0xFFFFFFFFu;
  }
  std::string bytes;
  vardell::detail::ArchiveAccess::ReadExact(ar, bytes, unicode ? 2 * length : length);
  if (unicode)
    string = vardell::Utf8ToGbk(Utf16ToUtf8(bytes));
  else
    string = CString(std::move(bytes));
  return ar;
}

CArchive& operator<<(CArchive& ar, const CObject* pOb) {
  ar.WriteObject(pOb);
  return ar;
}

CArchive& operator>>(CArchive& ar, CObject*& pOb) {
  pOb = ar.ReadObject(nullptr);
  return ar;
}

CArchive& operator>>(CArchive& ar, const CObject*& pOb) {
  pOb = ar.ReadObject(nullptr);
  return ar;
}

CArchive& operator<<(CArchive& ar, const POINT& pt) { return ar << pt.x << pt.y; }
CArchive& operator<<(CArchive& ar, const SIZE& size) { return ar << size.cx << size.cy; }
CArchive& operator<<(CArchive& ar, const RECT& rect) {
  return ar << rect.left << rect.top << rect.right << rect.bottom;
}
CArchive& operator>>(CArchive& ar, POINT& pt) { return ar >> pt.x >> pt.y; }
CArchive& operator>>(CArchive& ar, SIZE& size) { return ar >> size.cx >> size.cy; }
CArchive& operator>>(CArchive& ar, RECT& rect) {
  return ar >> rect.left >> rect.top >> rect.right >> rect.bottom;
}

CObject* vardell::detail::ReadSerialObject(CArchive& ar, const CRuntimeClass* pClass) {
  return ar.ReadObject(pClass);
}
