#include "spectra/ms2_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "platform/run_failure.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/failure_text.h"

namespace corvid {
namespace {

using namespace testing;

MS2File loadText(const TempDir& folder, const std::string& text,
                 std::string* pathOut = nullptr) {
  const std::string path = folder.file("run.ms2");
  writeFile(path, text);
  MS2File ms2;
  loadMS2File(path, ms2);
  if (pathOut != nullptr) *pathOut = path;
  return ms2;
}

// One scan as the extractor and Corvid's own MS2 writer lay it out.
const char* const kOneScan =
    "H\tCreationDate\tMon Jan 01 00:00:00 2024\r\n"
    "H\tExtractor\tQuarry\r\n"
    "S\t000123\t000123\t500.250000\r\n"
    "I\tNumberOfPeaks\t3\r\n"
    "I\tRetTime\t61.25\r\n"
    "I\tIonInjectionTime\t35\r\n"
    "I\tActivationType\tHCD\r\n"
    "I\tInstrumentType\tFTMS\r\n"
    "I\tTemperatureFTAnalyzer\t25.5\r\n"
    "I\tMonoiosotopicMz\t500.2489\r\n"
    "I\tActivationCenter\t500.25\r\n"
    "I\tPrecursorScan\t120\r\n"
    "Z\t2\t999.492724\r\n"
    "147.112804 1500.5\r\n"
    "175.118952\t2500.25\r\n"
    "800.4 12.0\r\n";

TEST(LoadMS2File, ReadsEveryRecognisedLine) {
  TempDir folder;
  LogWatch log;
  const MS2File ms2 = loadText(folder, kOneScan);
  ASSERT_EQ(ms2.spectra.size(), 1u);
  EXPECT_EQ(ms2.spectrumCount, 1);
  const MS2Spectrum& s = ms2.spectra[0];
  EXPECT_EQ(s.scanNumber, 123u);
  EXPECT_EQ(s.retentionTime, 61.25);
  EXPECT_EQ(s.ionInjectionTime, 35.0);  // no tenfold rule for this item
  EXPECT_EQ(s.activationType, "HCD");
  EXPECT_EQ(s.activationCode, 3);
  EXPECT_EQ(s.instrumentType, "FT");
  EXPECT_EQ(s.instrumentCode, 2);
  EXPECT_EQ(s.activationGroup, 5);
  EXPECT_EQ(s.activationCenter, 500.25);
  EXPECT_EQ(s.precursorScan, 120);
  EXPECT_EQ(s.charge, 2);
  EXPECT_EQ(s.precursorMH, 999.492724);
  ASSERT_EQ(s.peaks.size(), 3u);
  EXPECT_EQ(s.peaks[0].mz, 147.112804);
  EXPECT_EQ(s.peaks[0].intensity, 1500.5);
  EXPECT_EQ(s.peaks[1].mz, 175.118952);
  EXPECT_EQ(s.peaks[1].intensity, 2500.25);
  EXPECT_EQ(s.peaks[2].intensity, 12.0);
  EXPECT_TRUE(s.sourceName.empty());
  EXPECT_TRUE(s.workPairs.empty());
  EXPECT_EQ(s.precursorIndex, 0);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(ms2.scanTableSize, 200000);
  ASSERT_EQ(ms2.scanTable.size(), 200000u);
  EXPECT_TRUE(
      std::all_of(ms2.scanTable.begin(), ms2.scanTable.end(), [](int v) { return v == 0; }));
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Loading MS2 Spectra Number: 1"});
}

TEST(LoadMS2File, ReadsTheStatedIsolationWindowWithEitherLineEnd) {
  for (const char* end : {"\r\n", "\n"}) {
    TempDir folder;
    const std::string text = std::string("S\t1\t1\t500.25") + end + "I\tActivationCenter\t500.25" + end +
                             "I\tIsolationWindowLowerOffset\t0.200000" + end +
                             "I\tIsolationWindowUpperOffset\t1.500000" + end + "I\tInstrumentType\tFTMS" + end +
                             "Z\t2\t999.492724" + end + "S\t2\t2\t600.5" + end + "Z\t2\t1200.0" + end;
    const MS2File ms2 = loadText(folder, text);
    ASSERT_EQ(ms2.spectra.size(), 2u);
    EXPECT_EQ(ms2.spectra[0].isolationLower, 0.2);
    EXPECT_EQ(ms2.spectra[0].isolationUpper, 1.5);
    EXPECT_EQ(ms2.spectra[0].instrumentType, "FT");
    EXPECT_EQ(ms2.spectra[1].isolationLower, 0.0);
    EXPECT_EQ(ms2.spectra[1].isolationUpper, 0.0);
  }
}

TEST(LoadMS2File, ChargeZeroBecomesTwoAndZeroMassIsRebuiltFromActivationCenter) {
  TempDir folder;
  const MS2File ms2 =
      loadText(folder, "S\t1\t1\t500.25\r\nI\tActivationCenter\t500.25\r\nZ\t0\t0.0\r\n");
  ASSERT_EQ(ms2.spectra.size(), 1u);
  EXPECT_EQ(ms2.spectra[0].charge, 2);
  EXPECT_DOUBLE_EQ(ms2.spectra[0].precursorMH, 999.492724);
  EXPECT_EQ(ms2.spectra[0].precursorMH, 2 * 500.25 - 1.007276);
}

TEST(LoadMS2File, EmptyChargeFieldBecomesTwo) {
  TempDir folder;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\nZ\t\t1000.5\r\n");
  EXPECT_EQ(ms2.spectra[0].charge, 2);
  EXPECT_EQ(ms2.spectra[0].precursorMH, 1000.5);
}

TEST(LoadMS2File, MassIsRebuiltOnlyStrictlyInsideTheZeroBand) {
  TempDir folder;
  const MS2File ms2 = loadText(folder,
                               "S\t1\t1\r\nI\tActivationCenter\t400.0\r\nZ\t3\t0.00001\r\n"
                               "S\t2\t2\r\nI\tActivationCenter\t400.0\r\nZ\t3\t0.000009\r\n");
  EXPECT_EQ(ms2.spectra[0].precursorMH, 1e-5);
  EXPECT_EQ(ms2.spectra[1].precursorMH, 3 * 400.0 - 2 * 1.007276);
}

TEST(LoadMS2File, ZeroMassBeforeActivationCenterUsesCenterZero) {
  TempDir folder;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\nZ\t3\t0.0\r\nI\tActivationCenter\t400.0\r\n");
  EXPECT_EQ(ms2.spectra[0].precursorMH, -2 * 1.007276);
  EXPECT_EQ(ms2.spectra[0].activationCenter, 400.0);
}

TEST(LoadMS2File, LaterChargeLineOverwritesTheEarlierOne) {
  TempDir folder;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\nZ\t2\t1000.5\r\nZ\t3\t1500.75\r\n");
  EXPECT_EQ(ms2.spectra[0].charge, 3);
  EXPECT_EQ(ms2.spectra[0].precursorMH, 1500.75);
}

TEST(LoadMS2File, MassWithoutPointIsTenTimesLarger) {
  TempDir folder;
  EXPECT_EQ(loadText(folder, "S\t1\t1\r\nZ\t2\t1000\r\n").spectra[0].precursorMH, 10000.0);
}

TEST(LoadMS2File, PqdOnIonTrapGetsCodeMinusOneAndNoGroup) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 =
      loadText(folder, "S\t1\t1\r\nI\tActivationType\tPQD\r\nI\tInstrumentType\tITMS\r\n", &path);
  EXPECT_EQ(ms2.spectra[0].activationType, "PQD");
  EXPECT_EQ(ms2.spectra[0].activationCode, -1);
  EXPECT_EQ(ms2.spectra[0].instrumentCode, 1);
  EXPECT_EQ(ms2.spectra[0].activationGroup, kNoActivationGroup);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{}));
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"1 MS2 scans of " + path +
                                          " have no CID, ETD or HCD activation type before their "
                                          "InstrumentType line; they belong to no output group "
                                          "and are not processed.",
                                      "Loading MS2 Spectra Number: 1"}));
}

