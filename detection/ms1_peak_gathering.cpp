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
// guess is where the window's first peak is expected; the found position is returned through it.
void takeWindowPeaks(const DetectionContext& context, std::size_t scanIndex, double low, double high,
                     std::size_t& guess, std::vector<Peak>& taken) {
  taken.clear();
  const std::vector<Peak>& peaks = context.ms1->spectra[scanIndex].peaks;
  if (scanIndex < context.ms1PeaksAscending.size() && context.ms1PeaksAscending[scanIndex] != 0) {
    std::size_t last = lowerBoundFrom(peaks, low, guess);
    const std::size_t first = last;
    while (last < peaks.size() && peaks[last].mz <= high) ++last;
    taken.insert(taken.end(), peaks.begin() + static_cast<std::ptrdiff_t>(first),
                 peaks.begin() + static_cast<std::ptrdiff_t>(last));
    guess = first;
    return;
  }
  for (const Peak& peak : peaks) {
    if (peak.mz > high) break;
    if (peak.mz >= low) taken.push_back(peak);
  }
}

// Scales a position in one scan to the same relative position in a scan of another size.
std::size_t scaledGuess(std::size_t position, std::size_t fromSize, std::size_t toSize) {
  if (fromSize == 0) return toSize / 2;
  return static_cast<std::size_t>(static_cast<double>(position) * static_cast<double>(toSize) /
                                  static_cast<double>(fromSize));
}

void fillWideGrid(DetectionContext& context, std::int64_t related, double center) {
  ProfileGrid& grid = context.wideGrid;
  const double low = center - kGatherHalfWidth;
  const double high = center + kGatherHalfWidth;
  const auto scanCount = static_cast<std::int64_t>(context.ms1->spectra.size());
  const std::int64_t first = std::max<std::int64_t>(related + kWideFirstOffset, 0);
  const std::int64_t last = std::min<std::int64_t>(related + kWideLastOffset, scanCount - 1);
  std::size_t guess = 0;
  std::size_t previousSize = 0;
  bool searched = false;
  for (std::int64_t index = first; index <= last; ++index) {
    const std::size_t size = context.ms1->spectra[static_cast<std::size_t>(index)].peaks.size();
    // The first scan is searched from its middle; the others start where the previous one's
    // window began.
    guess = searched ? scaledGuess(guess, previousSize, size) : size / 2;
    takeWindowPeaks(context, static_cast<std::size_t>(index), low, high, guess, context.takenPeaks);
    searched = true;
    previousSize = size;
    const std::int64_t row = index - related - 1 + grid.centerRow;
    for (const Peak& peak : context.takenPeaks) {
      addToProfileGrid(grid, row, binOf(grid, peak.mz, center), peak.intensity);
    }
  }
  context.wideGuess = guess;
  context.wideGuessSize = previousSize;
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
void checkActivationCenter(const DetectionContext& context, double center,
                           std::vector<Peak>& gatheredPeaks) {
  const double tolerance = center * kCenterTolerance;
  const auto holdsCenter = [&](std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) {
      if (std::fabs(gatheredPeaks[i].mz - center) < tolerance) return true;
    }
    return false;
  };
  const auto preceding = static_cast<std::size_t>(context.gatheredCounts[0]);
  const auto related = static_cast<std::size_t>(context.gatheredCounts[1]);
  if (holdsCenter(preceding, preceding + related)) {
    gatheredPeaks.erase(gatheredPeaks.begin() + static_cast<std::ptrdiff_t>(preceding + related),
                        gatheredPeaks.end());
    gatheredPeaks.erase(gatheredPeaks.begin(),
                        gatheredPeaks.begin() + static_cast<std::ptrdiff_t>(preceding));
  } else if (holdsCenter(0, preceding)) {
    gatheredPeaks.resize(preceding);
  }
}

}  // namespace

