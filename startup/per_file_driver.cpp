#include "startup/per_file_driver.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <future>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

#include "detection/candidate_detection.h"
#include "detection/detection_context.h"
#include "detection/isotope_pattern_table.h"
#include "detection/ms1_peak_gathering.h"
#include "detection/parallel_detection.h"
#include "platform/msvc_random.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "platform/support_files.h"
#include "platform/text_file.h"
#include "scoring/precise_selection.h"
#include "scoring/peak_difference_statistics.h"
#include "scoring/precursor_table.h"
#include "scoring/reference_list_loader.h"
#include "scoring/result_report.h"
#include "scoring/score_candidates.h"
#include "scoring/svm_classifier.h"
#include "scoring/svm_light_export.h"
#include "scoring/threshold_filter.h"
#include "scoring/training_samples.h"
#include "spectra/group_export.h"
#include "spectra/kx_format.h"
#include "spectra/loaded_pair.h"
#include "spectra/mgf_writer.h"
#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"
#include "spectra/ms2_writer.h"
#include "spectra/open_format_extractor.h"
#include "startup/debug_scan_input.h"
#include "startup/run_settings.h"

namespace corvid {
namespace {

// Scans outside -3200..3400000 are skipped: one unsigned comparison of scan + 3200.
constexpr std::uint32_t kScanRangeOffset = 3200;
constexpr std::uint32_t kScanRangeLimit = 3403200;
// Progress is printed every 41 scans: often enough to see, rarely enough to cost nothing.
constexpr std::size_t kProgressStride = 41;

struct PairOutputs {
  std::string resultStem;  // outputpath + MS2 file name less its extension
  std::string csvPath;
};

PairOutputs outputsFor(const std::string& outputFolder, const std::string& ms2Path) {
  PairOutputs outputs;
  outputs.resultStem = outputFolder + withoutExtension(fileNameOf(ms2Path));
  outputs.csvPath = outputs.resultStem + ".csv";
  return outputs;
}

void reportFoundCount(const ReferencePrecursorList& reference, const char* closing) {
  logMessage(LogLabel::kNote, "Check " + std::to_string(countFound(reference)) + closing);
}

// The positions of one activation group's spectra, in file order.
std::vector<std::size_t> groupPositions(const MS2File& ms2File, int group) {
  std::vector<std::size_t> positions;
  for (std::size_t i = 0; i < ms2File.spectra.size(); ++i) {
    if (ms2File.spectra[i].activationGroup == group) positions.push_back(i);
  }
  return positions;
}

struct ScanLoopState {
  std::size_t taken = 0;                 // scans taken so far over all groups
  std::uint32_t previousScan = 0;
  bool hasPrevious = false;
  std::int64_t duplicates = 0;
};

bool inDebugScanList(const std::vector<std::uint32_t>& list, std::uint32_t scan) {
  return std::find(list.begin(), list.end(), scan) != list.end();
}

// The scans of one group that detection works on, in order, printing the progress line and the
// debug notes as the scans are taken; duplicates and scans out of range are left out.
std::vector<ScanTask> groupScanTasks(const MS2File& ms2File, const std::vector<std::size_t>& positions, int group,
                                     const DebugSelection& debug, ScanLoopState& state) {
  const char* activation = kActivationNames[group % 3];
  const char* analyzer = kAnalyzerNames[group / 3];
  const std::size_t total = ms2File.spectra.size();
  std::vector<ScanTask> tasks;
  tasks.reserve(positions.size());
  for (std::size_t position : positions) {
    const MS2Spectrum& spectrum = ms2File.spectra[position];
    ++state.taken;
    if (position % kProgressStride == 0 || state.taken == total) {
      std::printf("\r[Corvid] <Exporting %s%s>: %.0f%%", activation, analyzer,
                  static_cast<double>(state.taken) * 100.0 / static_cast<double>(total));
      std::fflush(stdout);
    }
    const std::uint32_t scan = spectrum.scanNumber;
    const int charge = spectrum.charge;
    const double headerMz = charge == 0 ? 0.0 : mzFromMH(spectrum.precursorMH, charge);
    if (state.hasPrevious && scan == state.previousScan) {
      ++state.duplicates;
      continue;
    }
    state.previousScan = scan;
    state.hasPrevious = true;
    if (scan + kScanRangeOffset > kScanRangeLimit) continue;
    const double center = std::fabs(spectrum.activationCenter) < 1e-6 ? headerMz : spectrum.activationCenter;
    if (debug.mode == DebugMode::kSingleScan) {
      if (scan != debug.scan) continue;
      logMessage(LogLabel::kNote, "ActivationCenter: " + std::to_string(center));
    } else if (debug.mode == DebugMode::kScanList) {
      if (!inDebugScanList(debug.scans, scan)) continue;
      logMessage(LogLabel::kNote, "ActivationCenter:" + std::to_string(center));
    }
    tasks.push_back({scan, center});
  }
  return tasks;
}

// Writes the group's spectrum files; false when one of them could not be written completely.
bool writeGroupSpectra(const PairSettings& settings, const MS2File& ms2File, GroupExport& exported,
                       const std::string& groupStem, std::vector<std::string>& outputList) {
  bool complete = true;
  auto note = [&](bool written, const std::string& path) {
    if (written) {
      outputList.push_back(path);
    } else {
      complete = false;
    }
  };
  if (settings.exportMGF && settings.exportKX && settings.threads > 1) {
    // The KX2 file is written on a second thread while the MGF is written here. It works on its
    // own copy of the group (writers count what they write into it) and keeps its messages until
    // the MGF is done, so the console and the counts are those of writing one after the other.
    GroupExport kxGroup = exported;
    DeferredLog kxLog;
    // The future of std::async waits for the thread when destroyed, also when the MGF throws.
    std::future<bool> kxWritten = std::async(std::launch::async, [&] {
      DeferLogOnThisThread defer(kxLog);
      return writeKX2(kxGroup, ms2File, groupStem + ".kx2");
    });
    const bool mgfWritten = writeMGF(exported, ms2File, true, groupStem + ".mgf");
    kxWritten.wait();
    logDeferredMessages(kxLog);
    const bool kxDone = kxWritten.get();  // rethrows what the KX2 writer threw
    note(mgfWritten, groupStem + ".mgf");
    note(kxDone, groupStem + ".kx2");
    exported.writtenCount = kxGroup.writtenCount;
  } else {
    if (settings.exportMGF) note(writeMGF(exported, ms2File, true, groupStem + ".mgf"), groupStem + ".mgf");
    if (settings.exportKX) note(writeKX2(exported, ms2File, groupStem + ".kx2"), groupStem + ".kx2");
  }
  if (settings.exportMS2) note(writeMS2(exported, ms2File, true, groupStem + ".ms2"), groupStem + ".ms2");
  return complete;
}

// What one file pair's groups share while they are processed in turn.
struct PairRun {
  const PairSettings& settings;
  const ParameterTable& parameters;  // for the tool calls, which pass settings on as text
  const PairOutputs& outputs;
  const MS2File& ms2File;
  const std::string& rawName;
  const DebugSelection& debug;
  const DetectionInput& detectionInput;
  DetectionOutput& detected;
  ReferencePrecursorList* reference;  // the training reference list, when one is loaded
  std::vector<std::string>& outputList;
  ScanLoopState scans;
  std::string report;  // the CSV report text, written once after the last group
  bool outputsIncomplete = false;  // a spectrum file of the pair could not be written
  // The per-precursor table (output_table): its text, the features of the group's kept
  // records and the native ids of the scans.
  bool writeTable = false;
  std::string table;
  std::vector<PrecursorFeatures> keptFeatures;
  std::unordered_map<std::uint32_t, std::string> nativeIds;
  CorrectionsByScan* corrections = nullptr;  // the corrected mzML's precursors, when asked for
  // precision_mode's classifier, when the mode chooses the precursors (not when every candidate is
  // kept).
  const BoostedTrees* precisionModel = nullptr;
};

// The group's exported precursors in MGF block order, with their scores, for the corrected mzML.
void collectCorrections(GroupExport group, const MS2File& ms2File, const std::vector<PrecursorFeatures>& keptFeatures,
                        CorrectionsByScan& corrections) {
  const PrecursorRecord* first = group.accepted.data();
  SkippedSpectra skipped;
  walkGroupBlocks(group, ms2File, "mzML", [&](const MS2Spectrum& spectrum, const PrecursorRecord* row, std::int32_t rank) {
    if (row == nullptr) return;
    const PrecursorFeatures& features = keptFeatures[static_cast<std::size_t>(row - first)];
    const double score = features.size() > kFeatureScore ? features[kFeatureScore] : std::nan("");
    corrections[spectrum.scanNumber].push_back({row->mz, chargeOfRow(*row), score, rank + 1});
  }, skipped);
}

// The tables are rewritten for every group of every file, so only the last group's candidates
// stay. That is kept, but a user who trains on them must know which candidates they hold.
void alertOverwrittenTables(const std::string& folder, const std::string& source) {
  static std::string lastFolder;
  static std::string lastSource;
  if (!lastSource.empty() && lastFolder == folder && lastSource != source) {
    logMessage(LogLabel::kAlert, "Positive.csv and Negative.csv in " + folder + " now hold the candidates of " + source +
                            " only: those of " + lastSource + " were overwritten.");
  }
  lastFolder = folder;
  lastSource = source;
}

// Labels the group's candidates against the reference list (the tables with output_trainingdata)
// and reports how many reference entries were found.
void writeTrainingSet(PairRun& run, int group) {
  ReferencePrecursorList& reference = *run.reference;
  logMessage(LogLabel::kNote, "Writing TrainingSet...");
  if (run.settings.writeTrainingData && !run.detected.records.empty()) {
    alertOverwrittenTables(run.settings.outputFolder, run.rawName + kGroupSuffixes[group]);
  }
  writeTrainingSamples(run.settings.outputFolder, run.settings.writeTrainingData, reference,
                       run.detected.features, run.detected.records);
  reportFoundCount(reference, " Precursors. ");
}

// Writes the SVMlight files of the group and has svmrunner train on them and classify them.
SvmJob runSvmClassifier(PairRun& run) {
  const SvmLightSetup setup = svmLightSetupFrom(run.parameters);
  exportSvmLight(setup, run.detected.features, run.detected.records);
  const SvmJob job = makeSvmJob(setup.trainingPath, setup.testPath);
  trainSvm(job, valueOrEmpty(run.parameters, "binpath"));
  predictSvm(job, valueOrEmpty(run.parameters, "binpath"));
  return job;
}

// The classifier's probabilities take the place of the MARS scores. The output must hold one line
// per candidate; a candidate left without one cannot pass the threshold (NaN never does).
void scoreWithProbabilities(const SvmJob& job, std::vector<PrecursorFeatures>& features, std::vector<double>& scores) {
  scores = readSvmProbabilities(job);
  if (scores.size() != features.size()) {
    logMessage(LogLabel::kAlert, "The SVM output " + job.outputFile + " holds " + std::to_string(scores.size()) +
                            " probabilities for " + std::to_string(features.size()) + " candidates: " +
                            (scores.size() < features.size() ? "candidates without one are dropped."
                                                             : "the extra ones are ignored."));
    scores.resize(features.size(), std::numeric_limits<double>::quiet_NaN());
  }
  for (std::size_t i = 0; i < features.size(); ++i) features[i].push_back(scores[i]);
}

// Precision mode: each scored candidate's window share goes after its score.
void appendWindowShares(DetectionOutput& detected) {
  if (detected.windowShares.size() != detected.features.size()) {
    throw RunFailure("window shares and candidates differ in number", FailureKind::kOutOfBounds);
  }
  for (std::size_t i = 0; i < detected.features.size(); ++i) {
    detected.features[i].resize(kFeatureWindowShare, std::nan(""));
    detected.features[i].push_back(detected.windowShares[i]);
  }
}

// Scores the group's candidates and keeps those above the threshold, with the reference-list
// reports before and after scoring.
void scoreAndFilterGroup(PairRun& run, int group) {
  const PairSettings& settings = run.settings;
  ReferencePrecursorList* reference = run.reference;
  const bool useSvm = settings.useSvm;
  SvmJob job;
  if (useSvm) job = runSvmClassifier(run);
  if (reference != nullptr) {
    writeTrainingSet(run, group);
    if (settings.exportUnchecked) {
      writeUncheckedList(*reference, run.outputs.resultStem + "_BeforeMARS_unchecked.csv");
    }
  }
  logMessage(LogLabel::kNote, "Evaluting by the classifier...");
  std::vector<double> scores;
  if (useSvm) {
    scoreWithProbabilities(job, run.detected.features, scores);
  } else {
    scoreCandidates(settings.model, run.detected.features, scores);
  }
  if (reference != nullptr) writeTrainingSet(run, group);
  logMessage(LogLabel::kNote, "Filtering by the threshold...");
  const bool keepFeatures = run.writeTable || run.corrections != nullptr;
  if (settings.precisionMode) appendWindowShares(run.detected);
  if (run.precisionModel != nullptr) {
    const std::size_t candidateCount = run.detected.records.size();
    // The selection may move a kept precursor's m/z (the mean of its copies), so its features are
    // found by position, not by m/z.
    std::vector<std::size_t> keptPositions;
    const std::size_t dropped =
        selectPrecisePrecursors(*run.precisionModel, run.detected.features, run.detected.records, &keptPositions);
    logMessage(LogLabel::kNote, "Precision mode kept " + std::to_string(candidateCount - dropped) + " of " +
                                    std::to_string(candidateCount) + " candidates.");
    if (keepFeatures) run.keptFeatures = featuresAt(run.detected.features, keptPositions);
    return;
  }
  std::vector<PrecursorRecord> candidates;
  if (keepFeatures) candidates = run.detected.records;
  filterByThreshold(settings.threshold, scores, run.detected.records);
  if (keepFeatures) run.keptFeatures = featuresOfKept(candidates, run.detected.features, run.detected.records);
}

// The number of scans of the group that kept no precursor.
std::size_t scansWithoutKept(const std::vector<std::size_t>& positions, const std::vector<PrecursorRecord>& kept) {
  std::size_t scansWithKept = 0;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i == 0 || kept[i].scan != kept[i - 1].scan) ++scansWithKept;
  }
  return positions.size() > scansWithKept ? positions.size() - scansWithKept : 0;
}

