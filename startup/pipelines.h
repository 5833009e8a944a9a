#pragma once
// The per-format jobs that the run driver calls, on the run's settings and resources.
#include <string>
#include <vector>

#include "startup/input_job.h"
#include "startup/pair_run.h"
#include "startup/run_resources.h"
#include "startup/run_settings.h"

namespace corvid {

// Converts one vendor file (folder + name) into .ms1/.ms2 text with the external extractor.
void runRawExtractor(const RunSettings& settings, const std::string& folder, const std::string& rawName);
void runWiffExtractor(const RunSettings& settings, const std::string& folder, const std::string& wiffName);
// The whole job for one extracted MS1/MS2 pair.
void runPairJob(const RunSettings& settings, RunResources& resources, InputJob job);
// Open-format files (mzML, mzXML) of `inputFolder` extracted in-process; one job per file
// extracted (or reused), in the order given.
std::vector<InputJob> extractOpenFormatFiles(const RunSettings& settings, const std::string& inputFolder,
                                             const std::vector<std::string>& names);
// Where open-format inputs are extracted to: `extract_path` with a trailing separator when set,
// otherwise the input folder.
std::string extractionFolder(const RunSettings& settings, const std::string& inputFolder);
// With output_mzml: writes <outputpath><stem>.corrected.mzML from the job's mzML input and its
// corrections. Alerts instead when the input was no mzML file or nothing was processed.
void writeCorrectedMzMLFor(const RunSettings& settings, const InputJob& job, const std::string& stem,
                           const CorrectionsByScan& corrections, bool processed);

}  // namespace corvid
