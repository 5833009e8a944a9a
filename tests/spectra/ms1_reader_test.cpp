#include "spectra/ms1_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/run_failure.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/failure_text.h"

namespace corvid {
namespace {

using namespace testing;

// Loads text written to a fresh file; returns the file's path through path when asked.
MS1File loadText(const TempDir& folder, const std::string& text, std::int64_t chunkLimit = 0,
                 std::string* pathOut = nullptr) {
  const std::string path = folder.file("run.ms1");
  writeFile(path, text);
  MS1File ms1;
  if (chunkLimit > 0) {
    loadMS1File(path, chunkLimit, ms1);
  } else {
    loadMS1File(path, ms1);
  }
  if (pathOut != nullptr) *pathOut = path;
  return ms1;
}

const char* const kTwoScans =
    "H\tCreationDate\tMon Jan 01 00:00:00 2024\r\n"
    "H\tExtractor\tQuarry\r\n"
    "S\t000001\t000001\r\n"
    "I\tNumberOfPeaks\t2\r\n"
    "I\tRetTime\t0.5\r\n"
    "I\tIonInjectionTime\t10.0\r\n"
    "I\tInstrumentType\tFTMS\r\n"
    "400.12345 1000.5\r\n"
    "401.5 20.25\r\n"
    "S\t000002\t000002\r\n"
    "I\tRetTime\t1.25\r\n"
    "I\tInstrumentType\tFTMS\r\n"
    "500.0 7.0\r\n";

TEST(LoadMS1File, ReadsScansRetentionTimesInstrumentAndPeaks) {
  TempDir folder;
  LogWatch log;
  const MS1File ms1 = loadText(folder, kTwoScans);
  ASSERT_EQ(ms1.spectra.size(), 2u);
  EXPECT_EQ(ms1.spectrumCount, 2);
  EXPECT_EQ(ms1.instrumentName, "FTMS");
  EXPECT_EQ(ms1.spectra[0].scanNumber, 1u);
  EXPECT_EQ(ms1.spectra[0].retentionTime, 0.5);
  EXPECT_EQ(ms1.spectra[0].instrumentLetter, "F");
  ASSERT_EQ(ms1.spectra[0].peaks.size(), 2u);
  EXPECT_EQ(ms1.spectra[0].peaks[0].mz, 400.12345);
  EXPECT_EQ(ms1.spectra[0].peaks[0].intensity, 1000.5);
  EXPECT_EQ(ms1.spectra[0].peaks[1].mz, 401.5);
  EXPECT_EQ(ms1.spectra[0].peaks[1].intensity, 20.25);
  EXPECT_EQ(ms1.spectra[1].scanNumber, 2u);
  EXPECT_EQ(ms1.spectra[1].retentionTime, 1.25);
  ASSERT_EQ(ms1.spectra[1].peaks.size(), 1u);
  EXPECT_EQ(ms1.spectra[1].peaks[0].mz, 500.0);
  EXPECT_TRUE(ms1.spectra[0].label.empty());
  EXPECT_TRUE(ms1.spectra[0].workList.empty());
  EXPECT_EQ(ms1.spectra[0].workValue, 0.0);
  EXPECT_TRUE(ms1.rawName.empty());
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Loading MS1 Spectra Number: 2"});
}

TEST(LoadMS1File, RetTimeWithoutPointIsTenTimesLarger) {
  TempDir folder;
  const MS1File ms1 = loadText(folder,
                               "S\t1\t1\r\nI\tRetTime\t12\r\n"
                               "S\t2\t2\r\nI\tRetTime\t12.0\r\n");
  ASSERT_EQ(ms1.spectra.size(), 2u);
  EXPECT_EQ(ms1.spectra[0].retentionTime, 120.0);
  EXPECT_EQ(ms1.spectra[1].retentionTime, 12.0);
}

TEST(LoadMS1File, InstrumentLettersAndFirstTypedScanDecidesTheName) {
  TempDir folder;
  const MS1File ms1 = loadText(folder,
                               "S\t1\t1\r\n"  // no type line
                               "S\t2\t2\r\nI\tInstrumentType\tITMS\r\n"
                               "S\t3\t3\r\nI\tInstrumentType\tFTMS\r\n"
                               "S\t4\t4\r\nI\tInstrumentType\tQTOF\r\n"
                               "S\t5\t5\r\nI\tInstrumentType\tXYZ\r\n");
  ASSERT_EQ(ms1.spectra.size(), 5u);
  EXPECT_EQ(ms1.instrumentName, "ITMS");
  EXPECT_EQ(ms1.spectra[0].instrumentLetter, "");
  EXPECT_EQ(ms1.spectra[1].instrumentLetter, "I");
  EXPECT_EQ(ms1.spectra[2].instrumentLetter, "F");
  EXPECT_EQ(ms1.spectra[3].instrumentLetter, "F");
  EXPECT_EQ(ms1.spectra[4].instrumentLetter, "U");
}

TEST(LoadMS1File, UnknownInstrumentNamesTheFileUnknown) {
  TempDir folder;
  EXPECT_EQ(loadText(folder, "S\t1\t1\r\nI\tInstrumentType\tTOF\r\n").instrumentName, "Unknown");
}

TEST(LoadMS1File, NoInstrumentTypeLineLeavesNameEmpty) {
  TempDir folder;
  const MS1File ms1 = loadText(folder, "S\t1\t1\r\n100.5 1.5\r\n");
  EXPECT_EQ(ms1.instrumentName, "");
  EXPECT_EQ(ms1.spectra[0].instrumentLetter, "");
  EXPECT_EQ(ms1.spectra[0].retentionTime, 0.0);
}

TEST(LoadMS1File, SpectrumWithoutPeaksIsKept) {
  TempDir folder;
  const MS1File ms1 = loadText(folder, "S\t1\t1\r\nI\tRetTime\t1.0\r\nS\t2\t2\r\n100.5 1.5\r\n");
  ASSERT_EQ(ms1.spectra.size(), 2u);
  EXPECT_TRUE(ms1.spectra[0].peaks.empty());
  EXPECT_EQ(ms1.spectra[1].peaks.size(), 1u);
}

TEST(LoadMS1File, DuplicateScanBlocksGiveTwoSpectra) {
  TempDir folder;
  const MS1File ms1 = loadText(folder, "S\t7\t7\r\n100.5 1.5\r\nS\t7\t7\r\n200.5 2.5\r\n");
  ASSERT_EQ(ms1.spectra.size(), 2u);
  EXPECT_EQ(ms1.spectra[0].scanNumber, 7u);
  EXPECT_EQ(ms1.spectra[1].scanNumber, 7u);
  EXPECT_EQ(ms1.spectra[1].peaks[0].mz, 200.5);
}

// A file of many scans whose sizes differ, so chunk limits cut at many different places.
std::string manyScans(int count) {
  std::string text = "H\tExtractor\tQuarry\r\n";
  for (int scan = 1; scan <= count; ++scan) {
    text += "S\t" + std::to_string(scan) + "\t" + std::to_string(scan) + "\r\n";
    text += "I\tRetTime\t" + std::to_string(scan) + ".5\r\n";
    text += "I\tInstrumentType\tFTMS\r\n";
    for (int k = 0; k < scan % 4; ++k) {
      text += std::to_string(100 + scan) + "." + std::to_string(k) + " " + std::to_string(k + 1) +
              ".5\r\n";
    }
  }
  return text;
}

void expectSameSpectra(const MS1File& expected, const MS1File& actual, std::int64_t limit) {
  ASSERT_EQ(actual.spectra.size(), expected.spectra.size()) << "limit " << limit;
  for (std::size_t i = 0; i < expected.spectra.size(); ++i) {
    const MS1Spectrum& a = actual.spectra[i];
    const MS1Spectrum& e = expected.spectra[i];
    EXPECT_EQ(a.scanNumber, e.scanNumber) << "limit " << limit;
    EXPECT_EQ(a.retentionTime, e.retentionTime) << "limit " << limit;
    EXPECT_EQ(a.instrumentLetter, e.instrumentLetter) << "limit " << limit;
    ASSERT_EQ(a.peaks.size(), e.peaks.size()) << "limit " << limit << " scan " << e.scanNumber;
    for (std::size_t k = 0; k < e.peaks.size(); ++k) {
      EXPECT_EQ(a.peaks[k].mz, e.peaks[k].mz);
      EXPECT_EQ(a.peaks[k].intensity, e.peaks[k].intensity);
    }
  }
}

TEST(LoadMS1File, ChunkCutNeverSplitsASpectrum) {
  TempDir folder;
  const std::string text = manyScans(60);
  const MS1File whole = loadText(folder, text);
  ASSERT_EQ(whole.spectra.size(), 60u);
  // The largest scan block is under 130 bytes; every limit above that cuts between scans.
  for (std::int64_t limit = 130; limit <= 400; limit += 7) {
    LogWatch log;
    const MS1File chunked = loadText(folder, text, limit);
    expectSameSpectra(whole, chunked, limit);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"Loading MS1 Spectra Number: 60"});
  }
}

