// SVMlight export: scaling, the charge range, the reproducible draw of training scans and the
// exact text of the training, test and companion files.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "platform/msvc_random.h"
#include "platform/run_failure.h"
#include "scoring/svm_light_export.h"
#include "tests/support/failure_text.h"
#include "tests/support/table_adapters.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;


TEST(SvmLightChargeRange, TwoToThreeAcceptsTwoAndThreeOnly) {
  EXPECT_FALSE(chargeInRange("2-3", 1));
  EXPECT_TRUE(chargeInRange("2-3", 2));
  EXPECT_TRUE(chargeInRange("2-3", 3));
  EXPECT_FALSE(chargeInRange("2-3", 4));
  EXPECT_TRUE(chargeInRange("2-6", 6));
}

TEST(SvmLightChargeRange, ValueWithoutDashOrEmptyThrows) {
  const std::string text = "Fail to set charge range of svm training process!";
  EXPECT_EQ(failureText([] { chargeInRange("4", 4); }), text);
  EXPECT_EQ(failureText([] { chargeInRange("", 2); }), text);
  // Only the first "-" splits: "2-" reads the upper bound as 0.
  EXPECT_FALSE(chargeInRange("2-", 2));
}

TEST(SvmLightScaler, FlatFeatureScalesToZeroEverywhere) {
  const std::vector<PrecursorFeatures> features{{1.0, 5.0, 2.0}, {3.0, 5.0, 2.0000001}, {2.0, 5.0, 2.0}};
  const SvmLightScaler scaler = makeSvmLightScaler(features);
  EXPECT_EQ(scaler.minimum, (std::vector<double>{1.0, 5.0, 2.0}));
  EXPECT_EQ(scaler.maximum, (std::vector<double>{3.0, 5.0, 2.0000001}));
  EXPECT_DOUBLE_EQ(scaledFeature(scaler, 0, 2.0), 0.5);
  EXPECT_EQ(scaledFeature(scaler, 1, 5.0), 0.0);
  EXPECT_EQ(scaledFeature(scaler, 2, 2.0000001), 0.0);  // spread below 1e-6
}

TEST(SvmLightScaler, NoVectorsThrows) {
  EXPECT_EQ(failureText([] { makeSvmLightScaler({}); }), "Empty feature vector");
}

std::vector<PrecursorRecord> recordsOfScans(const std::vector<int>& scans) {
  std::vector<PrecursorRecord> records;
  for (int scan : scans) records.push_back({static_cast<double>(scan), 2.0, 500.0});
  return records;
}

// The draw replayed by hand: seed 90, C runtime generator, listed scans 10, 11, 12, 13, 14 give
// the permutation 2, 1, 4, 0, 3.
TEST(SvmLightSampling, DrawIsTheSeededShuffle) {
  const auto records = recordsOfScans({10, 10, 11, 12, 12, 13, 14});
  EXPECT_EQ(sampleScans("3", records), (std::vector<std::int32_t>{11, 12, 14}));
  EXPECT_EQ(sampleScans("1", records), (std::vector<std::int32_t>{12}));
}

TEST(SvmLightSampling, MinusOneZeroAndMoreThanTheScanCount) {
  const auto records = recordsOfScans({12, 10, 10, 11});
  EXPECT_EQ(sampleScans("-1", records), (std::vector<std::int32_t>{10, 11, 12}));
  EXPECT_TRUE(sampleScans("0", records).empty());
  EXPECT_EQ(sampleScans("50", records), (std::vector<std::int32_t>{10, 11, 12}));
  EXPECT_TRUE(sampleScans("abc", records).empty());
  EXPECT_TRUE(sampleScans("-5", records).empty());
}

