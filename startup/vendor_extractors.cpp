#include "startup/vendor_extractors.h"

#include "platform/paths.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "startup/pipelines.h"

namespace corvid {
namespace {

// The name up to its last ".": what the extractor names its outputs after.
std::string stemOf(const std::string& fileName) { return fileName.substr(0, fileName.rfind('.')); }

}  // namespace

ChildCommand rawExtractorCommand(const RunSettings& settings, const std::string& folder, const std::string& rawName) {
  return {toolPath(settings.paths.program, "quarry_raw"),
          {"-m", settings.extractorMz, "-i", settings.extractorIntensity, "-a", "-ms", folder + rawName}};
}

ChildCommand wiffExtractorCommand(const RunSettings& settings, const std::string& folder, const std::string& wiffName) {
  return {toolPath(settings.paths.program, "quarry_wiff"), {"-ms", folder + wiffName}};
}

void runExtractorTool(const ChildCommand& command) {
  const int status = runChildProcess(command);
  if (status == -1) {
    logMessage(LogLabel::kError, "Fail to start the extractor: " + describeCommand(command));
    noteRunProblem(RunProblem::kInputUnreadable);
  } else if (status != 0) {
    logMessage(LogLabel::kAlert, "The extractor ended with status " + std::to_string(status) + ": " +
                            describeCommand(command));
  }
}

namespace {

// Announces and runs an extractor unless an earlier extraction is complete: the file with
// `firstDoneEnding` and the extractor's CSV (both named after the input's stem) already exist.
void extractUnlessDone(const std::string& folder, const std::string& fileName, const char* announcement,
                       const char* firstDoneEnding, const ChildCommand& command) {
  if (!canOpenForReading(folder + fileName)) {
    logMessage(LogLabel::kError, "RAW file not exists! " + fileName);
    noteRunProblem(RunProblem::kInputUnreadable);
    return;
  }
  logMessage(LogLabel::kState, announcement);
  const std::string stem = folder + stemOf(fileName);
  if (canOpenForReading(stem + firstDoneEnding) && canOpenForReading(stem + ".csv")) return;
  runExtractorTool(command);
}

}  // namespace

void runRawExtractor(const RunSettings& settings, const std::string& folder, const std::string& rawName) {
  extractUnlessDone(folder, rawName, "Calling Quarry to export MS1 and MS2 files...", ".quarry",
                    rawExtractorCommand(settings, folder, rawName));
}

void runWiffExtractor(const RunSettings& settings, const std::string& folder, const std::string& wiffName) {
  // The WIFF tool leaves no marker: its MS1 file and CSV stand for a complete extraction.
  extractUnlessDone(folder, wiffName, " Converting to MS1 & MS2...", ".ms1",
                    wiffExtractorCommand(settings, folder, wiffName));
}

}  // namespace corvid
