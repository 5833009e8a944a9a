#pragma once
// Settings read once: one run's parameter table converted into typed values, with the alerts for
// values that are no number or out of range. This is the only place that looks keys up and
// converts their text (the lenient number reading, the "1" test, the threshold overrides); the
// drivers, pipelines and the science below them take these fields.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "detection/detection_context.h"
#include "scoring/mars_model.h"
#include "scoring/svm_light_export.h"
#include "scoring/threshold_filter.h"
#include "spectra/input_formats.h"
#include "spectra/open_format_spectrum.h"
#include "startup/parameter_table.h"

namespace corvid {

// -0.68 when isolation_width is exactly "4", whatever mars_threshold says.
inline constexpr double kWideWindowThreshold = -0.68;
// With output_all_mars_y every candidate is kept: no model scores this low.
inline constexpr double kKeepAllThreshold = -10000.0;

// Where a run reads and writes. The texts are as given until resolveRunPaths has checked them.
struct RunPaths {
  std::string data;          // datapath: a folder (ending with a separator) or one input file
  std::string dataFolder;    // the folder of `data`, once resolved
  std::string output;        // outputpath, the data folder when not given
  std::string log;           // logfilepath, the data folder when not given
  std::string extraction;    // extract_path: where mzML/mzXML inputs are extracted; empty: beside them
  std::string program;       // binpath: corvid's own folder, where its tools and support files are
  std::string isotopeTable;  // ipv_file
  std::string trainingSet;   // trainingset, empty when not given
};

// What the outputs of one file pair are.
struct OutputSwitches {
  bool mgf = true;                   // output_mgf
  bool ms2 = false;                  // output_ms2
  bool kx = true;                    // output_kx
  bool precursorTable = false;       // output_table
  bool qcReport = false;             // output_qc: the QC page and the mzQC file
  bool correctedMzML = false;        // output_mzml
  bool trainingData = false;         // output_trainingdata
  bool uncheckedLists = false;       // export_unchecked_mono
  bool deleteSpectrumFiles = false;  // delete_msn
  bool peakDifferences = false;      // output_freq: the statistics only, then the run ends
};

// When an MS2 file is processed in parts. The two sizes come from the parameter file only
// (`ms2_split_threshold`, `ms2_part_scans`), so that tests can split small files; they are no
// options and are never written into templates.
struct SplitSettings {
  std::int64_t thresholdBytes = 0;  // larger MS2 files are split
  std::int64_t partScans = 0;       // scans per part
};

struct RunSettings {
  RunPaths paths;
  InputFormatChoice inputFormat;  // input_format
  DetectionSettings detection;
  ThresholdSettings threshold;
  MarsModelChoice model = MarsModelChoice::kFallback;
  bool useSvm = false;             // outputsvmlight: SVM probabilities instead of the MARS scores
  std::string svmSampleNumber;     // samplenumberinsvmlight, as the SVMlight export reads it
  std::string svmChargeRange;      // svmlight_charge_range
  bool precisionMode = false;      // precision_mode
  bool keepEveryCandidate = false;  // output_all_mars_y
  OutputSwitches outputs;
  SplitSettings split;
  // debug_mode is exactly "0": spectrum files are written. Any other value writes none, also one
  // that selects no debug mode ("3").
  bool writeSpectrumFiles = true;
  bool rewriteFiles = false;          // rewrite_files is not "0": earlier results are redone
  unsigned threads = 1;               // threads: detection workers and the extraction's second thread
  OpenFormatLimits openFormatLimits;  // max_spectrum_values: the most values one peak array may hold
  bool strictExit = false;            // strict_exit: the exit status tells a failed run from a good one
  std::string extractorMz;            // m/z and Intensity, handed to the vendor extractor as given
  std::string extractorIntensity;
  // One text per value that is no number or out of range, in table order, for the run's log.
  std::vector<std::string> valueAlerts;
  // The settings whose text differs from the template's default (or that have none), in key
  // order, for the QC report; the paths of the data, outputs, log and program are left out.
  std::vector<std::pair<std::string, std::string>> nonDefaultSettings;
};

RunSettings readRunSettings(const ParameterTable& table);

// precision_mode's classifier chooses the precursors: the mode is on and not every candidate is
// kept, so its model must be read.
inline bool precisionModelChooses(const RunSettings& settings) {
  return settings.precisionMode && !settings.keepEveryCandidate;
}

// The SVMlight files of the run's output folder with its sampling settings.
SvmLightSetup svmLightSetupOf(const RunSettings& settings);

// The alert texts for the settings that a run reads (datanum excepted), in table order: empty
// when every value is a number in its range. Keys the run does not read with the current
// switches (the SVMlight keys without outputsvmlight, a threshold that another setting replaces)
// are not looked at. Nothing here changes a value: the run uses the lenient conversions.
std::vector<std::string> parameterValueAlerts(const ParameterTable& table);

// The `datanum` of a parameter file: the count of numbered data paths, 0 for `datapath` alone, and
// below 0 for none (a documented value). The alert text is empty when the value is fine.
struct DataCount {
  int count = 0;
  std::string alert;
};
DataCount readDataCount(const ParameterTable& table);

}  // namespace corvid
