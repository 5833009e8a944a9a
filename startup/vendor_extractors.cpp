#include "startup/vendor_extractors.h"

#include "platform/paths.h"
#include "startup/pipelines.h"
#include "startup/run_log.h"

namespace corvid {
namespace {

// The name up to its last ".": what the extractor names its outputs after.
std::string stemOf(const std::string& fileName) { return fileName.substr(0, fileName.rfind('.')); }

}  // namespace

ChildCommand rawExtractorCommand(ParameterTable& parameters, const std::string& rawName) {
  return {toolPath(parameters["binpath"], "quarry_raw"),
          {"-m", parameters["m/z"], "-i", parameters["Intensity"], "-a", "-ms", parameters["datapath"] + rawName}};
}

ChildCommand wiffExtractorCommand(ParameterTable& parameters, const std::string& wiffName) {
  return {toolPath(parameters["binpath"], "quarry_wiff"), {"-ms", parameters["datapath"] + wiffName}};
}

void runExtractorTool(const ChildCommand& command) {
  const int status = runChildProcess(command);
  if (status == -1) {
    logMessage("Error", "Fail to start the extractor: " + describeCommand(command));
  } else if (status != 0) {
    logMessage("Alert", "The extractor ended with status " + std::to_string(status) + ": " +
                            describeCommand(command));
  }
}

void runRawExtractor(ParameterTable parameters, const std::string& rawName) {
  const std::string folder = parameters["datapath"];
  if (!canOpenForReading(folder + rawName)) {
    logMessage("Error", "RAW file not exists! " + rawName);
    return;
  }
  logMessage("State", "Calling Quarry to export MS1 and MS2 files...");
  const std::string stem = folder + stemOf(rawName);
  // An earlier complete extraction (marker and extractor CSV present) is reused.
  if (canOpenForReading(stem + ".quarry") && canOpenForReading(stem + ".csv")) return;
  runExtractorTool(rawExtractorCommand(parameters, rawName));
}

void runWiffExtractor(ParameterTable parameters, const std::string& wiffName) {
  const std::string folder = parameters["datapath"];
  if (!canOpenForReading(folder + wiffName)) {
    logMessage("Error", "RAW file not exists! " + wiffName);
    return;
  }
  logMessage("State", " Converting to MS1 & MS2...");
  const std::string stem = folder + stemOf(wiffName);
  // The WIFF tool leaves no marker: its MS1 file and CSV stand for a complete extraction.
  if (canOpenForReading(stem + ".ms1") && canOpenForReading(stem + ".csv")) return;
  runExtractorTool(wiffExtractorCommand(parameters, wiffName));
}

}  // namespace corvid
