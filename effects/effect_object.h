// CEffectObj: one recorded whole-picture operation with its parameters, which the host keeps in a
// document, replays on a picture of another size, runs on a worker thread of its own and limits to
// a masked area. The effect classes derive from it and only set their display name, their worker
// procedure and their parameters; CMultiEffects runs a list of them in order.
//
// Protocol, for the host's thread:
//   SetPictures(target, before, mask)  pointers the effect borrows; it never owns them
//   SetMask(mask)                      the effect's own copy of the area to change
//   Execute()                          starts the worker thread; Wait() or Terminate() ends the run
//
// Threads: Execute starts the worker procedure on a thread of its own (AfxBeginThread, an
// auto-deleting CWinThread). The host synchronises with it only through the finished event, an
// auto-reset event that the worker signals once at its end: Wait consumes that signal, Terminate
// asks the worker to stop and consumes it too. While the effect runs, the worker owns the target
// picture; the host must not touch it (or the effect's parameters) until Wait or Terminate has
// returned. The running and cancel flags are the platform's plain 0/1 integers, atomic here so
// that both threads may read and write them.
//
// Documents: Serialize stores the enabled and needs-before flags, the display name (GBK bytes)
// and the own mask as a complete 8-bit bitmap file (a DWORD length and the file's bytes, 0 for no
// mask), then each class's parameters; CArchive gives the platform's byte layout around it.
#pragma once

#include "mask/mask.h"
#include "platform/archive.h"
#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/object.h"
#include "platform/sync.h"
#include "platform/thread.h"
#include "platform/win_types.h"

#include <atomic>
#include <mutex>

class CPicture;

class VARDELL_API CEffectObj : public CObject {
  DECLARE_SERIAL(CEffectObj)
 public:
  CEffectObj();
  // A running worker is terminated and waited for first.
  ~CEffectObj() override;

  void Serialize(CArchive& ar) override;

  // TRUE when a worker procedure is set.
  virtual BOOL CanExecute();
  // 0 when the effect cannot execute or its thread cannot be started; 1 otherwise, also when the
  // effect is disabled or already running (nothing more is started then).
  virtual BOOL Execute();
  // A running effect not yet asked to stop is asked to, and waited for: answers 1. Otherwise
  // answers the cancel flag.
  virtual BOOL Terminate();
  // Waits until the running effect has finished; answers 1 at once when it is not running.
  virtual BOOL Wait();
  // A hook for subclasses; does nothing here.
  virtual void Reset();

  // Borrows the three pictures; the mask pointer is kept for subclasses and not read here.
  void SetPictures(CPicture* pTarget, CPicture* pBefore, CMask* pMask);
  // A valid mask is duplicated into the effect's own mask; an empty one leaves it as it is.
  void SetMask(CMask& mask);

  // ---- Fields, in the platform's order ----

  int m_nReserved = 0;  // cleared at construction; not used by the effects
  std::atomic<int> m_bRunning{0};
  CWinThread* m_pThread = nullptr;  // may dangle once the worker has ended
  CPicture* m_pTarget = nullptr;
  CPicture* m_pBefore = nullptr;
  CMask* m_pTargetMask = nullptr;
  CMask m_Mask;  // empty: the whole picture
  AFX_THREADPROC m_pfnWorker = nullptr;
  std::atomic<int> m_bCancel{0};
  CEvent m_Finished;  // auto-reset, not signalled
  int m_bEnable = 1;
  int m_bNeedBefore = 0;
  CString m_strName;

 protected:
  // The end of every worker procedure: clears the running and cancel flags, signals the finished
  // event and answers the worker's exit code, 0. After it the worker must not touch the effect.
  UINT EndWorker();
  // The body shared by the single-picture effects: op on the target, or, with a valid own mask,
  // op on a duplicate blended back into the target through the mask; then EndWorker. A missing
  // target or a failing operation leaves the picture as it is.
  UINT RunWorker(void (*op)(CEffectObj& effect, CPicture& picture));
  // Stops a running worker and waits until it has left the effect for good. Every destructor
  // calls it before its own fields go.
  void StopWorker() noexcept;

 private:
  // Held by the worker from clearing the running flag to the end of signalling, so that a new
  // Execute or the destructor never overlaps the end of a previous run.
  std::mutex m_endLock;
};
