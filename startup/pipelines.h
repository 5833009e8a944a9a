#pragma once
// The per-format jobs that the run driver calls, each with its own copy of the run's table and
// one bare file name; the table's `datapath` names the folder.
#include <string>
#include <vector>

#include "startup/parameter_table.h"
#include "startup/per_file_driver.h"

namespace corvid {

// Converts one vendor file (datapath + name) into .ms1/.ms2 text with the external extractor.
void runRawExtractor(ParameterTable parameters, const std::string& rawName);
void runWiffExtractor(ParameterTable parameters, const std::string& wiffName);
// The whole job for one extracted MS1/MS2 pair, named by its MS1 file.
void runRawPipeline(ParameterTable parameters, const std::string& ms1Name);
void runWiffPipeline(ParameterTable parameters, const std::string& ms1Name);
// MGF files converted to KX2.
void runMGFFiles(ParameterTable parameters, const std::vector<std::string>& mgfNames);
// Open-format files (mzML, mzXML) extracted in-process; returns the MS1 names written.
std::vector<std::string> extractOpenFormatFiles(ParameterTable parameters,
                                                const std::vector<std::string>& names);
// Where open-format inputs are extracted to: `extract_path` with a trailing separator when set,
// otherwise the data folder.
std::string extractionFolder(ParameterTable& parameters);
// The table key that remembers the folder of the open-format inputs of a run.
inline constexpr const char* kOpenFormatFolderKey = "open_format_folder";
// With output_mzml: writes <outputpath><stem>.corrected.mzML from the pair's mzML input and its
// corrections. Alerts instead when the input was no mzML file or nothing was processed.
void writeCorrectedMzMLFor(ParameterTable& parameters, const std::string& stem,
                           const CorrectionsByScan& corrections, bool processed);
// The MGF-to-KX2 conversion route of the command line, for one MGF path.
void convertMGFToKX2(const std::string& mgfPath);

}  // namespace corvid
