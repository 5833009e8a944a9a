#include "scoring/threshold_filter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "platform/run_failure.h"
#include "scoring/whole_number.h"

namespace corvid {

namespace {

// An isolation width of 4 Th is always filtered at this threshold, whatever mars_threshold says.
constexpr double kWideWindowThreshold = -0.68;
// With output_all_mars_y every candidate is kept: no model scores this low.
constexpr double kKeepAllThreshold = -10000.0;

// Descending score; NaN scores rank below every number (and are never kept), which keeps the
// ordering a strict weak order.
bool rankedBefore(double a, double b) {
  if (std::isnan(a)) return false;
  return std::isnan(b) || a > b;
}

}  // namespace

double marsThreshold(const ParameterTable& parameters) {
  double threshold = readReal(valueOrEmpty(parameters, "mars_threshold"));
  if (valueOrEmpty(parameters, "isolation_width") == "4") {
    std::fputs("isolation_width\n", stdout);
    threshold = kWideWindowThreshold;
  }
  if (valueOrEmpty(parameters, "output_all_mars_y") == "1") threshold = kKeepAllThreshold;
  return threshold;
}

void filterByThreshold(const ParameterTable& parameters, const std::vector<double>& scores,
                       std::vector<PrecursorRecord>& records) {
  if (scores.empty()) return;
  const double threshold = marsThreshold(parameters);
  if (records.empty()) {
    std::fputs("Exception in Here\n", stdout);
    return;
  }
  if (records.size() != scores.size()) {
    throw RunFailure("score list and precursor record list differ in length", FailureKind::kOutOfBounds);
  }
  const bool debug = valueOrEmpty(parameters, "debug_mode") == "1";

  std::vector<PrecursorRecord> kept;
  kept.reserve(records.size());
  std::vector<std::size_t> order;
  std::size_t start = 0;
  while (start < records.size()) {
    // A group is the run of records whose scan equals the first one's exactly.
    std::size_t end = start + 1;
    while (end < records.size() && records[end].scan == records[start].scan) ++end;
    order.resize(end - start);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    // Stable, so that equal scores keep their detection order: runs are reproducible.
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return rankedBefore(scores[start + a], scores[start + b]);
    });
    const int scan = truncatedToInt(records[start].scan);
    for (std::size_t rank = 0; rank < order.size(); ++rank) {
      const std::size_t local = order[rank];
      const double score = scores[start + local];
      const PrecursorRecord& record = records[start + local];
      if (debug) {
        std::printf("%d %zu %zu %.6f %.0f %.0f %.6f\n", scan, rank, local, score, record.scan,
                    record.charge, record.mz);
      }
      if (score > threshold) kept.push_back(record);
    }
    start = end;
  }
  records.swap(kept);
}

}  // namespace corvid
