#include "detection/candidate_detection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <unistd.h>
#include <vector>

#include "detection/ms1_peak_gathering.h"
#include "tests/detection/detection_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using testing::defaultParameters;

constexpr std::int32_t kMs2Scan = 20;  // related MS1 scan: index 9 of scans 1, 3, ..., 39

// Twenty MS1 scans that all hold the same peaks.
MS1File flatFile(const std::vector<Peak>& peaks) {
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 20; ++i) scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  return testing::makeMs1File(scans);
}

void setRow(double neutralMass, IsotopePattern values) {
  runIsotopeTable().rows[static_cast<std::size_t>(neutralMass)] = values;
}

double neutral(double mz, int charge) { return charge * mz - charge * 1.007276; }

class DetectCandidates : public ::testing::Test {
 protected:
  void SetUp() override { testing::resetIsotopeTable(); }
  void TearDown() override { testing::resetIsotopeTable(); }

  // Gathers, then detects; returns the detection's console text.
  std::string run(const MS1File& file, const ParameterTable& parameters, double center) {
    detection = testing::makeDetection(parameters, file);
    if (reference != nullptr) attachReferenceList(detection.input, *reference);
    std::vector<Peak> gathered;
    {
      testing::StdoutRedirect gatheringText;  // gathering's own trace is tested elsewhere
      gatherMS1Peaks(detection, kMs2Scan, center, gathered);
    }
    testing::StdoutRedirect capture;
    detectCandidates(detection, center, kMs2Scan, gathered);
    if (reference != nullptr) markFoundEntries(detection.output, *reference);
    gatheredAfter = gathered;
    return capture.text();
  }

  ParameterTable traceParameters() const {
    ParameterTable parameters = defaultParameters();
    testing::setParameter(parameters, "debug_mode", "1");
    testing::setParameter(parameters, "datapath", debugFolder.folder());
    return parameters;
  }

  // Debug modes write peak files into the data path: a folder of the test's own.
  testing::TempDir debugFolder;
  testing::Detection detection;
  ReferencePrecursorList* reference = nullptr;
  std::vector<Peak> gatheredAfter;
};

