#pragma once
// Precision mode: drops the kept candidates of an MS2 scan whose peaks a better-ranked kept
// candidate of the same scan already explains -- its own isotope peaks reported as a precursor of
// their own, or the same envelope reported again at a related charge (charge harmonics).
#include <cstddef>
#include <vector>

#include "spectra/precursor_record.h"

namespace corvid {

struct ExplainedCandidateSettings {
  // Two m/z values are the same peak when they differ by at most this many ppm.
  double tolerancePpm = 20.0;
  // A candidate of the same charge is explained when it lies on isotopes 1..this of a better one.
  int highestIsotope = 3;
  // A candidate of another charge is explained when its monoisotopic m/z lies on isotopes
  // 0..this of a better one (and, see isExplainedBy, its charge is related to the better one's).
  int highestHarmonicIsotope = 3;
};

// The settings used by precision_mode.
ExplainedCandidateSettings defaultExplainedCandidateSettings();

// Whether `better`'s isotope envelope explains `candidate`: see the settings.
bool isExplainedBy(const PrecursorRecord& candidate, const PrecursorRecord& better,
                   const ExplainedCandidateSettings& settings);

// records: grouped by scan, best-first within a scan (what filterByThreshold leaves). Walks each
// scan's records best-first and drops every record explained by a better-ranked record kept
// before it; the best-ranked record of a scan is always kept and the order of the kept ones is
// unchanged. Returns the number of dropped records.
std::size_t dropExplainedCandidates(std::vector<PrecursorRecord>& records,
                                    const ExplainedCandidateSettings& settings);

}  // namespace corvid
