#include "effects/effect_object.h"

#include "hostutil/paths.h"
#include "picture/picture.h"
#include "platform/debug_log.h"
#include "platform/file.h"

#include <algorithm>
#include <cstdio>
#include <memory>

IMPLEMENT_SERIAL(CEffectObj, CObject, 1)

namespace {

// The mask travels inside the archive as a bitmap file, copied in pieces of this size.
constexpr UINT kMaskChunk = 16384;

// A temporary file in the work folder, closed and deleted when the object goes, whatever
// happened meanwhile.
class TempMaskFile {
 public:
  TempMaskFile() = default;
  ~TempMaskFile() {
    file.Abort();
    if (!m_path.IsEmpty()) std::remove(m_path);
  }
  TempMaskFile(const TempMaskFile&) = delete;
  TempMaskFile& operator=(const TempMaskFile&) = delete;

  // Creates the empty file under a fresh name; FALSE when the work folder refuses.
  BOOL Create() {
    char name[MAX_PATH] = {};
    if (GetTempFileName(strWorkPath, "eff", 0, name) == 0) return FALSE;
    m_path = name;
    return TRUE;
  }
  const CString& Path() const { return m_path; }

  CFile file;

 private:
  CString m_path;
};

[[noreturn]] void ThrowFor(CArchive& ar, int cause) {
  AfxThrowArchiveException(
      cause, ar.GetFile() ? static_cast<LPCTSTR>(ar.GetFile()->GetFilePath()) : nullptr);
}

// Stores the mask as a bitmap file in the temporary file; its length, or 0 when it cannot be
// stored or opened (StoreMask has then told the user why).
ULONGLONG StoreMaskFile(CMask& mask, TempMaskFile& temp) {
  if (!mask.IsValid() || !temp.Create()) return 0;
  if (!mask.StoreMask(temp.Path(), 0, 75)) return 0;
  if (!temp.file.Open(temp.Path(), CFile::modeRead)) return 0;
  try {
    return temp.file.GetLength();
  } catch (CFileException* e) {
    e->Delete();
    return 0;
  }
}

void StoreMaskData(CArchive& ar, CMask& mask) {
  TempMaskFile temp;
  ULONGLONG length = StoreMaskFile(mask, temp);
  // A mask file beyond a DWORD cannot be described: stored as no mask, like one that failed.
  if (length > 0xFFFFFFFFull) length = 0;
  ar << static_cast<DWORD>(length);
  auto chunk = std::make_unique<BYTE[]>(kMaskChunk);
  for (ULONGLONG left = length; left > 0;) {
    const UINT want = static_cast<UINT>(std::min<ULONGLONG>(left, kMaskChunk));
    UINT got = temp.file.Read(chunk.get(), want);
    // The file was written just now; should it shrink meanwhile, zeros keep the document's
    // structure intact.
    std::fill(chunk.get() + got, chunk.get() + want, BYTE{0});
    ar.Write(chunk.get(), want);
    left -= want;
  }
}

void LoadMaskData(CArchive& ar, CMask& mask) {
  DWORD length = 0;
  ar >> length;
  if (length == 0) {
    mask.DeleteObject();
    return;
  }
  TempMaskFile temp;
  if (!temp.Create() || !temp.file.Open(temp.Path(), CFile::modeCreate | CFile::modeWrite)) {
    vardell::DebugLog("CEffectObj: no temporary file for a mask of %u bytes", length);
    ThrowFor(ar, CArchiveException::genericException);
  }
  auto chunk = std::make_unique<BYTE[]>(kMaskChunk);
  for (DWORD left = length; left > 0;) {
    const UINT want = std::min<DWORD>(left, kMaskChunk);
    const UINT got = ar.Read(chunk.get(), want);
    if (got < want) ThrowFor(ar, CArchiveException::endOfFile);
    try {
      temp.file.Write(chunk.get(), want);
    } catch (CFileException* e) {
      vardell::DebugLog("CEffectObj: writing the mask's temporary file: %s",
                        static_cast<LPCTSTR>(e->Describe()));
      e->Delete();
      ThrowFor(ar, CArchiveException::genericException);
    }
    left -= want;
  }
  temp.file.Abort();
  // A mask that does not load would silently widen the effect to the whole picture: the
  // document is refused instead (LoadMask has told the user why).
  if (!mask.LoadMask(temp.Path())) ThrowFor(ar, CArchiveException::genericException);
}

}  // namespace

