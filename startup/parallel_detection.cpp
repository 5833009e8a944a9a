#include "startup/parallel_detection.h"

#include <algorithm>
#include <exception>
#include <thread>

#include "detection/candidate_detection.h"
#include "detection/ms1_peak_gathering.h"

namespace corvid {
namespace {

// Fewer tasks per worker than this cost more in thread start-up than they save.
constexpr std::size_t kMinimumTasksPerWorker = 16;

void detectRange(DetectionContext& context, const std::vector<ScanTask>& tasks, std::size_t first, std::size_t last) {
  std::vector<Peak> gathered;
  for (std::size_t i = first; i < last; ++i) {
    gatherMS1Peaks(context, static_cast<std::int32_t>(tasks[i].scan), tasks[i].center, gathered);
    detectCandidates(context, tasks[i].center, static_cast<std::int32_t>(tasks[i].scan), gathered);
  }
}

}  // namespace

unsigned threadCountFor(int requested) {
  if (requested > 0) return static_cast<unsigned>(requested);
  return std::max(1u, std::thread::hardware_concurrency());
}

void detectScans(DetectionContext& context, const std::vector<ScanTask>& tasks, unsigned threads) {
  const std::size_t workers = std::min<std::size_t>(threads, tasks.size() / kMinimumTasksPerWorker);
  const bool serial = workers <= 1 || context.settings.debugMode != DebugMode::kOff || context.reference != nullptr;
  if (serial) {
    detectRange(context, tasks, 0, tasks.size());
    return;
  }
  // Worker w takes tasks [w * n / workers, (w + 1) * n / workers).
  std::vector<DetectionContext> own(workers);
  std::vector<std::exception_ptr> failures(workers);
  std::vector<std::thread> running;
  running.reserve(workers);
  for (std::size_t w = 0; w < workers; ++w) {
    own[w] = context;
    own[w].features.clear();
    own[w].records.clear();
    own[w].windowShares.clear();
    own[w].exportedPrecursorCount = 0;
    const std::size_t first = w * tasks.size() / workers;
    const std::size_t last = (w + 1) * tasks.size() / workers;
    running.emplace_back([&own, &failures, &tasks, w, first, last] {
      try {
        detectRange(own[w], tasks, first, last);
      } catch (...) {
        failures[w] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : running) thread.join();
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
  for (DetectionContext& worker : own) {
    context.features.insert(context.features.end(), std::make_move_iterator(worker.features.begin()),
                            std::make_move_iterator(worker.features.end()));
    context.records.insert(context.records.end(), worker.records.begin(), worker.records.end());
    context.windowShares.insert(context.windowShares.end(), worker.windowShares.begin(), worker.windowShares.end());
    context.exportedPrecursorCount += worker.exportedPrecursorCount;
  }
}

}  // namespace corvid
