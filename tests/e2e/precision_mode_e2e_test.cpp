// precision_mode through the real binary on the fixture pair (two co-eluting peptides, 500.25 2+
// and 500.90 3+, in every CID scan's window). The default run keeps every candidate
// (output_all_mars_y), so that isotopes and charge harmonics of the two peptides reach its report;
// the mode must drop them and keep both peptides.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kFixture = fs::path(CORVID_TEST_DATA_DIR) / "pair";

const fs::path kPlanted = fs::path(CORVID_TEST_DATA_DIR) / "precision";

struct ModeRun {
  TempDir dir;
  RunResult result;
  std::string csv;
  std::string mgf;
  // Runs the fixture pair (or the planted case `stem` of `folder`) from a parameter file; `extra`
  // lines are appended to it.
  void run(const std::string& extra, const fs::path& folder = kFixture, const std::string& stem = "run1") {
    const fs::path data = dir.path() / "data";
    fs::create_directories(data);
    fs::copy_file(folder / (stem + ".ms1"), data / (stem + ".ms1"));
    fs::copy_file(folder / (stem + ".ms2"), data / (stem + ".ms2"));
    writeFile(dir.path() / "run.para",
              "datapath = " + data.string() + "/\ninput_format = ms1\n" + extra);
    result = runCorvid(dir.path(), {(dir.path() / "run.para").string()});
    csv = readFile(data / (stem + ".csv"));
    mgf = readFile(data / (stem + "_CIDIT.mgf"));
  }
  std::string rowOf(long scan) const {
    const std::string key = "CID, IT, " + std::to_string(scan) + ", ";
    const std::size_t at = csv.find(key);
    return at == std::string::npos ? "" : csv.substr(at, csv.find("\r\n", at) - at);
  }
};

// The reported (m/z, charge) pairs of a report row, in rank order.
std::vector<std::string> precursorsOf(const std::string& row) {
  std::vector<std::string> fields;
  std::size_t from = 0;
  while (from < row.size()) {
    const std::size_t comma = row.find(", ", from);
    if (comma == std::string::npos) break;
    fields.push_back(row.substr(from, comma - from));
    from = comma + 2;
  }
  std::vector<std::string> precursors;
  for (std::size_t i = 7; i + 1 < fields.size(); i += 3) precursors.push_back(fields[i] + " " + fields[i + 1]);
  return precursors;
}

TEST(PrecisionModeEndToEnd, DropsIsotopesAndHarmonicsButKeepsBothPeptides) {
  ModeRun plain;
  plain.run("output_all_mars_y = 1\n");
  ModeRun precise;
  precise.run("precision_mode = 1\n");
  ASSERT_EQ(plain.result.status, 0) << plain.result.out;
  ASSERT_EQ(precise.result.status, 0) << precise.result.out;
  const std::vector<std::string> all = precursorsOf(plain.rowOf(5));
  const std::vector<std::string> kept = precursorsOf(precise.rowOf(5));
  // Without the mode the report holds more than the two peptides.
  EXPECT_GT(all.size(), 2u) << plain.rowOf(5);
  ASSERT_EQ(kept.size(), 2u) << precise.rowOf(5);
  EXPECT_NE(std::find(kept.begin(), kept.end(), "500.250000 2"), kept.end()) << precise.rowOf(5);
  EXPECT_NE(std::find(kept.begin(), kept.end(), "500.900000 3"), kept.end()) << precise.rowOf(5);
  // The kept ones keep their rank order of the plain report.
  EXPECT_LT(std::find(all.begin(), all.end(), kept[0]), std::find(all.begin(), all.end(), kept[1]));
  // One MGF block per kept precursor.
  EXPECT_LT(precise.mgf.size(), plain.mgf.size());
}