TEST(LoadMS2File, PqdOnFourierTransformBelongsToNoGroup) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 =
      loadText(folder, "S\t1\t1\r\nI\tActivationType\tPQD\r\nI\tInstrumentType\tFTMS\r\n", &path);
  EXPECT_EQ(ms2.spectra[0].activationCode, -1);
  // The bare formula (-1 - 4 + 3 x 2) would file it under ETD/IT.
  EXPECT_EQ(ms2.spectra[0].activationGroup, kNoActivationGroup);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{}));
  EXPECT_EQ(log.messages().front(), "1 MS2 scans of " + path +
                                        " have no CID, ETD or HCD activation type before their "
                                        "InstrumentType line; they belong to no output group "
                                        "and are not processed.");
}

TEST(LoadMS2File, NoInstrumentTypeLineKeepsGroupZeroWithoutSettingItsFlag) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\nI\tActivationType\tETD\r\n100.5 1.0\r\n", &path);
  EXPECT_EQ(log.messages().front(),
            "1 MS2 scans of " + path + " have no InstrumentType line; they stay in the CID/IT group.");
  EXPECT_EQ(ms2.spectra[0].activationCode, 2);
  EXPECT_EQ(ms2.spectra[0].activationGroup, 0);
  EXPECT_EQ(ms2.spectra[0].instrumentType, "");
  EXPECT_EQ(ms2.spectra[0].instrumentCode, 0);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{}));
}

