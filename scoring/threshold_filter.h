#pragma once
// Keeps the candidates whose score is above the MARS threshold, ordered within each MS2 scan by
// descending score.
#include <vector>

#include "spectra/precursor_record.h"

namespace corvid {

// The threshold and how the filter reports itself.
struct ThresholdSettings {
  double threshold = -0.34;
  bool wideWindow = false;  // the isolation width forced the threshold: the filter prints "isolation_width"
  bool debug = false;       // one line per record
};

// records[i] belongs to scores[i]. Afterwards records holds only the kept ones (score strictly
// above the threshold), grouped by scan in input order and by descending score within a scan;
// equal scores keep their input order. scores is not changed.
// Empty scores: nothing happens. Otherwise "isolation_width" is printed first when wideWindow. Empty records with scores: prints "Exception in Here" and
// returns. Lists of different lengths otherwise: std::out_of_range.
// debug_mode "1" prints one line per record: scan, sorted position, local index, score and the
// record's scan, charge and m/z, e.g. "1201 0 2 0.512345 1201 2 612.345678".
void filterByThreshold(const ThresholdSettings& settings, const std::vector<double>& scores,
                       std::vector<PrecursorRecord>& records);

}  // namespace corvid
