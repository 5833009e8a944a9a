#include "detection/isotope_pattern_table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <vector>
#include <string>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "tests/support/table_adapters.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

namespace fs = std::filesystem;

using testing::TempDir;

// Writes a table file into the test's folder and returns its path.
std::string writeIn(const TempDir& folder, const std::string& name, const std::string& bytes) {
  const std::string file = folder.file(name);
  testing::writeFile(file, bytes);
  return file;
}

// A table text of `rows` lines whose row i reads i, i + 0.25, i + 0.5, i + 0.75, i + 1 (plus an
// offset), so that every value tells which row and column it came from.
std::string numberedRows(int rows, double offset = 0.0) {
  std::string text;
  char line[160];
  for (int i = 0; i < rows; ++i) {
    std::snprintf(line, sizeof line, "%.17g %.17g %.17g %.17g %.17g\n", i + offset,
                  i + 0.25 + offset, i + 0.5 + offset, i + 0.75 + offset, i + 1 + offset);
    text += line;
  }
  return text;
}

IsotopePattern numberedRow(int row, double offset = 0.0) {
  return {row + offset, row + 0.25 + offset, row + 0.5 + offset, row + 0.75 + offset,
          row + 1 + offset};
}

constexpr IsotopePattern kZeros{0.0, 0.0, 0.0, 0.0, 0.0};

// The last message collected by the run log.
std::string lastLogMessage() {
  const std::vector<std::string>& lines = runLogLines();
  return lines.size() >= 2 ? lines[lines.size() - 2] : std::string();
}

std::string failureText(const std::string& path) {
  try {
    loadIsotopePatternTable(path, runIsotopeTable());
  } catch (const RunFailure& failure) {
    return failure.text;
  }
  return "no failure";
}

TEST(LoadIsotopePatternTable, ReadsFiveNumbersPerRowInFileOrder) {
  TempDir folder;
  runIsotopeTable() = IsotopePatternTable{};
  loadIsotopePatternTable(
      writeIn(folder, "IPV.txt", "1 0.5 0.25 0.125 0.0625\n0.5 1 0.75 0.5 2e-3\n"), runIsotopeTable());
  EXPECT_EQ(runIsotopeTable().rows[0], (IsotopePattern{1, 0.5, 0.25, 0.125, 0.0625}));
  EXPECT_EQ(runIsotopeTable().rows[1], (IsotopePattern{0.5, 1, 0.75, 0.5, 0.002}));
  EXPECT_EQ(runIsotopeTable().rows[2], kZeros);
}

TEST(LoadIsotopePatternTable, NumbersAreReadFiveAtATimeWhateverTheLineLayout) {
  TempDir folder;
  runIsotopeTable() = IsotopePatternTable{};
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", "  1\t2 3\n\n4\n5 6 7 8   9 10"), runIsotopeTable());
  EXPECT_EQ(runIsotopeTable().rows[0], (IsotopePattern{1, 2, 3, 4, 5}));
  EXPECT_EQ(runIsotopeTable().rows[1], (IsotopePattern{6, 7, 8, 9, 10}));
}

TEST(IsotopePattern, MassOf1499Point9ReadsRow1499) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", numberedRows(1500)), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1499.9), numberedRow(1499));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1499.0), numberedRow(1499));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1498.999999), numberedRow(1498));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.0), numberedRow(0));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), -0.0), numberedRow(0));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.999), numberedRow(0));
}

TEST(IsotopePattern, RowTheFileDidNotFillGivesFiveZeros) {
  TempDir folder;
  runIsotopeTable() = IsotopePatternTable{};
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", numberedRows(1500, 1.0)), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1499.5), numberedRow(1499, 1.0));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1500.0), kZeros);
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 9000.25), kZeros);
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 14999.0), kZeros);
}

TEST(LoadIsotopePatternTable, SecondLoadOverwritesInPlaceAndKeepsLaterRows) {
  TempDir folder;
  runIsotopeTable() = IsotopePatternTable{};
  loadIsotopePatternTable(writeIn(folder, "first.txt", numberedRows(3000)), runIsotopeTable());
  loadIsotopePatternTable(writeIn(folder, "second.txt", numberedRows(1000, 0.125)), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.5), numberedRow(0, 0.125));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 999.5), numberedRow(999, 0.125));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1000.5), numberedRow(1000));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 2999.5), numberedRow(2999));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 3000.5), kZeros);
}