TEST(LoadMS2File, EveryActivationAndAnalyzerGivesItsGroup) {
  TempDir folder;
  std::string text;
  const char* const types[] = {"CID", "ETD", "HCD"};
  const char* const analyzers[] = {"ITMS", "FTMS"};
  int scan = 0;
  for (const char* analyzer : analyzers) {
    for (const char* type : types) {
      ++scan;
      text += "S\t" + std::to_string(scan) + "\t" + std::to_string(scan) + "\r\n";
      text += std::string("I\tActivationType\t") + type + "\r\n";
      text += std::string("I\tInstrumentType\t") + analyzer + "\r\n";
    }
  }
  const MS2File ms2 = loadText(folder, text);
  ASSERT_EQ(ms2.spectra.size(), 6u);
  for (int g = 0; g < 6; ++g)
    EXPECT_EQ(ms2.spectra[static_cast<std::size_t>(g)].activationGroup, g);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{1, 1, 1, 1, 1, 1}));
}

TEST(LoadMS2File, QuadrupoleTimeOfFlightCountsAsFourierTransformAndOthersAsIonTrap) {
  TempDir folder;
  const MS2File ms2 = loadText(folder,
                               "S\t1\t1\r\nI\tActivationType\tCID\r\nI\tInstrumentType\tQTOF\r\n"
                               "S\t2\t2\r\nI\tActivationType\tCID\r\nI\tInstrumentType\tXYZ\r\n");
  EXPECT_EQ(ms2.spectra[0].instrumentType, "FT");
  EXPECT_EQ(ms2.spectra[0].activationGroup, 3);
  EXPECT_EQ(ms2.spectra[1].instrumentType, "IT");
  EXPECT_EQ(ms2.spectra[1].activationGroup, 0);
}

TEST(LoadMS2File, InstrumentTypeBeforeActivationTypeBelongsToNoGroup) {
  TempDir folder;
  const MS2File ms2 =
      loadText(folder, "S\t1\t1\r\nI\tInstrumentType\tFTMS\r\nI\tActivationType\tCID\r\n");
  EXPECT_EQ(ms2.spectra[0].activationCode, 1);
  // The group is fixed at the InstrumentType line, where no activation was known yet: the bare
  // formula (0 - 4 + 3 x 2) would file this CID scan under HCD/IT.
  EXPECT_EQ(ms2.spectra[0].activationGroup, kNoActivationGroup);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{}));
}

TEST(LoadMS2File, RetTimeWithoutPointIsTenTimesLarger) {
  TempDir folder;
  const MS2File ms2 =
      loadText(folder, "S\t1\t1\r\nI\tRetTime\t12\r\nS\t2\t2\r\nI\tRetTime\t12.0\r\n");
  EXPECT_EQ(ms2.spectra[0].retentionTime, 120.0);
  EXPECT_EQ(ms2.spectra[1].retentionTime, 12.0);
}

TEST(LoadMS2File, SpectrumWithoutPeaksIsKept) {
  TempDir folder;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\nZ\t2\t1000.5\r\nS\t2\t2\r\n100.5 1.0\r\n");
  ASSERT_EQ(ms2.spectra.size(), 2u);
  EXPECT_TRUE(ms2.spectra[0].peaks.empty());
  EXPECT_EQ(ms2.spectra[1].peaks.size(), 1u);
}

