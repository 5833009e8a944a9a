// One activation group through scoring, threshold filtering and the report rows, as the per-file
// driver sequences them.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "scoring/mars_model.h"
#include "scoring/result_report.h"
#include "scoring/score_candidates.h"
#include "scoring/threshold_filter.h"
#include "scoring/whole_number.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

TEST(ScoringFlow, GroupScoredFilteredAndReported) {
  ParameterTable parameters{{"mars_model", "4"}, {"mars_threshold", "-0.34"},
                            {"isolation_width", "2"}, {"output_all_mars_y", "0"}, {"debug_mode", "0"}};
  // Scan 10: a convincing candidate and a poor one; scan 11: only a poor one.
  const PrecursorFeatures good{2.0, 0.98, 1.0, 0.95, 0.95, 0.3, 3.0, 4.0, 1200.0, 0.0, 0.9, 0.95, 0.9};
  const PrecursorFeatures poor{4.0, 0.2, 8.0, 0.1, 0.3, 0.9, 1.0, 1.0, 3000.0, 0.0, 0.05, 0.1, 0.0};
  std::vector<PrecursorFeatures> features{poor, good, poor};
  std::vector<PrecursorRecord> records{{10, 4, 750.25}, {10, 2, 600.5}, {11, 4, 800.125}};
  std::vector<double> scores;
  scoreCandidates(parameters, features, scores);
  ASSERT_GT(scores[1], -0.34);
  ASSERT_LE(scores[0], -0.34);
  ASSERT_LE(scores[2], -0.34);
  filterByThreshold(parameters, scores, records);
  ASSERT_EQ(records.size(), 1u);

  MS2File file;
  file.spectra.resize(2);
  file.spectra[0].scanNumber = 10;
  file.spectra[0].precursorMH = 1200.0;
  file.spectra[0].charge = 2;
  file.spectra[1].scanNumber = 11;
  file.spectra[1].precursorMH = 1600.0;
  file.spectra[1].charge = 2;
  std::string text;
  startReportText(text);
  EXPECT_EQ(writeReportRows(file, {0, 1}, records, 3, nullptr, nullptr, text), 0u);
  EXPECT_EQ(text, std::string(reportHeader()) +
                      "CID, FT, 10, 600.503638, 2, 1, 1, 600.500000, 2, \n"
                      "CID, FT, 11, 800.503638, 2, 1, 1, 800.503638, 2, \n");
}

TEST(TruncatedToInt, TruncatesTowardZeroAndGuardsTheRange) {
  EXPECT_EQ(truncatedToInt(2.9), 2);
  EXPECT_EQ(truncatedToInt(-2.9), -2);
  EXPECT_EQ(truncatedToInt(2147483647.0), 2147483647);
  EXPECT_EQ(truncatedToInt(-2147483648.0), -2147483647 - 1);
  EXPECT_EQ(truncatedToInt(2147483648.0), 0);
  EXPECT_EQ(truncatedToInt(-2147483649.0), 0);
  EXPECT_EQ(truncatedToInt(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(truncatedToInt(std::numeric_limits<double>::infinity()), 0);
}

}  // namespace
}  // namespace corvid
