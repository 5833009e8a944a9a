#pragma once
// Writing one activation group's results: its spectrum files, its rows of the CSV report and of
// the precursor table, and its precursors for the corrected mzML.
#include <cstddef>
#include <vector>

#include "startup/pair_run.h"

namespace corvid {

// Writes the group's spectra (the positions of its spectra in file order) and appends its rows.
void exportGroup(PairRun& run, int group, const std::vector<std::size_t>& positions);

// After the last group, before the CSV report: the precursor table and the QC report, when asked
// for (the QC report of a split file is written after its parts are joined). A file that could
// not be written marks the pair's outputs incomplete.
void writePairSideFiles(PairRun& run);

}  // namespace corvid