TEST(LoadMS2File, DuplicateScanBlocksGiveTwoSpectra) {
  TempDir folder;
  const MS2File ms2 = loadText(folder, "S\t5\t5\r\nZ\t2\t1000.5\r\nS\t5\t5\r\nZ\t3\t1200.5\r\n");
  ASSERT_EQ(ms2.spectra.size(), 2u);
  EXPECT_EQ(ms2.spectra[0].scanNumber, 5u);
  EXPECT_EQ(ms2.spectra[1].scanNumber, 5u);
  EXPECT_EQ(ms2.spectra[1].charge, 3);
}

TEST(LoadMS2File, OverlongScanNumberWrapsAround) {
  TempDir folder;
  EXPECT_EQ(loadText(folder, "S\t99999999999\t1\r\n").spectra[0].scanNumber, 1215752191u);
}

TEST(LoadMS2File, ReloadingClearsTheRecordFirst) {
  TempDir folder;
  const std::string path = folder.file("a.ms2");
  writeFile(path, kOneScan);
  MS2File ms2;
  loadMS2File(path, ms2);
  writeFile(path, "S\t1\t1\r\n");
  loadMS2File(path, ms2);
  EXPECT_EQ(ms2.spectrumCount, 1);
  EXPECT_EQ(ms2.groupPresent, (std::array<std::uint8_t, 6>{}));
}

TEST(MS2ScanLength, TruncatesTheByteCountTo32BitSigned) {
  EXPECT_EQ(ms2ScanLength(0), 0);
  EXPECT_EQ(ms2ScanLength(2147483647), 2147483647);
  EXPECT_LT(ms2ScanLength(2147483648), 0);
  EXPECT_LT(ms2ScanLength(3221225472), 0);
  EXPECT_LT(ms2ScanLength(4294967295), 0);
}

TEST(LoadMS2Text, LengthOf2GiBOrMoreLoadsNoSpectraWithAlert) {
  for (const std::int64_t byteCount : {std::int64_t{2147483648}, std::int64_t{3221225472}}) {
    LogWatch log;
    MS2File ms2;
    loadMS2Text(kOneScan, byteCount, "big.ms2", ms2);
    EXPECT_EQ(ms2.spectrumCount, 0);
    EXPECT_TRUE(ms2.spectra.empty());
    EXPECT_EQ(ms2.scanTable.size(), 200000u);
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"MS2 file big.ms2 has " + std::to_string(byteCount) +
                                            " bytes; the MS2 loader reads files below "
                                            "2147483648 bytes only, so no spectra were loaded "
                                            "from it.",
                                        "Loading MS2 Spectra Number: 0"}));
  }
}

TEST(LoadMS2Text, LengthBelow2GiBLoadsTheText) {
  MS2File ms2;
  const std::string text = kOneScan;
  loadMS2Text(text, static_cast<std::int64_t>(text.size()), "small.ms2", ms2);
  EXPECT_EQ(ms2.spectrumCount, 1);
}

TEST(LoadMS2File, MixedLineEndsReadAsCrLfWithoutAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\n100.5 10.0\n200.5 20.0\r\n", &path);
  ASSERT_EQ(ms2.spectra[0].peaks.size(), 2u);
  EXPECT_EQ(ms2.spectra[0].peaks[1].mz, 200.5);  // nothing of the line after the LF is lost
  EXPECT_EQ(ms2.spectra[0].peaks[1].intensity, 20.0);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"1 MS2 scans of " + path + " have no InstrumentType line; they stay in the CID/IT group.",
                                      "Loading MS2 Spectra Number: 1"}));
}

TEST(LoadMS2File, BareLineFeedFileWithoutPeaksLoadsWithoutLineEndAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 = loadText(folder, "H\tExtractor\tQuarry\nS\t1\t1\n", &path);
  EXPECT_EQ(ms2.spectrumCount, 1);
  EXPECT_EQ(log.messages().front(),
            "1 MS2 scans of " + path + " have no InstrumentType line; they stay in the CID/IT group.");
}

