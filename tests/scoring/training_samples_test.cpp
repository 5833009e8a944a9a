// Labelled training tables: candidates labelled against the reference list and written to
// Positive.csv / Negative.csv.
#include <gtest/gtest.h>

#include "scoring/training_samples.h"
#include "platform/run_failure.h"
#include "tests/support/reference_list_support.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

PrecursorFeatures featuresCounting(double first) {
  PrecursorFeatures features;
  for (int i = 0; i < 13; ++i) features.push_back(first + i);
  return features;
}

struct Candidates {
  std::vector<PrecursorFeatures> features;
  std::vector<PrecursorRecord> records;
  void add(double scan, double charge, double mz, double firstFeature) {
    records.push_back({scan, charge, mz});
    features.push_back(featuresCounting(firstFeature));
  }
};

// "scan, f0 .. f12, last element", as the tables print a candidate (CR LF).
std::string sampleLine(int scan, double first, double last) {
  std::string line = std::to_string(scan);
  char number[64];
  for (int i = 0; i < 13; ++i) {
    std::snprintf(number, sizeof number, ", %f", first + i);
    line += number;
  }
  std::snprintf(number, sizeof number, ", %f\r\n", last);
  return line + number;
}

TEST(TrainingSamples, MatchedCandidatesArePositiveOthersNegative) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 7.5}, {11, 800.0, 3, 1.0}});
  Candidates candidates;
  candidates.add(10, 2, 500.2501, 1.0);   // 0.2 ppm off: positive
  candidates.add(10, 3, 500.25, 20.0);    // other charge: negative
  candidates.add(11, 3, 800.1, 40.0);     // 125 ppm off: negative
  writeTrainingSamples(dir.folder(), true, reference, candidates.features, candidates.records);
  EXPECT_EQ(readFile(dir.path() / "Positive.csv"), sampleLine(10, 1.0, 13.0));
  EXPECT_EQ(readFile(dir.path() / "Negative.csv"), sampleLine(10, 20.0, 32.0) + sampleLine(11, 40.0, 52.0));
  EXPECT_EQ(reference.found, (std::vector<std::int32_t>{1, 0}));
  EXPECT_EQ(reference.training, (std::vector<std::int32_t>{0, 1}));
}

TEST(TrainingSamples, AfterScoringTheLastColumnIsTheScore) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 7.5}});
  Candidates candidates;
  candidates.add(10, 2, 500.25, 1.0);
  candidates.features[0].push_back(0.875);
  writeTrainingSamples(dir.folder(), true, reference, candidates.features, candidates.records);
  EXPECT_EQ(readFile(dir.path() / "Positive.csv"), sampleLine(10, 1.0, 0.875));
}

TEST(TrainingSamples, OnlyTheFirstMatchingEntryIsMarked) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 1.0}, {10, 500.2502, 2, 2.0}});
  Candidates candidates;
  candidates.add(10, 2, 500.2501, 1.0);
  writeTrainingSamples(dir.folder(), false, reference, candidates.features, candidates.records);
  EXPECT_EQ(reference.found, (std::vector<std::int32_t>{1, 0}));
  EXPECT_EQ(reference.training, (std::vector<std::int32_t>{0, 1}));
}

TEST(TrainingSamples, TwentyPpmBoundOnBothSides) {
  TempDir dir;
  // 500 * 2e-5 = 0.01: just outside does not match, just inside does; below the reference too.
  ReferencePrecursorList reference =
      referenceOf({{1, 500.0, 2, 0.0}, {2, 500.0, 2, 0.0}, {3, 500.0, 2, 0.0}, {4, 500.0, 2, 0.0}});
  Candidates candidates;
  candidates.add(1, 2, 500.0101, 1.0);
  candidates.add(2, 2, 500.0099, 1.0);
  candidates.add(3, 2, 499.9899, 1.0);
  candidates.add(4, 2, 499.9901, 1.0);
  writeTrainingSamples(dir.folder(), true, reference, candidates.features, candidates.records);
  EXPECT_EQ(reference.found, (std::vector<std::int32_t>{0, 1, 0, 1}));
  EXPECT_EQ(readFile(dir.path() / "Positive.csv"), sampleLine(2, 1.0, 13.0) + sampleLine(4, 1.0, 13.0));
}

