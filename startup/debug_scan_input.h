#pragma once
// The two debug modes: one MS2 scan typed on standard input ("1"), or a file listing the scans to
// inspect ("2"), whose path is typed on standard input.
#include <cstdint>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

struct DebugSelection {
  DebugMode mode = DebugMode::kOff;
  std::uint32_t scan = 0;              // SingleScan: the scan typed
  std::vector<std::uint32_t> scans;    // ScanList: the scans of the list, in file order
};

// Asks for the scan number; a missing or unreadable answer ends the run with a clear message.
std::uint32_t askDebugScan();
// Asks for the scan-list file and reads it: tokens split at CR/LF runs, each a real number
// truncated to a whole scan number.
std::vector<std::uint32_t> askDebugScanList();
std::vector<std::uint32_t> parseScanList(const std::string& text);

}  // namespace corvid
