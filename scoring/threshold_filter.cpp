#include "scoring/threshold_filter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/run_failure.h"
#include "scoring/whole_number.h"

namespace corvid {

namespace {

// Descending score; NaN scores rank below every number (and are never kept), which keeps the
// ordering a strict weak order.
bool rankedBefore(double a, double b) {
  if (std::isnan(a)) return false;
  return std::isnan(b) || a > b;
}

}  // namespace

void filterByThreshold(const ThresholdSettings& settings, const std::vector<double>& scores,
                       std::vector<PrecursorRecord>& records) {
  if (scores.empty()) return;
  if (settings.wideWindow) std::fputs("isolation_width\n", stdout);
  const double threshold = settings.threshold;
  if (records.empty()) {
    std::fputs("Exception in Here\n", stdout);
    return;
  }
  if (records.size() != scores.size()) {
    throw RunFailure("score list and precursor record list differ in length", FailureKind::kOutOfBounds);
  }
  const bool debug = settings.debug;

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
