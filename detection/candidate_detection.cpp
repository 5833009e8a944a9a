#include "detection/candidate_detection.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "detection/candidate_ranking.h"
#include "detection/isotope_pattern_table.h"
#include "detection/isotope_profile.h"
#include "detection/precursor_feature_vector.h"
#include "detection/reference_marks.h"
#include "detection/scan_window.h"

namespace corvid {
namespace {

// Proton mass for the neutral mass of a candidate: M = z x mz - z x 1.007276.
constexpr double kCandidateProtonMass = 1.007276;
constexpr std::int32_t kFirstCharge = 2;
constexpr std::int32_t kLastCharge = 6;
// Isotopes -1..4 in the profile, -7..4 in the extended profile.
constexpr int kProfileFirstIsotope = -1;
constexpr int kExtendedFirstIsotope = -7;
constexpr int kLastIsotope = 4;
// Preliminary filter limits.
constexpr double kMinimumPif = 0.04;
constexpr double kMinimumMaxSim = 0.5;

bool mzBelow(const Peak& peak, double mz) { return peak.mz < mz; }

// What the preliminary filters measured on a pair, and what it needs again once it passed them.
struct PairMeasure {
  double mz = 0.0;
  std::int32_t charge = 0;
  double maxSim = 0.0;
  double pif = 0.0;
  std::int32_t isoLen = 0;
  std::int32_t isoPeakInWindow = 0;
};

void printPeaks(const std::vector<Peak>& peaks) {
  for (const Peak& peak : peaks) std::printf("%lf\t%lf\n", peak.mz, peak.intensity);
}

void sortByMz(std::vector<Peak>& peaks) {
  std::stable_sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
}

// The best Pearson correlation of the pattern with slots 1..5 of the 11 groups; the best group
// goes to scratch.bestRow (a later group wins only when strictly better).
double bestPatternCorrelation(DetectionScratch& scratch, const IsotopePattern& pattern) {
  double best = -1.0;
  scratch.bestRow = 0;
  for (int group = 0; group < kProfileGroups; ++group) {
    const double r = pearsonCorrelation(pattern.data(), scratch.isotopeProfile.data() + group * kIsotopeGroupSize + 1,
                                        kIsotopePeaks);
    if (r > best) {
      best = r;
      scratch.bestRow = group;
    }
  }
  return best;
}

// Best correlation of (leading zeros, T0..T4) with the extended profile's slots ending at M+4.
double shiftedSimilarity(const DetectionScratch& scratch, const IsotopePattern& pattern, int leadingZeros) {
  double shifted[kIsotopePeaks + 2] = {};
  for (int i = 0; i < kIsotopePeaks; ++i) shifted[leadingZeros + i] = pattern[static_cast<std::size_t>(i)];
  const int length = kIsotopePeaks + leadingZeros;
  const int firstSlot = kExtendedGroupSize - length;
  double best = -1.0;
  for (int group = 0; group < kProfileGroups; ++group) {
    const double* slots = scratch.extendedProfile.data() + group * kExtendedGroupSize + firstSlot;
    const double r = pearsonCorrelation(shifted, slots, static_cast<std::size_t>(length));
    if (r > best) best = r;
  }
  return best;
}

// Cheap exclusion of pairs that the filters reject whatever their profile: a start above the
// window, or a PIF below the limit even with all five isotopes matched. Not used with traces,
// whose printed quantities need the full measurement.
bool surelyRejected(const ScanWindow& window, const std::vector<Peak>& peaks, double mz, std::int32_t charge) {
  if (window.trace || window.total <= 0.0 || window.width <= 0.0) return false;
  if (mz > window.center + window.upperHalf + kWindowMargin) return true;
  const double bestMatched = matchedIntensity(window, peaks, mz, charge, kIsotopePeaks, true);
  return precursorIonFraction(window, bestMatched) < kMinimumPif;
}

bool rejectedBy(const ScanWindow& window, bool rejects, double quantity, const char* label) {
  if (window.trace) std::printf("%g%s\n", quantity, label);
  return rejects;
}

// The isotopes 0..isoLen-1 of the pair that lie inside the window, its edges widened by the margin.
std::int32_t isotopesInWindow(const ScanWindow& window, double mz, std::int32_t charge, std::int32_t isoLen) {
  const double low = window.center - window.lowerHalf - kWindowMargin;
  const double high = window.center + window.upperHalf + kWindowMargin;
  std::int32_t inWindow = 0;
  for (std::int32_t k = 0; k < isoLen; ++k) {
    const double isotopeMz = mz + k * kIsotopeSpacing / charge;
    if (low < isotopeMz && isotopeMz < high) {
      ++inWindow;
    }
  }
  return inWindow;
}

// The preliminary filters in their order, each printed with traces.
bool passesFilters(const DetectionSettings& settings, const ScanWindow& window, const PairMeasure& pair) {
  const double mz = pair.mz;
  const std::int32_t charge = pair.charge;
  if (rejectedBy(window, pair.pif < kMinimumPif, pair.pif, " PIF<0.04")) return false;
  if (rejectedBy(window, charge >= 4 && pair.isoLen < 3, pair.isoLen, " chg>3 && IsoLen<3 ")) return false;
  if (rejectedBy(window, pair.isoLen < 2, pair.isoLen, " IsoLen<2 ")) return false;
  if (rejectedBy(window, mz > window.center + window.upperHalf + kWindowMargin, mz, " PrecursorCandidate AC ")) {
    return false;
  }
  // Halfway up the upper half: W/4 above the center for a window centred on it.
  const bool quarterException = charge == 2 && mz <= window.center + window.upperHalf * 0.5;
  const bool singleAllowed = settings.precisionCandidates && pair.isoPeakInWindow >= 1;
  const bool tooFewInWindow = pair.isoPeakInWindow < 2 && !quarterException && !singleAllowed;
  if (rejectedBy(window, tooFewInWindow, pair.isoPeakInWindow, " IsoPeakInwindow  ")) return false;
  return !rejectedBy(window, pair.maxSim < kMinimumMaxSim, pair.maxSim, " MaxSim<0.5 ");
}

void measureCandidate(const DetectionInput& input, DetectionScratch& scratch, const ScanWindow& window,
                      const PairMeasure& pair, const IsotopePattern& pattern);

void evaluatePair(const DetectionInput& input, DetectionScratch& scratch, const ScanWindow& window,
                  const std::vector<Peak>& peaks, double mz, std::int32_t charge) {
  matchReferenceEntries(input, scratch, mz, charge);
  if (input.settings.coElute == 0 && !coversCenter(window, mz, charge)) return;
  if (window.trace) {
    std::printf("MS2 %dInspect Precursor: MZ %lf charge %d\n", window.scanNumber, mz, charge);
  }
  if (surelyRejected(window, peaks, mz, charge)) return;

  const IsotopeProbe probe{mz, charge, window.tolerance, window.center};
  double* profile = scratch.isotopeProfile.data();
  scratch.isotopeProfile.fill(0.0);
  binIsotopeProfile(scratch.filteredGrid, probe, kProfileFirstIsotope, kLastIsotope, kIsotopeGroupSize, profile,
                    nullptr, nullptr);
  normaliseProfile(profile, kIsotopeGroupSize, kIsotopeProfileSize);
  cutAfterFirstValley(profile, kIsotopeProfileSize, kIsotopeGroupSize, scratch.valleys);

  const IsotopePattern pattern = isotopePattern(*input.isotopes, charge * mz - charge * kCandidateProtonMass);
  PairMeasure pair;
  pair.mz = mz;
  pair.charge = charge;
  pair.maxSim = bestPatternCorrelation(scratch, pattern);
  pair.isoLen = isotopeLength(profile);
  pair.isoPeakInWindow = isotopesInWindow(window, mz, charge, pair.isoLen);
  pair.pif = precursorIonFraction(window, matchedIntensity(window, peaks, mz, charge, pair.isoLen, false));
  if (passesFilters(input.settings, window, pair)) measureCandidate(input, scratch, window, pair, pattern);
}

// The remaining features of a pair that passed the filters, and its record.
void measureCandidate(const DetectionInput& input, DetectionScratch& scratch, const ScanWindow& window,
                      const PairMeasure& pair, const IsotopePattern& pattern) {
  const double mz = pair.mz;
  const std::int32_t charge = pair.charge;
  const IsotopeProbe probe{mz, charge, window.tolerance, window.center};
  double* extended = scratch.extendedProfile.data();
  scratch.extendedProfile.fill(0.0);
  scratch.extendedError.fill(0.0);
  scratch.extendedErrorCount.fill(0);
  binIsotopeProfile(scratch.filteredGrid, probe, kExtendedFirstIsotope, kLastIsotope, kExtendedGroupSize, extended,
                    scratch.extendedError.data(), scratch.extendedErrorCount.data());
  normaliseProfile(extended, kExtendedGroupSize, kExtendedProfileSize);
  cutAfterFirstValley(extended, kExtendedProfileSize, kExtendedGroupSize, scratch.valleys);

  const double* profile = scratch.isotopeProfile.data();
  double isotopeShare = 0.0;
  for (int group = 1; group < kProfileGroups; ++group) {
    for (int slot = 1; slot < kIsotopeGroupSize; ++slot) isotopeShare += profile[group * kIsotopeGroupSize + slot];
  }

  PrecursorCandidate candidate;
  candidate.features.assign(kDetectedFeatureCount, 0.0);
  PrecursorFeatures& f = candidate.features;
  f[kFeatureCharge] = charge;
  f[kFeatureMaxSim] = pair.maxSim;
  f[kFeatureMzSpread] = mzSpread(scratch.contextPeaks, mz);
  f[kFeatureMonoPlusOneCosine] = elutionCosine(profile, kIsotopeGroupSize, 1, 2);
  f[kFeatureIsotopeShare] = isotopeShare;
  f[kFeatureMinusOneMonoCosine] = elutionCosine(profile, kIsotopeGroupSize, 0, 1);
  f[kFeatureIsoPeakInWindow] = pair.isoPeakInWindow;
  f[kFeatureIsoLen] = pair.isoLen;
  f[kFeatureChargeTimesMz] = charge * mz;
  f[kFeatureElutionBoundaryCount] = elutionBoundaryCount(profile, scratch.bestRow, scratch.valleys);
  f[kFeaturePif] = pair.pif;
  f[kFeatureShiftedSimilarityOne] = shiftedSimilarity(scratch, pattern, 1);
  f[kFeatureShiftedSimilarityTwo] = shiftedSimilarity(scratch, pattern, 2);
  candidate.record.scan = window.scanNumber;
  candidate.record.charge = charge;
  candidate.record.mz = recalibratedMz(input, scratch, mz);
  if (input.settings.precisionCandidates) candidate.windowShare = windowShare(window, candidate.record.mz, charge);
  scratch.scanCandidates.push_back(std::move(candidate));
}

// Sorts the gathered peaks and, with cut_similiar_mono "1", merges near ones; traces print both.
void prepareGatheredPeaks(const DetectionSettings& settings, DetectionScratch& scratch, std::vector<Peak>& peaks) {
  const bool trace = settings.debugMode == DebugMode::kSingleScan;
  sortByMz(peaks);
  if (trace) {
    std::printf("Peaks in candidates before cut similar Begin\n");
    printPeaks(peaks);
    std::printf("End\n");
  }
  if (!settings.cutSimilarMono) return;
  mergeNearPeaks(peaks, scratch.removalMarks);
  if (trace) {
    std::printf("Peaks in candidates after cut: \n");
    printPeaks(peaks);
  }
  sortByMz(peaks);
}

}  // namespace

double isolationWidth(const DetectionInput& input) { return input.settings.isolationWidth; }

double recalibratedMz(const DetectionInput& input, const DetectionScratch& scratch, double mz) {
  const double window = mz * input.settings.recalibrateWindow * 1e-6;
  const double low = mz - window;
  const double high = mz + window;
  const std::vector<Peak>& peaks = scratch.contextPeaks;
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

void detectCandidates(const DetectionInput& input, DetectionScratch& scratch, DetectionOutput& output,
                      double activationCenter, std::int32_t scanNumber, std::vector<Peak>& gatheredPeaks,
                      const StatedIsolation& stated) {
  prepareGatheredPeaks(input.settings, scratch, gatheredPeaks);
  const ScanWindow window = makeScanWindow(input, scratch, activationCenter, scanNumber, gatheredPeaks, stated);
  collectReferenceEntries(input, scratch, scanNumber);
  scratch.scanCandidates.clear();
  for (std::size_t p = 0; p + 1 < gatheredPeaks.size(); ++p) {
    for (std::int32_t charge = kFirstCharge; charge <= kLastCharge; ++charge) {
      evaluatePair(input, scratch, window, gatheredPeaks, gatheredPeaks[p].mz, charge);
    }
  }
  reportMatchedEntries(scratch, output);
  const std::size_t survivors = scratch.scanCandidates.size();
  const std::size_t kept = finishScanCandidates(input.settings, scratch, output);
  if (input.settings.debugMode == DebugMode::kSingleScan) {
    std::printf("output len = %d\n", static_cast<int>(output.records.size()));
    std::printf("PrecursorNum = %d\n", static_cast<int>(survivors));
    std::printf("After prelimenary filtering...\n");
    std::printf("Precursors left = %d\n", static_cast<int>(kept));
  }
}

}  // namespace corvid
