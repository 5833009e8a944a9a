#include "startup/command_line.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/support_files.h"
#include "startup/run_failure.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::StdoutCapture;

struct Outcome {
  bool failed = false;
  std::string printed;
  ParameterTable table;
};

Outcome parse(std::vector<const char*> arguments) {
  Outcome outcome;
  setDefaults(outcome.table);
  StdoutCapture capture;
  try {
    applyOptions(static_cast<int>(arguments.size()), arguments.data(), outcome.table);
  } catch (const RunFailure& failure) {
    outcome.failed = true;
    EXPECT_EQ(failure.text, "Incorrect parameters! Please check the options or the *.cfg files.");
  }
  outcome.printed = capture.text();
  return outcome;
}

TEST(ApplyOptions, QuotedPathWithBlanksReachesDatapath) {
  Outcome outcome = parse({"/opt/corvid/corvid", "-D", "/data/my runs/a.raw"});
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(outcome.table["datapath"], "/data/my runs/a.raw");
  EXPECT_EQ(outcome.table["binpath"], "/opt/corvid/");
}

TEST(ApplyOptions, ValueStartingWithDashIsTakenAsValue) {
  Outcome outcome = parse({"corvid", "-D", "-O"});
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(outcome.table["datapath"], "-O");
  // A bare program name (found through PATH): binpath is where the executable really is.
  EXPECT_EQ(outcome.table["binpath"], runningExecutableFolder());
  EXPECT_FALSE(outcome.table["binpath"].empty());
}

TEST(ApplyOptions, UnknownLetterFails) {
  Outcome outcome = parse({"corvid", "-x", "1"});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.printed, "Invalid left value! Can not parse parameter \"-x\".  \n");
}

TEST(ApplyOptions, ThreeCharacterOptionIsAnEmptyOption) {
  Outcome outcome = parse({"corvid", "-Dfoo"});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.printed, "Error occurs in the options, empty option \"-\" occurred.\n");
}

TEST(ApplyOptions, LoneTwoCharacterWordFails) {
  Outcome outcome = parse({"corvid", "-W", "3", "ab"});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.printed, "Invalid left value! Can not parse parameter \"ab\".\n");
}

TEST(ApplyOptions, StrayPathIsReportedAsEmptyOption) {
  Outcome outcome = parse({"corvid", "/data/run.raw"});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.printed, "Error occurs in the options, empty option \"-\" occurred.\n");
}

TEST(ApplyOptions, EmptyArgumentFails) {
  Outcome outcome = parse({"corvid", ""});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.printed, "Error occurs in the options, empty option \"-\" occurred.\n");
}

TEST(ApplyOptions, NegativeThresholdIsAValue) {
  Outcome outcome = parse({"corvid", "-t", "-0.5"});
  EXPECT_FALSE(outcome.failed);
  EXPECT_EQ(outcome.table["mars_threshold"], "-0.5");
}

TEST(ApplyOptions, TrailingOptionWithoutValueFails) {
  Outcome outcome = parse({"corvid", "-D"});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.printed, "Option \"-D\" needs a value, but it is the last argument.\n");
}

TEST(ApplyOptions, LaterOptionOverwritesEarlier) {
  Outcome outcome = parse({"corvid", "-W", "3", "-W", "4"});
  EXPECT_EQ(outcome.table["isolation_width"], "4");
}

TEST(ApplyOptions, RejectedCommandLineAppliesNothing) {
  Outcome outcome = parse({"corvid", "-W", "3", "-x", "1"});
  EXPECT_TRUE(outcome.failed);
  EXPECT_EQ(outcome.table["isolation_width"], "2");
}

TEST(ApplyOptions, EveryLetterSetsItsKey) {
  const std::vector<std::pair<const char*, const char*>> letters = {
      {"-C", "co-elute"}, {"-D", "datapath"}, {"-F", "input_format"}, {"-I", "ipv_file"},
      {"-L", "logfilepath"}, {"-M", "mars_model"}, {"-N", "samplenumberinsvmlight"},
      {"-O", "outputpath"}, {"-R", "recalibrate_window"}, {"-S", "cut_similiar_mono"},
      {"-T", "trainingset"}, {"-W", "isolation_width"}, {"-Y", "output_mars_y"},
      {"-a", "check_activationcenter"}, {"-c", "svmlight_charge_range"}, {"-d", "delete_msn"},
      {"-f", "output_freq"}, {"-g", "debug_mode"}, {"-i", "Intensity"}, {"-m", "output_mgf"},
      {"-p", "output_kx"}, {"-r", "rewrite_files"}, {"-s", "output_trainingdata"},
      {"-t", "mars_threshold"}, {"-u", "export_unchecked_mono"}, {"-v", "outputsvmlight"},
      {"-y", "output_all_mars_y"}, {"-z", "m/z"}};
  for (const auto& [option, key] : letters) {
    Outcome outcome = parse({"corvid", option, "value"});
    EXPECT_FALSE(outcome.failed) << option;
    EXPECT_EQ(outcome.table[key], "value") << option;
  }
  EXPECT_EQ(letters.size(), 28u);
}

TEST(SetBinPath, BackslashSeparatorCounts) {
  ParameterTable table;
  setDefaults(table);
  const char* arguments[] = {"C:\\Tools\\Corvid.exe"};
  setBinPath(arguments, table);
  EXPECT_EQ(table["binpath"], "C:\\Tools\\");
}

}  // namespace
}  // namespace corvid
