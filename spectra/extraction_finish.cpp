// Finishing step of an open-format extraction: once every spectrum is in the working files, the
// scans are numbered for good, the summary is written, and the .ms1/.ms2 text is either renamed
// into place or, when numbers or precursors changed, rewritten with fresh headers around the peak
// lines already written.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "platform/paths.h"
#include "platform/pending_file.h"
#include "platform/run_log.h"
#include "spectra/extracted_scan.h"
#include "spectra/extraction_state.h"
#include "spectra/file_size.h"
#include "spectra/ms_text_writer.h"
#include "spectra/scan_summary.h"

namespace corvid {

namespace {

// Reads `length` bytes at `offset` of a working file into out (appended).
bool readAt(std::FILE* file, std::uint64_t offset, std::uint64_t length, std::string& out) {
  if (length == 0) return true;
  std::size_t start = out.size();
  out.resize(start + length);
  const auto count = static_cast<std::int64_t>(length);
  return readBytesAt(file, static_cast<std::int64_t>(offset), out.data() + start, count) == count;
}

bool readRecord(std::FILE* records, std::uint32_t index, ExtractedScan& record, std::string& scratch) {
  scratch.clear();
  if (!readAt(records, static_cast<std::uint64_t>(index) * sizeof record, sizeof record, scratch)) return false;
  std::memcpy(&record, scratch.data(), sizeof record);
  return true;
}

// Writes the summary and, when the headers changed, the final .ms1/.ms2 in the given order with
// fresh headers and the peak lines copied from the working files.
bool writeOutputs(Extraction& x, const std::vector<std::uint32_t>& order, bool rewrite, std::string& error) {
  std::FILE* records = std::fopen(x.paths.recordWork.c_str(), "rb");
  std::FILE* ids = std::fopen(x.paths.idWork.c_str(), "rb");
  std::FILE* work1 = rewrite ? std::fopen(x.paths.ms1Work.c_str(), "rb") : nullptr;
  std::FILE* work2 = rewrite ? std::fopen(x.paths.ms2Work.c_str(), "rb") : nullptr;
  PendingFile out1, out2, summary;
  bool ok = records != nullptr && ids != nullptr && openPending(x.paths.summary, summary);
  if (ok && rewrite)
    ok = work1 != nullptr && work2 != nullptr && openPending(x.paths.ms1, out1) && openPending(x.paths.ms2, out2);
  const bool withVoltage = x.withCompensationVoltage > 0;
  summary.buffer += kScanSummaryHeader;
  if (withVoltage) summary.buffer += kScanSummaryVoltageColumn;
  summary.buffer += "\r\n";
  ExtractedScan scan;
  std::string scratch, id;
  for (std::size_t i = 0; ok && i < order.size(); ++i) {
    const ScanKey& key = x.keys[order[i]];
    ok = readRecord(records, order[i], scan, scratch);
    scan.scan = key.scan;
    scan.precursorScan = key.precursorScan;
    id.clear();
    ok = ok && readAt(ids, scan.idOffset, scan.idLength, id);
    appendScanSummaryLine(summary.buffer, scan, id, withVoltage);
    flushIfLarge(summary);
    if (!rewrite) continue;
    PendingFile& out = scan.msLevel == 1 ? out1 : out2;
    const std::size_t from = out.buffer.size();
    if (scan.msLevel == 1)
      appendMS1Header(out.buffer, scan);
    else
      appendMS2Header(out.buffer, scan);
    ok = ok && readAt(scan.msLevel == 1 ? work1 : work2, scan.peakOffset, scan.peakBytes, out.buffer);
    if (ok) loadAppended(x, out, from, scan.msLevel);
    flushIfLarge(out);
  }
  for (PendingFile* file : {&out1, &out2, &summary}) ok = commitPending(*file) && ok;
  for (std::FILE* file : {records, ids, work1, work2})
    if (file != nullptr) std::fclose(file);
  if (!ok) error = "the MS1/MS2 text files or the summary cannot be written in " + folderOf(x.paths.ms1);
  return ok;
}

bool renameWorkFiles(const Extraction& x, std::string& error) {
  std::error_code code;
  std::filesystem::rename(x.paths.ms1Work, x.paths.ms1, code);
  if (!code) std::filesystem::rename(x.paths.ms2Work, x.paths.ms2, code);
  if (code) error = "the MS1/MS2 text files cannot be renamed (" + code.message() + ")";
  return !code;
}

}  // namespace

bool finishExtraction(Extraction& x, std::string& error) {
  bool closed = true;
  for (PendingFile* file : {&x.ms1, &x.ms2, &x.records, &x.ids}) closed = commitPending(*file) && closed;
  if (!closed) {
    error = "the MS1/MS2 text files cannot be written in " + folderOf(x.paths.ms1);
    return false;
  }
  std::vector<std::uint32_t> order;
  bool renumbered = assignScanNumbers(x.keys, order);
  bool rewrite = renumbered || std::any_of(x.keys.begin(), x.keys.end(), [](const ScanKey& key) {
                   return key.precursorScan != key.streamedPrecursorScan;  // another precursor named
                 });
  // Rewritten files hold other headers in another order: what was scanned while streaming is not
  // their text, so they are scanned again as they are written.
  if (rewrite && x.loaded != nullptr) startLoadedPair(*x.loaded);
  if (!writeOutputs(x, order, rewrite, error)) return false;
  if (!rewrite && !renameWorkFiles(x, error)) return false;
  removeWorkFiles(x.paths);
  if (renumbered)
    logMessage(LogLabel::kAlert, fileNameOf(x.inputPath) + ": scan numbers do not rise with retention time; " +
                                     std::to_string(x.keys.size()) +
                                     " spectra were ordered by retention time and numbered from 1 (native ids in " +
                                     fileNameOf(x.paths.summary) + ")");
  return true;
}

void reportExtractionAlerts(const Extraction& x) {
  std::string name = fileNameOf(x.inputPath);
  if (x.higherLevels > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.higherLevels) +
                                     " spectra with an MS level other than 1 or 2 were skipped");
  if (x.unknownActivations > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.unknownActivations) +
                                     " MS2 scans have an activation other than CID, ETD or HCD; Corvid skips them");
  if (x.unknownAnalyzers > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.unknownAnalyzers) +
                                     " spectra name no known mass analyzer" +
                                     (x.unknownAnalyzerName.empty() ? "" : " (" + x.unknownAnalyzerName + ")") +
                                     "; they were written as ITMS");
  if (x.repair.unsortedSpectra > 0)
    logMessage(LogLabel::kAlert, name + ": the peaks of " + std::to_string(x.repair.unsortedSpectra) +
                                     " spectra were not in m/z order; they were sorted by m/z");
  if (x.repair.droppedPeaks > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.repair.droppedPeaks) + " peaks in " +
                                     std::to_string(x.repair.spectraWithDropped) +
                                     " spectra had a non-finite or negative m/z or intensity and were "
                                     "left out");
}

}  // namespace corvid
