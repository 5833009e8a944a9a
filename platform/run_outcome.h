#pragma once
// What went wrong in a run that still ended normally: a skipped data path, an input that could not
// be read, an output that could not be written, no MS2 scan processed. The standard exit status
// ignores all of these (0); with `strict_exit` on, the process status names the cause instead, so
// that a workflow engine can tell a failed run from a good one. Process-wide like the run log.
#include <string>

namespace corvid {

// Values are the strict exit statuses. The first problem noted decides the status.
enum class RunProblem {
  kDataPathSkipped = 10,     // no input found, or the output or log folder does not exist
  kInputUnreadable = 11,     // an input could not be read, extracted or has no MS1 spectra
  kOutputUnwritable = 12,    // an output file could not be created or written
  kNothingProcessed = 13,    // no MS2 scan was processed and no earlier result was reused
};

void noteRunProblem(RunProblem problem);
// MS2 scans processed by detection or conversion (a file whose results already exist counts as done).
void noteMS2ScansProcessed(long long count);
void noteEarlierResultReused();
void requestStrictExit();

// The status the process ends with: the given one, unless it is 0 and strict exit was requested
// and a problem was noted (then the first problem's value).
int strictExitStatus(int status);
// "" or the explanation of the status strictExitStatus chose.
std::string describeStrictExit(int status);
// Forgets everything noted (a fresh start between tests).
void resetRunOutcome();

}  // namespace corvid
