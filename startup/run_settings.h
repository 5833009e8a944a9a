#pragma once
// Settings read once: the parameter table converted into the typed settings that detection,
// scoring and the writers take. Every conversion of a key (its lenient number reading, its "1"
// test, the threshold overrides) happens here and nowhere else.
#include <cstdint>
#include <string>
#include <vector>

#include "detection/detection_context.h"
#include "scoring/mars_model.h"
#include "spectra/precursor_features.h"
#include "scoring/score_candidates.h"
#include "scoring/svm_light_export.h"
#include "scoring/threshold_filter.h"
#include "spectra/mgf_writer.h"
#include "spectra/ms2_splitter.h"
#include "spectra/ms2_writer.h"
#include "startup/parameter_table.h"

namespace corvid {

// -0.68 when isolation_width is exactly "4", whatever mars_threshold says.
inline constexpr double kWideWindowThreshold = -0.68;
// With output_all_mars_y every candidate is kept: no model scores this low.
inline constexpr double kKeepAllThreshold = -10000.0;

DetectionSettings detectionSettingsFrom(const ParameterTable& parameters);
// mars_threshold (lenient real conversion, "abc" is 0.0), -0.68 when isolation_width is exactly
// "4", -10000.0 when output_all_mars_y is "1" (this wins); debug with debug_mode "1".
ThresholdSettings thresholdSettingsFrom(const ParameterTable& parameters);
// The model mars_model names (a missing key reads as empty text: the fallback model).
MarsModelChoice marsModelFrom(const ParameterTable& parameters);
// SVMlight files in outputpath with samplenumberinsvmlight and svmlight_charge_range.
SvmLightSetup svmLightSetupFrom(const ParameterTable& parameters);
// output_all_mars_y is exactly "1": every candidate is kept, by the threshold and in precision mode.
bool keepsEveryCandidate(const ParameterTable& parameters);
// precision_mode's classifier chooses the precursors: the mode is on and not every candidate is
// kept, so its model must be read.
bool precisionModelChooses(const ParameterTable& parameters);
// Worker threads: `threads` when it is a positive number, otherwise every core.
unsigned threadsFrom(const ParameterTable& parameters);
// Scans per MS2 part: the WIFF size when input_format is exactly "wiff".
std::int64_t ms2PartSizeFrom(const ParameterTable& parameters);

// Everything one file pair's processing reads, converted when the pair starts.
struct PairSettings {
  DetectionSettings detection;
  ThresholdSettings threshold;
  MarsModelChoice model = MarsModelChoice::kFallback;
  bool useSvm = false;             // outputsvmlight
  bool exportMGF = true;            // output_mgf
  bool exportMS2 = false;           // output_ms2
  bool exportKX = true;             // output_kx
  bool writeTable = false;         // output_table
  bool writeTrainingData = false;  // output_trainingdata
  bool exportUnchecked = false;    // export_unchecked_mono
  bool precisionMode = false;      // precision_mode
  bool deleteSpectrumFiles = false;  // delete_msn
  bool debugOff = true;            // debug_mode is exactly "0"
  bool rewriteFiles = false;       // rewrite_files is not "0"
  bool peakDifferences = false;    // output_freq
  unsigned threads = 1;            // threads: detection workers
  std::string outputFolder;        // outputpath
  std::string trainingSet;         // trainingset, or empty when not given
};

PairSettings pairSettingsFrom(const ParameterTable& parameters);

// The library calls in their table form, for one-off callers (tests, benchmarks): each converts
// the table and calls the typed function.
// The run's isotope pattern table. It is loaded again for every file pair and rows a short file
// does not reach keep the values of the previous load, so it lives as long as the run.
IsotopePatternTable& runIsotopeTable();

inline DetectionInput makeDetectionInput(const ParameterTable& parameters, const MS1File& ms1) {
  return makeDetectionInput(detectionSettingsFrom(parameters), ms1, runIsotopeTable());
}
inline double marsThreshold(const ParameterTable& parameters) { return thresholdSettingsFrom(parameters).threshold; }
inline void filterByThreshold(const ParameterTable& parameters, const std::vector<double>& scores,
                              std::vector<PrecursorRecord>& records) {
  filterByThreshold(thresholdSettingsFrom(parameters), scores, records);
}
// The writers with their switch (`output_mgf`, `output_ms2`) read from the table: on exactly when "1".
inline bool writeMGF(GroupExport& group, const MS2File& ms2File, const ParameterTable& parameters, const std::string& path) {
  return writeMGF(group, ms2File, isOn(valueOrEmpty(parameters, "output_mgf")), path);
}
inline bool writeMS2(GroupExport& group, const MS2File& ms2File, const ParameterTable& parameters, const std::string& path) {
  return writeMS2(group, ms2File, isOn(valueOrEmpty(parameters, "output_ms2")), path);
}
inline int splitMS2(const ParameterTable& parameters, const std::string& ms2Path, std::vector<std::string>& partPaths) {
  return splitMS2(ms2Path, ms2PartSizeFrom(parameters), partPaths);
}
inline void scoreCandidates(const ParameterTable& parameters, std::vector<PrecursorFeatures>& features,
                            std::vector<double>& scores) {
  scoreCandidates(marsModelFrom(parameters), features, scores);
}

}  // namespace corvid
