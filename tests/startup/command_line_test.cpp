#include "startup/command_line.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/support_files.h"
#include "platform/run_failure.h"
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

// GNU-style long options: any settable key, both spellings, the usual errors otherwise.
TEST(LongOptions, EqualsFormSetsAnyBuiltInKey) {
  Outcome parsed = parse({"corvid", "--output_ms2=1", "--datanum=3", "--m/z=7", "-D", "x.mzML"});
  ASSERT_FALSE(parsed.failed) << parsed.printed;
  EXPECT_EQ(parsed.table["output_ms2"], "1");
  EXPECT_EQ(parsed.table["datanum"], "3");
  EXPECT_EQ(parsed.table["m/z"], "7");
  EXPECT_EQ(parsed.table["datapath"], "x.mzML");
}

TEST(LongOptions, SeparateValueFormTakesTheNextArgument) {
  Outcome parsed = parse({"corvid", "--extract_path", "/scratch/x", "--mars_threshold", "-0.5"});
  ASSERT_FALSE(parsed.failed) << parsed.printed;
  EXPECT_EQ(parsed.table["extract_path"], "/scratch/x");
  EXPECT_EQ(parsed.table["mars_threshold"], "-0.5");
}

TEST(LongOptions, ExtensionKeysAndNumberedDataPathsAreSettable) {
  Outcome parsed = parse({"corvid", "--strict_exit=1", "--precision_mode=1", "--datapath12=a.mzML"});
  ASSERT_FALSE(parsed.failed) << parsed.printed;
  EXPECT_EQ(parsed.table["strict_exit"], "1");
  EXPECT_EQ(parsed.table["precision_mode"], "1");
  EXPECT_EQ(parsed.table["datapath12"], "a.mzML");
}

TEST(LongOptions, EmptyValueIsAValue) {
  Outcome parsed = parse({"corvid", "--extract_path="});
  ASSERT_FALSE(parsed.failed);
  EXPECT_EQ(parsed.table["extract_path"], "");
}

TEST(LongOptions, UnknownKeyKeepsTheUsualError) {
  for (const char* unknown : {"--foo", "--foo=1", "--Resetpath=1", "--datapathX=1", "--output_ms2x=1"}) {
    Outcome parsed = parse({"corvid", unknown, "1"});
    EXPECT_TRUE(parsed.failed) << unknown;
    EXPECT_EQ(parsed.printed, "Error occurs in the options, empty option \"-\" occurred.\n") << unknown;
  }
}

TEST(LongOptions, MissingValueAtTheEndFails) {
  Outcome parsed = parse({"corvid", "--output_ms2"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.printed, "Option \"--output_ms2\" needs a value, but it is the last argument.\n");
}

TEST(LongOptions, RejectedLongOptionAppliesNothing) {
  Outcome parsed = parse({"corvid", "--output_ms2=1", "--nope=2"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.table["output_ms2"], "0");
}

TEST(LongOptions, DoubleDashAloneIsStillAnUnknownLetter) {
  Outcome parsed = parse({"corvid", "--", "1"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.printed, "Invalid left value! Can not parse parameter \"--\".  \n");
}

TEST(LongOptions, SingleLetterOptionsAreUnchanged) {
  Outcome parsed = parse({"corvid", "-x", "1"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.printed, "Invalid left value! Can not parse parameter \"-x\".  \n");
}

TEST(LongOptions, RecognisesOnlyDoubleDashWithAName) {
  EXPECT_TRUE(isLongOption("--a"));
  EXPECT_TRUE(isLongOption("--output_ms2=1"));
  EXPECT_FALSE(isLongOption("--"));
  EXPECT_FALSE(isLongOption("-D"));
  EXPECT_FALSE(isLongOption("x.mzML"));
}

TEST(SettableKeys, BuiltInExtensionAndNumberedKeys) {
  EXPECT_TRUE(isSettableKey("datapath"));
  EXPECT_TRUE(isSettableKey("co-elute"));
  EXPECT_TRUE(isSettableKey("datapath1"));
  EXPECT_TRUE(isSettableKey("strict_exit"));
  EXPECT_TRUE(isSettableKey("extract_path"));
  EXPECT_FALSE(isSettableKey("data"));
  EXPECT_FALSE(isSettableKey("datapath-1"));
  EXPECT_FALSE(isSettableKey("Resetpath"));
  EXPECT_FALSE(isSettableKey(""));
}

}  // namespace
}  // namespace corvid