// Writes the group's spectra and appends its report rows.
void exportGroup(PairRun& run, int group, const std::vector<std::size_t>& positions) {
  ReferencePrecursorList* reference = run.reference;
  GroupExport exported;
  exported.rawName = run.rawName;
  exported.spectrumPositions = positions;
  exported.accepted = run.detected.records;
  if (run.settings.debugOff) {
    if (!writeGroupSpectra(run.settings, run.ms2File, exported, run.outputs.resultStem + kGroupSuffixes[group],
                           run.outputList)) {
      run.outputsIncomplete = true;
    }
  }
  if (run.writeTable) {
    appendPrecursorTableRows(exported, run.ms2File, run.keptFeatures, run.nativeIds, run.table,
                             run.settings.precisionMode);
  }
  if (run.corrections != nullptr) collectCorrections(exported, run.ms2File, run.keptFeatures, *run.corrections);
  if (reference != nullptr) resetFound(*reference);
  logMessage(LogLabel::kNote, "Writing CSV...");
  const std::vector<std::uint32_t>* listed = run.debug.mode == DebugMode::kScanList ? &run.debug.scans : nullptr;
  const std::size_t scansWithoutPrecursor =
      writeReportRows(run.ms2File, positions, run.detected.records, group, listed, reference, run.report,
                      !run.settings.precisionMode);
  if (run.settings.precisionMode && !positions.empty()) {
    const std::size_t none = scansWithoutKept(positions, run.detected.records);
    if (none > 0) {
      logMessage(LogLabel::kNote, "Precision mode found no precursor in " + std::to_string(none) +
                                      " MS2 scans: their report rows list none, and their spectra keep the "
                                      "recorded precursor.");
    }
  }
  if (scansWithoutPrecursor > 0) {
    logMessage(LogLabel::kAlert, std::to_string(scansWithoutPrecursor) +
                            " MS2 scans were reported with 0 precursors: their kept precursors were out of scan order.");
  }
  if (reference != nullptr) {
    reportFoundCount(*reference, " Precursors.");
    if (run.settings.exportUnchecked) {
      writeUncheckedList(*reference, run.outputs.resultStem + "_unchecked.csv");
    }
  }
}

