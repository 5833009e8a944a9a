#include "platform/run_outcome.h"

#include <gtest/gtest.h>

namespace corvid {
namespace {

class RunOutcomeTest : public ::testing::Test {
 protected:
  void SetUp() override { resetRunOutcome(); }
  void TearDown() override { resetRunOutcome(); }
};

TEST_F(RunOutcomeTest, WithoutStrictExitTheStatusIsUnchanged) {
  noteRunProblem(RunProblem::kInputUnreadable);
  EXPECT_EQ(strictExitStatus(0), 0);
  EXPECT_EQ(strictExitStatus(255), 255);
}

TEST_F(RunOutcomeTest, StrictExitGivesTheFirstProblem) {
  requestStrictExit();
  noteMS2ScansProcessed(5);
  noteRunProblem(RunProblem::kOutputUnwritable);
  EXPECT_EQ(strictExitStatus(0), 12);
  noteRunProblem(RunProblem::kDataPathSkipped);
  noteRunProblem(RunProblem::kInputUnreadable);
  EXPECT_EQ(strictExitStatus(0), 12);
}

TEST_F(RunOutcomeTest, StrictExitLeavesAFailureStatusAlone) {
  requestStrictExit();
  noteRunProblem(RunProblem::kDataPathSkipped);
  EXPECT_EQ(strictExitStatus(255), 255);
}

TEST_F(RunOutcomeTest, NothingProcessedIsAFailureUnlessAnEarlierResultWasReused) {
  requestStrictExit();
  EXPECT_EQ(strictExitStatus(0), 13);
  noteEarlierResultReused();
  EXPECT_EQ(strictExitStatus(0), 0);
}

TEST_F(RunOutcomeTest, ProcessedScansAndNoProblemGiveZero) {
  requestStrictExit();
  noteMS2ScansProcessed(1);
  EXPECT_EQ(strictExitStatus(0), 0);
}

TEST_F(RunOutcomeTest, EveryStrictStatusIsExplained) {
  for (int status : {10, 11, 12, 13}) EXPECT_FALSE(describeStrictExit(status).empty()) << status;
  EXPECT_TRUE(describeStrictExit(0).empty());
  EXPECT_TRUE(describeStrictExit(255).empty());
}

}  // namespace
}  // namespace corvid
