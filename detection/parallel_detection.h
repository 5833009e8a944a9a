#pragma once
// Detection of one activation group's MS2 scans on several threads. Each worker takes a
// contiguous run of the scans with its own scratch and output, reading the shared input. The
// workers' outputs are appended in scan order, so the result is the one a single thread gives,
// byte for byte.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

struct ScanTask {
  std::uint32_t scan = 0;
  double center = 0.0;          // the isolation center the MS1 signal is gathered around
  StatedIsolation isolation{};  // the window the scan's file states, if any
  std::uint32_t view = 0;       // the input (of several: one per FAIMS voltage) the scan is detected against
};

// The thread count for a `threads` value: a positive number as given; anything else (missing,
// 0, negative, text) every core the machine reports, at least 1.
unsigned threadCountFor(int requested);

// Gathers MS1 signal and detects candidates for each task, in task order, appending to output.
// One worker when `threads` is 1, when there are too few tasks to share and in the debug modes
// (they print as they go). Returns the number of workers used.
std::size_t detectScans(const DetectionInput& input, const std::vector<ScanTask>& tasks, unsigned threads,
                        DetectionOutput& output);
// The same with one input per view: each task is detected against inputs[task.view]. The output
// stays in task order whatever the views.
std::size_t detectScans(const std::vector<DetectionInput>& inputs, const std::vector<ScanTask>& tasks, unsigned threads,
                        DetectionOutput& output);

}  // namespace corvid
