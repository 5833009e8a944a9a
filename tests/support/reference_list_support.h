#pragma once
// Reference lists written out in tests: (scan, m/z, charge, value) entries with fresh flags.
#include <cstdint>
#include <initializer_list>
#include <tuple>

#include "spectra/reference_precursor_list.h"

namespace corvid::testing {

inline ReferencePrecursorList referenceOf(
    std::initializer_list<std::tuple<std::int32_t, double, std::int32_t, double>> entries) {
  ReferencePrecursorList list;
  for (const auto& [scan, mz, charge, value] : entries) {
    list.scans.push_back(scan);
    list.mzs.push_back(mz);
    list.charges.push_back(charge);
    list.values.push_back(value);
    list.found.push_back(0);
    list.training.push_back(1);
    list.pending.push_back(1);
  }
  return list;
}

}  // namespace corvid::testing
