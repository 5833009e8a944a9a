#include "scoring/qc_mzqc.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "build_config.h"

namespace corvid {
namespace {

using nlohmann::ordered_json;

constexpr const char* kPsiMsVersion = "4.1.257";
constexpr const char* kUnitOntologyVersion = "v2023-05-23";
constexpr const char* kCorvidVocabularyVersion = "1.0.0";

ordered_json term(const char* accession, const char* name) { return {{"accession", accession}, {"name", name}}; }

ordered_json metric(const char* accession, const char* name, ordered_json value) {
  ordered_json result = term(accession, name);
  result["value"] = std::move(value);
  return result;
}

ordered_json countMetric(const char* accession, const char* name, std::int64_t value) {
  ordered_json result = metric(accession, name, value);
  result["unit"] = term("UO:0000189", "count unit");
  return result;
}

ordered_json fileFormat(const std::string& format) {
  if (format == "mzML") return term("MS:1000584", "mzML format");
  if (format == "mzXML") return term("MS:1000566", "ISB mzXML format");
  if (format == "RAW") return term("MS:1000563", "Thermo RAW format");
  if (format == "WIFF") return term("MS:1000562", "ABI WIFF format");
  return term("MS:1002597", "MS1 format");
}

ordered_json metadata(const QcRunFacts& facts) {
  ordered_json properties = ordered_json::array();
  if (!facts.inputSha1.empty()) {
    ordered_json sha1 = term("MS:1000569", "SHA-1");
    sha1["value"] = facts.inputSha1;
    properties.push_back(sha1);
  }
  ordered_json completion = term("MS:1000747", "completion time");
  completion["value"] = facts.completionTime;
  properties.push_back(completion);
  ordered_json input = {{"name", std::filesystem::path(facts.inputPath).filename().string()},
                        {"location", fileUri(facts.inputPath)},
                        {"fileFormat", fileFormat(facts.inputFormat)},
                        {"fileProperties", properties}};
  ordered_json software = term("CORVID:0000000", "Corvid");
  software["version"] = facts.version;
  software["uri"] = build::kWebAddress;
  return {{"label", facts.label},
          {"inputFiles", ordered_json::array({input})},
          {"analysisSoftware", ordered_json::array({software})}};
}

// The quartiles of values by linear interpolation between order statistics (empty for none).
std::vector<double> fiveNumbers(std::vector<double> values) {
  if (values.empty()) return {};
  std::sort(values.begin(), values.end());
  std::vector<double> result;
  for (double quantile : {0.0, 0.25, 0.5, 0.75, 1.0}) {
    const double position = quantile * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(std::floor(position));
    const std::size_t above = std::min(below + 1, values.size() - 1);
    result.push_back(values[below] + (values[above] - values[below]) * (position - static_cast<double>(below)));
  }
  return result;
}

ordered_json chargeMetrics(const QcFigures& figures) {
  ordered_json metrics = ordered_json::array();
  if (figures.exportedPrecursors == 0) return metrics;
  std::vector<std::int32_t> charges;
  std::vector<double> fractions;
  for (const auto& [charge, count] : figures.exportedCharges) {
    charges.push_back(charge);
    fractions.push_back(static_cast<double>(count) / static_cast<double>(figures.exportedPrecursors));
  }
  metrics.push_back(metric("MS:4000063", "MS2 known precursor charges fractions",
                           {{"MS:1000041", charges}, {"UO:0000191", fractions}}));
  metrics.push_back(metric("MS:4000173", "mean MS2 precursor charge in all spectra", figures.meanExportedCharge));
  metrics.push_back(metric("MS:4000175", "median MS2 precursor charge in all spectra", figures.medianExportedCharge));
  return metrics;
}

ordered_json corvidMetrics(const QcFigures& figures) {
  ordered_json metrics = ordered_json::array();
  metrics.push_back(countMetric("CORVID:0000007", "number of MS2 scans processed", figures.ms2Scans));
  metrics.push_back(countMetric("CORVID:0000005", "number of precursors exported", figures.exportedPrecursors));
  metrics.push_back(metric("CORVID:0000006", "mean number of precursors exported per MS2 scan",
                           figures.ms2Scans > 0
                               ? static_cast<double>(figures.exportedPrecursors) / static_cast<double>(figures.ms2Scans)
                               : 0.0));
  metrics.push_back(countMetric("CORVID:0000008", "number of co-isolated MS2 scans", figures.coIsolatedScans));
  ordered_json share = metric("CORVID:0000002", "co-isolated MS2 scan fraction", coIsolatedShare(figures));
  share["unit"] = term("UO:0000191", "fraction");
  metrics.push_back(share);
  std::vector<std::string> names(kQcClassNames.begin(), kQcClassNames.end());
  std::vector<std::int64_t> counts(figures.classes.begin(), figures.classes.end());
  metrics.push_back(metric("CORVID:0000001", "first precursor correction classes",
                           {{"CORVID:0000011", names}, {"CORVID:0000012", counts}}));
  std::vector<std::int64_t> precursorCounts;
  for (std::size_t n = 0; n < figures.scansByPrecursorCount.size(); ++n) precursorCounts.push_back(std::int64_t(n));
  metrics.push_back(metric("CORVID:0000003", "precursors exported per MS2 scan distribution",
                           {{"CORVID:0000013", precursorCounts}, {"CORVID:0000012", figures.scansByPrecursorCount}}));
  if (!figures.facts.ms2ScansByVoltage.empty()) {
    std::vector<double> voltages;
    std::vector<std::int64_t> scans;
    for (const auto& [voltage, count] : figures.facts.ms2ScansByVoltage) {
      voltages.push_back(voltage);
      scans.push_back(count);
    }
    metrics.push_back(metric("CORVID:0000014", "MS2 scans per FAIMS compensation voltage",
                             {{"MS:1001581", voltages}, {"CORVID:0000012", scans}}));
  }
  const std::vector<double> quartiles = fiveNumbers(figures.firstPifValues);
  if (!quartiles.empty()) {
    ordered_json pif = metric("CORVID:0000004", "first precursor ion fraction quartiles", quartiles);
    pif["unit"] = term("UO:0000191", "fraction");
    metrics.push_back(pif);
  }
  return metrics;
}

ordered_json vocabularies() {
  return ordered_json::array(
      {{{"name", "Proteomics Standards Initiative Mass Spectrometry Ontology"},
        {"uri",
         std::string("https://github.com/HUPO-PSI/psi-ms-CV/releases/download/v") + kPsiMsVersion + "/psi-ms.obo"},
        {"version", kPsiMsVersion}},
       {{"name", "Unit Ontology"},
        {"uri", std::string("https://raw.githubusercontent.com/bio-ontology-research-group/unit-ontology/") +
                    kUnitOntologyVersion + "/unit-ontology.obo"},
        {"version", kUnitOntologyVersion}},
       {{"name", "Corvid quality-control vocabulary"},
        {"uri", std::string(build::kWebAddress) + "/corvid-qc.obo"},
        {"version", kCorvidVocabularyVersion}}});
}

}  // namespace

std::string fileUri(const std::string& path) {
  std::error_code ignored;
  const std::string absolute = std::filesystem::absolute(path, ignored).lexically_normal().generic_string();
  std::string uri = "file://";
  if (!absolute.starts_with('/')) uri += '/';  // a drive letter
  for (unsigned char c : absolute) {
    if (std::isalnum(c) != 0 || std::string_view("/-._~:").find(static_cast<char>(c)) != std::string_view::npos) {
      uri += static_cast<char>(c);
    } else {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", c);
      uri += escaped;
    }
  }
  return uri;
}

nlohmann::ordered_json mzqcDocument(const QcFigures& figures) {
  ordered_json metrics = ordered_json::array();
  metrics.push_back(countMetric("MS:4000059", "number of MS1 spectra", figures.facts.ms1Spectra));
  metrics.push_back(countMetric("MS:4000060", "number of MS2 spectra", figures.facts.ms2Spectra));
  for (ordered_json& entry : chargeMetrics(figures)) metrics.push_back(std::move(entry));
  for (ordered_json& entry : corvidMetrics(figures)) metrics.push_back(std::move(entry));
  ordered_json run = {{"metadata", metadata(figures.facts)}, {"qualityMetrics", metrics}};
  ordered_json root = {{"version", "1.0.0"},
                       {"creationDate", figures.facts.completionTime},
                       {"description", "Corvid's precursor correction of " + figures.facts.label},
                       {"runQualities", ordered_json::array({run})},
                       {"controlledVocabularies", vocabularies()}};
  return ordered_json{{"mzQC", root}};
}

}  // namespace corvid
