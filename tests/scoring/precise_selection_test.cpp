// Precision mode's choice of precursors: the shipped classifier against the probabilities its
// training computed, and the keep and order rules on planted scans.
#include "scoring/precise_selection.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/run_failure.h"

namespace corvid {
namespace {

const std::string kShippedModel = std::string(CORVID_SOURCE_DIR) + "/data/precision_model.txt";
constexpr double kSpacing = 1.00286;

// A one-tree model over the classifier's inputs: `tree` is the node lines after "tree N".
BoostedTrees modelOf(const std::string& tree, int nodes) {
  std::string text = "corvid-boosted-trees 1\ninputs " + std::to_string(kClassifierInputCount);
  for (const std::string& name : classifierInputNames()) text += " " + name;
  text += "\nkeep_probability 0.5\nbaseline 0\ntrees 1\ntree " + std::to_string(nodes) + "\n" + tree;
  return parseBoostedTrees(text, "planted model");
}

// The position of a context value among the classifier's inputs.
std::string contextInput(ContextPosition position) { return std::to_string(kClassifierFeatureCount + 2 + position); }

// A candidate on a better one's isotopes or at another charge of it gets log-odds -5, every
// other one +5.
BoostedTrees echoModel() {
  const std::string isotope = contextInput(kContextIsotopeOfBetter);
  const std::string other = contextInput(kContextOtherChargeOfBetter);
  return modelOf("split " + isotope + " 0.5 0 1 4\nsplit " + other + " 0.5 0 2 3\nleaf 5\nleaf -5\nleaf -5\n", 5);
}

struct Planted {
  std::vector<std::vector<double>> features;
  std::vector<RankedCandidate> ranked;
  // Candidates must be added best first; share is the window share.
  void add(double mz, int charge, double score, double share = 0.5) {
    std::vector<double> f(kDetectedFeatureCount, 0.0);
    f[kFeatureCharge] = charge;
    f[kFeaturePif] = 1.0 - share;  // the order must follow the window share, not the PIF
    features.push_back(f);
    ranked.push_back({{1.0, static_cast<double>(charge), mz}, {}, score, share});
  }
  std::vector<std::string> kept(const BoostedTrees& model) {
    for (std::size_t i = 0; i < ranked.size(); ++i) ranked[i].features = features[i];
    std::vector<std::string> names;
    for (const std::size_t k : chosenCandidates(model, ranked, judgeCandidates(model, ranked))) {
      std::ostringstream name;
      name.precision(10);
      name << ranked[k].record.mz << " " << ranked[k].record.charge;
      names.push_back(name.str());
    }
    return names;
  }
};

TEST(PreciseSelection, ShippedModelHasTheInputsCorvidComputes) {
  const BoostedTrees model = loadBoostedTrees(kShippedModel);
  EXPECT_NO_THROW(requireClassifierInputs(model, kShippedModel));
  EXPECT_EQ(model.inputNames.size(), kClassifierInputCount);
  EXPECT_GT(model.keepProbability, 0.0);
  EXPECT_LT(model.keepProbability, 1.0);
  BoostedTrees other = model;
  other.inputNames.back() = "something_else";
  EXPECT_THROW(requireClassifierInputs(other, "x"), RunFailure);
}

// check.tsv holds candidates of a simulated run as training saw them (each scan best first),
// with the probability scikit-learn gave and the place the selection rule gave (0: dropped).
TEST(PreciseSelection, ShippedModelGivesTheProbabilitiesOfItsTraining) {
  const BoostedTrees model = loadBoostedTrees(kShippedModel);
  std::ifstream in(std::string(CORVID_TEST_DATA_DIR) + "/precision/check.tsv");
  ASSERT_TRUE(in) << "missing fixture";
  std::string line;
  std::getline(in, line);
  struct Row {
    std::vector<double> values;
  };
  std::map<long, std::vector<Row>> scans;
  std::vector<long> order;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    Row row;
    std::string field;
    while (std::getline(fields, field, '\t')) row.values.push_back(std::stod(field));
    ASSERT_EQ(row.values.size(), 4 + kDetectedFeatureCount + 3) << line;
    const long scan = static_cast<long>(row.values[0]);
    if (scans.find(scan) == scans.end()) order.push_back(scan);
    scans[scan].push_back(row);
  }
  ASSERT_EQ(order.size(), 30u);
  std::size_t candidates = 0;
  std::size_t keptCount = 0;
  for (const long scan : order) {
    const std::vector<Row>& rows = scans[scan];
    std::vector<RankedCandidate> ranked;
    for (const Row& row : rows) {
      ranked.push_back({{row.values[0], row.values[2], row.values[1]},
                        std::span<const double>(row.values.data() + 4, kDetectedFeatureCount), row.values[3],
                        row.values[4 + kDetectedFeatureCount]});
    }
    const std::vector<CandidateJudgement> judged = judgeCandidates(model, ranked);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const double expected = rows[i].values[4 + kDetectedFeatureCount + 1];
      EXPECT_NEAR(judged[i].probability, expected, 1e-12) << "scan " << scan << " candidate " << i;
    }
    const std::vector<std::size_t> kept = chosenCandidates(model, ranked, judged);
    for (std::size_t place = 0; place < kept.size(); ++place) {
      EXPECT_EQ(rows[kept[place]].values.back(), static_cast<double>(place + 1)) << "scan " << scan;
    }
    std::size_t dropped = 0;
    for (const Row& row : rows) dropped += row.values.back() == 0.0;
    EXPECT_EQ(kept.size() + dropped, rows.size()) << "scan " << scan;
    candidates += rows.size();
    keptCount += kept.size();
  }
  // The fixture exercises both outcomes.
  EXPECT_GT(keptCount, 0u);
  EXPECT_LT(keptCount, candidates);
}