TEST(LoadMS1File, FileOfExactlyTheChunkLimitIsCutBeforeItsLastScan) {
  TempDir folder;
  const std::string text = manyScans(5);
  const MS1File whole = loadText(folder, text);
  const MS1File chunked = loadText(folder, text, static_cast<std::int64_t>(text.size()));
  expectSameSpectra(whole, chunked, static_cast<std::int64_t>(text.size()));
}

TEST(LoadMS1File, SpectrumLargerThanTheChunkIsSplitWithAnAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS1File ms1 = loadText(folder, "S\t1\t1\r\n100.5 1.5\r\n200.5 2.5\r\n", 10, &path);
  // The cut cannot find a scan start and the chunks run through the spectrum: nothing hangs.
  ASSERT_GE(ms1.spectra.size(), 1u);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{
                "A spectrum of " + path +
                    " is larger than the read chunk of 10 bytes and was "
                    "split between chunks.",
                "Loading MS1 Spectra Number: " + std::to_string(ms1.spectra.size())}));
}

TEST(MS1ChunkLength, CutsBeforeTheLastScanAtALineStart) {
  // 22 bytes; the second scan starts at 14.
  EXPECT_EQ(ms1ChunkLength("S\t1\r\n1.0 2.0\r\nS\t2\r\n3.0", 100), 22);  // short read: whole
  EXPECT_EQ(ms1ChunkLength("S\t1\r\n1.0 2.0\r\nS\t2\r\n3.0", 22), 14);
  EXPECT_EQ(ms1ChunkLength("S\t1\r\nXS\t2\r\n", 11), 0);  // no S after a line feed
  EXPECT_EQ(ms1ChunkLength("", 5), 0);
}

