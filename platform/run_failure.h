#pragma once
// The one failure type of Corvid: thrown where a failure is detected, caught only by the entry
// routine, which turns its kind into the program's message and exit status. Library code never
// ends the process itself.
//
// Who throws: code throws RunFailure when the run cannot go on: a reader that cannot read its
// input, and a writer of a working file that the next step reads (the SVMlight files svmrunner
// trains on, the training tables a labelled run is made for, the parts of a split MS2 file).
// Writers of result files never throw for input/output failures: they log one Error naming the
// file and the cause, remove their temporary file, and return whether the file was written; the
// caller only decides what that means for the run (for example, not saving the CSV report).
// Programming errors (broken invariants) throw RunFailure with kind kOutOfBounds.
#include <exception>
#include <string>
#include <utility>

namespace corvid {

enum class FailureKind {
  kRunAborted,     // the text is logged as "Error" with the exit notice; status 255
  kOutOfBounds,    // "ARRAY ACCESS OUT OF BOUNDS!" is logged; status 255
  kEndedQuietly,   // the reader already printed why; status 255 and nothing more is logged
  kFinishedEarly,  // a job that ends the run successfully before its usual end; status 0, nothing more
};

struct RunFailure : std::exception {
  std::string text;
  FailureKind kind = FailureKind::kRunAborted;
  explicit RunFailure(std::string message, FailureKind failureKind = FailureKind::kRunAborted)
      : text(std::move(message)), kind(failureKind) {}
  const char* what() const noexcept override { return text.c_str(); }
};

}  // namespace corvid
