// The QC report's figures on planted rows: every correction class, the counts per scan, the
// thinning of the scatter plot and the retention-time bins.
#include "scoring/qc_figures.h"

#include <gtest/gtest.h>

#include <cmath>

namespace corvid {
namespace {

QcPrecursorRow ownRow(std::uint32_t scan, double recordedMz, int recordedCharge, double mz, int charge, int rank = 1) {
  QcPrecursorRow row;
  row.scan = scan;
  row.retentionTime = 60.0 * scan;
  row.activation = "HCD";
  row.analyzer = "FT";
  row.recordedMz = recordedMz;
  row.recordedCharge = recordedCharge;
  row.mz = mz;
  row.charge = charge;
  row.rank = rank;
  row.score = 0.5;
  row.precursorIonFraction = 0.8;
  return row;
}

QcPrecursorRow recordedRow(std::uint32_t scan, QcRowKind kind) {
  QcPrecursorRow row = ownRow(scan, 600.0, 2, 600.0, 2, 0);
  row.kind = kind;
  row.score = std::nan("");
  row.precursorIonFraction = std::nan("");
  return row;
}

TEST(QcFigures, ClassifiesEveryClass) {
  EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 500.0, 2, 500.0 + 500.0 * 9e-6, 2)), kQcSame);
  EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 500.0, 2, 500.0 + 500.0 * 11e-6, 2)), kQcRefined);
  EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 500.0, 2, 501.0, 3)), kQcChargeChanged);
  EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 500.0, 0, 501.0, 3)), kQcNoneRecorded);
  EXPECT_EQ(classifyFirstPrecursor(recordedRow(1, QcRowKind::kRecordedStandIn)), kQcNoOwnPrecursor);
  EXPECT_EQ(classifyFirstPrecursor(recordedRow(1, QcRowKind::kNothingExported)), kQcNoOwnPrecursor);
}

TEST(QcFigures, ClassifiesIsotopeMovesFromMinusThreeToPlusThree) {
  const QcCorrectionClass expected[] = {kQcMovedMinus3, kQcMovedMinus2, kQcMovedMinus1, kQcSame,
                                        kQcMovedPlus1,  kQcMovedPlus2,  kQcMovedPlus3};
  for (int charge = 1; charge <= 4; ++charge) {
    for (int k = -3; k <= 3; ++k) {
      const double mz = 700.0 + k * kQcIsotopeSpacing / charge + 700.0 * 4e-6;  // 4 ppm off the isotope
      EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 700.0, charge, mz, charge)), expected[k + 3])
          << "k " << k << " z " << charge;
    }
  }
  // Half an isotope away matches no isotope: refined.
  EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 700.0, 2, 700.0 + 0.25, 2)), kQcRefined);
  // Four isotopes is beyond the classes: refined as well.
  EXPECT_EQ(classifyFirstPrecursor(ownRow(1, 700.0, 1, 700.0 + 4 * kQcIsotopeSpacing, 1)), kQcRefined);
}

TEST(QcFigures, CountsScansPrecursorsAndClassesPerRecordedCharge) {
  std::vector<QcPrecursorRow> rows;
  rows.push_back(ownRow(3, 500.0, 2, 500.0, 2));  // same, co-isolated with the next
  rows.push_back(ownRow(3, 500.0, 2, 620.0, 3, 2));
  rows.push_back(ownRow(1, 400.0, 3, 400.0 + kQcIsotopeSpacing / 3, 3));  // +1 isotope
  rows.push_back(recordedRow(2, QcRowKind::kRecordedStandIn));
  rows.push_back(recordedRow(4, QcRowKind::kNothingExported));
  rows.push_back(ownRow(5, 450.0, 0, 451.0, 2));  // none recorded
  QcRunFacts facts;
  facts.label = "planted";
  const QcFigures figures = computeQcFigures(rows, facts);
  EXPECT_EQ(figures.ms2Scans, 5);
  EXPECT_EQ(figures.exportedPrecursors, 5);
  EXPECT_EQ(figures.coIsolatedScans, 1);
  EXPECT_DOUBLE_EQ(coIsolatedShare(figures), 0.2);
  EXPECT_EQ(figures.scansByPrecursorCount, (std::vector<std::int64_t>{1, 3, 1}));
  EXPECT_EQ(figures.classes[kQcSame], 1);
  EXPECT_EQ(figures.classes[kQcMovedPlus1], 1);
  EXPECT_EQ(figures.classes[kQcNoOwnPrecursor], 2);
  EXPECT_EQ(figures.classes[kQcNoneRecorded], 1);
  EXPECT_EQ(figures.classesByRecordedCharge.at(0)[kQcNoneRecorded], 1);
  EXPECT_EQ(figures.classesByRecordedCharge.at(2)[kQcNoOwnPrecursor], 2);
  EXPECT_EQ(figures.classesByRecordedCharge.at(3)[kQcMovedPlus1], 1);
  EXPECT_EQ((figures.recordedVsCorvidCharge.at({0, 2})), 1);
  EXPECT_EQ((figures.recordedVsCorvidCharge.at({2, 2})), 1);
  EXPECT_EQ(figures.exportedCharges.at(2), 3);
  EXPECT_EQ(figures.exportedCharges.at(3), 2);
  EXPECT_EQ(figures.scatterTotal, 5);
  EXPECT_EQ(figures.analyzers, (std::vector<std::string>{"FT"}));
  EXPECT_EQ(figures.firstPifValues.size(), 3u);  // scans 1, 3 and 5 have a first precursor of their own
}

