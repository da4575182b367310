#include "picture_fixtures.h"
#include "platform/thread.h"
#include "platform/wnd.h"

#include <memory>
#include <tuple>

namespace {

using namespace vardell::test;
using Posted = std::tuple<UINT, WPARAM, LPARAM>;
constexpr UINT kMsg = WM_APP + 1, kOtherMsg = WM_APP + 2;
const Posted kCancelled(kMsg, 2, 0);

// Posted messages up to and including the first end (wParam 2 or 3) of message number last.
std::vector<Posted> ReadUntilEnd(CWnd& wnd, UINT last = kMsg) {
  std::vector<Posted> got;
  for (MSG m; wnd.WaitPostedMessage(m, 60000);) {
    got.emplace_back(m.message, m.wParam, m.lParam);
    if (m.message == last && m.wParam != 1) return got;
  }
  ADD_FAILURE() << "no end message";
  return got;
}

// 4 x 4,000,000 pixels, only the bottom 16 rows written: reduced to 2 x 2,000,000 it keeps a
// worker busy for seconds, far longer than a test takes to answer its first message.
std::string MakeLongFile(const TempDir& dir) {
  return WriteFile(dir, "long.bmp", MakeBmp({.width = 4, .height = 4000000, .rows = 16}),
                   54 + 12ull * 4000000);
}
const CSize kLong(2, 2000000);

class BackgroundLoadingTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(wnd.CreateMessageWindow()); }
  // Waits for the first message of a load just started.
  void Started() { ASSERT_TRUE(wnd.WaitPostedMessage(m, 60000)); }
  TempDir dir;
  CWnd wnd;
  MSG m;
  const std::string tall = WriteFile(dir, "tall.bmp", MakeBmp({.width = 8, .height = 400}));
};

TEST_F(BackgroundLoadingTest, SamplesTheRowsAndPostsEachPercentOnce) {
  const std::string odd = WriteFile(dir, "odd.bmp", MakeBmp({.width = 3, .height = 500}));
  ErrorRecorder errors;
  CPicture p;
  std::vector<Posted> want;
  for (int percent = 0; percent < 100; ++percent) want.emplace_back(kMsg, 1, percent);
  want.emplace_back(kMsg, 3, 0);
  // 400 rows to 100 reads file rows 0, 4, 8, ...; 100 and 250 target rows post 0..99 once each.
  for (auto [path, fw, fh, target] :
       {std::tuple(tall, 8, 400, CSize(2, 100)), std::tuple(odd, 3, 500, CSize(2, 250))}) {
    ASSERT_TRUE(p.LoadPictureInBackground(path.c_str(), target, &wnd, kMsg));
    EXPECT_EQ(ReadUntilEnd(wnd), want);
    p.CancelLoading();  // consumes the signal the finished load left
    ExpectSampled(p, Picks(fw, target.cx), Picks(fh, target.cy));
  }
  // Nothing to reduce: the file's own size. Without a window nothing is posted.
  ASSERT_TRUE(p.LoadPictureInBackground(tall.c_str(), CSize(9, 100), nullptr, kMsg));
  ASSERT_TRUE(vardell::WaitForWorkerThreads());
  ExpectSampled(p, Picks(8, 8), Picks(400, 400));
  EXPECT_EQ(wnd.GetPostedMessageCount(), 0);
  EXPECT_TRUE(errors.texts().empty());
}

