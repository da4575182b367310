#include "platform/exception.h"
#include "platform/sync.h"
#include "platform/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

namespace {

struct Job {
  CEvent done;
  int input = 0, output = 0;
  DWORD threadId = 0;
};

UINT Double(LPVOID param) {
  auto* job = static_cast<Job*>(param);
  job->output = job->input * 2;
  job->threadId = GetCurrentThreadId();
  job->done.SetEvent();
  return 0;
}

// The thread object deletes itself when Double returns; under AddressSanitizer any later use of
// it by the library is reported, and LeakSanitizer reports an object that was never deleted.
TEST(ThreadTest, AutoDeleteWorkerRunsWithItsParameter) {
  Job job;
  job.input = 21;
  CWinThread* thread = AfxBeginThread(Double, &job);
  ASSERT_NE(thread, nullptr);
  thread = nullptr;  // may dangle from now on
  ASSERT_EQ(WaitForSingleObject(job.done, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(job.output, 42);
  EXPECT_NE(job.threadId, GetCurrentThreadId());
  EXPECT_TRUE(vardell::WaitForWorkerThreads());
}

TEST(ThreadTest, SuspendedThreadWaitsForResume) {
  Job job;
  CWinThread* thread =
      AfxBeginThread(Double, &job, THREAD_PRIORITY_BELOW_NORMAL, 0, CREATE_SUSPENDED);
  ASSERT_NE(thread, nullptr);
  // Written after the start: a thread that ran early would read 0 (and race).
  job.input = 5;
  thread->m_bAutoDelete = FALSE;
  EXPECT_EQ((std::vector<int>{thread->GetThreadPriority(), thread->SetThreadPriority(7),
                              thread->SetThreadPriority(THREAD_PRIORITY_HIGHEST),
                              thread->GetThreadPriority()}),
            (std::vector<int>{THREAD_PRIORITY_BELOW_NORMAL, FALSE, TRUE, THREAD_PRIORITY_HIGHEST}));
  const DWORD id = thread->m_nThreadID;
  EXPECT_EQ(thread->ResumeThread(), 1u);
  // Kept alive by m_bAutoDelete = FALSE, so its handle can be waited on.
  EXPECT_EQ(WaitForSingleObject(thread->m_hThread, INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(job.output == 10 && job.threadId == id);
  EXPECT_EQ(thread->ResumeThread(), 0u);
  delete thread;
  EXPECT_TRUE(vardell::WaitForWorkerThreads());
}

struct Crowd {
  std::atomic<int> left{0};
  CEvent allDone;
};

UINT CountAndSignalLast(LPVOID param) {
  auto* crowd = static_cast<Crowd*>(param);
  if (--crowd->left == 0) crowd->allDone.SetEvent();
  return 0;
}

UINT Throw(LPVOID) { AfxThrowFileException(CFileException::endOfFile); }

TEST(ThreadTest, ManyWorkersAndAFailingOneEndCleanly) {
  Crowd crowd;
  crowd.left = 16;
  for (int i = 0; i < 16; ++i) ASSERT_NE(AfxBeginThread(CountAndSignalLast, &crowd), nullptr);
  EXPECT_EQ(WaitForSingleObject(crowd.allDone, INFINITE), WAIT_OBJECT_0);
  // An exception ends its own thread only; it is deleted, not leaked.
  ASSERT_NE(AfxBeginThread(Throw, nullptr), nullptr);
  EXPECT_TRUE(vardell::WaitForWorkerThreads());
  EXPECT_EQ(AfxBeginThread(nullptr, nullptr), nullptr);

  CWinThread unstarted(Double, nullptr);
  EXPECT_TRUE(unstarted.ResumeThread() == 0xFFFFFFFFu && unstarted.m_hThread == nullptr);
}

}  // namespace
