#include "startup/run_settings.h"

#include <cmath>
#include <optional>

#include "detection/parallel_detection.h"
#include "spectra/ms2_splitter.h"
#include "spectra/open_format_terms.h"
#include "startup/parameter_checks.h"

namespace corvid {
namespace {

// The built-in internal split sizes are used when these keys are absent, empty or not positive.
std::int64_t internalSize(const ParameterTable& table, const char* key, std::int64_t fallback) {
  const auto entry = table.find(key);
  if (entry == table.end() || entry->second.empty()) return fallback;
  const long long value = readInteger64(entry->second);
  return value > 0 ? value : fallback;
}

// The reader of one table: a switch is on exactly when its value is the text "1"; a missing key
// reads as empty text.
struct TableReader {
  const ParameterTable& table;
  const std::string& text(const char* key) const { return valueOrEmpty(table, key); }
  bool on(const char* key) const { return isOn(text(key)); }
};

DetectionSettings detectionSettingsFrom(const TableReader& read) {
  DetectionSettings settings;
  const std::string& debug = read.text("debug_mode");
  settings.debugMode = debug == "1"   ? DebugMode::kSingleScan
                       : debug == "2" ? DebugMode::kScanList
                                      : DebugMode::kOff;
  settings.coElute = readInteger(read.text("co-elute"));
  settings.cutSimilarMono = read.on("cut_similiar_mono");
  settings.isolationWidth = readReal(read.text("isolation_width"));
  settings.isolationFromFile = read.on("isolation_from_file");
  settings.recalibrateWindow = readReal(read.text("recalibrate_window"));
  settings.checkActivationCenter = read.on("check_activationcenter");
  if (read.on("precision_mode")) {
    // A precursor's monoisotopic peak may be missing from the scan just before the MS2 scan and
    // present in the next one: precision mode starts candidates from both neighbours as well.
    settings.checkActivationCenter = false;
    settings.precisionCandidates = true;
  }
  return settings;
}

// mars_threshold (lenient real conversion, "abc" is 0.0), -0.68 when isolation_width is exactly
// "4", -10000.0 when output_all_mars_y is "1" (this wins).
ThresholdSettings thresholdSettingsFrom(const TableReader& read) {
  ThresholdSettings settings;
  settings.threshold = readReal(read.text("mars_threshold"));
  if (read.text("isolation_width") == "4") {
    settings.wideWindow = true;
    settings.threshold = kWideWindowThreshold;
  }
  if (read.text("output_all_mars_y") == "1") settings.threshold = kKeepAllThreshold;
  return settings;
}

// The path keys and the field each fills, as given.
struct PathKey {
  const char* key;
  std::string RunPaths::*field;
};
constexpr PathKey kPathKeys[] = {
    {"datapath", &RunPaths::data},           {"outputpath", &RunPaths::output}, {"logfilepath", &RunPaths::log},
    {"extract_path", &RunPaths::extraction}, {"binpath", &RunPaths::program},   {"ipv_file", &RunPaths::isotopeTable},
};

RunPaths pathsFrom(const TableReader& read) {
  RunPaths paths;
  for (const PathKey& row : kPathKeys) paths.*row.field = read.text(row.key);
  const std::string& trainingSet = read.text("trainingset");
  if (trainingSet != kEmptyPath) paths.trainingSet = trainingSet;
  return paths;
}

// The output switches and the key that turns each on.
struct SwitchKey {
  const char* key;
  bool OutputSwitches::*field;
};
constexpr SwitchKey kOutputSwitchKeys[] = {
    {"output_mgf", &OutputSwitches::mgf},
    {"output_ms2", &OutputSwitches::ms2},
    {"output_kx", &OutputSwitches::kx},
    {"output_table", &OutputSwitches::precursorTable},
    {"output_qc", &OutputSwitches::qcReport},
    {"output_mzml", &OutputSwitches::correctedMzML},
    {"output_trainingdata", &OutputSwitches::trainingData},
    {"export_unchecked_mono", &OutputSwitches::uncheckedLists},
    {"delete_msn", &OutputSwitches::deleteSpectrumFiles},
    {"output_freq", &OutputSwitches::peakDifferences},
};

OutputSwitches outputSwitchesFrom(const TableReader& read) {
  OutputSwitches outputs;
  for (const SwitchKey& row : kOutputSwitchKeys) outputs.*row.field = read.on(row.key);
  return outputs;
}

InputFormatChoice inputFormatFrom(const TableReader& read) {
  InputFormatChoice choice;
  choice.givenText = read.text("input_format");
  choice.folderFormat = formatFromOption(choice.givenText);
  return choice;
}

// Where the run reads and writes, not how: left out of the settings that differ from the defaults.
bool isLocationKey(const std::string& key) {
  return key.starts_with("datapath") || key == "outputpath" || key == "logfilepath" || key == "binpath" ||
         key == "extract_path";
}

// The template's default of key, or nothing for a key without one.
std::optional<std::string> defaultOf(const std::string& key) {
  for (const ParameterDefault& row : parameterDefaults()) {
    if (key == row.key) return row.value;
  }
  for (const ExtensionKey& row : extensionKeys()) {
    if (key == row.key) return row.defaultValue;
  }
  return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> nonDefaultSettingsOf(const ParameterTable& table) {
  std::vector<std::pair<std::string, std::string>> settings;
  for (const auto& [key, value] : table) {
    if (isLocationKey(key)) continue;
    const std::optional<std::string> fallback = defaultOf(key);
    if (fallback ? *fallback != value : !value.empty()) settings.emplace_back(key, value);
  }
  return settings;
}

// A positive whole number as given; anything else the default (with a value Alert).
std::size_t maxSpectrumValuesOf(const std::string& text) {
  long long value = 0;
  return parseInteger(text, value) && value > 0 ? static_cast<std::size_t>(value) : kDefaultMaxSpectrumValues;
}

}  // namespace

RunSettings readRunSettings(const ParameterTable& table) {
  const TableReader read{table};
  RunSettings settings;
  settings.paths = pathsFrom(read);
  settings.inputFormat = inputFormatFrom(read);
  settings.detection = detectionSettingsFrom(read);
  settings.threshold = thresholdSettingsFrom(read);
  settings.model = selectMarsModel(read.text("mars_model"));
  settings.useSvm = read.on("outputsvmlight");
  // Detection ranks and keeps at most six candidates per scan for the SVM, and the threshold
  // prints each record in the single-scan debug mode: both follow from the settings read above.
  settings.detection.outputSvmLight = settings.useSvm;
  settings.threshold.debug = settings.detection.debugMode == DebugMode::kSingleScan;
  settings.svmSampleNumber = read.text("samplenumberinsvmlight");
  settings.svmChargeRange = read.text("svmlight_charge_range");
  settings.precisionMode = read.on("precision_mode");
  settings.keepEveryCandidate = read.text("output_all_mars_y") == "1";
  settings.outputs = outputSwitchesFrom(read);
  settings.split.thresholdBytes = internalSize(table, "ms2_split_threshold", kMS2SplitThreshold);
  // The WIFF part size only for exactly "wiff": "Wiff" and "WIFF" keep the RAW size, as they always have.
  settings.split.partScans =
      internalSize(table, "ms2_part_scans", ms2PartSize(settings.inputFormat.givenText == "wiff"));
  settings.writeSpectrumFiles = read.text("debug_mode") == "0";
  settings.rewriteFiles = read.text("rewrite_files") != "0";
  settings.threads = threadCountFor(readInteger(read.text("threads")));
  settings.openFormatLimits.maxSpectrumValues = maxSpectrumValuesOf(read.text("max_spectrum_values"));
  settings.strictExit = read.on("strict_exit");
  settings.extractorMz = read.text("m/z");
  settings.extractorIntensity = read.text("Intensity");
  settings.valueAlerts = parameterValueAlerts(table);
  settings.nonDefaultSettings = nonDefaultSettingsOf(table);
  return settings;
}

SvmLightSetup svmLightSetupOf(const RunSettings& settings) {
  return makeSvmLightPaths(settings.paths.output, settings.svmSampleNumber, settings.svmChargeRange);
}

std::vector<std::string> parameterValueAlerts(const ParameterTable& table) {
  const TableReader read{table};
  std::vector<std::string> alerts;
  checkReal(read.text("isolation_width"), {"isolation_width", 0.0, true, "above 0"}, alerts);
  checkCoElute(read.text("co-elute"), alerts);
  checkMarsModel(read.text("mars_model"), alerts);
  // isolation_width "4" replaces the threshold by -0.68 and output_all_mars_y "1" by -10000: the
  // value given is then not used at all.
  if (read.text("output_all_mars_y") != "1" && read.text("isolation_width") != "4") {
    checkReal(read.text("mars_threshold"), {"mars_threshold", -HUGE_VAL, false, ""}, alerts);
  }
  checkReal(read.text("recalibrate_window"), {"recalibrate_window", 0.0, false, "0 or more"}, alerts);
  const std::string& maxValues = read.text("max_spectrum_values");
  if (!maxValues.empty() && maxSpectrumValuesOf(maxValues) == kDefaultMaxSpectrumValues &&
      maxValues != std::to_string(kDefaultMaxSpectrumValues)) {
    alerts.push_back("max_spectrum_values = " + maxValues + " is not a whole number above 0: the run uses " +
                     std::to_string(kDefaultMaxSpectrumValues));
  }
  if (read.on("outputsvmlight")) {
    checkSampleNumber(read.text("samplenumberinsvmlight"), alerts);
    checkChargeRange(read.text("svmlight_charge_range"), alerts);
  }
  return alerts;
}

DataCount readDataCount(const ParameterTable& table) {
  DataCount data;
  const std::string& value = valueOrEmpty(table, "datanum");
  data.count = readInteger(value);
  data.alert = dataCountAlert(value, data.count);
  return data;
}

}  // namespace corvid
