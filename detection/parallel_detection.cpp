#include "detection/parallel_detection.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <thread>

#include "detection/candidate_detection.h"
#include "detection/ms1_peak_gathering.h"

namespace corvid {
namespace {

// Fewer tasks per worker than this cost more in thread start-up than they save.
constexpr std::size_t kMinimumTasksPerWorker = 16;

// inputs holds one input per view; a lone input serves every task (its views are all 0).
void detectRange(const DetectionInput* inputs, const std::vector<ScanTask>& tasks, std::size_t first, std::size_t last,
                 DetectionOutput& output) {
  DetectionScratch scratch = makeDetectionScratch();
  std::vector<Peak> gathered;
  for (std::size_t i = first; i < last; ++i) {
    const DetectionInput& input = inputs[tasks[i].view];
    const auto scan = static_cast<std::int32_t>(tasks[i].scan);
    gatherMS1Peaks(input, scratch, scan, tasks[i].center, gathered);
    detectCandidates(input, scratch, output, tasks[i].center, scan, gathered, tasks[i].isolation);
  }
}

template <typename T>
void appendMoved(std::vector<T>& to, std::vector<T>& from) {
  to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

void appendOutput(DetectionOutput& output, DetectionOutput& worker) {
  appendMoved(output.features, worker.features);
  appendMoved(output.records, worker.records);
  appendMoved(output.windowShares, worker.windowShares);
  appendMoved(output.foundReferenceEntries, worker.foundReferenceEntries);
  output.exportedPrecursorCount += worker.exportedPrecursorCount;
}

std::size_t detectOnInputs(const DetectionInput* inputs, const std::vector<ScanTask>& tasks, unsigned threads,
                           DetectionOutput& output) {
  const std::size_t workers = std::min<std::size_t>(threads, tasks.size() / kMinimumTasksPerWorker);
  if (workers <= 1 || inputs[0].settings.debugMode != DebugMode::kOff) {
    detectRange(inputs, tasks, 0, tasks.size(), output);
    return 1;
  }
  // Worker w takes tasks [w * n / workers, (w + 1) * n / workers).
  std::vector<DetectionOutput> own(workers);
  std::vector<std::exception_ptr> failures(workers);
  std::vector<std::thread> running;
  running.reserve(workers);
  for (std::size_t w = 0; w < workers; ++w) {
    const std::size_t first = w * tasks.size() / workers;
    const std::size_t last = (w + 1) * tasks.size() / workers;
    running.emplace_back([inputs, &tasks, &own, &failures, w, first, last] {
      try {
        detectRange(inputs, tasks, first, last, own[w]);
      } catch (...) {
        failures[w] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : running) thread.join();
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
  for (DetectionOutput& worker : own) appendOutput(output, worker);
  return workers;
}

}  // namespace

unsigned threadCountFor(int requested) {
  if (requested > 0) return static_cast<unsigned>(requested);
  return std::max(1u, std::thread::hardware_concurrency());
}

std::size_t detectScans(const DetectionInput& input, const std::vector<ScanTask>& tasks, unsigned threads,
                        DetectionOutput& output) {
  return detectOnInputs(&input, tasks, threads, output);
}

std::size_t detectScans(const std::vector<DetectionInput>& inputs, const std::vector<ScanTask>& tasks, unsigned threads,
                        DetectionOutput& output) {
  return inputs.empty() ? 0 : detectOnInputs(inputs.data(), tasks, threads, output);
}

}  // namespace corvid
