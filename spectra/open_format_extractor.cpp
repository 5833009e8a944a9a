#include "spectra/open_format_extractor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/paths.h"
#include "platform/pending_file.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "platform/text_file.h"
#include "spectra/extracted_scan.h"
#include "spectra/extraction_marker.h"
#include "spectra/file_size.h"
#include "spectra/loaded_pair.h"
#include "spectra/ms_text_writer.h"
#include "spectra/mzml_parser.h"
#include "spectra/mzxml_parser.h"
#include "spectra/open_format_terms.h"
#include "spectra/peak_repair.h"
#include "spectra/scan_numbering.h"
#include "spectra/scan_summary.h"
#include "spectra/spectrum_pipe.h"

namespace corvid {

namespace {

// Spectra between two updates of the progress counter.
constexpr std::size_t kProgressEvery = 1000;



struct OutputPaths {
  std::string ms1, ms2, summary, marker, ms1Work, ms2Work, recordWork, idWork;
};

OutputPaths outputPathsOf(const std::string& folder, const std::string& stem) {
  std::string base = folder + stem;
  return {base + ".ms1",      base + ".ms2",      base + std::string(kExtractionSummarySuffix),  base + ".quarry",
          base + ".ms1.part", base + ".ms2.part", base + ".scans.part", base + ".ids.part"};
}

void removeFile(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

void removeWorkFiles(const OutputPaths& paths) {
  for (const std::string* path : {&paths.ms1Work, &paths.ms2Work, &paths.recordWork, &paths.idWork})
    removeFile(*path);
}

// After a failed extraction: without its marker no earlier extraction is reused. Files under
// the final names are only ever complete (they are renamed into place), and another run may be
// reading them, so they are left alone.
void removeOutputs(const OutputPaths& paths) {
  removeFile(paths.marker);
  removeWorkFiles(paths);
}

// Everything one extraction keeps while the spectra stream past. Per spectrum only its ScanKey
// stays in memory; the full record, the native id and the text go to working files.
struct Extraction {
  std::string inputPath;
  OutputPaths paths;
  PendingFile ms1, ms2, records, ids;
  std::vector<ScanKey> keys;
  bool nativeOrder = true;   // native numbers still usable
  std::int32_t lastMS1 = 0;  // scan written for the last MS1 spectrum so far
  std::size_t ms1Count = 0;
  std::size_t higherLevels = 0;
  std::size_t unknownActivations = 0;
  std::size_t unknownAnalyzers = 0;
  PeakRepair repair;
  LoadedPair* loaded = nullptr;  // when asked for: the text scanned as it is written
};

// Scans the text just appended to out.buffer (from `from` on) into the loaded pair.
void loadAppended(Extraction& x, const PendingFile& out, std::size_t from, int msLevel) {
  if (x.loaded == nullptr) return;
  const std::string_view piece = std::string_view(out.buffer).substr(from);
  if (msLevel == 1) {
    addMS1Text(*x.loaded, piece);
  } else {
    addMS2Text(*x.loaded, piece);
  }
}

ExtractedScan describe(const OpenSpectrum& spectrum, Extraction& x) {
  ExtractedScan e;
  e.nativeScan = nativeScanNumber(spectrum.nativeId, spectrum.index);
  e.msLevel = spectrum.msLevel;
  e.retentionTime = spectrum.retentionTime;
  e.ionInjectionTime = spectrum.ionInjectionTime;
  e.analyzer = spectrum.analyzer;
  e.charge = spectrum.charge;
  e.precursorMz = spectrum.hasSelectedMz ? spectrum.selectedMz : spectrum.isolationTarget;
  e.isolationTarget = spectrum.hasIsolationTarget ? spectrum.isolationTarget : spectrum.selectedMz;
  std::string_view activation = spectrum.activation;
  if (activation.empty()) activation = "UNK";
  for (std::size_t i = 0; i < 3 && i < activation.size(); ++i) e.activation[i] = activation[i];
  e.idHash = nativeIdHash(spectrum.nativeId);
  e.precursorRefHash = spectrum.precursorRef.empty() ? 0 : nativeIdHash(spectrum.precursorRef);
  e.idOffset = positionOf(x.ids);
  e.idLength = static_cast<std::uint32_t>(spectrum.nativeId.size());
  x.ids.buffer += spectrum.nativeId;
  e.peakCount = static_cast<std::uint32_t>(spectrum.mz.size());
  return e;
}

bool isKnownActivation(const ExtractedScan& scan) {
  std::string_view name(scan.activation.data());
  return name == "CID" || name == "ETD" || name == "HCD";
}

void appendRecord(PendingFile& out, const ExtractedScan& record) {
  out.buffer.append(reinterpret_cast<const char*>(&record), sizeof record);
}

// Writes one spectrum with the numbers that hold while the file keeps its native order: native
// scan, and the last MS1 scan as precursor. When the order breaks or a spectrum names another
// precursor, the headers are rewritten at the end and only the peak lines are reused.
bool writeSpectrum(const OpenSpectrum& spectrum, Extraction& x, std::string& error) {
  if (spectrum.msLevel < 1 || spectrum.msLevel > 2) {
    ++x.higherLevels;
    return true;
  }
  const std::vector<double>* mz = &spectrum.mz;
  const std::vector<double>* intensity = &spectrum.intensity;
  const std::size_t usable = repairPeaks(x.repair, mz, intensity);
  ExtractedScan e = describe(spectrum, x);
  e.peakCount = static_cast<std::uint32_t>(usable);
  ScanKey key{e.retentionTime, e.nativeScan, e.idHash, e.precursorRefHash, 0, 0, 0, e.msLevel};
  if (x.nativeOrder)
    x.nativeOrder = x.keys.empty() ? nativeNumberUsable(key) : keepsNativeOrder(x.keys.back(), key);
  e.scan = x.nativeOrder ? static_cast<std::uint32_t>(e.nativeScan)
                         : static_cast<std::uint32_t>(x.keys.size() + 1);
  if (e.msLevel == 2) {
    e.precursorScan = x.lastMS1;
    if (!isKnownActivation(e)) ++x.unknownActivations;
  } else {
    x.lastMS1 = static_cast<std::int32_t>(e.scan);
    ++x.ms1Count;
  }
  if (e.analyzer == AnalyzerKind::Unknown) ++x.unknownAnalyzers;
  key.streamedPrecursorScan = e.precursorScan;
  PendingFile& out = e.msLevel == 1 ? x.ms1 : x.ms2;
  const std::size_t from = out.buffer.size();
  if (e.msLevel == 1)
    appendMS1Header(out.buffer, e);
  else
    appendMS2Header(out.buffer, e);
  e.peakOffset = positionOf(out);
  std::size_t negatives = 0;  // none left: negative peaks were taken out above
  if (!appendPeakLines(out.buffer, *mz, *intensity, negatives)) {
    error = "spectrum \"" + spectrum.nativeId +
            "\" holds a peak value that is not a finite, non-negative number";
    return false;
  }
  e.peakBytes = positionOf(out) - e.peakOffset;
  loadAppended(x, out, from, e.msLevel);
  appendRecord(x.records, e);
  x.keys.push_back(key);
  for (PendingFile* file : {&out, &x.records, &x.ids})
    flushIfLarge(*file);
  return true;
}

// Reads `length` bytes at `offset` of a working file into out (appended).
bool readAt(std::FILE* file, std::uint64_t offset, std::uint64_t length, std::string& out) {
  if (length == 0) return true;
  std::size_t start = out.size();
  out.resize(start + length);
  const auto count = static_cast<std::int64_t>(length);
  return readBytesAt(file, static_cast<std::int64_t>(offset), out.data() + start, count) == count;
}

bool readRecord(std::FILE* records, std::uint32_t index, ExtractedScan& record,
                std::string& scratch) {
  scratch.clear();
  if (!readAt(records, static_cast<std::uint64_t>(index) * sizeof record, sizeof record, scratch))
    return false;
  std::memcpy(&record, scratch.data(), sizeof record);
  return true;
}

// Writes the summary and, when the headers changed, the final .ms1/.ms2 in the given order with
// fresh headers and the peak lines copied from the working files.
bool writeOutputs(Extraction& x, const std::vector<std::uint32_t>& order, bool rewrite,
                  std::string& error) {
  std::FILE* records = std::fopen(x.paths.recordWork.c_str(), "rb");
  std::FILE* ids = std::fopen(x.paths.idWork.c_str(), "rb");
  std::FILE* work1 = rewrite ? std::fopen(x.paths.ms1Work.c_str(), "rb") : nullptr;
  std::FILE* work2 = rewrite ? std::fopen(x.paths.ms2Work.c_str(), "rb") : nullptr;
  PendingFile out1, out2, summary;
  bool ok = records != nullptr && ids != nullptr && openPending(x.paths.summary, summary);
  if (ok && rewrite)
    ok = work1 != nullptr && work2 != nullptr && openPending(x.paths.ms1, out1) &&
         openPending(x.paths.ms2, out2);
  summary.buffer += kScanSummaryHeader;
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
    appendScanSummaryLine(summary.buffer, scan, id);
    flushIfLarge(summary);
    if (!rewrite) continue;
    PendingFile& out = scan.msLevel == 1 ? out1 : out2;
    const std::size_t from = out.buffer.size();
    if (scan.msLevel == 1)
      appendMS1Header(out.buffer, scan);
    else
      appendMS2Header(out.buffer, scan);
    ok = ok &&
         readAt(scan.msLevel == 1 ? work1 : work2, scan.peakOffset, scan.peakBytes, out.buffer);
    if (ok) loadAppended(x, out, from, scan.msLevel);
    flushIfLarge(out);
  }
  for (PendingFile* file : {&out1, &out2, &summary}) ok = commitPending(*file) && ok;
  for (std::FILE* file : {records, ids, work1, work2})
    if (file != nullptr) std::fclose(file);
  if (!ok)
    error = "the MS1/MS2 text files or the summary cannot be written in " + folderOf(x.paths.ms1);
  return ok;
}

bool renameWorkFiles(const Extraction& x, std::string& error) {
  std::error_code code;
  std::filesystem::rename(x.paths.ms1Work, x.paths.ms1, code);
  if (!code) std::filesystem::rename(x.paths.ms2Work, x.paths.ms2, code);
  if (code) error = "the MS1/MS2 text files cannot be renamed (" + code.message() + ")";
  return !code;
}

bool finishExtraction(Extraction& x, std::string& error) {
  bool closed = true;
  for (PendingFile* file : {&x.ms1, &x.ms2, &x.records, &x.ids})
    closed = commitPending(*file) && closed;
  if (!closed) {
    error = "the MS1/MS2 text files cannot be written in " + folderOf(x.paths.ms1);
    return false;
  }
  std::vector<std::uint32_t> order;
  bool renumbered = assignScanNumbers(x.keys, order);
  bool rewrite =
      renumbered || std::any_of(x.keys.begin(), x.keys.end(), [](const ScanKey& key) {
        return key.precursorScan != key.streamedPrecursorScan;  // another precursor named
      });
  // Rewritten files hold other headers in another order: what was scanned while streaming is not
  // their text, so they are scanned again as they are written.
  if (rewrite && x.loaded != nullptr) startLoadedPair(*x.loaded);
  if (!writeOutputs(x, order, rewrite, error)) return false;
  if (!rewrite && !renameWorkFiles(x, error)) return false;
  removeWorkFiles(x.paths);
  if (renumbered)
    logMessage(LogLabel::kAlert,
               fileNameOf(x.inputPath) + ": scan numbers do not rise with retention time; " +
                   std::to_string(x.keys.size()) +
                   " spectra were ordered by retention time and numbered from 1 (native ids in " +
                   fileNameOf(x.paths.summary) + ")");
  return true;
}

void reportAlerts(const Extraction& x) {
  std::string name = fileNameOf(x.inputPath);
  if (x.higherLevels > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.higherLevels) +
                            " spectra with an MS level other than 1 or 2 were skipped");
  if (x.unknownActivations > 0)
    logMessage(LogLabel::kAlert,
               name + ": " + std::to_string(x.unknownActivations) +
                   " MS2 scans have an activation other than CID, ETD or HCD; Corvid skips them");
  if (x.unknownAnalyzers > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.unknownAnalyzers) +
                            " spectra name no known mass analyzer; they were written as ITMS");
  if (x.repair.unsortedSpectra > 0)
    logMessage(LogLabel::kAlert, name + ": the peaks of " + std::to_string(x.repair.unsortedSpectra) +
                            " spectra were not in m/z order; they were sorted by m/z");
  if (x.repair.droppedPeaks > 0)
    logMessage(LogLabel::kAlert, name + ": " + std::to_string(x.repair.droppedPeaks) + " peaks in " +
                            std::to_string(x.repair.spectraWithDropped) +
                            " spectra had a non-finite or negative m/z or intensity and were "
                            "left out");
}

