#include "scoring/precise_selection.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "platform/run_failure.h"
#include "scoring/explained_candidates.h"
#include "scoring/mars_model.h"

namespace corvid {
namespace {

// The classifier reads the default model's score whatever scorer the run chose.
constexpr MarsModelChoice kScoreModel = MarsModelChoice::kModel4;

bool sameCharge(const PrecursorRecord& a, const PrecursorRecord& b) {
  return std::lround(a.charge) == std::lround(b.charge);
}

// The greatest value of a candidate quantity over the scan.
template <typename Value>
double greatestOf(const std::vector<RankedCandidate>& ranked, Value value) {
  double greatest = value(ranked.front());
  for (const RankedCandidate& candidate : ranked) greatest = std::max(greatest, value(candidate));
  return greatest;
}

// The readings of one precursor: the candidate judged for it and its copies.
struct Sightings {
  std::size_t position = 0;  // of the judged candidate in the input
  double mzSum = 0.0;
  int count = 0;
};

// A single reading stays exactly as detected (x / 1 is x).
double meanMz(const Sightings& sightings) { return sightings.mzSum / sightings.count; }

double relativeTo(double value, double greatest) { return greatest > 0.0 ? value / greatest : 0.0; }

void fillContext(const std::vector<RankedCandidate>& ranked, std::size_t a, double topPif, double topShare,
                 const ExplainedCandidateSettings& echo, double* context) {
  const RankedCandidate& candidate = ranked[a];
  bool isotopeOfBetter = false;
  bool otherChargeOfBetter = false;
  bool betterIsItsIsotope = false;
  for (std::size_t b = 0; b < a; ++b) {
    const RankedCandidate& better = ranked[b];
    if (!(better.score > candidate.score)) continue;  // an equal score is not better
    if (sameCharge(candidate.record, better.record)) {
      isotopeOfBetter = isotopeOfBetter || isExplainedBy(candidate.record, better.record, echo);
      betterIsItsIsotope = betterIsItsIsotope || isExplainedBy(better.record, candidate.record, echo);
    } else {
      otherChargeOfBetter = otherChargeOfBetter || isExplainedBy(candidate.record, better.record, echo);
    }
  }
  const double pif = candidate.features[kFeaturePif];
  context[kContextRank] = static_cast<double>(a);
  context[kContextScoreBelowBest] = candidate.score - ranked.front().score;
  context[kContextCandidatesInScan] = static_cast<double>(ranked.size());
  context[kContextRelativePif] = relativeTo(pif, topPif);
  context[kContextIsotopeOfBetter] = isotopeOfBetter ? 1.0 : 0.0;
  context[kContextOtherChargeOfBetter] = otherChargeOfBetter ? 1.0 : 0.0;
  context[kContextBetterIsItsIsotope] = betterIsItsIsotope ? 1.0 : 0.0;
  context[kContextRelativeWindowShare] = relativeTo(candidate.windowShare, topShare);
}

}  // namespace

const std::vector<std::string>& classifierInputNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> inputs;
    for (std::size_t feature : kClassifierFeatures) inputs.emplace_back(kDetectedFeatureNames[feature]);
    inputs.emplace_back(kWindowShareFeatureName);
    for (const char* context :
         {"score", "rank", "score_below_best", "candidates_in_scan", "relative_pif", "isotope_of_better",
          "other_charge_of_better", "better_is_its_isotope", "relative_window_share"})
      inputs.emplace_back(context);
    return inputs;
  }();
  return names;
}

void requireClassifierInputs(const BoostedTrees& model, const std::string& origin) {
  if (model.inputNames != classifierInputNames()) {
    throw RunFailure("precision model " + origin + " was trained on other inputs than this Corvid computes");
  }
}

std::vector<CandidateJudgement> judgeCandidates(const BoostedTrees& model, const std::vector<RankedCandidate>& ranked) {
  std::vector<CandidateJudgement> judgements(ranked.size());
  if (ranked.empty()) return judgements;
  const double topPif = greatestOf(ranked, [](const RankedCandidate& c) { return c.features[kFeaturePif]; });
  const double topShare = greatestOf(ranked, [](const RankedCandidate& c) { return c.windowShare; });
  double inputs[kClassifierInputCount];
  double* const context = inputs + kClassifierFeatureCount + 2;
  const ExplainedCandidateSettings echo = defaultExplainedCandidateSettings();
  for (std::size_t a = 0; a < ranked.size(); ++a) {
    for (std::size_t f = 0; f < kClassifierFeatureCount; ++f) inputs[f] = ranked[a].features[kClassifierFeatures[f]];
    inputs[kClassifierFeatureCount] = ranked[a].windowShare;
    inputs[kClassifierFeatureCount + 1] = ranked[a].score;
    fillContext(ranked, a, topPif, topShare, echo, context);
    judgements[a].probability = treeEnsembleProbability(model, inputs);
    judgements[a].clearCoIsolated = ranked[a].score > kCoIsolatedScore && context[kContextIsotopeOfBetter] == 0.0 &&
                                    context[kContextOtherChargeOfBetter] == 0.0 &&
                                    context[kContextBetterIsItsIsotope] == 0.0;
  }
  return judgements;
}

