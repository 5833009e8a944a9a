#include "spectra/mgf_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "platform/run_failure.h"
#include "spectra/precursor_record.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

constexpr const char* kTitleHelp =
    "[Error] Incorrect title format! correct format should be:\n"
    "\tRAWName.scan.scan.charge.dta, \n"
    "e.g.\n"
    "\thuman_SILAC.raw may contains a MS/MS spectrum with title like this:\n"
    "\t\thuman_SILAC.2345.2345.2.dta\n"
    "\tCorvid can parse scan = 2345 charge = 2 from this title.\n"
    "[Error] Sorry, Corvid fail to parse the title of the MGF, the program will exit!\n";

MGFFile readText(const TempDir& folder, std::string_view text, std::string* console = nullptr) {
  std::string path = folder.file("in.mgf");
  writeFile(path, text);
  MGFFile file;
  file.path = path;
  ::testing::internal::CaptureStdout();
  readMGF(file);
  std::string printed = ::testing::internal::GetCapturedStdout();
  if (console != nullptr) *console = printed;
  return file;
}

// Runs readMGF in a child process with its standard output in a file; the parent checks the
// exit status, then the file.
void expectExitWithOutput(const TempDir& folder, const std::string& mgfPath,
                          const std::string& expected) {
  std::string consolePath = folder.file("console.txt");
  MGFFile file;
  file.path = mgfPath;
  EXPECT_EXIT(
      {
        if (std::freopen(consolePath.c_str(), "w", stdout) == nullptr) std::exit(1);
        try {
          readMGF(file);
        } catch (const RunFailure& failure) {
          std::fflush(stdout);
          std::exit(failure.kind == FailureKind::kEndedQuietly ? 255 : 1);
        }
        std::exit(0);
      },
      ::testing::ExitedWithCode(255), "");
  EXPECT_EQ(readFile(consolePath), expected);
}

constexpr std::string_view kTwoBlocks = R"(BEGIN IONS
TITLE=human.100.100.2.dta
CHARGE=3+
RTINSECONDS=12.5
PEPMASS=500.25 1234.5
101.5 20.0
202.25	30.5
END IONS
BEGIN IONS
TITLE=human.100.100.2.1.dta
CHARGE=2+
PEPMASS=700.5
300.0 1.0
END IONS
)";

TEST(ReadMGF, ReadsBlocksWithFourAndFiveFieldTitles) {
  TempDir folder;
  MGFFile file = readText(folder, kTwoBlocks);
  ASSERT_EQ(file.spectra.size(), 2u);
  EXPECT_EQ(file.rawName, "human");
  EXPECT_EQ(file.currentIndex, 1);
  EXPECT_EQ(file.distinctScanCount, 1);
  const MS2Spectrum& first = file.spectra[0];
  EXPECT_EQ(first.scanNumber, 100u);
  EXPECT_EQ(first.sourceName, "human");
  EXPECT_EQ(first.charge, 3);
  EXPECT_EQ(first.precursorIndex, 0);
  EXPECT_DOUBLE_EQ(first.precursorMH, 3 * 500.25 - 2 * kProtonMass);
  EXPECT_EQ(first.retentionTime, 0.0);  // RTINSECONDS is not read
  ASSERT_EQ(first.peaks.size(), 2u);
  EXPECT_DOUBLE_EQ(first.peaks[0].mz, 101.5);
  EXPECT_DOUBLE_EQ(first.peaks[0].intensity, 20.0);
  EXPECT_DOUBLE_EQ(first.peaks[1].mz, 202.25);  // TAB separator
  EXPECT_DOUBLE_EQ(first.peaks[1].intensity, 30.5);
  EXPECT_EQ(file.spectra[1].precursorIndex, 1);
  EXPECT_DOUBLE_EQ(file.spectra[1].precursorMH, 2 * 700.5 - kProtonMass);
}