TEST(PrecisionModeEndToEnd, AScanWithoutAFoundPrecursorListsNoneButKeepsItsSpectrum) {
  // Scan 5 isolates 900.50, where no MS1 peak lies.
  for (const std::string mode : {"0", "1"}) {
    ModeRun run;
    const fs::path data = run.dir.path() / "data";
    fs::create_directories(data);
    fs::copy_file(kFixture / "run1.ms1", data / "run1.ms1");
    std::string ms2 = readFile(kFixture / "run1.ms2");
    const std::size_t scan5 = ms2.find("S\t000005\t000005");
    const std::size_t center = ms2.find("I\tActivationCenter\t500.50", scan5);
    ASSERT_NE(center, std::string::npos);
    ms2.replace(center, std::string("I\tActivationCenter\t500.50").size(), "I\tActivationCenter\t900.50");
    writeFile(data / "run1.ms2", ms2);
    writeFile(run.dir.path() / "run.para",
              "datapath = " + data.string() + "/\ninput_format = ms1\nprecision_mode = " + mode + "\n");
    run.result = runCorvid(run.dir.path(), {(run.dir.path() / "run.para").string()});
    ASSERT_EQ(run.result.status, 0) << run.result.out;
    run.csv = readFile(data / "run1.csv");
    run.mgf = readFile(data / "run1_CIDIT.mgf");
    const std::string row = run.rowOf(5);
    if (mode == "0") {
      // The recorded precursor stands in.
      EXPECT_EQ(row, "CID, IT, 5, 500.250000, 2, 1, 1, 500.250000, 2, ");
      EXPECT_EQ(run.result.out.find("Precision mode found no precursor"), std::string::npos);
    } else {
      EXPECT_EQ(row, "CID, IT, 5, 500.250000, 2, 0, ");
      EXPECT_NE(run.result.out.find("Precision mode found no precursor in 1 MS2 scans: their report rows list "
                                    "none, and their spectra keep the recorded precursor."),
                std::string::npos)
          << run.result.out;
      EXPECT_EQ(run.result.out.find("out of scan order"), std::string::npos) << run.result.out;
      // The other scans keep both peptides.
      EXPECT_EQ(precursorsOf(run.rowOf(8)).size(), 2u) << run.rowOf(8);
    }
    // Nothing is lost: the spectrum is exported with its recorded precursor.
    EXPECT_NE(run.mgf.find("TITLE=run1.5.5.2.0.dta"), std::string::npos) << run.mgf.substr(0, 400);
  }
}

