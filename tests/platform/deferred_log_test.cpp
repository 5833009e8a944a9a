// Messages a helper thread logs are kept until the main thread logs them, in their order.
#include <gtest/gtest.h>

#include <thread>

#include "platform/run_log.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

TEST(DeferredLog, AThreadsMessagesWaitAndThenShowInOrder) {
  const std::size_t before = runLogLines().size();
  DeferredLog kept;
  StdoutCapture console;
  std::thread helper([&kept] {
    DeferLogOnThisThread defer(kept);
    logMessage(LogLabel::kError, "Fail to create example.kx2");
    logMessage(LogLabel::kAlert, "second");
  });
  helper.join();
  logMessage(LogLabel::kNote, "main first");
  logDeferredMessages(kept);
  EXPECT_EQ(console.text(),
            "[Corvid] main first \n[Corvid] Fail to create example.kx2 \n[Corvid] second \n");
  const std::vector<std::string>& lines = runLogLines();
  ASSERT_EQ(lines.size(), before + 6);
  EXPECT_EQ(lines[before], "main first");
  EXPECT_EQ(lines[before + 2], "Fail to create example.kx2");
  EXPECT_EQ(lines[before + 4], "second");
}

TEST(DeferredLog, DeferringEndsWithItsScopeAndNests) {
  DeferredLog outer;
  DeferredLog inner;
  StdoutCapture console;
  {
    DeferLogOnThisThread deferOuter(outer);
    logMessage(LogLabel::kNote, "to outer");
    {
      DeferLogOnThisThread deferInner(inner);
      logMessage(LogLabel::kNote, "to inner");
    }
    logMessage(LogLabel::kNote, "outer again");
  }
  logMessage(LogLabel::kNote, "shown");
  EXPECT_EQ(console.text(), "[Corvid] shown \n");
  ASSERT_EQ(outer.messages.size(), 2u);
  EXPECT_EQ(outer.messages[1].text, "outer again");
  ASSERT_EQ(inner.messages.size(), 1u);
  EXPECT_EQ(inner.messages[0].text, "to inner");
}

}  // namespace
}  // namespace corvid
