// Behaviours kept as they have always been although they drop or change data, through the real
// binary: each now comes with one "Alert" line, and what the run does is unchanged.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kPair = fs::path(CORVID_TEST_DATA_DIR) / "pair";
const fs::path kMzML = fs::path(CORVID_TEST_DATA_DIR) / "mzml";

// The console line of a logged message.
std::string consoleLine(const std::string& message) { return "[Corvid] " + message + " \n"; }

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

std::string littleEndian(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  std::string bytes;
  for (int i = 0; i < 8; ++i) bytes += static_cast<char>((bits >> (8 * i)) & 0xFFu);
  return bytes;
}

std::string crlf(const std::string& text) { return replaceAll(text, "\n", "\r\n"); }

// ---- MGF input ----

const std::string kQuirkyBlocks =
    "BEGIN IONS\n"
    "TITLE=quirk.1.1.2.dta\n"
    "CHARGE=2+\n"
    "PEPMASS=500.25\n"
    "100.5 10.0\n"
    "200.5 -5.0\n"
    "nan 7.0\n"
    "300.5 30.0\n"
    "END IONS\n"
    "BEGIN IONS\n"
    "TITLE=quirk.2.2.2.dta\n"
    "CHARGE=2+\n"
    "PEPMASS=nan\n"
    "150.5 15.0\n"
    "END IONS\n";

TEST(KeptQuirkAlerts, MgfNanPeakNegativeIntensityAndNanPepmassAreReportedOnce) {
  TempDir dir;
  writeFile(dir.path() / "quirk.mgf", crlf(kQuirkyBlocks));
  const RunResult run = runCorvid(dir.path(), {"quirk.mgf"});
  ASSERT_EQ(run.status, 0) << run.out;
  const std::string alert =
      "MGF file quirk.mgf was read with data kept as read: 1 non-finite value (nan or inf) copied into "
      "peaks or precursor masses; 1 negative value copied into peak intensities or precursor masses; 1 "
      "peak list ended early at a line that is not a peak (first at line 7: \"nan 7.0\"), 2 lines up to "
      "END IONS skipped.";
  EXPECT_NE(run.out.find(consoleLine(alert)), std::string::npos) << run.out;
  EXPECT_EQ(occurrences(run.out, "was read with data kept as read"), 1u);
  EXPECT_NE(readFile(dir.path() / "CorvidPlusLog.txt").find(alert), std::string::npos);

  // Kept: the peak list ends at the nan line, exactly as if the skipped lines were not there...
  const std::string kx2 = readFile(dir.path() / "quirk.kx2");
  TempDir trimmed;
  writeFile(trimmed.path() / "quirk.mgf", crlf(replaceAll(kQuirkyBlocks, "nan 7.0\n300.5 30.0\n", "")));
  ASSERT_EQ(runCorvid(trimmed.path(), {"quirk.mgf"}).status, 0);
  EXPECT_TRUE(readFile(trimmed.path() / "quirk.kx2") == kx2);
  // ... the negative intensity and the undefined precursor mass are copied as they are.
  EXPECT_NE(kx2.find(littleEndian(-5.0)), std::string::npos);
  EXPECT_EQ(kx2.find(littleEndian(300.5)), std::string::npos);
}

TEST(KeptQuirkAlerts, MgfLineLongerThan1023CharactersIsReadInPieces) {
  TempDir dir;
  const std::string digits(2100, '7');
  writeFile(dir.path() / "long.mgf", crlf("BEGIN IONS\nTITLE=long.1.1.2.dta\nCHARGE=2+\nPEPMASS=500.25\n" + digits +
                                          "\n100.5 10.0\nEND IONS\n"));
  const RunResult run = runCorvid(dir.path(), {"long.mgf"});
  ASSERT_EQ(run.status, 0) << run.out;
  const std::string alert =
      "MGF file long.mgf was read with data kept as read: 2 non-finite values (nan or inf) copied into "
      "peaks or precursor masses; 1 line longer than 1023 characters split into 3 pieces, each read as "
      "a line of its own (a piece starting with a digit is a peak).";
  EXPECT_NE(run.out.find(consoleLine(alert)), std::string::npos) << run.out;
  // Kept: one +inf peak for each full piece of 1023 characters.
  const std::string kx2 = readFile(dir.path() / "long.kx2");
  EXPECT_EQ(occurrences(kx2, littleEndian(std::numeric_limits<double>::infinity())), 2u);
  EXPECT_NE(kx2.find(littleEndian(100.5)), std::string::npos);
}

