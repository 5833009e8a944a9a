#include "spectra/reference_index.h"

#include <algorithm>

namespace corvid {

ReferenceIndex indexReferenceByScan(const ReferencePrecursorList& reference) {
  ReferenceIndex index;
  index.byScan.reserve(reference.size());
  for (std::size_t entry = 0; entry < reference.size(); ++entry) {
    index.byScan.emplace_back(reference.scans[entry], entry);
  }
  // Sorting the pairs keeps the entries of one scan in list order, so the first match found is
  // the first match of a walk over the whole list.
  std::sort(index.byScan.begin(), index.byScan.end());
  return index;
}

std::ptrdiff_t firstMatchingEntry(const ReferencePrecursorList& reference, const ReferenceIndex& index,
                                  int scan, int charge, double mz) {
  auto at = std::lower_bound(index.byScan.begin(), index.byScan.end(),
                             std::pair<std::int32_t, std::size_t>{scan, 0});
  for (; at != index.byScan.end() && at->first == scan; ++at) {
    const std::size_t entry = at->second;
    if (reference.charges[entry] == charge && matchesReferenceMz(reference.mzs[entry], mz)) {
      return static_cast<std::ptrdiff_t>(entry);
    }
  }
  return -1;
}

}  // namespace corvid
