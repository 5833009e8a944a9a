// Synthetic MS1 runs with planted isotope envelopes: the expected feature values are computed
// here from the planted intensities and the definitions, without the production helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "detection/candidate_detection.h"
#include "detection/ms1_peak_gathering.h"
#include "tests/detection/detection_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using testing::defaultParameters;

constexpr int kRows = 10;
constexpr int kScans = 20;
constexpr int kFirstRowScan = 5;     // MS1 index of grid row 0 (related scan index 9 = row 4)
constexpr std::int32_t kMs2Scan = 20;  // MS1 scans are numbered 1, 3, ..., 39

// Elution of the monoisotopic peak over the ten rows (with a dip at row 6) and of the others.
constexpr double kElution[kRows] = {0.2, 0.35, 0.6, 0.85, 1.0, 0.9, 0.5, 0.55, 0.3, 0.22};
double laterElution(int row) { return kElution[row] * (1.0 + 0.05 * (row - 4.5) / 4.5); }
// m/z jitter of the monoisotopic peak per row (the related row stays exact).
constexpr double kJitter[kRows] = {0.0015, -0.001, 0.0005, -0.0005, 0.0, 0.001, -0.0015, 0.0008, -0.0008, 0.0012};

struct Envelope {
  double mono = 0.0;
  int charge = 2;
  std::vector<double> abundance;  // isotopes 0, 1, ...
  double scale = 1e6;
  double minusOne = 0.0;          // abundance of a peak one spacing below, 0 for none
};

double isotopeMz(const Envelope& e, int k) { return e.mono + k * 1.003 / e.charge; }

// Planted intensity of isotope k (-1 .. 4) in grid row r.
double planted(const Envelope& e, int row, int k) {
  if (k == -1) return e.minusOne * e.scale * laterElution(row);
  if (k >= static_cast<int>(e.abundance.size())) return 0.0;
  return e.abundance[static_cast<std::size_t>(k)] * e.scale * (k == 0 ? kElution[row] : laterElution(row));
}

double plantedMz(const Envelope& e, int row, int k) { return isotopeMz(e, k) + (k == 0 ? kJitter[row] : 0.0); }

MS1File plantedFile(const std::vector<Envelope>& envelopes) {
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < kScans; ++i) {
    std::vector<Peak> peaks;
    const int row = i - kFirstRowScan;
    if (row >= 0 && row < kRows) {
      for (const Envelope& e : envelopes) {
        for (int k = -1; k < static_cast<int>(e.abundance.size()); ++k) {
          const double intensity = planted(e, row, k);
          if (intensity > 0.0) peaks.push_back({plantedMz(e, row, k), intensity});
        }
      }
    }
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  }
  return testing::makeMs1File(scans);
}

double cosine(const std::vector<double>& a, const std::vector<double>& b) {
  double inner = 0.0, na = 0.0, nb = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    inner += a[i] * b[i];
    na += a[i] * a[i];
    nb += b[i] * b[i];
  }
  return inner == 0.0 ? 0.0 : inner / std::sqrt(na * nb);
}

struct Expected {
  double maxSim = -1.0;
  int bestGroup = 0;
  double shiftedOne = -1.0;
  double shiftedTwo = -1.0;
  double share = 0.0;
  double monoPlusOne = 0.0;
  double minusOneMono = 0.0;
  double spread = 0.0;
  double recalibrated = 0.0;
  double pif = 0.0;
  int isoLen = 0;
  int inWindow = 0;
  double boundary = 0.0;
};

// Valleys of a ten-value elution profile by the rule "left not lower, right strictly higher".
std::vector<int> elutionValleys(const std::vector<double>& v) {
  std::vector<int> out;
  for (int i = 1; i + 1 < static_cast<int>(v.size()); ++i) {
    if (v[static_cast<std::size_t>(i) - 1] >= v[static_cast<std::size_t>(i)] &&
        v[static_cast<std::size_t>(i)] < v[static_cast<std::size_t>(i) + 1]) {
      out.push_back(i);
    }
  }
  return out;
}

