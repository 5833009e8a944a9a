#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "platform/file_lock.h"
#include "platform/paths.h"
#include "platform/pending_file.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "scoring/precursor_table.h"
#include "spectra/corrected_mzml.h"
#include "spectra/input_formats.h"
#include "spectra/loaded_pair.h"
#include "spectra/mzxml_as_mzml.h"
#include "spectra/open_format_extractor.h"
#include "startup/pipelines.h"

namespace corvid {

namespace {

void sayWaiting(const std::string& lockPath) {
  logMessage(LogLabel::kState, "Another Corvid run is extracting the same input (" + lockPath +
                          "): waiting for it to finish...");
}

// Results made from an earlier extraction of another or a changed input are not this input's:
// the report would end the run early as "Complete", so it goes.
void dropStaleReport(const RunSettings& settings, const std::string& stem) {
  if (settings.rewriteFiles) return;
  const std::string report = settings.paths.output + stem + ".csv";
  std::error_code code;
  if (!std::filesystem::is_regular_file(report, code)) return;
  if (std::filesystem::remove(report, code)) {
    logMessage(LogLabel::kAlert, report + " was made from an earlier extraction, not from the file just extracted: it is "
                                 "removed and made again.");
  }
}

bool sameFolder(const std::string& first, const std::string& second) {
  std::error_code code;
  return first == second || std::filesystem::equivalent(first, second, code);
}

// The summary maps Corvid's scan numbers back to the instrument's native ids: results in another
// folder than the extraction get their own copy, so they can always be traced.
void copySummaryToOutputs(const RunSettings& settings, const std::string& extractFolder, const std::string& stem) {
  const std::string& outputFolder = settings.paths.output;
  if (sameFolder(extractFolder, outputFolder)) return;
  const std::string name = stem + std::string(kExtractionSummarySuffix);
  std::string error;
  if (!copyIntoPlace(extractFolder + name, outputFolder + name, error)) {
    logMessage(LogLabel::kError, "Fail to copy the extraction summary " + name + " to " + outputFolder + ": " + error);
    noteRunProblem(RunProblem::kOutputUnwritable);
  }
}

// The corrected mzML copies its input's bytes around the new precursors; it is made from
// uncompressed inputs only.
bool namesCompressedInput(const std::string& inputFolder, const std::string& stem) {
  for (std::string_view spelling : openFormatSpellings()) {
    for (const char* gzip : {".gz", ".GZ"}) {
      if (!inputFolder.empty() && canOpenForReading(inputFolder + stem + std::string(spelling) + gzip)) return true;
    }
  }
  return false;
}

}  // namespace

std::string extractionFolder(const RunSettings& settings, const std::string& inputFolder) {
  const std::string& chosen = settings.paths.extraction;
  return chosen.empty() ? inputFolder : withTrailingSeparator(chosen);
}

// Each mzML/mzXML file is extracted in-process into <stem>.ms1/.ms2 in the extraction folder (an
// earlier extraction of the same input is reused); the MS1 names of the files extracted are
// handed to the common tail of the run driver as jobs. Runs that extract the same input take turns:
// the second one waits and then reuses the first one's extraction.
std::vector<InputJob> extractOpenFormatFiles(const RunSettings& settings, const std::string& inputFolder,
                                             const std::vector<std::string>& names) {
  const std::string folder = extractionFolder(settings, inputFolder);
  std::vector<InputJob> jobs;
  std::error_code code;
  if (folder != inputFolder && !std::filesystem::is_directory(folder, code) &&
      !std::filesystem::create_directories(folder, code)) {
    logMessage(LogLabel::kError, "Fail to create the extraction folder " + folder + ": " + code.message());
    noteRunProblem(RunProblem::kOutputUnwritable);
    return jobs;
  }
  // One file (the usual pipeline job): its spectra go to the driver from memory as well, so the
  // text just written is not read back. With more files each would wait in memory for its turn.
  const bool handOver = names.size() == 1;
  for (const std::string& name : names) {
    const std::string stem = openFormatStem(name);
    InputJob job{.folder = folder, .ms1Name = stem + ".ms1", .openFormatFolder = inputFolder};
    FileLock lock = acquireFileLock(folder + stem + ".quarry.lock", sayWaiting);
    if (openFormatAlreadyExtracted(inputFolder + name, folder, stem)) {
      logMessage(LogLabel::kState, "Reusing the earlier extraction of " + name);
    } else {
      logMessage(LogLabel::kState, "Extracting MS1 and MS2 from " + name + "...");
      LoadedPair loaded;
      if (!extractOpenFormat(inputFolder + name, folder, stem, settings.threads, handOver ? &loaded : nullptr,
                             settings.openFormatLimits)) {
        continue;
      }
      if (handOver) job.loaded = handOverPair(folder + stem + ".ms1", folder + stem + ".ms2", std::move(loaded));
      dropStaleReport(settings, stem);
    }
    copySummaryToOutputs(settings, folder, stem);
    jobs.push_back(std::move(job));
  }
  return jobs;
}

void writeCorrectedMzMLFor(const RunSettings& settings, const InputJob& job, const std::string& stem,
                           const CorrectionsByScan& corrections, bool processed) {
  const std::string& inputFolder = job.openFormatFolder;
  std::string input;
  for (std::string_view spelling : openFormatSpellings()) {
    if (!inputFolder.empty() && canOpenForReading(inputFolder + stem + std::string(spelling))) {
      input = inputFolder + stem + std::string(spelling);
      break;
    }
  }
  if (input.empty() && namesCompressedInput(inputFolder, stem)) {
    logMessage(LogLabel::kAlert, "output_mzml: no corrected mzML for " + stem +
                                     ": it is not written for gzip-compressed inputs; decompress the input to get it.");
    return;
  }
  if (input.empty()) {
    logMessage(LogLabel::kAlert, "output_mzml: no corrected mzML for " + stem + ": it is written for mzML and mzXML inputs only.");
    return;
  }
  const bool fromMzXML = isMzXMLName(input);
  const std::string target = settings.paths.output + stem + ".corrected.mzML";
  if (!processed) {
    logMessage(LogLabel::kAlert, "output_mzml: " + target + " is not written because the results of " + stem +
                            " already existed and nothing was processed; give -r 1 to redo them.");
    return;
  }
  logMessage(LogLabel::kNote, "Writing corrected mzML...");
  const auto nativeIds = readNativeIds(job.folder + stem + std::string(kExtractionSummarySuffix));
  CorrectionsByNativeId byNativeId;
  for (const auto& [scan, precursors] : corrections) {
    const auto id = nativeIds.find(scan);
    if (id != nativeIds.end()) byNativeId[id->second] = precursors;
  }
  const CorrectedMzMLOutcome outcome = fromMzXML ? writeCorrectedMzMLFromMzXML(input, byNativeId, target)
                                                  : writeCorrectedMzML(input, byNativeId, target);
  if (!outcome.written) return;  // the writer logged why
  logMessage(LogLabel::kNote, "Corrected mzML: " + std::to_string(outcome.spectra) + " spectra, " +
                          std::to_string(outcome.corrected) + " with Corvid's precursors.");
  if (outcome.withoutIonList > 0) {
    logMessage(LogLabel::kAlert, std::to_string(outcome.withoutIonList) + " spectra of " + stem +
                            " have precursors from Corvid but no selected ion list to hold them: they keep the "
                            "instrument's precursor in " + target + ".");
  }
}

}  // namespace corvid
