// CArchive: MFC 4.2's binary archive over a CFile, byte for byte, so that documents written here
// load on the original platform and the other way round (ANSI build: strings are byte strings in
// the library's code page).
//
// Layout, all little-endian:
// - BYTE/char 1 byte, WORD/short 2, LONG/DWORD/int/UINT/BOOL 4, float 4, double 8, POINT/SIZE 8,
//   RECT 16. Read/Write move raw bytes.
// - WriteCount: a WORD below 0xFFFF, else WORD 0xFFFF and the DWORD.
// - CString: a BYTE length below 0xFF; else FF and a WORD length below 0xFFFE; else FF FF FF and a
//   DWORD length; then the bytes. A reader also accepts the Unicode marker FF FE FF before the
//   length (written by Unicode builds): the length then counts UTF-16 units, which are converted
//   to the library's code page up to the first zero unit, '?' standing for what has no GBK form.
// - Objects: one index space per archive shared by classes and objects, counting from 1. A null
//   pointer is 00 00. A new class is FF FF, WORD schema, WORD name length, the name; it takes the
//   next index. An object of a known class is WORD 0x8000|class index. Either is followed by the
//   object's own data; the object takes the next index before its Serialize runs. An object
//   already in the archive is its WORD index. Indices from 0x7FFF on use FF 7F and a DWORD (with
//   bit 31 set for a class). The index space ends at 0x3FFFFFFE (badIndex).
//
// As on the platform:
// - Nothing reaches the file until the buffer fills, Flush, Close or the destructor.
// - Read returns the bytes obtained and never throws at the end of the data; the typed
//   extractions throw CArchiveException::endOfFile.
// - A class name that is cut short or 64 bytes or longer is badClass, as is an unknown name
//   (names compare exactly, up to a zero byte) or a class that is not the one asked for. A schema
//   that differs from the class's is badSchema unless the class is VERSIONABLE_SCHEMA, whose
//   Serialize then gets the stored schema from GetObjectSchema (once; later calls answer
//   (UINT)-1).
// - Writing or reading a class whose schema is 0xFFFF throws CNotSupportedException.
// - Exceptions are thrown as pointers: `catch (CArchiveException* e) { ...; e->Delete(); }`.
//
// Where the port is stricter than the platform, on purpose:
// - Every variable length is checked against what the file still holds before anything is
//   allocated: a string or array longer than the rest of the archive throws endOfFile. This
//   includes the number arrays (CByteArray, CWordArray, CDWordArray), which MFC 4.2 filled with
//   zeros when their data ran short; later MFC versions throw too. Over a file that cannot tell
//   its length (a pipe), memory grows with the data actually read instead.
// - A tag that names an object where a class is expected (or a class where an object is
//   expected), or an index not yet loaded, throws badIndex.
// - Typed operators check the direction in every build: writing to a loading archive throws
//   readOnly, reading from a storing archive throws writeOnly, using a closed archive throws
//   genericException.
// - A loaded object whose Serialize fails is deleted before the exception goes on, and an array
//   whose loading fails keeps its earlier contents, a CObArray deleting the objects it created.
//   Objects created deeper down belong to whatever holds them, whose destructor frees them.
#pragma once

#include "platform/byte_order.h"
#include "platform/cstring.h"
#include "platform/exception.h"
#include "platform/export.h"
#include "platform/file.h"
#include "platform/geometry.h"
#include "platform/object.h"
#include "platform/win_types.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class CArchive;
class CDocument;
namespace vardell::detail {
struct ArchiveAccess;
}

VARDELL_API CArchive& operator<<(CArchive& ar, const CString& string);
VARDELL_API CArchive& operator>>(CArchive& ar, CString& string);

class VARDELL_API CArchiveException : public CException {
  DECLARE_DYNAMIC(CArchiveException)
 public:
  enum {
    none = 0,
    generic = 1,
    genericException = 1,
    readOnly = 2,
    endOfFile = 3,
    writeOnly = 4,
    badIndex = 5,
    badClass = 6,
    badSchema = 7,
  };

  explicit CArchiveException(int cause = none, const char* archiveName = nullptr)
      : m_cause(cause), m_strFileName(archiveName) {}
  CString Describe() const override;

  int m_cause;
  CString m_strFileName;
};

[[noreturn]] VARDELL_API void AfxThrowArchiveException(int cause,
                                                       const char* archiveName = nullptr);

class VARDELL_API CArchive {
 public:
  enum Mode : UINT { store = 0, load = 1, bNoFlushOnDelete = 2, bNoByteSwap = 4 };

