// Runs the built make_ipv and checks the table it writes, both against the committed
// data/IPV.txt and against an independent computation of averagine isotope patterns.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "detection/isotope_pattern_table.h"
#include "platform/process.h"
#include "platform/text_file.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

namespace fs = std::filesystem;

const std::string kShippedTable = std::string(CORVID_SOURCE_DIR) + "/data/IPV.txt";

struct ScratchFolder {
  fs::path path;
  ScratchFolder() {
    static int counter = 0;
    path = fs::temp_directory_path() /
           ("corvid_make_ipv_test_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
    fs::create_directories(path);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

// The shipped table as loaded by Corvid.
const IsotopePatternTable& shippedTable() {
  static IsotopePatternTable table = [] {
    loadIsotopePatternTable(kShippedTable, runIsotopeTable());
    return runIsotopeTable();
  }();
  return table;
}

TEST(MakeIpv, WritesExactlyTheCommittedTable) {
  ScratchFolder folder;
  std::string output = (folder.path / "IPV.txt").string();
  ASSERT_EQ(runChildProcess({CORVID_MAKE_IPV, {output}}), 0);
  std::optional<std::string> written = readWholeFile(output);
  std::optional<std::string> committed = readWholeFile(kShippedTable);
  ASSERT_TRUE(written.has_value());
  ASSERT_TRUE(committed.has_value());
  EXPECT_EQ(std::count(written->begin(), written->end(), '\n'), kIsotopeTableRows);
  EXPECT_TRUE(*written == *committed) << "data/IPV.txt differs from make_ipv's output";
}

TEST(MakeIpv, WithoutAnOutputPathPrintsUsageAndFails) {
  EXPECT_EQ(runChildProcess({CORVID_MAKE_IPV, {}}), 2);
  EXPECT_EQ(runChildProcess({CORVID_MAKE_IPV, {"a", "b"}}), 2);
}

TEST(MakeIpv, UnwritableOutputFails) {
  ScratchFolder folder;
  EXPECT_EQ(runChildProcess({CORVID_MAKE_IPV, {(folder.path / "no" / "IPV.txt").string()}}), 1);
}

TEST(MakeIpv, EveryRowIsFiniteNonNegativeWithLargestValueOne) {
  const IsotopePatternTable& table = shippedTable();
  for (int row = 0; row < kIsotopeTableRows; ++row) {
    double largest = 0.0;
    for (double value : table.rows[row]) {
      ASSERT_TRUE(std::isfinite(value)) << "row " << row;
      ASSERT_GE(value, 0.0) << "row " << row;
      largest = std::max(largest, value);
    }
    ASSERT_EQ(largest, 1.0) << "row " << row;
  }
}

TEST(MakeIpv, AveragineOf1000DaltonsHasPlusOneAtAbout55Percent) {
  const IsotopePattern& row = shippedTable().rows[1000];
  EXPECT_EQ(row[0], 1.0);
  EXPECT_NEAR(row[1] / row[0], 0.55, 0.03);
  EXPECT_GT(row[1], row[2]);
  EXPECT_GT(row[2], row[3]);
  EXPECT_GT(row[3], row[4]);
}

TEST(MakeIpv, AveragineOf3000DaltonsHasThePlusOnePeakHighest) {
  const IsotopePattern& row = shippedTable().rows[3000];
  EXPECT_EQ(std::max_element(row.begin(), row.end()) - row.begin(), 1);
}

TEST(MakeIpv, TinyMassesGiveTheMonoisotopicPeakAlone) {
  EXPECT_EQ(shippedTable().rows[0], (IsotopePattern{1, 0, 0, 0, 0}));
}

// ---- Independent computation: brute-force convolution of the whole formula ----

// Atom counts C, H, N, O, S.
using Formula = std::array<int, 5>;

// Isotope abundances by nominal mass shift (IUPAC representative compositions).
const std::vector<std::vector<double>> kIsotopes = {
    {0.9893, 0.0107},                      // C
    {0.999885, 0.000115},                  // H
    {0.99636, 0.00364},                    // N
    {0.99757, 0.00038, 0.00205},           // O
    {0.9499, 0.0075, 0.0425, 0.0, 0.0001}  // S
};

// The first five peaks of the formula, by multiplying in one atom at a time with the plain
// O(n^2) product of untruncated polynomials, then scaled to a largest value of 1.
IsotopePattern bruteForcePattern(const Formula& formula) {
  std::vector<double> distribution{1.0};
  for (std::size_t element = 0; element < formula.size(); ++element) {
    const std::vector<double>& atom = kIsotopes[element];
    for (int n = 0; n < formula[element]; ++n) {
      std::vector<double> product(distribution.size() + atom.size() - 1, 0.0);
      for (std::size_t i = 0; i < distribution.size(); ++i) {
        for (std::size_t j = 0; j < atom.size(); ++j) product[i + j] += distribution[i] * atom[j];
      }
      distribution.swap(product);
    }
  }
  distribution.resize(std::max<std::size_t>(distribution.size(), kIsotopePeaks), 0.0);
  IsotopePattern pattern{};
  std::copy_n(distribution.begin(), kIsotopePeaks, pattern.begin());
  double largest = *std::max_element(pattern.begin(), pattern.end());
  for (double& value : pattern) value /= largest;
  return pattern;
}

// Averagine formula for a mass, worked out separately from make_ipv: Senko's unit
// C 4.9384 H 7.7583 N 1.3577 O 1.4773 S 0.0417 of 111.1254 Da, rounded, hydrogens adjusted.
Formula averagine(double mass) {
  const double unit[5] = {4.9384, 7.7583, 1.3577, 1.4773, 0.0417};
  const double average[5] = {12.011, 1.00794, 14.00674, 15.9994, 32.066};
  Formula formula{};
  double formulaMass = 0.0;
  for (int e = 0; e < 5; ++e) {
    formula[e] = static_cast<int>(std::floor(unit[e] * mass / 111.1254 + 0.5));
    formulaMass += formula[e] * average[e];
  }
  int extraHydrogens = static_cast<int>(std::floor((mass - formulaMass) / average[1] + 0.5));
  formula[1] = std::max(0, formula[1] + extraHydrogens);
  return formula;
}

void expectRowMatches(int row, const IsotopePattern& expected) {
  const IsotopePattern& actual = shippedTable().rows[row];
  for (int k = 0; k < kIsotopePeaks; ++k) {
    EXPECT_NEAR(actual[k], expected[k], expected[k] * 1e-9) << "row " << row << " peak " << k;
  }
}

TEST(MakeIpv, AveragineFormulasFollowTheRoundingRule) {
  // Worked out by hand from the averagine unit and the average element masses.
  EXPECT_EQ(averagine(1000.5), (Formula{44, 95, 12, 13, 0}));
  EXPECT_EQ(averagine(3000.5), (Formula{133, 211, 37, 40, 1}));
  EXPECT_EQ(averagine(7.5), (Formula{0, 7, 0, 0, 0}));
  EXPECT_EQ(averagine(0.5), (Formula{0, 0, 0, 0, 0}));
}

TEST(MakeIpv, RowsAgreeWithBruteForceConvolutionOfTheFormula) {
  expectRowMatches(1000, bruteForcePattern({44, 95, 12, 13, 0}));
  expectRowMatches(3000, bruteForcePattern({133, 211, 37, 40, 1}));
  expectRowMatches(7, bruteForcePattern({0, 7, 0, 0, 0}));
  for (int row : {0, 1, 2, 57, 150, 1499, 4321, 9999, 14999}) {
    expectRowMatches(row, bruteForcePattern(averagine(row + 0.5)));
  }
}

}  // namespace
}  // namespace corvid