TEST_F(BackgroundLoadingTest, CancelsFromTheReaderForANewLoadAndOnDestruction) {
  const std::string path = MakeLongFile(dir);
  auto p = std::make_unique<CPicture>();
  // The signal of a finished load must not cut the next cancellation short.
  ASSERT_TRUE(p->LoadPictureInBackground(tall.c_str(), CSize(2, 100), nullptr, kMsg));
  ASSERT_TRUE(vardell::WaitForWorkerThreads());
  // The reader cancels on the first progress message; the row in progress is still read.
  ASSERT_TRUE(p->LoadPictureInBackground(path.c_str(), kLong, &wnd, kMsg));
  ASSERT_TRUE(wnd.WaitPostedMessage(m, 60000) && m.wParam == 1 && m.lParam == 0);
  p->CancelLoading();
  EXPECT_EQ(ReadUntilEnd(wnd).back(), kCancelled);
  EXPECT_EQ(p->GetPictureSize(), kLong);
  EXPECT_EQ(PixelOf(*p, 1, kLong.cy - 1), Pattern(2, 0));  // bottom row, second column

  // A new load cancels the running one and waits for it before it starts.
  ASSERT_TRUE(p->LoadPictureInBackground(path.c_str(), kLong, &wnd, kMsg));
  Started();
  ASSERT_TRUE(p->LoadPictureInBackground(tall.c_str(), CSize(2, 100), &wnd, kOtherMsg));
  const std::vector<Posted> rest = ReadUntilEnd(wnd, kOtherMsg);
  const auto second = std::find_if(rest.begin(), rest.end(),
                                   [](const Posted& q) { return std::get<0>(q) == kOtherMsg; });
  ASSERT_NE(second, rest.begin());
  EXPECT_EQ(second[-1], kCancelled);
  EXPECT_EQ(rest.end() - second, 101);  // only the new load's percentages and end follow
  p->CancelLoading();

  // The destructor stops a running load before the picture goes.
  ASSERT_TRUE(p->LoadPictureInBackground(path.c_str(), kLong, &wnd, kMsg));
  Started();
  p.reset();
  EXPECT_EQ(ReadUntilEnd(wnd).back(), kCancelled);
}

TEST_F(BackgroundLoadingTest, RefusedFilesStartNoThreadAndLateFailuresEndTheLoad) {
  const std::string jpeg = SamplePath("coffee.jpg"),
                    cut = WriteFile(dir, "cut.bmp",
                                    MakeBmp({.width = 8, .height = 400, .rows = 300}));
  CPicture p;
  ASSERT_TRUE(p.CreatePicture(3, 3, 1));
  for (const auto& [path, tail] :
       {std::pair(jpeg, " is not a bitmap format!"), std::pair(cut, "'s length is incorrect.!")}) {
    ErrorRecorder errors;
    EXPECT_EQ(p.LoadPictureInBackground(path.c_str(), CSize(2, 2), &wnd, kMsg), nullptr);
    EXPECT_EQ(errors.Single(), path + tail);
    EXPECT_EQ(p.GetBuffer()[0], 1);
  }
  ASSERT_TRUE(vardell::WaitForWorkerThreads());
  EXPECT_EQ(wnd.GetPostedMessageCount(), 0);

  // A picture beyond the memory rule: the worker reports it and posts nothing.
  const std::string huge =
      WriteFile(dir, "huge.bmp", MakeBmp({.width = 30000, .height = 100000, .rows = 0}),
                54 + 90000ull * 100000);
  ErrorRecorder errors;
  ASSERT_TRUE(p.LoadPictureInBackground(huge.c_str(), CSize(0, 0), &wnd, kMsg));
  ASSERT_TRUE(vardell::WaitForWorkerThreads());
  EXPECT_EQ(errors.Single(), "Can't not alloc memory!");
  EXPECT_EQ(wnd.GetPostedMessageCount(), 0);
  EXPECT_FALSE(p.IsValid());
  p.CancelLoading();

  // A file that shrinks under the worker ends the load as a cancel would.
  errors.Clear();
  const std::string path = MakeLongFile(dir);
  ASSERT_TRUE(p.LoadPictureInBackground(path.c_str(), kLong, &wnd, kMsg));
  Started();
  std::filesystem::resize_file(path, 54);
  EXPECT_EQ(ReadUntilEnd(wnd).back(), kCancelled);
  p.CancelLoading();
  EXPECT_EQ(errors.Single(), path + "'s length is incorrect.!");
}

}  // namespace
