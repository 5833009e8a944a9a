#pragma once
// Reads mzIdentML 1.1 and 1.2 (MS-GF+, OpenMS, Comet, ...) into rank-1 PSMs.
#include <string>

#include "tools/reference_list/search_results.h"

namespace corvid::reflist {

// Streams the file. Besides the rank-1 PSMs it keeps one decoy flag per DBSequence and per
// PeptideEvidence, which the identifications refer to. Throws InputError.
SearchResults readMzIdentMl(const std::string& path, const ReadSettings& settings);

}  // namespace corvid::reflist