std::vector<std::size_t> chosenCandidates(const BoostedTrees& model, const std::vector<RankedCandidate>& ranked,
                                          const std::vector<CandidateJudgement>& judgements) {
  std::vector<std::size_t> kept;
  const auto probability = [&](std::size_t i) { return judgements[i].probability; };
  for (std::size_t i = 0; i < ranked.size(); ++i) {
    const bool sure = probability(i) > model.keepProbability;
    const bool coIsolated = judgements[i].clearCoIsolated && probability(i) > kLeastProbability;
    if (sure || coIsolated) kept.push_back(i);
  }
  // Probability times share of the window's current: the likely dominant precursor first.
  const auto carried = [&](std::size_t i) { return probability(i) * ranked[i].windowShare; };
  if (kept.empty() && !ranked.empty()) {
    // Nothing sure: the candidate that most likely carries the most current, unless even that one
    // is improbable.
    std::size_t likeliest = 0;
    for (std::size_t i = 1; i < ranked.size(); ++i) {
      if (carried(i) > carried(likeliest)) likeliest = i;
    }
    if (probability(likeliest) > kLeastProbability) kept.push_back(likeliest);
  }
  std::stable_sort(kept.begin(), kept.end(), [&](std::size_t a, std::size_t b) { return carried(a) > carried(b); });
  return kept;
}

std::size_t selectPrecisePrecursors(const BoostedTrees& model, const std::vector<PrecursorFeatures>& features,
                                    std::vector<PrecursorRecord>& records, std::vector<std::size_t>* keptPositions) {
  if (features.size() != records.size()) {
    throw RunFailure("feature list and precursor record list differ in length", FailureKind::kOutOfBounds);
  }
  std::vector<PrecursorRecord> kept;
  kept.reserve(records.size());
  std::vector<double> scores(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (features[i].size() <= kFeatureWindowShare) {
      throw RunFailure("a candidate lacks its score or window share", FailureKind::kOutOfBounds);
    }
    scores[i] = scoreByChoice(kScoreModel, std::span<const double>(features[i].data(), kDetectedFeatureCount));
  }
  if (keptPositions != nullptr) keptPositions->clear();
  std::vector<std::size_t> order;
  std::vector<RankedCandidate> ranked;
  std::vector<Sightings> sightings;  // parallel to ranked
  const ExplainedCandidateSettings echo = defaultExplainedCandidateSettings();
  std::size_t start = 0;
  while (start < records.size()) {
    std::size_t end = start + 1;
    while (end < records.size() && records[end].scan == records[start].scan) ++end;
    order.clear();
    for (std::size_t i = start; i < end; ++i) {
      if (!std::isnan(scores[i])) order.push_back(i);
    }
    // Descending score, equal scores in detection order: the order the model was trained on.
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return scores[a] > scores[b]; });
    // One precursor found twice (from near start peaks) is judged once, as its better-ranked copy,
    // and reported at the mean m/z of its copies: each is a separate reading of the same ion.
    ranked.clear();
    sightings.clear();
    for (const std::size_t i : order) {
      const auto earlier = std::find_if(ranked.begin(), ranked.end(), [&](const RankedCandidate& candidate) {
        return isSamePrecursor(records[i], candidate.record, echo);
      });
      if (earlier != ranked.end()) {
        Sightings& same = sightings[static_cast<std::size_t>(earlier - ranked.begin())];
        same.mzSum += records[i].mz;
        ++same.count;
        continue;
      }
      ranked.push_back({records[i], features[i], scores[i], features[i][kFeatureWindowShare]});
      sightings.push_back({i, records[i].mz, 1});
    }
    for (const std::size_t k : chosenCandidates(model, ranked, judgeCandidates(model, ranked))) {
      kept.push_back(ranked[k].record);
      kept.back().mz = meanMz(sightings[k]);
      if (keptPositions != nullptr) keptPositions->push_back(sightings[k].position);
    }
    start = end;
  }
  const std::size_t dropped = records.size() - kept.size();
  records.swap(kept);
  return dropped;
}

}  // namespace corvid
