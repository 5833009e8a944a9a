#include "startup/pipelines.h"

#include "startup/run_log.h"

namespace corvid {

std::vector<std::string> extractOpenFormatFiles(ParameterTable, const std::vector<std::string>&) {
  logMessage("Error", "mzML/mzXML input is not available in this build yet; nothing was processed.");
  return {};
}

}  // namespace corvid
