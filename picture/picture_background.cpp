// Background loading of 24-bit bitmap files: CPicture::LoadPictureInBackground, its worker and
// CancelLoading. The reduction itself (size choice, header checks, row and column sampling) is the
// preview loader's, in picture_preview.cpp.
//
// Synchronisation. The caller and the worker share the picture through m_bLoading, m_bCancel and
// the auto-reset m_LoadedEvent only. The worker ends by signalling the event and then clearing the
// running flag, both inside one lock shared by all pictures; CancelLoading passes through that lock
// after its wait. So CancelLoading still returns only once the flag is clear and the event was
// signalled, and whoever sees IsLoading() at 0 knows that the worker will not touch the picture
// again: the destructor and a new load rely on that.
//
// Ends that are not a plain finish:
// - the memory for the picture or the row cannot be had: "Can't not alloc memory!" is reported,
//   the picture is left empty with the target size in its header, and nothing is posted;
// - the file comes short after its length was checked (it shrank meanwhile, or a read failed):
//   the load stops as if cancelled (wParam 2) and reports the file's "'s length is incorrect.!";
// - on both a cancel and a short file the rows never read are black rather than left unset.
#include "hostutil/messages.h"
#include "picture/picture.h"
#include "picture/picture_io.h"
#include "picture/picture_messages.h"
#include "picture/picture_preview.h"
#include "platform/debug_log.h"
#include "platform/sync.h"
#include "platform/thread.h"
#include "platform/wnd.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace text = vardell::picture_text;
using vardell::picture_io::AllocateBytes;
using vardell::picture_io::kMaxDataSize;
using vardell::picture_io::RowsFit;
using vardell::picture_io::Stride64;

namespace {

// wParam of the loader's messages.
constexpr WPARAM kProgress = 1;
constexpr WPARAM kCancelled = 2;
constexpr WPARAM kFinished = 3;

// The lock in which a worker ends; never destroyed, as workers may end while the process exits.
CCriticalSection& LoadersLock() {
  static auto* lock = new CCriticalSection;
  return *lock;
}

// The worker's last touch of its picture.
void EndLoad(CEvent& loaded, std::atomic<int>& loading) {
  CSingleLock lock(&LoadersLock(), TRUE);
  loaded.SetEvent();
  loading.store(0);
}

// A failing host handler or window must not end the worker before it has signalled its end.
void Post(CWnd* wnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  try {
    wnd->PostMessage(message, wParam, lParam);
  } catch (...) {
    vardell::DebugLog("LoadPictureInBackground: posting message %u failed", message);
  }
}

// makeText composes the text only when it is needed, inside the guard.
template <class MakeText>
void Report(MakeText makeText) noexcept {
  try {
    ThrowErrorMessage(makeText());
  } catch (...) {
    vardell::DebugLog("LoadPictureInBackground: reporting an error failed");
  }
}

}  // namespace

CWinThread* CPicture::LoadPictureInBackground(const CString& path, CSize size, CWnd* pWnd,
                                              UINT message) {
  if (IsLoading()) CancelLoading();
  const CSize wanted = vardell::preview::ChooseTargetSize(GetPictureSize(path), size);
  // Read access shared with others, so the host may keep the file open meanwhile.
  if (!m_LoadFile.Open(path, CFile::modeRead | CFile::shareDenyNone)) {
    ThrowErrorMessage(text::CannotOpenBitmap(path));
    return nullptr;
  }
  // The headers are checked here, on the caller's thread, and read aside: a refused file starts
  // no thread and leaves the picture as it was.
  BITMAPINFOHEADER header{};
  vardell::preview::Reduction r{};
  const CString refused =
      vardell::preview::ReadReducibleHeader(m_LoadFile, path, wanted, header, r);
  if (!refused.IsEmpty()) {
    m_LoadFile.Abort();
    ThrowErrorMessage(refused);
    return nullptr;
  }

  // From here the worker owns the header (it reads the file's geometry from it), the pixels and
  // the file, which stays positioned on the first pixel row.
  const BITMAPINFOHEADER previous = m_InfoHeader;
  m_InfoHeader = header;
  m_LoadSize = CSize(r.targetWidth, r.targetHeight);
  m_LoadedEvent.ResetEvent();
  m_bLoading.store(1);
  m_bCancel.store(0);
  m_pNotifyWnd = pWnd;
  m_nNotifyMsg = message;
  CWinThread* thread = AfxBeginThread(LoadingWorker, this, THREAD_PRIORITY_NORMAL, 0, 0);
  if (!thread) {
    vardell::DebugLog("LoadPictureInBackground: no thread could be started for %s",
                      static_cast<LPCTSTR>(path));
    m_LoadFile.Abort();
    m_InfoHeader = previous;
    m_bLoading.store(0);
  }
  return thread;
}

