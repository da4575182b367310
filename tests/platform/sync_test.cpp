#include "platform/last_error.h"
#include "platform/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

TEST(EventTest, AutoResetSignalSurvivesUntilOneWaitConsumesIt) {
  CEvent event;  // auto-reset, not signalled
  EXPECT_EQ(WaitForSingleObject(event.m_hObject, 0), WAIT_TIMEOUT);
  EXPECT_TRUE(event.SetEvent());
  EXPECT_EQ(WaitForSingleObject(event.m_hObject, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event.m_hObject, 0), WAIT_TIMEOUT);

  // Signals do not accumulate: two sets satisfy one wait.
  event.SetEvent();
  SetEvent(event.m_hObject);
  EXPECT_TRUE(event.Lock(0));
  EXPECT_FALSE(event.Lock(0));

  CEvent initially(TRUE);
  EXPECT_TRUE(initially.ResetEvent());
  EXPECT_EQ(WaitForSingleObject(initially, 0), WAIT_TIMEOUT);
  initially.SetEvent();
  initially.PulseEvent();  // no waiter: the pulse only resets
  EXPECT_EQ(WaitForSingleObject(initially, 0), WAIT_TIMEOUT);
}

TEST(EventTest, ManualResetReleasesEveryWaiterAndStaysSet) {
  CEvent go(FALSE, TRUE);
  std::atomic<int> released{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i)
    waiters.emplace_back([&] {
      if (WaitForSingleObject(go, INFINITE) == WAIT_OBJECT_0) ++released;
    });
  go.SetEvent();
  for (auto& t : waiters) t.join();
  EXPECT_EQ(released.load(), 4);
  EXPECT_EQ(WaitForSingleObject(go, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(go, 0), WAIT_OBJECT_0);
  go.ResetEvent();
  EXPECT_EQ(WaitForSingleObject(go, 0), WAIT_TIMEOUT);
}

TEST(EventTest, FiniteTimeoutWaitsAtLeastThatLong) {
  CEvent event;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(WaitForSingleObject(event, 15), WAIT_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(15));
}

TEST(EventTest, PingPongLosesNoSignal) {
  CEvent ping;
  CEvent pong;
  constexpr int kRounds = 300;
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
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  int notAHandle = 0;
  EXPECT_FALSE(SetEvent(&notAHandle));

  HANDLE event = CreateEvent(nullptr, FALSE, TRUE, nullptr);
  HANDLE twin = vardell::DuplicateSyncHandle(event);
  ASSERT_NE(twin, nullptr);
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_FALSE(CloseHandle(event));
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
  EXPECT_EQ(WaitForSingleObject(twin, 0), WAIT_OBJECT_0);  // same object, still there
  EXPECT_TRUE(CloseHandle(twin));

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
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
    SetLastError(0);
    EXPECT_FALSE(mutex.Unlock());  // not the owner
    EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
    ownedTwice.SetEvent();
    ownedOnce.Lock();
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);  // one level is still held
    polled.SetEvent();
    EXPECT_TRUE(mutex.Lock());
    EXPECT_TRUE(releasedAll.load());
    EXPECT_TRUE(mutex.Unlock());
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
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);  // now ours, recursively
  EXPECT_TRUE(mutex.Unlock());
  EXPECT_TRUE(mutex.Unlock());
  EXPECT_FALSE(mutex.Unlock());

  CMutex initiallyOwned(TRUE);
  std::thread([&] { EXPECT_EQ(WaitForSingleObject(initiallyOwned, 0), WAIT_TIMEOUT); }).join();
  EXPECT_TRUE(initiallyOwned.Unlock());
}

TEST(SingleLockTest, LocksForAScopeAndUnlocksWhatItLocked) {
  CCriticalSection section;
  CMutex mutex;
  {
    CSingleLock a(&section, TRUE);
    CSingleLock b(&mutex);
    EXPECT_TRUE(a.IsLocked());
    EXPECT_FALSE(b.IsLocked());
    EXPECT_TRUE(b.Lock());
    EXPECT_TRUE(b.Lock());  // already locked by b: no second level
    std::thread([&] {
      EXPECT_FALSE(section.Lock(1));
      EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_TIMEOUT);
    }).join();
    EXPECT_TRUE(b.Unlock());
    EXPECT_FALSE(b.IsLocked());
  }
  std::thread([&] {
    EXPECT_TRUE(section.Lock(0));
    section.Unlock();
    EXPECT_TRUE(mutex.Lock(0));
    mutex.Unlock();
  }).join();

  CEvent event(TRUE);
  CSingleLock c(&event, TRUE);
  EXPECT_TRUE(c.IsLocked());
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);  // the lock consumed the signal
  EXPECT_EQ(section.m_hObject, nullptr);  // as in MFC, a critical section has no handle
}

}  // namespace