bool fail(const std::string& inputPath, const OutputPaths& paths, const std::string& problem) {
  removeOutputs(paths);
  logMessage(LogLabel::kError, "Cannot extract " + inputPath + ": " + problem);
  noteRunProblem(RunProblem::kInputUnreadable);
  return false;
}

bool openWorkFiles(Extraction& x) {
  bool ok = true;
  ok = openPending(x.paths.ms1Work, x.ms1) && ok;
  ok = openPending(x.paths.ms2Work, x.ms2) && ok;
  ok = openPending(x.paths.recordWork, x.records) && ok;
  ok = openPending(x.paths.idWork, x.ids) && ok;
  return ok;
}

void closeWorkFiles(Extraction& x) {
  for (PendingFile* file : {&x.ms1, &x.ms2, &x.records, &x.ids}) commitPending(*file);
}

// Precursors are detected in MS1 spectra: a file without any gives nothing to work from, so it
// fails with nothing written rather than handing an .ms2 without its .ms1 to the driver.
bool hasMS1Spectra(Extraction& x) {
  if (x.ms1Count > 0) return true;
  closeWorkFiles(x);
  removeOutputs(x.paths);
  logMessage(LogLabel::kError, "No MS1 spectra in " + x.inputPath + ": nothing to detect precursors from.");
  noteRunProblem(RunProblem::kInputUnreadable);
  return false;
}

