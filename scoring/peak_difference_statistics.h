#pragma once
// Diagnostic peak-difference statistics of an MS2 file: how often each m/z difference between the
// strong fragment peaks of all MS2 spectra occurs, in bins of 0.001 Th from 0 to 200 Th. The
// histogram is written as one line of tab-terminated counts beside the MS2 file.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "spectra/spectrum_records.h"

namespace corvid {

// 200 Th at 0.001 Th per bin: the range covers the residue masses and their small combinations.
inline constexpr std::size_t kPeakDifferenceBinCount = 200000;
inline constexpr double kPeakDifferenceRange = 200.0;
// Only the most intense peaks of a spectrum are paired: bounds the work at 19,900 pairs a spectrum.
inline constexpr std::size_t kTopPeakCount = 200;
// Room for the differences of one spectrum; 19,900 at most, so the list never grows.
inline constexpr std::size_t kDifferenceListReserve = 100000;
// Isotope spacing of a singly charged ion and the tolerance of an isotope match, in Th.
inline constexpr double kIsotopeSpacing = 1.003;
inline constexpr double kIsotopeTolerance = 0.02;
// The isotope search from a peak stops at the first later peak more than 3.0 Th away, which keeps
// the removal near-linear. The spacings tested reach 4 x 1.003 Th, so the third isotope of a singly
// charged ion (3.009 Th) matches only in the part of its window below 3.0 Th, the fourth never.
inline constexpr double kIsotopeSearchWindow = 3.0;

struct PeakDifferenceHistogram {
  // Bin b counts the differences d with (d / 200.0 * 200000) truncated == b. One spare bin past the
  // last receives differences of exactly 200.0 Th; it is never written to the file.
  std::vector<std::uint32_t> bins = std::vector<std::uint32_t>(kPeakDifferenceBinCount + 1, 0);
};

// What counting could not record faithfully; reported once after all spectra.
struct PeakDifferenceTally {
  std::uint64_t notANumber = 0;  // NaN (from a non-finite m/z) or outside 0..200 Th: not counted
  std::uint64_t wrapped = 0;     // increments that took a 32-bit count past its maximum back to 0
};

// Drops the peaks marked as isotope peaks, keeping the rest in order. Expects ascending m/z (the
// loaded order): the search from each peak stops at the first later peak more than 3.0 Th away.
void removeIsotopePeaks(MS2Spectrum& spectrum);

// Appends to `differences` the m/z differences (at most 200.0 Th) between every pair of the 200
// most intense peaks. The caller clears the list. The spectrum's peaks are left reordered: the
// 200 most intense peaks first, by ascending m/z, then the others by descending intensity. Equal
// intensities keep their previous relative order (stable sort), so the selection is deterministic.
void topPeakDifferences(MS2Spectrum& spectrum, std::vector<double>& differences);

// Adds each difference to its bin (d / 200.0 * 200000, truncated).
void countPeakDifferences(const std::vector<double>& differences,
                          PeakDifferenceHistogram& histogram, PeakDifferenceTally& tally);

// Prints "AssessTopMS2", resets the bins and counts the differences of all spectra (which are left
// reordered as topPeakDifferences leaves them). Logs an "Alert" line for anything not recorded.
void assessTopMS2(PeakDifferenceHistogram& histogram, std::vector<MS2Spectrum>& spectra);

// Writes bins 0 to 199,999 as decimal counts, each followed by one tab, with no line end. Returns
// false and logs an "Error" line when the file cannot be created or written.
bool writeFrequencyFile(const PeakDifferenceHistogram& histogram, const std::string& path);

// The whole diagnostic mode for one loaded MS2 file: isotope peaks removed from every spectrum in
// file order, differences counted, histogram written to ms2Path + ".freq.txt". Ending the program
// afterwards is the caller's business.
void writePeakDifferenceStatistics(MS2File& ms2File, const std::string& ms2Path);

}  // namespace corvid
