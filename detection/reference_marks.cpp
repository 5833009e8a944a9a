#include "detection/reference_marks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvid {
namespace {

// 20 ppm of the entry's m/z, strict.
constexpr double kRelativeTolerance = 2e-5;

}  // namespace

void collectReferenceEntries(const DetectionInput& input, DetectionScratch& scratch, std::int32_t scanNumber) {
  scratch.scanReferenceEntries.clear();
  if (input.reference == nullptr) return;
  const auto& index = input.referenceIndex.byScan;
  auto entry = std::lower_bound(index.begin(), index.end(), std::make_pair(scanNumber, std::size_t{0}));
  for (; entry != index.end() && entry->first == scanNumber; ++entry) {
    scratch.scanReferenceEntries.push_back(entry->second);
  }
  scratch.scanReferenceMatched.assign(scratch.scanReferenceEntries.size(), 0);
}

void matchReferenceEntries(const DetectionInput& input, DetectionScratch& scratch, double mz, std::int32_t charge) {
  const std::vector<std::size_t>& entries = scratch.scanReferenceEntries;
  for (std::size_t k = 0; k < entries.size(); ++k) {
    const std::size_t i = entries[k];
    const double referenceMz = input.reference->mzs[i];
    if (input.reference->charges[i] == charge && std::fabs(mz - referenceMz) < referenceMz * kRelativeTolerance) {
      scratch.scanReferenceMatched[k] = 1;
    }
  }
}

void reportMatchedEntries(const DetectionScratch& scratch, DetectionOutput& output) {
  for (std::size_t k = 0; k < scratch.scanReferenceEntries.size(); ++k) {
    if (scratch.scanReferenceMatched[k] != 0) output.foundReferenceEntries.push_back(scratch.scanReferenceEntries[k]);
  }
}

}  // namespace corvid
