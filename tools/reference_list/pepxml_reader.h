#pragma once
// Reads pepXML (Comet, MSFragger, the Trans-Proteomic Pipeline) into rank-1 PSMs.
#include <string>

#include "tools/reference_list/search_results.h"

namespace corvid::reflist {

// Streams the file: memory grows with the number of rank-1 PSMs only. Throws InputError.
SearchResults readPepXml(const std::string& path, const ReadSettings& settings);

}  // namespace corvid::reflist
