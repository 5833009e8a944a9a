// FAIMS runs: the MS1 scans split by compensation voltage and each MS2 scan given the view of its
// precursor scan's voltage.
#include "detection/voltage_views.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/run_log.h"

namespace corvid {
namespace {

MS1Spectrum ms1At(std::uint32_t scan, double voltage) {
  MS1Spectrum spectrum;
  spectrum.scanNumber = scan;
  spectrum.compensationVoltage = voltage;
  spectrum.peaks = {{400.0 + scan, 1000.0}};
  return spectrum;
}

MS2Spectrum ms2At(std::uint32_t scan, std::int32_t precursorScan, double voltage) {
  MS2Spectrum spectrum;
  spectrum.scanNumber = scan;
  spectrum.precursorScan = precursorScan;
  spectrum.compensationVoltage = voltage;
  return spectrum;
}

std::string logSince(std::size_t mark) {
  std::string text;
  for (std::size_t i = mark; i < runLogLines().size(); ++i) text += runLogLines()[i];
  return text;
}

TEST(VoltageViews, OnlyFilesWithVoltagesAreSplit) {
  MS1File plain;
  plain.spectra = {ms1At(1, kNoCompensationVoltage), ms1At(2, kNoCompensationVoltage)};
  EXPECT_FALSE(hasCompensationVoltages(plain));
  plain.spectra[1].compensationVoltage = -45.0;
  EXPECT_TRUE(hasCompensationVoltages(plain));
}

TEST(VoltageViews, EachMS2ScanGetsItsPrecursorScansVoltage) {
  MS1File ms1;
  ms1.instrumentName = "FTMS";
  ms1.spectra = {ms1At(1, -45.0), ms1At(2, -65.0), ms1At(4, -45.0), ms1At(5, -65.0)};
  MS2File ms2;
  ms2.spectra = {
      ms2At(3, 1, -45.0),                   // its precursor scan's voltage
      ms2At(6, 0, -65.0),                   // no precursor scan: its own voltage
      ms2At(7, 0, -30.0),                   // a voltage no MS1 scan has
      ms2At(8, 99, -45.0),                  // precursor scan unknown: its own voltage
      ms2At(9, 2, kNoCompensationVoltage),  // the precursor scan decides
  };
  IsotopePatternTable isotopes;
  const DetectionInput whole = makeDetectionInput(DetectionSettings{}, ms1, isotopes);
  VoltageViews views;
  splitByVoltage(whole, ms1, ms2, views);
  ASSERT_EQ(views.voltages.size(), 2u);
  EXPECT_EQ(views.voltages[0], -65.0);
  EXPECT_EQ(views.voltages[1], -45.0);
  EXPECT_TRUE(ms1.spectra.empty());
  ASSERT_EQ(views.ms1.size(), 3u);
  ASSERT_EQ(views.inputs.size(), 3u);
  ASSERT_EQ(views.ms1[0].spectra.size(), 2u);
  EXPECT_EQ(views.ms1[0].spectra[0].scanNumber, 2u);
  EXPECT_EQ(views.ms1[0].spectra[1].scanNumber, 5u);
  EXPECT_EQ(views.ms1[1].spectra[0].scanNumber, 1u);
  EXPECT_EQ(views.ms1[1].spectra[1].scanNumber, 4u);
  EXPECT_TRUE(views.ms1[2].spectra.empty());
  for (std::size_t v = 0; v < 3; ++v) {
    EXPECT_EQ(views.inputs[v].ms1, &views.ms1[v]);
    EXPECT_EQ(views.inputs[v].ms1PeaksAscending.size(), views.ms1[v].spectra.size());
    EXPECT_TRUE(views.inputs[v].ms1ScansAscending);
  }
  EXPECT_EQ(views.ms2View, (std::vector<std::uint32_t>{1, 0, 2, 1, 0}));
  EXPECT_EQ(views.ms2WithoutMS1, 1u);
}

TEST(VoltageViews, NoteNamesTheVoltagesAndAlertCountsScansWithoutMS1) {
  VoltageViews views;
  views.voltages = {-65.0, -47.5};
  std::size_t mark = runLogLines().size();
  reportVoltageViews(views, "run.ms2");
  std::string log = logSince(mark);
  EXPECT_NE(log.find("FAIMS: 2 compensation voltages (-65, -47.5); precursors are sought in MS1 scans of each "
                     "MS2 scan's own voltage."),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find("no MS1 scan has"), std::string::npos) << log;
  views.ms2WithoutMS1 = 3;
  mark = runLogLines().size();
  reportVoltageViews(views, "run.ms2");
  log = logSince(mark);
  EXPECT_NE(log.find("run.ms2: 3 MS2 scans have a compensation voltage that no MS1 scan has"), std::string::npos)
      << log;
}

}  // namespace
}  // namespace corvid