std::int64_t findRelatedScan(const DetectionContext& context, std::int64_t ms2ScanNumber) {
  const std::vector<MS1Spectrum>& spectra = context.ms1->spectra;
  if (context.ms1ScansAscending) {
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

std::size_t lowerBoundFrom(const std::vector<Peak>& peaks, double mz, std::size_t guess) {
  const std::size_t n = peaks.size();
  if (n == 0) return 0;
  guess = std::min(guess, n - 1);
  const auto begin = peaks.begin();
  std::size_t lo = 0;
  std::size_t hi = n;
  if (peaks[guess].mz < mz) {
    // Everything up to guess is below mz: double the step until a peak reaches mz.
    lo = guess + 1;
    std::size_t step = 1;
    while (lo + step - 1 < n && peaks[lo + step - 1].mz < mz) {
      lo += step;
      step *= 2;
    }
    hi = std::min(lo + step, n);
  } else {
    // peaks[guess] reaches mz, and so does everything after it.
    hi = guess;
    std::size_t step = 1;
    while (hi >= step && !(peaks[hi - step].mz < mz)) {
      hi -= step;
      step *= 2;
    }
    lo = hi >= step ? hi - step + 1 : 0;
  }
  return static_cast<std::size_t>(std::lower_bound(begin + static_cast<std::ptrdiff_t>(lo),
                                                   begin + static_cast<std::ptrdiff_t>(hi), mz, mzBelow) -
                                  begin);
}

PeakRange peaksWithin(const std::vector<Peak>& peaks, double low, double high) {
  PeakRange range;
  range.first = static_cast<std::size_t>(std::lower_bound(peaks.begin(), peaks.end(), low, mzBelow) -
                                          peaks.begin());
  range.last = range.first;
  while (range.last < peaks.size() && peaks[range.last].mz <= high) ++range.last;
  return range;
}

void gatherMs1Peaks(DetectionContext& context, std::int32_t ms2ScanNumber, double activationCenter,
                    std::vector<Peak>& gatheredPeaks) {
  const double center = activationCenter;
  const double low = center - kGatherHalfWidth;
  const double high = center + kGatherHalfWidth;
  const DebugMode debugMode = context.settings.debugMode;

  gatheredPeaks.clear();
  context.contextPeaks.clear();
  context.gatheredCounts = {0, 0, 0};
  const std::int64_t related = findRelatedScan(context, ms2ScanNumber);
  context.relatedScan = related;
  clearProfileGrid(context.filteredGrid);
  clearProfileGrid(context.wideGrid);
  // No finite m/z lies within 3 Th of an infinite or undefined center.
  if (!std::isfinite(center)) return;
  fillWideGrid(context, related, center);

  TextWriter debugFile;
  if (debugMode != DebugMode::kOff) {
    debugFile.open(context.settings.dataPath + std::to_string(ms2ScanNumber) + "ms1.Peaks");
  }

  const auto scanCount = static_cast<std::int64_t>(context.ms1->spectra.size());
  const MS1Spectrum emptyScan;
  std::vector<Peak>& taken = context.takenPeaks;
  for (std::int64_t offset = kFilteredFirstOffset; offset <= kFilteredLastOffset; ++offset) {
    const std::int64_t index = related + offset;
    if (index >= scanCount) break;
    const MS1Spectrum& scan = index < 0 ? emptyScan : context.ms1->spectra[static_cast<std::size_t>(index)];
    if (index < 0) {
      taken.clear();
    } else {
      const std::size_t size = scan.peaks.size();
      std::size_t guess = scaledGuess(context.wideGuess, context.wideGuessSize, size);
      takeWindowPeaks(context, static_cast<std::size_t>(index), low, high, guess, taken);
      context.wideGuess = guess;
      context.wideGuessSize = size;
    }

    if (debugMode != DebugMode::kOff) {
      debugFile.print("%d\t%lf\n", static_cast<int>(scan.scanNumber), center);
      for (const Peak& peak : taken) debugFile.print("%lf\t%lf\n", peak.mz, peak.intensity);
    }
    if (debugMode == DebugMode::kSingleScan) {
      std::printf("Related Scan %lld\n", static_cast<long long>(offset));
      std::printf("Peaks in Candidates == == \n");
    }

    context.contextPeaks.insert(context.contextPeaks.end(), taken.begin(), taken.end());
    removeWeakPeaks(taken, center, scan.workValue);

    if (offset >= -1 && offset <= 1) {
      context.gatheredCounts[static_cast<std::size_t>(offset + 1)] = static_cast<std::int32_t>(taken.size());
      gatheredPeaks.insert(gatheredPeaks.end(), taken.begin(), taken.end());
      if (debugMode == DebugMode::kSingleScan) printDebugPeaks(offset, taken);
    }

    ProfileGrid& grid = context.filteredGrid;
    const std::int64_t row = offset - 1 + grid.centerRow;
    for (const Peak& peak : taken) addToProfileGrid(grid, row, binOf(grid, peak.mz, center), peak.intensity);
  }

  if (context.settings.checkActivationCenter && !gatheredPeaks.empty()) {
    checkActivationCenter(context, center, gatheredPeaks);
  }
  std::sort(context.contextPeaks.begin(), context.contextPeaks.end(), [](const Peak& a, const Peak& b) {
    return a.mz < b.mz || (a.mz == b.mz && a.intensity < b.intensity);
  });
}

}  // namespace corvid
