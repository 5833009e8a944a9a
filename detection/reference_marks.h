#pragma once
// Which entries of the training reference list detection finds: a detected (peak, charge) pair
// matches an entry of its scan with the same charge within 20 ppm. The list itself is never
// written here; the matched entries go to the output and the caller marks them in the list.
#include <cstdint>

#include "detection/detection_context.h"

namespace corvid {

// Looks up the reference entries of the scan whose pairs are evaluated next (none without a list).
void collectReferenceEntries(const DetectionInput& input, DetectionScratch& scratch, std::int32_t scanNumber);

// Notes the scan's entries that (mz, charge) matches.
void matchReferenceEntries(const DetectionInput& input, DetectionScratch& scratch, double mz, std::int32_t charge);

// Appends the scan's matched entries to the output, once each.
void reportMatchedEntries(const DetectionScratch& scratch, DetectionOutput& output);

}  // namespace corvid
