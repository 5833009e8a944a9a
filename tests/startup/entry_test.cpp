#include "startup/entry.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::StdoutCapture;

struct Guarded {
  int status = -1;
  std::string printed;
  std::vector<std::string> logged;
};

Guarded guard(const std::function<void()>& route) {
  discardRunLog();
  createRunLog();
  Guarded outcome;
  StdoutCapture capture;
  outcome.status = runRouteGuarded(route);
  outcome.printed = capture.text();
  outcome.logged.assign(runLogLines().begin() + 1, runLogLines().end());
  discardRunLog();
  return outcome;
}

TEST(RunRouteGuarded, FinishedRouteLogsElapsedTime) {
  Guarded outcome = guard([] {});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.printed, "[Corvid]  == == == Time elapsed: 0 seconds. == == == =  \n");
}

TEST(RunRouteGuarded, TextFailureLogsErrorAndExitNotice) {
  Guarded outcome = guard([] { throw RunFailure("Task abort!"); });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.printed.rfind("\n[Corvid] Task abort! \n[Corvid] Corvid has encountered a problem and will "
                                  "exit. Retry with correct parameters.\nFor help, please mail to ",
                                  0),
            0u)
      << outcome.printed;
  ASSERT_GE(outcome.logged.size(), 4u);
  EXPECT_EQ(outcome.logged[0], "Task abort!");
}

TEST(RunRouteGuarded, OutOfRangeIsReportedAsArrayAccess) {
  Guarded outcome = guard([] { throw std::out_of_range("vector::_M_range_check"); });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.printed, "\n[Corvid] ARRAY ACCESS OUT OF BOUNDS!\n \n");
  EXPECT_EQ(outcome.logged, (std::vector<std::string>{"ARRAY ACCESS OUT OF BOUNDS!\n", "\n"}));
}

TEST(RunRouteGuarded, OtherExceptionPrintsOneAndItsMessage) {
  Guarded outcome = guard([] { throw std::runtime_error("disk full"); });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.printed, "1\n[Corvid] disk full \n");
  EXPECT_EQ(outcome.logged, (std::vector<std::string>{"disk full", "\n"}));
}

TEST(RunRouteGuarded, ExceptionWithoutMessageIsUnknown) {
  struct Silent : std::exception {
    const char* what() const noexcept override { return ""; }
  };
  Guarded outcome = guard([] { throw Silent(); });
  EXPECT_EQ(outcome.printed, "1\n[Corvid] Unknown exception \n");
}

TEST(RunRouteGuarded, LengthErrorOfAListIsAnOtherException) {
  Guarded outcome = guard([] { throw std::length_error("list<T> too long"); });
  EXPECT_EQ(outcome.status, 255);
  EXPECT_EQ(outcome.printed, "1\n[Corvid] list<T> too long \n");
}

}  // namespace
}  // namespace corvid
