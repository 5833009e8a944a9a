#pragma once
// The walk over one activation group's MS2 scans that chooses what detection works on, printing
// the progress line and the debug notes as it goes.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "detection/parallel_detection.h"
#include "spectra/spectrum_records.h"
#include "startup/debug_scan_input.h"

namespace corvid {

// What the walk carries from one group to the next of the same pair.
struct ScanLoopState {
  std::size_t taken = 0;  // scans taken so far over all groups
  std::uint32_t previousScan = 0;
  bool hasPrevious = false;
  std::int64_t duplicates = 0;
};

// With isolation_from_file: one Alert counting the scans whose text states no isolation window
// (they are detected with isolation_width); nothing when every scan states one.
void reportScansWithoutStatedIsolation(const MS2File& ms2File, double isolationWidth);

// The positions of one activation group's spectra, in file order.
std::vector<std::size_t> groupPositions(const MS2File& ms2File, int group);

// The scans of one group that detection works on, in order; duplicates and scans out of range are
// left out, and the debug modes keep only the scans asked for. ms2View, when given, holds each MS2
// spectrum's detection view (FAIMS runs: its voltage's MS1 scans); otherwise every task has view 0.
std::vector<ScanTask> groupScanTasks(const MS2File& ms2File, const std::vector<std::size_t>& positions, int group,
                                     const DebugSelection& debug, ScanLoopState& state,
                                     const std::vector<std::uint32_t>& ms2View = {});

}  // namespace corvid
