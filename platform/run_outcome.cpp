#include "platform/run_outcome.h"

namespace corvid {
namespace {

struct RunOutcome {
  int firstProblem = 0;  // 0: none noted
  long long ms2Processed = 0;
  bool reusedResult = false;
  bool strict = false;
};

RunOutcome& outcome() {
  static RunOutcome state;
  return state;
}

}  // namespace

void noteRunProblem(RunProblem problem) {
  // The first problem is the cause; what follows is mostly its consequence (an input that could
  // not be extracted leaves no MS1 file to process, say).
  int& first = outcome().firstProblem;
  if (first == 0) first = static_cast<int>(problem);
}

void noteMS2ScansProcessed(long long count) { outcome().ms2Processed += count; }
void noteEarlierResultReused() { outcome().reusedResult = true; }
void requestStrictExit() { outcome().strict = true; }

int strictExitStatus(int status) {
  const RunOutcome& state = outcome();
  if (status != 0 || !state.strict) return status;
  if (state.firstProblem != 0) return state.firstProblem;
  if (state.ms2Processed == 0 && !state.reusedResult) return static_cast<int>(RunProblem::kNothingProcessed);
  return 0;
}

std::string describeStrictExit(int status) {
  switch (status) {
    case static_cast<int>(RunProblem::kDataPathSkipped):
      return "a data path was skipped (no input found, or its output or log folder does not exist)";
    case static_cast<int>(RunProblem::kInputUnreadable):
      return "an input could not be read or extracted";
    case static_cast<int>(RunProblem::kOutputUnwritable):
      return "an output file could not be written";
    case static_cast<int>(RunProblem::kNothingProcessed):
      return "no MS2 scan was processed";
    default:
      return std::string();
  }
}

void resetRunOutcome() { outcome() = RunOutcome{}; }

}  // namespace corvid
