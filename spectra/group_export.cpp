#include "spectra/group_export.h"

#include "startup/run_log.h"

namespace corvid {

void reportSkippedSpectra(const std::string& path, const SkippedSpectra& skipped,
                          const char* effect) {
  if (skipped.count == 0) return;
  logMessage("Alert", std::to_string(skipped.count) + " spectra " + effect + " in " + path +
                          ": the accepted precursor of scan " + std::to_string(skipped.rowScan) +
                          " has no spectrum at its place in the group (first spectrum affected: "
                          "scan " +
                          std::to_string(skipped.firstScan) + ")");
}

}  // namespace corvid
