#include "scoring/result_report.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "platform/text_file.h"
#include "scoring/whole_number.h"

namespace corvid {

namespace {

constexpr const char* kHeader =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, "
    "Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge\n";

// printf-style append; a stack buffer covers every ordinary field, larger output (a huge value
// in "%lf") is formatted a second time directly into the string.
__attribute__((format(printf, 2, 3))) void appendFormat(std::string& out, const char* format, ...) {
  std::array<char, 128> buffer;
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(buffer.data(), buffer.size(), format, args);
  va_end(args);
  if (length > 0 && static_cast<std::size_t>(length) < buffer.size()) {
    out.append(buffer.data(), static_cast<std::size_t>(length));
  } else if (length > 0) {
    const std::size_t old = out.size();
    out.resize(old + static_cast<std::size_t>(length) + 1);
    std::vsnprintf(out.data() + old, static_cast<std::size_t>(length) + 1, format, again);
    out.resize(old + static_cast<std::size_t>(length));
  }
  va_end(again);
}

bool listedForDebug(const std::vector<std::uint32_t>* debugScanList, std::uint32_t scan) {
  if (debugScanList == nullptr) return true;
  return std::find(debugScanList->begin(), debugScanList->end(), scan) != debugScanList->end();
}

}  // namespace

const char* reportHeader() { return kHeader; }

void startReportText(std::string& reportText) {
  reportText.reserve(kReportReserve);
  reportText.append(kHeader);
}

bool markReferenceMatch(int scan, int charge, double mz, ReferencePrecursorList& reference) {
  for (std::size_t i = 0; i < reference.size(); ++i) {
    if (reference.scans[i] == scan && reference.charges[i] == charge &&
        matchesReferenceMz(reference.mzs[i], mz)) {
      reference.found[i] = 1;
      reference.pending[i] = 0;
      return true;
    }
  }
  return false;
}

std::size_t writeReportRows(const MS2File& ms2File, const std::vector<std::size_t>& groupPositions,
                            const std::vector<PrecursorRecord>& kept, int typeIndex,
                            const std::vector<std::uint32_t>* debugScanList,
                            ReferencePrecursorList* reference, std::string& reportText,
                            bool recordedStandsIn) {
  if (typeIndex < 0 || typeIndex >= kActivationGroupCount) {
    throw RunFailure("activation group index outside 0..5", FailureKind::kOutOfBounds);
  }
  if (reference != nullptr) resetFound(*reference);
  const char* activation = kActivationNames[static_cast<std::size_t>(typeIndex % 3)];
  const char* analyzer = kAnalyzerNames[static_cast<std::size_t>(typeIndex / 3)];
  std::size_t cursor = 0;
  std::size_t stalledRows = 0;
  for (const std::size_t position : groupPositions) {
    const MS2Spectrum& spectrum = ms2File.spectra.at(position);
    if (!listedForDebug(debugScanList, spectrum.scanNumber)) continue;
    const int scan = static_cast<int>(spectrum.scanNumber);
    const double scanValue = static_cast<double>(spectrum.scanNumber);
    const double origMz = mzFromMH(spectrum.precursorMH, spectrum.charge);
    appendFormat(reportText, "%s, %s, %d, %lf, %d, ", activation, analyzer, scan, origMz,
                 spectrum.charge);
    const bool noneKept = cursor >= kept.size() || kept[cursor].scan > scanValue;
    if (noneKept && !recordedStandsIn) {
      // Precision mode: Corvid found no precursor here and says so.
      reportText.append("0, ");
    } else if (noneKept) {
      // Nothing kept for this scan: the recorded precursor stands as the only one.
      appendFormat(reportText, "1, 1, %.6lf, %d, ", origMz, spectrum.charge);
      if (reference != nullptr) markReferenceMatch(scan, spectrum.charge, origMz, *reference);
    } else if (kept[cursor].scan == scanValue) {
      std::size_t count = 0;
      while (cursor + count < kept.size() && kept[cursor + count].scan == scanValue) ++count;
      appendFormat(reportText, "%d, ", static_cast<int>(count));
      for (std::size_t i = 0; i < count; ++i) {
        const PrecursorRecord& record = kept[cursor + i];
        const int charge = truncatedToInt(record.charge);
        appendFormat(reportText, "%d, %.6lf, %d, ", static_cast<int>(i + 1), record.mz, charge);
        if (reference != nullptr) markReferenceMatch(scan, charge, record.mz, *reference);
      }
      cursor += count;
    } else {
      // The record under the cursor belongs to an earlier scan than this one: the cursor stays.
      reportText.append("0, ");
      ++stalledRows;
    }
    reportText.push_back('\n');
  }
  return stalledRows;
}

int countFound(const ReferencePrecursorList& reference) {
  int count = 0;
  for (const std::int32_t flag : reference.found) count += flag;
  return count;
}

void resetFound(ReferencePrecursorList& reference) {
  std::fill(reference.found.begin(), reference.found.end(), 0);
}

std::string uncheckedListText(const ReferencePrecursorList& list) {
  std::string text;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list.found[i] != 0) continue;
    appendFormat(text, "%d, %.5lf, %d, %e\n", list.scans[i], list.mzs[i], list.charges[i],
                 list.values[i]);
  }
  return text;
}

void writeUncheckedList(const ReferencePrecursorList& list, const std::string& path) {
  if (!writeTextFile(path, uncheckedListText(list))) {
    logMessage(LogLabel::kError, "Can not write the unchecked precursor list " + path);
    noteRunProblem(RunProblem::kOutputUnwritable);
  }
}

}  // namespace corvid
