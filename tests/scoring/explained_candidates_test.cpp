#include "scoring/explained_candidates.h"

#include <gtest/gtest.h>

#include <vector>

#include "scoring/threshold_filter.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

constexpr double kSpacing = 1.00286;

// Walks records (one scan or several, best first within a scan) and keeps each one that no
// record kept before it in its scan explains.
std::vector<PrecursorRecord> keptAfterDrop(const std::vector<PrecursorRecord>& records) {
  std::vector<PrecursorRecord> kept;
  std::size_t scanStart = 0;
  for (const PrecursorRecord& record : records) {
    if (!kept.empty() && kept.back().scan != record.scan) scanStart = kept.size();
    bool explained = false;
    for (std::size_t j = scanStart; j < kept.size() && !explained; ++j) {
      explained = isExplainedBy(record, kept[j], defaultExplainedCandidateSettings());
    }
    if (!explained) kept.push_back(record);
  }
  return kept;
}

void expectSame(const std::vector<PrecursorRecord>& actual, const std::vector<PrecursorRecord>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    EXPECT_EQ(actual[i].scan, expected[i].scan) << i;
    EXPECT_EQ(actual[i].charge, expected[i].charge) << i;
    EXPECT_EQ(actual[i].mz, expected[i].mz) << i;
  }
}

TEST(ExplainedCandidates, ThePrecursorFoundTwiceIsTheSameWithinTwentyPpm) {
  const ExplainedCandidateSettings settings = defaultExplainedCandidateSettings();
  const PrecursorRecord found{5, 2, 500.0};
  EXPECT_TRUE(isSamePrecursor({5, 2, 500.0 * (1 + 19.9e-6)}, found, settings));
  EXPECT_TRUE(isSamePrecursor({5, 2, 500.0 * (1 - 19.9e-6)}, found, settings));
  EXPECT_FALSE(isSamePrecursor({5, 2, 500.0 * (1 + 20.1e-6)}, found, settings));
  EXPECT_FALSE(isSamePrecursor({5, 3, 500.0}, found, settings));  // another charge is no copy
}

TEST(ExplainedCandidates, IsotopesOfABetterCandidateAreDropped) {
  const PrecursorRecord best{100, 2, 600.3000};
  for (int k = 1; k <= 3; ++k) {
    // A few ppm off the exact position, as measured peaks are.
    const PrecursorRecord isotope{100, 2, 600.3000 + k * kSpacing / 2 + 0.002};
    expectSame(keptAfterDrop({best, isotope}), {best});
  }
  // The fourth isotope is beyond the envelope the rule trusts.
  const PrecursorRecord far{100, 2, 600.3000 + 4 * kSpacing / 2};
  expectSame(keptAfterDrop({best, far}), {best, far});
}

TEST(ExplainedCandidates, ALowerMassCandidateIsNotTakenForAnIsotope) {
  // The better candidate sits one isotope above: the lower one may be the true monoisotopic peak
  // and is kept.
  const PrecursorRecord best{100, 2, 600.3000 + kSpacing / 2};
  const PrecursorRecord below{100, 2, 600.3000};
  expectSame(keptAfterDrop({best, below}), {best, below});
}

TEST(ExplainedCandidates, ChargeHarmonicsAreDropped) {
  const PrecursorRecord best{7, 2, 700.4000};
  // Twice the charge on the same monoisotopic peak: every other peak is the 2+ envelope.
  const PrecursorRecord doubled{7, 4, 700.4000};
  // Half the charge on isotope 2 of a 4+ (its peaks are isotopes 2, 4, 6 of the 4+).
  const PrecursorRecord fourPlus{7, 4, 700.4000};
  const PrecursorRecord halved{7, 2, 700.4000 + 2 * kSpacing / 4};
  // An unrelated charge starting at the same monoisotopic peak.
  const PrecursorRecord sameMono{7, 3, 700.4000};
  expectSame(keptAfterDrop({best, doubled}), {best});
  expectSame(keptAfterDrop({fourPlus, halved}), {fourPlus});
  expectSame(keptAfterDrop({best, sameMono}), {best});
}

TEST(ExplainedCandidates, CoElutingPrecursorsBothStay) {
  // The fixture pair's two peptides: 500.25 2+ and 500.90 3+ share no peak.
  const PrecursorRecord a{2, 2, 500.2500};
  const PrecursorRecord b{2, 3, 500.9000};
  expectSame(keptAfterDrop({a, b}), {a, b});
  // Same charge, half an isotope step away: a different ion.
  const PrecursorRecord c{2, 2, 500.2500 + 0.5 * kSpacing / 2};
  expectSame(keptAfterDrop({a, c}), {a, c});
}

TEST(ExplainedCandidates, TheBestRankedIsAlwaysKeptAndScansStayApart) {
  // The isotope ranks first: it stays, and the candidate it would explain is not its isotope.
  const PrecursorRecord isotopeFirst{5, 3, 800.0000 + kSpacing / 3};
  const PrecursorRecord mono{5, 3, 800.0000};
  // The same m/z in the next scan is that scan's own best candidate.
  const PrecursorRecord nextScan{6, 3, 800.0000 + kSpacing / 3};
  const PrecursorRecord nextIsotope{6, 3, 800.0000 + 2 * kSpacing / 3};
  expectSame(keptAfterDrop({isotopeFirst, mono, nextScan, nextIsotope}), {isotopeFirst, mono, nextScan});
}

TEST(ExplainedCandidates, OnlyKeptCandidatesExplainOthers) {
  // b is dropped as a's isotope; c is isotope 1 of b but not on a's envelope within 3 isotopes
  // (it is a's isotope 4), so it stays.
  const PrecursorRecord a{9, 2, 500.0000};
  const PrecursorRecord b{9, 2, 500.0000 + 3 * kSpacing / 2};
  const PrecursorRecord c{9, 2, 500.0000 + 4 * kSpacing / 2};
  EXPECT_TRUE(isExplainedBy(b, a, defaultExplainedCandidateSettings()));
  EXPECT_FALSE(isExplainedBy(c, a, defaultExplainedCandidateSettings()));
  EXPECT_TRUE(isExplainedBy(c, b, defaultExplainedCandidateSettings()));
  expectSame(keptAfterDrop({a, b, c}), {a, c});
}

TEST(ExplainedCandidates, EmptyAndUnchargedRecordsAreLeftAlone) {
  EXPECT_TRUE(keptAfterDrop({}).empty());
  const PrecursorRecord unknown{3, 0, 500.0};
  const PrecursorRecord other{3, 2, 500.0};
  expectSame(keptAfterDrop({unknown, other}), {unknown, other});
}

TEST(ExplainedCandidates, TheModeIsOffByDefault) {
  // precision_mode is off unless a table sets it to "1"; the threshold filter alone keeps the
  // isotope.
  ParameterTable parameters{{"mars_threshold", "-0.34"}, {"isolation_width", "2"}, {"output_all_mars_y", "0"},
                            {"debug_mode", "0"}};
  EXPECT_FALSE(isOn(parameters["precision_mode"]));
  parameters["precision_mode"] = "0";
  EXPECT_FALSE(isOn(parameters["precision_mode"]));
  std::vector<PrecursorRecord> records{{1, 2, 600.0 + kSpacing / 2}, {1, 2, 600.0}};
  filterByThreshold(parameters, {0.5, 0.9}, records);
  expectSame(records, {{1, 2, 600.0}, {1, 2, 600.0 + kSpacing / 2}});
}

}  // namespace
}  // namespace corvid
