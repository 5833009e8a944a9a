#pragma once
// Scan numbers and precursor scans of extracted spectra. Native numbers are kept when they rise
// with retention time through the whole file; otherwise all spectra are put in retention-time
// order and numbered 1, 2, 3 ..., so that Corvid's neighbouring-scan logic sees acquisition order.
#include <cstdint>
#include <string_view>
#include <vector>

namespace corvid {

// What numbering needs of each spectrum, kept in memory for the whole file: 48 bytes a spectrum,
// everything else of a spectrum waits in the extractor's working files.
struct ScanKey {
  double retentionTime = 0.0;  // seconds
  std::int64_t nativeScan = 0;
  std::uint64_t idHash = 0;
  std::uint64_t precursorRefHash = 0;      // 0 when the spectrum names no precursor
  std::uint32_t scan = 0;                  // filled by assignScanNumbers
  std::int32_t precursorScan = 0;          // filled by assignScanNumbers; 0 for MS1
  std::int32_t streamedPrecursorScan = 0;  // what was written while streaming
  std::int32_t msLevel = 1;
};

// Largest native number kept: the MS text loaders read scan numbers into 32-bit integers.
inline constexpr std::int64_t kLargestNativeScan = 2147483647;

// Scan number of a native id: the number after "scan=", else the last number in the id, else
// index + 1.
std::int64_t nativeScanNumber(std::string_view nativeId, std::int64_t index);
// 64-bit FNV-1a hash of a native id; never 0, which stands for "no reference".
std::uint64_t nativeIdHash(std::string_view nativeId);

// True when `next`, following `previous` in the file, keeps native numbering possible.
bool keepsNativeOrder(const ScanKey& previous, const ScanKey& next);
bool nativeNumberUsable(const ScanKey& scan);

// Fills scan and precursorScan of every entry and the output order (indexes into scans).
// Returns true when the spectra had to be renumbered.
bool assignScanNumbers(std::vector<ScanKey>& scans, std::vector<std::uint32_t>& order);

}  // namespace corvid
