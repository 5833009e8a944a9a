#include "platform/run_log.h"

#include <gtest/gtest.h>

#include <regex>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::readFile;
using corvid::testing::StdoutCapture;
using corvid::testing::TempDir;

TEST(LogMessage, InfoLabelGetsAngleBrackets) {
  StdoutCapture capture;
  logMessage(LogLabel::kInfo, "x");
  EXPECT_EQ(capture.text(), "[Corvid] <x> \n");
  discardRunLog();
}

TEST(LogMessage, OtherLabelsPrintPlainMessage) {
  StdoutCapture capture;
  logMessage(LogLabel::kNote, "Loading");
  logMessage(LogLabel::kError, "bad");
  EXPECT_EQ(capture.text(), "[Corvid] Loading \n[Corvid] bad \n");
  discardRunLog();
}

TEST(RunLog, FileHoldsStartTimeAndBareMessagesWithCrLf) {
  TempDir dir;
  discardRunLog();
  createRunLog();
  setLogFolder(dir.folder());
  appendLogPiece("corvid -D x ");
  appendLogPiece("\n");
  {
    StdoutCapture capture;
    logMessage(LogLabel::kError, "first");
    logMessage(LogLabel::kInfo, "second\n");
    capture.text();
  }
  closeRunLog();
  const std::string content = readFile(dir.file("CorvidPlusLog.txt"));
  const std::regex expected(
      "[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}\r\n"
      "corvid -D x \r\nfirst\r\nsecond\r\n\r\n");
  EXPECT_TRUE(std::regex_match(content, expected)) << content;
}

TEST(RunLog, TwoRunsAppendTwoBlocks) {
  TempDir dir;
  for (int run = 0; run < 2; ++run) {
    discardRunLog();
    createRunLog();
    setLogFolder(dir.folder());
    appendLogPiece("run\n");
    closeRunLog();
  }
  const std::string content = readFile(dir.file("CorvidPlusLog.txt"));
  EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 4);
  EXPECT_NE(content.find("run\r\n"), content.rfind("run\r\n"));
}

TEST(RunLog, UnwritableFolderPrintsFailureAndLosesLines) {
  discardRunLog();
  createRunLog();
  setLogFolder("/nonexistent-corvid-folder/");
  StdoutCapture capture;
  closeRunLog();
  EXPECT_EQ(capture.text(),
            "Fail to create log, /nonexistent-corvid-folder/CorvidPlusLog.txt not exists!\n");
  EXPECT_FALSE(runLogExists());
}

TEST(RunLog, DefaultPathIsTheWorkingFolder) {
  discardRunLog();
  createRunLog();
  EXPECT_EQ(runLogPath(), "CorvidPlusLog.txt");
  discardRunLog();
}

TEST(Timestamp, HasTheClassicLayout) {
  const std::regex layout("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}");
  EXPECT_TRUE(std::regex_match(timestamp(), layout)) << timestamp();
}

}  // namespace
}  // namespace corvid