TEST(QcFigures, RefinedPrecursorsGiveTheirPpmChange) {
  const QcFigures figures = computeQcFigures({ownRow(1, 1000.0, 2, 1000.05, 2)}, {});
  ASSERT_EQ(figures.refinedPpmValues.size(), 1u);
  EXPECT_NEAR(figures.refinedPpmValues[0], 50.0, 1e-6);
  EXPECT_EQ(figures.refinedPpm.counts, (std::vector<std::int64_t>{1}));
}

TEST(QcFigures, EmptyRunHasNoScansAndNoBins) {
  const QcFigures figures = computeQcFigures({}, {});
  EXPECT_EQ(figures.ms2Scans, 0);
  EXPECT_EQ(figures.exportedPrecursors, 0);
  EXPECT_DOUBLE_EQ(coIsolatedShare(figures), 0.0);
  EXPECT_TRUE(figures.scatter.empty());
  EXPECT_TRUE(figures.timeBins.centres.empty());
  EXPECT_TRUE(figures.scores.binEdges.empty());
}

TEST(QcFigures, ThinningKeepsAtMostTheLimitEvenlyAndAlwaysTheSame) {
  EXPECT_EQ(thinnedPositions(5, 10), (std::vector<std::size_t>{0, 1, 2, 3, 4}));
  EXPECT_EQ(thinnedPositions(10, 4), (std::vector<std::size_t>{0, 2, 5, 7}));
  const std::vector<std::size_t> many = thinnedPositions(65112, kQcMaxScatterPoints);
  EXPECT_EQ(many.size(), kQcMaxScatterPoints);
  EXPECT_EQ(many, thinnedPositions(65112, kQcMaxScatterPoints));
  for (std::size_t i = 1; i < many.size(); ++i) ASSERT_LT(many[i - 1], many[i]);
  EXPECT_LT(many.back(), 65112u);
  EXPECT_TRUE(thinnedPositions(0, 10).empty());
}

TEST(QcFigures, ScatterIsThinnedToTheLimit) {
  std::vector<QcPrecursorRow> rows;
  for (std::uint32_t scan = 1; scan <= 25000; ++scan) rows.push_back(ownRow(scan, 500.0, 2, 500.0, 2));
  const QcFigures figures = computeQcFigures(rows, {});
  EXPECT_EQ(figures.scatterTotal, 25000);
  EXPECT_EQ(figures.scatter.size(), kQcMaxScatterPoints);
}

TEST(QcFigures, RetentionBinsCoverTheRunAndTakeTheEndsIntoTheOuterBins) {
  const QcTimeBins bins = timeBinsOver(100.0, 600.0, 50);
  ASSERT_EQ(bins.centres.size(), 50u);
  EXPECT_DOUBLE_EQ(bins.width, 10.0);
  EXPECT_DOUBLE_EQ(bins.centres.front(), 105.0);
  EXPECT_EQ(bins.binOf(100.0), 0u);
  EXPECT_EQ(bins.binOf(109.9), 0u);
  EXPECT_EQ(bins.binOf(110.0), 1u);
  EXPECT_EQ(bins.binOf(600.0), 49u);
  EXPECT_EQ(bins.binOf(50.0), 0u);
  const QcTimeBins single = timeBinsOver(42.0, 42.0, 50);
  EXPECT_EQ(single.centres.size(), 1u);
  EXPECT_EQ(single.binOf(42.0), 0u);
}

TEST(QcFigures, OverTimeSharesAndMediansPerBin) {
  std::vector<QcPrecursorRow> rows;
  rows.push_back(ownRow(1, 500.0, 2, 500.0, 2));
  rows.push_back(ownRow(1, 500.0, 2, 600.0, 2, 2));
  rows.push_back(ownRow(50, 500.0, 2, 500.0, 2));
  rows.back().precursorIonFraction = 0.2;
  const QcFigures figures = computeQcFigures(rows, {});
  ASSERT_EQ(figures.coIsolatedShareOverTime.size(), kQcRetentionBins);
  EXPECT_EQ(figures.coIsolatedShareOverTime.front(), 1.0);
  EXPECT_EQ(figures.coIsolatedShareOverTime.back(), 0.0);
  EXPECT_FALSE(figures.coIsolatedShareOverTime[10].has_value());
  EXPECT_EQ(figures.medianPifOverTime.front(), 0.8);
  EXPECT_EQ(figures.medianPifOverTime.back(), 0.2);
}

TEST(QcFigures, HistogramAndMedian) {
  const QcHistogram histogram = histogramOf({0.0, 1.0, 2.0, 4.0}, 4);
  EXPECT_EQ(histogram.binEdges, (std::vector<double>{0.0, 1.0, 2.0, 3.0, 4.0}));
  EXPECT_EQ(histogram.counts, (std::vector<std::int64_t>{1, 1, 1, 1}));
  EXPECT_EQ(histogramOf({3.0, 3.0}, 4).counts, (std::vector<std::int64_t>{2}));
  EXPECT_DOUBLE_EQ(medianOf({3.0, 1.0, 2.0}), 2.0);
  EXPECT_DOUBLE_EQ(medianOf({4.0, 1.0, 2.0, 3.0}), 2.5);
  EXPECT_TRUE(std::isnan(medianOf({})));
}

}  // namespace
}  // namespace corvid
