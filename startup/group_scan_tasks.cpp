#include "startup/group_scan_tasks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/run_log.h"
#include "spectra/mzml_output.h"
#include "spectra/precursor_record.h"

namespace corvid {
namespace {

// Scans outside -3200..3400000 are skipped: one unsigned comparison of scan + 3200.
constexpr std::uint32_t kScanRangeOffset = 3200;
constexpr std::uint32_t kScanRangeLimit = 3403200;
// Progress is printed every 41 scans: often enough to see, rarely enough to cost nothing.
constexpr std::size_t kProgressStride = 41;

bool inDebugScanList(const std::vector<std::uint32_t>& list, std::uint32_t scan) {
  return std::find(list.begin(), list.end(), scan) != list.end();
}

}  // namespace

std::vector<ScanTask> groupScanTasks(const MS2File& ms2File, const std::vector<std::size_t>& positions, int group,
                                     const DebugSelection& debug, ScanLoopState& state,
                                     const std::vector<std::uint32_t>& ms2View) {
  const char* activation = kActivationNames[group % 3];
  const char* analyzer = kAnalyzerNames[group / 3];
  const std::size_t total = ms2File.spectra.size();
  std::vector<ScanTask> tasks;
  tasks.reserve(positions.size());
  for (std::size_t position : positions) {
    const MS2Spectrum& spectrum = ms2File.spectra[position];
    ++state.taken;
    if (position % kProgressStride == 0 || state.taken == total) {
      std::printf("\r[Corvid] <Exporting %s%s>: %.0f%%", activation, analyzer,
                  static_cast<double>(state.taken) * 100.0 / static_cast<double>(total));
      std::fflush(stdout);
    }
    const std::uint32_t scan = spectrum.scanNumber;
    const int charge = spectrum.charge;
    const double headerMz = charge == 0 ? 0.0 : mzFromMH(spectrum.precursorMH, charge);
    if (state.hasPrevious && scan == state.previousScan) {
      ++state.duplicates;
      continue;
    }
    state.previousScan = scan;
    state.hasPrevious = true;
    if (scan + kScanRangeOffset > kScanRangeLimit) continue;
    const double center = std::fabs(spectrum.activationCenter) < 1e-6 ? headerMz : spectrum.activationCenter;
    if (debug.mode == DebugMode::kSingleScan) {
      if (scan != debug.scan) continue;
      logMessage(LogLabel::kNote, "ActivationCenter: " + std::to_string(center));
    } else if (debug.mode == DebugMode::kScanList) {
      if (!inDebugScanList(debug.scans, scan)) continue;
      logMessage(LogLabel::kNote, "ActivationCenter:" + std::to_string(center));
    }
    tasks.push_back({scan,
                     center,
                     {spectrum.isolationLower, spectrum.isolationUpper},
                     position < ms2View.size() ? ms2View[position] : 0});
  }
  return tasks;
}

void reportScansWithoutStatedIsolation(const MS2File& ms2File, double isolationWidth) {
  std::size_t without = 0;
  for (const MS2Spectrum& spectrum : ms2File.spectra) {
    if (!StatedIsolation{spectrum.isolationLower, spectrum.isolationUpper}.stated()) ++without;
  }
  if (without == 0) return;
  logMessage(LogLabel::kAlert, std::to_string(without) + " of " + std::to_string(ms2File.spectra.size()) +
                                   " MS2 scans state no isolation window: isolation_width (" +
                                   formatNumber(isolationWidth) + ") is used for them.");
}

std::vector<std::size_t> groupPositions(const MS2File& ms2File, int group) {
  std::vector<std::size_t> positions;
  for (std::size_t i = 0; i < ms2File.spectra.size(); ++i) {
    if (ms2File.spectra[i].activationGroup == group) positions.push_back(i);
  }
  return positions;
}

}  // namespace corvid
