#include "detection/ms1_peak_gathering.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/text_file.h"

namespace corvid {
namespace {

// Half width of the gathering window around the activation center, in Th.
constexpr double kGatherHalfWidth = 3.0;
// The local maximum that sets the 2 % floor is taken within center +- 1.05 Th, a little more than
// the default isolation window of 2 Th.
constexpr double kLocalMaxHalfWidth = 1.05;
// Peaks weaker than 2 % of the local maximum are noise for the isotope envelopes.
constexpr double kRelativeFloor = 0.02;
// The wide grid spans the MS1 scans 49 before to 50 after the related scan.
constexpr std::int64_t kWideFirstOffset = -49;
constexpr std::int64_t kWideLastOffset = 50;
// The filtered grid spans the scans 4 before to 5 after the related scan.
constexpr std::int64_t kFilteredFirstOffset = -4;
constexpr std::int64_t kFilteredLastOffset = 5;
// 20 ppm: the activation center counts as present in a scan within this relative distance.
constexpr double kCenterTolerance = 2e-5;

bool mzBelow(const Peak& peak, double mz) { return peak.mz < mz; }

// The bin of an m/z, truncated toward zero as an integer conversion does; -1 far outside.
std::int64_t binOf(const ProfileGrid& grid, double mz, double center) {
  const double position = (mz - center + grid.halfWidth) * grid.binsPerTh;
  if (!(position > -1.0 && position < grid.bins + 1.0)) return -1;
  return static_cast<std::int64_t>(position);
}

// The peaks of one scan inside center +- 3 Th, walking from the first peak and stopping at the
// first peak above the window (a sorted search gives the same peaks on an ascending list).
void takeWindowPeaks(const DetectionInput& input, std::size_t scanIndex, double low, double high,
                     std::vector<Peak>& taken) {
  taken.clear();
  const std::vector<Peak>& peaks = input.ms1->spectra[scanIndex].peaks;
  if (scanIndex < input.ms1PeaksAscending.size() && input.ms1PeaksAscending[scanIndex] != 0) {
    const PeakRange range = peaksWithin(peaks, low, high);
    taken.insert(taken.end(), peaks.begin() + static_cast<std::ptrdiff_t>(range.first),
                 peaks.begin() + static_cast<std::ptrdiff_t>(range.last));
    return;
  }
  for (const Peak& peak : peaks) {
    if (peak.mz > high) break;
    if (peak.mz >= low) taken.push_back(peak);
  }
}

void fillWideGrid(const DetectionInput& input, DetectionScratch& scratch, std::int64_t related, double center) {
  ProfileGrid& grid = scratch.wideGrid;
  const double low = center - kGatherHalfWidth;
  const double high = center + kGatherHalfWidth;
  const auto scanCount = static_cast<std::int64_t>(input.ms1->spectra.size());
  const std::int64_t first = std::max<std::int64_t>(related + kWideFirstOffset, 0);
  const std::int64_t last = std::min<std::int64_t>(related + kWideLastOffset, scanCount - 1);
  for (std::int64_t index = first; index <= last; ++index) {
    takeWindowPeaks(input, static_cast<std::size_t>(index), low, high, scratch.takenPeaks);
    const std::int64_t row = index - related - 1 + grid.centerRow;
    for (const Peak& peak : scratch.takenPeaks) {
      addToProfileGrid(grid, row, binOf(grid, peak.mz, center), peak.intensity);
    }
  }
}

// Removes, from the last peak to the first, the peaks below 2 % of the local maximum or below
// the scan's noise level.
void removeWeakPeaks(std::vector<Peak>& peaks, double center, double noiseLevel) {
  double localMax = 0.0;
  for (const Peak& peak : peaks) {
    if (peak.mz >= center - kLocalMaxHalfWidth && peak.mz <= center + kLocalMaxHalfWidth &&
        peak.intensity > localMax) {
      localMax = peak.intensity;
    }
  }
  const double floor = kRelativeFloor * localMax;
  std::erase_if(peaks, [&](const Peak& peak) {
    return peak.intensity < floor || peak.intensity < noiseLevel;
  });
}

void printDebugPeaks(std::int64_t offset, const std::vector<Peak>& peaks) {
  for (const Peak& peak : peaks) {
    std::printf("scan j = %lld mz %lf intensity %lf\n", static_cast<long long>(offset), peak.mz,
                peak.intensity);
  }
}

// Keeps only the related scan's peaks when one of them sits at the activation center, else only
// the preceding scan's when one of those does.
void checkActivationCenter(const DetectionScratch& scratch, double center, std::vector<Peak>& gatheredPeaks) {
  const double tolerance = center * kCenterTolerance;
  const auto holdsCenter = [&](std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
      if (std::fabs(gatheredPeaks[i].mz - center) < tolerance) return true;
    }
    return false;
  };
  const auto preceding = static_cast<std::size_t>(scratch.gatheredCounts[0]);
  const auto related = static_cast<std::size_t>(scratch.gatheredCounts[1]);
  if (holdsCenter(preceding, preceding + related)) {
    gatheredPeaks.erase(gatheredPeaks.begin() + static_cast<std::ptrdiff_t>(preceding + related),
                        gatheredPeaks.end());
    gatheredPeaks.erase(gatheredPeaks.begin(),
                        gatheredPeaks.begin() + static_cast<std::ptrdiff_t>(preceding));
  } else if (holdsCenter(0, preceding)) {
    gatheredPeaks.resize(preceding);
  }
}

// The ten scans around the related one: their window peaks go to the context peak list, and after
// the weak ones are removed, to the filtered grid; those of the three scans next to the MS2 scan
// also go to gatheredPeaks. The debug modes write each scan's window peaks to a peak file.
void fillFilteredGrid(const DetectionInput& input, DetectionScratch& scratch, std::int32_t ms2ScanNumber, double center,
                      std::vector<Peak>& gatheredPeaks) {
  const double low = center - kGatherHalfWidth;
  const double high = center + kGatherHalfWidth;
  const DebugMode debugMode = input.settings.debugMode;
  TextWriter debugFile;
  if (debugMode != DebugMode::kOff) {
    debugFile.open(input.settings.dataPath + std::to_string(ms2ScanNumber) + "ms1.Peaks");
  }

  const std::int64_t related = scratch.relatedScan;
  const auto scanCount = static_cast<std::int64_t>(input.ms1->spectra.size());
  const MS1Spectrum emptyScan;
  std::vector<Peak>& taken = scratch.takenPeaks;
  for (std::int64_t offset = kFilteredFirstOffset; offset <= kFilteredLastOffset; ++offset) {
    const std::int64_t index = related + offset;
    if (index >= scanCount) break;
    const MS1Spectrum& scan = index < 0 ? emptyScan : input.ms1->spectra[static_cast<std::size_t>(index)];
    if (index < 0) {
      taken.clear();
    } else {
      takeWindowPeaks(input, static_cast<std::size_t>(index), low, high, taken);
    }

    if (debugMode != DebugMode::kOff) {
      debugFile.print("%d\t%lf\n", static_cast<int>(scan.scanNumber), center);
      for (const Peak& peak : taken) debugFile.print("%lf\t%lf\n", peak.mz, peak.intensity);
    }
    if (debugMode == DebugMode::kSingleScan) {
      std::printf("Related Scan %lld\n", static_cast<long long>(offset));
      std::printf("Peaks in Candidates == == \n");
    }

    scratch.contextPeaks.insert(scratch.contextPeaks.end(), taken.begin(), taken.end());
    removeWeakPeaks(taken, center, scan.workValue);

    if (offset >= -1 && offset <= 1) {
      scratch.gatheredCounts[static_cast<std::size_t>(offset + 1)] = static_cast<std::int32_t>(taken.size());
      gatheredPeaks.insert(gatheredPeaks.end(), taken.begin(), taken.end());
      if (debugMode == DebugMode::kSingleScan) printDebugPeaks(offset, taken);
    }

    ProfileGrid& grid = scratch.filteredGrid;
    const std::int64_t row = offset - 1 + grid.centerRow;
    for (const Peak& peak : taken) addToProfileGrid(grid, row, binOf(grid, peak.mz, center), peak.intensity);
  }
  debugFile.close();
}

}  // namespace