TEST(PrecisionModeEndToEnd, KeepingEveryCandidateWritesTheTrainingTableWithoutReadingTheModel) {
  // How the classifier's training tables are written: no model is needed, and none is read (a
  // damaged one beside the program does not matter), every candidate is kept, and the table
  // carries the window share.
  ProgramCopy program;
  writeFile(program.bin / "precision_model.txt", "not a model\n");
  fs::copy_file(kFixture / "run1.ms1", program.data / "run1.ms1");
  fs::copy_file(kFixture / "run1.ms2", program.data / "run1.ms2");
  const RunResult result = program.run({"--datapath=" + program.data.string() + "/", "--input_format=ms1",
                                        "--precision_mode=1", "--output_all_mars_y=1", "--output_table=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string table = readFile(program.data / "run1.precursors.tsv");
  EXPECT_NE(table.find("\tf_shifted_similarity_two\tf_window_share\trecorded_precursor_kept\n"), std::string::npos);
  const std::string csv = readFile(program.data / "run1.csv");
  const std::size_t at = csv.find("CID, IT, 5, ");
  ASSERT_NE(at, std::string::npos);
  // Scan 5 keeps its six candidates, as the default mode keeps them with every candidate kept.
  EXPECT_EQ(precursorsOf(csv.substr(at, csv.find("\r\n", at) - at)).size(), 6u);
}

// The planted cases: one CID scan after each of 12 MS1 scans, scans 2, 4, ..., 24.
std::vector<std::vector<std::string>> plantedRowsOf(const ModeRun& run) {
  std::vector<std::vector<std::string>> rows;
  for (long scan = 2; scan <= 24; scan += 2) rows.push_back(precursorsOf(run.rowOf(scan)));
  return rows;
}

std::vector<std::vector<std::string>> plantedRows(const std::string& stem, const std::string& mode) {
  ModeRun run;
  // The default run keeps every candidate, to show the echoes the mode must drop.
  run.run("precision_mode = " + mode + "\n" + (mode == "0" ? "output_all_mars_y = 1\n" : ""), kPlanted, stem);
  EXPECT_EQ(run.result.status, 0) << run.result.out;
  return plantedRowsOf(run);
}

TEST(PrecisionModeEndToEnd, KeepsCoIsolatedChargesAndDropsTheirHarmonic) {
  // 600.30 2+ and 600.55 3+ interleave; the default also reports 600.30 as 4+.
  for (const auto& row : plantedRows("keep_charges", "0")) {
    EXPECT_NE(std::find(row.begin(), row.end(), "600.300000 4"), row.end());
  }
  for (const auto& row : plantedRows("keep_charges", "1")) {
    ASSERT_EQ(row.size(), 2u);
    EXPECT_NE(std::find(row.begin(), row.end(), "600.300000 2"), row.end());
    // The 3+ peptide's recalibrated m/z moves in the sixth decimal from scan to scan.
    EXPECT_TRUE(std::any_of(row.begin(), row.end(), [](const std::string& p) {
      return p.rfind("600.55", 0) == 0 && p.substr(p.size() - 2) == " 3";
    })) << row[0] << " / " << row[1];
  }
}

TEST(PrecisionModeEndToEnd, KeepsAFivePercentCoIsolatedPrecursorAfterTheDominantOne) {
  for (const auto& row : plantedRows("keep_shares", "1")) {
    ASSERT_EQ(row.size(), 2u);
    EXPECT_EQ(row[0], "650.300000 2");
    EXPECT_EQ(row[1].substr(0, 6) + row[1].substr(row[1].size() - 2), "650.90 3") << row[1];
  }
}

TEST(PrecisionModeEndToEnd, TheDominantPrecursorComesFirst) {
  // A second peptide starting on the first one's isotope 1.
  for (const auto& row : plantedRows("keep_isotope", "1")) {
    ASSERT_FALSE(row.empty());
    EXPECT_EQ(row[0], "700.400000 2");
  }
}

TEST(PrecisionModeEndToEnd, AnIonReadInSeveralScansIsReportedAtTheMeanOfItsReadings) {
  // 720.40 2+ alone, read 0.0058 Th (8 ppm) low, right and high in turn from one MS1 scan to the
  // next. The default reports the related scan's reading; the mode pools the readings of the
  // scans on both sides.
  const auto reported = [](const std::vector<std::string>& row) {
    EXPECT_EQ(row.size(), 1u);
    return row.empty() ? 0.0 : std::stod(row[0]);
  };
  const auto rowsOf = [](const std::string& mode) {
    ModeRun run;
    run.run("precision_mode = " + mode + "\noutput_table = 1\n", kPlanted, "mean_readings");
    EXPECT_EQ(run.result.status, 0) << run.result.out;
    const std::vector<std::vector<std::string>> rows = plantedRowsOf(run);
    // The table row of a pooled precursor still carries its candidate's features (score first).
    const std::string table = readFile(run.dir.path() / "data" / "mean_readings.precursors.tsv");
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 13) << table;
    EXPECT_EQ(table.find("\t\t"), std::string::npos) << table;
    return rows;
  };
  const std::vector<std::vector<std::string>> plain = rowsOf("0");
  const std::vector<std::vector<std::string>> precise = rowsOf("1");
  const std::vector<double> readings = {720.3942, 720.40, 720.4058};
  double plainError = 0.0;
  double preciseError = 0.0;
  int pooled = 0;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const double recorded = reported(plain[i]);
    const double mean = reported(precise[i]);
    EXPECT_NEAR(recorded, readings[i % 3], 1e-6) << "scan " << 2 * (i + 1);
    // Within the readings, and closer to the ion than a reading that is off.
    EXPECT_GT(mean, readings[0]);
    EXPECT_LT(mean, readings[2]);
    if (i % 3 != 1) {
      EXPECT_LT(std::fabs(mean - 720.40), std::fabs(recorded - 720.40)) << "scan " << 2 * (i + 1);
    }
    const bool isAReading = std::any_of(readings.begin(), readings.end(),
                                        [&](double reading) { return std::fabs(mean - reading) < 1e-6; });
    if (!isAReading) ++pooled;
    plainError += std::fabs(recorded - 720.40);
    preciseError += std::fabs(mean - 720.40);
  }
  EXPECT_GE(pooled, 6);
  EXPECT_LT(preciseError, plainError * 0.6);
}