TEST(LoadMS2File, MissingFileRaisesTheDoesNotExistText) {
  TempDir folder;
  const std::string path = folder.file("none.ms2");
  MS2File ms2;
  EXPECT_EQ(failureText([&] { loadMS2File(path, ms2); }), missingFileText(path));
}

TEST(LoadMS2File, EmptyFileLoadsNoSpectra) {
  TempDir folder;
  LogWatch log;
  const MS2File ms2 = loadText(folder, "");
  EXPECT_EQ(ms2.spectrumCount, 0);
  EXPECT_EQ(ms2.scanTable.size(), 200000u);
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Loading MS2 Spectra Number: 0"});
}

TEST(LoadMS2File, TruncatedFileReadsUpToItsLastByte) {
  TempDir folder;
  const MS2File cutInCharge = loadText(folder, "S\t1\t1\r\nI\tActivationCenter\t300.5\r\nZ\t3");
  EXPECT_EQ(cutInCharge.spectra[0].charge, 3);
  EXPECT_EQ(cutInCharge.spectra[0].precursorMH, 3 * 300.5 - 2 * 1.007276);
  const MS2File cutInType = loadText(folder, "S\t1\t1\r\nI\tActivationType\tHC");
  EXPECT_EQ(cutInType.spectra[0].activationType, "HC");
  EXPECT_EQ(cutInType.spectra[0].activationCode, -1);
  const MS2File cutInKey = loadText(folder, "S\t1\t1\r\nI\tInstrumentTyp");
  EXPECT_EQ(cutInKey.spectra[0].instrumentType, "IT");
  const MS2File cutInPeak = loadText(folder, "S\t1\t1\r\n100.25 3");
  EXPECT_EQ(cutInPeak.spectra[0].peaks[0].intensity, 30.0);
  const MS2File cutInScan = loadText(folder, "S");
  EXPECT_EQ(cutInScan.spectrumCount, 1);
}

TEST(LoadMS2File, ZeroByteEndsTheScanWithAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 = loadText(folder, std::string("S\t1\t1\r\n\0S\t2\t2\r\n", 15), &path);
  EXPECT_EQ(ms2.spectrumCount, 1);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"Reading of " + path +
                                          " stopped at a zero byte at offset 7; the text after it "
                                          "was not loaded.",
                                      "1 MS2 scans of " + path + " have no InstrumentType line; they stay in the CID/IT group.",
                                      "Loading MS2 Spectra Number: 1"}));
}

TEST(LoadMS2File, LinesBeforeTheFirstScanAreIgnoredWithAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS2File ms2 = loadText(folder,
                               "H\tExtractor\tQuarry\r\nZ\t2\t1000.5\r\nI\tRetTime\t1.0\r\n"
                               "100.5 1.0\r\nS\t1\t1\r\n",
                               &path);
  EXPECT_EQ(ms2.spectrumCount, 1);
  EXPECT_EQ(ms2.spectra[0].charge, 0);
  EXPECT_EQ(log.messages(), (std::vector<std::string>{
                                "Lines before the first S line of " + path + " were ignored: 3.",
                                "1 MS2 scans of " + path + " have no InstrumentType line; they stay in the CID/IT group.",
                                "Loading MS2 Spectra Number: 1"}));
}

TEST(LoadMS2File, RandomBytesNeverCrashOrHang) {
  TempDir folder;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const MS2File ms2 =
        loadText(folder, testing::pseudoRandomBytes(200000, seed, seed % 2 == 0));
    EXPECT_EQ(ms2.spectrumCount, static_cast<std::int32_t>(ms2.spectra.size()));
  }
}

TEST(LoadMS2File, TenMegabyteSingleLineIsScannedToTheEnd) {
  TempDir folder;
  const MS2File ms2 = loadText(folder, "S\t1\t1\r\nI\tRetTime\t" + std::string(10'000'000, '5'));
  ASSERT_EQ(ms2.spectrumCount, 1);
  EXPECT_TRUE(std::isinf(ms2.spectra[0].retentionTime));
  const MS2File peaks = loadText(folder, "S\t1\t1\r\n" + std::string(10'000'000, '7') + "\r\n");
  ASSERT_EQ(peaks.spectra[0].peaks.size(), 1u);
  EXPECT_TRUE(std::isinf(peaks.spectra[0].peaks[0].mz));
}

}  // namespace
}  // namespace corvid
