#pragma once
// Precision mode's choice of precursors: a trained classifier judges every candidate of a scan
// from its detection features, its window share, the default model's score and how it relates to
// the scan's other candidates (an isotope or another charge of a better one, its share of the
// precursor current). It replaces the score threshold; the kept ones are ordered by how much of the
// isolated current they probably carry, so the first is the dominant precursor.
#include <cstddef>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "scoring/boosted_trees.h"
#include "spectra/precursor_features.h"
#include "spectra/precursor_record.h"

namespace corvid {

// The trained model, found beside the program like the isotope pattern table.
inline constexpr std::string_view kPrecisionModelFile = "precision_model.txt";

// The detection features the classifier reads, in this order: all but the m/z spread, which
// measures the instrument's calibration and so differs between instruments.
inline constexpr std::size_t kClassifierFeatures[] = {
    kFeatureCharge, kFeatureMaxSim, kFeatureMonoPlusOneCosine, kFeatureIsotopeShare, kFeatureMinusOneMonoCosine,
    kFeatureIsoPeakInWindow, kFeatureIsoLen, kFeatureChargeTimesMz, kFeatureElutionBoundaryCount, kFeaturePif,
    kFeatureShiftedSimilarityOne, kFeatureShiftedSimilarityTwo};
inline constexpr std::size_t kClassifierFeatureCount = std::size(kClassifierFeatures);

// The classifier's inputs after those features, the window share and the score, in this order.
enum ContextPosition : std::size_t {
  kContextRank = 0,                // position among the scan's candidates by descending score
  kContextScoreBelowBest = 1,      // score minus the scan's best score (0 or less)
  kContextCandidatesInScan = 2,
  kContextRelativePif = 3,         // precursor ion fraction over the scan's greatest (0 when that is 0)
  kContextIsotopeOfBetter = 4,     // 1: lies on isotope 1..3 of a better candidate of its charge
  kContextOtherChargeOfBetter = 5, // 1: starts on a better candidate's envelope at another charge
  kContextBetterIsItsIsotope = 6,  // 1: a better candidate of its charge lies on its isotopes 1..3
  kContextRelativeWindowShare = 7, // window share over the scan's greatest (0 when that is 0)
  kContextValueCount = 8,
};
inline constexpr std::size_t kClassifierInputCount = kClassifierFeatureCount + 2 + kContextValueCount;

// The input names a model must have been trained on, in order.
const std::vector<std::string>& classifierInputNames();

// Throws RunFailure when the model was trained on other inputs than classifierInputNames().
void requireClassifierInputs(const BoostedTrees& model, const std::string& origin);

// One candidate of a scan as the classifier sees it.
struct RankedCandidate {
  PrecursorRecord record;
  std::span<const double> features;  // at least the 13 detection features
  double score = 0.0;                // the default model's score
  double windowShare = 0.0;
};

// What the selection knows of one candidate.
struct CandidateJudgement {
  double probability = 0.0;  // that it is a real precursor, by the classifier
  // Passes the default threshold and lies on no better candidate's envelope, nor a better one on
  // its own.
  bool clearCoIsolated = false;
};

// A clear co-isolated candidate is kept unless the classifier all but rules it out, however small
// its share: chimeric spectra are what Corvid is for, and in training data a real second precursor
// is rare enough for the classifier to doubt it. It must pass the default threshold of the
// default model.
inline constexpr double kCoIsolatedScore = -0.34;
// At or below this probability (one chance in ten) a candidate is never reported: a scan whose
// candidates all lie there gets no precursor (its spectrum keeps the recorded one).
inline constexpr double kLeastProbability = 0.1;

// Judges each candidate. `ranked`: one scan's candidates in descending score order (equal scores
// in detection order).
std::vector<CandidateJudgement> judgeCandidates(const BoostedTrees& model, const std::vector<RankedCandidate>& ranked);

// Indices into `ranked` of the kept candidates, best first: those above the model's keep
// probability, and clear co-isolated ones above kLeastProbability; when there are none, the one
// with the greatest probability times window share if it is above kLeastProbability. Ordered by
// probability times window share, ties in rank order.
std::vector<std::size_t> chosenCandidates(const BoostedTrees& model, const std::vector<RankedCandidate>& ranked,
                                          const std::vector<CandidateJudgement>& judgements);

// records[i] belongs to features[i] (13 detection features, the score and the window share);
// records of a scan are contiguous. Afterwards records holds each scan's chosen precursors, scans
// in input order; a scan may keep none. A candidate whose default score is not a number is never
// kept, nor one that is the same precursor as a better-ranked one (isSamePrecursor): a kept one
// takes the mean m/z of itself and its copies. keptPositions, when given, receives the input index
// of each kept candidate. Returns the number dropped.
std::size_t selectPrecisePrecursors(const BoostedTrees& model, const std::vector<PrecursorFeatures>& features,
                                    std::vector<PrecursorRecord>& records,
                                    std::vector<std::size_t>* keptPositions = nullptr);

}  // namespace corvid
