#pragma once
// Corvid's extraction summary (<stem>_scans.csv) read back as a map from the numbers and ids a
// search engine saw to the scan numbers Corvid writes.
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "tools/reference_list/psm.h"

namespace corvid::reflist {

struct ScanMap {
  std::unordered_map<std::string, long> scanOfNativeId;
  // MS2 lines only: files like BSA1 number each MS level on its own, so a native number can
  // name an MS1 and an MS2 spectrum at once. A number that two MS2 lines share maps to 0.
  std::unordered_map<long, long> scanOfNativeScan;
};

// Parses the summary text (CR LF or LF lines, header first, NativeId quoted as CSV when it holds
// a comma or quote). Throws InputError naming `path` and the line for anything else.
ScanMap parseScanMap(std::string_view text, const std::string& path);

// Reads (plain or gzip-compressed) and parses the file; throws InputError when it cannot be read.
ScanMap loadScanMap(const std::string& path);

// Corvid's scan number of a PSM: by its native id when it has one the map knows, else by its
// scan number among the MS2 native numbers. nullopt when neither matches.
std::optional<long> mapToCorvidScan(const ScanMap& map, const Psm& psm);

}  // namespace corvid::reflist
