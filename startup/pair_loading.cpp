#include "startup/pair_loading.h"

#include <utility>

#include "platform/paths.h"
#include "platform/process.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"

namespace corvid {

void loadMS1(const std::string& ms1Path, std::optional<LoadedPair>& loaded, MS1File& ms1File) {
  if (loaded) {
    ms1File = std::move(loaded->ms1);
    finishMS1Load(ms1Path, loaded->ms1Instrument, loaded->ms1Notes, 0, ms1File);
  } else {
    loadMS1File(ms1Path, ms1File);
  }
  // Gathering searches each scan's peaks by m/z: peaks out of order would hide precursors. The
  // extractor writes sorted peaks; text from elsewhere may not be.
  const std::size_t sorted = sortPeaksByMz(ms1File);
  if (sorted > 0) {
    logMessage(LogLabel::kAlert, fileNameOf(ms1Path) + ": the peaks of " + std::to_string(sorted) +
                                     " spectra were not in m/z order; they were sorted by m/z");
  }
}

void loadMS2(const std::string& ms2Path, std::optional<LoadedPair>& loaded, MS2File& ms2File) {
  if (loaded) {
    ms2File = std::move(loaded->ms2);
    finishMS2Load(ms2Path, loaded->ms2Notes, loaded->ms2GroupNotes, ms2File);
    loaded.reset();
  } else {
    loadMS2File(ms2Path, ms2File);
  }
}

bool surveyScansAllowDetection(const RunSettings& settings, const std::string& ms1Path, const MS1File& ms1File) {
  if (ms1File.spectra.empty()) {
    logMessage(LogLabel::kError, "No MS1 spectra in " + ms1Path + ": nothing to detect precursors from.");
    noteRunProblem(RunProblem::kInputUnreadable);
    return false;
  }
  if (ms1File.instrumentName == "FTMS") return true;
  logMessage(LogLabel::kNote, "ITMS encountered.. use quarry_raw.exe...");
  runChildProcess(
      {toolPath(settings.paths.program, "quarry_raw"),
       {"-mgf", withoutExtension(ms1Path) + ".Raw", "-m", settings.extractorMz, "-i", settings.extractorIntensity}});
  return false;
}

}  // namespace corvid
