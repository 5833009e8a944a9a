#include "spectra/group_export.h"

#include <cstdio>

#include "platform/reported_output.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"

namespace corvid {

// The console progress line is refreshed every this many spectra (and at the last one).
constexpr std::size_t kProgressStep = 41;

void reportSkippedSpectra(const std::string& path, const SkippedSpectra& skipped,
                          const char* effect) {
  if (skipped.count == 0) return;
  logMessage(LogLabel::kAlert, std::to_string(skipped.count) + " spectra " + effect + " in " + path +
                          ": the accepted precursor of scan " + std::to_string(skipped.rowScan) +
                          " has no spectrum at its place in the group (first spectrum affected: "
                          "scan " +
                          std::to_string(skipped.firstScan) + ")");
}

void walkGroupBlocks(GroupExport& group, const MS2File& ms2File, const char* progressLabel,
                     const ExportBlockVisitor& visit, SkippedSpectra& skipped) {
  const std::size_t count = group.spectrumPositions.size();
  std::size_t cursor = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (i % kProgressStep == 0 || i + 1 == count) {
      std::printf("\r[Corvid] <Writing %s>: %.0lf%%", progressLabel,
                  static_cast<double>(i) * 100.0 / count);
    }
    const MS2Spectrum& spectrum = ms2File.spectra.at(group.spectrumPositions[i]);
    const std::int64_t scan = spectrum.scanNumber;
    std::size_t rowCount = 0;
    RowMatch match = matchRows(group.accepted, cursor, scan, rowCount);
    if (match == RowMatch::BehindCursor) {
      noteSkipped(scan, scanOfRow(group.accepted[cursor]), skipped);
      continue;
    }
    if (match == RowMatch::Rows) {
      for (std::size_t k = 0; k < rowCount; ++k, ++cursor) {
        visit(spectrum, &group.accepted[cursor], static_cast<std::int32_t>(k));
        ++group.writtenCount;
      }
      continue;
    }
    visit(spectrum, nullptr, 0);
    ++group.writtenCount;
  }
}

void putPeakLines(const std::vector<Peak>& peaks, PendingFile& out) {
  for (const Peak& peak : peaks) {
    putFixed(out, peak.mz, 6);
    putText(out, " ");
    putFixed(out, peak.intensity, 1);
    putLineEnd(out);
    flushIfLarge(out);
  }
}

bool finishGroupFile(const std::string& path, const SkippedSpectra& skipped, const char* format, PendingFile& out) {
  reportSkippedSpectra(path, skipped, "not written");
  return commitReportedOutput(out, std::string(format) + " file");
}

}  // namespace corvid
