#pragma once
// Scan numbers and precursor scans of extracted spectra. Native numbers are kept when they rise
// with retention time through the whole file; otherwise all spectra are put in retention-time
// order and numbered 1, 2, 3 ..., so that Corvid's neighbouring-scan logic sees acquisition order.
#include <cstdint>
#include <string_view>
#include <vector>

#include "spectra/extracted_scan.h"

namespace corvid {

// Largest native number kept: the MS text loaders read scan numbers into 32-bit integers.
inline constexpr std::int64_t kLargestNativeScan = 2147483647;

// Scan number of a native id: the number after "scan=", else the last number in the id, else
// index + 1.
std::int64_t nativeScanNumber(std::string_view nativeId, std::int64_t index);
// 64-bit FNV-1a hash of a native id; never 0, which stands for "no reference".
std::uint64_t nativeIdHash(std::string_view nativeId);

// True when `next`, following `previous` in the file, keeps native numbering possible.
bool keepsNativeOrder(const ExtractedScan& previous, const ExtractedScan& next);
bool nativeNumberUsable(const ExtractedScan& scan);

// Fills scan and precursorScan of every entry and the output order (indexes into scans).
// Returns true when the spectra had to be renumbered.
bool assignScanNumbers(std::vector<ExtractedScan>& scans, std::vector<std::uint32_t>& order);

}  // namespace corvid
