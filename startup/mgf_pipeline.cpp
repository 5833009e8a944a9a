#include "startup/mgf_pipeline.h"

#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/kx_format.h"
#include "spectra/mgf_reader.h"

namespace corvid {

void runMGFPipeline(const std::string& folder, const std::vector<std::string>& mgfNames) {
  for (const std::string& name : mgfNames) {
    logMessage(LogLabel::kState, "Processing " + name);
    logMessage(LogLabel::kNote, "Loading MGF...");
    MGFFile mgfFile;  // released at the end of each pass, before the next file
    mgfFile.path = folder + name;
    readMGF(mgfFile);
    logMessage(LogLabel::kNote, "Writing KX2...");
    writeKX2FromMGF(mgfFile);
    noteMS2ScansProcessed(static_cast<long long>(mgfFile.spectra.size()));
  }
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
