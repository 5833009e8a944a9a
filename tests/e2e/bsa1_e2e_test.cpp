// The main job on real data: BSA1.mzML (Debian's openms-doc; FTMS MS1, ion-trap CID MS2) through
// the real binary. Skipped when the file is not cached (tools/fetch_bsa1.sh fetches it).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

#include "tests/support/bsa1_copy.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t lf = text.find("\r\n"); lf != std::string::npos; lf = text.find("\r\n", start)) {
    lines.push_back(text.substr(start, lf - start));
    start = lf + 2;
  }
  return lines;
}

std::vector<std::string> fields(const std::string& row) {
  std::vector<std::string> values;
  std::size_t start = 0;
  for (std::size_t comma = row.find(", "); comma != std::string::npos; comma = row.find(", ", start)) {
    values.push_back(row.substr(start, comma - start));
    start = comma + 2;
  }
  return values;
}

using Bsa1EndToEnd = Bsa1Copy;

TEST_F(Bsa1EndToEnd, MainJobWritesOneRowPerMs2ScanAndOneBlockPerPrecursor) {
  RunResult run = runCorvid(dir.path(), {"-D", (data / "BSA1.mzML").string(), "-O", out.string()});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("ordered by retention time"), std::string::npos);
  EXPECT_NE(run.out.find("\r[Corvid] Extracting spectra: 1000\n"), std::string::npos);

  // MS2 scans of the extraction summary (columns Scan, NativeScan, NativeId, MSLevel, ...).
  std::set<int> summaryMs2Scans;
  const std::vector<std::string> summary = splitLines(readFile(data / "BSA1_scans.csv"));
  ASSERT_GT(summary.size(), 1u);
  for (std::size_t i = 1; i < summary.size(); ++i) {
    std::vector<std::string> columns;
    std::stringstream line(summary[i]);
    for (std::string column; std::getline(line, column, ',');) columns.push_back(column);
    ASSERT_GE(columns.size(), 4u) << summary[i];
    if (columns[3] == "2") summaryMs2Scans.insert(std::atoi(columns[0].c_str()));
  }
  // ... and the scans of the MS2 text that the per-file driver read.
  std::set<int> ms2Scans;
  const std::string ms2Text = readFile(data / "BSA1.ms2");
  for (std::size_t at = ms2Text.find("S\t"); at != std::string::npos; at = ms2Text.find("\r\nS\t", at + 1)) {
    const std::size_t start = ms2Text[at] == 'S' ? at + 2 : at + 4;
    ms2Scans.insert(std::atoi(ms2Text.c_str() + start));
  }
  EXPECT_EQ(ms2Scans, summaryMs2Scans);
  EXPECT_EQ(ms2Scans.size(), 1120u);

  const std::vector<std::string> rows = splitLines(readFile(out / "BSA1.csv"));
  ASSERT_EQ(rows.size(), ms2Scans.size() + 1);
  EXPECT_EQ(rows[0].rfind("ActivationType, InstrumentType, MS2Scan, OrigMZ", 0), 0u);
  int expectedBlocks = 0;
  std::set<int> reported;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    const std::vector<std::string> values = fields(rows[i]);
    ASSERT_GE(values.size(), 6u) << rows[i];
    EXPECT_EQ(values[0], "CID");
    EXPECT_EQ(values[1], "IT");
    const int scan = std::atoi(values[2].c_str());
    const int count = std::atoi(values[5].c_str());
    EXPECT_EQ(values.size(), 6u + 3u * static_cast<std::size_t>(count)) << rows[i];
    reported.insert(scan);
    expectedBlocks += count;
  }
  EXPECT_EQ(reported, ms2Scans);

  const std::string mgf = readFile(out / "BSA1_CIDIT.mgf");
  int blocks = 0;
  for (std::size_t at = mgf.find("BEGIN IONS\r\n"); at != std::string::npos; at = mgf.find("BEGIN IONS\r\n", at + 1)) ++blocks;
  EXPECT_EQ(blocks, expectedBlocks);
  EXPECT_TRUE(fs::exists(out / "BSA1_CIDIT.kx2"));
  EXPECT_FALSE(fs::exists(out / "BSA1_HCDFT.mgf"));
  EXPECT_NE(run.out.find("[Corvid] Exported "), std::string::npos);

  RunResult again = runCorvid(dir.path(), {"-D", (data / "BSA1.mzML").string(), "-O", out.string()});
  EXPECT_EQ(again.status, 0);
  EXPECT_NE(again.out.find("[Corvid] Reusing the earlier extraction of BSA1.mzML \n"), std::string::npos) << again.out;
  EXPECT_NE(again.out.find("[Corvid] CSV file already exists, Corvid Complete! \n"), std::string::npos);
}

