#include "startup/group_output.h"

#include <cmath>
#include <filesystem>
#include <future>
#include <string>

#include "platform/run_log.h"
#include "scoring/precursor_table.h"
#include "scoring/qc_rows.h"
#include "scoring/reference_list_loader.h"
#include "scoring/result_report.h"
#include "spectra/group_export.h"
#include "spectra/kx_format.h"
#include "spectra/mgf_writer.h"
#include "spectra/ms2_writer.h"
#include "startup/group_scoring.h"

namespace corvid {
namespace {

// Writes the group's spectrum files; false when one of them could not be written completely.
// A group whose spectrum files could not all be written leaves none of them: the files that were
// written go (a KX2 file with its index), so that no later run or user takes part of a group for
// the whole. Only regular files are removed, never a device written in place.
void removeGroupFiles(const std::vector<std::string>& written) {
  std::error_code ignored;
  for (const std::string& path : written) {
    for (const std::string& file : {path, path.ends_with(".kx2") ? path + "idx" : std::string()}) {
      if (!file.empty() && std::filesystem::is_regular_file(file, ignored)) std::filesystem::remove(file, ignored);
    }
  }
}

bool writeGroupSpectra(const RunSettings& settings, const MS2File& ms2File, GroupExport& exported,
                       const std::string& groupStem, std::vector<std::string>& outputList) {
  bool complete = true;
  std::vector<std::string> written;
  auto note = [&](bool done, const std::string& path) {
    if (done) {
      written.push_back(path);
    } else {
      complete = false;
    }
  };
  if (settings.outputs.mgf && settings.outputs.kx && settings.threads > 1) {
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
    if (settings.outputs.mgf) note(writeMGF(exported, ms2File, true, groupStem + ".mgf"), groupStem + ".mgf");
    if (settings.outputs.kx) note(writeKX2(exported, ms2File, groupStem + ".kx2"), groupStem + ".kx2");
  }
  if (settings.outputs.ms2) note(writeMS2(exported, ms2File, true, groupStem + ".ms2"), groupStem + ".ms2");
  if (!complete) {
    removeGroupFiles(written);
    return false;
  }
  outputList.insert(outputList.end(), written.begin(), written.end());
  return true;
}

// The group's exported precursors in MGF block order, with their scores, for the corrected mzML.
void collectCorrections(GroupExport group, const MS2File& ms2File, const std::vector<PrecursorFeatures>& keptFeatures,
                        CorrectionsByScan& corrections) {
  const PrecursorRecord* first = group.accepted.data();
  SkippedSpectra skipped;
  walkGroupBlocks(
      group, ms2File, "mzML",
      [&](const MS2Spectrum& spectrum, const PrecursorRecord* row, std::int32_t rank) {
        if (row == nullptr) return;
        const PrecursorFeatures& features = keptFeatures[static_cast<std::size_t>(row - first)];
        const double score = features.size() > kFeatureScore ? features[kFeatureScore] : std::nan("");
        corrections[spectrum.scanNumber].push_back({row->mz, chargeOfRow(*row), score, rank + 1});
      },
      skipped);
}

// The number of scans of the group that kept no precursor.
std::size_t scansWithoutKept(const std::vector<std::size_t>& positions, const std::vector<PrecursorRecord>& kept) {
  std::size_t scansWithKept = 0;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i == 0 || kept[i].scan != kept[i - 1].scan) ++scansWithKept;
  }
  return positions.size() > scansWithKept ? positions.size() - scansWithKept : 0;
}

}  // namespace

void exportGroup(PairRun& run, int group, const std::vector<std::size_t>& positions) {
  ReferencePrecursorList* reference = run.reference;
  GroupExport exported;
  exported.rawName = run.rawName;
  exported.spectrumPositions = positions;
  exported.accepted = run.detected.records;
  if (run.settings.writeSpectrumFiles &&
      !writeGroupSpectra(run.settings, run.ms2File, exported, run.outputs.resultStem + kGroupSuffixes[group],
                         run.outputList)) {
    run.outputsIncomplete = true;
  }
  if (run.settings.outputs.precursorTable) {
    appendPrecursorTableRows(exported, run.ms2File, run.keptFeatures, run.nativeIds, run.table,
                             run.settings.precisionMode);
  }
  if (run.qc != nullptr) appendQcRows(exported, run.ms2File, run.keptFeatures, run.qc->rows);
  if (run.corrections != nullptr) collectCorrections(exported, run.ms2File, run.keptFeatures, *run.corrections);
  if (reference != nullptr) resetFound(*reference);
  logMessage(LogLabel::kNote, "Writing CSV...");
  const std::vector<std::uint32_t>* listed = run.debug.mode == DebugMode::kScanList ? &run.debug.scans : nullptr;
  const std::size_t scansWithoutPrecursor = writeReportRows(run.ms2File, positions, run.detected.records, group, listed,
                                                            reference, run.report, !run.settings.precisionMode);
  if (run.settings.precisionMode && !positions.empty()) {
    const std::size_t none = scansWithoutKept(positions, run.detected.records);
    if (none > 0) {
      logMessage(LogLabel::kNote, "Precision mode found no precursor in " + std::to_string(none) +
                                      " MS2 scans: their report rows list none, and their spectra keep the "
                                      "recorded precursor.");
    }
  }
  if (scansWithoutPrecursor > 0) {
    logMessage(LogLabel::kAlert,
               std::to_string(scansWithoutPrecursor) +
                   " MS2 scans were reported with 0 precursors: their kept precursors were out of scan order.");
  }
  if (reference != nullptr) {
    reportFoundCount(*reference, " Precursors.");
    if (run.settings.outputs.uncheckedLists) {
      writeUncheckedList(*reference, run.outputs.resultStem + "_unchecked.csv");
    }
  }
}

void writePairSideFiles(PairRun& run) {
  if (run.settings.outputs.precursorTable &&
      !writePrecursorTable(run.outputs.resultStem + kPrecursorTableSuffix, run.table)) {
    run.outputsIncomplete = true;
  }
  if (run.qc != nullptr && !run.qc->writtenByCaller &&
      !finishQcReport(*run.qc, run.outputs.resultStem, run.settings.paths.program)) {
    run.outputsIncomplete = true;
  }
}

}  // namespace corvid
