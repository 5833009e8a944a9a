#include "scoring/qc_figures.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace corvid {

const std::array<const char*, kQcClassCount> kQcClassNames = {
    "same within 10 ppm",  "moved by -3 isotopes", "moved by -2 isotopes",   "moved by -1 isotope",
    "moved by +1 isotope", "moved by +2 isotopes", "moved by +3 isotopes",   "m/z refined",
    "charge changed",      "none recorded",        "no precursor of its own"};

const std::array<const char*, kQcClassCount> kQcClassKeys = {
    "same",       "iso_minus_3", "iso_minus_2",    "iso_minus_1",   "iso_plus_1",      "iso_plus_2",
    "iso_plus_3", "mz_refined",  "charge_changed", "none_recorded", "no_own_precursor"};

QcCorrectionClass classifyFirstPrecursor(const QcPrecursorRow& row) {
  if (row.kind != QcRowKind::kOwn) return kQcNoOwnPrecursor;
  if (row.recordedCharge <= 0) return kQcNoneRecorded;
  if (row.charge != row.recordedCharge) return kQcChargeChanged;
  const double tolerance = row.recordedMz * kQcSamePpm * 1e-6;
  const double change = row.mz - row.recordedMz;
  if (std::abs(change) <= tolerance) return kQcSame;
  for (int k = -3; k <= 3; ++k) {
    if (k == 0) continue;
    if (std::abs(change - k * kQcIsotopeSpacing / row.charge) <= tolerance) {
      return static_cast<QcCorrectionClass>(k < 0 ? kQcMovedMinus1 - (-k - 1) : kQcMovedPlus1 + (k - 1));
    }
  }
  return kQcRefined;
}

QcHistogram histogramOf(const std::vector<double>& values, std::size_t binCount) {
  QcHistogram histogram;
  if (values.empty() || binCount == 0) return histogram;
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  const double start = *low;
  const double width = *high > *low ? (*high - *low) / static_cast<double>(binCount) : 1.0;
  const std::size_t bins = *high > *low ? binCount : 1;
  for (std::size_t i = 0; i <= bins; ++i) histogram.binEdges.push_back(start + width * static_cast<double>(i));
  histogram.counts.assign(bins, 0);
  for (double value : values) {
    const auto bin = static_cast<std::size_t>((value - start) / width);
    ++histogram.counts[std::min(bin, bins - 1)];
  }
  return histogram;
}

std::vector<std::size_t> thinnedPositions(std::size_t total, std::size_t limit) {
  std::vector<std::size_t> positions;
  const std::size_t count = std::min(total, limit);
  positions.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    // floor(i * total / count): evenly spread, first item always kept.
    positions.push_back(static_cast<std::size_t>(static_cast<unsigned long long>(i) * total / count));
  }
  return positions;
}

std::size_t QcTimeBins::binOf(double time) const {
  if (centres.empty()) return 0;
  const double position = (time - start) / width;
  if (!(position > 0.0)) return 0;
  return std::min(static_cast<std::size_t>(position), centres.size() - 1);
}

QcTimeBins timeBinsOver(double first, double last, std::size_t binCount) {
  QcTimeBins bins;
  bins.start = first;
  bins.width = last > first ? (last - first) / static_cast<double>(binCount) : 1.0;
  const std::size_t count = last > first ? binCount : 1;
  for (std::size_t i = 0; i < count; ++i) bins.centres.push_back(first + bins.width * (static_cast<double>(i) + 0.5));
  return bins;
}

double medianOf(std::vector<double> values) {
  if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
  const std::size_t middle = values.size() / 2;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(middle), values.end());
  const double upper = values[middle];
  if (values.size() % 2 == 1) return upper;
  const double lower = *std::max_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(middle));
  return (lower + upper) / 2.0;
}

double coIsolatedShare(const QcFigures& figures) {
  return figures.ms2Scans > 0 ? static_cast<double>(figures.coIsolatedScans) / static_cast<double>(figures.ms2Scans)
                              : 0.0;
}

}  // namespace corvid