TEST(LoadMS1File, BareLineFeedsReadAsCrLfWithoutAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS1File ms1 =
      loadText(folder, "S\t1\t1\n100.5 10.0\n200.5 20.0\nS\t2\t2\n300.5 30.0\n", 0, &path);
  // Lines ending with LF alone (as Linux tools write them) lose nothing.
  ASSERT_EQ(ms1.spectra.size(), 2u);
  const std::vector<Peak>& peaks = ms1.spectra[0].peaks;
  ASSERT_EQ(peaks.size(), 2u);
  EXPECT_EQ(peaks[0].mz, 100.5);
  EXPECT_EQ(peaks[1].mz, 200.5);
  EXPECT_EQ(peaks[1].intensity, 20.0);
  EXPECT_EQ(ms1.spectra[1].scanNumber, 2u);
  ASSERT_EQ(ms1.spectra[1].peaks.size(), 1u);
  EXPECT_EQ(ms1.spectra[1].peaks[0].mz, 300.5);
  EXPECT_EQ(ms1.spectra[1].peaks[0].intensity, 30.0);
  EXPECT_EQ(log.messages(), (std::vector<std::string>{"Loading MS1 Spectra Number: 2"}));
}

TEST(LoadMS1File, MissingFileRaisesTheDoesNotExistText) {
  TempDir folder;
  const std::string path = folder.file("none.ms1");
  MS1File ms1;
  EXPECT_EQ(failureText([&] { loadMS1File(path, ms1); }), missingFileText(path));
}

TEST(LoadMS1File, EmptyFileLoadsNoSpectra) {
  TempDir folder;
  LogWatch log;
  const MS1File ms1 = loadText(folder, "");
  EXPECT_EQ(ms1.spectrumCount, 0);
  EXPECT_TRUE(ms1.spectra.empty());
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Loading MS1 Spectra Number: 0"});
}

