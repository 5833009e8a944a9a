#include "scoring/threshold_filter.h"
#include "tests/support/failure_text.h"
#include "tests/support/table_adapters.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace corvid {
namespace {

ParameterTable defaults() {
  return {{"mars_threshold", "-0.34"},
          {"isolation_width", "2"},
          {"output_all_mars_y", "0"},
          {"output_mars_y", "0"},
          {"debug_mode", "0"}};
}

std::vector<double> mzsOf(const std::vector<PrecursorRecord>& records) {
  std::vector<double> out;
  for (const PrecursorRecord& record : records) out.push_back(record.mz);
  return out;
}

// Runs the filter and returns what it printed.
std::string filter(const ParameterTable& parameters, const std::vector<double>& scores,
                   std::vector<PrecursorRecord>& records) {
  ::testing::internal::CaptureStdout();
  filterByThreshold(parameters, scores, records);
  return ::testing::internal::GetCapturedStdout();
}

TEST(FilterByThreshold, EmptyScoresChangeNothingAndPrintNothing) {
  ParameterTable parameters = defaults();
  parameters["isolation_width"] = "4";
  std::vector<PrecursorRecord> records{{100, 2, 500.0}};
  EXPECT_EQ(filter(parameters, {}, records), "");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].mz, 500.0);
}

TEST(FilterByThreshold, ScoreEqualToThresholdIsDropped) {
  std::vector<PrecursorRecord> records{{100, 2, 500.0}, {100, 3, 400.0}};
  EXPECT_EQ(filter(defaults(), {-0.34, -0.3399999}, records), "");
  EXPECT_EQ(mzsOf(records), std::vector<double>{400.0});
}

TEST(FilterByThreshold, IsolationWidthFourFiltersAtMinus068AndSaysSo) {
  ParameterTable parameters = defaults();
  parameters["isolation_width"] = "4";
  std::vector<PrecursorRecord> records{{100, 2, 500.0}, {100, 3, 400.0}, {100, 4, 300.0}};
  EXPECT_EQ(filter(parameters, {-0.5, -0.68, -0.679}, records), "isolation_width\n");
  EXPECT_EQ(mzsOf(records), (std::vector<double>{500.0, 300.0}));
  EXPECT_EQ(marsThreshold(parameters), -0.68);
}

TEST(FilterByThreshold, OnlyTheExactTextFourOverrides) {
  for (const char* width : {"4.0", " 4", "04", "2"}) {
    ParameterTable parameters = defaults();
    parameters["isolation_width"] = width;
    std::vector<PrecursorRecord> records{{100, 2, 500.0}};
    EXPECT_EQ(filter(parameters, {-0.5}, records), "");
    EXPECT_TRUE(records.empty()) << width;
  }
}

TEST(FilterByThreshold, OutputAllKeepsEverythingAboveMinus10000AndWins) {
  ParameterTable parameters = defaults();
  parameters["isolation_width"] = "4";
  parameters["output_all_mars_y"] = "1";
  std::vector<PrecursorRecord> records{{100, 2, 500.0}, {100, 3, 400.0}, {101, 2, 600.0}};
  EXPECT_EQ(filter(parameters, {-9999.0, -10000.0, -5.0}, records), "isolation_width\n");
  EXPECT_EQ(mzsOf(records), (std::vector<double>{500.0, 600.0}));
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(marsThreshold(parameters), -10000.0);
  ::testing::internal::GetCapturedStdout();
}

TEST(FilterByThreshold, ThresholdThatIsNotANumberIsZero) {
  ParameterTable parameters = defaults();
  parameters["mars_threshold"] = "abc";
  EXPECT_EQ(marsThreshold(parameters), 0.0);
  std::vector<PrecursorRecord> records{{100, 2, 500.0}, {100, 3, 400.0}};
  filter(parameters, {0.0, 1e-9}, records);
  EXPECT_EQ(mzsOf(records), std::vector<double>{400.0});
}

TEST(FilterByThreshold, ThresholdIsReadLikeAtof) {
  ParameterTable parameters = defaults();
  parameters["mars_threshold"] = " 0.25xyz";
  EXPECT_EQ(marsThreshold(parameters), 0.25);
}

TEST(FilterByThreshold, EmptyRecordsWithScoresPrintException) {
  std::vector<PrecursorRecord> records;
  EXPECT_EQ(filter(defaults(), {1.0, 2.0}, records), "Exception in Here\n");
  EXPECT_TRUE(records.empty());
}