TEST(KeptQuirkAlerts, MgfWithCarriageReturnsAloneSaysWhyItsBlocksAreSkipped) {
  TempDir dir;
  std::string blocks;
  for (int scan = 1; scan <= 5; ++scan) {
    const std::string n = std::to_string(scan);
    blocks += "BEGIN IONS\nTITLE=cr." + n + "." + n + ".2.dta\nCHARGE=2+\nPEPMASS=500.25\n";
    for (int peak = 0; peak < 60; ++peak) blocks += std::to_string(100 + peak) + ".5 " + std::to_string(1000 + peak) + ".25\n";
    blocks += "END IONS\n";
  }
  writeFile(dir.path() / "cr.mgf", replaceAll(blocks, "\n", "\r"));
  writeFile(dir.path() / "lf.mgf", blocks);
  const RunResult run = runCorvid(dir.path(), {"cr.mgf"});
  ASSERT_EQ(run.status, 0) << run.out;
  const std::string alert =
      "MGF file cr.mgf was read with data kept as read: 5 blocks skipped: the file has no line feed "
      "(its lines end with CR alone), so it reads as one line in pieces of 1023 characters.";
  EXPECT_NE(run.out.find(consoleLine(alert)), std::string::npos) << run.out;
  // Kept: nothing of it reaches the KX2, while the same blocks with line feeds convert.
  ASSERT_EQ(runCorvid(dir.path(), {"lf.mgf"}).status, 0);
  EXPECT_LT(readFile(dir.path() / "cr.kx2").size(), 16u);
  EXPECT_GT(readFile(dir.path() / "lf.kx2").size(), 5u * 60u * 16u);
}

