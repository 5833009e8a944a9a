#include "detection/candidate_detection.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "detection/candidate_ranking.h"
#include "detection/isotope_pattern_table.h"
#include "detection/isotope_profile.h"
#include "detection/ms1_peak_gathering.h"
#include "detection/precursor_feature_vector.h"
#include "spectra/reference_index.h"

namespace corvid {
namespace {

// Distance between neighbouring isotope peaks, Da.
constexpr double kIsotopeSpacing = 1.003;
// Proton mass for the neutral mass of a candidate: M = z x mz - z x 1.007276.
constexpr double kCandidateProtonMass = 1.007276;
// 20 ppm: tolerance of every m/z match, relative to the activation center.
constexpr double kRelativeTolerance = 2e-5;
// Margin around the isolation window for isotope peaks that sit on its edge, Th.
constexpr double kWindowMargin = 0.05;
constexpr std::int32_t kFirstCharge = 2;
constexpr std::int32_t kLastCharge = 6;
// Isotopes -1..4 in the profile, -7..4 in the extended profile.
constexpr int kProfileFirstIsotope = -1;
constexpr int kExtendedFirstIsotope = -7;
constexpr int kLastIsotope = 4;
// The coverage test reaches up to the fourth isotope position.
constexpr double kCoverageOffsets[] = {0.0, 1.003, 2.006, 3.009};
// The 13C - 12C mass difference, for the window share (the spacing above is the detection's own).
constexpr double kCarbonIsotopeSpacing = 1.0033548;
// The window share counts isotopes 0..3.
constexpr int kWindowShareIsotopes = 4;
// Preliminary filter limits.
constexpr double kMinimumPif = 0.04;
constexpr double kMinimumMaxSim = 0.5;

bool mzBelow(const Peak& peak, double mz) { return peak.mz < mz; }

// What stays the same for every pair of a scan.
struct ScanWindow {
  std::int32_t scanNumber = 0;
  double center = 0.0;
  double tolerance = 0.0;
  double width = 0.0;
  double total = 0.0;          // intensity in center +- W/2, bounds included
  std::size_t innerFirst = 0;  // gathered peaks strictly inside center +- W/2
  std::size_t innerLast = 0;
  bool trace = false;
  // Precision mode: the related MS1 scan's peaks inside center +- W/2 (bounds included), ascending,
  // and their summed intensity.
  const std::vector<Peak>* relatedPeaks = nullptr;
  double relatedTotal = 0.0;
};

void printPeaks(const std::vector<Peak>& peaks) {
  for (const Peak& peak : peaks) std::printf("%lf\t%lf\n", peak.mz, peak.intensity);
}

void sortByMz(std::vector<Peak>& peaks) {
  std::stable_sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
}

ScanWindow makeScanWindow(DetectionContext& context, double center, std::int32_t scanNumber,
                          const std::vector<Peak>& peaks) {
  ScanWindow window;
  window.scanNumber = scanNumber;
  window.center = center;
  window.tolerance = center * kRelativeTolerance;
  window.width = isolationWidth(context);
  window.trace = context.settings.debugMode == DebugMode::kSingleScan;
  const double low = center - window.width / 2;
  const double high = center + window.width / 2;
  for (const Peak& peak : peaks) {
    if (peak.mz >= low && peak.mz <= high) window.total += peak.intensity;
  }
  window.innerFirst = static_cast<std::size_t>(std::upper_bound(peaks.begin(), peaks.end(), low,
                                                                [](double value, const Peak& p) { return value < p.mz; }) -
                                               peaks.begin());
  window.innerLast = static_cast<std::size_t>(std::lower_bound(peaks.begin(), peaks.end(), high, mzBelow) -
                                              peaks.begin());
  window.innerLast = std::max(window.innerLast, window.innerFirst);
  if (context.settings.precisionCandidates) {
    std::vector<Peak>& related = context.relatedWindowPeaks;
    related.clear();
    const auto scan = static_cast<std::size_t>(context.relatedScan);
    if (context.relatedScan >= 0 && scan < context.ms1->spectra.size()) {
      const std::vector<Peak>& scanPeaks = context.ms1->spectra[scan].peaks;
      if (scan < context.ms1PeaksAscending.size() && context.ms1PeaksAscending[scan] != 0) {
        const PeakRange range = peaksWithin(scanPeaks, low, high);
        related.assign(scanPeaks.begin() + static_cast<std::ptrdiff_t>(range.first),
                       scanPeaks.begin() + static_cast<std::ptrdiff_t>(range.last));
      } else {
        for (const Peak& peak : scanPeaks) {
          if (peak.mz >= low && peak.mz <= high) related.push_back(peak);
        }
        sortByMz(related);
      }
    }
    for (const Peak& peak : related) window.relatedTotal += peak.intensity;
    window.relatedPeaks = &related;
  }
  return window;
}

// The share of the related scan's window current on isotopes 0..3 of (mz, charge): the peaks
// within the match tolerance of each isotope. Isotopes lie at least 0.16 Th apart, far more than
// twice the tolerance, so no peak counts twice. 0 when the window holds no current.
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

void collectReferenceEntries(DetectionContext& context, std::int32_t scanNumber) {
  context.scanReferenceEntries.clear();
  ReferencePrecursorList* reference = context.reference;
  if (reference == nullptr) return;
  if (reference->found.size() < reference->size()) reference->found.resize(reference->size(), 0);
  auto& index = context.referenceByScan;
  if (context.indexedReference != reference || context.indexedReferenceSize != reference->size()) {
    index = indexReferenceByScan(*reference).byScan;
    context.indexedReference = reference;
    context.indexedReferenceSize = reference->size();
  }
  auto entry = std::lower_bound(index.begin(), index.end(), std::make_pair(scanNumber, std::size_t{0}));
  for (; entry != index.end() && entry->first == scanNumber; ++entry) context.scanReferenceEntries.push_back(entry->second);
}

void markReference(DetectionContext& context, double mz, std::int32_t charge) {
  ReferencePrecursorList* reference = context.reference;
  for (const std::size_t i : context.scanReferenceEntries) {
    if (reference->charges[i] == charge && std::fabs(mz - reference->mzs[i]) < reference->mzs[i] * kRelativeTolerance) {
      reference->found[i] = 1;
    }
  }
}

bool coversCenter(const ScanWindow& window, double mz, std::int32_t charge) {
  for (const double offset : kCoverageOffsets) {
    if (std::fabs(mz + offset / charge - window.center) < window.tolerance) return true;
  }
  return false;
}

// Intensity of the gathered peaks strictly inside the window that lie within the tolerance of
// isotopes 0..isoLen-1; a peak matching two isotopes counts twice. Peaks are visited in order.
double matchedIntensity(const ScanWindow& window, const std::vector<Peak>& peaks, double mz,
                        std::int32_t charge, std::int32_t isoLen, bool positiveOnly) {
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

// The best Pearson correlation of the pattern with slots 1..5 of the 11 groups; the best group
// goes to context.bestRow (a later group wins only when strictly better).
double bestPatternCorrelation(DetectionContext& context, const IsotopePattern& pattern) {
  double best = -1.0;
  context.bestRow = 0;
  for (int group = 0; group < kProfileGroups; ++group) {
    const double r = pearsonCorrelation(pattern.data(), context.isotopeProfile.data() + group * kIsotopeGroupSize + 1,
                                        kIsotopePeaks);
    if (r > best) {
      best = r;
      context.bestRow = group;
    }
  }
  return best;
}

// Best correlation of (leading zeros, T0..T4) with the extended profile's slots ending at M+4.
double shiftedSimilarity(const DetectionContext& context, const IsotopePattern& pattern, int leadingZeros) {
  double shifted[kIsotopePeaks + 2] = {};
  for (int i = 0; i < kIsotopePeaks; ++i) shifted[leadingZeros + i] = pattern[static_cast<std::size_t>(i)];
  const int length = kIsotopePeaks + leadingZeros;
  const int firstSlot = kExtendedGroupSize - length;
  double best = -1.0;
  for (int group = 0; group < kProfileGroups; ++group) {
    const double r = pearsonCorrelation(
        shifted, context.extendedProfile.data() + group * kExtendedGroupSize + firstSlot, static_cast<std::size_t>(length));
    if (r > best) best = r;
  }
  return best;
}

// Cheap exclusion of pairs that the filters reject whatever their profile: a start above the
// window, or a PIF below the limit even with all five isotopes matched. Not used with traces,
// whose printed quantities need the full measurement.
bool surelyRejected(const ScanWindow& window, const std::vector<Peak>& peaks, double mz, std::int32_t charge) {
  if (window.trace || window.total <= 0.0 || window.width <= 0.0) return false;
  if (mz > window.center + window.width * 0.5 + kWindowMargin) return true;
  const double bestMatched = matchedIntensity(window, peaks, mz, charge, kIsotopePeaks, true);
  return precursorIonFraction(window, bestMatched) < kMinimumPif;
}

bool rejectedBy(const ScanWindow& window, bool rejects, double quantity, const char* label) {
  if (window.trace) std::printf("%g%s\n", quantity, label);
  return rejects;
}

void measureCandidate(DetectionContext& context, const ScanWindow& window, double mz, std::int32_t charge, double maxSim, double pif, std::int32_t isoLen,
                      std::int32_t isoPeakInWindow, const IsotopePattern& pattern);

void evaluatePair(DetectionContext& context, const ScanWindow& window, const std::vector<Peak>& peaks,
                  double mz, std::int32_t charge) {
  markReference(context, mz, charge);
  if (context.settings.coElute == 0 && !coversCenter(window, mz, charge)) return;
  if (window.trace) {
    std::printf("MS2 %dInspect Precursor: MZ %lf charge %d\n", window.scanNumber, mz, charge);
  }
  if (surelyRejected(window, peaks, mz, charge)) return;

  const IsotopeProbe probe{mz, charge, window.tolerance, window.center};
  double* profile = context.isotopeProfile.data();
  context.isotopeProfile.fill(0.0);
  binIsotopeProfile(context.filteredGrid, probe, kProfileFirstIsotope, kLastIsotope, kIsotopeGroupSize, profile,
                    nullptr, nullptr);
  normaliseProfile(profile, kIsotopeGroupSize, kIsotopeProfileSize);
  cutAfterFirstValley(profile, kIsotopeProfileSize, kIsotopeGroupSize, context.valleys);

  const IsotopePattern pattern = isotopePattern(*context.isotopes, charge * mz - charge * kCandidateProtonMass);
  const double maxSim = bestPatternCorrelation(context, pattern);
  const std::int32_t isoLen = isotopeLength(profile);
  const double halfWidth = window.width / 2;
  std::int32_t isoPeakInWindow = 0;
  for (std::int32_t k = 0; k < isoLen; ++k) {
    const double isotopeMz = mz + k * kIsotopeSpacing / charge;
    if (window.center - halfWidth - kWindowMargin < isotopeMz && isotopeMz < window.center + halfWidth + kWindowMargin) {
      ++isoPeakInWindow;
    }
  }
  const double pif = precursorIonFraction(window, matchedIntensity(window, peaks, mz, charge, isoLen, false));

  if (rejectedBy(window, pif < kMinimumPif, pif, " PIF<0.04")) return;
  if (rejectedBy(window, charge >= 4 && isoLen < 3, isoLen, " chg>3 && IsoLen<3 ")) return;
  if (rejectedBy(window, isoLen < 2, isoLen, " IsoLen<2 ")) return;
  if (rejectedBy(window, mz > window.center + window.width * 0.5 + kWindowMargin, mz, " PrecursorCandidate AC ")) {
    return;
  }
  const bool quarterException = charge == 2 && mz <= window.center + window.width * 0.25;
  const bool singleAllowed = context.settings.precisionCandidates && isoPeakInWindow >= 1;
  const bool tooFewInWindow = isoPeakInWindow < 2 && !quarterException && !singleAllowed;
  if (rejectedBy(window, tooFewInWindow, isoPeakInWindow, " IsoPeakInwindow  ")) return;
  if (rejectedBy(window, maxSim < kMinimumMaxSim, maxSim, " MaxSim<0.5 ")) return;
  measureCandidate(context, window, mz, charge, maxSim, pif, isoLen, isoPeakInWindow, pattern);
}

// The remaining features of a pair that passed the filters, and its record.
void measureCandidate(DetectionContext& context, const ScanWindow& window, double mz, std::int32_t charge, double maxSim, double pif, std::int32_t isoLen,
                      std::int32_t isoPeakInWindow, const IsotopePattern& pattern) {
  const IsotopeProbe probe{mz, charge, window.tolerance, window.center};
  double* extended = context.extendedProfile.data();
  context.extendedProfile.fill(0.0);
  context.extendedError.fill(0.0);
  context.extendedErrorCount.fill(0);
  binIsotopeProfile(context.filteredGrid, probe, kExtendedFirstIsotope, kLastIsotope, kExtendedGroupSize, extended,
                    context.extendedError.data(), context.extendedErrorCount.data());
  normaliseProfile(extended, kExtendedGroupSize, kExtendedProfileSize);
  cutAfterFirstValley(extended, kExtendedProfileSize, kExtendedGroupSize, context.valleys);
  const double shiftedOne = shiftedSimilarity(context, pattern, 1);
  const double shiftedTwo = shiftedSimilarity(context, pattern, 2);
  const double spread = mzSpread(context.contextPeaks, mz);

  const double* profile = context.isotopeProfile.data();
  double isotopeShare = 0.0;
  for (int group = 1; group < kProfileGroups; ++group) {
    for (int slot = 1; slot < kIsotopeGroupSize; ++slot) isotopeShare += profile[group * kIsotopeGroupSize + slot];
  }
  const double monoPlusOne = elutionCosine(profile, kIsotopeGroupSize, 1, 2);
  const double minusOneMono = elutionCosine(profile, kIsotopeGroupSize, 0, 1);

  PrecursorCandidate candidate;
  candidate.features.assign(kDetectedFeatureCount, 0.0);
  PrecursorFeatures& f = candidate.features;
  f[kFeatureCharge] = charge;
  f[kFeatureMaxSim] = maxSim;
  f[kFeatureMzSpread] = spread;
  f[kFeatureMonoPlusOneCosine] = monoPlusOne;
  f[kFeatureIsotopeShare] = isotopeShare;
  f[kFeatureMinusOneMonoCosine] = minusOneMono;
  f[kFeatureIsoPeakInWindow] = isoPeakInWindow;
  f[kFeatureIsoLen] = isoLen;
  f[kFeatureChargeTimesMz] = charge * mz;
  f[kFeatureElutionBoundaryCount] = elutionBoundaryCount(profile, context.bestRow, context.valleys);
  f[kFeaturePif] = pif;
  f[kFeatureShiftedSimilarityOne] = shiftedOne;
  f[kFeatureShiftedSimilarityTwo] = shiftedTwo;
  candidate.record.scan = window.scanNumber;
  candidate.record.charge = charge;
  candidate.record.mz = recalibratedMz(context, mz);
  if (context.settings.precisionCandidates) candidate.windowShare = windowShare(window, candidate.record.mz, charge);
  context.scanCandidates.push_back(std::move(candidate));
}

}  // namespace

double isolationWidth(const DetectionContext& context) { return context.settings.isolationWidth; }

double recalibratedMz(const DetectionContext& context, double mz) {
  const double window = mz * context.settings.recalibrateWindow * 1e-6;
  const double low = mz - window;
  const double high = mz + window;
  const std::vector<Peak>& peaks = context.contextPeaks;
  double weighted = 0.0;
  double sum = 0.0;
  for (auto peak = std::lower_bound(peaks.begin(), peaks.end(), low, mzBelow); peak != peaks.end(); ++peak) {
    if (peak->mz > high) break;
    weighted += peak->mz * peak->intensity;
    sum += peak->intensity;
  }
  if (sum == 0.0) return mz;
  return weighted / sum;
}

void mergeNearPeaks(std::vector<Peak>& ascendingPeaks, std::vector<std::uint8_t>& marks) {
  if (ascendingPeaks.empty()) return;
  const double tolerance = ascendingPeaks.front().mz * kRelativeTolerance;
  marks.assign(ascendingPeaks.size(), 0);
  for (std::size_t j = 1; j < ascendingPeaks.size(); ++j) {
    Peak& left = ascendingPeaks[j - 1];
    Peak& right = ascendingPeaks[j];
    if (!(std::fabs(left.mz - right.mz) < tolerance)) continue;
    const double summed = left.intensity + right.intensity;
    // Two empty peaks have no weighted mean; the survivor keeps its own m/z then.
    const bool rightWins = right.intensity >= left.intensity;
    Peak& winner = rightWins ? right : left;
    const double mean = summed != 0.0 ? (left.mz * left.intensity + right.mz * right.intensity) / summed : winner.mz;
    winner.mz = mean;
    winner.intensity = summed;
    marks[rightWins ? j - 1 : j] = 1;
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < ascendingPeaks.size(); ++i) {
    if (marks[i] == 0) ascendingPeaks[kept++] = ascendingPeaks[i];
  }
  ascendingPeaks.resize(kept);
}

void detectCandidates(DetectionContext& context, double activationCenter, std::int32_t scanNumber,
                      std::vector<Peak>& gatheredPeaks) {
  const bool trace = context.settings.debugMode == DebugMode::kSingleScan;
  sortByMz(gatheredPeaks);
  if (trace) {
    std::printf("Peaks in candidates before cut similar Begin\n");
    printPeaks(gatheredPeaks);
    std::printf("End\n");
  }
  if (context.settings.cutSimilarMono) {
    mergeNearPeaks(gatheredPeaks, context.removalMarks);
    if (trace) {
      std::printf("Peaks in candidates after cut: \n");
      printPeaks(gatheredPeaks);
    }
    sortByMz(gatheredPeaks);
  }

  const ScanWindow window = makeScanWindow(context, activationCenter, scanNumber, gatheredPeaks);
  collectReferenceEntries(context, scanNumber);
  context.scanCandidates.clear();
  for (std::size_t p = 0; p + 1 < gatheredPeaks.size(); ++p) {
    for (std::int32_t charge = kFirstCharge; charge <= kLastCharge; ++charge) {
      evaluatePair(context, window, gatheredPeaks, gatheredPeaks[p].mz, charge);
    }
  }
  const std::size_t survivors = context.scanCandidates.size();
  const std::size_t kept = finishScanCandidates(context);
  if (trace) {
    std::printf("output len = %d\n", static_cast<int>(context.records.size()));
    std::printf("PrecursorNum = %d\n", static_cast<int>(survivors));
    std::printf("After prelimenary filtering...\n");
    std::printf("Precursors left = %d\n", static_cast<int>(kept));
  }
}

}  // namespace corvid
