#pragma once
// Writes the QC report of one input file: <stem>.qc.html and <stem>.mzQC.
#include <string>

#include "scoring/qc_figures.h"

namespace corvid {

inline constexpr const char* kQcPageSuffix = ".qc.html";
inline constexpr const char* kMzqcSuffix = ".mzQC";

// Both files from the same figures, each through a pending file; false after an "Error" line
// when either could not be written.
bool writeQcReport(const std::string& resultStem, const QcFigures& figures, const std::string& programFolder);

}  // namespace corvid