TEST(TrainingSamples, TablesAreCreatedEmptyWithoutOutputTrainingData) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 7.5}});
  Candidates candidates;
  candidates.add(10, 2, 500.25, 1.0);
  writeTrainingSamples(dir.folder(), false, reference, candidates.features, candidates.records);
  ASSERT_TRUE(fs::exists(dir.path() / "Positive.csv"));
  ASSERT_TRUE(fs::exists(dir.path() / "Negative.csv"));
  EXPECT_EQ(fs::file_size(dir.path() / "Positive.csv"), 0u);
  EXPECT_EQ(fs::file_size(dir.path() / "Negative.csv"), 0u);
  EXPECT_EQ(reference.found[0], 1);
}

TEST(TrainingSamples, NoCandidatesWritesNothing) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 7.5}});
  writeTrainingSamples(dir.folder(), true, reference, {}, {});
  EXPECT_FALSE(fs::exists(dir.path() / "Positive.csv"));
  EXPECT_FALSE(fs::exists(dir.path() / "Negative.csv"));
}

TEST(TrainingSamples, ReferenceMatchingNothingLeavesPositiveEmpty) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{99, 500.25, 2, 7.5}});
  Candidates candidates;
  candidates.add(10, 2, 500.25, 1.0);
  writeTrainingSamples(dir.folder(), true, reference, candidates.features, candidates.records);
  EXPECT_EQ(readFile(dir.path() / "Positive.csv"), "");
  EXPECT_EQ(readFile(dir.path() / "Negative.csv"), sampleLine(10, 1.0, 13.0));
}

TEST(TrainingSamples, SecondCallOverwritesTheFirst) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 7.5}});
  Candidates first;
  first.add(10, 2, 500.25, 1.0);
  first.add(11, 2, 600.0, 5.0);
  writeTrainingSamples(dir.folder(), true, reference, first.features, first.records);
  Candidates second;
  second.add(12, 2, 700.0, 9.0);
  writeTrainingSamples(dir.folder(), true, reference, second.features, second.records);
  EXPECT_EQ(readFile(dir.path() / "Positive.csv"), "");
  EXPECT_EQ(readFile(dir.path() / "Negative.csv"), sampleLine(12, 9.0, 21.0));
}

TEST(TrainingSamples, UnwritableFolderThrowsTheSameTextForBothFiles) {
  TempDir dir;
  ReferencePrecursorList reference = referenceOf({{10, 500.25, 2, 7.5}});
  Candidates candidates;
  candidates.add(10, 2, 500.25, 1.0);
  try {
    writeTrainingSamples(dir.folder() + "missing/", true, reference, candidates.features, candidates.records);
    FAIL() << "no failure thrown";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Can not open positive Sample file! Please Check your disk!");
  }
  // Negative.csv alone unwritable (a folder of that name) gives the same text.
  fs::create_directories(dir.path() / "Negative.csv");
  try {
    writeTrainingSamples(dir.folder(), true, reference, candidates.features, candidates.records);
    FAIL() << "no failure thrown";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Can not open positive Sample file! Please Check your disk!");
  }
}

TEST(ReferenceIndex, FirstMatchFollowsListOrderWithinAScan) {
  ReferencePrecursorList reference =
      referenceOf({{20, 400.0, 2, 0.0}, {10, 500.0, 3, 0.0}, {10, 500.0, 2, 0.0}, {10, 500.001, 2, 0.0}});
  const ReferenceIndex index = indexReferenceByScan(reference);
  EXPECT_EQ(firstMatchingEntry(reference, index, 10, 2, 500.0005), 2);
  EXPECT_EQ(firstMatchingEntry(reference, index, 10, 3, 500.0), 1);
  EXPECT_EQ(firstMatchingEntry(reference, index, 20, 2, 400.0), 0);
  EXPECT_EQ(firstMatchingEntry(reference, index, 15, 2, 500.0), -1);
  EXPECT_EQ(firstMatchingEntry(reference, index, 10, 4, 500.0), -1);
}

}  // namespace
}  // namespace corvid
