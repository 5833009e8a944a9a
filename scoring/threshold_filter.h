#pragma once
// Keeps the candidates whose score is above the MARS threshold, ordered within each MS2 scan by
// descending score.
#include <vector>

#include "spectra/precursor_record.h"
#include "startup/parameter_table.h"

namespace corvid {

// The threshold the parameters ask for: mars_threshold (lenient real conversion, "abc" is 0.0),
// -0.68 when isolation_width is exactly "4" (printing the line "isolation_width"), -10000.0 when
// output_all_mars_y is "1" (this wins).
double marsThreshold(const ParameterTable& parameters);

// records[i] belongs to scores[i]. Afterwards records holds only the kept ones (score strictly
// above the threshold), grouped by scan in input order and by descending score within a scan;
// equal scores keep their input order. scores is not changed.
// Empty scores: nothing happens. Empty records with scores: prints "Exception in Here" and
// returns. Lists of different lengths otherwise: std::out_of_range.
// debug_mode "1" prints one line per record: scan, sorted position, local index, score and the
// record's scan, charge and m/z, e.g. "1201 0 2 0.512345 1201 2 612.345678".
void filterByThreshold(const ParameterTable& parameters, const std::vector<double>& scores,
                       std::vector<PrecursorRecord>& records);

}  // namespace corvid
