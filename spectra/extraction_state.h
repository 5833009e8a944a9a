#pragma once
// What one open-format extraction keeps while it runs, shared by its three steps: streaming the
// spectra into working files (extraction_streaming.cpp), finishing them into the final .ms1/.ms2
// and summary (extraction_finish.cpp), and the driver that runs both (open_format_extractor.cpp).
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pending_file.h"
#include "spectra/loaded_pair.h"
#include "spectra/open_format_spectrum.h"
#include "spectra/peak_repair.h"
#include "spectra/scan_numbering.h"

namespace corvid {

struct ExtractionPaths {
  std::string ms1, ms2, summary, marker, ms1Work, ms2Work, recordWork, idWork;
};

ExtractionPaths extractionPathsOf(const std::string& folder, const std::string& stem);

void removeWorkFiles(const ExtractionPaths& paths);

// After a failed extraction: without its marker no earlier extraction is reused. Files under
// the final names are only ever complete (they are renamed into place), and another run may be
// reading them, so they are left alone.
void removeOutputs(const ExtractionPaths& paths);

// Everything one extraction keeps while the spectra stream past. Per spectrum only its ScanKey
// stays in memory; the full record, the native id and the text go to working files.
struct Extraction {
  std::string inputPath;
  ExtractionPaths paths;
  PendingFile ms1, ms2, records, ids;
  std::vector<ScanKey> keys;
  bool nativeOrder = true;   // native numbers still usable
  std::int32_t lastMS1 = 0;  // scan written for the last MS1 spectrum so far
  std::size_t ms1Count = 0;
  std::size_t higherLevels = 0;
  std::size_t unknownActivations = 0;
  std::size_t unknownAnalyzers = 0;
  std::string unknownAnalyzerName;          // the first analyzer named that Corvid knows no family for
  std::size_t withCompensationVoltage = 0;  // FAIMS: the summary then has a voltage column
  PeakRepair repair;
  LoadedPair* loaded = nullptr;  // when asked for: the text scanned as it is written
};

// Scans the text just appended to out.buffer (from `from` on) into the loaded pair.
inline void loadAppended(Extraction& x, const PendingFile& out, std::size_t from, int msLevel) {
  if (x.loaded == nullptr) return;
  const std::string_view piece = std::string_view(out.buffer).substr(from);
  if (msLevel == 1) {
    addMS1Text(*x.loaded, piece);
  } else {
    addMS2Text(*x.loaded, piece);
  }
}

// Streaming: the working files opened (false when one cannot be created) and closed again.
bool openWorkFiles(Extraction& x);
void closeWorkFiles(Extraction& x);

// Writes one spectrum with the numbers that hold while the file keeps its native order: native
// scan, and the last MS1 scan as precursor. When the order breaks or a spectrum names another
// precursor, the headers are rewritten at the end and only the peak lines are reused.
bool writeExtractedSpectrum(const OpenSpectrum& spectrum, Extraction& x, std::string& error);

// Finishing: the working files committed, scan numbers assigned, the summary written and the
// final .ms1/.ms2 renamed into place or rewritten; an Alert when the spectra were renumbered.
bool finishExtraction(Extraction& x, std::string& error);

// One Alert per kind of spectrum or peak that was skipped, repaired or guessed at.
void reportExtractionAlerts(const Extraction& x);

}  // namespace corvid
