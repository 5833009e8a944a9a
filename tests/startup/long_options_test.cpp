// GNU-style long options: any settable key, both spellings, the specified errors otherwise.
#include <gtest/gtest.h>

#include <vector>

#include "startup/command_line.h"
#include "startup/run_failure.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::StdoutCapture;

struct Parsed {
  bool failed = false;
  std::string printed;
  ParameterTable table;
};

Parsed parseLong(std::vector<const char*> arguments) {
  Parsed parsed;
  setDefaults(parsed.table);
  StdoutCapture capture;
  try {
    applyOptions(static_cast<int>(arguments.size()), arguments.data(), parsed.table);
  } catch (const RunFailure& failure) {
    parsed.failed = true;
    EXPECT_EQ(failure.text, kIncorrectParameters);
  }
  parsed.printed = capture.text();
  return parsed;
}

TEST(LongOptions, EqualsFormSetsAnyBuiltInKey) {
  Parsed parsed = parseLong({"corvid", "--output_ms2=1", "--datanum=3", "--m/z=7", "-D", "x.mzML"});
  ASSERT_FALSE(parsed.failed) << parsed.printed;
  EXPECT_EQ(parsed.table["output_ms2"], "1");
  EXPECT_EQ(parsed.table["datanum"], "3");
  EXPECT_EQ(parsed.table["m/z"], "7");
  EXPECT_EQ(parsed.table["datapath"], "x.mzML");
}

TEST(LongOptions, SeparateValueFormTakesTheNextArgument) {
  Parsed parsed = parseLong({"corvid", "--extract_path", "/scratch/x", "--mars_threshold", "-0.5"});
  ASSERT_FALSE(parsed.failed) << parsed.printed;
  EXPECT_EQ(parsed.table["extract_path"], "/scratch/x");
  EXPECT_EQ(parsed.table["mars_threshold"], "-0.5");
}

TEST(LongOptions, ExtensionKeysAndNumberedDataPathsAreSettable) {
  Parsed parsed = parseLong({"corvid", "--strict_exit=1", "--precision_mode=1", "--datapath12=a.mzML"});
  ASSERT_FALSE(parsed.failed) << parsed.printed;
  EXPECT_EQ(parsed.table["strict_exit"], "1");
  EXPECT_EQ(parsed.table["precision_mode"], "1");
  EXPECT_EQ(parsed.table["datapath12"], "a.mzML");
}

TEST(LongOptions, EmptyValueIsAValue) {
  Parsed parsed = parseLong({"corvid", "--extract_path="});
  ASSERT_FALSE(parsed.failed);
  EXPECT_EQ(parsed.table["extract_path"], "");
}

TEST(LongOptions, UnknownKeyKeepsTheSpecifiedError) {
  for (const char* unknown : {"--foo", "--foo=1", "--Resetpath=1", "--datapathX=1", "--output_ms2x=1"}) {
    Parsed parsed = parseLong({"corvid", unknown, "1"});
    EXPECT_TRUE(parsed.failed) << unknown;
    EXPECT_EQ(parsed.printed, "Error occurs in the options, empty option \"-\" occurred.\n") << unknown;
  }
}

TEST(LongOptions, MissingValueAtTheEndFails) {
  Parsed parsed = parseLong({"corvid", "--output_ms2"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.printed, "Option \"--output_ms2\" needs a value, but it is the last argument.\n");
}

TEST(LongOptions, RejectedLongOptionAppliesNothing) {
  Parsed parsed = parseLong({"corvid", "--output_ms2=1", "--nope=2"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.table["output_ms2"], "0");
}

TEST(LongOptions, DoubleDashAloneIsStillAnUnknownLetter) {
  Parsed parsed = parseLong({"corvid", "--", "1"});
  EXPECT_TRUE(parsed.failed);
  EXPECT_EQ(parsed.printed, "Invalid left value! Can not parse parameter \"--\".  \n");
}

TEST(LongOptions, SingleLetterOptionsAreUnchanged) {
  Parsed parsed = parseLong({"corvid", "-x", "1"});
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