// Expectations for one envelope when the gathered peaks are those of the related row only.
// Assumes no other envelope touches its isotope positions and that no valley cut applies.
Expected expectFor(const Envelope& e, const std::vector<double>& table, const std::vector<Envelope>& all,
                   double center, double width) {
  Expected x;
  double total66 = 0.0;
  for (int r = 0; r < kRows; ++r) {
    for (int k = -1; k <= 4; ++k) total66 += planted(e, r, k);
  }
  std::vector<double> mono(kRows), plusOne(kRows), minusOne(kRows);
  for (int r = 0; r < kRows; ++r) {
    std::vector<double> observed(5), withMinus(6), withTwo(7, 0.0);
    for (int k = 0; k <= 4; ++k) observed[static_cast<std::size_t>(k)] = planted(e, r, k) / total66;
    withMinus[0] = planted(e, r, -1) / total66;
    for (int k = 0; k <= 4; ++k) withMinus[static_cast<std::size_t>(k) + 1] = observed[static_cast<std::size_t>(k)];
    for (int k = 0; k < 6; ++k) withTwo[static_cast<std::size_t>(k) + 1] = withMinus[static_cast<std::size_t>(k)];
    const double r0 = testing::textbookPearson(table, observed);
    if (r0 > x.maxSim + 1e-12) {
      x.maxSim = r0;
      x.bestGroup = r + 1;
    }
    std::vector<double> one = {0.0};
    one.insert(one.end(), table.begin(), table.end());
    std::vector<double> two = {0.0, 0.0};
    two.insert(two.end(), table.begin(), table.end());
    x.shiftedOne = std::max(x.shiftedOne, testing::textbookPearson(one, withMinus));
    x.shiftedTwo = std::max(x.shiftedTwo, testing::textbookPearson(two, withTwo));
    for (const double v : observed) x.share += v;
    mono[static_cast<std::size_t>(r)] = observed[0];
    plusOne[static_cast<std::size_t>(r)] = observed[1];
    minusOne[static_cast<std::size_t>(r)] = withMinus[0];
  }
  // Group 0 is empty and correlates 0; the other rows' values are compared with it.
  x.maxSim = std::max(x.maxSim, 0.0);
  x.shiftedOne = std::max(x.shiftedOne, 0.0);
  x.shiftedTwo = std::max(x.shiftedTwo, 0.0);
  x.monoPlusOne = cosine(mono, plusOne);
  x.minusOneMono = cosine(minusOne, mono);

  // Spread and recalibration over the ten rows' monoisotopic peaks.
  double s = 0.0, weighted = 0.0;
  for (int r = 0; r < kRows; ++r) {
    s += planted(e, r, 0);
    weighted += planted(e, r, 0) * plantedMz(e, r, 0);
  }
  const double mean = weighted / s;
  double variance = 0.0;
  for (int r = 0; r < kRows; ++r) variance += planted(e, r, 0) * std::pow(plantedMz(e, r, 0) - mean, 2);
  x.spread = std::sqrt(variance / s) / e.mono * 1e6;
  x.recalibrated = mean;

  x.isoLen = std::min<int>(5, static_cast<int>(e.abundance.size()));
  const double tolerance = center * 2e-5;
  for (int k = 0; k < x.isoLen; ++k) {
    const double m = isotopeMz(e, k);
    if (center - width / 2 - 0.05 < m && m < center + width / 2 + 0.05) ++x.inWindow;
  }
  double total = 0.0, matched = 0.0;
  for (const Envelope& other : all) {
    for (int k = -1; k < static_cast<int>(other.abundance.size()); ++k) {
      const double m = plantedMz(other, 4, k);
      const double intensity = planted(other, 4, k);
      if (intensity <= 0.0) continue;
      if (m >= center - width / 2 && m <= center + width / 2) total += intensity;
      if (m > center - width / 2 && m < center + width / 2) {
        for (int j = 0; j < x.isoLen; ++j) {
          if (std::fabs(isotopeMz(e, j) - m) < tolerance) matched += intensity;
        }
      }
    }
  }
  x.pif = matched / total * width * 0.5;

  // Boundary count from the valleys of the M and M+1 elution profiles around the best row.
  int lowest = 99, highest = -1;
  for (const auto* profile : {&mono, &plusOne}) {
    int lower = 0, upper = 9;
    for (const int v : elutionValleys(*profile)) {
      if (v <= x.bestGroup) {
        lower = v;
      } else {
        upper = v;
        break;
      }
    }
    lowest = std::min(lowest, lower);
    highest = std::max(highest, upper);
  }
  x.boundary = highest - lowest;
  return x;
}

double neutralMass(const Envelope& e) { return e.charge * e.mono - e.charge * 1.007276; }

void setTableRow(const Envelope& e, const std::vector<double>& values) {
  IsotopePattern& row = runIsotopeTable().rows[static_cast<std::size_t>(neutralMass(e))];
  for (std::size_t i = 0; i < 5; ++i) row[i] = values[i];
}

