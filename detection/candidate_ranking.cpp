#include "detection/candidate_ranking.h"

#include <algorithm>

namespace corvid {
namespace {

// Without ranking every survivor is kept up to this many per scan.
constexpr std::size_t kDefaultScanLimit = 1000;
// The SVM export labels the best-ranked candidates of a scan; six are kept.
constexpr std::size_t kSvmScanLimit = 6;
// Without co-eluting precursors a scan exports its best candidate only.
constexpr std::size_t kSingleScanLimit = 1;

constexpr std::size_t kPositionSlot = 8;
constexpr std::size_t kRankOffset = 7;  // the rank of value v goes to slot v + 7
constexpr std::size_t kProductSlot = 15;

// Values ranked best-first when larger.
bool rankedDescending(std::size_t value) { return value == 2 || value == 4 || value == 5 || value == 7; }

RankingRow rowOf(const PrecursorCandidate& candidate, std::size_t position) {
  const PrecursorFeatures& f = candidate.features;
  RankingRow row{};
  row[0] = candidate.record.mz;
  row[1] = candidate.record.charge;
  row[2] = f[kFeatureMaxSim];
  row[3] = f[kFeatureMzSpread];
  row[4] = f[kFeatureMonoPlusOneCosine];
  row[5] = f[kFeatureIsotopeShare];
  row[6] = f[kFeatureMinusOneMonoCosine];
  row[7] = f[kFeaturePif];
  row[kPositionSlot] = static_cast<double>(position);
  return row;
}

}  // namespace

void rankCandidateRows(std::vector<RankingRow>& rows) {
  for (std::size_t value = 2; value <= 7; ++value) {
    if (rankedDescending(value)) {
      std::stable_sort(rows.begin(), rows.end(),
                       [value](const RankingRow& a, const RankingRow& b) { return a[value] > b[value]; });
    } else {
      std::stable_sort(rows.begin(), rows.end(),
                       [value](const RankingRow& a, const RankingRow& b) { return a[value] < b[value]; });
    }
    double rank = 0.0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (i == 0 || rows[i][value] != rows[i - 1][value]) rank += 1.0;
      rows[i][value + kRankOffset] = rank;
    }
  }
  for (RankingRow& row : rows) {
    const double maxSim = row[9], monoPlusOne = row[11], minusOneMono = row[13], pif = row[14];
    row[kProductSlot] = maxSim * maxSim * maxSim * monoPlusOne * minusOneMono * pif * pif * pif;
  }
  std::stable_sort(rows.begin(), rows.end(),
                   [](const RankingRow& a, const RankingRow& b) { return a[kProductSlot] < b[kProductSlot]; });
}

std::size_t finishScanCandidates(const DetectionSettings& settings, DetectionScratch& scratch,
                                 DetectionOutput& output) {
  std::vector<PrecursorCandidate>& candidates = scratch.scanCandidates;
  std::size_t limit = kDefaultScanLimit;
  const bool rankForSvm = settings.outputSvmLight;
  const bool rankForSingle = settings.coElute == 0;
  if (rankForSvm || rankForSingle) {
    std::vector<RankingRow>& rows = scratch.rankingRows;
    rows.clear();
    // Slot 8 holds the candidate's future position among the output's accepted candidates.
    const std::size_t base = output.records.size();
    for (std::size_t i = 0; i < candidates.size(); ++i) rows.push_back(rowOf(candidates[i], base + i + 1));
    if (rankForSvm) {
      rankCandidateRows(rows);
      limit = kSvmScanLimit;
    }
    if (rankForSingle) {
      rankCandidateRows(rows);
      limit = kSingleScanLimit;
    }
    scratch.rankedCandidates.clear();
    for (const RankingRow& row : rows) {
      const auto position = static_cast<std::size_t>(row[kPositionSlot]);
      scratch.rankedCandidates.push_back(std::move(candidates[position - base - 1]));
    }
    std::swap(candidates, scratch.rankedCandidates);
  }
  const std::size_t kept = std::min(candidates.size(), limit);
  output.exportedPrecursorCount += static_cast<std::int64_t>(kept);
  for (std::size_t i = 0; i < kept; ++i) {
    output.features.push_back(std::move(candidates[i].features));
    output.records.push_back(candidates[i].record);
    if (settings.precisionCandidates) output.windowShares.push_back(candidates[i].windowShare);
  }
  return kept;
}

}  // namespace corvid
