#include "detection/candidate_ranking.h"

#include <gtest/gtest.h>

#include "tests/detection/detection_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

RankingRow row(double maxSim, double spread, double monoPlusOne, double share, double minusOneMono, double pif,
               double position) {
  RankingRow r{};
  r[2] = maxSim;
  r[3] = spread;
  r[4] = monoPlusOne;
  r[5] = share;
  r[6] = minusOneMono;
  r[7] = pif;
  r[8] = position;
  return r;
}

TEST(RankCandidateRows, DenseRanksInTheDirectionOfEachValue) {
  std::vector<RankingRow> rows = {row(0.9, 3.0, 0.5, 0.7, 0.2, 0.3, 1), row(0.95, 1.0, 0.5, 0.9, 0.1, 0.6, 2),
                                  row(0.9, 2.0, 0.8, 0.8, 0.3, 0.1, 3)};
  rankCandidateRows(rows);
  // Row 2: MaxSim rank 1, spread 1, cosine 2 (0.5 ties with row 1), share 1, M-1/M 1, PIF 1.
  // Product r9^3 r11 r13 r14^3: row 2 = 1*2*1*1 = 2, row 1 = 8*2*2*8 = 256, row 3 = 8*1*3*27 = 648.
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0][8], 2.0);
  EXPECT_EQ(rows[1][8], 1.0);
  EXPECT_EQ(rows[2][8], 3.0);
  EXPECT_EQ(rows[0][9], 1.0);
  EXPECT_EQ(rows[0][10], 1.0);
  EXPECT_EQ(rows[0][11], 2.0);
  EXPECT_EQ(rows[0][12], 1.0);
  EXPECT_EQ(rows[0][13], 1.0);
  EXPECT_EQ(rows[0][14], 1.0);
  EXPECT_EQ(rows[0][15], 2.0);
  EXPECT_EQ(rows[1][15], 256.0);
  EXPECT_EQ(rows[2][15], 648.0);
  EXPECT_EQ(rows[2][9], 2.0);   // 0.9 shares rank 2 with row 1
  EXPECT_EQ(rows[2][10], 2.0);  // spread 2.0: ascending ranks 1.0 -> 1, 2.0 -> 2, 3.0 -> 3
}

TEST(RankCandidateRows, SpreadAndShareRanksStayOutOfTheProduct) {
  std::vector<RankingRow> rows = {row(0.9, 9.0, 0.5, 0.1, 0.5, 0.5, 1), row(0.9, 1.0, 0.5, 0.9, 0.5, 0.5, 2)};
  rankCandidateRows(rows);
  EXPECT_EQ(rows[0][15], 1.0);
  EXPECT_EQ(rows[1][15], 1.0);
}

PrecursorCandidate candidate(double mz, double maxSim, double pif) {
  PrecursorCandidate c;
  c.features.assign(kDetectedFeatureCount, 0.5);
  c.features[kFeatureMaxSim] = maxSim;
  c.features[kFeaturePif] = pif;
  c.record = {7.0, 2.0, mz};
  return c;
}

TEST(FinishScanCandidates, WithoutRankingDetectionOrderIsKept) {
  const MS1File file;
  testing::Detection detection = testing::makeDetection(testing::defaultParameters(), file);
  detection.output.records.push_back({1.0, 2.0, 300.0});
  detection.output.features.push_back(PrecursorFeatures(kDetectedFeatureCount, 0.0));
  detection.scratch.scanCandidates = {candidate(400.0, 0.6, 0.2), candidate(401.0, 0.9, 0.9)};
  EXPECT_EQ(finishScanCandidates(detection.input.settings, detection.scratch, detection.output), 2u);
  ASSERT_EQ(detection.output.records.size(), 3u);
  EXPECT_EQ(detection.output.records[1].mz, 400.0);
  EXPECT_EQ(detection.output.records[2].mz, 401.0);
  EXPECT_EQ(detection.output.features[2][kFeatureMaxSim], 0.9);
  EXPECT_EQ(detection.output.exportedPrecursorCount, 2);
}

TEST(FinishScanCandidates, CoEluteZeroKeepsTheBestRankedOnly) {
  const MS1File file;
  ParameterTable parameters = testing::defaultParameters();
  testing::setParameter(parameters, "co-elute", "0");
  testing::Detection detection = testing::makeDetection(parameters, file);
  detection.output.records.push_back({1.0, 2.0, 300.0});
  detection.output.features.push_back(PrecursorFeatures(kDetectedFeatureCount, 0.0));
  detection.scratch.scanCandidates = {candidate(400.0, 0.6, 0.2), candidate(401.0, 0.9, 0.9),
                                      candidate(402.0, 0.7, 0.1)};
  EXPECT_EQ(finishScanCandidates(detection.input.settings, detection.scratch, detection.output), 1u);
  ASSERT_EQ(detection.output.records.size(), 2u);
  EXPECT_EQ(detection.output.records[1].mz, 401.0);
  EXPECT_EQ(detection.output.features.size(), 2u);
  EXPECT_EQ(detection.output.features[1][kFeaturePif], 0.9);
  EXPECT_EQ(detection.output.exportedPrecursorCount, 1);
}

TEST(FinishScanCandidates, SvmLightKeepsSixRanked) {
  const MS1File file;
  ParameterTable parameters = testing::defaultParameters();
  testing::setParameter(parameters, "outputsvmlight", "1");
  testing::Detection detection = testing::makeDetection(parameters, file);
  for (int i = 0; i < 8; ++i) {
    detection.scratch.scanCandidates.push_back(candidate(400.0 + i, 0.5 + 0.05 * i, 0.1 + 0.1 * i));
  }
  EXPECT_EQ(finishScanCandidates(detection.input.settings, detection.scratch, detection.output), 6u);
  ASSERT_EQ(detection.output.records.size(), 6u);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(detection.output.records[static_cast<std::size_t>(i)].mz, 407.0 - i);
  EXPECT_EQ(detection.output.exportedPrecursorCount, 6);
}

TEST(FinishScanCandidates, DefaultLimitIsOneThousand) {
  const MS1File file;
  testing::Detection detection = testing::makeDetection(testing::defaultParameters(), file);
  for (int i = 0; i < 1005; ++i) detection.scratch.scanCandidates.push_back(candidate(400.0 + i, 0.6, 0.5));
  EXPECT_EQ(finishScanCandidates(detection.input.settings, detection.scratch, detection.output), 1000u);
  EXPECT_EQ(detection.output.records.size(), 1000u);
  EXPECT_EQ(detection.output.records.back().mz, 1399.0);
  EXPECT_EQ(detection.output.exportedPrecursorCount, 1000);
}

}  // namespace
}  // namespace corvid
