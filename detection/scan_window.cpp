#include "detection/scan_window.h"

#include <algorithm>
#include <cmath>

#include "detection/ms1_peak_gathering.h"

namespace corvid {
namespace {

// The coverage test reaches up to the fourth isotope position.
constexpr double kCoverageOffsets[] = {0.0, 1.003, 2.006, 3.009};
// The 13C - 12C mass difference, for the window share (the spacing above is the detection's own).
constexpr double kCarbonIsotopeSpacing = 1.0033548;
// The window share counts isotopes 0..3.
constexpr int kWindowShareIsotopes = 4;

bool mzBelow(const Peak& peak, double mz) { return peak.mz < mz; }

// Precision mode: the related MS1 scan's peaks within [low, high], ascending, into the scratch.
const std::vector<Peak>& collectRelatedWindowPeaks(const DetectionInput& input, DetectionScratch& scratch, double low,
                                                   double high) {
  std::vector<Peak>& related = scratch.relatedWindowPeaks;
  related.clear();
  const auto scan = static_cast<std::size_t>(scratch.relatedScan);
  if (scratch.relatedScan < 0 || scan >= input.ms1->spectra.size()) return related;
  const std::vector<Peak>& scanPeaks = input.ms1->spectra[scan].peaks;
  if (scan < input.ms1PeaksAscending.size() && input.ms1PeaksAscending[scan] != 0) {
    const PeakRange range = peaksWithin(scanPeaks, low, high);
    related.assign(scanPeaks.begin() + static_cast<std::ptrdiff_t>(range.first),
                   scanPeaks.begin() + static_cast<std::ptrdiff_t>(range.last));
    return related;
  }
  for (const Peak& peak : scanPeaks) {
    if (peak.mz >= low && peak.mz <= high) related.push_back(peak);
  }
  std::stable_sort(related.begin(), related.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
  return related;
}

}  // namespace

ScanWindow makeScanWindow(const DetectionInput& input, DetectionScratch& scratch, double center,
                          std::int32_t scanNumber, const std::vector<Peak>& peaks, const StatedIsolation& stated) {
  ScanWindow window;
  window.scanNumber = scanNumber;
  window.center = center;
  window.tolerance = center * kRelativeTolerance;
  if (input.settings.isolationFromFile && stated.stated()) {
    window.lowerHalf = stated.lower;
    window.upperHalf = stated.upper;
    window.width = stated.lower + stated.upper;
  } else {
    window.width = input.settings.isolationWidth;
    window.lowerHalf = window.upperHalf = window.width / 2;
  }
  window.trace = input.settings.debugMode == DebugMode::kSingleScan;
  const double low = center - window.lowerHalf;
  const double high = center + window.upperHalf;
  for (const Peak& peak : peaks) {
    if (peak.mz >= low && peak.mz <= high) window.total += peak.intensity;
  }
  const auto above = [](double value, const Peak& p) { return value < p.mz; };
  window.innerFirst =
      static_cast<std::size_t>(std::upper_bound(peaks.begin(), peaks.end(), low, above) - peaks.begin());
  window.innerLast =
      static_cast<std::size_t>(std::lower_bound(peaks.begin(), peaks.end(), high, mzBelow) - peaks.begin());
  window.innerLast = std::max(window.innerLast, window.innerFirst);
  if (input.settings.precisionCandidates) {
    const std::vector<Peak>& related = collectRelatedWindowPeaks(input, scratch, low, high);
    for (const Peak& peak : related) window.relatedTotal += peak.intensity;
    window.relatedPeaks = &related;
  }
  return window;
}

// Isotopes lie at least 0.16 Th apart, far more than twice the tolerance, so no peak counts twice.
double windowShare(const ScanWindow& window, double mz, std::int32_t charge) {
  if (window.relatedPeaks == nullptr || !(window.relatedTotal > 0.0)) return 0.0;
  const std::vector<Peak>& peaks = *window.relatedPeaks;
  double matched = 0.0;
  for (int k = 0; k < kWindowShareIsotopes; ++k) {
    const double isotopeMz = mz + k * kCarbonIsotopeSpacing / charge;
    const PeakRange range = peaksWithin(peaks, isotopeMz - window.tolerance, isotopeMz + window.tolerance);
    for (std::size_t i = range.first; i < range.last; ++i) matched += peaks[i].intensity;
  }
  return matched / window.relatedTotal;
}

bool coversCenter(const ScanWindow& window, double mz, std::int32_t charge) {
  for (const double offset : kCoverageOffsets) {
    if (std::fabs(mz + offset / charge - window.center) < window.tolerance) return true;
  }
  return false;
}

double matchedIntensity(const ScanWindow& window, const std::vector<Peak>& peaks, double mz, std::int32_t charge,
                        std::int32_t isoLen, bool positiveOnly) {
  if (isoLen <= 0) return 0.0;
  // Only peaks between the first isotope's lower and the last isotope's upper bound can match;
  // the margin of one tolerance on each side keeps rounding at the bounds out of the question.
  const double from = mz - 2 * window.tolerance;
  const double reach = mz + (isoLen - 1) * kIsotopeSpacing / charge + 2 * window.tolerance;
  const auto end = peaks.begin() + static_cast<std::ptrdiff_t>(window.innerLast);
  auto q = std::lower_bound(peaks.begin() + static_cast<std::ptrdiff_t>(window.innerFirst), end, from, mzBelow);
  double matched = 0.0;
  for (; q != end && q->mz <= reach; ++q) {
    for (std::int32_t k = 0; k < isoLen; ++k) {
      if (std::fabs(mz + k * kIsotopeSpacing / charge - q->mz) < window.tolerance) {
        matched += positiveOnly ? std::max(q->intensity, 0.0) : q->intensity;
      }
    }
  }
  return matched;
}

double precursorIonFraction(const ScanWindow& window, double matched) {
  if (window.total == 0.0) return 0.0;
  return matched / window.total * window.width * 0.5;
}

}  // namespace corvid
