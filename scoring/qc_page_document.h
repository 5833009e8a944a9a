#pragma once
// The QC page document: the summary rows and the plots of one input file as JSON, in the shape
// writeQcPage (scoring/qc_page.h) draws.
#include <string>

#include <nlohmann/json.hpp>

#include "scoring/qc_figures.h"

namespace corvid {

nlohmann::json qcPageDocument(const QcFigures& figures);

// Shared with the mzQC file: a recorded charge as a label ("none" for 0) and fixed decimals.
std::string chargeLabel(std::int32_t charge);
std::string fixedText(double value, int decimals);

}  // namespace corvid