TEST(LoadIsotopePatternTable, IncompleteLastRowKeepsTheOldValuesOfItsMissingColumns) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "first.txt", numberedRows(3)), runIsotopeTable());
  loadIsotopePatternTable(writeIn(folder, "second.txt", "9 9 9 9 9\n7 7\n"), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.0), (IsotopePattern{9, 9, 9, 9, 9}));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1.0), (IsotopePattern{7, 7, 1.5, 1.75, 2}));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 2.0), numberedRow(2));
}

TEST(LoadIsotopePatternTable, MissingFileFailsWithTheExactMessage) {
  TempDir folder;
  EXPECT_EQ(failureText((folder.path() / "IPV.txt").string()),
            "Please make sure the IPV.txt is with this Program.^_^");
  EXPECT_EQ(failureText(folder.path().string()),  // a folder cannot be read as the table either
            "Please make sure the IPV.txt is with this Program.^_^");
}

TEST(IsotopePattern, MassesOf15000DaltonsOrMoreReadTheLastRow) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", numberedRows(kIsotopeTableRows)), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 14999.999), numberedRow(14999));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 15000.0), numberedRow(14999));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 15000.5), numberedRow(14999));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1e300), numberedRow(14999));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), std::numeric_limits<double>::infinity()), numberedRow(14999));
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 14998.5), numberedRow(14998));
}

TEST(IsotopePattern, NegativeAndNaNMassesGiveFiveZeros) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", numberedRows(10, 1.0)), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), -0.5), kZeros);  // would truncate to row 0, but is not a mass
  EXPECT_EQ(isotopePattern(runIsotopeTable(), -1e-300), kZeros);
  EXPECT_EQ(isotopePattern(runIsotopeTable(), -3.0), kZeros);
  EXPECT_EQ(isotopePattern(runIsotopeTable(), -std::numeric_limits<double>::infinity()), kZeros);
  EXPECT_EQ(isotopePattern(runIsotopeTable(), std::numeric_limits<double>::quiet_NaN()), kZeros);
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.5), numberedRow(0, 1.0));
}

TEST(LoadIsotopePatternTable, FileOfMoreThan15000RowsIsCutWithAnAlert) {
  TempDir folder;
  std::string path = writeIn(folder, "long.txt", numberedRows(kIsotopeTableRows + 2, 0.5));
  loadIsotopePatternTable(path, runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 14999.5), numberedRow(14999, 0.5));
  EXPECT_EQ(lastLogMessage(), "The isotope pattern file " + path +
                                  " has more than 15000 rows; only the first 15000 rows are used.");
}

TEST(LoadIsotopePatternTable, ExtraNumbersShorterThanARowAlsoCount) {
  TempDir folder;
  std::string path = writeIn(folder, "long.txt", numberedRows(kIsotopeTableRows) + "3\n");
  loadIsotopePatternTable(path, runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 14999.5), numberedRow(14999));
  EXPECT_EQ(lastLogMessage(), "The isotope pattern file " + path +
                                  " has more than 15000 rows; only the first 15000 rows are used.");
}

TEST(LoadIsotopePatternTable, FullFileLogsNothing) {
  TempDir folder;
  std::string path = writeIn(folder, "full.txt", numberedRows(kIsotopeTableRows) + "\n \n");
  std::size_t before = runLogLines().size();
  loadIsotopePatternTable(path, runIsotopeTable());
  EXPECT_EQ(runLogLines().size(), before);
}

TEST(LoadIsotopePatternTable, ShortFileIsReportedWithAnAlert) {
  TempDir folder;
  std::string path = writeIn(folder, "short.txt", numberedRows(2) + "1 2 3\n");
  loadIsotopePatternTable(path, runIsotopeTable());
  EXPECT_EQ(lastLogMessage(), "The isotope pattern file " + path +
                                  " fills only 2 of the 15000 rows (13 numbers); the other rows "
                                  "keep their previous values.");
}

TEST(LoadIsotopePatternTable, EmptyFileChangesNothing) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", numberedRows(4)), runIsotopeTable());
  std::string path = writeIn(folder, "empty.txt", "");
  loadIsotopePatternTable(path, runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 3.5), numberedRow(3));
  EXPECT_EQ(lastLogMessage(), "The isotope pattern file " + path +
                                  " fills only 0 of the 15000 rows (0 numbers); the other rows "
                                  "keep their previous values.");
}

TEST(LoadIsotopePatternTable, CrLfLineEndsReadTheSameAsLf) {
  TempDir folder;
  std::string lf = numberedRows(200, 0.375);
  std::string crlf;
  for (char c : lf) {
    if (c == '\n') crlf += '\r';
    crlf += c;
  }
  runIsotopeTable() = IsotopePatternTable{};
  loadIsotopePatternTable(writeIn(folder, "crlf.txt", crlf), runIsotopeTable());
  IsotopePatternTable fromCrLf = runIsotopeTable();
  EXPECT_EQ(fromCrLf.rows[0], numberedRow(0, 0.375));
  EXPECT_EQ(fromCrLf.rows[199], numberedRow(199, 0.375));
  runIsotopeTable() = IsotopePatternTable{};
  loadIsotopePatternTable(writeIn(folder, "lf.txt", lf), runIsotopeTable());
  EXPECT_EQ(runIsotopeTable().rows, fromCrLf.rows);
}

