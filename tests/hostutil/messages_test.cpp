#include "hostutil/messages.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

namespace {

TEST(MessagesTest, ErrorHandlerIsReplacedAndRestored) {
  {
    vardell::test::ErrorRecorder recorder;
    std::vector<std::string> inner;
    auto previous =
        vardell::SetErrorMessageHandler([&](const CString& t) { inner.push_back(t.str()); });
    ThrowErrorMessage("a.bmp is not a true-color bitmap file!");
    vardell::SetErrorMessageHandler(std::move(previous));
    ThrowErrorMessage("second");
    EXPECT_EQ(inner, std::vector<std::string>{"a.bmp is not a true-color bitmap file!"});
    EXPECT_EQ(recorder.Single(), "second");
  }
  testing::internal::CaptureStderr();
  ThrowErrorMessage("Can not alloc memory which size is 12 Bytes.");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Can not alloc memory which size is 12 Bytes.\n");
}

TEST(MessagesTest, ProgressGoesToTheHandlerAndHandleZeroIsIgnored) {
  std::vector<std::string> calls;
  int answer = 7;
  auto previous = vardell::SetProgressHandler(
      {[&](const CString& t) { return calls.push_back(t.str()), answer; },
       [&](int h, int p) { calls.push_back(std::to_string(h) + ":" + std::to_string(p)); },
       [&](int h) { calls.push_back("end " + std::to_string(h)); }});
  SetProgress(BeginProgress("Loading"), 40);
  EndProgress(7);
  answer = 0;
  SetProgress(BeginProgress("None"), 50);
  EndProgress(0);
  EXPECT_EQ(calls, (std::vector<std::string>{"Loading", "7:40", "end 7", "None"}));
  vardell::SetProgressHandler(previous);  // the default shows nothing
  EXPECT_EQ(BeginProgress("Again"), 0);
  SetProgress(3, 10);
  EXPECT_EQ(calls.size(), 4u);
}

}  // namespace