TEST_F(Bsa1EndToEnd, FolderWithMzmlFormatIsProcessed) {
  RunResult run = runCorvid(dir.path(), {"-D", data.string(), "-F", "mzML"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] mzMLlist completes \n"), std::string::npos);
  EXPECT_TRUE(fs::exists(data / "BSA1.csv"));
  EXPECT_TRUE(fs::exists(data / "BSA1_CIDIT.mgf"));
  EXPECT_TRUE(fs::exists(data / "BSA1.quarry"));
}

// The training workflow on real data: identifications of BSA1 (Comet, 1 % FDR, converted by
// corvid-reference-list) label Corvid's candidates. Every identified precursor is among them.
TEST_F(Bsa1EndToEnd, IdentificationsLabelTheCandidatesForTraining) {
  const fs::path reference = fs::path(CORVID_TEST_DATA_DIR) / "search" / "BSA1.pep.xml.reflist";
  RunResult run = runCorvid(dir.path(), {"-D", (data / "BSA1.mzML").string(), "-O", out.string(), "-T",
                                         reference.string(), "-s", "1"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Writing TrainingSet... \n[Corvid] Check 38 Precursors.  \n"), std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("[Corvid] Writing CSV... \n[Corvid] Check 38 Precursors. \n"), std::string::npos);
  const std::string positive = readFile(out / "Positive.csv");
  const std::string negative = readFile(out / "Negative.csv");
  EXPECT_EQ(std::count(positive.begin(), positive.end(), '\n'), 38);
  EXPECT_EQ(std::count(positive.begin(), positive.end(), '\n') + std::count(negative.begin(), negative.end(), '\n'),
            2498);
}

#ifdef CORVID_SVMRUNNER
// The external classifier on real data: svmrunner (beside corvid in the build) trains on the
// sampled scans and classifies every candidate; two runs give the same bytes.
TEST_F(Bsa1EndToEnd, SvmClassifierTrainsPredictsAndIsReproducible) {
  RunResult first = runCorvid(dir.path(), {"-D", (data / "BSA1.mzML").string(), "-O", out.string(), "-v", "1"});
  ASSERT_EQ(first.status, 0) << first.out;
  EXPECT_EQ(first.out.find("Alert: The SVM"), std::string::npos);
  const std::vector<std::string> names = {"BSA1.csv", "BSA1_CIDIT.mgf", "SVMlightTrainingSet.txt",
                                          "SVMlightTestSet.txt", "SVMlightTrainingSet.txt.model",
                                          "SVMlightTrainingSet.Output.txt"};
  std::map<std::string, std::string> firstFiles;
  for (const std::string& name : names) {
    ASSERT_TRUE(fs::exists(out / name)) << name;
    firstFiles[name] = readFile(out / name);
  }
  const std::string& output = firstFiles["SVMlightTrainingSet.Output.txt"];
  const std::string& test = firstFiles["SVMlightTestSet.txt"];
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), std::count(test.begin(), test.end(), '\n') + 1);
  // Every candidate's probability passes the default threshold, so each becomes an MGF block;
  // the scans without a candidate keep their recorded precursor.
  std::set<int> scansWithCandidates;
  std::stringstream companion(readFile(out / "SVMlightTestSet.txt.scan_mz_charge.txt"));
  for (std::string line; std::getline(companion, line);) scansWithCandidates.insert(std::atoi(line.c_str()));
  const std::string& mgf = firstFiles["BSA1_CIDIT.mgf"];
  long blocks = 0;
  for (std::size_t at = mgf.find("BEGIN IONS"); at != std::string::npos; at = mgf.find("BEGIN IONS", at + 1)) ++blocks;
  EXPECT_EQ(blocks, std::count(test.begin(), test.end(), '\n') + 1120 - static_cast<long>(scansWithCandidates.size()));

  RunResult second = runCorvid(dir.path(), {"-D", (data / "BSA1.mzML").string(), "-O", out.string(), "-v", "1", "-r", "1"});
  ASSERT_EQ(second.status, 0) << second.out;
  for (const std::string& name : names) EXPECT_TRUE(readFile(out / name) == firstFiles[name]) << name;
}
#endif

}  // namespace
}  // namespace corvid
