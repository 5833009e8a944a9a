#include "platform/reported_output.h"

#include "platform/run_log.h"
#include "platform/run_outcome.h"

namespace corvid {

namespace {

bool reportFailure(std::string_view verb, std::string_view kind, const PendingFile& pending) {
  logMessage(LogLabel::kError,
             "Fail to " + std::string(verb) + " " + std::string(kind) + " " + pending.path + ": " + pending.error);
  noteRunProblem(RunProblem::kOutputUnwritable);
  return false;
}

}  // namespace

bool openReportedOutput(const std::string& path, std::string_view kind, PendingFile& pending) {
  return openPending(path, pending) || reportFailure("create", kind, pending);
}

bool commitReportedOutput(PendingFile& pending, std::string_view kind) {
  return commitPending(pending) || reportFailure("write", kind, pending);
}

}  // namespace corvid