void expectFeatures(const PrecursorFeatures& f, const PrecursorRecord& record, const Envelope& e, const Expected& x) {
  ASSERT_EQ(f.size(), kDetectedFeatureCount);
  EXPECT_EQ(f[kFeatureCharge], e.charge);
  EXPECT_NEAR(f[kFeatureMaxSim], x.maxSim, 1e-9);
  EXPECT_NEAR(f[kFeatureMzSpread], x.spread, 1e-3);
  EXPECT_NEAR(f[kFeatureMonoPlusOneCosine], x.monoPlusOne, 1e-12);
  EXPECT_NEAR(f[kFeatureIsotopeShare], x.share, 1e-12);
  EXPECT_NEAR(f[kFeatureMinusOneMonoCosine], x.minusOneMono, 1e-12);
  EXPECT_EQ(f[kFeatureIsoPeakInWindow], x.inWindow);
  EXPECT_EQ(f[kFeatureIsoLen], x.isoLen);
  EXPECT_DOUBLE_EQ(f[kFeatureChargeTimesMz], e.charge * e.mono);
  EXPECT_EQ(f[kFeatureElutionBoundaryCount], x.boundary);
  EXPECT_NEAR(f[kFeaturePif], x.pif, 1e-12);
  EXPECT_NEAR(f[kFeatureShiftedSimilarityOne], x.shiftedOne, 1e-9);
  EXPECT_NEAR(f[kFeatureShiftedSimilarityTwo], x.shiftedTwo, 1e-9);
  EXPECT_EQ(record.scan, kMs2Scan);
  EXPECT_EQ(record.charge, e.charge);
  EXPECT_NEAR(record.mz, x.recalibrated, 1e-10);
}

void runScan(testing::Detection& detection, double center) {
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, kMs2Scan, center, gathered);
  detectCandidates(detection, center, kMs2Scan, gathered);
}

class PlantedEnvelope : public ::testing::Test {
 protected:
  void SetUp() override { testing::resetIsotopeTable(); }
  void TearDown() override { testing::resetIsotopeTable(); }
};

void checkSingleEnvelope(const Envelope& e, const std::vector<double>& table) {
  setTableRow(e, table);
  const MS1File file = plantedFile({e});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  // The activation center sits on isotope 1: only the related scan is gathered.
  const double center = isotopeMz(e, 1);
  runScan(detection, center);
  ASSERT_EQ(detection.output.features.size(), 1u);
  ASSERT_EQ(detection.output.records.size(), 1u);
  const Expected x = expectFor(e, table, {e}, center, 2.0);
  expectFeatures(detection.output.features[0], detection.output.records[0], e, x);
  EXPECT_EQ(detection.output.exportedPrecursorCount, 1);
}

TEST_F(PlantedEnvelope, ChargeTwoFeaturesMatchTheirDefinitions) {
  checkSingleEnvelope({600.3, 2, {1.0, 0.8, 0.45, 0.18, 0.06}, 1e6, 0.0}, {1.0, 0.75, 0.4, 0.16, 0.05});
}

TEST_F(PlantedEnvelope, ChargeThreeFeaturesMatchTheirDefinitions) {
  checkSingleEnvelope({733.41, 3, {0.7, 0.9, 0.6, 0.28, 0.1}, 3e5, 0.0}, {0.72, 0.9, 0.58, 0.3, 0.11});
}

TEST_F(PlantedEnvelope, ChargeFourFeaturesMatchTheirDefinitions) {
  checkSingleEnvelope({700.2, 4, {0.5, 0.9, 0.75, 0.45, 0.2}, 5e6, 0.0}, {0.52, 0.88, 0.78, 0.42, 0.22});
}

TEST_F(PlantedEnvelope, MinusOnePeakGivesTheMinusOneCosine) {
  // A small peak one spacing below correlates with M over the elution.
  checkSingleEnvelope({600.3, 2, {1.0, 0.8, 0.45, 0.18, 0.06}, 1e6, 0.1}, {1.0, 0.75, 0.4, 0.16, 0.05});
}

const Envelope kEnvelopeA{600.3, 2, {1.0, 0.8, 0.45, 0.18, 0.06}, 1e6, 0.0};
const Envelope kEnvelopeB{601.0, 3, {0.7, 0.9, 0.6, 0.28, 0.1}, 2e6, 0.0};
const std::vector<double> kTableA{1.0, 0.6, 0.2, 0.3, 0.05};  // a poorer match
const std::vector<double> kTableB{0.72, 0.9, 0.58, 0.3, 0.11};

