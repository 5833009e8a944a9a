#include "scoring/peak_difference_statistics.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>

#include "platform/run_log.h"
#include "platform/run_outcome.h"

namespace corvid {

namespace {

// The isotope multiples tried from a peak: k x 1.003 Th for k = 1 to 4.
constexpr int kIsotopeMultiples = 4;
// Longest decimal form of a 32-bit count plus its tab.
constexpr std::size_t kMaxCountWidth = 11;

// Whether a later peak D Th away lies at the k-th isotope spacing s of charge 1, 2 or 3. `firstToo`
// tells that the match was only at a charge-2 or charge-3 spacing, which removes the first peak.
bool isIsotopeDistance(double distance, bool& firstToo) {
  for (int k = 1; k <= kIsotopeMultiples; ++k) {
    const double spacing = k * kIsotopeSpacing;
    if (std::abs(distance - spacing) < kIsotopeTolerance ||
        std::abs(distance - spacing / 2) < kIsotopeTolerance ||
        std::abs(distance - spacing / 3) < kIsotopeTolerance) {
      firstToo = std::abs(distance - spacing) > kIsotopeTolerance;
      return true;
    }
  }
  return false;
}

// Orders by descending intensity. A NaN intensity counts as the weakest, so the order stays a
// strict weak ordering (the sort cannot misbehave) on bad input; other values compare as usual.
bool moreIntense(const Peak& a, const Peak& b) {
  if (std::isnan(b.intensity)) return !std::isnan(a.intensity);
  return a.intensity > b.intensity;
}

// Orders by ascending m/z, a NaN m/z last for the same reason.
bool lowerMz(const Peak& a, const Peak& b) {
  if (std::isnan(b.mz)) return !std::isnan(a.mz);
  return a.mz < b.mz;
}

void alertUncounted(const PeakDifferenceHistogram& histogram, const PeakDifferenceTally& tally) {
  const std::uint32_t beyondLast = histogram.bins[kPeakDifferenceBinCount];
  if (beyondLast > 0) {
    logMessage(LogLabel::kAlert, "AssessTopMS2: " + std::to_string(beyondLast) +
                            " peak differences of exactly 200.0 Th lie beyond the last bin and are "
                            "not written to the frequency file");
  }
  if (tally.notANumber > 0) {
    logMessage(LogLabel::kAlert,
               "AssessTopMS2: " + std::to_string(tally.notANumber) +
                   " peak differences were not numbers (a peak m/z that is not finite) and "
                   "were not counted");
  }
  if (tally.wrapped > 0) {
    logMessage(LogLabel::kAlert, "AssessTopMS2: " + std::to_string(tally.wrapped) +
                            " times a bin count passed 4294967295 and wrapped around to 0");
  }
}

}  // namespace

void removeIsotopePeaks(MS2Spectrum& spectrum) {
  std::vector<Peak>& peaks = spectrum.peaks;
  const std::size_t count = peaks.size();
  std::vector<std::uint8_t> marked(count, 0);
  for (std::size_t i = 0; i < count; ++i) {
    if (marked[i]) continue;
    for (std::size_t j = i + 1; j < count; ++j) {
      const double distance = peaks[j].mz - peaks[i].mz;
      if (distance > kIsotopeSearchWindow) break;
      bool firstToo = false;
      if (isIsotopeDistance(distance, firstToo)) {
        marked[j] = 1;
        if (firstToo) marked[i] = 1;
      }
    }
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (!marked[i]) peaks[kept++] = peaks[i];
  }
  peaks.resize(kept);
}

void topPeakDifferences(MS2Spectrum& spectrum, std::vector<double>& differences) {
  std::vector<Peak>& peaks = spectrum.peaks;
  std::stable_sort(peaks.begin(), peaks.end(), moreIntense);
  const std::size_t top = std::min(peaks.size(), kTopPeakCount);
  const auto topEnd = peaks.begin() + static_cast<std::ptrdiff_t>(top);
  std::stable_sort(peaks.begin(), topEnd, lowerMz);
  for (std::size_t i = 0; i < top; ++i) {
    for (std::size_t j = i + 1; j < top; ++j) {
      const double difference = peaks[j].mz - peaks[i].mz;
      if (difference > kPeakDifferenceRange) break;
      differences.push_back(difference);
    }
  }
}

void countPeakDifferences(const std::vector<double>& differences,
                          PeakDifferenceHistogram& histogram, PeakDifferenceTally& tally) {
  std::uint32_t* bins = histogram.bins.data();
  for (const double difference : differences) {
    // Peaks are in ascending m/z and differences above 200.0 are never listed, so only a NaN m/z
    // can put a value outside [0, 200.0] here; converting it to an index would be undefined.
    if (!(difference >= 0.0 && difference <= kPeakDifferenceRange)) {
      ++tally.notANumber;
      continue;
    }
    // Division first, then multiplication, truncated: exactly 200.0 gives the spare bin 200000.
    const auto index = static_cast<std::size_t>(difference / kPeakDifferenceRange *
                                                static_cast<double>(kPeakDifferenceBinCount));
    if (++bins[index] == 0) ++tally.wrapped;
  }
}

void assessTopMS2(PeakDifferenceHistogram& histogram, std::vector<MS2Spectrum>& spectra) {
  std::fputs("AssessTopMS2\n", stdout);
  histogram.bins.assign(kPeakDifferenceBinCount + 1, 0);
  std::vector<double> differences;
  differences.reserve(kDifferenceListReserve);
  PeakDifferenceTally tally;
  for (MS2Spectrum& spectrum : spectra) {
    differences.clear();
    topPeakDifferences(spectrum, differences);
    countPeakDifferences(differences, histogram, tally);
  }
  alertUncounted(histogram, tally);
}

bool writeFrequencyFile(const PeakDifferenceHistogram& histogram, const std::string& path) {
  std::string text;
  text.reserve(kPeakDifferenceBinCount * kMaxCountWidth);
  char digits[kMaxCountWidth];
  for (std::size_t bin = 0; bin < kPeakDifferenceBinCount; ++bin) {
    const std::uint32_t count = bin < histogram.bins.size() ? histogram.bins[bin] : 0;
    const auto result = std::to_chars(digits, digits + sizeof digits, count);
    text.append(digits, result.ptr);
    text += '\t';
  }
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    logMessage(LogLabel::kError, "Cannot create the peak-difference statistics file " + path);
    noteRunProblem(RunProblem::kOutputUnwritable);
    return false;
  }
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  const bool closed = std::fclose(file) == 0;
  if (!written || !closed) {
    logMessage(LogLabel::kError, "Cannot write the peak-difference statistics file " + path);
    noteRunProblem(RunProblem::kOutputUnwritable);
    return false;
  }
  return true;
}

void writePeakDifferenceStatistics(MS2File& ms2File, const std::string& ms2Path) {
  for (MS2Spectrum& spectrum : ms2File.spectra) removeIsotopePeaks(spectrum);
  PeakDifferenceHistogram histogram;
  assessTopMS2(histogram, ms2File.spectra);
  writeFrequencyFile(histogram, ms2Path + ".freq.txt");
}

}  // namespace corvid
