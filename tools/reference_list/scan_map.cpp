#include "tools/reference_list/scan_map.h"

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "spectra/scan_summary.h"
#include "tools/reference_list/errors.h"
#include "tools/reference_list/number_text.h"

namespace corvid::reflist {

namespace {

constexpr std::string_view kExpectedHeader = kScanSummaryHeader;
constexpr std::size_t kFieldCount = 9;

}  // namespace

ScanMap parseScanMap(std::string_view text, const std::string& path) {
  ScanMap map;
  std::size_t lineNumber = 0;
  bool sawHeader = false;
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    start = end + 1;
    ++lineNumber;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!sawHeader) {
      if (line != kExpectedHeader) {
        throw InputError(path + ":1: not a Corvid scan summary (<stem>_scans.csv): the first line should be \"" +
                         std::string(kExpectedHeader) + "\"");
      }
      sawHeader = true;
      continue;
    }
    if (line.empty()) continue;
    const auto fields = splitScanSummaryLine(line);
    const auto fail = [&](const std::string& reason) {
      return InputError(path + ":" + std::to_string(lineNumber) + ": " + reason);
    };
    if (!fields || fields->size() != kFieldCount) throw fail("expected 9 comma-separated fields");
    const auto scan = parseInteger((*fields)[0]);
    const auto nativeScan = parseInteger((*fields)[1]);
    const auto msLevel = parseInteger((*fields)[3]);
    if (!scan || *scan <= 0 || !nativeScan || !msLevel) throw fail("Scan, NativeScan or MSLevel is not a number");
    map.scanOfNativeId[(*fields)[2]] = *scan;
    if (*msLevel != 2) continue;
    const auto [entry, inserted] = map.scanOfNativeScan.try_emplace(*nativeScan, *scan);
    if (!inserted) entry->second = 0;
  }
  if (!sawHeader) throw InputError(path + ": empty file, not a Corvid scan summary (<stem>_scans.csv)");
  return map;
}

ScanMap loadScanMap(const std::string& path) {
  // Through zlib, so a gzip-compressed summary is read as it is; plain files pass unchanged.
  gzFile file = gzopen(path.c_str(), "rb");
  if (file == nullptr) throw InputError(path + ": cannot open: " + std::strerror(errno));
  std::string content;
  char buffer[1 << 16];
  for (;;) {
    const int got = gzread(file, buffer, sizeof buffer);
    if (got < 0) {
      const int readErrno = errno;
      int code = 0;
      const char* message = gzerror(file, &code);
      const std::string reason = code == Z_ERRNO ? std::strerror(readErrno) : message;
      gzclose(file);
      throw InputError(path + ": cannot read: " + reason);
    }
    if (got == 0) break;
    content.append(buffer, static_cast<std::size_t>(got));
  }
  gzclose(file);
  return parseScanMap(content, path);
}

std::optional<long> mapToCorvidScan(const ScanMap& map, const Psm& psm) {
  if (!psm.nativeId.empty()) {
    const auto byId = map.scanOfNativeId.find(psm.nativeId);
    if (byId != map.scanOfNativeId.end()) return byId->second;
  }
  const auto byNumber = map.scanOfNativeScan.find(psm.scan);
  if (byNumber != map.scanOfNativeScan.end() && byNumber->second > 0) return byNumber->second;
  return std::nullopt;
}

}  // namespace corvid::reflist
