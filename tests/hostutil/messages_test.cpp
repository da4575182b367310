#include "hostutil/messages.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(MessagesTest, ErrorHandlerIsReplacedAndRestored) {
  {
    vardell::test::ErrorRecorder recorder;
    ThrowErrorMessage("a.bmp is not a true-color bitmap file!");
    EXPECT_EQ(recorder.Single(), "a.bmp is not a true-color bitmap file!");
    // A nested handler sees the text instead, and hands the first one back when removed.
    std::vector<std::string> inner;
    auto previous =
        vardell::SetErrorMessageHandler([&](const CString& t) { inner.push_back(t.str()); });
    ThrowErrorMessage("second");
    vardell::SetErrorMessageHandler(std::move(previous));
    ThrowErrorMessage("third");
    EXPECT_EQ(inner, std::vector<std::string>{"second"});
    EXPECT_EQ(recorder.texts(),
              (std::vector<std::string>{"a.bmp is not a true-color bitmap file!", "third"}));
  }
  // With no handler installed, the default writes one line to standard error.
  testing::internal::CaptureStderr();
  ThrowErrorMessage("Can not alloc memory which size is 12 Bytes.");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Can not alloc memory which size is 12 Bytes.\n");
}

TEST(MessagesTest, ProgressGoesToTheHandlerAndHandleZeroIsIgnored) {
  std::vector<std::string> calls;
  int answer = 7;
  vardell::ProgressHandler handler{
      [&](const CString& t) {
        calls.push_back("begin " + t.str());
        return answer;
      },
      [&](int h, int p) { calls.push_back("set " + std::to_string(h) + " " + std::to_string(p)); },
      [&](int h) { calls.push_back("end " + std::to_string(h)); }};
  auto previous = vardell::SetProgressHandler(handler);
  EXPECT_FALSE(previous.begin);  // the default shows nothing
  EXPECT_EQ(BeginProgress("Loading"), 7);
  SetProgress(7, 40);
  EndProgress(7);
  answer = 0;
  const int none = BeginProgress("Nothing");
  SetProgress(none, 50);
  EndProgress(none);
  EXPECT_EQ(calls,
            (std::vector<std::string>{"begin Loading", "set 7 40", "end 7", "begin Nothing"}));

  // Restoring the default: no display, so Begin answers 0 and nothing reaches the old handler.
  vardell::SetProgressHandler(previous);
  calls.clear();
  EXPECT_EQ(BeginProgress("Again"), 0);
  SetProgress(3, 10);
  EndProgress(3);
  EXPECT_TRUE(calls.empty());
}

}  // namespace
