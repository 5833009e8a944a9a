#pragma once
// The extraction summary <stem>_scans.csv: one line per written scan, in output order, with the
// number written and the native number and id it came from.
#include <cstdint>
#include <string>
#include <vector>

#include "spectra/extracted_scan.h"

namespace corvid {

inline constexpr const char* kScanSummaryHeader =
    "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount";

// Writes the header and one line per entry of `order` (indexes into scans), CR LF line ends;
// ids holds the native id texts that idOffset/idLength point into. False when writing fails.
bool writeScanSummary(const std::string& path, const std::vector<ExtractedScan>& scans,
                      const std::vector<std::uint32_t>& order, const std::string& ids);

}  // namespace corvid