TEST(SvmLightSampling, SameDrawEveryTime) {
  const auto records = recordsOfScans({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  const auto first = sampleScans("4", records);
  EXPECT_EQ(sampleScans("4", records), first);
  EXPECT_EQ(first.size(), 4u);
}

TEST(SvmLightSampling, ScanListedAgainWhenItReturnsAfterAnother) {
  // 10, 11, 10: three listed scans (10 twice), so drawing all gives 10, 10, 11.
  EXPECT_EQ(sampleScans("-1", recordsOfScans({10, 11, 10})), (std::vector<std::int32_t>{10, 10, 11}));
}

struct ExportCase {
  TempDir dir;
  std::vector<PrecursorFeatures> features;
  std::vector<PrecursorRecord> records;
  // Charge goes to feature 0, a value to feature 1; every other feature is constant.
  void add(int scan, int charge, double mz, double second) {
    PrecursorFeatures vector(13, 5.0);
    vector[0] = charge;
    vector[1] = second;
    features.push_back(vector);
    records.push_back({static_cast<double>(scan), static_cast<double>(charge), mz});
  }
  SvmLightSetup setup(const std::string& sampleNumber, const std::string& range = "2-6") {
    ParameterTable parameters{{"outputpath", dir.folder()},
                              {"samplenumberinsvmlight", sampleNumber},
                              {"svmlight_charge_range", range}};
    return svmLightSetupFrom(parameters);
  }
  std::string file(const std::string& name) const { return readFile(dir.path() / name); }
};

// The scaled vector's text with the first two positions given, the other eleven 0.
std::string scaled(double first, double second, const char* before, const char* after) {
  char text[64];
  std::string line;
  for (int j = 1; j <= 13; ++j) {
    const double value = j == 1 ? first : j == 2 ? second : 0.0;
    std::snprintf(text, sizeof text, "%s%d:%.8f%s", before, j, value, after);
    line += text;
  }
  return line;
}
std::string example(const char* label, double first, double second) {
  return std::string(label) + " " + scaled(first, second, "", " ") + "\r\n";
}

void addThreeScans(ExportCase& c) {
  c.add(10, 2, 500.25, 1.0);   // best of scan 10: positive
  c.add(10, 3, 500.5, 0.5);
  c.add(10, 2, 600.0, 0.0);    // last of scan 10: negative
  c.add(11, 2, 700.0, 0.25);   // alone: positive only
  c.add(12, 7, 800.0, 0.5);    // charge outside 2-6: skipped ...
  c.add(12, 4, 801.0, 0.75);   // ... so the next candidate of the scan is tried as the positive
  c.add(12, 2, 802.0, 1.0);    // last of scan 12: negative
}

TEST(SvmLightExport, PathsComeFromTheOutputFolder) {
  ExportCase c;
  const SvmLightSetup setup = c.setup("-1");
  EXPECT_EQ(setup.trainingPath, c.dir.folder() + "SVMlightTrainingSet.txt");
  EXPECT_EQ(setup.testPath, c.dir.folder() + "SVMlightTestSet.txt");
  EXPECT_EQ(setup.companionPath, c.dir.folder() + "SVMlightTestSet.txt.scan_mz_charge.txt");
}

TEST(SvmLightExport, FilesHoldTheExactLines) {
  ExportCase c;
  addThreeScans(c);
  exportSvmLight(c.setup("-1"), c.features, c.records);
  // Charge scales by (z - 2) / 5, feature 1 is already 0..1, the rest is flat.
  EXPECT_EQ(c.file("SVMlightTrainingSet.txt"),
            example("1", 0.0, 1.0) + example("-1", 0.0, 0.0) + example("1", 0.0, 0.25) +
                example("1", 0.4, 0.75) + example("-1", 0.0, 1.0));
  EXPECT_EQ(c.file("SVMlightTestSet.txt"),
            example("0", 0.0, 1.0) + example("0", 0.2, 0.5) + example("0", 0.0, 0.0) + example("0", 0.0, 0.25) +
                example("0", 1.0, 0.5) + example("0", 0.4, 0.75) + example("0", 0.0, 1.0));
  const std::string companion = c.file("SVMlightTestSet.txt.scan_mz_charge.txt");
  EXPECT_EQ(companion.substr(0, companion.find("\r\n") + 2),
            "10 2 500.250000 0" + scaled(0.0, 1.0, " ", "") + "\r\n");
  EXPECT_EQ(companion.substr(companion.rfind("12 2 802")), "12 2 802.000000 0" + scaled(0.0, 1.0, " ", "") + "\r\n");
}

TEST(SvmLightExport, NoScanDrawnLeavesTrainingEmptyButTestsEveryCandidate) {
  ExportCase c;
  addThreeScans(c);
  exportSvmLight(c.setup("0"), c.features, c.records);
  EXPECT_EQ(c.file("SVMlightTrainingSet.txt"), "");
  const std::string test = c.file("SVMlightTestSet.txt");
  EXPECT_EQ(std::count(test.begin(), test.end(), '\n'), 7);
}

TEST(SvmLightExport, SingleCandidateScanGivesOnlyAPositive) {
  ExportCase c;
  c.add(11, 2, 700.0, 0.25);
  c.add(12, 3, 700.0, 0.75);
  exportSvmLight(c.setup("-1"), c.features, c.records);
  const std::string training = c.file("SVMlightTrainingSet.txt");
  EXPECT_EQ(training.find("-1 "), std::string::npos) << training;
  EXPECT_EQ(training, example("1", 0.0, 0.0) + example("1", 1.0, 1.0));
}

TEST(SvmLightExport, OnlyDrawnScansReachTheTrainingFile) {
  ExportCase c;
  addThreeScans(c);
  // Listed scans 10, 11, 12 shuffle (seed 90) to 12, 11, 10: one drawn scan is 12.
  exportSvmLight(c.setup("1"), c.features, c.records);
  EXPECT_EQ(c.file("SVMlightTrainingSet.txt"), example("1", 0.4, 0.75) + example("-1", 0.0, 1.0));
}

TEST(SvmLightExport, ChargeRangeIsAskedOnlyForDrawnFirstCandidates) {
  ExportCase c;
  addThreeScans(c);
  EXPECT_EQ(failureText([&] { exportSvmLight(c.setup("-1", "4"), c.features, c.records); }),
            "Fail to set charge range of svm training process!");
  // Nothing drawn: the bad range is never read.
  ExportCase d;
  addThreeScans(d);
  EXPECT_EQ(failureText([&] { exportSvmLight(d.setup("0", "4"), d.features, d.records); }), "(no failure)");
}

TEST(SvmLightExport, FailuresNameTheFile) {
  ExportCase c;
  addThreeScans(c);
  EXPECT_EQ(failureText([&] { exportSvmLight(c.setup("-1"), {}, {}); }), "Empty feature vector");
  SvmLightSetup setup = c.setup("-1");
  setup.trainingPath = c.dir.folder() + "missing/SVMlightTrainingSet.txt";
  EXPECT_EQ(failureText([&] { exportSvmLight(setup, c.features, c.records); }), "Fail to create training set file! ");
  setup = c.setup("-1");
  setup.testPath = c.dir.folder() + "missing/SVMlightTestSet.txt";
  EXPECT_EQ(failureText([&] { exportSvmLight(setup, c.features, c.records); }), "Fail to create test set file! ");
}

}  // namespace
}  // namespace corvid
