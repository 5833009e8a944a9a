#pragma once
// Looking up reference entries by scan without walking the whole list for every candidate.
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "spectra/reference_precursor_list.h"

namespace corvid {

// (scan, entry) pairs sorted by scan, then by position in the list.
struct ReferenceIndex {
  std::vector<std::pair<std::int32_t, std::size_t>> byScan;  // (scan, entry), sorted
};
ReferenceIndex indexReferenceByScan(const ReferencePrecursorList& reference);

// Index of the first entry (in list order) that matches the candidate's scan, charge and m/z by
// the 20 ppm rule, or -1. The lookup walks only the entries of the candidate's scan.
std::ptrdiff_t firstMatchingEntry(const ReferencePrecursorList& reference, const ReferenceIndex& index,
                                  int scan, int charge, double mz);

}  // namespace corvid
