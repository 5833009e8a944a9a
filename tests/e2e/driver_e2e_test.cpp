// The per-file driver's scan rules through the real binary, on variants of the fixture pair
// (two co-eluting peptides, 500.25 2+ and 500.90 3+, in every CID scan's window).
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kFixture = fs::path(CORVID_TEST_DATA_DIR) / "pair";

std::string scanLine(long scan) {
  char text[64];
  std::snprintf(text, sizeof text, "S\t%06ld\t%06ld", scan, scan);
  return text;
}

// The fixture's first CID scan block (scan 2), renumbered and with its own activation center.
std::string cidBlock(long scan, const std::string& center) {
  std::string text = readFile(kFixture / "run1.ms2");
  const std::size_t start = text.find("S\t000002");
  const std::size_t end = text.find("\r\nS\t", start) + 2;
  std::string block = text.substr(start, end - start);
  block = replaceAll(block, "S\t000002\t000002", scanLine(scan));
  return replaceAll(block, "ActivationCenter\t500.50", "ActivationCenter\t" + center);
}

struct DriverRun {
  TempDir dir;
  RunResult result;
  std::string csv;
  void run(const std::string& ms1, const std::string& ms2, const std::vector<std::string>& extra = {},
           const std::string& input = "") {
    writeFile(dir.path() / "run1.ms1", ms1);
    writeFile(dir.path() / "run1.ms2", ms2);
    std::vector<std::string> arguments = {"-D", dir.path().string(), "-F", "ms1"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    result = runCorvid(dir.path(), arguments, input);
    csv = readFile(dir.path() / "run1.csv");
  }
  std::string rowOf(long scan) const {
    const std::string key = "CID, IT, " + std::to_string(scan) + ", ";
    const std::size_t at = csv.find(key);
    return at == std::string::npos ? "" : csv.substr(at, csv.find("\r\n", at) - at);
  }
};

const std::string kHeader = "H\tExtractor\tCorvid test fixture\r\n";

TEST(DriverEndToEnd, RepeatedScanNumbersAreCountedAsDuplicates) {
  DriverRun run;
  run.run(readFile(kFixture / "run1.ms1"),
          kHeader + cidBlock(2, "500.50") + cidBlock(2, "500.50") + cidBlock(5, "500.50"));
  ASSERT_EQ(run.result.status, 0) << run.result.out;
  EXPECT_NE(run.result.out.find("[Corvid] Found 1 duplicate scans. \n"), std::string::npos) << run.result.out;
  // The duplicate is not inspected, so it keeps its recorded precursor in the report.
  EXPECT_NE(run.csv.find("CID, IT, 2, 500.250000, 2, 2, 1, 500.250000, 2, 2, 500.900000, 3, \r\n"
                         "CID, IT, 2, 500.250000, 2, 1, 1, 500.250000, 2, \r\n"),
            std::string::npos)
      << run.csv;
}

TEST(DriverEndToEnd, ScanNumbersAbove3400000AreNotProcessed) {
  // MS1 scans renumbered so that the elution apex is scan 3399999.
  std::string ms1 = readFile(kFixture / "run1.ms1");
  for (long scan = 34; scan >= 1; scan -= 3) ms1 = replaceAll(ms1, scanLine(scan), scanLine(scan + 3399980));
  DriverRun run;
  run.run(ms1, kHeader + cidBlock(3400000, "500.50") + cidBlock(3400001, "500.50"));
  ASSERT_EQ(run.result.status, 0) << run.result.out;
  EXPECT_EQ(run.rowOf(3400000), "CID, IT, 3400000, 500.250000, 2, 2, 1, 500.250000, 2, 2, 500.900000, 3, ");
  EXPECT_EQ(run.rowOf(3400001), "CID, IT, 3400001, 500.250000, 2, 1, 1, 500.250000, 2, ");
}

TEST(DriverEndToEnd, ZeroActivationCenterFallsBackToTheRecordedPrecursor) {
  DriverRun run;
  run.run(readFile(kFixture / "run1.ms1"), kHeader + cidBlock(5, "0.00"));
  ASSERT_EQ(run.result.status, 0) << run.result.out;
  // Centered on 500.25 instead of 0, the scan still finds its co-eluting 3+ precursor.
  EXPECT_NE(run.rowOf(5).find("500.900000, 3, "), std::string::npos) << run.csv;
}

TEST(DriverEndToEnd, DebugModeOneInspectsOnlyTheTypedScanAndWritesNoSpectra) {
  DriverRun run;
  run.run(readFile(kFixture / "run1.ms1"), readFile(kFixture / "run1.ms2"), {"-g", "1"}, "5\n");
  ASSERT_EQ(run.result.status, 0) << run.result.out;
  EXPECT_NE(run.result.out.find("[Corvid] This is for Debug, please input the Scan of MS2 you need to check: \n"),
            std::string::npos);
  EXPECT_NE(run.result.out.find("[Corvid] ActivationCenter: 500.500000 \n"), std::string::npos) << run.result.out;
  EXPECT_NE(run.result.out.find("MS2 5Inspect Precursor: MZ "), std::string::npos);
  EXPECT_EQ(run.result.out.find("MS2 8Inspect"), std::string::npos);
  EXPECT_FALSE(fs::exists(run.dir.path() / "run1_CIDIT.mgf"));
  EXPECT_FALSE(fs::exists(run.dir.path() / "run1_CIDIT.kx2"));
  EXPECT_EQ(run.rowOf(5), "CID, IT, 5, 500.250000, 2, 2, 1, 500.250000, 2, 2, 500.900000, 3, ");
  EXPECT_EQ(run.rowOf(8), "CID, IT, 8, 500.250000, 2, 1, 1, 500.250000, 2, ");
}

TEST(DriverEndToEnd, DebugModeOneWithoutAScanNumberEndsClearly) {
  DriverRun run;
  run.run(readFile(kFixture / "run1.ms1"), readFile(kFixture / "run1.ms2"), {"-g", "1"}, "");
  EXPECT_EQ(run.result.status, 255);
  EXPECT_NE(run.result.out.find("[Corvid] Debug mode 1 needs an MS2 scan number on standard input. \n"),
            std::string::npos)
      << run.result.out;
}

TEST(DriverEndToEnd, DebugModeTwoInspectsTheScansOfTheList) {
  DriverRun run;
  const fs::path list = run.dir.path() / "scans.txt";
  writeFile(list, "8\r\n\r\n11.0\r\n");
  run.run(readFile(kFixture / "run1.ms1"), readFile(kFixture / "run1.ms2"), {"-g", "2"}, list.string() + "\n");
  ASSERT_EQ(run.result.status, 0) << run.result.out;
  EXPECT_NE(run.result.out.find("[Corvid] Loading scan list from " + list.string() + " \n"), std::string::npos);
  EXPECT_NE(run.result.out.find("[Corvid] ActivationCenter:500.500000 \n"), std::string::npos) << run.result.out;
  // Only listed scans get report rows in this mode.
  EXPECT_EQ(run.rowOf(5), "");
  EXPECT_EQ(run.rowOf(8), "CID, IT, 8, 500.250000, 2, 2, 1, 500.250000, 2, 2, 500.900000, 3, ");
  EXPECT_EQ(run.rowOf(11), "CID, IT, 11, 500.250000, 2, 2, 1, 500.250000, 2, 2, 500.900000, 3, ");
}

TEST(DriverEndToEnd, MissingMs2BesideMs1EndsWithTheMissingFileText) {
  TempDir dir;
  fs::copy_file(kFixture / "run1.ms1", dir.path() / "run1.ms1");
  RunResult run = runCorvid(dir.path(), {"-D", dir.path().string(), "-F", "ms1"});
  EXPECT_EQ(run.status, 255);
  EXPECT_NE(run.out.find("Corvid.exe failed to open " + (dir.path() / "run1.ms2").string() +
                         ", this file does not exist any more!"),
            std::string::npos)
      << run.out;
}

TEST(DriverEndToEnd, DeleteMsnRemovesTheInputPair) {
  DriverRun run;
  run.run(readFile(kFixture / "run1.ms1"), readFile(kFixture / "run1.ms2"), {"-d", "1"});
  ASSERT_EQ(run.result.status, 0);
  EXPECT_NE(run.result.out.find("[Corvid] Deleting MS1 & MS2... \n"), std::string::npos);
  EXPECT_FALSE(fs::exists(run.dir.path() / "run1.ms1"));
  EXPECT_FALSE(fs::exists(run.dir.path() / "run1.ms2"));
  EXPECT_TRUE(fs::exists(run.dir.path() / "run1.csv"));
}

}  // namespace
}  // namespace corvid