TEST(FilterByThreshold, KeepsScanOrderAndDescendingScoreWithinScan) {
  std::vector<PrecursorRecord> records{{200, 2, 1.0}, {200, 3, 2.0}, {200, 4, 3.0},
                                       {150, 2, 4.0}, {150, 2, 5.0}, {300, 2, 6.0}};
  const std::vector<double> scores{0.1, 0.9, 0.5, -0.2, 0.3, 2.0};
  filter(defaults(), scores, records);
  EXPECT_EQ(mzsOf(records), (std::vector<double>{2.0, 3.0, 1.0, 5.0, 4.0, 6.0}));
  EXPECT_EQ(records[0].scan, 200.0);
  EXPECT_EQ(records[0].charge, 3.0);
  EXPECT_EQ(records[3].scan, 150.0);
}

TEST(FilterByThreshold, EqualScoresKeepInputOrder) {
  std::vector<PrecursorRecord> records{{10, 2, 1.0}, {10, 2, 2.0}, {10, 2, 3.0}, {10, 2, 4.0}};
  filter(defaults(), {0.5, 0.7, 0.5, 0.7}, records);
  EXPECT_EQ(mzsOf(records), (std::vector<double>{2.0, 4.0, 1.0, 3.0}));
}

TEST(FilterByThreshold, ScanGroupsAreRunsOfEqualScans) {
  // Scan 5 appears again after scan 6: it forms a second group of its own.
  std::vector<PrecursorRecord> records{{5, 2, 1.0}, {6, 2, 2.0}, {5, 2, 3.0}, {5, 2, 4.0}};
  filter(defaults(), {0.1, 0.2, 0.3, 0.4}, records);
  EXPECT_EQ(mzsOf(records), (std::vector<double>{1.0, 2.0, 4.0, 3.0}));
}

TEST(FilterByThreshold, NothingKeptLeavesEmptyList) {
  std::vector<PrecursorRecord> records{{100, 2, 500.0}, {101, 3, 400.0}};
  const std::vector<double> scores{-1.0, -0.5};
  filter(defaults(), scores, records);
  EXPECT_TRUE(records.empty());
  EXPECT_EQ(scores.size(), 2u);
}

TEST(FilterByThreshold, NaNScoreIsNeverKeptAndRanksLast) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ParameterTable parameters = defaults();
  parameters["debug_mode"] = "1";
  std::vector<PrecursorRecord> records{{7, 2, 1.0}, {7, 2, 2.0}, {7, 2, 3.0}};
  const std::string printed = filter(parameters, {nan, 0.5, 0.25}, records);
  EXPECT_EQ(mzsOf(records), (std::vector<double>{2.0, 3.0}));
  EXPECT_EQ(printed,
            "7 0 1 0.500000 7 2 2.000000\n"
            "7 1 2 0.250000 7 2 3.000000\n"
            "7 2 0 nan 7 2 1.000000\n");
}

TEST(FilterByThreshold, DebugModeOnePrintsOneLinePerRecord) {
  ParameterTable parameters = defaults();
  parameters["debug_mode"] = "1";
  std::vector<PrecursorRecord> records{{1201, 2, 612.3456789}, {1201, 3, 408.5}, {1202, 2, 700.25}};
  const std::string printed = filter(parameters, {-1.25, 0.512345, 0.0}, records);
  EXPECT_EQ(printed,
            "1201 0 1 0.512345 1201 3 408.500000\n"
            "1201 1 0 -1.250000 1201 2 612.345679\n"
            "1202 0 0 0.000000 1202 2 700.250000\n");
  EXPECT_EQ(mzsOf(records), (std::vector<double>{408.5, 700.25}));
}

TEST(FilterByThreshold, OtherDebugModesPrintNothing) {
  ParameterTable parameters = defaults();
  parameters["debug_mode"] = "2";
  std::vector<PrecursorRecord> records{{1201, 2, 612.0}};
  EXPECT_EQ(filter(parameters, {1.0}, records), "");
}

TEST(FilterByThreshold, ListsOfDifferentLengthsThrowOutOfRange) {
  std::vector<PrecursorRecord> records{{100, 2, 500.0}};
  EXPECT_TRUE(corvid::testing::failsAsOutOfBounds([&] { filterByThreshold(defaults(), {1.0, 2.0}, records); }));
  std::vector<PrecursorRecord> more{{100, 2, 500.0}, {100, 2, 501.0}};
  EXPECT_TRUE(corvid::testing::failsAsOutOfBounds([&] { filterByThreshold(defaults(), {1.0}, more); }));
}

TEST(FilterByThreshold, HugeScanValueDoesNotBreakDebugOutput) {
  ParameterTable parameters = defaults();
  parameters["debug_mode"] = "1";
  std::vector<PrecursorRecord> records{{1e300, 2, 1.0}};
  const std::string printed = filter(parameters, {1.0}, records);
  // The scan column cannot hold 1e300 as an int and shows 0; the record's value is printed whole.
  EXPECT_EQ(printed.rfind("0 0 0 1.000000 1", 0), 0u) << printed;
  EXPECT_EQ(printed.substr(printed.size() - 12), " 2 1.000000\n");
  EXPECT_EQ(records.size(), 1u);
}

}  // namespace
}  // namespace corvid