TEST(ReadMGF, CrLfLineEndsReadLikeLineFeeds) {
  TempDir folder;
  std::string crlf;
  for (char c : kTwoBlocks) {
    if (c == '\n') crlf += '\r';
    crlf += c;
  }
  MGFFile file = readText(folder, crlf);
  ASSERT_EQ(file.spectra.size(), 2u);
  EXPECT_EQ(file.spectra[0].charge, 3);
  EXPECT_EQ(file.spectra[1].precursorIndex, 1);
  ASSERT_EQ(file.spectra[0].peaks.size(), 2u);
  EXPECT_DOUBLE_EQ(file.spectra[0].peaks[1].intensity, 30.5);
}

TEST(ReadMGF, ChargeZeroPlusBecomesTwo) {
  TempDir folder;
  MGFFile file = readText(folder,
                          "BEGIN IONS\nTITLE=r.5.5.0.dta\nCHARGE=0+\nPEPMASS=400.0\n"
                          "100.0 1.0\nEND IONS\n");
  ASSERT_EQ(file.spectra.size(), 1u);
  EXPECT_EQ(file.spectra[0].charge, 2);
  EXPECT_DOUBLE_EQ(file.spectra[0].precursorMH, 800.0 - kProtonMass);
}

TEST(ReadMGF, HugeChargesAndMassesAreClampedNotOverflowed) {
  TempDir folder;
  MGFFile file = readText(folder,
                          "BEGIN IONS\nTITLE=r.5.5.0.dta\nCHARGE=-99999999999+\nPEPMASS=1e999\n"
                          "1e400 5\nEND IONS\nBEGIN IONS\nTITLE=r.6.6.0.dta\nCHARGE=99999999999+\n"
                          "PEPMASS=x\n7 8\nEND IONS\n");
  ASSERT_EQ(file.spectra.size(), 2u);
  EXPECT_EQ(file.spectra[0].charge, -2147483647);
  EXPECT_TRUE(std::isinf(file.spectra[0].peaks.at(0).mz));
  EXPECT_EQ(file.spectra[1].charge, 2147483647);
  EXPECT_EQ(file.spectra[1].peaks.at(0).mz, 7.0);
  EXPECT_EQ(file.spectra[1].peaks.at(0).intensity, 8.0);
}

TEST(ReadMGF, BlockWithoutChargeUsesDefaultCharge) {
  TempDir folder;
  MGFFile file =
      readText(folder, "BEGIN IONS\nTITLE=r.5.5.0.dta\nPEPMASS=400.0\n100.0 1.0\nEND IONS\n");
  ASSERT_EQ(file.spectra.size(), 1u);
  EXPECT_EQ(file.spectra[0].charge, 2);
  EXPECT_DOUBLE_EQ(file.spectra[0].precursorMH, 800.0 - kProtonMass);
}

TEST(ReadMGF, DistinctScanCountCountsScanChanges) {
  TempDir folder;
  std::string text;
  for (int scan : {100, 100, 101, 100, 0}) {
    text += "BEGIN IONS\nTITLE=r." + std::to_string(scan) + "." + std::to_string(scan) +
            ".2.dta\nCHARGE=2+\nPEPMASS=300.0\n10.0 1.0\nEND IONS\n";
  }
  MGFFile file = readText(folder, text);
  EXPECT_EQ(file.spectra.size(), 5u);
  EXPECT_EQ(file.distinctScanCount, 4);
}

TEST(ReadMGF, BlockWithoutPeaksKeepsZeroMass) {
  TempDir folder;
  MGFFile file =
      readText(folder, "BEGIN IONS\nTITLE=r.5.5.2.dta\nCHARGE=2+\nPEPMASS=400.0\nEND IONS\n");
  ASSERT_EQ(file.spectra.size(), 1u);
  EXPECT_TRUE(file.spectra[0].peaks.empty());
  EXPECT_EQ(file.spectra[0].precursorMH, 0.0);
}

TEST(ReadMGF, ScanMultipleOfNinetyOnePrintsProgress) {
  TempDir folder;
  std::string console;
  readText(folder,
           "BEGIN IONS\nTITLE=r.182.182.2.dta\nEND IONS\nBEGIN IONS\nTITLE=r.183.183.2.dta\n",
           &console);
  EXPECT_EQ(console, "\r[Corvid] Extracting MS2, Scan Num = 182");
}

