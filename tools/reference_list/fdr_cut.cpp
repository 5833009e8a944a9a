#include "tools/reference_list/fdr_cut.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <unordered_map>

namespace corvid::reflist {

namespace {

bool isBetter(double candidate, double incumbent, bool lowerIsBetter) {
  if (!hasValue(candidate)) return false;
  if (!hasValue(incumbent)) return true;
  return lowerIsBetter ? candidate < incumbent : candidate > incumbent;
}

}  // namespace

std::vector<Psm> bestPsmPerSpectrum(const std::vector<Psm>& psms, bool byQValue, bool lowerIsBetter) {
  std::unordered_map<std::string, std::size_t> bestOfKey;
  std::vector<std::size_t> order;  // first index of each key, for file order
  for (std::size_t i = 0; i < psms.size(); ++i) {
    const auto [entry, inserted] = bestOfKey.try_emplace(psms[i].spectrumKey, i);
    if (inserted) {
      order.push_back(i);
      continue;
    }
    const Psm& incumbent = psms[entry->second];
    const bool better = byQValue ? isBetter(psms[i].qValue, incumbent.qValue, true)
                                 : isBetter(psms[i].score, incumbent.score, lowerIsBetter);
    if (better) entry->second = i;
  }
  std::vector<Psm> best;
  best.reserve(order.size());
  for (const std::size_t first : order) best.push_back(psms[bestOfKey[psms[first].spectrumKey]]);
  return best;
}

CutResult cutAtFdr(const std::vector<Psm>& psms, double maxFdr, bool lowerIsBetter) {
  CutResult result;
  result.scoreThreshold = std::nan("");
  std::vector<std::size_t> ranked;
  for (std::size_t i = 0; i < psms.size(); ++i) {
    if (hasValue(psms[i].score)) {
      ranked.push_back(i);
    } else {
      ++result.withoutValue;
    }
  }
  // Stable, so equal scores keep file order (the counting treats them as one step anyway).
  std::stable_sort(ranked.begin(), ranked.end(), [&](std::size_t a, std::size_t b) {
    return lowerIsBetter ? psms[a].score < psms[b].score : psms[a].score > psms[b].score;
  });

  // FDR after each step, written to every PSM of the step.
  std::vector<double> fdrAt(ranked.size());
  std::size_t targets = 0;
  std::size_t decoys = 0;
  for (std::size_t stepStart = 0; stepStart < ranked.size();) {
    std::size_t stepEnd = stepStart;
    while (stepEnd < ranked.size() && psms[ranked[stepEnd]].score == psms[ranked[stepStart]].score) {
      (psms[ranked[stepEnd]].isDecoy ? decoys : targets) += 1;
      ++stepEnd;
    }
    const double fdr = targets == 0 ? std::numeric_limits<double>::infinity()
                                    : static_cast<double>(decoys) / static_cast<double>(targets);
    std::fill(fdrAt.begin() + static_cast<std::ptrdiff_t>(stepStart),
              fdrAt.begin() + static_cast<std::ptrdiff_t>(stepEnd), fdr);
    stepStart = stepEnd;
  }
  result.targets = targets;
  result.decoys = decoys;

  // q-value: the running minimum from the worst step up.
  std::vector<bool> keep(psms.size(), false);
  double qValue = std::numeric_limits<double>::infinity();
  for (std::size_t r = ranked.size(); r-- > 0;) {
    qValue = std::min(qValue, fdrAt[r]);
    const Psm& psm = psms[ranked[r]];
    if (!psm.isDecoy && qValue <= maxFdr) {
      keep[ranked[r]] = true;
      if (!hasValue(result.scoreThreshold)) result.scoreThreshold = psm.score;
    }
  }
  for (std::size_t i = 0; i < psms.size(); ++i) {
    if (keep[i]) result.kept.push_back(psms[i]);
  }
  return result;
}

CutResult cutAtQValue(const std::vector<Psm>& psms, double maxQValue) {
  CutResult result;
  result.scoreThreshold = std::nan("");
  for (const Psm& psm : psms) {
    if (!hasValue(psm.qValue)) {
      ++result.withoutValue;
      continue;
    }
    (psm.isDecoy ? result.decoys : result.targets) += 1;
    if (!psm.isDecoy && psm.qValue <= maxQValue) result.kept.push_back(psm);
  }
  return result;
}

}  // namespace corvid::reflist