// A program copy whose precision_model.txt is `model`: the run must stop before writing results.
RunResult runWithModel(const std::string& model, const ProgramCopy& program) {
  writeFile(program.bin / "precision_model.txt", model);
  fs::copy_file(kFixture / "run1.ms1", program.data / "run1.ms1");
  fs::copy_file(kFixture / "run1.ms2", program.data / "run1.ms2");
  return program.run({"--datapath=" + program.data.string() + "/", "--input_format=ms1", "--precision_mode=1"});
}

TEST(PrecisionModeEndToEnd, ADamagedModelStopsTheRunWithItsLine) {
  ProgramCopy program;
  const RunResult result = runWithModel("corvid-boosted-trees 1\ninputs 1 x\nkeep_probability 0.5\n", program);
  EXPECT_EQ(result.status, 255) << result.out;
  EXPECT_NE(result.out.find("precision model " + (program.bin / "precision_model.txt").string() +
                            ", line 4: the file ends where the baseline was expected"),
            std::string::npos)
      << result.out;
  EXPECT_FALSE(fs::exists(program.data / "run1.csv"));
  EXPECT_FALSE(fs::exists(program.data / "run1_CIDIT.mgf"));
}

TEST(PrecisionModeEndToEnd, ABadModelIsFoundBeforeAnyExtraction) {
  ProgramCopy program;
  writeFile(program.bin / "precision_model.txt", "not a model\n");
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "coeluting.mzML", program.data / "coeluting.mzML");
  const RunResult result = program.run({(program.data / "coeluting.mzML").string(), "--precision_mode=1"});
  EXPECT_EQ(result.status, 255) << result.out;
  EXPECT_NE(result.out.find("line 1: \"corvid-boosted-trees 1\" was expected"), std::string::npos) << result.out;
  EXPECT_EQ(namesIn(program.data), (std::vector<std::string>{"coeluting.mzML"}));
}

TEST(PrecisionModeEndToEnd, AModelForOtherInputsIsRefused) {
  ProgramCopy program;
  const RunResult result =
      runWithModel("corvid-boosted-trees 1\ninputs 1 x\nkeep_probability 0.5\nbaseline 0\ntrees 1\ntree 1\nleaf 0\n", program);
  EXPECT_EQ(result.status, 255) << result.out;
  EXPECT_NE(result.out.find("was trained on other inputs than this Corvid computes"), std::string::npos) << result.out;
  EXPECT_FALSE(fs::exists(program.data / "run1.csv"));
}

TEST(PrecisionModeEndToEnd, ZeroLeavesEveryOutputAsWithoutTheKey) {
  ModeRun plain;
  plain.run("");
  ModeRun off;
  off.run("precision_mode = 0\n");
  ASSERT_EQ(plain.result.status, 0) << plain.result.out;
  ASSERT_EQ(off.result.status, 0) << off.result.out;
  EXPECT_EQ(off.csv, plain.csv);
  EXPECT_EQ(off.mgf, plain.mgf);
  EXPECT_EQ(readFile(off.dir.path() / "data" / "run1_CIDIT.kx2"), readFile(plain.dir.path() / "data" / "run1_CIDIT.kx2"));
}

}  // namespace
}  // namespace corvid