TEST(ReadMGF, MissingEndIonsSwallowsTheNextBlockWithAlert) {
  TempDir folder;
  std::size_t mark = logMark();
  MGFFile file =
      readText(folder,
               "BEGIN IONS\nTITLE=r.1.1.2.dta\nCHARGE=2+\nPEPMASS=300.0\n10.0 1.0\n"
               "BEGIN IONS\nTITLE=r.2.2.2.dta\nCHARGE=2+\nPEPMASS=300.0\n10.0 1.0\nEND IONS\n"
               "BEGIN IONS\nTITLE=r.3.3.2.dta\nEND IONS\n");
  ASSERT_EQ(file.spectra.size(), 2u);
  EXPECT_EQ(file.spectra[0].scanNumber, 1u);
  EXPECT_EQ(file.spectra[1].scanNumber, 3u);
  std::vector<std::string> messages = logMessagesSince(mark);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0], "1 MGF blocks of " + file.path +
                             " were skipped: the block before them has no \"END IONS\" line");
}

TEST(ReadMGF, PeaksBeforeAnyTitleAreIgnoredWithAlert) {
  TempDir folder;
  std::size_t mark = logMark();
  MGFFile file = readText(folder, "10.0 1.0\n11.0 2.0\nBEGIN IONS\nTITLE=r.1.1.2.dta\nEND IONS\n");
  ASSERT_EQ(file.spectra.size(), 1u);
  EXPECT_TRUE(file.spectra[0].peaks.empty());
  std::vector<std::string> messages = logMessagesSince(mark);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0],
            "2 peak lines of " + file.path + " come before any TITLE and were ignored");
}

TEST(ReadMGF, LongLinesArriveInPiecesOf1023Characters) {
  TempDir folder;
  // The first 1023 characters are one piece (not a title); the rest is read as a line of its own.
  std::string text = "BEGIN IONS\n" + std::string(1023, 'Z') + "TITLE=r.9.9.2.dta\nCHARGE=2+\n" +
                     "PEPMASS=300.0\n" + std::string(1023, '0') + "5.5 7.0\nEND IONS\n";
  MGFFile file = readText(folder, text);
  ASSERT_EQ(file.spectra.size(), 1u);
  EXPECT_EQ(file.spectra[0].scanNumber, 9u);
  ASSERT_EQ(file.spectra[0].peaks.size(), 2u);
  EXPECT_EQ(file.spectra[0].peaks[0].mz, 0.0);
  EXPECT_EQ(file.spectra[0].peaks[0].intensity, 0.0);
  EXPECT_DOUBLE_EQ(file.spectra[0].peaks[1].mz, 5.5);
  // A line of exactly 1023 characters and its line feed: the line feed comes as an empty piece.
  std::string exact =
      "BEGIN IONS\nTITLE=r.4.4.2.dta\n" + std::string(1023, '#') + "\nCHARGE=3+\nEND IONS\n";
  MGFFile second = readText(folder, exact);
  ASSERT_EQ(second.spectra.size(), 1u);
  EXPECT_EQ(second.spectra[0].charge, 3);
}

TEST(ReadMGF, TruncatedLastLineLosesItsLastCharacter) {
  TempDir folder;
  MGFFile file =
      readText(folder, "BEGIN IONS\nTITLE=r.1.1.2.dta\nCHARGE=2+\nPEPMASS=300.0\n100.5 27");
  ASSERT_EQ(file.spectra.size(), 1u);
  ASSERT_EQ(file.spectra[0].peaks.size(), 1u);
  EXPECT_DOUBLE_EQ(file.spectra[0].peaks[0].mz, 100.5);
  EXPECT_DOUBLE_EQ(file.spectra[0].peaks[0].intensity, 2.0);
}

