#include <string>
#include <vector>

#include "spectra/open_format_extractor.h"
#include "startup/pipelines.h"
#include "startup/run_log.h"

namespace corvid {

// Each mzML/mzXML file is extracted in-process into <stem>.ms1/.ms2 beside it (skipped when an
// earlier extraction left its marker and summary); the MS1 names of the files extracted are
// handed to the common tail of the run driver.
std::vector<std::string> extractOpenFormatFiles(ParameterTable parameters, const std::vector<std::string>& names) {
  const std::string folder = parameters["datapath"];
  std::vector<std::string> ms1Names;
  for (const std::string& name : names) {
    const std::string stem = name.substr(0, name.rfind('.'));
    if (openFormatAlreadyExtracted(folder, stem)) {
      logMessage("State", "Reusing the earlier extraction of " + name);
    } else {
      logMessage("State", "Extracting MS1 and MS2 from " + name + "...");
      if (!extractOpenFormat(folder + name, folder, stem)) continue;
    }
    ms1Names.push_back(stem + ".ms1");
  }
  return ms1Names;
}

}  // namespace corvid
