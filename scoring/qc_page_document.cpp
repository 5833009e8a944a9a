#include "scoring/qc_page_document.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "spectra/mzml_output.h"

namespace corvid {
namespace {

using nlohmann::json;

constexpr double kSecondsPerMinute = 60.0;

std::string joined(const std::vector<std::string>& names, const char* separator) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : separator) + name;
  return text.empty() ? "none" : text;
}

std::string percentOf(std::int64_t part, std::int64_t whole) {
  return whole > 0 ? fixedText(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1) + "%" : "0.0%";
}

json row(const char* key, const std::string& label, const std::string& value) {
  return {{"key", key}, {"label", label}, {"value", value}};
}

std::string settingsText(const QcRunFacts& facts) {
  std::vector<std::string> settings;
  for (const auto& [key, value] : facts.nonDefaultSettings) settings.push_back(key + "=" + value);
  return joined(settings, ", ");
}

// "-65 V: 5012 MS2 scans; -45 V: 4988 MS2 scans"
std::string voltagesText(const QcRunFacts& facts) {
  std::string text;
  for (const auto& [voltage, scans] : facts.ms2ScansByVoltage) {
    if (!text.empty()) text += "; ";
    text += formatNumber(voltage) + " V: " + std::to_string(scans) + " MS2 scans";
  }
  return text;
}

json summaryRows(const QcFigures& figures) {
  const QcRunFacts& facts = figures.facts;
  const double perScan = figures.ms2Scans > 0
                             ? static_cast<double>(figures.exportedPrecursors) / static_cast<double>(figures.ms2Scans)
                             : 0.0;
  json rows = json::array();
  rows.push_back(row("input_file", "Input file", std::filesystem::path(facts.inputPath).filename().string()));
  rows.push_back(row("input_sha1", "Input file SHA-1", facts.inputSha1.empty() ? "unknown" : facts.inputSha1));
  rows.push_back(row("instrument", "Instrument", facts.instrument));
  rows.push_back(row("analyzers", "Analyzers", joined(figures.analyzers, ", ")));
  rows.push_back(row("activations", "Activations", joined(figures.activations, ", ")));
  rows.push_back(row("ms1_spectra", "MS1 spectra", std::to_string(facts.ms1Spectra)));
  rows.push_back(row("ms2_spectra", "MS2 spectra", std::to_string(facts.ms2Spectra)));
  rows.push_back(row("ms2_scans", "MS2 scans in the report", std::to_string(figures.ms2Scans)));
  rows.push_back(row("precursors_exported", "Precursors exported", std::to_string(figures.exportedPrecursors)));
  rows.push_back(row("precursors_per_scan", "Precursors per MS2 scan", fixedText(perScan, 3)));
  for (std::size_t c = 0; c < kQcClassCount; ++c) {
    rows.push_back(
        row(kQcClassKeys[c], std::string("First precursor: ") + kQcClassNames[c],
            std::to_string(figures.classes[c]) + " (" + percentOf(figures.classes[c], figures.ms2Scans) + ")"));
  }
  if (!facts.ms2ScansByVoltage.empty())
    rows.push_back(row("faims_voltages", "FAIMS compensation voltages", voltagesText(facts)));
  rows.push_back(row("co_isolated_share", "Co-isolated share",
                     percentOf(figures.coIsolatedScans, figures.ms2Scans) + " (" +
                         std::to_string(figures.coIsolatedScans) + " of " + std::to_string(figures.ms2Scans) +
                         " MS2 scans)"));
  rows.push_back(row("version", "Corvid version", facts.version));
  rows.push_back(row("settings", "Settings other than the defaults", settingsText(facts)));
  rows.push_back(row("run_time", "Run time", fixedText(facts.runSeconds, 1) + " s"));
  return rows;
}

// What each plot says: id, kind, title, caption, axis titles.
struct PlotTexts {
  const char* id;
  const char* kind;
  const char* title;
  const char* caption;
  const char* xTitle;
  const char* yTitle;
};

constexpr PlotTexts kCorrectionClassesTexts{
    "correction_classes",
    "stacked_bars",
    "Correction of the first precursor per recorded charge",
    "Each bar is one recorded charge; its parts count the MS2 scans whose first exported precursor "
    "falls in each class.",
    "recorded charge",
    "MS2 scans (count)"};
constexpr PlotTexts kChargeHeatmapTexts{
    "charge_heatmap",
    "heatmap",
    "Recorded against Corvid's charge",
    "Each cell counts the MS2 scans whose first precursor of Corvid's own has that charge (row) for "
    "the recorded charge (column); off the diagonal Corvid changed the charge.",
    "recorded charge",
    "Corvid's charge"};
constexpr PlotTexts kPrecursorsPerScanTexts{
    "precursors_per_scan",
    "bars",
    "Precursors exported per MS2 scan",
    "Each bar counts the MS2 scans that exported that many precursors; two or more are co-isolated.",
    "precursors exported",
    "MS2 scans (count)"};
constexpr PlotTexts kOverTimeTexts{
    "over_time",
    "lines",
    "Co-isolation and precursor ion fraction over retention time",
    "Per retention-time bin: the share of MS2 scans with two or more precursors, and the median "
    "precursor ion fraction of the first precursor; gaps are bins without scans.",
    "retention time (min)",
    "share (fraction, 0 to 1)"};
constexpr PlotTexts kMzVsRtTexts{"mz_vs_rt",
                                 "scatter",
                                 "Exported precursors over retention time",
                                 "Each point is one exported precursor at its MS2 scan's retention time and its m/z.",
                                 "retention time (min)",
                                 "precursor m/z (Th)"};
