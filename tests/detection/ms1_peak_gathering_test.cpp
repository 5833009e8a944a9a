#include "detection/ms1_peak_gathering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "platform/text_file.h"
#include "tests/detection/detection_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using testing::defaultParameters;
using testing::makeMs1File;
using testing::makeScan;

// Scans numbered 1, 3, 5, ... with the given peaks each.
MS1File oddNumberedFile(int count, const std::vector<Peak>& peaks) {
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < count; ++i) scans.push_back(makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  return makeMs1File(std::move(scans));
}

double filteredCell(const testing::Detection& detection, int row, int bin) {
  const ProfileGrid& grid = detection.scratch.filteredGrid;
  return grid.matrix[static_cast<std::size_t>(row * grid.bins + bin)];
}

double wideCell(const testing::Detection& detection, int row, int bin) {
  const ProfileGrid& grid = detection.scratch.wideGrid;
  return grid.matrix[static_cast<std::size_t>(row * grid.bins + bin)];
}

TEST(FindRelatedScan, TakesLastScanStrictlyBelowTheMs2Scan) {
  const MS1File file = oddNumberedFile(10, {});
  const testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  EXPECT_EQ(findRelatedScan(detection.input, 10), 4);  // scan 9
  EXPECT_EQ(findRelatedScan(detection.input, 9), 3);   // scan 9 itself is not below
  EXPECT_EQ(findRelatedScan(detection.input, 1), -1);
  EXPECT_EQ(findRelatedScan(detection.input, 1000), 9);
}

TEST(FindRelatedScan, UnorderedScanNumbersUseTheBackwardsWalk) {
  const MS1File file = makeMs1File({makeScan(5, {}), makeScan(2, {}), makeScan(9, {}), makeScan(1, {})});
  const testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  EXPECT_FALSE(detection.input.ms1ScansAscending);
  EXPECT_EQ(findRelatedScan(detection.input, 6), 3);  // scan 1, the first from the end below 6
  EXPECT_EQ(findRelatedScan(detection.input, 1), -1);
  EXPECT_EQ(findRelatedScan(detection.input, 10), 3);
}

TEST(FindRelatedScan, BinarySearchMatchesBackwardsWalkOnRandomFiles) {
  std::mt19937 random(1234);
  for (int trial = 0; trial < 200; ++trial) {
    std::vector<MS1Spectrum> scans;
    std::uint32_t number = random() % 5;
    const int count = static_cast<int>(random() % 30);
    for (int i = 0; i < count; ++i) {
      number += random() % 3;  // repeats allowed
      scans.push_back(makeScan(number, {}));
    }
    const MS1File file = makeMs1File(scans);
    const testing::Detection detection = testing::makeDetection(defaultParameters(), file);
    ASSERT_TRUE(detection.input.ms1ScansAscending);
    for (std::int64_t ms2 = -2; ms2 < static_cast<std::int64_t>(number) + 3; ++ms2) {
      std::int64_t walked = -1;
      for (std::int64_t i = count - 1; i >= 0; --i) {
        if (static_cast<std::int64_t>(scans[static_cast<std::size_t>(i)].scanNumber) < ms2) {
          walked = i;
          break;
        }
      }
      ASSERT_EQ(findRelatedScan(detection.input, ms2), walked) << "trial " << trial << " ms2 " << ms2;
    }
  }
}

TEST(PeaksWithin, SortedSearchMatchesLinearWalkOnRandomPeaks) {
  std::mt19937 random(42);
  std::uniform_real_distribution<double> mzOf(400.0, 420.0);
  for (int trial = 0; trial < 300; ++trial) {
    std::vector<Peak> peaks(random() % 50);
    for (Peak& peak : peaks) peak = {std::round(mzOf(random) * 100.0) / 100.0, 1.0};  // ties on purpose
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    const double center = std::round(mzOf(random) * 100.0) / 100.0;
    const double low = center - 3.0;
    const double high = center + 3.0;
    std::vector<Peak> walked;
    for (const Peak& peak : peaks) {
      if (peak.mz > high) break;
      if (peak.mz >= low) walked.push_back(peak);
    }
    const PeakRange range = peaksWithin(peaks, low, high);
    ASSERT_EQ(range.last - range.first, walked.size());
    for (std::size_t i = 0; i < walked.size(); ++i) ASSERT_EQ(peaks[range.first + i].mz, walked[i].mz);
  }
}

