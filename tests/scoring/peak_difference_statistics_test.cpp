#include "scoring/peak_difference_statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "platform/run_log.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::readFile;
using corvid::testing::StdoutCapture;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

MS2Spectrum spectrumOf(std::initializer_list<Peak> peaks) {
  MS2Spectrum spectrum;
  spectrum.peaks = peaks;
  return spectrum;
}

std::vector<double> mzOf(const MS2Spectrum& spectrum) {
  std::vector<double> mz;
  for (const Peak& peak : spectrum.peaks) mz.push_back(peak.mz);
  return mz;
}

std::vector<double> differencesOf(MS2Spectrum spectrum) {
  std::vector<double> differences;
  topPeakDifferences(spectrum, differences);
  return differences;
}

std::uint64_t totalCount(const PeakDifferenceHistogram& histogram) {
  return std::accumulate(histogram.bins.begin(), histogram.bins.end(), std::uint64_t{0});
}

// Counts the spectra with assessTopMS2, keeping its console line and log lines out of the way.
PeakDifferenceHistogram assessed(std::vector<MS2Spectrum> spectra) {
  PeakDifferenceHistogram histogram;
  StdoutCapture capture;
  assessTopMS2(histogram, spectra);
  capture.text();
  discardRunLog();
  return histogram;
}

std::string zeros(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += "0\t";
  return text;
}

// ---------------------------------------------------------------- isotope removal

