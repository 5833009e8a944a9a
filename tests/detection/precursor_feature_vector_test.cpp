#include "detection/precursor_feature_vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "detection/detection_context.h"
#include "tests/detection/detection_test_support.h"

namespace corvid {
namespace {

TEST(PearsonCorrelation, ProportionalVectorsGiveOne) {
  const double x[5] = {1, 2, 3, 4, 5};
  const double y[5] = {2, 4, 6, 8, 10};
  EXPECT_NEAR(pearsonCorrelation(x, y, 5), 1.0, 1e-15);
  const double z[5] = {10, 8, 6, 4, 2};
  EXPECT_NEAR(pearsonCorrelation(x, z, 5), -1.0, 1e-15);
}

TEST(PearsonCorrelation, ConstantObservationGivesZero) {
  const double x[5] = {1.0, 0.8, 0.4, 0.15, 0.05};
  const double flat[5] = {0.25, 0.25, 0.25, 0.25, 0.25};
  const double zeros[5] = {0, 0, 0, 0, 0};
  EXPECT_EQ(pearsonCorrelation(x, flat, 5), 0.0);
  EXPECT_EQ(pearsonCorrelation(x, zeros, 5), 0.0);
  EXPECT_EQ(pearsonCorrelation(zeros, x, 5), 0.0);  // an unfilled table row
}

TEST(PearsonCorrelation, MatchesTheTwoPassFormulaOnRandomData) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> value(0.0, 1.0);
  for (int trial = 0; trial < 100; ++trial) {
    std::vector<double> x(7), y(7);
    for (std::size_t i = 0; i < 7; ++i) {
      x[i] = value(random);
      y[i] = value(random);
    }
    EXPECT_NEAR(pearsonCorrelation(x.data(), y.data(), 7), testing::textbookPearson(x, y), 1e-12);
  }
}

TEST(PearsonCorrelation, LengthIsTheTheoreticalVectorsLength) {
  const double x[6] = {0, 1.0, 0.8, 0.4, 0.15, 0.05};
  const double y[7] = {0.3, 0.5, 0.4, 0.2, 0.075, 0.025, 99.0};  // the 7th value is never read
  EXPECT_NEAR(pearsonCorrelation(x, y, 6),
              testing::textbookPearson({0, 1.0, 0.8, 0.4, 0.15, 0.05}, {0.3, 0.5, 0.4, 0.2, 0.075, 0.025}), 1e-12);
}

TEST(ElutionCosine, CosineOverGroupsOneToTen) {
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  profile[0 * 6 + 1] = 100.0;  // group 0 is not part of the elution profile
  double inner = 0.0, na = 0.0, nb = 0.0;
  for (int group = 1; group <= 10; ++group) {
    const double a = 0.1 * group;
    const double b = 1.0 / group;
    profile[group * 6 + 1] = a;
    profile[group * 6 + 2] = b;
    inner += a * b;
    na += a * a;
    nb += b * b;
  }
  EXPECT_NEAR(elutionCosine(profile.data(), 6, 1, 2), inner / std::sqrt(na * nb), 1e-15);
}

TEST(ElutionCosine, NoIntensityGivesZero) {
  std::vector<double> profile(kIsotopeProfileSize, 0.0);
  for (int group = 1; group <= 10; ++group) profile[group * 6 + 1] = 1.0;
  EXPECT_EQ(elutionCosine(profile.data(), 6, 0, 1), 0.0);
}

TEST(MzSpread, NoPeakWithinTwentyPpmGivesZero) {
  const std::vector<Peak> peaks = {{499.9, 10.0}, {500.02, 10.0}};
  EXPECT_EQ(mzSpread(peaks, 500.0), 0.0);
  EXPECT_EQ(mzSpread({}, 500.0), 0.0);
}

TEST(MzSpread, WeightedStandardDeviationInPpm) {
  const double mz = 500.0;
  // Two equal peaks 0.002 Th either side: standard deviation 0.002 Th = 4 ppm.
  const std::vector<Peak> peaks = {{499.95, 5.0}, {mz - 0.002, 3.0}, {mz + 0.002, 3.0}, {500.5, 1.0}};
  // The one-pass variance loses about 1e-5 ppm to cancellation at this m/z.
  EXPECT_NEAR(mzSpread(peaks, mz), 4.0, 1e-4);
  // Bounds are inclusive: 500 * 2e-5 = 0.01.
  const std::vector<Peak> edge = {{mz - mz * 2e-5, 1.0}, {mz + mz * 2e-5, 1.0}};
  EXPECT_NEAR(mzSpread(edge, mz), 20.0, 1e-4);
}

}  // namespace
}  // namespace corvid
