#pragma once
// What one file pair's activation groups share while they are detected, scored and written in
// turn: the run's settings and resources, the pair's spectra and outputs, and the report text
// that is saved after the last group.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "detection/detection_context.h"
#include "detection/voltage_views.h"
#include "scoring/boosted_trees.h"
#include "spectra/corrected_mzml.h"
#include "spectra/precursor_features.h"
#include "spectra/spectrum_records.h"
#include "startup/debug_scan_input.h"
#include "startup/group_scan_tasks.h"
#include "startup/qc_collection.h"
#include "startup/run_resources.h"
#include "startup/run_settings.h"

namespace corvid {

// Corvid's scan number -> the precursors exported for it, best first (scans exported with the
// instrument's precursor are absent).
using CorrectionsByScan = std::unordered_map<std::uint32_t, std::vector<CorrectedPrecursor>>;

// Where a pair's results go: outputpath + the MS2 file's name less its extension.
struct PairOutputs {
  std::string resultStem;
  std::string csvPath;
};

struct PairRun {
  const RunSettings& settings;
  RunResources& resources;
  PairOutputs outputs;
  const MS2File& ms2File;
  std::string rawName;
  const DebugSelection& debug;
  const DetectionInput& detectionInput;
  DetectionOutput& detected;
  ReferencePrecursorList* reference = nullptr;  // the training reference list, when one is loaded
  std::vector<std::string>& outputList;         // the spectrum files written
  ScanLoopState scans{};
  std::string report{};            // the CSV report text, written once after the last group
  bool outputsIncomplete = false;  // a spectrum file of the pair could not be written
  // The per-precursor table (output_table): its text, the features of the group's kept records
  // and the native ids of the scans.
  std::string table{};
  std::vector<PrecursorFeatures> keptFeatures{};
  std::unordered_map<std::uint32_t, std::string> nativeIds{};
  CorrectionsByScan* corrections = nullptr;  // the corrected mzML's precursors, when asked for
  // precision_mode's classifier, when the mode chooses the precursors (not when every candidate
  // is kept).
  const BoostedTrees* precisionModel = nullptr;
  QcCollection* qc = nullptr;  // the QC report's rows and facts, when output_qc is on
  // FAIMS runs: the MS1 scans split by compensation voltage, detected against instead of
  // detectionInput; without inputs for other runs.
  VoltageViews voltageViews{};
};

}  // namespace corvid
