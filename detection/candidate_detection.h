#pragma once
// Candidate precursor detection for one MS2 scan: every (gathered peak, charge 2..6) pair is
// measured against the filtered grid and the isotope pattern table, passed through the
// preliminary filters, and the survivors are ranked and appended to the output.
#include <cstdint>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

// The isolation width W of the settings (m/z).
double isolationWidth(const DetectionInput& input);

// Intensity-weighted mean m/z of the scratch's context peaks within mz +- recalibrate_window ppm;
// mz itself when their intensity sum is 0.
double recalibratedMz(const DetectionInput& input, const DetectionScratch& scratch, double mz);

// Works on the signal gatherMS1Peaks left in the scratch. gatheredPeaks is sorted and, with
// cut_similiar_mono "1", merged in place. The scan's candidates and the reference entries it
// matched are appended to the output.
// stated: the scan's own isolation window, used with isolation_from_file.
void detectCandidates(const DetectionInput& input, DetectionScratch& scratch, DetectionOutput& output,
                      double activationCenter, std::int32_t scanNumber, std::vector<Peak>& gatheredPeaks,
                      const StatedIsolation& stated = {});

// Near-peak merging: adjacent peaks closer than 20 ppm of the lowest peak's m/z are combined
// into the more intense one (the right one on a tie); the other is removed.
void mergeNearPeaks(std::vector<Peak>& ascendingPeaks, std::vector<std::uint8_t>& marks);

}  // namespace corvid