TEST_F(DetectCandidates, TraceShowsEveryFilterWithItsQuantityInOrder) {
  // A charge-2 pair of isotopes; the center lies between them, so three scans are gathered
  // and their identical peaks are merged.
  setRow(neutral(500.0, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  const MS1File file = flatFile({{500.0, 1000.0}, {500.5015, 800.0}});
  const std::string text = run(file, traceParameters(), 500.25);
  const std::string expected =
      "Peaks in candidates before cut similar Begin\n"
      "500.000000\t1000.000000\n500.000000\t1000.000000\n500.000000\t1000.000000\n"
      "500.501500\t800.000000\n500.501500\t800.000000\n500.501500\t800.000000\n"
      "End\n"
      "Peaks in candidates after cut: \n"
      "500.000000\t3000.000000\n500.501500\t2400.000000\n"
      "MS2 20Inspect Precursor: MZ 500.000000 charge 2\n"
      "1 PIF<0.04\n2 chg>3 && IsoLen<3 \n2 IsoLen<2 \n500 PrecursorCandidate AC \n2 IsoPeakInwindow  \n"
      "1 MaxSim<0.5 \n"
      "MS2 20Inspect Precursor: MZ 500.000000 charge 3\n"
      "0.555556 PIF<0.04\n1 chg>3 && IsoLen<3 \n1 IsoLen<2 \n"
      "MS2 20Inspect Precursor: MZ 500.000000 charge 4\n"
      "0.555556 PIF<0.04\n1 chg>3 && IsoLen<3 \n"
      "MS2 20Inspect Precursor: MZ 500.000000 charge 5\n"
      "0.555556 PIF<0.04\n1 chg>3 && IsoLen<3 \n"
      "MS2 20Inspect Precursor: MZ 500.000000 charge 6\n"
      "0.555556 PIF<0.04\n1 chg>3 && IsoLen<3 \n"
      "output len = 1\nPrecursorNum = 1\nAfter prelimenary filtering...\nPrecursors left = 1\n";
  EXPECT_EQ(text, expected);
  ASSERT_EQ(detection.output.records.size(), 1u);
  EXPECT_EQ(detection.output.records[0].charge, 2.0);
  EXPECT_EQ(detection.output.features[0][kFeatureIsoLen], 2.0);
}

TEST_F(DetectCandidates, DebugModeTwoPrintsNothing) {
  setRow(neutral(500.0, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "debug_mode", "2");
  testing::setParameter(parameters, "datapath", debugFolder.folder());
  const std::string text = run(flatFile({{500.0, 1000.0}, {500.5015, 800.0}}), parameters, 500.25);
  EXPECT_EQ(text, "");
  EXPECT_EQ(detection.output.records.size(), 1u);
}

TEST_F(DetectCandidates, FewerThanTwoGatheredPeaksYieldNoCandidate) {
  setRow(neutral(500.0, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  run(flatFile({{500.0, 1000.0}}), defaultParameters(), 500.25);
  EXPECT_TRUE(detection.output.records.empty());
  EXPECT_EQ(detection.output.exportedPrecursorCount, 0);
  run(flatFile({{500.0, 1000.0}, {500.5015, 800.0}}), defaultParameters(), 500.25);
  EXPECT_EQ(detection.output.records.size(), 1u);
}

TEST_F(DetectCandidates, LastGatheredPeakNeverStartsACandidate) {
  // The second isotope is missing in the gathered scans but present in the other grid rows.
  setRow(neutral(500.0, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 20; ++i) {
    std::vector<Peak> peaks = {{499.0, 500.0}, {500.0, 1000.0}};
    if (i < 8 || i > 10) peaks.push_back({500.5015, 800.0});
    scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1), peaks));
  }
  const MS1File file = testing::makeMs1File(scans);
  run(file, defaultParameters(), 500.25);
  EXPECT_TRUE(detection.output.records.empty());
  scans[9].peaks.push_back({501.5, 100.0});  // now 500.0 is no longer the last gathered peak
  const MS1File withFollower = testing::makeMs1File(scans);
  run(withFollower, defaultParameters(), 500.25);
  ASSERT_EQ(detection.output.records.size(), 1u);
  EXPECT_EQ(detection.output.features[0][kFeatureCharge], 2.0);
}

TEST_F(DetectCandidates, ChargeTwoWithOneIsotopeInWindowSurvivesOnlyBelowAQuarterWidth) {
  const double center = 500.0;
  // Start below the window: only the second isotope is inside, and the start is below
  // center + W/4, so test 5 lets it pass.
  const double low = center - 1.3;
  setRow(neutral(low, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  run(flatFile({{low, 1000.0}, {low + 0.5015, 800.0}}), defaultParameters(), center);
  ASSERT_EQ(detection.output.records.size(), 1u);
  EXPECT_EQ(detection.output.features[0][kFeatureIsoPeakInWindow], 1.0);

  // Start above center + W/4 with its second isotope beyond the window: rejected by test 5.
  const double high = center + 0.6;
  setRow(neutral(high, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  const std::string text = run(flatFile({{high, 1000.0}, {high + 0.5015, 800.0}}), traceParameters(), center);
  EXPECT_TRUE(detection.output.records.empty());
  EXPECT_NE(text.find("charge 2\n1 PIF<0.04\n2 chg>3 && IsoLen<3 \n2 IsoLen<2 \n500.6 PrecursorCandidate AC \n"
                      "1 IsoPeakInwindow  \nMS2 20"),
            std::string::npos)
      << text;
}

TEST_F(DetectCandidates, PrecisionModeLetsAStartWithOneIsotopeInTheWindowThroughAndMeasuresItsShare) {
  const double center = 500.0;
  // The start of the case above that test 5 rejects, beside a noise peak of the same height.
  const double high = center + 0.6;
  setRow(neutral(high, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  const MS1File file = flatFile({{499.5, 1000.0}, {high, 1000.0}, {high + 0.5015, 800.0}});
  run(file, defaultParameters(), center);
  EXPECT_TRUE(detection.output.records.empty());
  EXPECT_TRUE(detection.output.windowShares.empty());

  ParameterTable precise = defaultParameters();
  testing::setParameter(precise, "precision_mode", "1");
  run(file, precise, center);
  ASSERT_EQ(detection.output.records.size(), 1u);
  EXPECT_EQ(detection.output.records[0].charge, 2.0);
  EXPECT_EQ(detection.output.features[0][kFeatureIsoPeakInWindow], 1.0);
  // Of the related scan's 2000 inside the window, the start's 1000 lies on the candidate; its
  // second isotope lies beyond the window.
  ASSERT_EQ(detection.output.windowShares.size(), 1u);
  EXPECT_DOUBLE_EQ(detection.output.windowShares[0], 0.5);
}

TEST_F(DetectCandidates, TheWindowShareCountsIsotopesZeroToThreeOfTheRelatedScanOnly) {
  const double center = 500.0;
  const double mono = 499.2;
  setRow(neutral(mono, 2), {1.0, 0.8, 0.6, 0.4, 0.2});
  // Isotopes 0..4 of a 2+ ion (spacing 1.0033548 / 2); isotope 4 at 501.207 lies outside the
  // window, and a peak at 500.9 belongs to nothing.
  std::vector<Peak> peaks;
  const double heights[] = {1000.0, 800.0, 600.0, 400.0, 200.0};
  for (int k = 0; k < 5; ++k) peaks.push_back({mono + k * 1.0033548 / 2, heights[k]});
  peaks.push_back({500.9, 400.0});
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 20; ++i) {
    // Only the related scan (index 9) holds the unrelated peak.
    std::vector<Peak> own = peaks;
    if (i != 9) own.pop_back();
    std::sort(own.begin(), own.end(), [](const Peak& a, const Peak& b) { return a.mz < b.mz; });
    scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1), own));
  }
  ParameterTable precise = defaultParameters();
  testing::setParameter(precise, "precision_mode", "1");
  run(testing::makeMs1File(scans), precise, center);
  ASSERT_FALSE(detection.output.records.empty());
  ASSERT_EQ(detection.output.windowShares.size(), detection.output.records.size());
  bool found = false;
  for (std::size_t i = 0; i < detection.output.records.size(); ++i) {
    if (detection.output.records[i].charge == 2.0 && std::fabs(detection.output.records[i].mz - mono) < 1e-3) {
      found = true;
      // Isotopes 0..3, all inside the window: 2800 of the related scan's 3200 there.
      EXPECT_NEAR(detection.output.windowShares[i], 2800.0 / 3200.0, 1e-12);
    }
  }
  EXPECT_TRUE(found);
}

TEST_F(DetectCandidates, ChargeFiveWithTwoIsotopesIsRejected) {
  const double mono = 500.0;
  setRow(neutral(mono, 5), {1.0, 0.8, 0.0, 0.0, 0.0});
  const std::string text = run(flatFile({{mono, 1000.0}, {mono + 1.003 / 5, 800.0}}), traceParameters(), 500.1);
  EXPECT_TRUE(detection.output.records.empty());
  EXPECT_NE(text.find("charge 5\n1 PIF<0.04\n2 chg>3 && IsoLen<3 \nMS2 20"), std::string::npos) << text;
}

TEST_F(DetectCandidates, EmptyIsolationWindowRejectsEveryPairByPif) {
  // Every peak lies between 1 and 3 Th from the center: the window total is 0.
  setRow(neutral(501.5, 2), {1.0, 0.8, 0.5, 0.0, 0.0});
  const MS1File file = flatFile({{501.5, 1000.0}, {502.0015, 800.0}, {502.503, 500.0}});
  const std::string text = run(file, traceParameters(), 500.0);
  EXPECT_TRUE(detection.output.records.empty());
  EXPECT_EQ(text.find("chg>3"), std::string::npos);
  std::size_t count = 0;
  for (std::size_t at = text.find("0 PIF<0.04\n"); at != std::string::npos; at = text.find("0 PIF<0.04\n", at + 1)) {
    ++count;
  }
  EXPECT_EQ(count, 10u);  // two start peaks x five charges
}

TEST_F(DetectCandidates, CoEluteZeroInspectsOnlyPairsCoveringTheCenter) {
  setRow(neutral(500.0, 2), {1.0, 0.8, 0.0, 0.0, 0.0});
  ParameterTable parameters = traceParameters();
  testing::setParameter(parameters, "co-elute", "0");
  // Center on the second isotope: 500 covers it with charge 2 (1.003 / 2), charge 4
  // (2.006 / 4) and charge 6 (3.009 / 6), never with charges 3 and 5.
  const std::string text = run(flatFile({{500.0, 1000.0}, {500.5015, 800.0}}), parameters, 500.5015);
  EXPECT_NE(text.find("Inspect Precursor: MZ 500.000000 charge 2\n"), std::string::npos);
  EXPECT_NE(text.find("Inspect Precursor: MZ 500.000000 charge 4\n"), std::string::npos);
  EXPECT_NE(text.find("Inspect Precursor: MZ 500.000000 charge 6\n"), std::string::npos);
  EXPECT_EQ(text.find("charge 3\n"), std::string::npos);
  EXPECT_EQ(text.find("charge 5\n"), std::string::npos);
  EXPECT_EQ(detection.output.records.size(), 1u);
}

TEST_F(DetectCandidates, ReferenceEntriesAreMarkedForEveryTriedPair) {
  ReferencePrecursorList list;
  const auto add = [&](std::int32_t scan, double mz, std::int32_t charge) {
    list.scans.push_back(scan);
    list.mzs.push_back(mz);
    list.charges.push_back(charge);
    list.values.push_back(0.0);
    list.found.push_back(0);
  };
  add(kMs2Scan, 500.0 * (1 + 1.5e-5), 2);  // within 20 ppm
  add(kMs2Scan, 500.0 * (1 + 2.5e-5), 2);  // beyond
  add(kMs2Scan + 1, 500.0, 2);             // another scan
  add(kMs2Scan, 500.0, 6);                 // a charge that the filters reject, marked anyway
  add(kMs2Scan, 500.0, 7);                 // a charge that is never tried
  reference = &list;
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "co-elute", "0");  // also before the coverage test
  run(flatFile({{500.0, 1000.0}, {500.5015, 800.0}}), parameters, 500.25);
  EXPECT_EQ(list.found, (std::vector<std::int32_t>{1, 0, 0, 1, 0}));
}

TEST_F(DetectCandidates, ReferenceEntriesAddedLaterAreFoundToo) {
  ReferencePrecursorList list;
  for (std::int32_t scan = 1; scan <= 40; ++scan) {
    list.scans.push_back(scan);
    list.mzs.push_back(500.0);
    list.charges.push_back(2);
    list.values.push_back(0.0);
  }
  reference = &list;  // found is sized when the marks are applied, should the loader leave it short
  const MS1File file = flatFile({{500.0, 1000.0}, {500.5015, 800.0}});
  run(file, defaultParameters(), 500.25);
  ASSERT_EQ(list.found.size(), 40u);
  for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(list.found[i], i == 19 ? 1 : 0) << i;
  list.scans.push_back(kMs2Scan);
  list.mzs.push_back(500.0);
  list.charges.push_back(3);
  list.values.push_back(0.0);
  run(file, defaultParameters(), 500.25);
  EXPECT_EQ(list.found.back(), 1);
}

TEST_F(DetectCandidates, CutSimiliarMonoZeroKeepsNearPeaks) {
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "cut_similiar_mono", "0");
  run(flatFile({{500.0, 1000.0}, {500.5015, 800.0}}), parameters, 500.25);
  EXPECT_EQ(gatheredAfter.size(), 6u);
  run(flatFile({{500.0, 1000.0}, {500.5015, 800.0}}), defaultParameters(), 500.25);
  EXPECT_EQ(gatheredAfter.size(), 2u);
}

TEST(MergeNearPeaks, RightPeakWinsATie) {
  std::vector<Peak> peaks = {{500.0, 10.0}, {500.005, 10.0}};
  std::vector<std::uint8_t> marks;
  mergeNearPeaks(peaks, marks);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_DOUBLE_EQ(peaks[0].mz, 500.0025);
  EXPECT_EQ(peaks[0].intensity, 20.0);
}

TEST(MergeNearPeaks, MoreIntenseLeftPeakReceivesTheMean) {
  std::vector<Peak> peaks = {{500.0, 30.0}, {500.005, 10.0}, {501.0, 1.0}};
  std::vector<std::uint8_t> marks;
  mergeNearPeaks(peaks, marks);
  ASSERT_EQ(peaks.size(), 2u);
  EXPECT_DOUBLE_EQ(peaks[0].mz, 500.00125);
  EXPECT_EQ(peaks[0].intensity, 40.0);
  EXPECT_EQ(peaks[1].mz, 501.0);
}

TEST(MergeNearPeaks, MarkedPeakIsComparedAgainWithItsOldValues) {
  // 500.006 loses to its left neighbour, keeps (500.006, 10) and is merged again to the right.
  std::vector<Peak> peaks = {{500.0, 30.0}, {500.006, 10.0}, {500.012, 20.0}};
  std::vector<std::uint8_t> marks;
  mergeNearPeaks(peaks, marks);
  ASSERT_EQ(peaks.size(), 2u);
  EXPECT_DOUBLE_EQ(peaks[0].mz, (500.0 * 30 + 500.006 * 10) / 40);
  EXPECT_EQ(peaks[0].intensity, 40.0);
  EXPECT_DOUBLE_EQ(peaks[1].mz, (500.006 * 10 + 500.012 * 20) / 30);
  EXPECT_EQ(peaks[1].intensity, 30.0);
}

TEST(MergeNearPeaks, MarkedPeakThatWinsAgainIsRemovedWithItsNeighbour) {
  std::vector<Peak> peaks = {{500.0, 50.0}, {500.006, 30.0}, {500.012, 10.0}};
  std::vector<std::uint8_t> marks;
  mergeNearPeaks(peaks, marks);
  ASSERT_EQ(peaks.size(), 1u);
  EXPECT_EQ(peaks[0].intensity, 80.0);
}

TEST(MergeNearPeaks, ToleranceComesFromTheLowestPeak) {
  // 20 ppm of 100 = 0.002: peaks at 1000 that are 0.005 apart are not merged.
  std::vector<Peak> peaks = {{100.0, 1.0}, {1000.0, 1.0}, {1000.005, 1.0}};
  std::vector<std::uint8_t> marks;
  mergeNearPeaks(peaks, marks);
  EXPECT_EQ(peaks.size(), 3u);
}

TEST(RecalibratedMz, WeightedMeanWithinTheRecalibrationWindow) {
  const MS1File file;
  testing::Detection detection = testing::makeDetection(defaultParameters(), file);
  const double mz = 500.0;
  detection.scratch.contextPeaks = {
      {mz * (1 - 8e-6), 100.0}, {mz * (1 - 6e-6), 1.0}, {mz * (1 + 6e-6), 3.0}, {mz * (1 + 8e-6), 100.0}};
  EXPECT_DOUBLE_EQ(recalibratedMz(detection.input, detection.scratch, mz),
                   (mz * (1 - 6e-6) * 1.0 + mz * (1 + 6e-6) * 3.0) / 4.0);
  detection.scratch.contextPeaks = {{499.0, 1.0}};
  EXPECT_EQ(recalibratedMz(detection.input, detection.scratch, mz), mz);
  detection.scratch.contextPeaks = {{mz, 5.0}, {mz, -5.0}};  // intensity sum 0
  EXPECT_EQ(recalibratedMz(detection.input, detection.scratch, mz), mz);
}

TEST(IsolationWidth, ReadsTheSettingAsAReal) {
  const MS1File file;
  ParameterTable parameters = defaultParameters();
  EXPECT_EQ(isolationWidth(makeDetectionInput(parameters, file)), 2.0);
  testing::setParameter(parameters, "isolation_width", "2.5abc");
  EXPECT_EQ(isolationWidth(makeDetectionInput(parameters, file)), 2.5);
  testing::setParameter(parameters, "isolation_width", "abc");
  EXPECT_EQ(isolationWidth(makeDetectionInput(parameters, file)), 0.0);
}

TEST(ReadDetectionSettings, PrecisionModeGathersFromBothNeighboursWhateverTheCenterCheckSays) {
  ParameterTable parameters = defaultParameters();
  EXPECT_TRUE(detectionSettingsFrom(parameters).checkActivationCenter);
  EXPECT_FALSE(detectionSettingsFrom(parameters).precisionCandidates);
  testing::setParameter(parameters, "precision_mode", "1");
  testing::setParameter(parameters, "check_activationcenter", "1");
  const DetectionSettings settings = detectionSettingsFrom(parameters);
  EXPECT_FALSE(settings.checkActivationCenter);
  EXPECT_TRUE(settings.precisionCandidates);
}

TEST(ReadDetectionSettings, SwitchesAreOnOnlyForTheTextOne) {
  ParameterTable parameters = defaultParameters();
  testing::setParameter(parameters, "cut_similiar_mono", " 1");
  testing::setParameter(parameters, "check_activationcenter", "true");
  testing::setParameter(parameters, "outputsvmlight", "1");
  testing::setParameter(parameters, "debug_mode", "3");
  testing::setParameter(parameters, "co-elute", " 0x");
  const DetectionSettings settings = detectionSettingsFrom(parameters);
  EXPECT_FALSE(settings.cutSimilarMono);
  EXPECT_FALSE(settings.checkActivationCenter);
  EXPECT_TRUE(settings.outputSvmLight);
  EXPECT_EQ(settings.debugMode, DebugMode::kOff);
  EXPECT_EQ(settings.coElute, 0);
  EXPECT_EQ(settings.recalibrateWindow, 7.0);
}

}  // namespace
}  // namespace corvid

namespace corvid {
namespace {

TEST(DetectCandidatesBadInput, NonFiniteCentersAndValuesNeitherCrashNorInventCandidates) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<MS1Spectrum> scans;
  for (int i = 0; i < 12; ++i) {
    scans.push_back(testing::makeScan(static_cast<std::uint32_t>(2 * i + 1),
                                      {{499.0, -5.0}, {500.0, inf}, {500.001, inf}, {500.5015, 1e308},
                                       {500.6, 0.0}, {nan, 1.0}, {1e308, 1.0}}));
  }
  const MS1File file = testing::makeMs1File(scans);
  for (const double center : {inf, -inf, nan, 500.25, -500.0, 0.0, 1e308}) {
    testing::Detection detection = testing::makeDetection(testing::defaultParameters(), file);
    std::vector<Peak> gathered;
    gatherMS1Peaks(detection, 20, center, gathered);
    detectCandidates(detection, center, 20, gathered);
    if (!std::isfinite(center)) {
      EXPECT_TRUE(gathered.empty());
      EXPECT_TRUE(detection.scratch.contextPeaks.empty());
      EXPECT_TRUE(detection.output.records.empty());
    }
    for (const PrecursorRecord& record : detection.output.records) {
      EXPECT_TRUE(record.charge >= 2 && record.charge <= 6);
    }
  }
  // Peaks handed over directly with a non-finite center.
  testing::Detection detection = testing::makeDetection(testing::defaultParameters(), file);
  std::vector<Peak> direct = {{500.0, 1.0}, {500.5, 1.0}, {501.0, 1.0}};
  detectCandidates(detection, inf, 20, direct);
  detectCandidates(detection, nan, 20, direct);
  EXPECT_TRUE(detection.output.records.empty());
}

}  // namespace
}  // namespace corvid
