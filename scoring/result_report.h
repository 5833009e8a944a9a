#pragma once
// The CSV result report: one row per MS2 scan with its recorded precursor and every precursor
// kept for it, plus the "unchecked" lists of reference precursors that nothing matched.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "spectra/reference_precursor_list.h"
#include "spectra/precursor_record.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Room reserved for the report text of one file, so that ordinary runs never reallocate it.
inline constexpr std::size_t kReportReserve = 0x1000000;

// The header line, once per report, before any row; ends with "\n".
const char* reportHeader();

// Reserves kReportReserve bytes and starts the text with the header line.
void startReportText(std::string& reportText);

// Appends one row per MS2 scan of activation group typeIndex (0..5): the scans are
// ms2File.spectra[groupPositions[i]], in that order. kept holds the precursors the threshold filter
// kept for this group (grouped by scan in the same scan order). debugScanList, given only with
// debug_mode "2", limits the rows to the scans it lists. When reference is given, its found flags
// are reset first and every written precursor marks the first matching entry found (and clears
// its pending flag).
// A kept record with a scan number below the current scan stops the cursor: this and every later
// scan of the group is written with precursor count "0" and those kept precursors do not appear
// in the report. Returns the number of such rows so that the caller can raise an alert.
// With recordedStandsIn false (precision mode), a scan without kept precursors is written with
// count "0" instead of its recorded precursor: the row then claims no precursor Corvid did not find,
// and OrigMZ and OrigCharge still show the recorded one.
// Rows end with "\n"; the report file is written with CR LF line ends. A position outside
// ms2File.spectra or a typeIndex outside 0..5 throws std::out_of_range.
std::size_t writeReportRows(const MS2File& ms2File, const std::vector<std::size_t>& groupPositions,
                            const std::vector<PrecursorRecord>& kept, int typeIndex,
                            const std::vector<std::uint32_t>* debugScanList,
                            ReferencePrecursorList* reference, std::string& reportText,
                            bool recordedStandsIn = true);

// Marks the first entry matching (scan, charge, m/z within 20 ppm) as found and no longer
// pending; returns whether one matched.
bool markReferenceMatch(int scan, int charge, double mz, ReferencePrecursorList& reference);

// Sum of the found flags ("Check N Precursors.").
int countFound(const ReferencePrecursorList& reference);
void resetFound(ReferencePrecursorList& reference);

// The entries whose found flag is 0, one "%d, %.5lf, %d, %e" line each (CR LF), in list order.
std::string uncheckedListText(const ReferencePrecursorList& list);
// Writes uncheckedListText to path (truncating); a file that cannot be written is logged as
// "Error" and otherwise ignored.
void writeUncheckedList(const ReferencePrecursorList& list, const std::string& path);

}  // namespace corvid
