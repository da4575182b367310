#include "platform/sync.h"
#include "platform/wnd.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr UINT WM_TEST = WM_USER + 7;

TEST(WndTest, PostingNeedsALiveWindow) {
  EXPECT_FALSE(PostMessage(nullptr, WM_TEST, 0, 0));
  CWnd wnd;
  EXPECT_TRUE(wnd.GetSafeHwnd() == nullptr && !wnd.PostMessage(WM_TEST));
  ASSERT_TRUE(wnd.CreateMessageWindow());
  EXPECT_FALSE(wnd.CreateMessageWindow());
  HWND h = wnd.GetSafeHwnd();
  EXPECT_EQ(CWnd::FromHandlePermanent(h), &wnd);
  EXPECT_TRUE(PostMessage(h, WM_TEST, 1, -2));

  MSG msg{};
  EXPECT_TRUE(wnd.PeekPostedMessage(msg, FALSE));  // left in the queue
  EXPECT_EQ(wnd.GetPostedMessageCount(), 1);
  EXPECT_TRUE(wnd.PeekPostedMessage(msg));
  EXPECT_TRUE(msg.hwnd == h && msg.message == WM_TEST && msg.wParam == 1u && msg.lParam == -2);
  EXPECT_FALSE(wnd.PeekPostedMessage(msg) || wnd.WaitPostedMessage(msg, 1));

  wnd.PostMessage(WM_TEST);
  EXPECT_TRUE(wnd.DestroyWindow());
  EXPECT_FALSE(IsWindow(h) || PostMessage(h, WM_TEST, 0, 0));
  EXPECT_FALSE(wnd.PeekPostedMessage(msg));  // the queue went with the window
  ASSERT_TRUE(wnd.CreateMessageWindow());
  EXPECT_NE(wnd.GetSafeHwnd(), h);  // handles are not reused

  for (int i = 0; i < kPostedMessageLimit; ++i) ASSERT_TRUE(wnd.PostMessage(WM_TEST, i));
  EXPECT_FALSE(wnd.PostMessage(WM_TEST));  // the queue is full
  EXPECT_TRUE(wnd.PeekPostedMessage(msg) && msg.wParam == 0u);
}

TEST(WndTest, MessagesFromSeveralThreadsKeepEachThreadsOrder) {
  CWnd wnd;
  ASSERT_TRUE(wnd.CreateMessageWindow());
  constexpr int kThreads = 3, kEach = 300;
  std::vector<std::thread> posters;
  for (int t = 0; t < kThreads; ++t)
    posters.emplace_back([&wnd, t] {
      for (int i = 0; i < kEach; ++i) EXPECT_TRUE(wnd.PostMessage(WM_TEST + t, i, t));
    });
  int next[kThreads] = {};
  MSG msg;
  for (int n = 0; n < kThreads * kEach; ++n) {
    ASSERT_TRUE(wnd.WaitPostedMessage(msg, INFINITE));
    int t = static_cast<int>(msg.lParam);
    ASSERT_EQ(msg.message, WM_TEST + t);
    ASSERT_EQ(msg.wParam, static_cast<WPARAM>(next[t]++));
  }
  for (auto& p : posters) p.join();
  EXPECT_FALSE(wnd.PeekPostedMessage(msg));
}

TEST(WndTest, SinkReceivesQueuedMessagesFirstAndNothingAfterDestroy) {
  CWnd wnd;
  ASSERT_TRUE(wnd.CreateMessageWindow());
  wnd.PostMessage(WM_TEST, 1);
  wnd.PostMessage(WM_TEST, 2);
  std::vector<WPARAM> seen;
  ASSERT_TRUE(wnd.SetPostedMessageSink([&](const MSG& m) { seen.push_back(m.wParam); }));
  wnd.PostMessage(WM_TEST, 3);
  EXPECT_EQ(seen, (std::vector<WPARAM>{1, 2, 3}));
  EXPECT_EQ(wnd.GetPostedMessageCount(), 0);

  // A worker posting while the window goes away: every post either arrives or fails.
  std::atomic<int> delivered{0};
  CEvent first;
  wnd.SetPostedMessageSink([&](const MSG&) {
    if (++delivered == 1) first.SetEvent();
  });
  std::atomic<int> accepted{0};
  std::thread worker([&] {
    while (wnd.PostMessage(WM_TEST)) ++accepted;
  });
  first.Lock();
  wnd.DestroyWindow();
  int atDestroy = delivered.load();
  worker.join();
  EXPECT_EQ(delivered.load(), atDestroy);
  EXPECT_EQ(accepted.load(), delivered.load());
  EXPECT_FALSE(wnd.SetPostedMessageSink(nullptr));
}

}  // namespace
