// Detection in the isolation window a scan's file states (isolation_from_file): an asymmetric
// window finds a precursor that sits only in its upper part and not one just above it.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "detection/candidate_detection.h"
#include "detection/ms1_peak_gathering.h"
#include "tests/detection/detection_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

constexpr std::int32_t kMs2Scan = 20;  // MS1 scans are numbered 1, 3, ..., 39
constexpr double kCenter = 500.0;
constexpr double kIsotopePattern[] = {1.0, 0.8, 0.45, 0.18, 0.06};

struct Planted {
  double mono;
  int charge;
};

double isotopeMz(const Planted& p, int k) { return p.mono + k * 1.003 / p.charge; }

// Twenty MS1 scans; the planted ions elute over scans 5..14 with the same isotope pattern.
MS1File plantedRun(const std::vector<Planted>& ions) {
  constexpr double kElution[] = {0.2, 0.35, 0.6, 0.85, 1.0, 0.9, 0.7, 0.5, 0.3, 0.22};
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 20; ++i) {
    std::vector<Peak> peaks;
    if (i >= 5 && i < 15) {
      for (const Planted& ion : ions) {
        for (int k = 0; k < 5; ++k) peaks.push_back({isotopeMz(ion, k), 1e6 * kIsotopePattern[k] * kElution[i - 5]});
      }
    }
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  }
  return testing::makeMs1File(scans);
}

void setPatternFor(const Planted& ion) {
  IsotopePattern& row = runIsotopeTable().rows[static_cast<std::size_t>(ion.charge * ion.mono - ion.charge * 1.007276)];
  for (std::size_t i = 0; i < 5; ++i) row[i] = kIsotopePattern[i];
}

class StatedIsolation : public ::testing::Test {
 protected:
  void SetUp() override { testing::resetIsotopeTable(); }
  void TearDown() override { testing::resetIsotopeTable(); }

  // The monoisotopic m/z values detection reports for the scan, with isolation_from_file on or off.
  std::vector<double> detected(bool fromFile, const corvid::StatedIsolation& stated) {
    for (const Planted& ion : ions_) setPatternFor(ion);
    const MS1File run = plantedRun(ions_);
    ParameterTable parameters = testing::defaultParameters();
    testing::setParameter(parameters, "isolation_from_file", fromFile ? "1" : "0");
    testing::Detection detection = testing::makeDetection(parameters, run);
    std::vector<Peak> gathered;
    testing::gatherMS1Peaks(detection, kMs2Scan, kCenter, gathered);
    corvid::detectCandidates(detection.input, detection.scratch, detection.output, kCenter, kMs2Scan, gathered, stated);
    std::vector<double> found;
    for (const PrecursorRecord& record : detection.output.records) found.push_back(record.mz);
    return found;
  }

  static bool holds(const std::vector<double>& found, double mono) {
    return std::any_of(found.begin(), found.end(), [mono](double mz) { return std::abs(mz - mono) < 0.01; });
  }

  // On the center, in the upper part of the stated window only, and just above it.
  const Planted atCenter_{500.0, 2};
  const Planted upperPart_{501.0, 2};
  const Planted justAbove_{501.62, 2};
  const std::vector<Planted> ions_{atCenter_, upperPart_, justAbove_};
};

TEST_F(StatedIsolation, AsymmetricWindowFindsThePrecursorInItsUpperPartOnly) {
  const std::vector<double> found = detected(true, {0.2, 1.5});
  EXPECT_TRUE(holds(found, atCenter_.mono));
  EXPECT_TRUE(holds(found, upperPart_.mono));
  EXPECT_FALSE(holds(found, justAbove_.mono));
}

TEST_F(StatedIsolation, FixedWidthMissesTheUpperPrecursor) {
  // isolation_width 2 ends 1 Th above the center: only the upper ion's first isotope is inside.
  const std::vector<double> found = detected(false, {0.2, 1.5});
  EXPECT_TRUE(holds(found, atCenter_.mono));
  EXPECT_FALSE(holds(found, upperPart_.mono));
  EXPECT_FALSE(holds(found, justAbove_.mono));
}

TEST_F(StatedIsolation, ScanWithoutStatedWindowKeepsTheIsolationWidth) {
  EXPECT_EQ(detected(true, {}), detected(false, {}));
  EXPECT_EQ(detected(false, {0.2, 1.5}), detected(false, {}));
}

}  // namespace
}  // namespace corvid
