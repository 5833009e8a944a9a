// Streaming step of an open-format extraction: each spectrum, as the parser hands it over, is
// repaired, numbered as far as its native order allows and appended to the working files (.ms1
// or .ms2 text, its fixed-size record, its native id).
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pending_file.h"
#include "spectra/extracted_scan.h"
#include "spectra/extraction_state.h"
#include "spectra/ms_text_writer.h"
#include "spectra/peak_repair.h"
#include "spectra/scan_numbering.h"

namespace corvid {

namespace {

ExtractedScan describe(const OpenSpectrum& spectrum, Extraction& x) {
  ExtractedScan e;
  e.nativeScan = nativeScanNumber(spectrum.nativeId, spectrum.index);
  e.msLevel = spectrum.msLevel;
  e.retentionTime = spectrum.retentionTime;
  e.ionInjectionTime = spectrum.ionInjectionTime;
  e.analyzer = spectrum.analyzer;
  e.hasCompensationVoltage = spectrum.hasCompensationVoltage;
  e.compensationVoltage = spectrum.compensationVoltage;
  e.charge = spectrum.charge;
  e.precursorMz = spectrum.hasSelectedMz ? spectrum.selectedMz : spectrum.isolationTarget;
  e.isolationTarget = spectrum.hasIsolationTarget ? spectrum.isolationTarget : spectrum.selectedMz;
  e.isolationLower = spectrum.isolationLower;
  e.isolationUpper = spectrum.isolationUpper;
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

}  // namespace

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

bool writeExtractedSpectrum(const OpenSpectrum& spectrum, Extraction& x, std::string& error) {
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
  if (x.nativeOrder) x.nativeOrder = x.keys.empty() ? nativeNumberUsable(key) : keepsNativeOrder(x.keys.back(), key);
  e.scan = x.nativeOrder ? static_cast<std::uint32_t>(e.nativeScan) : static_cast<std::uint32_t>(x.keys.size() + 1);
  if (e.msLevel == 2) {
    e.precursorScan = x.lastMS1;
    if (!isKnownActivation(e)) ++x.unknownActivations;
  } else {
    x.lastMS1 = static_cast<std::int32_t>(e.scan);
    ++x.ms1Count;
  }
  if (e.analyzer == AnalyzerKind::Unknown) {
    ++x.unknownAnalyzers;
    if (x.unknownAnalyzerName.empty()) x.unknownAnalyzerName = spectrum.unknownAnalyzer;
  }
  if (e.hasCompensationVoltage) ++x.withCompensationVoltage;
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
    error = "spectrum \"" + spectrum.nativeId + "\" holds a peak value that is not a finite, non-negative number";
    return false;
  }
  e.peakBytes = positionOf(out) - e.peakOffset;
  loadAppended(x, out, from, e.msLevel);
  appendRecord(x.records, e);
  x.keys.push_back(key);
  for (PendingFile* file : {&out, &x.records, &x.ids}) flushIfLarge(*file);
  return true;
}

}  // namespace corvid
