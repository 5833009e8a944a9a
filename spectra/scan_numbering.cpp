#include "spectra/scan_numbering.h"

#include <algorithm>
#include <numeric>

#include "platform/text_pieces.h"

namespace corvid {

namespace {

// Value of the digits starting at `start`, capped above the usable range.
std::int64_t digitsValue(std::string_view text, std::size_t start) {
  std::int64_t value = 0;
  for (std::size_t i = start; i < text.size() && isDigit(text[i]); ++i) {
    value = value * 10 + (text[i] - '0');
    if (value > kLargestNativeScan) return kLargestNativeScan + 1;
  }
  return value;
}

}  // namespace

std::int64_t nativeScanNumber(std::string_view nativeId, std::int64_t index) {
  std::size_t key = nativeId.find("scan=");
  if (key != std::string_view::npos && key + 5 < nativeId.size() && isDigit(nativeId[key + 5]))
    return digitsValue(nativeId, key + 5);
  std::size_t last = nativeId.size();
  while (last > 0 && !isDigit(nativeId[last - 1])) --last;
  if (last == 0) return index + 1;
  std::size_t first = last;
  while (first > 0 && isDigit(nativeId[first - 1])) --first;
  return digitsValue(nativeId, first);
}

std::uint64_t nativeIdHash(std::string_view nativeId) {
  std::uint64_t hash = 14695981039346656037ULL;  // FNV-1a offset basis
  for (char c : nativeId) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ULL;  // FNV-1a prime
  }
  return hash == 0 ? 1 : hash;
}

bool nativeNumberUsable(const ScanKey& scan) {
  return scan.nativeScan > 0 && scan.nativeScan <= kLargestNativeScan;
}

bool keepsNativeOrder(const ScanKey& previous, const ScanKey& next) {
  return nativeNumberUsable(next) && next.nativeScan > previous.nativeScan &&
         next.retentionTime >= previous.retentionTime;
}

bool assignScanNumbers(std::vector<ScanKey>& scans, std::vector<std::uint32_t>& order) {
  bool native = scans.empty() || nativeNumberUsable(scans[0]);
  for (std::size_t i = 1; i < scans.size() && native; ++i)
    native = keepsNativeOrder(scans[i - 1], scans[i]);
  order.resize(scans.size());
  std::iota(order.begin(), order.end(), 0U);
  if (!native) {
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
      return scans[a].retentionTime < scans[b].retentionTime;
    });
  }
  for (std::size_t rank = 0; rank < order.size(); ++rank) {
    ScanKey& scan = scans[order[rank]];
    scan.scan =
        native ? static_cast<std::uint32_t>(scan.nativeScan) : static_cast<std::uint32_t>(rank + 1);
  }
  // Precursor references are looked up in (id hash, position) pairs sorted by hash; the first
  // spectrum of an id wins when ids repeat. Built only when some spectrum names its precursor.
  std::vector<std::pair<std::uint64_t, std::uint32_t>> byId;
  bool anyReference = std::any_of(scans.begin(), scans.end(),
                                  [](const ScanKey& s) { return s.precursorRefHash != 0; });
  if (anyReference) {
    byId.reserve(scans.size());
    for (std::uint32_t i = 0; i < scans.size(); ++i) byId.emplace_back(scans[i].idHash, i);
    std::stable_sort(byId.begin(), byId.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
  }
  std::int32_t lastMS1 = 0;
  for (std::uint32_t index : order) {
    ScanKey& scan = scans[index];
    if (scan.msLevel == 1) {
      scan.precursorScan = 0;
      lastMS1 = static_cast<std::int32_t>(scan.scan);
      continue;
    }
    scan.precursorScan = lastMS1;
    if (scan.precursorRefHash != 0) {
      auto found = std::lower_bound(
          byId.begin(), byId.end(), scan.precursorRefHash,
          [](const auto& entry, std::uint64_t hash) { return entry.first < hash; });
      if (found != byId.end() && found->first == scan.precursorRefHash)
        scan.precursorScan = static_cast<std::int32_t>(scans[found->second].scan);
    }
  }
  return !native;
}

}  // namespace corvid