// The marker goes last: its presence says the extraction is complete.
bool writeMarker(const Extraction& x, const InputIdentity& identity, std::string& error) {
  TextWriter marker;
  if (marker.open(x.paths.marker)) {
    marker.write(extractionMarkerText(fileNameOf(x.inputPath), identity));
    if (marker.close()) return true;
  }
  error = marker.error();
  return false;
}

}  // namespace

bool openFormatAlreadyExtracted(const std::string& inputPath, const std::string& folder,
                                const std::string& stem) {
  OutputPaths paths = outputPathsOf(folder, stem);
  InputIdentity identity;
  const MarkerState state = readInputIdentity(inputPath, identity)
                                ? checkExtractionMarker(paths.marker, identity)
                                : MarkerState::kDiffers;
  if (state == MarkerState::kMissing) return false;
  const bool complete = canOpenForReading(paths.summary) && canOpenForReading(paths.ms1) &&
                        canOpenForReading(paths.ms2);
  if (state == MarkerState::kMatches && complete) return true;
  logMessage(LogLabel::kAlert, fileNameOf(inputPath) + (complete ? " is not the file that was extracted (size, time or content differ)"
                                                        : ": its earlier extraction is incomplete") +
                          ": extracting it again.");
  return false;
}

bool extractOpenFormat(const std::string& inputPath, const std::string& folder,
                       const std::string& stem, unsigned threads, LoadedPair* loaded) {
  Extraction x;
  x.inputPath = inputPath;
  x.loaded = loaded;
  if (loaded != nullptr) startLoadedPair(*loaded);
  x.paths = outputPathsOf(folder, stem);
  removeFile(x.paths.marker);  // a stale marker must not survive a failed extraction
  std::error_code code;
  InputIdentity identity;
  if (!std::filesystem::is_regular_file(inputPath, code) || !canOpenForReading(inputPath) ||
      !readInputIdentity(inputPath, identity))
    return fail(inputPath, x.paths, "the file does not exist or cannot be opened");
  if (std::filesystem::file_size(inputPath, code) == 0 || code)
    return fail(inputPath, x.paths, "the file is empty");
  logMessage(LogLabel::kState, "Extracting spectra from " + inputPath);
  if (!openWorkFiles(x)) {
    closeWorkFiles(x);
    return fail(inputPath, x.paths, "the MS1/MS2 text files cannot be created in " + folder);
  }
  // A multi-gigabyte file takes a while: a counter on one console line shows it is moving.
  std::size_t extracted = 0;
  auto counted = [&extracted] {
    if (++extracted % kProgressEvery == 0) {
      std::printf("\r[Corvid] Extracting spectra: %zu", extracted);
      std::fflush(stdout);
    }
  };
  const bool mzXML = containsExtension(fileNameOf(inputPath), InputFormat::kMzXML);
  // The progress is counted where the file is read, so it prints the same for any thread count.
  const SpectrumReader readFile = [&inputPath, mzXML, &counted](const SpectrumSink& sink, std::string& error) {
    const SpectrumSink countedSink = [&sink, &counted](const OpenSpectrum& spectrum, std::string& reason) {
      counted();
      return sink(spectrum, reason);
    };
    return mzXML ? readMzXMLFile(inputPath, countedSink, error) : readMzMLFile(inputPath, countedSink, error);
  };
  const SpectrumSink write = [&x](const OpenSpectrum& spectrum, std::string& reason) {
    return writeSpectrum(spectrum, x, reason);
  };
  std::string problem;
  // Parsing and decoding on this thread, formatting and writing on a second one when allowed.
  const bool read = threads > 1 ? readThroughPipe(readFile, write, problem) : readFile(write, problem);
  if (extracted >= kProgressEvery) std::printf("\n");
  if (!read) {
    closeWorkFiles(x);
    return fail(inputPath, x.paths, problem);
  }
  if (!hasMS1Spectra(x)) return false;
  if (!finishExtraction(x, problem)) return fail(inputPath, x.paths, problem);
  reportAlerts(x);
  // The input must still be the file that was read: one rewritten meanwhile gives a mixture.
  InputIdentity after;
  if (!readInputIdentity(inputPath, after) || after.size != identity.size ||
      after.modified != identity.modified || after.checksum != identity.checksum)
    return fail(inputPath, x.paths, "the file changed while it was being extracted");
  std::string markerError;
  if (!writeMarker(x, identity, markerError))
    return fail(inputPath, x.paths, "the completion marker cannot be written (" + markerError + ")");
  logMessage(LogLabel::kNote, "Extracted " + std::to_string(x.ms1Count) + " MS1 and " +
                          std::to_string(x.keys.size() - x.ms1Count) + " MS2 spectra from " +
                          fileNameOf(inputPath));
  return true;
}

}  // namespace corvid