TEST_F(PlantedEnvelope, CoElutingEnvelopesGiveTwoCandidatesInDetectionOrder) {
  setTableRow(kEnvelopeA, kTableA);
  setTableRow(kEnvelopeB, kTableB);
  const MS1File file = plantedFile({kEnvelopeA, kEnvelopeB});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  const double center = isotopeMz(kEnvelopeA, 1);
  runScan(detection, center);
  ASSERT_EQ(detection.output.records.size(), 2u);
  expectFeatures(detection.output.features[0], detection.output.records[0], kEnvelopeA,
                 expectFor(kEnvelopeA, kTableA, {kEnvelopeA, kEnvelopeB}, center, 2.0));
  expectFeatures(detection.output.features[1], detection.output.records[1], kEnvelopeB,
                 expectFor(kEnvelopeB, kTableB, {kEnvelopeA, kEnvelopeB}, center, 2.0));
  EXPECT_EQ(detection.output.exportedPrecursorCount, 2);
}

TEST_F(PlantedEnvelope, RankingPutsTheBetterCoElutingEnvelopeFirst) {
  setTableRow(kEnvelopeA, kTableA);
  setTableRow(kEnvelopeB, kTableB);
  const MS1File file = plantedFile({kEnvelopeA, kEnvelopeB});
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "outputsvmlight", "1");
  testing::Detection detection = testing::makeDetection(parameters, file);
  const double center = isotopeMz(kEnvelopeA, 1);
  runScan(detection, center);
  const Expected a = expectFor(kEnvelopeA, kTableA, {kEnvelopeA, kEnvelopeB}, center, 2.0);
  const Expected b = expectFor(kEnvelopeB, kTableB, {kEnvelopeA, kEnvelopeB}, center, 2.0);
  // B correlates better with its pattern and carries more of the window.
  ASSERT_GT(b.maxSim, a.maxSim);
  ASSERT_GT(b.pif, a.pif);
  ASSERT_EQ(detection.output.records.size(), 2u);
  EXPECT_EQ(detection.output.records[0].charge, 3.0);
  EXPECT_EQ(detection.output.records[1].charge, 2.0);
  expectFeatures(detection.output.features[0], detection.output.records[0], kEnvelopeB, b);
  expectFeatures(detection.output.features[1], detection.output.records[1], kEnvelopeA, a);
}

TEST_F(PlantedEnvelope, CoEluteZeroTriesOnlyPairsCoveringTheCenter) {
  setTableRow(kEnvelopeA, kTableA);
  setTableRow(kEnvelopeB, kTableB);
  const MS1File file = plantedFile({kEnvelopeA, kEnvelopeB});
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "co-elute", "0");
  {
    // Center on A's second isotope: B never reaches it, so A is the one candidate.
    testing::Detection detection = testing::makeDetection(parameters, file);
    runScan(detection, isotopeMz(kEnvelopeA, 1));
    ASSERT_EQ(detection.output.records.size(), 1u);
    EXPECT_EQ(detection.output.records[0].charge, 2.0);
    EXPECT_EQ(detection.output.exportedPrecursorCount, 1);
  }
  {
    testing::Detection detection = testing::makeDetection(parameters, file);
    runScan(detection, kEnvelopeB.mono);
    ASSERT_EQ(detection.output.records.size(), 1u);
    EXPECT_EQ(detection.output.records[0].charge, 3.0);
  }
}

TEST_F(PlantedEnvelope, CoEluteZeroExportsTheBestRankedOfSeveralCoveringPairs) {
  // B sits on the center; A (three isotopes) covers it with its empty fourth isotope position.
  const double center = 601.303;
  const Envelope a{center - 3.009 / 2, 2, {0.5, 1.0, 0.7}, 1e6, 0.0};
  const Envelope b{center, 3, {0.7, 0.9, 0.6, 0.28, 0.1}, 2e6, 0.0};
  setTableRow(a, {0.45, 1.0, 0.9, 0.1, 0.05});
  setTableRow(b, kTableB);
  const MS1File file = plantedFile({a, b});

  testing::Detection both = testing::makeDetection(defaultParameters(), file);
  runScan(both, center);
  ASSERT_EQ(both.output.records.size(), 2u);
  EXPECT_EQ(both.output.records[0].charge, 2.0);  // detection order: A starts lower
  ASSERT_GT(both.output.features[1][kFeatureMaxSim], both.output.features[0][kFeatureMaxSim]);
  ASSERT_GT(both.output.features[1][kFeaturePif], both.output.features[0][kFeaturePif]);

  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "co-elute", "0");
  testing::Detection single = testing::makeDetection(parameters, file);
  runScan(single, center);
  ASSERT_EQ(single.output.records.size(), 1u);
  EXPECT_EQ(single.output.records[0].charge, 3.0);
  EXPECT_EQ(single.output.features[0], both.output.features[1]);
  EXPECT_EQ(single.output.exportedPrecursorCount, 1);
}

}  // namespace
}  // namespace corvid
