#pragma once
// Whether a candidate's peaks are already explained by a better candidate of the same scan: its
// isotope peaks taken for a precursor of their own, or the same envelope read again at a related
// charge (charge harmonics). Precision mode's classifier reads these relations.
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

// The settings precision mode uses.
ExplainedCandidateSettings defaultExplainedCandidateSettings();

// Whether `better`'s isotope envelope explains `candidate`: see the settings.
bool isExplainedBy(const PrecursorRecord& candidate, const PrecursorRecord& better,
                   const ExplainedCandidateSettings& settings);

// Whether two candidates are one precursor: the same charge and the same m/z within the
// tolerance (near starts of one ion, from the MS1 scans on both sides of the MS2 scan).
bool isSamePrecursor(const PrecursorRecord& a, const PrecursorRecord& b, const ExplainedCandidateSettings& settings);

}  // namespace corvid
