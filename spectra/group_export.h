#pragma once
// What the spectrum writers need to export one activation group of one MS2 file: the group's
// spectra (as positions into MS2File::spectra) and the precursors that survived the threshold.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "spectra/output_fields.h"
#include "spectra/precursor_record.h"
#include "spectra/spectrum_records.h"

namespace corvid {

struct GroupExport {
  std::string rawName;                         // acquisition name, written into titles and headers
  std::vector<std::size_t> spectrumPositions;  // positions in MS2File::spectra, file order
  std::vector<PrecursorRecord> accepted;       // grouped by scan in spectrum order, best score
                                               // first within a scan (index 0 = best)
  std::int64_t writtenCount = 0;               // blocks/records written by the last writer call
};

// The scan number of an accepted row as the writers compare it: truncated to an integer. Rows
// always hold whole 32-bit scan numbers; anything else is clamped rather than overflowing.
inline std::int64_t scanOfRow(const PrecursorRecord& row) {
  constexpr double kLimit = 9.0e18;  // well inside the 64-bit range
  if (!(row.scan > -kLimit)) return static_cast<std::int64_t>(-kLimit);
  if (row.scan > kLimit) return static_cast<std::int64_t>(kLimit);
  return static_cast<std::int64_t>(row.scan);
}

// The charge of an accepted row, truncated to an integer (clamped like scanOfRow).
inline std::int32_t chargeOfRow(const PrecursorRecord& row) {
  constexpr double kLimit = 2.0e9;  // inside the 32-bit range
  if (!(row.charge > -kLimit)) return static_cast<std::int32_t>(-kLimit);
  if (row.charge > kLimit) return static_cast<std::int32_t>(kLimit);
  return static_cast<std::int32_t>(row.charge);
}

// The m/z of the precursor the instrument recorded: (MH + (z - 1) * proton) / z. The charge is
// widened first, so even a nonsensical charge read from a damaged file cannot overflow.
inline double recordedMz(const MS2Spectrum& spectrum) {
  double charge = spectrum.charge;
  return (spectrum.precursorMH + (charge - 1) * kProtonMass) / charge;
}

// How the accepted rows under a forward-only cursor relate to the spectrum being written.
enum class RowMatch {
  None,          // cursor at the end or at a later scan: export the recorded precursor
  Rows,          // one or more consecutive rows of this scan start at the cursor
  BehindCursor,  // the row under the cursor has a smaller scan: the writers export nothing for
                 // this spectrum and the cursor stays (rows out of spectrum order)
};

// Classifies the rows at cursor for scan; rowCount gets the number of consecutive rows of it.
inline RowMatch matchRows(const std::vector<PrecursorRecord>& rows, std::size_t cursor,
                          std::int64_t scan, std::size_t& rowCount) {
  rowCount = 0;
  if (cursor >= rows.size() || scanOfRow(rows[cursor]) > scan) return RowMatch::None;
  while (cursor + rowCount < rows.size() && scanOfRow(rows[cursor + rowCount]) == scan) ++rowCount;
  return rowCount == 0 ? RowMatch::BehindCursor : RowMatch::Rows;
}

// Tally of spectra that met RowMatch::BehindCursor during one writer call; reported once.
struct SkippedSpectra {
  std::int64_t count = 0;
  std::int64_t firstScan = 0;  // scan of the first spectrum affected
  std::int64_t rowScan = 0;    // scan of the row that held the cursor back
};

inline void noteSkipped(std::int64_t scan, std::int64_t rowScan, SkippedSpectra& skipped) {
  if (skipped.count++ == 0) {
    skipped.firstScan = scan;
    skipped.rowScan = rowScan;
  }
}

// One "Alert" line for a file whose writer met rows out of spectrum order; nothing when none.
// `effect` says what happened to the spectra (e.g. "not written").
void reportSkippedSpectra(const std::string& path, const SkippedSpectra& skipped,
                          const char* effect);

// Starts a writer call on the group: its written count goes back to 0, and the path it writes is
// the given one, or its fixed fallback name when none was given.
inline std::string startGroupFile(GroupExport& group, const std::string& path, const char* fallbackPath) {
  group.writtenCount = 0;
  return path.empty() ? std::string(fallbackPath) : path;
}

// One block to export: the spectrum with either an accepted row of its scan (rowIndex = the row's
// rank within the scan, 0 = best) or, when row is null, the precursor the instrument recorded.
using ExportBlockVisitor = std::function<void(const MS2Spectrum& spectrum,
                                              const PrecursorRecord* row, std::int32_t rowIndex)>;

// Walks the group's spectra in file order with a forward-only cursor over group.accepted, calling
// visit once per block and adding each block to group.writtenCount. Spectra met by
// RowMatch::BehindCursor export nothing and are tallied in skipped. Prints the console progress
// line "\r[Corvid] <Writing LABEL>: N%" as it goes.
void walkGroupBlocks(GroupExport& group, const MS2File& ms2File, const char* progressLabel,
                     const ExportBlockVisitor& visit, SkippedSpectra& skipped);

// The peak lines of an MGF or MS2 block: "m/z intensity" with 6 and 1 decimals, CR LF ends.
void putPeakLines(const std::vector<Peak>& peaks, PendingFile& out);

// Ends a writer's file: the "Alert" line for spectra not written, then the close. Returns false
// after the "Error" line "Fail to write <format> file <path>" when the bytes did not all reach the
// disk.
bool finishGroupFile(const std::string& path, const SkippedSpectra& skipped, const char* format, PendingFile& out);

}  // namespace corvid
