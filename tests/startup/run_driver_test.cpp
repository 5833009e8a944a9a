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

// The run's paths as the table gives them, resolved.
RunPaths resolvedPaths(const ParameterTable& table) {
  RunPaths paths = readRunSettings(table).paths;
  resolveRunPaths(paths);
  return paths;
}

// Dispatches one run of the table (its paths taken as they are).
void dispatch(const ParameterTable& table) {
  RunResources resources;
  dispatchRun(readRunSettings(table), resources);
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
  const RunPaths paths = resolvedPaths(table);
  EXPECT_EQ(paths.data, dir.folder());
  EXPECT_EQ(paths.log, dir.folder());
  EXPECT_EQ(paths.output, dir.folder());
  discardRunLog();
}

TEST(ValidatePaths, BareFileNameGetsDotPrefix) {
  ParameterTable table = defaults();
  table["datapath"] = "sample.raw";
  const RunPaths paths = resolvedPaths(table);
  EXPECT_EQ(paths.data, "./sample.raw");
  EXPECT_EQ(paths.output, "./");
  EXPECT_EQ(paths.log, "./");
  discardRunLog();
}

TEST(ValidatePaths, GivenOutputFolderGetsSeparator) {
  ParameterTable table = defaults();
  table["datapath"] = "/data/run.WIFF";
  table["outputpath"] = "/results";
  table["logfilepath"] = "/logs\\";
  const RunPaths paths = resolvedPaths(table);
  EXPECT_EQ(paths.output, "/results/");
  EXPECT_EQ(paths.log, "/logs\\");
  discardRunLog();
}

TEST(ValidatePaths, MzmlFileIsOneDataFile) {
  ParameterTable table = defaults();
  table["datapath"] = "/data/BSA1.mzML";
  EXPECT_EQ(resolvedPaths(table).output, "/data/");
  discardRunLog();
}

TEST(ValidatePaths, InvalidDataPathAbortsTheTask) {
  ParameterTable table = defaults();
  table["datapath"] = "/nonexistent-corvid-folder/run.txt";
  StdoutCapture capture;
  try {
    resolvedPaths(table);
    FAIL() << "expected a failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Task abort!");
  }
  EXPECT_EQ(capture.text(), "[Corvid] Path Invalid! datapath = /nonexistent-corvid-folder/run.txt \n");
  discardRunLog();
}

TEST(DispatchRun, MissingOutputFolderSkipsTheRun) {
  TempDir dir;
  ParameterTable table = defaults();
  table["datapath"] = dir.folder();
  table["outputpath"] = dir.folder() + "missing/";
  table["logfilepath"] = dir.folder();
  StdoutCapture capture;
  dispatch(table);
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
  dispatch(table);
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
  dispatch(table);
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
  dispatch(table);
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
    dispatch(table);
    EXPECT_EQ(capture.text(), "[Corvid] " + message + dir.folder() + " \n") << format;
  }
  discardRunLog();
}

}  // namespace
}  // namespace corvid
