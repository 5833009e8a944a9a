// Sorted searches against the linear walks they replace, on random data with fixed seeds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <unistd.h>

#include "detection/candidate_detection.h"
#include "detection/ms1_peak_gathering.h"
#include "detection/precursor_feature_vector.h"
#include "tests/detection/detection_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

std::vector<Peak> randomAscendingPeaks(std::mt19937& random, std::size_t count, double low, double high) {
  std::uniform_real_distribution<double> mz(low, high);
  std::uniform_real_distribution<double> intensity(1.0, 1000.0);
  std::vector<Peak> peaks(count);
  for (Peak& peak : peaks) peak = {mz(random), intensity(random)};
  // Some exact duplicates, as three scans' peaks of one ion can be.
  for (std::size_t i = 0; i + 1 < peaks.size(); i += 7) peaks[i + 1].mz = peaks[i].mz;
  std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
  return peaks;
}

TEST(SortedSearch, RecalibratedMzMatchesTheLinearWalk) {
  std::mt19937 random(2024);
  const MS1File file;
  testing::Detection detection = testing::makeDetection(testing::defaultParameters(), file);
  for (int trial = 0; trial < 200; ++trial) {
    detection.scratch.contextPeaks = randomAscendingPeaks(random, 200, 600.0, 600.2);
    const double mz = detection.scratch.contextPeaks[random() % 200].mz;
    const double window = mz * 7.0 * 1e-6;
    double weighted = 0.0, sum = 0.0;
    for (const Peak& peak : detection.scratch.contextPeaks) {
      if (peak.mz > mz + window) break;
      if (peak.mz >= mz - window) {
        weighted += peak.mz * peak.intensity;
        sum += peak.intensity;
      }
    }
    ASSERT_EQ(recalibratedMz(detection.input, detection.scratch, mz), sum == 0.0 ? mz : weighted / sum);
  }
}

TEST(SortedSearch, MzSpreadMatchesTheLinearWalk) {
  std::mt19937 random(99);
  for (int trial = 0; trial < 200; ++trial) {
    const std::vector<Peak> peaks = randomAscendingPeaks(random, 100, 700.0, 700.1);
    const double mz = 700.0 + 0.1 * (random() % 1000) / 1000.0;
    double s = 0.0, a = 0.0, b = 0.0;
    for (const Peak& peak : peaks) {
      if (peak.mz >= mz - mz * 2e-5 && peak.mz <= mz + mz * 2e-5) {
        s += peak.intensity;
        a += peak.intensity * peak.mz;
        b += peak.intensity * peak.mz * peak.mz;
      }
    }
    const double expected = std::fabs(s) < 1e-11 ? 0.0 : std::sqrt(std::fabs(b / s - (a / s) * (a / s))) / mz * 1e6;
    ASSERT_EQ(mzSpread(peaks, mz), expected);
  }
}

// A run of random MS1 scans with random charge-2..4 envelopes around a few centers.
MS1File randomRun(std::mt19937& random) {
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 30; ++i) {
    std::vector<Peak> peaks = randomAscendingPeaks(random, 60, 495.0, 505.0);
    for (int e = 0; e < 4; ++e) {
      const int charge = 2 + static_cast<int>(random() % 3);
      const double mono = 497.0 + 6.0 * unit(random);
      const double height = 2000.0 * unit(random);
      for (int k = 0; k < 5; ++k) peaks.push_back({mono + k * 1.003 / charge, height * (1.0 - 0.18 * k)});
    }
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  }
  return testing::makeMs1File(scans);
}

TEST(SortedSearch, QuickRejectionGivesTheSameCandidatesAsTheFullMeasurement) {
  // With traces on every pair is measured in full; without, pairs that cannot pass are skipped
  // early. Both must accept the same candidates with the same features.
  std::mt19937 random(7);
  testing::resetIsotopeTable();
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (IsotopePattern& row : runIsotopeTable().rows) {
    row = {1.0, 0.6 + 0.4 * unit(random), 0.3 + 0.3 * unit(random), 0.1 + 0.2 * unit(random), 0.05};
  }
  const testing::TempDir folder;
  std::size_t accepted = 0;
  for (int trial = 0; trial < 20; ++trial) {
    const MS1File file = randomRun(random);
    ParameterTable quick = testing::defaultParameters();
    ParameterTable full = quick;
    testing::setParameter(full, "debug_mode", "1");
    testing::setParameter(full, "datapath", folder.folder());
    testing::Detection quickDetection = testing::makeDetection(quick, file);
    testing::Detection fullDetection = testing::makeDetection(full, file);
    for (int scan = 0; scan < 10; ++scan) {
      const double center = 498.0 + 4.0 * unit(random);
      const auto ms2 = static_cast<std::int32_t>(8 + 2 * (random() % 20));
      std::vector<Peak> gathered;
      gatherMS1Peaks(quickDetection, ms2, center, gathered);
      detectCandidates(quickDetection, center, ms2, gathered);
      testing::StdoutRedirect capture;
      gatherMS1Peaks(fullDetection, ms2, center, gathered);
      detectCandidates(fullDetection, center, ms2, gathered);
    }
    ASSERT_EQ(quickDetection.output.features, fullDetection.output.features) << "trial " << trial;
    ASSERT_EQ(quickDetection.output.records.size(), fullDetection.output.records.size());
    for (std::size_t i = 0; i < quickDetection.output.records.size(); ++i) {
      ASSERT_EQ(quickDetection.output.records[i].mz, fullDetection.output.records[i].mz);
      ASSERT_EQ(quickDetection.output.records[i].charge, fullDetection.output.records[i].charge);
    }
    accepted += quickDetection.output.records.size();
  }
  testing::resetIsotopeTable();
  EXPECT_GT(accepted, 20u);  // the comparison covered real candidates
}

}  // namespace
}  // namespace corvid