TEST(RemoveIsotopePeaks, SecondOfTwoPeaksOneIsotopeApartIsRemoved) {
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {501.003, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_EQ(mzOf(spectrum), (std::vector<double>{500.0}));
  EXPECT_EQ(spectrum.peaks[0].intensity, 100.0);
}

TEST(RemoveIsotopePeaks, BothPeaksAtChargeTwoSpacingAreRemoved) {
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {500.5015, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_TRUE(spectrum.peaks.empty());
}

TEST(RemoveIsotopePeaks, BothPeaksAtChargeThreeSpacingAreRemoved) {
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {500.3343, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_TRUE(spectrum.peaks.empty());
}

TEST(RemoveIsotopePeaks, SinglyChargedSeriesKeepsItsFirstPeak) {
  MS2Spectrum spectrum =
      spectrumOf({{400.0, 1.0}, {500.0, 100.0}, {501.003, 60.0}, {502.006, 20.0}, {600.0, 5.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_EQ(mzOf(spectrum), (std::vector<double>{400.0, 500.0, 600.0}));
}

TEST(RemoveIsotopePeaks, ChargeTwoSpacingOfTheThirdMultipleRemovesBoth) {
  // 1.5045 = 3 x 1.003 / 2: no match for k = 1 or 2, a charge-2 match for k = 3.
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {501.5045, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_TRUE(spectrum.peaks.empty());
}

TEST(RemoveIsotopePeaks, ChargeThreeSpacingOfTheFourthMultipleRemovesBoth) {
  // 1.3373 = 4 x 1.003 / 3 matches no spacing of k = 1 to 3.
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {501.3373, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_TRUE(spectrum.peaks.empty());
}

TEST(RemoveIsotopePeaks, FirstMatchingMultipleDecides) {
  // 2.006 Th is 2 x 1.003 (charge 1, k = 2) before it is 4 x 1.003 / 2 (charge 2, k = 4): only
  // the later peak goes.
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {502.006, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_EQ(mzOf(spectrum), (std::vector<double>{500.0}));
}

TEST(RemoveIsotopePeaks, ToleranceIsStrictlyBelowTwoHundredthsTh) {
  MS2Spectrum inside = spectrumOf({{500.0, 100.0}, {501.0229, 50.0}});
  removeIsotopePeaks(inside);
  EXPECT_EQ(mzOf(inside), (std::vector<double>{500.0}));

  MS2Spectrum outside = spectrumOf({{500.0, 100.0}, {501.0231, 50.0}});
  removeIsotopePeaks(outside);
  EXPECT_EQ(mzOf(outside), (std::vector<double>{500.0, 501.0231}));
}

TEST(RemoveIsotopePeaks, SearchStopsAtThreeTh) {
  // 3.009 Th is the third singly charged isotope, but lies past the 3.0 Th stop.
  MS2Spectrum beyond = spectrumOf({{500.0, 100.0}, {503.009, 50.0}});
  removeIsotopePeaks(beyond);
  EXPECT_EQ(mzOf(beyond), (std::vector<double>{500.0, 503.009}));

  // 2.995 Th is within 0.02 of 3.009 and below the stop: removed.
  MS2Spectrum within = spectrumOf({{500.0, 100.0}, {502.995, 50.0}});
  removeIsotopePeaks(within);
  EXPECT_EQ(mzOf(within), (std::vector<double>{500.0}));
}

TEST(RemoveIsotopePeaks, SearchStopsAtTheFirstPeakBeyondThreeTh) {
  // Out-of-order input: the search from 500.0 stops at 504.0 and never reaches 501.003.
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {504.0, 10.0}, {501.003, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_EQ(mzOf(spectrum), (std::vector<double>{500.0, 504.0, 501.003}));
}

TEST(RemoveIsotopePeaks, AlreadyMarkedPeakStillMarksAnEarlierPeak) {
  // 502.006 is marked from 500.0 (k = 2, charge 1); 501.6717 matches nothing from 500.0 but lies a
  // charge-3 spacing below 502.006, so it is removed too when 502.006 is visited again as a
  // partner.
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {501.6717, 30.0}, {502.006, 50.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_EQ(mzOf(spectrum), (std::vector<double>{500.0}));
}

TEST(RemoveIsotopePeaks, MarkedPeakStartsNoSearchOfItsOwn) {
  // 501.003 is marked from 500.0; 503.009 lies past the 3.0 Th stop from 500.0 and would match
  // 2 x 1.003 from 501.003, but a marked peak is not searched from, so 503.009 stays.
  MS2Spectrum spectrum = spectrumOf({{500.0, 100.0}, {501.003, 50.0}, {503.009, 20.0}});
  removeIsotopePeaks(spectrum);
  EXPECT_EQ(mzOf(spectrum), (std::vector<double>{500.0, 503.009}));
}

TEST(RemoveIsotopePeaks, EmptyAndSinglePeakSpectraAreUnchanged) {
  MS2Spectrum empty;
  removeIsotopePeaks(empty);
  EXPECT_TRUE(empty.peaks.empty());
  MS2Spectrum single = spectrumOf({{500.0, 1.0}});
  removeIsotopePeaks(single);
  EXPECT_EQ(mzOf(single), (std::vector<double>{500.0}));
}

TEST(RemoveIsotopePeaks, NonFiniteMzDoesNotMatchAnything) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  MS2Spectrum spectrum = spectrumOf({{nan, 1.0}, {500.0, 2.0}, {501.003, 3.0}, {inf, 4.0}});
  removeIsotopePeaks(spectrum);
  ASSERT_EQ(spectrum.peaks.size(), 3u);
  EXPECT_TRUE(std::isnan(spectrum.peaks[0].mz));
  EXPECT_EQ(spectrum.peaks[1].mz, 500.0);
  EXPECT_EQ(spectrum.peaks[2].mz, inf);
}

// ---------------------------------------------------------------- differences of one spectrum

TEST(TopPeakDifferences, FewerThanTwoPeaksAddNothing) {
  EXPECT_TRUE(differencesOf(MS2Spectrum{}).empty());
  EXPECT_TRUE(differencesOf(spectrumOf({{500.0, 1.0}})).empty());
}

TEST(TopPeakDifferences, PairsUpToExactlyTwoHundredThAreListed) {
  // Input in intensity order; the pairs are taken in m/z order: 50, then 250 stops the first peak,
  // then exactly 200.0 is still listed.
  const std::vector<double> differences =
      differencesOf(spectrumOf({{350.0, 3.0}, {100.0, 2.0}, {150.0, 1.0}}));
  EXPECT_EQ(differences, (std::vector<double>{50.0, 200.0}));
}

TEST(TopPeakDifferences, AppendsToTheCallersList) {
  std::vector<double> differences{7.0};
  MS2Spectrum spectrum = spectrumOf({{100.0, 1.0}, {110.0, 1.0}});
  topPeakDifferences(spectrum, differences);
  EXPECT_EQ(differences, (std::vector<double>{7.0, 10.0}));
}

TEST(TopPeakDifferences, OnlyTheTwoHundredMostIntensePeaksArePaired) {
  MS2Spectrum spectrum;
  // 50 weak peaks at low m/z, interleaved in the input with 200 strong ones 1000..1199 Th.
  for (int i = 0; i < 200; ++i) {
    spectrum.peaks.push_back({1000.0 + i, 1000.0 + i});
    if (i < 50) spectrum.peaks.push_back({100.0 + i, 1.0 + i});
  }
  std::vector<double> differences;
  topPeakDifferences(spectrum, differences);
  // All 200 x 199 / 2 pairs of the strong peaks are within 200 Th; any weak peak taken instead
  // would lose pairs (weak and strong peaks are more than 200 Th apart).
  EXPECT_EQ(differences.size(), 19900u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(spectrum.peaks[i].mz, 1000.0 + i) << i;
}

TEST(TopPeakDifferences, EqualIntensitiesAtTheCutKeepTheEarlierPeaks) {
  MS2Spectrum spectrum;
  for (int i = 0; i < 205; ++i) spectrum.peaks.push_back({100.0 + i, 5.0});
  std::vector<double> differences;
  topPeakDifferences(spectrum, differences);
  EXPECT_EQ(differences.size(), 19900u);
  ASSERT_EQ(spectrum.peaks.size(), 205u);
  // The sort by intensity is stable: the first 200 in input order are kept, all in order.
  for (int i = 0; i < 205; ++i) EXPECT_EQ(spectrum.peaks[i].mz, 100.0 + i) << i;
}

TEST(TopPeakDifferences, LeavesTheSpectrumReordered) {
  MS2Spectrum small = spectrumOf({{300.0, 1.0}, {100.0, 3.0}, {200.0, 2.0}});
  std::vector<double> differences;
  topPeakDifferences(small, differences);
  EXPECT_EQ(mzOf(small), (std::vector<double>{100.0, 200.0, 300.0}));

  // 203 peaks in descending m/z with intensity rising with the position: the three first peaks
  // (highest m/z, weakest) end up last, by descending intensity; the rest by ascending m/z.
  MS2Spectrum large;
  for (int i = 0; i < 203; ++i) large.peaks.push_back({1000.0 - i, 1.0 + i});
  differences.clear();
  topPeakDifferences(large, differences);
  ASSERT_EQ(large.peaks.size(), 203u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(large.peaks[i].mz, 798.0 + i) << i;
  EXPECT_EQ(large.peaks[200].mz, 998.0);
  EXPECT_EQ(large.peaks[201].mz, 999.0);
  EXPECT_EQ(large.peaks[202].mz, 1000.0);
  EXPECT_EQ(large.peaks[200].intensity, 3.0);
  EXPECT_EQ(large.peaks[202].intensity, 1.0);
}

TEST(TopPeakDifferences, NaNIntensityCountsAsWeakest) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  MS2Spectrum spectrum;
  spectrum.peaks.push_back({50.0, nan});
  for (int i = 0; i < 200; ++i) spectrum.peaks.push_back({100.0 + i, 1.0 + i});
  std::vector<double> differences;
  topPeakDifferences(spectrum, differences);
  EXPECT_EQ(differences.size(), 19900u);
  EXPECT_EQ(spectrum.peaks.back().mz, 50.0);
}

// ---------------------------------------------------------------- counting

TEST(AssessTopMS2, PrintsItsLine) {
  std::vector<MS2Spectrum> spectra;
  PeakDifferenceHistogram histogram;
  StdoutCapture capture;
  assessTopMS2(histogram, spectra);
  EXPECT_EQ(capture.text(), "AssessTopMS2\n");
  discardRunLog();
}

TEST(AssessTopMS2, SpectrumWithFewerThanTwoPeaksAddsNothing) {
  const PeakDifferenceHistogram histogram = assessed({MS2Spectrum{}, spectrumOf({{500.0, 1.0}})});
  EXPECT_EQ(histogram.bins.size(), kPeakDifferenceBinCount + 1);
  EXPECT_EQ(totalCount(histogram), 0u);
}

TEST(AssessTopMS2, DifferenceOf57_021ThIsCountedInBin57021) {
  // Both peaks below 64 Th share one binary exponent range, so the difference is exactly the
  // double nearest 57.021.
  const MS2Spectrum spectrum = spectrumOf({{4.5, 10.0}, {61.521, 5.0}});
  ASSERT_EQ(spectrum.peaks[1].mz - spectrum.peaks[0].mz, 57.021);
  const PeakDifferenceHistogram histogram = assessed({spectrum});
  EXPECT_EQ(histogram.bins[57021], 1u);
  EXPECT_EQ(totalCount(histogram), 1u);
}

TEST(AssessTopMS2, DifferenceJustBelowABinEdgeFallsInTheBinBelow) {
  // 557.021 - 500.0 computes to 57.020999999999958, a hair below 57.021.
  const MS2Spectrum rounded = spectrumOf({{500.0, 10.0}, {557.021, 5.0}});
  ASSERT_LT(rounded.peaks[1].mz - rounded.peaks[0].mz, 57.021);
  const PeakDifferenceHistogram histogram = assessed({rounded});
  EXPECT_EQ(histogram.bins[57020], 1u);
  EXPECT_EQ(histogram.bins[57021], 0u);

  // The largest double below 57.021 as a difference.
  const MS2Spectrum below = spectrumOf({{4.5, 10.0}, {std::nextafter(61.521, 0.0), 5.0}});
  ASSERT_EQ(below.peaks[1].mz - below.peaks[0].mz, std::nextafter(57.021, 0.0));
  const PeakDifferenceHistogram belowHistogram = assessed({below});
  EXPECT_EQ(belowHistogram.bins[57020], 1u);
  EXPECT_EQ(totalCount(belowHistogram), 1u);
}

TEST(AssessTopMS2, BinIndexDividesByTheRangeBeforeMultiplying) {
  // 3.625 is exact in binary, but 3.625 / 200.0 * 200000 computes to just under 3625.
  const MS2Spectrum spectrum = spectrumOf({{300.0, 10.0}, {303.625, 5.0}});
  ASSERT_EQ(spectrum.peaks[1].mz - spectrum.peaks[0].mz, 3.625);
  const PeakDifferenceHistogram histogram = assessed({spectrum});
  EXPECT_EQ(histogram.bins[3624], 1u);
  EXPECT_EQ(histogram.bins[3625], 0u);
}

TEST(AssessTopMS2, DifferenceOfExactlyTwoHundredThGoesToTheSpareBinWithAnAlert) {
  std::vector<MS2Spectrum> spectra{spectrumOf({{100.0, 10.0}, {300.0, 5.0}})};
  PeakDifferenceHistogram histogram;
  discardRunLog();
  StdoutCapture capture;
  assessTopMS2(histogram, spectra);
  const std::string alert =
      "AssessTopMS2: 1 peak differences of exactly 200.0 Th lie beyond the last bin and are not "
      "written to the frequency file";
  EXPECT_EQ(capture.text(), "AssessTopMS2\n[Corvid] " + alert + " \n");
  EXPECT_NE(std::find(runLogLines().begin(), runLogLines().end(), alert), runLogLines().end());
  discardRunLog();
  ASSERT_EQ(histogram.bins.size(), kPeakDifferenceBinCount + 1);
  EXPECT_EQ(histogram.bins[kPeakDifferenceBinCount], 1u);
  EXPECT_EQ(histogram.bins[kPeakDifferenceBinCount - 1], 0u);
  EXPECT_EQ(totalCount(histogram), 1u);

  TempDir dir;
  ASSERT_TRUE(writeFrequencyFile(histogram, dir.file("f.txt")));
  EXPECT_EQ(readFile(dir.file("f.txt")), zeros(kPeakDifferenceBinCount));
}

TEST(AssessTopMS2, ResetsTheBinsAndCountsAllSpectra) {
  PeakDifferenceHistogram histogram;
  std::fill(histogram.bins.begin(), histogram.bins.end(), 9u);
  std::vector<MS2Spectrum> spectra{spectrumOf({{300.0, 1.0}, {303.625, 1.0}}),
                                   spectrumOf({{400.0, 1.0}, {403.625, 1.0}, {410.0, 1.0}})};
  StdoutCapture capture;
  assessTopMS2(histogram, spectra);
  capture.text();
  EXPECT_EQ(histogram.bins[3624], 2u);
  EXPECT_EQ(histogram.bins[10000], 1u);  // 410.0 - 400.0
  EXPECT_EQ(histogram.bins[6375], 1u);   // 410.0 - 403.625
  EXPECT_EQ(totalCount(histogram), 4u);
}

TEST(AssessTopMS2, HistogramOfAnotherSizeIsResized) {
  PeakDifferenceHistogram histogram;
  histogram.bins.assign(10, 1u);
  std::vector<MS2Spectrum> spectra{spectrumOf({{300.0, 1.0}, {303.625, 1.0}})};
  StdoutCapture capture;
  assessTopMS2(histogram, spectra);
  capture.text();
  EXPECT_EQ(histogram.bins.size(), kPeakDifferenceBinCount + 1);
  EXPECT_EQ(totalCount(histogram), 1u);
}

TEST(AssessTopMS2, NonFiniteMzIsNotCountedAndRaisesAnAlert) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<MS2Spectrum> spectra{
      spectrumOf({{nan, 5.0}, {100.0, 4.0}, {150.0, 3.0}, {inf, 2.0}, {inf, 1.0}})};
  PeakDifferenceHistogram histogram;
  discardRunLog();
  StdoutCapture capture;
  assessTopMS2(histogram, spectra);
  const std::string console = capture.text();
  discardRunLog();
  // In m/z order 100, 150, inf, inf, NaN: 50.0 is counted, 100 and 150 stop at the first inf,
  // and inf - inf and both inf to NaN are not numbers.
  EXPECT_EQ(histogram.bins[50000], 1u);
  EXPECT_EQ(totalCount(histogram), 1u);
  EXPECT_EQ(console,
            "AssessTopMS2\n[Corvid] AssessTopMS2: 3 peak differences were not numbers (a peak m/z "
            "that is not finite) and were not counted \n");
}

TEST(CountPeakDifferences, CountPastTheMaximumWrapsAndIsTallied) {
  PeakDifferenceHistogram histogram;
  histogram.bins[0] = std::numeric_limits<std::uint32_t>::max();
  PeakDifferenceTally tally;
  countPeakDifferences({0.0, 0.0}, histogram, tally);
  EXPECT_EQ(histogram.bins[0], 1u);
  EXPECT_EQ(tally.wrapped, 1u);
  EXPECT_EQ(tally.notANumber, 0u);
}

TEST(CountPeakDifferences, ValuesOutsideTheRangeAreNotCounted) {
  PeakDifferenceHistogram histogram;
  PeakDifferenceTally tally;
  countPeakDifferences({-1.0, 200.5, std::numeric_limits<double>::quiet_NaN(), 0.011}, histogram,
                       tally);
  EXPECT_EQ(tally.notANumber, 3u);
  EXPECT_EQ(histogram.bins[10], 1u);  // 0.011 / 200.0 * 200000 is just under 11
  EXPECT_EQ(totalCount(histogram), 1u);
}

// ---------------------------------------------------------------- the file

TEST(WriteFrequencyFile, OneLineOfTabTerminatedCountsWithoutLineEnd) {
  PeakDifferenceHistogram histogram;
  histogram.bins[0] = 3;
  histogram.bins[57021] = 12;
  histogram.bins[kPeakDifferenceBinCount - 1] = 4294967295u;
  histogram.bins[kPeakDifferenceBinCount] = 7;  // spare bin: never written
  TempDir dir;
  const std::string path = dir.file("run.ms2.freq.txt");
  ASSERT_TRUE(writeFrequencyFile(histogram, path));
  const std::string content = readFile(path);
  const std::string expected =
      "3\t" + zeros(57020) + "12\t" + zeros(kPeakDifferenceBinCount - 57023) + "4294967295\t";
  EXPECT_EQ(content, expected);
  EXPECT_EQ(static_cast<std::size_t>(std::count(content.begin(), content.end(), '\t')),
            kPeakDifferenceBinCount);
  EXPECT_EQ(content.find_first_of("\r\n"), std::string::npos);
  EXPECT_EQ(content.size(), 2 * kPeakDifferenceBinCount + 1 + 9);
}

TEST(WriteFrequencyFile, ReplacesAnExistingFile) {
  TempDir dir;
  const std::string path = dir.file("old.freq.txt");
  writeFile(path, std::string(1000000, 'x'));
  ASSERT_TRUE(writeFrequencyFile(PeakDifferenceHistogram{}, path));
  EXPECT_EQ(readFile(path), zeros(kPeakDifferenceBinCount));
}

TEST(WriteFrequencyFile, FileThatCannotBeCreatedGivesFalseAndAnErrorLine) {
  TempDir dir;
  const std::string path = dir.file("missing-folder/run.ms2.freq.txt");
  discardRunLog();
  StdoutCapture capture;
  const bool written = writeFrequencyFile(PeakDifferenceHistogram{}, path);
  const std::string console = capture.text();
  const std::string message = "Cannot create the peak-difference statistics file " + path;
  EXPECT_FALSE(written);
  EXPECT_EQ(console, "[Corvid] " + message + " \n");
  EXPECT_NE(std::find(runLogLines().begin(), runLogLines().end(), message), runLogLines().end());
  discardRunLog();
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(WriteFrequencyFile, FolderInPlaceOfTheFileGivesFalse) {
  TempDir dir;
  StdoutCapture capture;
  EXPECT_FALSE(writeFrequencyFile(PeakDifferenceHistogram{}, dir.path().string()));
  EXPECT_NE(capture.text().find("Cannot create the peak-difference statistics file"),
            std::string::npos);
  discardRunLog();
}

// ---------------------------------------------------------------- the whole mode

TEST(WritePeakDifferenceStatistics, RemovesIsotopesCountsAndWritesBesideTheMS2File) {
  MS2File file;
  // 5.503 is the isotope of 4.5 and is removed first; 4.5 to 61.521 is exactly 57.021.
  file.spectra.push_back(spectrumOf({{4.5, 10.0}, {5.503, 4.0}, {61.521, 8.0}}));
  file.spectra.push_back(spectrumOf({{303.625, 1.0}, {300.0, 2.0}}));
  file.spectra.push_back(MS2Spectrum{});
  TempDir dir;
  const std::string ms2Path = dir.file("run.ms2");
  discardRunLog();
  StdoutCapture capture;
  writePeakDifferenceStatistics(file, ms2Path);
  EXPECT_EQ(capture.text(), "AssessTopMS2\n");
  discardRunLog();

  EXPECT_EQ(mzOf(file.spectra[0]), (std::vector<double>{4.5, 61.521}));
  // Left in m/z order by the difference step although it was loaded the other way round.
  EXPECT_EQ(mzOf(file.spectra[1]), (std::vector<double>{300.0, 303.625}));
  const std::string expected =
      zeros(3624) + "1\t" + zeros(57021 - 3625) + "1\t" + zeros(kPeakDifferenceBinCount - 57022);
  EXPECT_EQ(readFile(dir.file("run.ms2.freq.txt")), expected);
}

TEST(WritePeakDifferenceStatistics, UnwritableFolderReportsAnErrorAndDoesNotCrash) {
  MS2File file;
  file.spectra.push_back(spectrumOf({{100.0, 1.0}, {110.0, 1.0}}));
  TempDir dir;
  const std::string ms2Path = dir.file("gone/run.ms2");
  discardRunLog();
  StdoutCapture capture;
  writePeakDifferenceStatistics(file, ms2Path);
  EXPECT_EQ(capture.text(),
            "AssessTopMS2\n[Corvid] Cannot create the peak-difference statistics file " + ms2Path +
                ".freq.txt \n");
  discardRunLog();
}

TEST(WritePeakDifferenceStatistics, BadPeakValuesDoNotCrash) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const double huge = std::numeric_limits<double>::max();
  MS2File file;
  MS2Spectrum wild;
  for (int i = 0; i < 600; ++i) {
    const double values[] = {nan, inf, -inf, huge, -huge, 0.0, -0.0, 1e-300, 500.0 + i};
    wild.peaks.push_back({values[i % 9], values[(i * 7) % 9]});
  }
  file.spectra.push_back(wild);
  TempDir dir;
  StdoutCapture capture;
  writePeakDifferenceStatistics(file, dir.file("wild.ms2"));
  const std::string console = capture.text();
  discardRunLog();
  EXPECT_EQ(console.rfind("AssessTopMS2\n", 0), 0u);
  const std::string content = readFile(dir.file("wild.ms2.freq.txt"));
  EXPECT_EQ(static_cast<std::size_t>(std::count(content.begin(), content.end(), '\t')),
            kPeakDifferenceBinCount);
}

}  // namespace
}  // namespace corvid
