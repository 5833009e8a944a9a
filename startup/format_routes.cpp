#include <string>
#include <vector>

#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/kx_format.h"
#include "spectra/mgf_reader.h"
#include "startup/mgf_pipeline.h"
#include "startup/pipelines.h"

namespace corvid {

void runMGFFiles(ParameterTable parameters, const std::vector<std::string>& mgfNames) {
  runMGFPipeline(parameters, mgfNames);
}

void convertMGFToKX2(const std::string& mgfPath) {
  MGFFile mgfFile;
  mgfFile.path = mgfPath;
  readMGF(mgfFile);
  logMessage(LogLabel::kNote, "Printing KX2...");
  writeKX2FromMGF(mgfFile);
  noteMS2ScansProcessed(static_cast<long long>(mgfFile.spectra.size()));
}

}  // namespace corvid