TEST(PreciseSelection, IsotopeAndChargeEchoesOfABetterCandidateAreDropped) {
  Planted scan;
  scan.add(550.28, 2, 1.0);
  scan.add(550.28 + kSpacing / 2, 2, 0.5);      // its isotope 1
  scan.add(550.28 + 2 * kSpacing / 2, 2, 0.4);  // its isotope 2
  scan.add(550.28, 4, 0.3);                     // the same peaks read as 4+
  EXPECT_EQ(scan.kept(echoModel()), (std::vector<std::string>{"550.28 2"}));
}

TEST(PreciseSelection, CoIsolatedPrecursorsOfDifferentChargesBothStay) {
  Planted scan;
  scan.add(600.30, 2, 1.0, 0.6);
  scan.add(600.55, 3, 0.8, 0.4);  // between the 2+ peaks, not on them
  EXPECT_EQ(scan.kept(echoModel()), (std::vector<std::string>{"600.3 2", "600.55 3"}));
}

TEST(PreciseSelection, AnEqualScoreIsNotBetter) {
  Planted scan;
  scan.add(550.28, 2, 1.0);
  scan.add(550.28 + kSpacing / 2, 2, 1.0);
  EXPECT_EQ(scan.kept(echoModel()).size(), 2u);
}

TEST(PreciseSelection, TheDominantShareComesFirst) {
  Planted scan;
  scan.add(650.30, 2, 1.0, 0.05);  // best score, small share of the current
  scan.add(651.90, 3, 0.5, 0.95);
  scan.add(649.10, 2, 0.4, 0.95);  // same product as the one before: rank order decides
  EXPECT_EQ(scan.kept(echoModel()), (std::vector<std::string>{"651.9 3", "649.1 2", "650.3 2"}));
}

TEST(PreciseSelection, AScanWithNothingSureKeepsTheLikeliestCarrierOfCurrent) {
  // The first-ranked candidate is the least likely (p 0.05); the others have p 0.27, below the
  // keep probability, and no score passes the default threshold.
  const BoostedTrees model = modelOf("split " + contextInput(kContextRank) + " 0.5 0 1 2\nleaf -3\nleaf -1\n", 3);
  Planted scan;
  scan.add(550.28, 2, -0.5, 0.9);
  scan.add(720.36, 3, -0.6, 0.3);
  scan.add(810.44, 2, -0.7, 0.4);
  EXPECT_EQ(scan.kept(model), (std::vector<std::string>{"810.44 2"}));
  // Equal products: the better-ranked one.
  Planted tie;
  tie.add(550.28, 2, -0.5);
  tie.add(720.36, 3, -0.6);
  tie.add(810.44, 2, -0.7);
  EXPECT_EQ(tie.kept(model), (std::vector<std::string>{"720.36 3"}));
  Planted empty;
  EXPECT_TRUE(empty.kept(model).empty());
}

TEST(PreciseSelection, AScanOfImprobableCandidatesKeepsNone) {
  // p = 1 / (1 + e^2.2) = 0.0998, just below one chance in ten; a clear co-isolated candidate is
  // no exception.
  const BoostedTrees model = modelOf("leaf -2.2\n", 1);
  Planted scan;
  scan.add(600.30, 2, 1.0, 0.6);
  scan.add(600.55, 3, 0.5, 0.4);
  EXPECT_TRUE(scan.kept(model).empty());
  // p = 0.1002: the likelier carrier of current is kept after all.
  EXPECT_EQ(scan.kept(modelOf("leaf -2.196\n", 1)), (std::vector<std::string>{"600.3 2", "600.55 3"}));
}