// Detection, scoring, filtering and export of one activation group.
void processGroup(PairRun& run, int group) {
  clearGroupCandidates(run.detected);
  const std::vector<std::size_t> positions = groupPositions(run.ms2File, group);
  detectScans(run.detectionInput, groupScanTasks(run.ms2File, positions, group, run.debug, run.scans),
              run.settings.threads, run.detected);
  if (run.reference != nullptr) markFoundEntries(run.detected, *run.reference);
  std::printf("\n");
  scoreAndFilterGroup(run, group);
  exportGroup(run, group, positions);
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

// The report's existence tells later runs that this pair is done, so it is written last and only
// when every spectrum file of the pair was written completely.
void saveReport(const std::string& csvPath, const std::string& report, bool outputsIncomplete) {
  if (outputsIncomplete) {
    logMessage(LogLabel::kError, "Not all spectrum files of " + csvPath +
                            " could be written: the CSV report is not saved, so that a later run processes "
                            "this file again.");
    noteRunProblem(RunProblem::kOutputUnwritable);
    return;
  }
  TextWriter writer;
  if (!writer.open(csvPath)) {
    logMessage(LogLabel::kError, "Fail to write the CSV report " + csvPath + ": " + writer.error());
    noteRunProblem(RunProblem::kOutputUnwritable);
    return;
  }
  writer.write(report);
  if (!writer.close()) {
    logMessage(LogLabel::kError, "Fail to write the CSV report " + csvPath + ": " + writer.error());
    noteRunProblem(RunProblem::kOutputUnwritable);
  }
}

}  // namespace

