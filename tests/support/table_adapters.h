#pragma once
// The library calls in their parameter-table form, for tests and benchmarks: each reads the table
// with the run's own settings reader and calls the typed function, so a test states its settings
// as a user would.
#include <string>
#include <vector>

#include "detection/detection_context.h"
#include "detection/isotope_pattern_table.h"
#include "scoring/score_candidates.h"
#include "scoring/threshold_filter.h"
#include "spectra/mgf_writer.h"
#include "spectra/ms2_splitter.h"
#include "spectra/ms2_writer.h"
#include "startup/parameter_table.h"
#include "startup/run_settings.h"

namespace corvid {

// The tests' isotope pattern table: zero until a test loads one, then shared by the tests that
// follow, as a run shares its table between file pairs.
inline IsotopePatternTable& runIsotopeTable() {
  static IsotopePatternTable table;
  return table;
}

// Detection settings as a run reads them; debug peak files are read from `datapath`.
inline DetectionSettings detectionSettingsFrom(const ParameterTable& parameters) {
  DetectionSettings settings = readRunSettings(parameters).detection;
  settings.dataPath = valueOrEmpty(parameters, "datapath");
  return settings;
}
inline DetectionInput makeDetectionInput(const ParameterTable& parameters, const MS1File& ms1) {
  return makeDetectionInput(detectionSettingsFrom(parameters), ms1, runIsotopeTable());
}
inline ThresholdSettings thresholdSettingsFrom(const ParameterTable& parameters) {
  return readRunSettings(parameters).threshold;
}
inline double marsThreshold(const ParameterTable& parameters) { return thresholdSettingsFrom(parameters).threshold; }
inline void filterByThreshold(const ParameterTable& parameters, const std::vector<double>& scores,
                              std::vector<PrecursorRecord>& records) {
  filterByThreshold(thresholdSettingsFrom(parameters), scores, records);
}
inline MarsModelChoice marsModelFrom(const ParameterTable& parameters) { return readRunSettings(parameters).model; }
inline void scoreCandidates(const ParameterTable& parameters, std::vector<PrecursorFeatures>& features,
                            std::vector<double>& scores) {
  scoreCandidates(marsModelFrom(parameters), features, scores);
}
inline SvmLightSetup svmLightSetupFrom(const ParameterTable& parameters) {
  return svmLightSetupOf(readRunSettings(parameters));
}
inline std::int64_t ms2PartSizeFrom(const ParameterTable& parameters) {
  return readRunSettings(parameters).split.partScans;
}
// The writers with their switch (`output_mgf`, `output_ms2`) read from the table.
inline bool writeMGF(GroupExport& group, const MS2File& ms2File, const ParameterTable& parameters,
                     const std::string& path) {
  return writeMGF(group, ms2File, readRunSettings(parameters).outputs.mgf, path);
}
inline bool writeMS2(GroupExport& group, const MS2File& ms2File, const ParameterTable& parameters,
                     const std::string& path) {
  return writeMS2(group, ms2File, readRunSettings(parameters).outputs.ms2, path);
}
inline int splitMS2(const ParameterTable& parameters, const std::string& ms2Path, std::vector<std::string>& partPaths) {
  return splitMS2(ms2Path, ms2PartSizeFrom(parameters), partPaths);
}

}  // namespace corvid
