#include "startup/group_scoring.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "scoring/precise_selection.h"
#include "scoring/precursor_table.h"
#include "scoring/reference_list_loader.h"
#include "scoring/result_report.h"
#include "scoring/score_candidates.h"
#include "scoring/svm_classifier.h"
#include "scoring/svm_light_export.h"
#include "scoring/threshold_filter.h"
#include "scoring/training_samples.h"

namespace corvid {
namespace {

// Labels the group's candidates against the reference list (the tables with output_trainingdata)
// and reports how many reference entries were found.
void writeTrainingSet(PairRun& run, int group) {
  ReferencePrecursorList& reference = *run.reference;
  logMessage(LogLabel::kNote, "Writing TrainingSet...");
  const std::string& folder = run.settings.paths.output;
  if (run.settings.outputs.trainingData && !run.detected.records.empty()) {
    noteTrainingTablesSource(run.resources, folder, run.rawName + kGroupSuffixes[group]);
  }
  writeTrainingSamples(folder, run.settings.outputs.trainingData, reference, run.detected.features,
                       run.detected.records);
  reportFoundCount(reference, " Precursors. ");
}

// Writes the SVMlight files of the group and has svmrunner train on them and classify them.
SvmJob runSvmClassifier(PairRun& run) {
  const SvmLightSetup setup = svmLightSetupOf(run.settings);
  exportSvmLight(setup, run.detected.features, run.detected.records);
  const SvmJob job = makeSvmJob(setup.trainingPath, setup.testPath);
  trainSvm(job, run.settings.paths.program);
  predictSvm(job, run.settings.paths.program);
  return job;
}

// The classifier's probabilities take the place of the MARS scores. The output must hold one line
// per candidate; a candidate left without one cannot pass the threshold (NaN never does). An
// output without any probability leaves the scores empty, and the threshold then keeps every
// candidate as detected.
void scoreWithProbabilities(const SvmJob& job, std::vector<PrecursorFeatures>& features, std::vector<double>& scores) {
  scores = readSvmProbabilities(job);
  const std::string counts = " holds " + std::to_string(scores.size()) + " probabilities for " +
                             std::to_string(features.size()) + " candidates: ";
  if (scores.empty() && !features.empty()) {
    logMessage(LogLabel::kAlert,
               "The SVM output " + job.outputFile + counts + "every candidate is kept unscored, in detection order.");
    for (PrecursorFeatures& row : features) row.push_back(std::numeric_limits<double>::quiet_NaN());
    return;
  }
  if (scores.size() != features.size()) {
    logMessage(LogLabel::kAlert, "The SVM output " + job.outputFile + counts +
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

bool keepsFeatures(const PairRun& run) {
  return run.settings.outputs.precursorTable || run.corrections != nullptr || run.qc != nullptr;
}

// precision_mode's classifier chooses. It may move a kept precursor's m/z (the mean of its copies),
// so the kept features are found by position, not by m/z.
void choosePrecisely(PairRun& run) {
  const std::size_t candidateCount = run.detected.records.size();
  std::vector<std::size_t> keptPositions;
  const std::size_t dropped =
      selectPrecisePrecursors(*run.precisionModel, run.detected.features, run.detected.records, &keptPositions);
  logMessage(LogLabel::kNote, "Precision mode kept " + std::to_string(candidateCount - dropped) + " of " +
                                  std::to_string(candidateCount) + " candidates.");
  if (keepsFeatures(run)) run.keptFeatures = featuresAt(run.detected.features, keptPositions);
}

void chooseByThreshold(PairRun& run, const std::vector<double>& scores) {
  std::vector<PrecursorRecord> candidates;
  if (keepsFeatures(run)) candidates = run.detected.records;
  filterByThreshold(run.settings.threshold, scores, run.detected.records);
  if (keepsFeatures(run)) run.keptFeatures = featuresOfKept(candidates, run.detected.features, run.detected.records);
}

}  // namespace

void reportFoundCount(const ReferencePrecursorList& reference, const char* closing) {
  logMessage(LogLabel::kNote, "Check " + std::to_string(countFound(reference)) + closing);
}

void scoreAndFilterGroup(PairRun& run, int group) {
  const RunSettings& settings = run.settings;
  ReferencePrecursorList* reference = run.reference;
  SvmJob job;
  if (settings.useSvm) job = runSvmClassifier(run);
  if (reference != nullptr) {
    writeTrainingSet(run, group);
    if (settings.outputs.uncheckedLists) {
      writeUncheckedList(*reference, run.outputs.resultStem + "_BeforeMARS_unchecked.csv");
    }
  }
  logMessage(LogLabel::kNote, "Evaluting by the classifier...");
  std::vector<double> scores;
  if (settings.useSvm) {
    scoreWithProbabilities(job, run.detected.features, scores);
  } else {
    scoreCandidates(settings.model, run.detected.features, scores);
  }
  if (reference != nullptr) writeTrainingSet(run, group);
  logMessage(LogLabel::kNote, "Filtering by the threshold...");
  if (settings.precisionMode) appendWindowShares(run.detected);
  if (run.precisionModel != nullptr) {
    choosePrecisely(run);
  } else {
    chooseByThreshold(run, scores);
  }
}

}  // namespace corvid