void CPicture::CancelLoading() {
  m_bCancel.store(1);
  m_LoadedEvent.Lock(INFINITE);
  // The worker signals before it clears its flag, inside the loaders' lock: wait for the flag too.
  CSingleLock barrier(&LoadersLock(), TRUE);
}

UINT CPicture::LoadingWorker(LPVOID param) {
  CPicture& p = *static_cast<CPicture*>(param);
  const int tw = p.m_LoadSize.cx;
  const int th = p.m_LoadSize.cy;
  const vardell::preview::Reduction r{p.m_InfoHeader.biWidth, p.m_InfoHeader.biHeight,
                                      Stride64(p.m_InfoHeader.biWidth), tw, th};
  const std::int64_t stride = Stride64(tw);
  std::unique_ptr<BYTE[]> row(r.fileStride <= kMaxDataSize ? AllocateBytes(r.fileStride) : nullptr);

  // The header takes the target size and keeps the file's other values.
  p.m_InfoHeader.biWidth = tw;
  p.m_InfoHeader.biHeight = th;
  p.ReleaseBuffer();
  // No spare margin behind a reduced picture.
  if (row && RowsFit(stride, th, kMaxDataSize)) p.m_pBuffer = AllocateBytes(stride * th);
  if (!p.m_pBuffer) {
    p.m_LoadFile.Abort();
    Report([] { return CString(text::kLoadAllocFailed); });
    EndLoad(p.m_LoadedEvent, p.m_bLoading);
    return 0;
  }

  // Progress goes out at the start of a row whenever the whole percentage changes, so each
  // percentage at most once. One captured pointer keeps the callback inside std::function without
  // an allocation that could throw here.
  struct Progress {
    CPicture& p;
    int last;
  } progress{p, -1};
  const int rows =
      vardell::preview::ReduceRows(p.m_LoadFile, r, p.m_pBuffer, row.get(), [&progress](int j) {
        CPicture& pic = progress.p;
        if (pic.m_bCancel.load()) return false;
        const int percent = static_cast<int>(std::int64_t{j} * 100 / pic.m_LoadSize.cy);
        if (percent != progress.last && pic.m_pNotifyWnd) {
          Post(pic.m_pNotifyWnd, pic.m_nNotifyMsg, kProgress, percent);
          progress.last = percent;
        }
        return true;
      });
  // A cancel that comes during the last row still counts: the window hears wParam 2.
  const bool cancelled = p.m_bCancel.load() != 0;
  if (rows < th) {
    std::memset(p.m_pBuffer + rows * stride, 0, static_cast<std::size_t>((th - rows) * stride));
    if (!cancelled) Report([&p] { return text::LengthIncorrect(p.m_LoadFile.GetFilePath()); });
  }
  row.reset();
  p.m_LoadFile.Abort();
  if (p.m_pNotifyWnd)
    Post(p.m_pNotifyWnd, p.m_nNotifyMsg, cancelled || rows < th ? kCancelled : kFinished, 0);
  EndLoad(p.m_LoadedEvent, p.m_bLoading);
  return 0;
}
