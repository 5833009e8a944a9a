#include <filesystem>
#include <string>
#include <vector>

#include "platform/file_lock.h"
#include "spectra/open_format_extractor.h"
#include "startup/pipelines.h"
#include "startup/run_log.h"

namespace corvid {

namespace {

void sayWaiting(const std::string& lockPath) {
  logMessage("State", "Another Corvid run is extracting the same input (" + lockPath +
                          "): waiting for it to finish...");
}

// Results made from an earlier extraction of another or a changed input are not this input's:
// the report would end the run early as "Complete", so it goes.
void dropStaleReport(ParameterTable& parameters, const std::string& stem) {
  if (parameters["rewrite_files"] != "0") return;
  const std::string report = parameters["outputpath"] + stem + ".csv";
  std::error_code code;
  if (!std::filesystem::is_regular_file(report, code)) return;
  if (std::filesystem::remove(report, code)) {
    logMessage("Alert", report + " was made from an earlier extraction, not from the file just extracted: it is "
                                 "removed and made again.");
  }
}

}  // namespace

// Each mzML/mzXML file is extracted in-process into <stem>.ms1/.ms2 beside it (an earlier
// extraction of the same input is reused); the MS1 names of the files extracted are handed to
// the common tail of the run driver. Runs that extract the same input take turns: the second
// one waits and then reuses the first one's extraction.
std::vector<std::string> extractOpenFormatFiles(ParameterTable parameters, const std::vector<std::string>& names) {
  const std::string folder = parameters["datapath"];
  std::vector<std::string> ms1Names;
  for (const std::string& name : names) {
    const std::string stem = name.substr(0, name.rfind('.'));
    FileLock lock = acquireFileLock(folder + stem + ".quarry.lock", sayWaiting);
    if (openFormatAlreadyExtracted(folder + name, folder, stem)) {
      logMessage("State", "Reusing the earlier extraction of " + name);
    } else {
      logMessage("State", "Extracting MS1 and MS2 from " + name + "...");
      if (!extractOpenFormat(folder + name, folder, stem)) continue;
      dropStaleReport(parameters, stem);
    }
    ms1Names.push_back(stem + ".ms1");
  }
  return ms1Names;
}

}  // namespace corvid
