#pragma once
// Collects the MS1 signal around an MS2 scan's activation center: the binned elution profile of
// ten MS1 scans (filtered grid), a hundred scans of unfiltered signal (wide grid), the context
// peak list, and the gathered peaks of the three MS1 scans next to the MS2 scan.
#include <cstdint>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

// Index of the last MS1 scan (in file order) whose scan number is below ms2ScanNumber, or -1.
std::int64_t findRelatedScan(const DetectionInput& input, std::int64_t ms2ScanNumber);

// Peaks of an ascending peak list with low <= m/z <= high: [first, last) as indices.
struct PeakRange {
  std::size_t first = 0;
  std::size_t last = 0;
};
PeakRange peaksWithin(const std::vector<Peak>& peaks, double low, double high);

// Fills the scratch's grids, its context peak list (sorted by m/z at the end) and gatheredPeaks
// (preceding scan's peaks, then the related scan's, then the following scan's).
void gatherMS1Peaks(const DetectionInput& input, DetectionScratch& scratch, std::int32_t ms2ScanNumber,
                    double activationCenter, std::vector<Peak>& gatheredPeaks);

}  // namespace corvid
