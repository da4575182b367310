#include "platform/last_error.h"
#include "platform/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using Results = std::vector<long long>;  // braces evaluate the calls in order

DWORD Poll(HANDLE h) { return WaitForSingleObject(h, 0); }

TEST(EventTest, AutoResetSignalSurvivesUntilOneWaitConsumesIt) {
  CEvent event;  // auto-reset, not signalled
  // Signals do not accumulate: two sets satisfy one wait.
  EXPECT_EQ((Results{Poll(event), event.SetEvent(), Poll(event), Poll(event), event.SetEvent(),
                     SetEvent(event.m_hObject), event.Lock(0), event.Lock(0)}),
            (Results{WAIT_TIMEOUT, TRUE, WAIT_OBJECT_0, WAIT_TIMEOUT, TRUE, TRUE, TRUE, FALSE}));
  CEvent initially(TRUE);
  initially.PulseEvent();  // no waiter: the pulse only resets
  EXPECT_EQ(WaitForSingleObject(initially, 15), WAIT_TIMEOUT);
}

TEST(EventTest, ManualResetReleasesEveryWaiterAndStaysSet) {
  CEvent go(FALSE, TRUE);
  std::atomic<int> released{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i)
    waiters.emplace_back([&] { released += WaitForSingleObject(go, INFINITE) == WAIT_OBJECT_0; });
  go.SetEvent();
  for (auto& t : waiters) t.join();
  EXPECT_EQ(released.load(), 4);
  EXPECT_EQ((Results{Poll(go), go.ResetEvent(), Poll(go)}),
            (Results{WAIT_OBJECT_0, TRUE, WAIT_TIMEOUT}));
}

TEST(EventTest, PingPongLosesNoSignal) {
  CEvent ping, pong;
  constexpr int kRounds = 200;
  int shared = 0;  // handed over by the events only
  std::thread partner([&] {
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_EQ(WaitForSingleObject(ping, INFINITE), WAIT_OBJECT_0);
      ++shared;
      pong.SetEvent();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    ping.SetEvent();
    ASSERT_EQ(WaitForSingleObject(pong, INFINITE), WAIT_OBJECT_0);
    ASSERT_EQ(shared, i + 1);
  }
  partner.join();
}

TEST(HandleTest, InvalidOrClosedHandlesFailWithoutCrashing) {
  SetLastError(0);
  EXPECT_EQ(Poll(nullptr), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

  HANDLE event = CreateEvent(nullptr, FALSE, TRUE, nullptr);
  HANDLE twin = vardell::DuplicateSyncHandle(event);
  ASSERT_NE(twin, nullptr);
  // The twin is the same object, still there when the first handle is closed.
  EXPECT_EQ(
      (Results{CloseHandle(event), CloseHandle(event), Poll(event), Poll(twin), CloseHandle(twin)}),
      (Results{TRUE, FALSE, WAIT_FAILED, WAIT_OBJECT_0, TRUE}));
  HANDLE mutex = CreateMutex(nullptr, FALSE, nullptr);
  EXPECT_FALSE(SetEvent(mutex));  // wrong kind of object
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  CloseHandle(mutex);
}

TEST(MutexTest, RecursiveOwnerAndNonOwnerUnlock) {
  CMutex mutex;
  CEvent ownedTwice, ownedOnce, polled;
  ASSERT_TRUE(mutex.Lock());
  ASSERT_TRUE(mutex.Lock(0));  // the owner does not block
  std::atomic<bool> releasedAll{false};
  std::thread other([&] {
    EXPECT_EQ(Poll(mutex), WAIT_TIMEOUT);
    SetLastError(0);
    EXPECT_FALSE(mutex.Unlock());  // not the owner
    EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
    ownedTwice.SetEvent();
    ownedOnce.Lock();
    EXPECT_EQ(Poll(mutex), WAIT_TIMEOUT);  // one level is still held
    polled.SetEvent();
    EXPECT_TRUE(mutex.Lock() && releasedAll.load() && mutex.Unlock());
  });
  ownedTwice.Lock();
  EXPECT_TRUE(mutex.Unlock());
  ownedOnce.SetEvent();
  polled.Lock();
  releasedAll = true;
  EXPECT_TRUE(mutex.Unlock());
  other.join();
  EXPECT_FALSE(mutex.Unlock());  // nothing left to release
}

TEST(MutexTest, OwnerThatEndsAbandonsTheMutex) {
  CMutex mutex;
  std::thread([&] { EXPECT_TRUE(mutex.Lock()); }).join();
  // Abandoned, then ours, recursively.
  EXPECT_EQ((Results{Poll(mutex), Poll(mutex), mutex.Unlock(), mutex.Unlock(), mutex.Unlock()}),
            (Results{WAIT_ABANDONED, WAIT_OBJECT_0, TRUE, TRUE, FALSE}));
  CMutex initiallyOwned(TRUE);
  std::thread([&] { EXPECT_EQ(Poll(initiallyOwned), WAIT_TIMEOUT); }).join();
  EXPECT_TRUE(initiallyOwned.Unlock());
}

TEST(SingleLockTest, LocksForAScopeAndUnlocksWhatItLocked) {
  CCriticalSection section;
  CMutex mutex;
  {
    CSingleLock a(&section, TRUE);
    CSingleLock b(&mutex);
    EXPECT_TRUE(a.IsLocked() && !b.IsLocked());
    EXPECT_TRUE(b.Lock());
    EXPECT_TRUE(b.Lock());  // already locked by b: no second level
    std::thread([&] {
      EXPECT_FALSE(section.Lock(1));
      EXPECT_EQ(Poll(mutex), WAIT_TIMEOUT);
    }).join();
    EXPECT_TRUE(b.Unlock());
    EXPECT_FALSE(b.IsLocked());
  }
  std::thread([&] {
    EXPECT_TRUE(section.Lock(0) && section.Unlock());
    EXPECT_TRUE(mutex.Lock(0) && mutex.Unlock());
  }).join();

  CEvent event(TRUE);
  CSingleLock c(&event, TRUE);
  EXPECT_EQ(Poll(event), WAIT_TIMEOUT);   // the lock consumed the signal
  EXPECT_EQ(section.m_hObject, nullptr);  // as in MFC, a critical section has no handle
}

}  // namespace
