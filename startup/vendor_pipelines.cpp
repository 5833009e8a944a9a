#include <cstdio>
#include <optional>
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
#include "startup/input_job.h"
#include "startup/per_file_driver.h"
#include "startup/pipelines.h"

namespace corvid {
namespace {

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

// The parts' reports are joined last, after the QC report of the whole file; when that cannot be
// written the parts' reports go, so that a later run processes the file again.
void joinReportParts(const RunSettings& settings, const std::string& outputStem, QcCollection* qc) {
  if (qc != nullptr && !finishQcReport(*qc, outputStem, settings.paths.program)) {
    logMessage(LogLabel::kError, "The QC report of " + outputStem +
                                     " could not be written: the CSV report is not saved, so that a later run "
                                     "processes this file again.");
    deleteMatching(outputStem + "_ID_*.csv");
    return;
  }
  joinParts(outputStem, ".csv");
}

// The pair's MS2 file in parts of `split.partScans` scans, each processed as a pair of its own and
// the parts' outputs joined.
bool processSplit(const RunSettings& settings, RunResources& resources, const PairFiles& files, const std::string& stem,
                  CorrectionsByScan* corrections, QcCollection* qc) {
  logMessage(LogLabel::kNote, "Start spliting MS2...");
  std::vector<std::string> partPaths;
  const int partCount = splitMS2(files.ms2Path, settings.split.partScans, partPaths);
  std::vector<std::string> outputList;
  std::optional<HandedOverPair> none;
  bool processed = false;
  for (const std::string& part : partPaths) {
    const PairFiles partFiles{files.ms1Path, part, files.folder};
    processed = processSpectrumPair(settings, resources, partFiles, none, outputList, corrections, qc) || processed;
    deleteMatching(part);
  }
  // Outputs of the parts are written to the output folder, named after each part.
  const std::string outputStem = settings.paths.output + stem;
  if (settings.outputs.mgf) {
    for (const char* suffix : kGroupSuffixes) joinParts(outputStem, std::string(suffix) + ".mgf");
  }
  if (settings.outputs.ms2) {
    for (const char* suffix : kGroupSuffixes) joinParts(outputStem, std::string(suffix) + ".ms2");
  }
  // The reference lists of each part are joined first, so that the report join takes parts only.
  joinParts(outputStem, "_BeforeMARS_unchecked.csv");
  joinParts(outputStem, "_unchecked.csv");
  joinReportParts(settings, outputStem, processed ? qc : nullptr);
  joinPrecursorTableParts(outputStem);
  if (settings.outputs.kx) joinKX2PartsOfSplit(outputStem, partCount);
  deleteMatching(files.folder + stem + "_ID_*");
  return processed;
}

// An extraction without its marker is reported and, for vendor files, tried again.
void requireCompleteExtraction(const RunSettings& settings, const InputJob& job, const std::string& stem) {
  if (canOpenForReading(job.folder + stem + ".quarry")) return;
  logMessage(LogLabel::kError, "MS1 Or MS2 files not completely extracted! " + stem);
  noteRunProblem(RunProblem::kInputUnreadable);
  if (job.source == PairSource::kRaw) {
    runRawExtractor(settings, job.folder, stem + ".raw");
  } else {
    runWiffExtractor(settings, job.folder, stem + ".wiff");
  }
}

}  // namespace

void runPairJob(const RunSettings& settings, RunResources& resources, InputJob job) {
  logMessage(LogLabel::kState, "Processing " + job.ms1Name);
  const std::string stem = withoutExtension(job.ms1Name);
  requireCompleteExtraction(settings, job, stem);
  const PairFiles files{resolveLetterCase(job.folder + job.ms1Name),
                        resolveLetterCase(job.folder + stem + (job.source == PairSource::kRaw ? ".ms2" : ".MS2")),
                        job.folder};
  if (job.source == PairSource::kWiff) {
    std::printf("-> hello, %s\n", files.ms2Path.c_str());
    std::fflush(stdout);
  }
  // The corrected mzML collects the precursors of every part before it is written once.
  CorrectionsByScan corrections;
  CorrectionsByScan* collected = settings.outputs.correctedMzML ? &corrections : nullptr;
  std::optional<QcCollection> qc;
  if (settings.outputs.qcReport) qc = startQcCollection(settings, job, stem);
  QcCollection* qcRows = qc ? &*qc : nullptr;
  bool processed = false;
  if (fileSize(files.ms2Path) <= settings.split.thresholdBytes) {
    std::vector<std::string> outputList;
    processed = processSpectrumPair(settings, resources, files, job.loaded, outputList, collected, qcRows);
  } else {
    job.loaded.reset();
    if (qc) qc->writtenByCaller = true;
    processed = processSplit(settings, resources, files, stem, collected, qcRows);
  }
  if (settings.outputs.correctedMzML) writeCorrectedMzMLFor(settings, job, stem, corrections, processed);
}

}  // namespace corvid