TEST(ReadMGF, EmptyFileGivesNoSpectra) {
  TempDir folder;
  MGFFile file = readText(folder, "");
  EXPECT_TRUE(file.spectra.empty());
  EXPECT_EQ(file.distinctScanCount, 0);
  EXPECT_EQ(file.currentIndex, -1);
}

TEST(ReadMGF, RandomBytesWithoutTitlesDoNotCrash) {
  TempDir folder;
  std::mt19937 generator(20160);
  std::string noise(200000, '\0');
  for (char& c : noise) c = static_cast<char>(generator() % 256);
  // Keep "T" out so that no accidental title line ends the test process.
  for (char& c : noise)
    if (c == 'T') c = 't';
  MGFFile file = readText(folder, "BEGIN IONS\nTITLE=r.1.1.2.dta\n" + noise);
  EXPECT_EQ(file.spectra.size(), 1u);
}

TEST(ReadMGF, ZeroByteEndsTheLineAsTheCStringFunctionsSeeIt) {
  TempDir folder;
  std::string text = "BEGIN IONS\nTITLE=r.12.12.2.dta\nCHARGE=4";
  text += '\0';
  text += "junk+\nEND IONS\n";
  MGFFile file = readText(folder, text);
  ASSERT_EQ(file.spectra.size(), 1u);
  // "CHARGE=4" less its last two characters reads as 0, which means charge 2.
  EXPECT_EQ(file.spectra[0].charge, 2);
}

TEST(ParseMGFTitle, SplitsRawNameScanAndPrecursorIndex) {
  MGFTitle four = parseMGFTitle("human_SILAC.2345.2345.2.dta");
  EXPECT_TRUE(four.scanValid);
  EXPECT_EQ(four.rawName, "human_SILAC");
  EXPECT_EQ(four.scan, 2345);
  EXPECT_EQ(four.precursorIndex, 0);
  MGFTitle five = parseMGFTitle("run.77.77.3.2.dta");
  EXPECT_EQ(five.scan, 77);
  EXPECT_EQ(five.precursorIndex, 2);
  EXPECT_FALSE(parseMGFTitle("a.b.100.100.2.dta").scanValid);
  EXPECT_FALSE(parseMGFTitle("nodots").scanValid);
  EXPECT_FALSE(parseMGFTitle("r.99999999999.1.2.dta").scanValid);
  EXPECT_TRUE(parseMGFTitle("r. 12x.1.2.dta").scanValid);  // leading blanks and a number prefix
}

TEST(ReadMGFDeathTest, RawNameWithDotFailsWithTitleHelp) {
  TempDir folder;
  std::string path = folder.file("dot.mgf");
  writeFile(path, "BEGIN IONS\nTITLE=a.b.100.100.2.dta\nEND IONS\n");
  expectExitWithOutput(folder, path, kTitleHelp);
}

TEST(ReadMGFDeathTest, ScanOutOfRangeFailsWithTitleHelp) {
  TempDir folder;
  std::string path = folder.file("range.mgf");
  writeFile(path, "BEGIN IONS\r\nTITLE=r.3000000000.3000000000.2.dta\r\nEND IONS\r\n");
  expectExitWithOutput(folder, path, kTitleHelp);
}

TEST(ReadMGFDeathTest, TitleWithoutScanFailsAfterEarlierProgress) {
  TempDir folder;
  std::string path = folder.file("late.mgf");
  writeFile(path, "BEGIN IONS\nTITLE=r.91.91.2.dta\nEND IONS\nBEGIN IONS\nTITLE=r.\nEND IONS\n");
  expectExitWithOutput(folder, path,
                       std::string("\r[Corvid] Extracting MS2, Scan Num = 91") + kTitleHelp);
}

TEST(ReadMGFDeathTest, MissingFileExitsWithMessage) {
  TempDir folder;
  expectExitWithOutput(folder, folder.file("absent.mgf"), "The MGF does not exist.\n");
  expectExitWithOutput(folder, folder.path().string(), "The MGF does not exist.\n");
}

}  // namespace
}  // namespace corvid
