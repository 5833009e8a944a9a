#include "startup/per_file_driver.h"

#include <cstdio>
#include <filesystem>
#include <utility>

#include "detection/detection_context.h"
#include "platform/paths.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "platform/text_file.h"
#include "scoring/peak_difference_statistics.h"
#include "scoring/precursor_table.h"
#include "scoring/reference_list_loader.h"
#include "scoring/result_report.h"
#include "spectra/kx_format.h"
#include "spectra/open_format_extractor.h"
#include "startup/group_output.h"
#include "startup/group_scan_tasks.h"
#include "startup/group_scoring.h"
#include "startup/pair_loading.h"
#include "startup/voltage_detection.h"

namespace corvid {
namespace {

PairOutputs outputsFor(const std::string& outputFolder, const std::string& ms2Path) {
  PairOutputs outputs;
  outputs.resultStem = outputFolder + withoutExtension(fileNameOf(ms2Path));
  outputs.csvPath = outputs.resultStem + ".csv";
  return outputs;
}

// The extraction summary of the pair's input: beside the MS2 file, named after the input's stem
// (the parts of a split MS2 file, "<stem>_ID_<k>.ms2", share their input's summary).
std::string extractionSummaryFor(const std::string& ms2Path) {
  std::string stem = withoutExtension(ms2Path);
  const std::size_t part = stem.rfind("_ID_");
  if (part != std::string::npos && part + 4 < stem.size() &&
      stem.find_first_not_of("0123456789", part + 4) == std::string::npos) {
    stem.resize(part);
  }
  return stem + std::string(kExtractionSummarySuffix);
}

// Detection, scoring, filtering and export of one activation group.
void processGroup(PairRun& run, int group) {
  clearGroupCandidates(run.detected);
  const std::vector<std::size_t> positions = detectGroupScans(run, group);
  if (run.reference != nullptr) markFoundEntries(run.detected, *run.reference);
  std::printf("\n");
  scoreAndFilterGroup(run, group);
  exportGroup(run, group, positions);
}

// The report's existence tells later runs that this pair is done, so it is written last and only
// when every spectrum file of the pair was written completely.
void saveReport(const std::string& csvPath, const std::string& report, bool outputsIncomplete) {
  if (outputsIncomplete) {
    logMessage(LogLabel::kError, "Not all spectrum files of " + csvPath +
                                     " could be written: the CSV report is not saved, so that a later run "
                                     "processes this file again.");
    noteRunProblem(RunProblem::kOutputUnwritable);
    return;
  }
  TextWriter writer;
  const bool opened = writer.open(csvPath);
  if (opened) writer.write(report);
  if (!opened || !writer.close()) {
    logMessage(LogLabel::kError, "Fail to write the CSV report " + csvPath + ": " + writer.error());
    noteRunProblem(RunProblem::kOutputUnwritable);
  }
}

// The pair's groups in turn, then the precursor table and the report.
void processGroups(PairRun& run, const std::string& ms2Path) {
  startReportText(run.report);
  if (run.settings.detection.isolationFromFile)
    reportScansWithoutStatedIsolation(run.ms2File, run.settings.detection.isolationWidth);
  if (run.settings.outputs.precursorTable) {
    run.table = precursorTableHeader(run.settings.precisionMode, anyCompensationVoltage(run.ms2File));
    run.nativeIds = readNativeIds(extractionSummaryFor(ms2Path));
  }
  for (int group = 0; group < kActivationGroupCount; ++group) {
    if (run.ms2File.groupPresent[group] != 0) processGroup(run, group);
  }
  noteMS2ScansProcessed(static_cast<long long>(run.ms2File.spectra.size()));
  logMessage(LogLabel::kNote, "Releasing resources...");
  logMessage(LogLabel::kNote, "Saving CSV to disk...");
  writePairSideFiles(run);
  saveReport(run.outputs.csvPath, run.report, run.outputsIncomplete);
}

// What detection reads for the pair, with the reference list when one is given; the isotope
// pattern table is read again for every pair.
DetectionInput prepareDetection(const RunSettings& settings, RunResources& resources, const PairFiles& files,
                                const MS1File& ms1File, const DebugSelection& debug,
                                ReferencePrecursorList& reference) {
  DetectionSettings detection = settings.detection;
  detection.dataPath = files.folder;
  DetectionInput input = makeDetectionInput(detection, ms1File, *resources.isotopes);
  if (!settings.paths.trainingSet.empty()) {
    reference = loadReferencePrecursorList(settings.paths.trainingSet);
    attachReferenceList(input, reference);
  }
  input.debugScans.assign(debug.scans.begin(), debug.scans.end());
  loadRunIsotopeTable(resources, settings.paths.program, settings.paths.isotopeTable);
  return input;
}

// The MS1 scans as <outputpath><MS1 stem>.kx1 with output_kx; false when that file could not be written.
bool writeMS1ToKX(const RunSettings& settings, const PairFiles& files, const MS1File& ms1File) {
  if (!settings.outputs.kx) return true;
  logMessage(LogLabel::kNote, "Writing MS1 to KX...");
  return writeKX1(ms1File, settings.paths.output + withoutExtension(fileNameOf(files.ms1Path)) + ".kx1");
}

void deleteSpectrumFiles(const PairFiles& files) {
  logMessage(LogLabel::kNote, "Deleting MS1 & MS2...");
  std::error_code ignored;
  std::filesystem::remove(files.ms1Path, ignored);
  std::filesystem::remove(files.ms2Path, ignored);
}

}  // namespace

bool processSpectrumPair(const RunSettings& settings, RunResources& resources, const PairFiles& files,
                         std::optional<HandedOverPair>& handedOver, std::vector<std::string>& outputList,
                         CorrectionsByScan* corrections, QcCollection* qc) {
  const PairOutputs outputs = outputsFor(settings.paths.output, files.ms2Path);
  // The pair this run just extracted is already loaded (and is released on every return); other
  // pairs are read from disk.
  std::optional<LoadedPair> loaded = takeHandedOverPair(handedOver, files.ms1Path, files.ms2Path);
  DebugSelection debug;
  debug.mode = settings.detection.debugMode;
  if (debug.mode == DebugMode::kSingleScan) debug.scan = askDebugScan();
  if (!settings.rewriteFiles && settings.writeSpectrumFiles && canOpenForReading(outputs.csvPath)) {
    logMessage(LogLabel::kNote, "CSV file already exists, Corvid Complete!");
    noteEarlierResultReused();
    return false;
  }

  logMessage(LogLabel::kNote, "Loading MS1 and MS2 files...");
  MS1File ms1File;
  loadMS1(files.ms1Path, loaded, ms1File);
  if (!surveyScansAllowDetection(settings, files.ms1Path, ms1File)) return false;
  MS2File ms2File;
  loadMS2(files.ms2Path, loaded, ms2File);
  if (settings.outputs.peakDifferences) {
    writePeakDifferenceStatistics(ms2File, files.ms2Path);
    throw RunFailure("peak-difference statistics written", FailureKind::kFinishedEarly);
  }
  if (debug.mode == DebugMode::kScanList) debug.scans = askDebugScanList();

  ReferencePrecursorList reference;
  const DetectionInput detectionInput = prepareDetection(settings, resources, files, ms1File, debug, reference);
  DetectionOutput detected;
  ms1File.rawName = withoutExtension(fileNameOf(files.ms2Path));
  const bool kx1Written = writeMS1ToKX(settings, files, ms1File);

  PairRun run{.settings = settings,
              .resources = resources,
              .outputs = outputs,
              .ms2File = ms2File,
              .rawName = ms1File.rawName,
              .debug = debug,
              .detectionInput = detectionInput,
              .detected = detected,
              .reference = settings.paths.trainingSet.empty() ? nullptr : &reference,
              .outputList = outputList,
              .outputsIncomplete = !kx1Written,
              .corrections = corrections,
              .qc = qc};
  // The QC report counts the MS1 scans before a FAIMS run's scans move into their voltage views.
  if (qc != nullptr) noteQcSpectra(*qc, ms1File, ms2File);
  splitFaimsRun(detectionInput, ms1File, ms2File, files.ms2Path, run.voltageViews);
  if (precisionModelChooses(settings)) run.precisionModel = &precisionModelFor(resources, settings.paths.program);
  processGroups(run, files.ms2Path);
  if (settings.outputs.deleteSpectrumFiles) deleteSpectrumFiles(files);
  logMessage(LogLabel::kNote, "Exported " + std::to_string(detected.exportedPrecursorCount) + " precursors.");
  logMessage(LogLabel::kNote, "Found " + std::to_string(run.scans.duplicates) + " duplicate scans.");
  return true;
}

}  // namespace corvid