TEST(GatherMs1Peaks, SortedSearchGathersWhatTheLinearWalkGathers) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> mzOf(480.0, 520.0);
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 120; ++i) {
    std::vector<Peak> peaks(random() % 400);
    for (Peak& peak : peaks) peak = {mzOf(random), 1.0 + static_cast<double>(random() % 1000)};
    std::sort(peaks.begin(), peaks.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  }
  const MS1File file = makeMs1File(scans);
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  for (int trial = 0; trial < 100; ++trial) {
    const double center = 485.0 + 30.0 * (random() % 1000) / 1000.0;
    const auto ms2 = static_cast<std::int32_t>(random() % 250);
    gatherMS1Peaks(detection, ms2, center, gathered);
    // The same peaks and wide grid by linear walks over the scans.
    const std::int64_t related = findRelatedScan(detection.input, ms2);
    std::vector<Peak> expected;
    std::vector<double> wide(static_cast<std::size_t>(kWideGridRows) * 600, 0.0);
    for (std::int64_t index = related - 49; index <= related + 50; ++index) {
      if (index < 0 || index >= 120) continue;
      for (const Peak& peak : scans[static_cast<std::size_t>(index)].peaks) {
        if (peak.mz > center + 3.0) break;
        if (peak.mz < center - 3.0) continue;
        if (index >= related - 4 && index <= related + 5) expected.push_back(peak);
        const auto bin = static_cast<std::int64_t>((peak.mz - center + 3.0) * 100);
        if (bin >= 0 && bin < 600) wide[static_cast<std::size_t>((index - related + 49) * 600 + bin)] += peak.intensity;
      }
    }
    std::sort(expected.begin(), expected.end(),
              [](const Peak& a, const Peak& b) { return a.mz < b.mz || (a.mz == b.mz && a.intensity < b.intensity); });
    ASSERT_EQ(detection.scratch.contextPeaks.size(), expected.size()) << trial;
    for (std::size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(detection.scratch.contextPeaks[i].mz, expected[i].mz);
    ASSERT_EQ(detection.scratch.wideGrid.matrix, wide) << trial;
  }
}

TEST(GatherMs1Peaks, NanPeakMakesTheScanUseTheLinearWalk) {
  const MS1File file = makeMs1File({makeScan(1, {{499.0, 1.0}, {std::nan(""), 1.0}, {500.0, 1.0}})});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  EXPECT_EQ(detection.input.ms1PeaksAscending[0], 0);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, 500.0, gathered);
  EXPECT_EQ(detection.scratch.contextPeaks.size(), 2u);
}