TEST(LoadIsotopePatternTable, LeadingPlusAndExponentsAreAccepted) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "IPV.txt", "+1 -0 1E-3 .5 7.\n"), runIsotopeTable());
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.0), (IsotopePattern{1, 0, 0.001, 0.5, 7}));
}

TEST(LoadIsotopePatternTable, TokenThatIsNotANumberFailsNamingFileLineAndToken) {
  TempDir folder;
  loadIsotopePatternTable(writeIn(folder, "good.txt", numberedRows(3)), runIsotopeTable());
  std::string path = writeIn(folder, "bad.txt", "1 2 3 4 5\r\n1 2 x 4 5\r\n1 2 3 4 5\r\n");
  EXPECT_EQ(failureText(path), "Isotope pattern file " + path + ", line 2: \"x\" is not a number.");
  // The table is changed only by a file that reads completely.
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 1.5), numberedRow(1));
}

TEST(LoadIsotopePatternTable, NumberWithTrailingGarbageIsRefused) {
  TempDir folder;
  std::string path = writeIn(folder, "bad.txt", "1 2 3 4 5\n\n\n0.5 1,5 1 1 1\n");
  EXPECT_EQ(failureText(path),
            "Isotope pattern file " + path + ", line 4: \"1,5\" is not a number.");
}

TEST(LoadIsotopePatternTable, NonFiniteAndOutOfRangeValuesAreRefused) {
  TempDir folder;
  std::string prefix = "Isotope pattern file ";
  std::string path = writeIn(folder, "nan.txt", "1 nan 0 0 0\n");
  EXPECT_EQ(failureText(path), prefix + path + ", line 1: \"nan\" is not a finite number.");
  path = writeIn(folder, "inf.txt", "1 0 0 0 -inf\n");
  EXPECT_EQ(failureText(path), prefix + path + ", line 1: \"-inf\" is not a finite number.");
  path = writeIn(folder, "huge.txt", "1 0 0 0 0\n1e999 0 0 0 0\n");
  EXPECT_EQ(failureText(path),
            prefix + path + ", line 2: \"1e999\" is out of the range of a double.");
  path = writeIn(folder, "signs.txt", "+-1 0 0 0 0\n");
  EXPECT_EQ(failureText(path), prefix + path + ", line 1: \"+-1\" is not a number.");
  path = writeIn(folder, "plus.txt", "1 + 0 0 0\n");
  EXPECT_EQ(failureText(path), prefix + path + ", line 1: \"+\" is not a number.");
  path = writeIn(folder, "hex.txt", "0x10 0 0 0 0\n");
  EXPECT_EQ(failureText(path), prefix + path + ", line 1: \"0x10\" is not a number.");
}

TEST(LoadIsotopePatternTable, BinaryBytesAndOverLongTokensGiveAShortClearMessage) {
  TempDir folder;
  std::string bytes = "1 2 3\n";
  bytes += std::string("\x01\xff\x7f", 3) + std::string(100000, '7') + "z\n";
  std::string path = writeIn(folder, "random.bin", bytes);
  EXPECT_EQ(failureText(path), "Isotope pattern file " + path + ", line 2: \"???" +
                                   std::string(37, '7') + "...\" is not a number.");
  std::string nul = std::string("1 2\0 3", 6);
  path = writeIn(folder, "nul.bin", nul);
  EXPECT_EQ(failureText(path),
            "Isotope pattern file " + path + ", line 1: \"2?\" is not a number.");
}

TEST(LoadIsotopePatternTable, ShippedTableFillsEveryRow) {
  std::string path = std::string(CORVID_SOURCE_DIR) + "/data/IPV.txt";
  runIsotopeTable() = IsotopePatternTable{};
  std::size_t before = runLogLines().size();
  loadIsotopePatternTable(path, runIsotopeTable());
  EXPECT_EQ(runLogLines().size(), before);  // neither short nor long
  EXPECT_EQ(isotopePattern(runIsotopeTable(), 0.5), (IsotopePattern{1, 0, 0, 0, 0}));
  EXPECT_GT(isotopePattern(runIsotopeTable(), 14999.5)[4], 0.0);
}

}  // namespace
}  // namespace corvid