std::int64_t findRelatedScan(const DetectionInput& input, std::int64_t ms2ScanNumber) {
  const std::vector<MS1Spectrum>& spectra = input.ms1->spectra;
  if (input.ms1ScansAscending) {
    const auto after = std::partition_point(spectra.begin(), spectra.end(), [&](const MS1Spectrum& s) {
      return static_cast<std::int64_t>(s.scanNumber) < ms2ScanNumber;
    });
    return static_cast<std::int64_t>(after - spectra.begin()) - 1;
  }
  for (auto i = static_cast<std::int64_t>(spectra.size()) - 1; i >= 0; --i) {
    if (static_cast<std::int64_t>(spectra[static_cast<std::size_t>(i)].scanNumber) < ms2ScanNumber) {
      return i;
    }
  }
  return -1;
}

PeakRange peaksWithin(const std::vector<Peak>& peaks, double low, double high) {
  PeakRange range;
  range.first = static_cast<std::size_t>(std::lower_bound(peaks.begin(), peaks.end(), low, mzBelow) - peaks.begin());
  range.last = range.first;
  while (range.last < peaks.size() && peaks[range.last].mz <= high) ++range.last;
  return range;
}

void gatherMS1Peaks(const DetectionInput& input, DetectionScratch& scratch, std::int32_t ms2ScanNumber,
                    double activationCenter, std::vector<Peak>& gatheredPeaks) {
  const double center = activationCenter;
  gatheredPeaks.clear();
  scratch.contextPeaks.clear();
  scratch.gatheredCounts = {0, 0, 0};
  const std::int64_t related = findRelatedScan(input, ms2ScanNumber);
  scratch.relatedScan = related;
  clearProfileGrid(scratch.filteredGrid);
  clearProfileGrid(scratch.wideGrid);
  // No finite m/z lies within 3 Th of an infinite or undefined center.
  if (!std::isfinite(center)) return;
  fillWideGrid(input, scratch, related, center);
  fillFilteredGrid(input, scratch, ms2ScanNumber, center, gatheredPeaks);

  if (input.settings.checkActivationCenter && !gatheredPeaks.empty()) {
    checkActivationCenter(scratch, center, gatheredPeaks);
  }
  std::sort(scratch.contextPeaks.begin(), scratch.contextPeaks.end(),
            [](const Peak& a, const Peak& b) { return a.mz < b.mz || (a.mz == b.mz && a.intensity < b.intensity); });
}

}  // namespace corvid
