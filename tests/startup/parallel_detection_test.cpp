// Detection on several threads gives exactly what one thread gives: the same candidates, features
// and counts in the same order, for any thread count.
#include "startup/parallel_detection.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "tests/detection/detection_test_support.h"

namespace corvid {
namespace {

// An MS1 run with isotope envelopes of random peptides eluting over several scans, plus noise,
// and MS2 tasks centred on envelope peaks or anywhere.
struct RandomRun {
  MS1File ms1;
  std::vector<ScanTask> tasks;
};

RandomRun randomRun(unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  RandomRun run;
  std::vector<MS1Spectrum> scans;
  std::vector<std::pair<double, int>> envelopes;
  for (int i = 0; i < 60; ++i) envelopes.push_back({400.0 + 900.0 * unit(random), 1 + static_cast<int>(random() % 4)});
  for (std::uint32_t s = 0; s < 40; ++s) {
    std::vector<Peak> peaks;
    for (const auto& [mz, charge] : envelopes) {
      const double height = 1e5 * (0.2 + unit(random));
      for (int k = 0; k < 4; ++k) peaks.push_back({mz + k * 1.00335 / charge, height / (1 + k)});
    }
    for (int n = 0; n < 300; ++n) peaks.push_back({350.0 + 1000.0 * unit(random), 500.0 * unit(random)});
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(testing::makeScan(1 + s * 11, std::move(peaks)));
  }
  run.ms1 = testing::makeMs1File(std::move(scans));
  for (std::uint32_t t = 0; t < 400; ++t) {
    const std::uint32_t scan = 2 + (t / 10) * 11 + t % 10;
    const auto& envelope = envelopes[random() % envelopes.size()];
    run.tasks.push_back({scan, unit(random) < 0.8 ? envelope.first + 0.2 : 400.0 + 900.0 * unit(random)});
  }
  return run;
}

DetectionContext detected(const RandomRun& run, unsigned threads) {
  DetectionContext context = makeDetectionContext(testing::defaultParameters(), run.ms1);
  detectScans(context, run.tasks, threads);
  return context;
}

class ParallelDetection : public ::testing::Test {
 protected:
  void SetUp() override {
    loadIsotopePatternTable(std::string(CORVID_SOURCE_DIR) + "/data/IPV.txt", runIsotopeTable());
  }
};

TEST_F(ParallelDetection, AnyThreadCountGivesTheSingleThreadResult) {
  for (unsigned seed : {1u, 2u, 3u}) {
    const RandomRun run = randomRun(seed);
    const DetectionContext one = detected(run, 1);
    ASSERT_GT(one.records.size(), 100u) << "too few candidates for the comparison to mean anything";
    for (unsigned threads : {2u, 3u, 8u, 64u}) {
      const DetectionContext many = detected(run, threads);
      ASSERT_EQ(many.records.size(), one.records.size()) << threads;
      for (std::size_t i = 0; i < one.records.size(); ++i) {
        EXPECT_EQ(many.records[i].scan, one.records[i].scan);
        EXPECT_EQ(many.records[i].charge, one.records[i].charge);
        EXPECT_EQ(many.records[i].mz, one.records[i].mz);
      }
      EXPECT_EQ(many.features, one.features) << threads;
      EXPECT_EQ(many.exportedPrecursorCount, one.exportedPrecursorCount) << threads;
    }
  }
}

TEST_F(ParallelDetection, CandidatesAppendToWhatTheContextHolds) {
  const RandomRun run = randomRun(4);
  DetectionContext context = makeDetectionContext(testing::defaultParameters(), run.ms1);
  context.records.push_back({1, 2, 3.0});
  context.features.push_back({9.0});
  detectScans(context, run.tasks, 4);
  ASSERT_GT(context.records.size(), 1u);
  EXPECT_EQ(context.records.front().mz, 3.0);
  EXPECT_EQ(context.features.front(), PrecursorFeatures{9.0});
  EXPECT_EQ(context.records.size(), detected(run, 1).records.size() + 1);
}

TEST_F(ParallelDetection, NoTasksNoCandidates) {
  const RandomRun run = randomRun(5);
  DetectionContext context = makeDetectionContext(testing::defaultParameters(), run.ms1);
  detectScans(context, {}, 8);
  EXPECT_TRUE(context.records.empty());
}

TEST(ThreadCount, PositiveAsGivenOtherwiseEveryCore) {
  EXPECT_EQ(threadCountFor(1), 1u);
  EXPECT_EQ(threadCountFor(7), 7u);
  const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
  EXPECT_EQ(threadCountFor(0), cores);
  EXPECT_EQ(threadCountFor(-3), cores);
}

}  // namespace
}  // namespace corvid
