#include "startup/run_settings.h"

#include "detection/parallel_detection.h"

namespace corvid {
namespace {

// A switch is on exactly when its value is the text "1"; a missing key is off.
bool flag(const ParameterTable& parameters, const std::string& key) { return isOn(valueOrEmpty(parameters, key)); }

}  // namespace

IsotopePatternTable& runIsotopeTable() {
  static IsotopePatternTable table;  // zero until the first load
  return table;
}

DetectionSettings detectionSettingsFrom(const ParameterTable& parameters) {
  DetectionSettings settings;
  const std::string& debug = valueOrEmpty(parameters, "debug_mode");
  settings.debugMode = debug == "1"   ? DebugMode::kSingleScan
                       : debug == "2" ? DebugMode::kScanList
                                      : DebugMode::kOff;
  settings.coElute = readInteger(valueOrEmpty(parameters, "co-elute"));
  settings.cutSimilarMono = flag(parameters, "cut_similiar_mono");
  settings.isolationWidth = readReal(valueOrEmpty(parameters, "isolation_width"));
  settings.recalibrateWindow = readReal(valueOrEmpty(parameters, "recalibrate_window"));
  settings.outputSvmLight = flag(parameters, "outputsvmlight");
  settings.checkActivationCenter = flag(parameters, "check_activationcenter");
  settings.dataPath = valueOrEmpty(parameters, "datapath");
  if (flag(parameters, "precision_mode")) {
    // A precursor's monoisotopic peak may be missing from the scan just before the MS2 scan and
    // present in the next one: precision mode starts candidates from both neighbours as well.
    settings.checkActivationCenter = false;
    settings.precisionCandidates = true;
  }
  return settings;
}

ThresholdSettings thresholdSettingsFrom(const ParameterTable& parameters) {
  ThresholdSettings settings;
  settings.threshold = readReal(valueOrEmpty(parameters, "mars_threshold"));
  if (valueOrEmpty(parameters, "isolation_width") == "4") {
    settings.wideWindow = true;
    settings.threshold = kWideWindowThreshold;
  }
  if (keepsEveryCandidate(parameters)) settings.threshold = kKeepAllThreshold;
  settings.debug = valueOrEmpty(parameters, "debug_mode") == "1";
  return settings;
}

bool keepsEveryCandidate(const ParameterTable& parameters) {
  return valueOrEmpty(parameters, "output_all_mars_y") == "1";
}

bool precisionModelChooses(const ParameterTable& parameters) {
  return flag(parameters, "precision_mode") && !keepsEveryCandidate(parameters);
}

MarsModelChoice marsModelFrom(const ParameterTable& parameters) {
  return selectMarsModel(valueOrEmpty(parameters, "mars_model"));
}

SvmLightSetup svmLightSetupFrom(const ParameterTable& parameters) {
  return makeSvmLightPaths(valueOrEmpty(parameters, "outputpath"), valueOrEmpty(parameters, "samplenumberinsvmlight"),
                           valueOrEmpty(parameters, "svmlight_charge_range"));
}

unsigned threadsFrom(const ParameterTable& parameters) {
  return threadCountFor(readInteger(valueOrEmpty(parameters, "threads")));
}

std::int64_t ms2PartSizeFrom(const ParameterTable& parameters) {
  return ms2PartSize(valueOrEmpty(parameters, "input_format") == "wiff");
}

PairSettings pairSettingsFrom(const ParameterTable& parameters) {
  PairSettings settings;
  settings.detection = detectionSettingsFrom(parameters);
  settings.threshold = thresholdSettingsFrom(parameters);
  settings.model = marsModelFrom(parameters);
  settings.useSvm = flag(parameters, "outputsvmlight");
  settings.exportMGF = flag(parameters, "output_mgf");
  settings.exportMS2 = flag(parameters, "output_ms2");
  settings.exportKX = flag(parameters, "output_kx");
  settings.writeTable = flag(parameters, "output_table");
  settings.writeTrainingData = flag(parameters, "output_trainingdata");
  settings.exportUnchecked = flag(parameters, "export_unchecked_mono");
  settings.precisionMode = flag(parameters, "precision_mode");
  settings.deleteSpectrumFiles = flag(parameters, "delete_msn");
  settings.debugOff = valueOrEmpty(parameters, "debug_mode") == "0";
  settings.rewriteFiles = valueOrEmpty(parameters, "rewrite_files") != "0";
  settings.peakDifferences = flag(parameters, "output_freq");
  settings.threads = threadsFrom(parameters);
  settings.outputFolder = valueOrEmpty(parameters, "outputpath");
  const std::string& trainingSet = valueOrEmpty(parameters, "trainingset");
  if (trainingSet != kEmptyPath) settings.trainingSet = trainingSet;
  return settings;
}

}  // namespace corvid
