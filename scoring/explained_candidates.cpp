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

bool isSamePrecursor(const PrecursorRecord& a, const PrecursorRecord& b, const ExplainedCandidateSettings& settings) {
  return wholeCharge(a.charge) == wholeCharge(b.charge) && samePeak(a.mz, b.mz, settings.tolerancePpm);
}

}  // namespace corvid