namespace corvid {
namespace {

using namespace corvid::testing;

TEST(DriverEndToEnd, ReferenceListIsCheckedAndUnmatchedEntriesAreListed) {
  TempDir dir;
  fs::copy_file(kFixture / "run1.ms1", dir.path() / "run1.ms1");
  fs::copy_file(kFixture / "run1.ms2", dir.path() / "run1.ms2");
  // Scan 2 holds 500.25 2+ (found); scan 5 has nothing at 700.0 (never found).
  writeFile(dir.path() / "reference.txt", "2\t500.25\t2\t1.5\n5\t700.0\t2\t2.5\n");
  RunResult run = runCorvid(dir.path(), {"-D", dir.path().string(), "-F", "ms1", "-T",
                                         (dir.path() / "reference.txt").string(), "-u", "1"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Writing TrainingSet... \n"), std::string::npos);
  EXPECT_NE(run.out.find("[Corvid] Check 1 Precursors.  \n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Check 1 Precursors. \n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Check 0 Precursors. \n"), std::string::npos) << run.out;
  // The list is rewritten after every activation type: it shows what the last type (HCD/FT,
  // scans 3, 6, ...) did not match, which is both entries.
  EXPECT_EQ(readFile(dir.path() / "run1_unchecked.csv"),
            "2, 500.25000, 2, 1.500000e+00\r\n5, 700.00000, 2, 2.500000e+00\r\n");
  EXPECT_TRUE(fs::exists(dir.path() / "run1_BeforeMARS_unchecked.csv"));
}

}  // namespace
}  // namespace corvid
