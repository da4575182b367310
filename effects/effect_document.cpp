#include "effects/effect_document.h"

#include "effects/effect_messages.h"
#include "hostutil/messages.h"
#include "platform/archive.h"
#include "platform/debug_log.h"

#include <cstdio>
#include <exception>
#include <memory>

namespace text = vardell::effect_text;

CEffectObj* LoadEffect(CFile& file) {
  try {
    CArchive ar(&file, CArchive::load);
    std::unique_ptr<CObject> pOb(ar.ReadObject(RUNTIME_CLASS(CEffectObj)));
    // Leaves the file just after the document, for hosts that keep more behind it.
    ar.Close();
    if (!pOb) ThrowErrorMessage(text::NotEffectDocument(file.GetFilePath()));
    return static_cast<CEffectObj*>(pOb.release());
  } catch (CException* e) {
    vardell::DebugLog("LoadEffect %s: %s", static_cast<LPCTSTR>(file.GetFilePath()),
                      static_cast<LPCTSTR>(e->Describe()));
    e->Delete();
  } catch (const std::exception& e) {
    vardell::DebugLog("LoadEffect %s: %s", static_cast<LPCTSTR>(file.GetFilePath()), e.what());
  }
  ThrowErrorMessage(text::NotEffectDocument(file.GetFilePath()));
  return nullptr;
}

CEffectObj* LoadEffect(const CString& path) {
  CFile file;
  if (!file.Open(path, CFile::modeRead | CFile::shareDenyWrite)) {
    ThrowErrorMessage(text::CannotOpenDocument(path));
    return nullptr;
  }
  return LoadEffect(file);
}

BOOL StoreEffect(CFile& file, const CEffectObj* pEffect) {
  if (!pEffect) return FALSE;
  try {
    CArchive ar(&file, CArchive::store);
    ar << pEffect;
    ar.Close();
    return TRUE;
  } catch (CException* e) {
    vardell::DebugLog("StoreEffect %s: %s", static_cast<LPCTSTR>(file.GetFilePath()),
                      static_cast<LPCTSTR>(e->Describe()));
    e->Delete();
  } catch (const std::exception& e) {
    vardell::DebugLog("StoreEffect %s: %s", static_cast<LPCTSTR>(file.GetFilePath()), e.what());
  }
  ThrowErrorMessage(text::WriteDocumentFailed(file.GetFilePath()));
  return FALSE;
}

BOOL StoreEffect(const CString& path, const CEffectObj* pEffect) {
  if (!pEffect) return FALSE;
  CFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) {
    ThrowErrorMessage(text::CannotOpenDocument(path));
    return FALSE;
  }
  BOOL ok = StoreEffect(file, pEffect);
  try {
    if (ok) file.Close();
  } catch (CFileException* e) {
    e->Delete();
    ThrowErrorMessage(text::WriteDocumentFailed(path));
    ok = FALSE;
  }
  if (!ok) {
    // No half-written document is left behind.
    file.Abort();
    std::remove(path);
  }
  return ok;
}
