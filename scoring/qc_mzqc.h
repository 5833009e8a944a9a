#pragma once
// The mzQC 1.0.0 file of one input file (<stem>.mzQC): the figures of the QC report as quality
// metrics, with PSI-MS terms where one defines the figure and Corvid's own vocabulary
// (data/corvid-qc.obo) for the rest.
#include <string>

#include <nlohmann/json.hpp>

#include "scoring/qc_figures.h"

namespace corvid {

inline constexpr const char* kQcVocabularyPrefix = "CORVID";

nlohmann::ordered_json mzqcDocument(const QcFigures& figures);

// A local path as a file:// URI (absolute, with the characters a URI cannot hold escaped).
std::string fileUri(const std::string& path);

}  // namespace corvid