const BoostedTrees& loadPrecisionModel(ParameterTable& parameters) {
  static std::string loadedPath;
  static BoostedTrees model;
  const std::string modelPath = locateSupportFile(parameters["binpath"], kPrecisionModelFile);
  if (modelPath != loadedPath) {
    BoostedTrees read = loadBoostedTrees(modelPath);
    requireClassifierInputs(read, modelPath);
    model = std::move(read);
    loadedPath = modelPath;
  }
  return model;
}

bool processSpectrumPair(ParameterTable parameters, const std::string& ms1Path, const std::string& ms2Path,
                         std::vector<std::string>& outputList, CorrectionsByScan* corrections) {
  const PairSettings settings = pairSettingsFrom(parameters);
  const PairOutputs outputs = outputsFor(settings.outputFolder, ms2Path);
  // The pair this run just extracted is already loaded (and is released on every return); other
  // pairs are read from disk.
  std::optional<LoadedPair> loaded = takeLoadedPair(ms1Path, ms2Path);
  DebugSelection debug;
  debug.mode = settings.detection.debugMode;
  if (debug.mode == DebugMode::kSingleScan) debug.scan = askDebugScan();
  if (!settings.rewriteFiles && settings.debugOff && canOpenForReading(outputs.csvPath)) {
    logMessage(LogLabel::kNote, "CSV file already exists, Corvid Complete!");
    noteEarlierResultReused();
    return false;
  }

  logMessage(LogLabel::kNote, "Loading MS1 and MS2 files...");
  MS1File ms1File;
  if (loaded) {
    ms1File = std::move(loaded->ms1);
    finishMS1Load(ms1Path, loaded->ms1Instrument, loaded->ms1Notes, 0, ms1File);
  } else {
    loadMS1File(ms1Path, ms1File);
  }
  if (ms1File.instrumentName != "FTMS") {
    // Ion-trap survey scans carry no isotope resolution: the extractor exports the MGF itself.
    logMessage(LogLabel::kNote, "ITMS encountered.. use quarry_raw.exe...");
    runChildProcess({toolPath(parameters["binpath"], "quarry_raw"),
                     {"-mgf", withoutExtension(ms1Path) + ".Raw", "-m", parameters["m/z"], "-i",
                      parameters["Intensity"]}});
    return false;
  }

  MS2File ms2File;
  if (loaded) {
    ms2File = std::move(loaded->ms2);
    finishMS2Load(ms2Path, loaded->ms2Notes, loaded->ms2GroupNotes, ms2File);
    loaded.reset();
  } else {
    loadMS2File(ms2Path, ms2File);
  }
  if (settings.peakDifferences) {
    writePeakDifferenceStatistics(ms2File, ms2Path);
    throw RunFailure("peak-difference statistics written", FailureKind::kFinishedEarly);
  }
  if (debug.mode == DebugMode::kScanList) debug.scans = askDebugScanList();

  DetectionInput detectionInput = makeDetectionInput(settings.detection, ms1File, runIsotopeTable());
  ReferencePrecursorList reference;
  if (!settings.trainingSet.empty()) {
    reference = loadReferencePrecursorList(settings.trainingSet);
    attachReferenceList(detectionInput, reference);
  }
  detectionInput.debugScans.assign(debug.scans.begin(), debug.scans.end());
  DetectionOutput detected;

  loadIsotopePatternTable(locateSupportFile(parameters["binpath"], parameters["ipv_file"]), runIsotopeTable());

  ms1File.rawName = withoutExtension(fileNameOf(ms2Path));
  bool kx1Written = true;
  if (settings.exportKX) {
    logMessage(LogLabel::kNote, "Writing MS1 to KX...");
    kx1Written = writeKX1(ms1File, settings.outputFolder + withoutExtension(fileNameOf(ms1Path)) + ".kx1");
  }

  PairRun run{settings, parameters, outputs, ms2File, ms1File.rawName, debug, detectionInput, detected,
              settings.trainingSet.empty() ? nullptr : &reference, outputList, {}, {}, !kx1Written, false, {}, {},
              {}, corrections};
  if (precisionModelChooses(parameters)) run.precisionModel = &loadPrecisionModel(parameters);
  startReportText(run.report);
  if (settings.writeTable) {
    run.writeTable = true;
    run.table = precursorTableHeader(run.settings.precisionMode);
    run.nativeIds = readNativeIds(extractionSummaryFor(ms2Path));
  }
  for (int group = 0; group < kActivationGroupCount; ++group) {
    if (ms2File.groupPresent[group] != 0) processGroup(run, group);
  }
  noteMS2ScansProcessed(static_cast<long long>(ms2File.spectra.size()));
  logMessage(LogLabel::kNote, "Releasing resources...");
  logMessage(LogLabel::kNote, "Saving CSV to disk...");
  if (run.writeTable && !writePrecursorTable(outputs.resultStem + kPrecursorTableSuffix, run.table)) run.outputsIncomplete = true;
  saveReport(outputs.csvPath, run.report, run.outputsIncomplete);
  if (settings.deleteSpectrumFiles) {
    logMessage(LogLabel::kNote, "Deleting MS1 & MS2...");
    std::error_code ignored;
    std::filesystem::remove(ms1Path, ignored);
    std::filesystem::remove(ms2Path, ignored);
  }
  logMessage(LogLabel::kNote, "Exported " + std::to_string(detected.exportedPrecursorCount) + " precursors.");
  logMessage(LogLabel::kNote, "Found " + std::to_string(run.scans.duplicates) + " duplicate scans.");
  return true;
}

}  // namespace corvid