CEffectObj::CEffectObj() : m_strName("EffectObject") {}

CEffectObj::~CEffectObj() { StopWorker(); }

void CEffectObj::StopWorker() noexcept {
  if (m_bRunning.load()) Terminate();
  std::lock_guard<std::mutex> end(m_endLock);
}

BOOL CEffectObj::CanExecute() { return m_pfnWorker != nullptr; }

BOOL CEffectObj::Execute() {
  if (!CanExecute()) return 0;
  if (m_bRunning.load() || m_bEnable == 0) return 1;
  {
    // A previous worker may still be signalling; its signal must not outlive this reset.
    std::lock_guard<std::mutex> end(m_endLock);
    m_bRunning.store(1);
    m_bCancel.store(0);
    m_Finished.ResetEvent();
  }
  CWinThread* thread = AfxBeginThread(m_pfnWorker, this);
  if (!thread) {
    m_bRunning.store(0);
    return 0;
  }
  m_pThread = thread;
  return 1;
}

BOOL CEffectObj::Terminate() {
  if (m_bRunning.load() && m_bCancel.exchange(1) == 0) {
    m_Finished.Lock(INFINITE);
    return 1;
  }
  return m_bCancel.load();
}

BOOL CEffectObj::Wait() {
  if (!m_bRunning.load()) return 1;
  m_Finished.Lock(INFINITE);
  return 1;
}

void CEffectObj::Reset() {}

void CEffectObj::SetPictures(CPicture* pTarget, CPicture* pBefore, CMask* pMask) {
  m_pTarget = pTarget;
  m_pBefore = pBefore;
  m_pTargetMask = pMask;
}

void CEffectObj::SetMask(CMask& mask) {
  if (mask.IsValid()) mask.Duplicate(&m_Mask);
}

UINT CEffectObj::EndWorker() {
  std::lock_guard<std::mutex> end(m_endLock);
  m_bRunning.store(0);
  m_bCancel.store(0);
  m_Finished.SetEvent();
  return 0;
}

UINT CEffectObj::RunWorker(void (*op)(CEffectObj& effect, CPicture& picture)) {
  try {
    CPicture* target = m_pTarget;
    if (target && m_Mask.IsValid()) {
      CPicture work;
      target->Duplicate(work);
      op(*this, work);
      work.DrawTransparent(*target, target->GetPictureRect(), work.GetPictureRect(), m_Mask,
                           m_Mask.GetMaskRect(), 255, 0, 0, CRect(0, 0, 0, 0));
    } else if (target) {
      op(*this, *target);
    }
  } catch (...) {
    // The picture operations report their own failures; nothing may keep the event unsignalled.
    vardell::DebugLog("CEffectObj: an effect's operation failed on its worker");
  }
  return EndWorker();
}

void CEffectObj::Serialize(CArchive& ar) {
  CObject::Serialize(ar);
  if (ar.IsStoring()) {
    ar << static_cast<LONG>(m_bEnable) << static_cast<LONG>(m_bNeedBefore) << m_strName;
    StoreMaskData(ar, m_Mask);
  } else {
    LONG enable = 0, needBefore = 0;
    CString name;
    ar >> enable >> needBefore >> name;
    LoadMaskData(ar, m_Mask);
    m_bEnable = enable;
    m_bNeedBefore = needBefore;
    m_strName = std::move(name);
  }
}