  // The file must stay open while the archive is in use; the archive never closes it. A buffer
  // smaller than 128 bytes is replaced by one of its own; a caller's buffer is used as is.
  CArchive(CFile* pFile, UINT nMode, int nBufSize = 4096, void* lpBuf = nullptr);
  // Closes (flushing what was stored) unless bNoFlushOnDelete or already closed. An error while
  // flushing here is dropped, as a destructor cannot report it: call Close to see it.
  ~CArchive();
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;

  BOOL IsLoading() const noexcept { return (m_nMode & load) != 0; }
  BOOL IsStoring() const noexcept { return (m_nMode & load) == 0; }
  BOOL IsByteSwapping() const noexcept { return FALSE; }
  BOOL IsBufferEmpty() const noexcept { return m_lpBufCur == m_lpBufMax; }
  CFile* GetFile() const noexcept { return m_pFile; }

  // The schema stored with the object being loaded, once per Serialize; (UINT)-1 afterwards.
  UINT GetObjectSchema() noexcept;
  void SetObjectSchema(UINT nSchema) noexcept { m_nObjectSchema = nSchema; }

  // Up to nMax raw bytes; fewer only at the end of the data. Never throws at the end.
  UINT Read(void* lpBuf, UINT nMax);
  void Write(const void* lpBuf, UINT nMax);
  // Storing: hands the buffered bytes to the file. Loading: seeks the file back over the bytes
  // read ahead, so the file stands just after what was consumed.
  void Flush();
  // Flushes and detaches the file; the archive cannot be used afterwards.
  void Close();
  // Detaches the file without writing anything; never throws.
  void Abort() noexcept;
  // Makes at least nBytesNeeded bytes (at most the buffer size) ready in the buffer or throws
  // endOfFile.
  void FillBuffer(UINT nBytesNeeded);

  void WriteCount(DWORD dwCount);
  DWORD ReadCount();

  // Objects and classes, with the tag scheme described above. ReadObject(nullptr) accepts any
  // registered class; otherwise the object must be of that class or derived from it.
  void WriteObject(const CObject* pOb);
  CObject* ReadObject(const CRuntimeClass* pClassRefRequested);
  void WriteClass(const CRuntimeClass* pClassRef);
  // Reads a class tag. When pObTag is given an object tag is accepted too: the answer is then
  // null and *pObTag the object's index. Without pSchema the stored schema goes to
  // GetObjectSchema.
  CRuntimeClass* ReadClass(const CRuntimeClass* pClassRefRequested = nullptr,
                           UINT* pSchema = nullptr, DWORD* pObTag = nullptr);
  void SerializeClass(const CRuntimeClass* pClassRef);
  // Enters an object in the index space without writing or reading anything, so that later
  // references to it are written (or resolved) as object tags.
  void MapObject(const CObject* pOb);
  // Tuning of the platform's maps; accepted and not needed here.
  void SetStoreParams(UINT nHashSize = 2053, UINT nBlockSize = 128) noexcept {}
  void SetLoadParams(UINT nGrowBy = 1024) noexcept {}

  CArchive& operator<<(BYTE by) { return PutLE(by); }
  CArchive& operator<<(WORD w) { return PutLE(w); }
  CArchive& operator<<(LONG l) { return PutLE(l); }     // also int and BOOL
  CArchive& operator<<(DWORD dw) { return PutLE(dw); }  // also UINT and unsigned
  CArchive& operator<<(short s) { return PutLE(static_cast<WORD>(s)); }
  CArchive& operator<<(char ch) { return PutLE(static_cast<BYTE>(ch)); }
  CArchive& operator<<(float f);
  CArchive& operator<<(double d);

  CArchive& operator>>(BYTE& by) { return GetLE(by); }
  CArchive& operator>>(WORD& w) { return GetLE(w); }
  CArchive& operator>>(LONG& l) { return GetLE(l); }
  CArchive& operator>>(DWORD& dw) { return GetLE(dw); }
  CArchive& operator>>(short& s);
  CArchive& operator>>(char& ch);
  CArchive& operator>>(float& f);
  CArchive& operator>>(double& d);

  CDocument* m_pDocument = nullptr;

  // The size of the index space: storing or loading the entry that would reach it throws
  // badIndex.
  static constexpr DWORD kMaxMapCount = 0x3FFFFFFE;

 private:
  friend struct vardell::detail::ArchiveAccess;

  struct LoadEntry {
    void* pointer;
    bool isClass;
  };
  struct StoreMap;

