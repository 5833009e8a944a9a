#include "startup/pipelines.h"

#include "startup/run_log.h"

namespace corvid {
namespace {

void notAvailable(const std::string& what) {
  logMessage("Error", what + " is not available in this build yet; nothing was processed.");
}

}  // namespace

void runRawPipeline(ParameterTable, const std::string& ms1Name) {
  notAvailable("The MS1/MS2 pipeline (for " + ms1Name + ")");
}
void runWiffPipeline(ParameterTable, const std::string& ms1Name) {
  notAvailable("The WIFF pipeline (for " + ms1Name + ")");
}
void runMgfFiles(ParameterTable, const std::vector<std::string>&) { notAvailable("MGF input"); }
std::vector<std::string> extractOpenFormatFiles(ParameterTable, const std::vector<std::string>&) {
  notAvailable("mzML/mzXML input");
  return {};
}
void convertMgfToKx2(const std::string& mgfPath) {
  notAvailable("MGF to KX2 conversion (for " + mgfPath + ")");
}

}  // namespace corvid