TEST(GatherMs1Peaks, NoRelatedScanGathersNothingFromOffsetsBeforeTheFirstScan) {
  const MS1File file = oddNumberedFile(3, {{500.0, 100.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 0, 500.0, gathered);
  EXPECT_EQ(detection.scratch.relatedScan, -1);
  // Offsets -1 and 0 fall before the file; offset +1 is scan index 0.
  EXPECT_EQ(detection.scratch.gatheredCounts[0], 0);
  EXPECT_EQ(detection.scratch.gatheredCounts[1], 0);
  EXPECT_EQ(detection.scratch.gatheredCounts[2], 1);
  ASSERT_EQ(gathered.size(), 1u);
  // Offsets +1..+3 hold the three scans: rows 5..7, bin 300 (center).
  EXPECT_EQ(filteredCell(detection, 4, 300), 0.0);
  EXPECT_EQ(filteredCell(detection, 5, 300), 100.0);
  EXPECT_EQ(filteredCell(detection, 7, 300), 100.0);
  EXPECT_EQ(filteredCell(detection, 8, 300), 0.0);
  EXPECT_EQ(detection.scratch.contextPeaks.size(), 3u);
}

TEST(GatherMs1Peaks, IndexPastTheEndStopsTheScanLoop) {
  const MS1File file = oddNumberedFile(5, {{500.0, 100.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 100, 500.0, gathered);  // related = last scan (index 4)
  EXPECT_EQ(detection.scratch.relatedScan, 4);
  EXPECT_EQ(detection.scratch.gatheredCounts[2], 0);
  EXPECT_EQ(detection.scratch.contextPeaks.size(), 5u);  // offsets -4..0
  EXPECT_EQ(filteredCell(detection, 0, 300), 100.0);     // offset -4 -> row 0
  EXPECT_EQ(filteredCell(detection, 4, 300), 100.0);     // offset 0 -> row 4
  EXPECT_EQ(filteredCell(detection, 5, 300), 0.0);
}

TEST(GatherMs1Peaks, WindowBoundsAreInclusive) {
  const double center = 500.0;
  const MS1File file = oddNumberedFile(1, {{496.99, 10.0}, {497.0, 10.0}, {503.0, 10.0}, {503.01, 10.0}});
  ParameterTable parameters = defaultParameters();
  testing::Detection detection = testing::makeDetection(parameters, file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, center, gathered);
  ASSERT_EQ(detection.scratch.contextPeaks.size(), 2u);
  EXPECT_EQ(detection.scratch.contextPeaks[0].mz, 497.0);
  EXPECT_EQ(detection.scratch.contextPeaks[1].mz, 503.0);
  // Bin 0 holds center - 3; center + 3 falls on bin 600, outside the grid.
  EXPECT_EQ(filteredCell(detection, 4, 0), 10.0);
  EXPECT_EQ(wideCell(detection, 49, 0), 10.0);
}

TEST(GatherMs1Peaks, PeakAtExactlyTwoPercentOfTheLocalMaximumIsKept) {
  const double center = 500.0;
  const double edge = center + 1.05;  // takes part in the local maximum
  const MS1File file = oddNumberedFile(1, {{499.0, 20.0}, {499.5, 19.999}, {edge, 1000.0}, {502.0, 5.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, center, gathered);
  ASSERT_EQ(gathered.size(), 2u);
  EXPECT_EQ(gathered[0].mz, 499.0);
  EXPECT_EQ(gathered[1].mz, edge);
  EXPECT_EQ(detection.scratch.contextPeaks.size(), 4u);  // the list is filled before filtering
}

TEST(GatherMs1Peaks, PeakAtTheLowerLocalMaximumBoundTakesPart) {
  const double center = 500.0;
  const double edge = center - 1.05;
  const MS1File file = oddNumberedFile(1, {{edge, 1000.0}, {499.5, 19.0}, {500.5, 20.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, center, gathered);
  ASSERT_EQ(gathered.size(), 2u);
  EXPECT_EQ(gathered[0].mz, edge);
  EXPECT_EQ(gathered[1].mz, 500.5);
}

TEST(GatherMs1Peaks, EmptyFileGathersNothing) {
  const MS1File file;
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered = {{1.0, 1.0}};
  gatherMS1Peaks(detection, 5, 500.0, gathered);
  EXPECT_EQ(detection.scratch.relatedScan, -1);
  EXPECT_TRUE(gathered.empty());
  EXPECT_TRUE(detection.scratch.contextPeaks.empty());
}

TEST(GatherMs1Peaks, LocalMaximumIgnoresPeaksBeyondOnePointZeroFiveTh) {
  const double center = 500.0;
  const MS1File file = oddNumberedFile(1, {{498.9, 1000.0}, {499.5, 10.0}, {501.2, 1000.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, center, gathered);
  EXPECT_EQ(gathered.size(), 3u);  // maximum 10: nothing is below 0.2
}

TEST(GatherMs1Peaks, NoiseLevelOfTheScanRemovesWeakerPeaks) {
  MS1File file = oddNumberedFile(1, {{499.0, 40.0}, {500.0, 100.0}});
  file.spectra[0].workValue = 50.0;
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, 500.0, gathered);
  ASSERT_EQ(gathered.size(), 1u);
  EXPECT_EQ(gathered[0].mz, 500.0);
}

TEST(GatherMs1Peaks, GathersPrecedingRelatedAndFollowingScansInThatOrder) {
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 12; ++i) {
    scans.push_back(makeScan(static_cast<std::uint32_t>(10 * (i + 1)), {{500.0 + 0.1 * i, 100.0 + i}}));
  }
  const MS1File file = makeMs1File(scans);
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "check_activationcenter", "0");
  testing::Detection detection = testing::makeDetection(parameters, file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 55, 500.0, gathered);  // related = scan 50, index 4
  ASSERT_EQ(gathered.size(), 3u);
  EXPECT_DOUBLE_EQ(gathered[0].mz, 500.3);
  EXPECT_DOUBLE_EQ(gathered[1].mz, 500.4);
  EXPECT_DOUBLE_EQ(gathered[2].mz, 500.5);
  EXPECT_EQ(detection.scratch.gatheredCounts[0], 1);
  // Ten scans, indices 0..9, in the detection peak list, ascending.
  ASSERT_EQ(detection.scratch.contextPeaks.size(), 10u);
  EXPECT_TRUE(std::is_sorted(detection.scratch.contextPeaks.begin(), detection.scratch.contextPeaks.end(),
                             [](const Peak& a, const Peak& b) { return a.mz < b.mz; }));
  // Filtered grid: index 0 (offset -4) on row 0, bin trunc((500.0 - 500 + 3) * 100) = 300.
  EXPECT_EQ(filteredCell(detection, 0, 300), 100.0);
  // 500.9 - 500 + 3 is 3.8999999999999773 in doubles: truncation puts the peak in bin 389.
  EXPECT_EQ(filteredCell(detection, 9, 389), 109.0);
  EXPECT_EQ(filteredCell(detection, 9, 390), 0.0);
  // Wide grid: index j on row j - 4 + 49.
  EXPECT_EQ(wideCell(detection, 45, 300), 100.0);
  EXPECT_EQ(wideCell(detection, 56, 410), 111.0);
}

TEST(GatherMs1Peaks, GridsAreClearedBetweenGatherings) {
  const MS1File file = oddNumberedFile(3, {{500.0, 100.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 4, 500.0, gathered);
  gatherMS1Peaks(detection, 4, 501.0, gathered);
  EXPECT_EQ(filteredCell(detection, 4, 300), 0.0);
  EXPECT_EQ(filteredCell(detection, 4, 200), 100.0);
  const double sum = [&] {
    double s = 0.0;
    for (const double v : detection.scratch.wideGrid.matrix) s += v;
    return s;
  }();
  EXPECT_EQ(sum, 300.0);
}

MS1File centerCheckFile(bool relatedHoldsCenter, bool precedingHoldsCenter) {
  const double center = 500.0;
  const double nearCenter = center + center * 1.9e-5;
  return makeMs1File({
      makeScan(1, {{499.0, 10.0}, {precedingHoldsCenter ? nearCenter : 500.5, 10.0}}),
      makeScan(3, {{499.2, 10.0}, {relatedHoldsCenter ? nearCenter : 500.6, 10.0}}),
      makeScan(5, {{499.4, 10.0}}),
  });
}

TEST(GatherMs1Peaks, ActivationCenterInRelatedScanKeepsOnlyThatScan) {
  const MS1File file = centerCheckFile(true, true);
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 4, 500.0, gathered);
  ASSERT_EQ(gathered.size(), 2u);
  EXPECT_EQ(gathered[0].mz, 499.2);
}

TEST(GatherMs1Peaks, ActivationCenterOnlyInPrecedingScanKeepsOnlyThePrecedingScan) {
  const MS1File file = centerCheckFile(false, true);
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 4, 500.0, gathered);
  ASSERT_EQ(gathered.size(), 2u);
  EXPECT_EQ(gathered[0].mz, 499.0);
}

TEST(GatherMs1Peaks, ActivationCenterNowhereKeepsAllThreeScans) {
  const MS1File file = centerCheckFile(false, false);
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 4, 500.0, gathered);
  EXPECT_EQ(gathered.size(), 5u);
}

TEST(GatherMs1Peaks, ActivationCenterCheckOffKeepsAllThreeScans) {
  const MS1File file = centerCheckFile(true, true);
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "check_activationcenter", "0");
  testing::Detection detection = testing::makeDetection(parameters, file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 4, 500.0, gathered);
  EXPECT_EQ(gathered.size(), 5u);
}

TEST(GatherMs1Peaks, PeakJustOutsideTwentyPpmIsNotTheActivationCenter) {
  const double center = 500.0;
  const MS1File file = makeMs1File({makeScan(1, {{center + center * 2.1e-5, 10.0}}), makeScan(3, {{499.0, 10.0}})});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 4, center, gathered);
  EXPECT_EQ(gathered.size(), 2u);
}

TEST(GatherMs1Peaks, UnorderedScanPeaksStopAtTheFirstPeakAboveTheWindow) {
  const MS1File file = oddNumberedFile(1, {{500.0, 10.0}, {504.0, 10.0}, {501.0, 10.0}});
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  std::vector<Peak> gathered;
  gatherMS1Peaks(detection, 2, 500.0, gathered);
  ASSERT_EQ(gathered.size(), 1u);
  EXPECT_EQ(gathered[0].mz, 500.0);
}

TEST(GatherMs1Peaks, DebugModeWritesThePeakFileAndPrintsTheScans) {
  const testing::TempDir folder;
  const MS1File file = makeMs1File({makeScan(7, {{499.5, 10.0}, {500.25, 2.0}})});
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "debug_mode", "1");
  testing::setParameter(parameters, "datapath", folder.folder());
  testing::Detection detection = testing::makeDetection(parameters, file);
  std::vector<Peak> gathered;
  testing::StdoutRedirect capture;
  gatherMS1Peaks(detection, 8, 500.0, gathered);
  const std::string printed = capture.text();
  const auto written = readWholeFile(folder.file("8ms1.Peaks"));
  ASSERT_TRUE(written.has_value());
  // Offsets -4..-1 fall before the file and read as empty scans; offset 0 is scan 7.
  EXPECT_EQ(*written,
            "0\t500.000000\r\n0\t500.000000\r\n0\t500.000000\r\n0\t500.000000\r\n"
            "7\t500.000000\r\n499.500000\t10.000000\r\n500.250000\t2.000000\r\n");
  EXPECT_EQ(printed,
            "Related Scan -4\nPeaks in Candidates == == \n"
            "Related Scan -3\nPeaks in Candidates == == \n"
            "Related Scan -2\nPeaks in Candidates == == \n"
            "Related Scan -1\nPeaks in Candidates == == \n"
            "Related Scan 0\nPeaks in Candidates == == \n"
            "scan j = 0 mz 499.500000 intensity 10.000000\n"
            "scan j = 0 mz 500.250000 intensity 2.000000\n");
}

TEST(GatherMs1Peaks, DebugModeTwoWritesThePeakFileWithoutPrinting) {
  const testing::TempDir folder;
  const MS1File file = makeMs1File({makeScan(1, {}), makeScan(3, {{500.0, 1.0}})});
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "debug_mode", "2");
  testing::setParameter(parameters, "datapath", folder.folder());
  testing::Detection detection = testing::makeDetection(parameters, file);
  std::vector<Peak> gathered;
  testing::StdoutRedirect capture;
  gatherMS1Peaks(detection, 2, 500.0, gathered);
  const std::string printed = capture.text();
  const auto written = readWholeFile(folder.file("2ms1.Peaks"));
  ASSERT_TRUE(written.has_value());
  EXPECT_EQ(*written,
            "0\t500.000000\r\n0\t500.000000\r\n0\t500.000000\r\n0\t500.000000\r\n"
            "1\t500.000000\r\n3\t500.000000\r\n500.000000\t1.000000\r\n");
  EXPECT_EQ(printed, "");
}

}  // namespace
}  // namespace corvid