TEST(KeptQuirkAlerts, MgfFolderRouteReportsEachFileOnce) {
  TempDir dir;
  writeFile(dir.path() / "a.mgf", crlf(kQuirkyBlocks));
  writeFile(dir.path() / "b.mgf", crlf(kQuirkyBlocks));
  const RunResult run = runCorvid(dir.path(), {"-D", dir.folder(), "-F", "mgf"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_EQ(occurrences(run.out, "was read with data kept as read"), 2u);
  EXPECT_NE(run.out.find("[Corvid] MGF file " + dir.folder() + "a.mgf was read with data kept as read: 1 non-finite"),
            std::string::npos)
      << run.out;
  EXPECT_TRUE(fs::exists(dir.path() / "b.kx2"));
}

TEST(KeptQuirkAlerts, CleanMgfHasNoAlert) {
  TempDir dir;
  writeFile(dir.path() / "clean.mgf", crlf(replaceAll(replaceAll(kQuirkyBlocks, "nan 7.0\n", ""), "-5.0", "5.0")));
  std::string text = readFile(dir.path() / "clean.mgf");
  writeFile(dir.path() / "clean.mgf", replaceAll(text, "PEPMASS=nan", "PEPMASS=600.5"));
  const RunResult run = runCorvid(dir.path(), {"clean.mgf"});
  ASSERT_EQ(run.status, 0);
  EXPECT_EQ(run.out.find("Alert"), std::string::npos);
  EXPECT_EQ(run.out.find("kept as read"), std::string::npos) << run.out;
}

// ---- Parameter values ----

struct PairRun {
  TempDir dir;
  RunResult result;
  std::string csv;
  void run(const std::vector<std::string>& extra, int pairs = 1) {
    for (int i = 1; i <= pairs; ++i) {
      const std::string stem = "run" + std::to_string(i);
      fs::copy_file(kPair / "run1.ms1", dir.path() / (stem + ".ms1"), fs::copy_options::overwrite_existing);
      fs::copy_file(kPair / "run1.ms2", dir.path() / (stem + ".ms2"), fs::copy_options::overwrite_existing);
    }
    std::vector<std::string> arguments = {"-D", dir.path().string(), "-F", "ms1", "-r", "1"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    result = runCorvid(dir.path(), arguments);
    csv = readFile(dir.path() / "run1.csv");
  }
};

struct ParameterCase {
  std::vector<std::string> options;
  std::string alert;
};

TEST(KeptQuirkAlerts, EachBadNumericParameterIsNamedWithTheValueTheRunUses) {
  const std::vector<ParameterCase> cases = {
      {{"-W", "nan"}, "isolation_width = nan is not a number: the run uses nan"},
      {{"-W", "-1"}, "isolation_width = -1 is out of range (above 0): the run uses -1"},
      {{"-W", "inf"}, "isolation_width = inf is not finite: the run uses inf"},
      {{"-t", "abc"}, "mars_threshold = abc is not a number: the run uses 0"},
      {{"-t", "1e999"}, "mars_threshold = 1e999 is not finite: the run uses inf"},
      {{"-M", "99"}, "mars_model = 99 is not a known model (1, 2, 3, 4, 5, 15, 250 or 1024): the run uses the "
                     "fallback model"},
      {{"-C", "abc"}, "co-elute = abc is not a number: the run uses 0 (a single precursor per scan)"},
      {{"-C", "1.5"}, "co-elute = 1.5 is not a whole number: the run uses 1 (all co-eluting precursors)"},
      {{"-R", "-5"}, "recalibrate_window = -5 is out of range (0 or more): the run uses -5"},
      {{"-v", "1", "-N", "0"}, "samplenumberinsvmlight = 0 is out of range (-1 for every scan, or 1 or more): "
                               "the run uses 0 (no scan is drawn)"},
  };
  for (const ParameterCase& check : cases) {
    PairRun run;
    run.run(check.options);
    EXPECT_NE(run.result.out.find(consoleLine(check.alert)), std::string::npos) << check.alert << "\n" << run.result.out;
    EXPECT_EQ(occurrences(run.result.out, "[Corvid] " + check.alert.substr(0, check.alert.find(" = "))), 1u) << run.result.out;
  }
}

TEST(KeptQuirkAlerts, NanOrNegativeIsolationWidthStillFindsNoPrecursor) {
  PairRun normal;
  normal.run({});
  ASSERT_EQ(normal.result.status, 0);
  // Scan 2 with the co-eluting precursor that detection finds...
  EXPECT_NE(normal.csv.find("CID, IT, 2, 500.250000, 2, 2, 1, 500.250000, 2, 2, 500.900000, 3, \r\n"),
            std::string::npos);
  for (const char* width : {"nan", "-1"}) {
    PairRun run;
    run.run({"-W", width});
    ASSERT_EQ(run.result.status, 0) << run.result.out;
    EXPECT_NE(run.result.out.find("[Corvid] Exported 0 precursors. \n"), std::string::npos) << run.result.out;
    // ... keeps only the recorded one.
    EXPECT_NE(run.csv.find("CID, IT, 2, 500.250000, 2, 1, 1, 500.250000, 2, \r\n"), std::string::npos) << width;
  }
}

TEST(KeptQuirkAlerts, NonNumericValuesRunAsTheirLenientReadings) {
  PairRun text;
  text.run({"-t", "abc", "-C", "abc"});
  PairRun zero;
  zero.run({"-t", "0", "-C", "0"});
  ASSERT_EQ(text.result.status, 0);
  ASSERT_FALSE(zero.csv.empty());
  EXPECT_EQ(text.csv, zero.csv);
  EXPECT_EQ(zero.result.out.find("Alert"), std::string::npos);
  EXPECT_EQ(zero.result.out.find(" = 0 is"), std::string::npos) << zero.result.out;
}

TEST(KeptQuirkAlerts, ParameterAlertsComeOncePerRunNotPerFile) {
  PairRun run;
  run.run({"-t", "abc", "-M", "99"}, 2);
  ASSERT_EQ(run.result.status, 0) << run.result.out;
  EXPECT_TRUE(fs::exists(run.dir.path() / "run2.csv"));
  EXPECT_EQ(occurrences(run.result.out, "mars_threshold = abc"), 1u) << run.result.out;
  EXPECT_EQ(occurrences(run.result.out, "mars_model = 99"), 1u);
}

TEST(KeptQuirkAlerts, ThresholdReplacedByAnotherSettingIsNotReported) {
  PairRun run;
  run.run({"-t", "abc", "-y", "1"});
  ASSERT_EQ(run.result.status, 0);
  EXPECT_EQ(run.result.out.find("mars_threshold"), std::string::npos) << run.result.out;
}

TEST(KeptQuirkAlerts, DefaultParametersGiveNoParameterAlert) {
  PairRun run;
  run.run({});
  ASSERT_EQ(run.result.status, 0);
  EXPECT_EQ(run.result.out.find(" is not a"), std::string::npos) << run.result.out;
  EXPECT_EQ(run.result.out.find(" is out of range"), std::string::npos) << run.result.out;
}

// A negative datanum is a documented value ("process nothing"): no alert. A text that is no whole
// number is reported.
TEST(KeptQuirkAlerts, NonNumericDatanumIsReportedANegativeOneIsNot) {
  TempDir dir;
  for (const char* value : {"-1", "-7"}) {
    writeFile(dir.path() / "none.para", std::string("datanum = ") + value + "\n");
    RunResult run = runCorvid(dir.path(), {"none.para"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.find("datanum"), std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("Alert"), std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("Path Invalid"), std::string::npos);
  }
  writeFile(dir.path() / "half.para", "datanum = -1.5\n");
  RunResult run = runCorvid(dir.path(), {"half.para"});
  EXPECT_NE(run.out.find(consoleLine("datanum = -1.5 is not a whole number: the run uses -1")), std::string::npos)
      << run.out;

  fs::create_directories(dir.path() / "data");
  fs::copy_file(kPair / "run1.ms1", dir.path() / "data" / "run1.ms1");
  fs::copy_file(kPair / "run1.ms2", dir.path() / "data" / "run1.ms2");
  writeFile(dir.path() / "text.para", "datanum = abc\ninput_format = ms1\ndatapath = " + dir.file("data") + "\n");
  run = runCorvid(dir.path(), {"text.para"});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find(consoleLine("datanum = abc is not a number: the run uses 0 (datapath)")), std::string::npos)
      << run.out;
  EXPECT_TRUE(fs::exists(dir.path() / "data" / "run1.csv"));  // kept: abc reads as 0, datapath is processed
}

// ---- Input route chosen from a name ----

TEST(KeptQuirkAlerts, RouteFromAFolderNameIsReported) {
  TempDir dir;
  const fs::path folder = dir.path() / "x.mgf.d";
  fs::create_directories(folder);
  fs::copy_file(kMzML / "small.mzML", folder / "small.mzML");
  const RunResult run = runCorvid(dir.path(), {"-D", (folder / "small.mzML").string()});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find(consoleLine("The data path " + (folder / "small.mzML").string() +
                                     " is read as MGF input because it contains \".mgf\" in a folder name, not as "
                                     "its file's extension.")),
            std::string::npos)
      << run.out;
  // Kept: the mzML file is read as MGF and a KX2 pair named from its last four characters appears.
  EXPECT_TRUE(fs::exists(folder / "small..kx2"));
  EXPECT_FALSE(fs::exists(folder / "small.ms1"));
}

TEST(KeptQuirkAlerts, RouteFromTheFileExtensionIsNotReported) {
  TempDir dir;
  const fs::path folder = dir.path() / "x.raw.d";
  fs::create_directories(folder);
  writeFile(folder / "quirk.mgf", crlf(kQuirkyBlocks));
  const RunResult run = runCorvid(dir.path(), {"-D", (folder / "quirk.mgf").string()});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out.find("is read as"), std::string::npos) << run.out;
  EXPECT_TRUE(fs::exists(folder / "quirk.kx2"));
}

TEST(KeptQuirkAlerts, MgfConversionOfAnArgumentWithAnotherExtensionIsReported) {
  TempDir dir;
  writeFile(dir.path() / "a.mgf", crlf(kQuirkyBlocks));
  writeFile(dir.path() / "b.txt", crlf(kQuirkyBlocks));
  const RunResult run = runCorvid(dir.path(), {"a.mgf", "b.txt"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find(consoleLine("The argument b.txt is read as MGF because the first argument names an MGF "
                                     "file, not because of its own extension.")),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.out.find("The argument a.mgf"), std::string::npos);
  EXPECT_TRUE(fs::exists(dir.path() / "b.kx2"));  // kept: converted as MGF, named from its last four characters
}

}  // namespace
}  // namespace corvid