constexpr PlotTexts kRefinedPpmTexts{
    "refined_ppm",
    "histogram",
    "m/z change of refined precursors",
    "How far Corvid moved the first precursor when it kept the charge but matched neither the recorded m/z "
    "nor an isotope of it (Corvid's minus recorded).",
    "m/z change (ppm)",
    "MS2 scans (count)"};
constexpr PlotTexts kScoresTexts{"scores",
                                 "histogram",
                                 "Scores of Corvid's precursors",
                                 "The scores of the precursors Corvid exported; the line marks the threshold "
                                 "they had to pass.",
                                 "score (model output)",
                                 "precursors (count)"};

json plot(const PlotTexts& texts) {
  return {{"id", texts.id},           {"kind", texts.kind},      {"title", texts.title},
          {"caption", texts.caption}, {"x_title", texts.xTitle}, {"y_title", texts.yTitle}};
}

json histogramFields(json plotJson, const QcHistogram& histogram) {
  plotJson["bin_edges"] = histogram.binEdges;
  plotJson["counts"] = histogram.counts;
  return plotJson;
}

json classesPlot(const QcFigures& figures) {
  json result = plot(kCorrectionClassesTexts);
  json categories = json::array();
  json series = json::array();
  for (const auto& [charge, counts] : figures.classesByRecordedCharge) categories.push_back(chargeLabel(charge));
  for (std::size_t c = 0; c < kQcClassCount; ++c) {
    json values = json::array();
    for (const auto& [charge, counts] : figures.classesByRecordedCharge) values.push_back(counts[c]);
    series.push_back({{"name", kQcClassNames[c]}, {"values", values}});
  }
  result["categories"] = categories;
  result["series"] = series;
  return result;
}

json chargeHeatmap(const QcFigures& figures) {
  json result = plot(kChargeHeatmapTexts);
  std::vector<std::int32_t> recorded;
  std::vector<std::int32_t> corvid;
  for (const auto& [pair, count] : figures.recordedVsCorvidCharge) {
    if (std::find(recorded.begin(), recorded.end(), pair.first) == recorded.end()) recorded.push_back(pair.first);
    if (std::find(corvid.begin(), corvid.end(), pair.second) == corvid.end()) corvid.push_back(pair.second);
  }
  std::sort(recorded.begin(), recorded.end());
  std::sort(corvid.begin(), corvid.end());
  json cells = json::array();
  for (const auto& [pair, count] : figures.recordedVsCorvidCharge) {
    const auto x = std::find(recorded.begin(), recorded.end(), pair.first) - recorded.begin();
    const auto y = std::find(corvid.begin(), corvid.end(), pair.second) - corvid.begin();
    cells.push_back({x, y, count});
  }
  json xLabels = json::array();
  json yLabels = json::array();
  for (std::int32_t charge : recorded) xLabels.push_back(chargeLabel(charge));
  for (std::int32_t charge : corvid) yLabels.push_back(chargeLabel(charge));
  result["x_labels"] = xLabels;
  result["y_labels"] = yLabels;
  result["cells"] = cells;
  return result;
}

json precursorsPerScanPlot(const QcFigures& figures) {
  json result = plot(kPrecursorsPerScanTexts);
  json categories = json::array();
  for (std::size_t n = 0; n < figures.scansByPrecursorCount.size(); ++n) categories.push_back(std::to_string(n));
  result["categories"] = categories;
  result["values"] = figures.scansByPrecursorCount;
  return result;
}

json optionalValues(const std::vector<std::optional<double>>& values) {
  json list = json::array();
  for (const std::optional<double>& value : values) list.push_back(value ? json(*value) : json(nullptr));
  return list;
}

json overTimePlot(const QcFigures& figures) {
  json result = plot(kOverTimeTexts);
  json x = json::array();
  for (double centre : figures.timeBins.centres) x.push_back(centre / kSecondsPerMinute);
  result["x"] = x;
  result["series"] =
      json::array({{{"name", "co-isolated share"}, {"values", optionalValues(figures.coIsolatedShareOverTime)}},
                   {{"name", "median precursor ion fraction"}, {"values", optionalValues(figures.medianPifOverTime)}}});
  result["y_max"] = 1;
  return result;
}

json scatterPlot(const QcFigures& figures) {
  json result = plot(kMzVsRtTexts);
  json points = json::array();
  for (const auto& [time, mz] : figures.scatter) points.push_back({time / kSecondsPerMinute, mz});
  result["points"] = points;
  if (figures.scatterTotal > static_cast<std::int64_t>(figures.scatter.size())) {
    result["note"] = std::to_string(figures.scatter.size()) + " of " + std::to_string(figures.scatterTotal) +
                     " precursors shown, evenly spread in scan order";
  }
  return result;
}

json plots(const QcFigures& figures) {
  json list = json::array();
  list.push_back(classesPlot(figures));
  list.push_back(histogramFields(plot(kRefinedPpmTexts), figures.refinedPpm));
  list.push_back(chargeHeatmap(figures));
  list.push_back(precursorsPerScanPlot(figures));
  list.push_back(overTimePlot(figures));
  json scores = histogramFields(plot(kScoresTexts), figures.scores);
  if (figures.facts.thresholdApplies) {
    scores["marker"] = {{"value", figures.facts.scoreThreshold},
                        {"label", "threshold " + fixedText(figures.facts.scoreThreshold, 2)}};
  }
  list.push_back(scores);
  list.push_back(scatterPlot(figures));
  return list;
}

}  // namespace

std::string chargeLabel(std::int32_t charge) { return charge <= 0 ? "none" : std::to_string(charge); }

std::string fixedText(double value, int decimals) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  return buffer;
}

json qcPageDocument(const QcFigures& figures) {
  return {{"title", "Corvid QC: " + figures.facts.label}, {"summary", summaryRows(figures)}, {"plots", plots(figures)}};
}

}  // namespace corvid
