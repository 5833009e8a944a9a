#include "startup/run_driver.h"

#include <gtest/gtest.h>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "startup/start_routes.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::StdoutCapture;
using corvid::testing::TempDir;

ParameterTable defaults() {
  ParameterTable table;
  setDefaults(table);
  return table;
}

TEST(EndsWith, StrictlyLongerThanTheSuffix) {
  EXPECT_FALSE(endsWith(".raw", ".raw", true));
  EXPECT_TRUE(endsWith("a.raw", ".raw", true));
  EXPECT_FALSE(endsWith("a.RAW", ".raw", true));
}

TEST(EndsWith, CaseInsensitiveLowersFromTheSecondCharacter) {
  EXPECT_TRUE(endsWith("a.RAW", ".raw", false));
  EXPECT_TRUE(endsWith("a.RaW", ".raw", false));
  EXPECT_FALSE(endsWith("x.PARA", ".para", true));
}

TEST(ValidatePaths, FolderGetsTrailingSeparatorAndFillsLogAndOutput) {
  TempDir dir;
  ParameterTable table = defaults();
  table["datapath"] = dir.path().string();
  validatePaths(table);
  EXPECT_EQ(table["datapath"], dir.folder());
  EXPECT_EQ(table["logfilepath"], dir.folder());
  EXPECT_EQ(table["outputpath"], dir.folder());
  discardRunLog();
}

TEST(ValidatePaths, BareFileNameGetsDotPrefix) {
  ParameterTable table = defaults();
  table["datapath"] = "sample.raw";
  validatePaths(table);
  EXPECT_EQ(table["datapath"], "./sample.raw");
  EXPECT_EQ(table["outputpath"], "./");
  EXPECT_EQ(table["logfilepath"], "./");
  discardRunLog();
}

TEST(ValidatePaths, GivenOutputFolderGetsSeparator) {
  ParameterTable table = defaults();
  table["datapath"] = "/data/run.WIFF";
  table["outputpath"] = "/results";
  table["logfilepath"] = "/logs\\";
  validatePaths(table);
  EXPECT_EQ(table["outputpath"], "/results/");
  EXPECT_EQ(table["logfilepath"], "/logs\\");
  discardRunLog();
}

TEST(ValidatePaths, MzmlFileIsOneDataFile) {
  ParameterTable table = defaults();
  table["datapath"] = "/data/BSA1.mzML";
  validatePaths(table);
  EXPECT_EQ(table["outputpath"], "/data/");
  discardRunLog();
}

TEST(ValidatePaths, InvalidDataPathAbortsTheTask) {
  ParameterTable table = defaults();
  table["datapath"] = "/nonexistent-corvid-folder/run.txt";
  StdoutCapture capture;
  try {
    validatePaths(table);
    FAIL() << "expected a failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Task abort!");
  }
  EXPECT_EQ(capture.text(), "[Corvid] Path Invalid! datapath = /nonexistent-corvid-folder/run.txt \n");
  discardRunLog();
}

TEST(ValidatePaths, TouchesOutputsvmlight) {
  TempDir dir;
  ParameterTable table;
  table["datapath"] = dir.path().string();
  table["logfilepath"] = "EmptyPath";
  table["outputpath"] = "EmptyPath";
  validatePaths(table);
  EXPECT_EQ(table.count("outputsvmlight"), 1u);
  EXPECT_EQ(table["outputsvmlight"], "");
  discardRunLog();
}

TEST(DispatchRun, MissingOutputFolderSkipsTheRun) {
  TempDir dir;
  ParameterTable table = defaults();
  table["datapath"] = dir.folder();
  table["outputpath"] = dir.folder() + "missing/";
  table["logfilepath"] = dir.folder();
  StdoutCapture capture;
  dispatchRun(table);
  EXPECT_EQ(capture.text(), "[Corvid] Invalid output path: " + dir.folder() + "missing/ \n");
  discardRunLog();
}

TEST(DispatchRun, MissingLogFolderSkipsTheRun) {
  TempDir dir;
  ParameterTable table = defaults();
  table["datapath"] = dir.folder();
  table["outputpath"] = dir.folder();
  table["logfilepath"] = dir.folder() + "nolog/";
  StdoutCapture capture;
  dispatchRun(table);
  EXPECT_EQ(capture.text(), "[Corvid] Invalid log path: " + dir.folder() + "nolog/ \n");
  discardRunLog();
}

TEST(DispatchRun, EmptyRawFolderIsReported) {
  TempDir dir;
  ParameterTable table = defaults();
  table["datapath"] = dir.folder();
  table["outputpath"] = dir.folder();
  table["logfilepath"] = dir.folder();
  StdoutCapture capture;
  dispatchRun(table);
  EXPECT_EQ(capture.text(), "[Corvid] No Raw files in datapath!\n" + dir.folder() + " \n");
  discardRunLog();
}

TEST(DispatchRun, EmptyMs1FolderIsReported) {
  TempDir dir;
  ParameterTable table = defaults();
  table["datapath"] = dir.folder();
  table["outputpath"] = dir.folder();
  table["logfilepath"] = dir.folder();
  table["input_format"] = "ms1";
  StdoutCapture capture;
  dispatchRun(table);
  EXPECT_EQ(capture.text(), "[Corvid] No MS1 files in datapath! Corvid exits! \n");
  discardRunLog();
}

TEST(DispatchRun, EmptyWiffAndMgfAndMzmlFoldersAreReported) {
  TempDir dir;
  for (const auto& [format, message] :
       std::vector<std::pair<std::string, std::string>>{{"wiff", "No Wiff files in datapath!\n"},
                                                        {"mgf", "No MGF files in datapath!\n"},
                                                        {"mzML", "No mzML files in datapath!\n"},
                                                        {"mzxml", "No mzXML files in datapath!\n"}}) {
    ParameterTable table = defaults();
    table["datapath"] = dir.folder();
    table["outputpath"] = dir.folder();
    table["logfilepath"] = dir.folder();
    table["input_format"] = format;
    StdoutCapture capture;
    dispatchRun(table);
    EXPECT_EQ(capture.text(), "[Corvid] " + message + dir.folder() + " \n") << format;
  }
  discardRunLog();
}

}  // namespace
}  // namespace corvid
