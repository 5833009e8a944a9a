#pragma once
// Stand-in for the QC page renderer until the charting page is merged: same signature, and it
// writes the page document pretty-printed inside a <pre> block.
#include <string>

#include <nlohmann/json.hpp>

namespace corvid {

// Writes the page for the document; false after an "Error" line when it cannot be written.
bool writeQcPage(const std::string& path, const nlohmann::json& page, const std::string& programFolder);

}  // namespace corvid
