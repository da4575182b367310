#include "effects/multi_effects.h"

#include "effects/effect_names.h"
#include "picture/picture.h"
#include "platform/debug_log.h"

#include <climits>
#include <vector>

IMPLEMENT_SERIAL(CMultiEffects, CEffectObj, 1)

namespace {

using vardell::detail::ArchiveAccess;

// Lists being loaded on this thread, one inside the other.
thread_local int t_loadDepth = 0;

[[noreturn]] void ThrowFor(CArchive& ar, int cause) {
  AfxThrowArchiveException(
      cause, ar.GetFile() ? static_cast<LPCTSTR>(ar.GetFile()->GetFilePath()) : nullptr);
}

}  // namespace

CMultiEffects::CMultiEffects() {
  m_strName = vardell::effect_names::kMultiEffects;
  m_pfnWorker = Worker;
}

CMultiEffects::~CMultiEffects() {
  StopWorker();
  RemoveAll();
}

int CMultiEffects::AddEffect(CEffectObj* pEffect) { return m_Effects.Add(pEffect); }

CEffectObj* CMultiEffects::GetEffect(int index) const {
  if (index < 0 || index >= m_Effects.GetSize()) return nullptr;
  return static_cast<CEffectObj*>(m_Effects.GetAt(index));
}

void CMultiEffects::RemoveAll() {
  for (int i = 0; i < m_Effects.GetSize(); ++i) delete m_Effects.GetAt(i);
  m_Effects.RemoveAll();
}

BOOL CMultiEffects::Execute() {
  if (!CanExecute()) return 0;
  if (m_bRunning.load() || m_bEnable == 0) return 1;
  m_bRunning.store(1);
  m_bCancel.store(0);
  m_Finished.ResetEvent();
  m_pfnWorker(this);
  return 1;
}

UINT CMultiEffects::Worker(LPVOID param) {
  auto* self = static_cast<CMultiEffects*>(param);
  try {
    CPicture* target = self->m_pTarget;
    CPicture before;
    CPicture work;
    const bool masked = target && self->m_Mask.IsValid();
    if (masked) target->Duplicate(work);
    CPicture* run = masked ? &work : target;
    for (int i = 0; i < self->m_Effects.GetSize(); ++i) {
      auto* child = static_cast<CEffectObj*>(self->m_Effects.GetAt(i));
      if (!child) continue;
      if (child->m_bNeedBefore && run) run->Duplicate(before);
      child->Reset();
      child->SetPictures(run, &before, nullptr);
      child->Execute();
      child->Wait();
    }
    if (masked)
      work.DrawTransparent(*target, target->GetPictureRect(), work.GetPictureRect(), self->m_Mask,
                           self->m_Mask.GetMaskRect(), 255, 0, 0, CRect(0, 0, 0, 0));
    // The temporaries go now: no child keeps a pointer to them.
    for (int i = 0; i < self->m_Effects.GetSize(); ++i)
      if (auto* child = static_cast<CEffectObj*>(self->m_Effects.GetAt(i)))
        child->SetPictures(target, nullptr, nullptr);
  } catch (...) {
    vardell::DebugLog("CMultiEffects: running the list failed");
  }
  return self->EndWorker();
}

void CMultiEffects::Serialize(CArchive& ar) {
  CEffectObj::Serialize(ar);
  if (ar.IsStoring())
    m_Effects.Serialize(ar);
  else
    LoadEffects(ar);
}

void CMultiEffects::LoadEffects(CArchive& ar) {
  struct Depth {
    Depth() { ++t_loadDepth; }
    ~Depth() { --t_loadDepth; }
  } depth;
  if (t_loadDepth > kMaxNesting) ThrowFor(ar, CArchiveException::genericException);

  const DWORD count = ar.ReadCount();
  // Each child takes at least two bytes, so the end of the data stops a count that lies.
  ArchiveAccess::CheckRemaining(ar, 2ull * count);
  if (count > static_cast<DWORD>(INT_MAX)) ThrowFor(ar, CArchiveException::endOfFile);
  const UINT mark = ArchiveAccess::LoadMark(ar);
  std::vector<CEffectObj*> children;
  try {
    for (DWORD i = 0; i < count; ++i) {
      const UINT before = ArchiveAccess::LoadMark(ar);
      CObject* pOb = ar.ReadObject(RUNTIME_CLASS(CEffectObj));
      if (pOb && !ArchiveAccess::IsFirstObjectSince(ar, before, pOb)) {
        vardell::DebugLog("CMultiEffects: a child refers to an object loaded before it");
        ThrowFor(ar, CArchiveException::badIndex);
      }
      children.push_back(static_cast<CEffectObj*>(pOb));
    }
  } catch (...) {
    for (CEffectObj* child : children) delete child;
    ArchiveAccess::ForgetLoadedSince(ar, mark);
    throw;
  }
  RemoveAll();
  try {
    m_Effects.SetSize(static_cast<int>(children.size()));
  } catch (...) {
    for (CEffectObj* child : children) delete child;
    throw;
  }
  for (int i = 0; i < static_cast<int>(children.size()); ++i) m_Effects.SetAt(i, children[i]);
}