TEST(PreciseSelection, AClearCoIsolatedCandidateIsKeptUnlessTheClassifierAllButRulesItOut) {
  const BoostedTrees doubtful = modelOf("leaf -1.5\n", 1);  // p 0.18: below the keep probability
  Planted scan;
  scan.add(600.30, 2, 1.0, 0.6);
  scan.add(600.55, 3, 0.5, 0.4);                  // kept
  scan.add(603.10, 2, 0.4, 0.03);                 // a 5 % share: kept as well
  scan.add(597.70, 2, -0.5, 0.5);                 // below the default threshold: dropped
  scan.add(600.30 + kSpacing / 2, 2, 0.3, 0.5);   // an isotope of the best: dropped
  scan.add(599.80, 2, 0.2, 0.5);                  // the best is its isotope 1: dropped
  scan.add(600.30, 4, 0.1, 0.5);                  // the best read as 4+: dropped
  EXPECT_EQ(scan.kept(doubtful), (std::vector<std::string>{"600.3 2", "600.55 3", "603.1 2"}));
}

TEST(PreciseSelection, ScansStayApartAndInOrder) {
  const BoostedTrees model = echoModel();
  std::vector<PrecursorFeatures> features(5, PrecursorFeatures(kFeatureWindowShare + 1, 0.0));
  std::vector<PrecursorRecord> records = {
      {7, 2, 500.0}, {7, 2, 500.0 + kSpacing / 2}, {3, 3, 400.0}, {9, 2, 800.0}, {9, 3, 801.0}};
  // Identical features give equal scores: nothing is better than anything, all stay.
  EXPECT_EQ(selectPrecisePrecursors(model, features, records), 0u);
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(records[0].scan, 7);
  EXPECT_EQ(records[2].scan, 3);
  EXPECT_EQ(records[4].scan, 9);
}

TEST(PreciseSelection, APrecursorFoundTwiceIsReportedOnce) {
  // Scan 7: the same 2+ ion started from two peaks 3 ppm apart, and a 3+ ion; scan 9: one ion.
  std::vector<PrecursorFeatures> features(4, PrecursorFeatures(kFeatureWindowShare + 1, 0.0));
  features[0][kFeatureMaxSim] = 0.9;  // the first start scores better than its copy
  std::vector<PrecursorRecord> records = {{7, 2, 500.0}, {7, 2, 500.0015}, {7, 3, 500.4}, {9, 2, 800.0}};
  std::vector<std::size_t> positions;
  EXPECT_EQ(selectPrecisePrecursors(echoModel(), features, records, &positions), 1u);
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].mz, (500.0 + 500.0015) / 2);  // both readings of the ion count
  EXPECT_EQ(records[0].charge, 2.0);
  EXPECT_EQ(records[1].mz, 500.4);  // read once: exactly as detected
  EXPECT_EQ(records[1].charge, 3.0);
  EXPECT_EQ(records[2].scan, 9.0);
  EXPECT_EQ(records[2].mz, 800.0);
  // The kept ones are the better-ranked copy, the 3+ ion and scan 9's ion.
  EXPECT_EQ(positions, (std::vector<std::size_t>{0, 2, 3}));
}

TEST(PreciseSelection, APrecursorReadFromThreeScansTakesTheMeanOfThreeReadings) {
  // The judged copy is the best-scoring one, whichever place it has among the readings.
  std::vector<PrecursorFeatures> features(4, PrecursorFeatures(kFeatureWindowShare + 1, 0.0));
  features[1][kFeatureMaxSim] = 0.9;
  features[3][kFeatureMaxSim] = 0.5;
  std::vector<PrecursorRecord> records = {{4, 3, 700.0021}, {4, 3, 700.0}, {4, 3, 699.9972}, {4, 3, 700.5}};
  std::vector<std::size_t> positions;
  EXPECT_EQ(selectPrecisePrecursors(echoModel(), features, records, &positions), 2u);
  ASSERT_EQ(records.size(), 2u);
  // Readings are summed best-ranked first, the same order on every run.
  EXPECT_EQ(records[0].mz, (700.0 + 700.0021 + 699.9972) / 3);
  EXPECT_EQ(records[1].mz, 700.5);
  EXPECT_EQ(positions, (std::vector<std::size_t>{1, 3}));
}

TEST(PreciseSelection, ACandidateWithoutItsWindowShareIsOutOfBounds) {
  std::vector<PrecursorFeatures> features(1, PrecursorFeatures(kFeatureWindowShare, 0.0));
  std::vector<PrecursorRecord> records = {{1, 2, 500.0}};
  try {
    selectPrecisePrecursors(echoModel(), features, records);
    FAIL() << "no failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.kind, FailureKind::kOutOfBounds);
  }
}

TEST(PreciseSelection, ListsOfDifferentLengthsAreOutOfBounds) {
  std::vector<PrecursorFeatures> features(1, PrecursorFeatures(kDetectedFeatureCount, 0.0));
  std::vector<PrecursorRecord> records = {{1, 2, 500.0}, {1, 2, 501.0}};
  try {
    selectPrecisePrecursors(echoModel(), features, records);
    FAIL() << "no failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.kind, FailureKind::kOutOfBounds);
  }
}

}  // namespace
}  // namespace corvid
