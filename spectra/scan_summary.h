#pragma once
// The extraction summary <stem>_scans.csv: one line per written scan, in output order, with the
// number written and the native number and id it came from.
#include <string>
#include <string_view>

#include "spectra/extracted_scan.h"

namespace corvid {

// First line of the summary, without its line end.
inline constexpr std::string_view kScanSummaryHeader =
    "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount";

// Appends the summary line of one scan with a CR LF line end; an id holding a comma or a quote is
// quoted as CSV readers expect.
void appendScanSummaryLine(std::string& out, const ExtractedScan& scan, std::string_view nativeId);

}  // namespace corvid
