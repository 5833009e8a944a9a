#pragma once
// What the QC report (output_qc) gathers while one input file is processed: the rows of its
// exported precursors and the facts about the run, collected across the parts of a split MS2
// file, then turned into figures and written once.
#include <cstdint>
#include <string>
#include <vector>

#include "scoring/qc_figures.h"
#include "spectra/spectrum_records.h"
#include "startup/input_job.h"
#include "startup/run_settings.h"

namespace corvid {

struct QcCollection {
  std::vector<QcPrecursorRow> rows;
  QcRunFacts facts;
  std::int64_t startMilliseconds = 0;
  bool writtenByCaller = false;  // parts of a split file: the report is written after the join
};

// Starts the collection for the input of job (its checksum is taken now).
QcCollection startQcCollection(const RunSettings& settings, const InputJob& job, const std::string& stem);

// Counts the spectra of one pair (or part): the MS1 file is the same for every part.
void noteQcSpectra(QcCollection& qc, const MS1File& ms1File, const MS2File& ms2File);

// Computes the figures and writes <resultStem>.qc.html and .mzQC; false when either failed.
bool finishQcReport(QcCollection& qc, const std::string& resultStem, const std::string& programFolder);

}  // namespace corvid