  template <class T>
  CArchive& PutLE(T value);
  template <class T>
  CArchive& GetLE(T& value);
  void CheckStoring() const {
    if (!IsStoring()) Throw(CArchiveException::readOnly);
  }
  void CheckLoading() const {
    if (!IsLoading()) Throw(CArchiveException::writeOnly);
  }
  // Throws badIndex when the index space is full.
  void CheckCount() const;
  [[noreturn]] void Throw(int cause) const;

  // Bytes that can still be read: the buffered ones plus the rest of the file, or the largest
  // value when the file cannot tell.
  ULONGLONG RemainingBound() const;
  // Throws endOfFile unless nBytes can still be read.
  void CheckRemaining(ULONGLONG nBytes) const;
  // Exactly nBytes into out (appending), or endOfFile. Memory grows with the bytes actually read.
  void ReadExact(std::string& out, ULONGLONG nBytes);
  void ReadExact(void* lpBuf, UINT nBytes);

  // The load map since mark: whether pOb is the first object entered, and dropping the rest.
  UINT LoadMark() const noexcept { return m_nMapCount; }
  bool IsFirstObjectSince(UINT mark, const CObject* pOb) const noexcept;
  void ForgetLoadedSince(UINT mark) noexcept;

  UINT m_nMode;
  bool m_bUserBuf;
  UINT m_nBufSize;
  CFile* m_pFile;
  BYTE* m_lpBufStart;
  BYTE* m_lpBufCur;
  BYTE* m_lpBufMax;
  CString m_strFileName;

  UINT m_nMapCount = 0;  // 0 until the map is first used, then the next index to give out
  UINT m_nObjectSchema = static_cast<UINT>(-1);
  std::vector<LoadEntry> m_loadArray;
  std::unique_ptr<StoreMap> m_pStoreMap;
  // Stored schemas of versionable classes that differ from the class's own.
  std::vector<std::pair<const CRuntimeClass*, UINT>> m_schemaMap;
};

VARDELL_API CArchive& operator<<(CArchive& ar, const CObject* pOb);
VARDELL_API CArchive& operator>>(CArchive& ar, CObject*& pOb);
VARDELL_API CArchive& operator>>(CArchive& ar, const CObject*& pOb);

// POINT and SIZE as two LONGs, RECT as four, as the platform's raw structures.
VARDELL_API CArchive& operator<<(CArchive& ar, const POINT& pt);
VARDELL_API CArchive& operator<<(CArchive& ar, const SIZE& size);
VARDELL_API CArchive& operator<<(CArchive& ar, const RECT& rect);
VARDELL_API CArchive& operator>>(CArchive& ar, POINT& pt);
VARDELL_API CArchive& operator>>(CArchive& ar, SIZE& size);
VARDELL_API CArchive& operator>>(CArchive& ar, RECT& rect);

template <class T>
inline CArchive& CArchive::PutLE(T value) {
  CheckStoring();
  if (static_cast<std::size_t>(m_lpBufMax - m_lpBufCur) < sizeof(T)) Flush();
  vardell::StoreLE(m_lpBufCur, value);
  m_lpBufCur += sizeof(T);
  return *this;
}

template <class T>
inline CArchive& CArchive::GetLE(T& value) {
  CheckLoading();
  if (static_cast<std::size_t>(m_lpBufMax - m_lpBufCur) < sizeof(T)) FillBuffer(sizeof(T));
  value = vardell::LoadLE<T>(m_lpBufCur);
  m_lpBufCur += sizeof(T);
  return *this;
}

namespace vardell::detail {

// What the platform's collection classes need of an archive beyond its public interface.
struct ArchiveAccess {
  static void CheckRemaining(const CArchive& ar, ULONGLONG nBytes) { ar.CheckRemaining(nBytes); }
  static void ReadExact(CArchive& ar, void* lpBuf, UINT nBytes) { ar.ReadExact(lpBuf, nBytes); }
  static void ReadExact(CArchive& ar, std::string& out, ULONGLONG nBytes) {
    ar.ReadExact(out, nBytes);
  }
  [[noreturn]] static void Throw(const CArchive& ar, int cause) { ar.Throw(cause); }
  static UINT LoadMark(const CArchive& ar) noexcept { return ar.LoadMark(); }
  static bool IsFirstObjectSince(const CArchive& ar, UINT mark, const CObject* pOb) noexcept {
    return ar.IsFirstObjectSince(mark, pOb);
  }
  static void ForgetLoadedSince(CArchive& ar, UINT mark) noexcept { ar.ForgetLoadedSince(mark); }
};

}  // namespace vardell::detail
