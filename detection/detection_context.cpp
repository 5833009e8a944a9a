#include "detection/detection_context.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/run_log.h"

namespace corvid {
namespace {

// Ascending and free of undefined m/z (with which no order is meaningful).
bool peaksAscending(const std::vector<Peak>& peaks) {
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    if (std::isnan(peaks[i].mz) || (i > 0 && peaks[i].mz < peaks[i - 1].mz)) return false;
  }
  return true;
}

}  // namespace

ProfileGrid makeProfileGrid(std::int32_t rows, std::int32_t centerRow) {
  ProfileGrid grid;
  grid.rows = rows;
  grid.centerRow = centerRow;
  grid.matrix.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(grid.bins), 0.0);
  grid.filledCells.reserve(4096);
  return grid;
}

void clearProfileGrid(ProfileGrid& grid) {
  for (const std::int32_t cell : grid.filledCells) grid.matrix[static_cast<std::size_t>(cell)] = 0.0;
  grid.filledCells.clear();
}

void addToProfileGrid(ProfileGrid& grid, std::int64_t row, std::int64_t bin, double intensity) {
  if (row < 0 || row >= grid.rows || bin < 0 || bin >= grid.bins) return;
  const auto cell = static_cast<std::int32_t>(row * grid.bins + bin);
  grid.matrix[static_cast<std::size_t>(cell)] += intensity;
  grid.filledCells.push_back(cell);
}

DetectionContext makeDetectionContext(const DetectionSettings& settings, const MS1File& ms1,
                                      const IsotopePatternTable& isotopes) {
  DetectionContext context;
  context.settings = settings;
  context.isotopes = &isotopes;
  context.ms1 = &ms1;
  context.filteredGrid = makeProfileGrid(kFilteredGridRows, kFilteredGridCenterRow);
  context.wideGrid = makeProfileGrid(kWideGridRows, kWideGridCenterRow);
  context.ms1ScansAscending =
      std::is_sorted(ms1.spectra.begin(), ms1.spectra.end(),
                     [](const MS1Spectrum& a, const MS1Spectrum& b) { return a.scanNumber < b.scanNumber; });

  // Gathering stops at the first peak above the window, so a scan listed out of m/z order loses
  // the peaks that follow; the behaviour is kept and reported once per file.
  context.ms1PeaksAscending.resize(ms1.spectra.size());
  std::size_t unordered = 0;
  for (std::size_t i = 0; i < ms1.spectra.size(); ++i) {
    context.ms1PeaksAscending[i] = peaksAscending(ms1.spectra[i].peaks) ? 1 : 0;
    if (context.ms1PeaksAscending[i] == 0) ++unordered;
  }
  if (unordered > 0) {
    char message[200];
    std::snprintf(message, sizeof message,
                  "%zu MS1 scans list peaks out of m/z order; peaks after the first one above a "
                  "gathering window are not used for them",
                  unordered);
    logMessage(LogLabel::kAlert, message);
  }
  context.contextPeaks.reserve(1024);
  context.takenPeaks.reserve(1024);
  context.valleys.reserve(kExtendedProfileSize);
  return context;
}

}  // namespace corvid
