#pragma once
// The whole detection job for one extracted MS1/MS2 pair: load, walk every MS2 scan per
// activation group, gather MS1 signal, detect, score, filter, write spectra and the CSV report.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "scoring/boosted_trees.h"
#include "spectra/corrected_mzml.h"
#include "startup/parameter_table.h"

namespace corvid {

// Corvid's scan number -> the precursors exported for it, best first (scans exported with the
// instrument's precursor are absent).
using CorrectionsByScan = std::unordered_map<std::uint32_t, std::vector<CorrectedPrecursor>>;

// precision_mode's classifier, found like the isotope pattern table and checked to read the
// inputs Corvid computes; a missing, damaged or foreign model throws RunFailure. Read once per
// process and path: runs check it before any work, so a bad model costs no extraction, and every
// file pair of a batch then uses the same model.
const BoostedTrees& loadPrecisionModel(ParameterTable& parameters);

// Outputs go to `outputpath` named after the MS2 file; `outputList` collects the spectrum files
// written. When `corrections` is given, the exported precursors are added to it. Returns false
// when the pair's results already existed and nothing was processed. Failures (missing files,
// unreadable data) are thrown as RunFailure.
bool processSpectrumPair(ParameterTable parameters, const std::string& ms1Path, const std::string& ms2Path,
                         std::vector<std::string>& outputList, CorrectionsByScan* corrections = nullptr);

}  // namespace corvid
