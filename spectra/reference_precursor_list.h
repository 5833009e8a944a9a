#pragma once
// Known precursors of a run (the training reference list), in parallel columns.
#include <cstdint>
#include <string>
#include <vector>

namespace corvid {

struct ReferencePrecursorList {
  std::vector<std::int32_t> scans;
  std::vector<double> mzs;
  std::vector<std::int32_t> charges;
  std::vector<double> values;          // fourth column, written back as "%e"
  std::vector<std::int32_t> found;     // reset to 0 before each use
  std::vector<std::int32_t> training;  // cleared when a candidate matched in the training pass
  std::vector<std::int32_t> pending;   // cleared when an exported precursor matched in the report
  std::size_t size() const { return scans.size(); }
};

// The 20 ppm rule of the reference: r * 2e-5 > (mz - r) > -2e-5 * r, strict on both sides.
inline bool matchesReferenceMz(double referenceMz, double mz) {
  const double difference = mz - referenceMz;
  return referenceMz * 2e-5 > difference && difference > -2e-5 * referenceMz;
}

}  // namespace corvid