TEST(LoadMS1File, TruncatedFileReadsUpToItsLastByte) {
  TempDir folder;
  const MS1File ms1 = loadText(folder, "S\t1\t1\r\nI\tRetTime\t12.5\r\n100.5 20");
  ASSERT_EQ(ms1.spectra.size(), 1u);
  EXPECT_EQ(ms1.spectra[0].retentionTime, 12.5);
  ASSERT_EQ(ms1.spectra[0].peaks.size(), 1u);
  EXPECT_EQ(ms1.spectra[0].peaks[0].mz, 100.5);
  EXPECT_EQ(ms1.spectra[0].peaks[0].intensity, 200.0);  // no point: tenfold
  const MS1File cutInRetTime = loadText(folder, "S\t1\t1\r\nI\tRetTime\t3.2");
  EXPECT_EQ(cutInRetTime.spectra[0].retentionTime, 3.2);
  const MS1File cutInKey = loadText(folder, "S\t1\t1\r\nI\tIn");
  EXPECT_EQ(cutInKey.spectra[0].instrumentLetter, "U");
  const MS1File cutInScan = loadText(folder, "S\t4");
  ASSERT_EQ(cutInScan.spectra.size(), 1u);
  EXPECT_EQ(cutInScan.spectra[0].scanNumber, 4u);
}

TEST(LoadMS1File, ZeroByteEndsTheScanWithAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS1File ms1 =
      loadText(folder, std::string("S\t1\t1\r\n100.5 1.0\r\n\0S\t2\t2\r\n", 26), 0, &path);
  EXPECT_EQ(ms1.spectra.size(), 1u);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"Reading of " + path +
                                          " stopped at a zero byte at offset 18; the text after "
                                          "it was not loaded.",
                                      "Loading MS1 Spectra Number: 1"}));
}

TEST(LoadMS1File, LinesBeforeTheFirstScanAreIgnoredWithAlert) {
  TempDir folder;
  std::string path;
  LogWatch log;
  const MS1File ms1 = loadText(folder,
                               "100.5 1.0\r\nI\tRetTime\t1.0\r\nI\tInstrumentType\tITMS\r\n"
                               "S\t1\t1\r\nI\tInstrumentType\tFTMS\r\n200.5 2.0\r\n",
                               0, &path);
  ASSERT_EQ(ms1.spectra.size(), 1u);
  EXPECT_EQ(ms1.spectra[0].retentionTime, 0.0);
  EXPECT_EQ(ms1.spectra[0].peaks.size(), 1u);
  EXPECT_EQ(ms1.instrumentName, "FTMS");  // a type line outside any scan decides nothing
  EXPECT_EQ(log.messages(), (std::vector<std::string>{
                                "Lines before the first S line of " + path + " were ignored: 3.",
                                "Loading MS1 Spectra Number: 1"}));
}

TEST(LoadMS1File, RandomBytesNeverCrashOrHang) {
  TempDir folder;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const std::string bytes = testing::pseudoRandomBytes(200000, seed, seed % 2 == 0);
    for (std::int64_t limit : {std::int64_t{0}, std::int64_t{4096}}) {
      const MS1File ms1 = loadText(folder, bytes, limit);
      EXPECT_EQ(ms1.spectrumCount, static_cast<std::int64_t>(ms1.spectra.size()));
    }
  }
}

TEST(LoadMS1File, TenMegabyteSingleLineIsScannedToTheEnd) {
  TempDir folder;
  const MS1File digits = loadText(folder, std::string(10'000'000, '1'));
  EXPECT_EQ(digits.spectrumCount, 0);  // a peak line before any scan: ignored
  const MS1File letters =
      loadText(folder, "S\t1\t1\r\n" + std::string(10'000'000, 'x') + "\r\n100.5 1.5\r\n");
  ASSERT_EQ(letters.spectra.size(), 1u);
  ASSERT_EQ(letters.spectra[0].peaks.size(), 1u);
  EXPECT_EQ(letters.spectra[0].peaks[0].intensity, 1.5);
}

}  // namespace
}  // namespace corvid
