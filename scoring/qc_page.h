#pragma once
// The QC report as one self-contained HTML page: the summary table and one card per plot, with
// the page document, the chart library and a small drawing script inlined, so the page opens
// offline and can be mailed or archived as a single file.
//
// The page document (made by the QC figures' code):
//   {"title": "...", "summary": [{"label", "value", "key"?}...], "plots": [{"id", "kind", "title",
//    "caption", "x_title", "y_title", "note"?, ...kind's data}...]}
// with kinds stacked_bars, bars, histogram, heatmap, lines and scatter.
#include <array>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace corvid {

// The chart library's files, found as Corvid's other support files are (beside the executable,
// in the real executable's folder or in the installed share folder): Chart.js, then its matrix
// chart type for the heat map.
inline constexpr std::array<const char*, 2> kQcChartLibraryFiles = {"qc/chart.min.js",
                                                                    "qc/chartjs-chart-matrix.min.js"};

// The whole page. chartLibrary is the library's JavaScript (the files above, in order) and is
// inlined as it is.
std::string qcPageHtml(const nlohmann::json& page, std::string_view chartLibrary);

// Reads the chart library found from programFolder, renders the page and writes it to path
// (complete or not at all). On failure logs "Fail to write the QC page <path>: <reason>" as an
// error and returns false; a missing library file is such a failure, never a page without charts.
bool writeQcPage(const std::string& path, const nlohmann::json& page, const std::string& programFolder);

}  // namespace corvid
