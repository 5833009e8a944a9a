#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/file_patterns.h"
#include "platform/paths.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "scoring/precursor_table.h"
#include "spectra/file_size.h"
#include "spectra/kx_format.h"
#include "spectra/ms2_splitter.h"
#include "spectra/spectrum_records.h"
#include "startup/per_file_driver.h"
#include "startup/pipelines.h"
#include "startup/run_settings.h"

namespace corvid {
namespace {

enum class VendorKind { Raw, Wiff };

// Internal settings, for tests of the split path on small files: read from a parameter file
// only, never listed as options; the built-in values apply when they are absent.
std::int64_t internalSetting(const ParameterTable& parameters, const char* key, std::int64_t fallback) {
  const auto entry = parameters.find(key);
  if (entry == parameters.end() || entry->second.empty()) return fallback;
  const long long value = std::atoll(entry->second.c_str());
  return value > 0 ? value : fallback;
}

// Joins the part outputs "<stem>_ID_*<ending>" of the output folder into "<stem><ending>".
void joinParts(const std::string& outputStem, const std::string& ending) {
  const std::string pattern = outputStem + "_ID_*" + ending;
  if (filesMatching(pattern).empty()) return;
  if (concatenateMatching(pattern, outputStem + ending) < 0) {
    logMessage(LogLabel::kError, "Fail to join the parts " + pattern + " into " + outputStem + ending);
    noteRunProblem(RunProblem::kOutputUnwritable);
    return;
  }
  deleteMatching(pattern);
}

void joinKX2PartsOfSplit(const std::string& outputStem, int partCount) {
  for (const char* suffix : kGroupSuffixes) {
    std::vector<std::string> parts;
    for (int k = 0; k < partCount; ++k) {
      const std::string part = outputStem + "_ID_" + std::to_string(k) + suffix + ".kx2";
      if (canOpenForReading(part)) parts.push_back(part);
    }
    if (parts.empty()) continue;
    mergeKX2Parts(parts, outputStem + suffix + ".kx2");
    deleteMatching(outputStem + "_ID_*" + suffix + ".kx2");
    deleteMatching(outputStem + "_ID_*" + suffix + ".kx2idx");
  }
}

bool processSplit(ParameterTable& parameters, const std::string& ms1Path, const std::string& ms2Path,
                  const std::string& stem, CorrectionsByScan* corrections) {
  logMessage(LogLabel::kNote, "Start spliting MS2...");
  std::vector<std::string> partPaths;
  const std::int64_t partSize = internalSetting(parameters, "ms2_part_scans", ms2PartSizeFrom(parameters));
  const int partCount = splitMS2(ms2Path, partSize, partPaths);
  std::vector<std::string> outputList;
  bool processed = false;
  for (const std::string& part : partPaths) {
    processed = processSpectrumPair(parameters, ms1Path, part, outputList, corrections) || processed;
    deleteMatching(part);
  }
  // Outputs of the parts are written to the output folder, named after each part.
  const std::string outputStem = parameters["outputpath"] + stem;
  if (isOn(parameters["output_mgf"])) {
    for (const char* suffix : kGroupSuffixes) joinParts(outputStem, std::string(suffix) + ".mgf");
  }
  if (isOn(parameters["output_ms2"])) {
    for (const char* suffix : kGroupSuffixes) joinParts(outputStem, std::string(suffix) + ".ms2");
  }
  // The reference lists of each part are joined first, so that the report join takes parts only.
  joinParts(outputStem, "_BeforeMARS_unchecked.csv");
  joinParts(outputStem, "_unchecked.csv");
  joinParts(outputStem, ".csv");
  joinPrecursorTableParts(outputStem);
  if (isOn(parameters["output_kx"])) joinKX2PartsOfSplit(outputStem, partCount);
  deleteMatching(parameters["datapath"] + stem + "_ID_*");
  return processed;
}

void runVendorPipeline(ParameterTable& parameters, const std::string& ms1Name, VendorKind kind) {
  logMessage(LogLabel::kState, "Processing " + ms1Name);
  const std::string folder = parameters["datapath"];
  const std::string stem = withoutExtension(ms1Name);
  if (!canOpenForReading(folder + stem + ".quarry")) {
    logMessage(LogLabel::kError, "MS1 Or MS2 files not completely extracted! " + stem);
    noteRunProblem(RunProblem::kInputUnreadable);
    if (kind == VendorKind::Raw) {
      runRawExtractor(parameters, stem + ".raw");
    } else {
      runWiffExtractor(parameters, stem + ".wiff");
    }
  }
  const std::string ms1Path = resolveLetterCase(folder + ms1Name);
  const std::string ms2Path = resolveLetterCase(folder + stem + (kind == VendorKind::Raw ? ".ms2" : ".MS2"));
  if (kind == VendorKind::Wiff) {
    std::printf("-> hello, %s\n", ms2Path.c_str());
    std::fflush(stdout);
  }
  // The corrected mzML collects the precursors of every part before it is written once.
  const bool correctMzML = isOn(valueOrEmpty(parameters, "output_mzml"));
  CorrectionsByScan corrections;
  CorrectionsByScan* collected = correctMzML ? &corrections : nullptr;
  bool processed = false;
  if (fileSize(ms2Path) <= internalSetting(parameters, "ms2_split_threshold", kMS2SplitThreshold)) {
    std::vector<std::string> outputList;
    processed = processSpectrumPair(parameters, ms1Path, ms2Path, outputList, collected);
  } else {
    processed = processSplit(parameters, ms1Path, ms2Path, stem, collected);
  }
  if (correctMzML) writeCorrectedMzMLFor(parameters, stem, corrections, processed);
}

}  // namespace

void runRawPipeline(ParameterTable parameters, const std::string& ms1Name) {
  runVendorPipeline(parameters, ms1Name, VendorKind::Raw);
}

void runWiffPipeline(ParameterTable parameters, const std::string& ms1Name) {
  runVendorPipeline(parameters, ms1Name, VendorKind::Wiff);
}

}  // namespace corvid
