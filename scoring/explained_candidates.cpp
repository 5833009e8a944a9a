#include "scoring/explained_candidates.h"

#include <cmath>

namespace corvid {
namespace {

// Mean spacing of neighbouring peptide isotope peaks, Da: between 13C's 1.00336 and the lighter
// mix of 15N/18O/34S steps that the second and later isotopes carry.
constexpr double kIsotopeSpacing = 1.00286;

bool samePeak(double a, double b, double tolerancePpm) {
  return std::fabs(a - b) <= b * tolerancePpm * 1e-6;
}

// The isotope k in first..last of `better` on which `mz` lies, or -1 when none.
int isotopeOf(double mz, const PrecursorRecord& better, int first, int last, double tolerancePpm) {
  for (int k = first; k <= last; ++k) {
    if (samePeak(mz, better.mz + k * kIsotopeSpacing / better.charge, tolerancePpm)) return k;
  }
  return -1;
}

long wholeCharge(double charge) { return std::lround(charge); }

}  // namespace

ExplainedCandidateSettings defaultExplainedCandidateSettings() { return {}; }

bool isExplainedBy(const PrecursorRecord& candidate, const PrecursorRecord& better,
                   const ExplainedCandidateSettings& settings) {
  const long z = wholeCharge(candidate.charge);
  const long zBetter = wholeCharge(better.charge);
  if (z <= 0 || zBetter <= 0) return false;
  if (z == zBetter) {
    // Isotope 1, 2 or 3 of the better candidate taken for a monoisotopic peak.
    return isotopeOf(candidate.mz, better, 1, settings.highestIsotope, settings.tolerancePpm) >= 0;
  }
  // Another charge starting on the better candidate's envelope. A divisor or multiple of its
  // charge puts all (divisor) or every other (multiple) peak on that envelope; an unrelated
  // charge shares its first peak only when it starts at the same monoisotopic peak.
  const bool harmonic = z % zBetter == 0 || zBetter % z == 0;
  const int last = harmonic ? settings.highestHarmonicIsotope : 0;
  return isotopeOf(candidate.mz, better, 0, last, settings.tolerancePpm) >= 0;
}

std::size_t dropExplainedCandidates(std::vector<PrecursorRecord>& records,
                                    const ExplainedCandidateSettings& settings) {
  std::vector<PrecursorRecord> kept;
  kept.reserve(records.size());
  std::size_t start = 0;
  while (start < records.size()) {
    // A scan's records are the run of records with its scan number, best-ranked first.
    std::size_t end = start + 1;
    while (end < records.size() && records[end].scan == records[start].scan) ++end;
    const std::size_t scanFirstKept = kept.size();
    for (std::size_t i = start; i < end; ++i) {
      bool explained = false;
      for (std::size_t j = scanFirstKept; j < kept.size() && !explained; ++j) {
        explained = isExplainedBy(records[i], kept[j], settings);
      }
      // The first record of a scan has nothing kept before it, so it always stays.
      if (!explained) kept.push_back(records[i]);
    }
    start = end;
  }
  const std::size_t dropped = records.size() - kept.size();
  records.swap(kept);
  return dropped;
}

}  // namespace corvid
