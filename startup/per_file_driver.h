#pragma once
// The whole detection job for one extracted MS1/MS2 pair: load, walk every MS2 scan per
// activation group, gather MS1 signal, detect, score, filter, write spectra and the CSV report.
#include <optional>
#include <string>
#include <vector>

#include "spectra/loaded_pair.h"
#include "startup/pair_run.h"
#include "startup/run_resources.h"
#include "startup/run_settings.h"

namespace corvid {

// The files of one pair and where the job found them.
struct PairFiles {
  std::string ms1Path;
  std::string ms2Path;
  std::string folder;  // the pair's folder: debug peak files are read from there
};

// Outputs go to the run's output folder named after the MS2 file; `outputList` collects the
// spectrum files written. `handedOver` is the pair as its extraction loaded it, used when it still
// stands for these files (and released either way). When `corrections` is given, the exported
// precursors are added to it; when `qc` is given, the QC report's rows and spectrum counts (and,
// unless the caller writes it, the QC report itself before the CSV report). Returns false when the pair's results already existed and nothing
// was processed. Failures (missing files, unreadable data) are thrown as RunFailure.
bool processSpectrumPair(const RunSettings& settings, RunResources& resources, const PairFiles& files,
                         std::optional<HandedOverPair>& handedOver, std::vector<std::string>& outputList,
                         CorrectionsByScan* corrections = nullptr, QcCollection* qc = nullptr);

}  // namespace corvid
