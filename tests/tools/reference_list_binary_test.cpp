// The built corvid-reference-list end to end: outputs, summaries, exit statuses and messages,
// and the real BSA1 search results (Comet pepXML and OpenMS's mzIdentML of it).
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

#ifdef CORVID_REFERENCE_LIST_EXE

namespace corvid::reflist {
namespace {

using corvid::testing::readFile;
using corvid::testing::RunResult;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

std::string fixture(const std::string& name) { return std::string(CORVID_TEST_DATA_DIR) + "/search/" + name; }

RunResult run(const TempDir& temp, const std::vector<std::string>& arguments) {
  return corvid::testing::runProgram(CORVID_REFERENCE_LIST_EXE, temp.path(), arguments);
}

const std::string kSmallAtOnePercent =
    "10\t501.007276\t2\t0.0001\n"
    "12\t601.007276\t2\t0.002\n"
    "20\t401.007276\t2\t0.003\n"
    "22\t901.007276\t1\t0.004\n";

const std::string kSmallAtQValue =
    "10\t501.007276\t2\t0.0001\n"
    "12\t601.007276\t2\t0.002\n"
    "13\t468.007276\t3\t0.01\n"
    "20\t401.007276\t2\t0.003\n"
    "22\t901.007276\t1\t0.004\n";

TEST(ReferenceListBinary, PepXmlToStandardOutputWithSummary) {
  TempDir temp;
  const RunResult result = run(temp, {fixture("small.pep.xml")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, kSmallAtOnePercent);
  const std::string p = "corvid-reference-list: ";
  EXPECT_EQ(result.err, p + fixture("small.pep.xml") + ": pepXML, 9 spectrum queries, 8 rank-1 PSMs\n" + p +
                            "7 spectra with a PSM: 5 targets, 2 decoys (decoy prefix DECOY_)\n" + p +
                            "cut: 1 % FDR by target-decoy counting on expect, lower is better; kept score <= 0.004\n" +
                            p + "kept 4 target PSMs\n");
}

TEST(ReferenceListBinary, EveryFormatGivesTheSameList) {
  TempDir temp;
  for (const char* name : {"small.pep.xml", "small_1.1.mzid", "small_1.2.mzid"}) {
    SCOPED_TRACE(name);
    RunResult result = run(temp, {"--fdr", "0.01", fixture(name)});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, kSmallAtOnePercent);
    result = run(temp, {"--qvalue-max", "0.01", fixture(name)});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, kSmallAtQValue);
  }
}

TEST(ReferenceListBinary, OutputFileScoreChoiceAndQValueSummary) {
  TempDir temp;
  RunResult result = run(temp, {"--qvalue-max=0.01", "--score", "xcorr", "-o", "list.reflist", fixture("small.pep.xml")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(readFile(temp.file("list.reflist")),
            "10\t501.007276\t2\t3.5\n12\t601.007276\t2\t2.8\n13\t468.007276\t3\t2.1\n20\t401.007276\t2\t2.6\n"
            "22\t901.007276\t1\t2.4\n");
  EXPECT_NE(result.err.find("cut: q-value percolator_qvalue <= 0.01; score written: xcorr, higher is better\n"),
            std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("wrote 5 entries to list.reflist\n"), std::string::npos) << result.err;
  // Only the finished list is left in the folder.
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(temp.path())) files += entry.path().filename() == "list.reflist" ? 1 : 100;
  EXPECT_EQ(files, 1);

  // A looser cut on the same file takes in scan 13 at 20 % FDR (q-value 0.2).
  result = run(temp, {"--fdr", "0.2", fixture("small.pep.xml")});
  EXPECT_EQ(result.out, kSmallAtQValue);
}

TEST(ReferenceListBinary, ScanMapGivesCorvidsNumbers) {
  TempDir temp;
  writeFile(temp.file("run_scans.csv"),
            "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount\r\n"
            "1,12,scan=12 kind=ms1,1,1.000000,0,0.000000,0,10\r\n"
            "2,10,controllerType=0 controllerNumber=1 scan=10,2,2.000000,1,501.007300,2,10\r\n"
            "3,12,x,2,3.000000,1,601.007300,2,10\r\n"
            "4,20,y,2,4.000000,1,401.007300,2,10\r\n");
  const RunResult result = run(temp, {"--scan-map", "run_scans.csv", fixture("small.pep.xml")});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "2\t501.007276\t2\t0.0001\n3\t601.007276\t2\t0.002\n4\t401.007276\t2\t0.003\n");
  EXPECT_NE(result.err.find("scan map run_scans.csv: 3 mapped to Corvid's scan numbers, 1 not found and left out\n"),
            std::string::npos)
      << result.err;
}

struct ErrorCase {
  std::vector<std::string> arguments;
  int status;
  std::string message;  // the whole of standard error
};

TEST(ReferenceListBinary, ErrorsGiveOneLineAndAnExitStatus) {
  TempDir temp;
  writeFile(temp.file("other.xml"), "<?xml version=\"1.0\"?>\n<mzML><run/></mzML>\n");
  writeFile(temp.file("broken.pep.xml"),
            "<msms_pipeline_analysis>\n<msms_run_summary>\n<search_summary>\n</msms_run_summary>\n");
  writeFile(temp.file("cut.pep.xml"), "<msms_pipeline_analysis>\n<msms_run_summary>\n<spectrum_query");
  writeFile(temp.file("empty.pep.xml"), "");
  writeFile(temp.file("binary.pep.xml"), std::string("\x1f\x8b\x08\x00garbage", 12));
  writeFile(temp.file("wrong_scans.csv"), "a,b\n");
  writeFile(temp.file("none_scans.csv"),
            "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount\n"
            "1,1000,z,2,1.0,0,0.0,0,1\n");
  const std::string e = "corvid-reference-list: error: ";
  const std::string small = fixture("small.pep.xml");
  const std::vector<ErrorCase> cases = {
      {{}, 2, e + "no search result file given (see --help)\n"},
      {{"--fdr", "2", small}, 2, e + "--fdr needs a number from 0 to 1 (0.01 = 1 %), not \"2\"\n"},
      {{"--wat", small}, 2, e + "unknown option --wat (see --help)\n"},
      {{"--score", "myscore", small}, 2,
       e + "--score myscore: unknown score, say which way it is better with --lower-better or --higher-better\n"},
      {{"missing.pep.xml"}, 1, e + "missing.pep.xml: cannot open: No such file or directory\n"},
      {{"."}, 1, e + ".: cannot read: Is a directory\n"},
      {{"other.xml"}, 1, e + "other.xml: neither pepXML nor mzIdentML (root element <mzML>)\n"},
      {{"broken.pep.xml"}, 1, e + "broken.pep.xml:4: malformed XML: mismatched tag\n"},
      {{"cut.pep.xml"}, 1, e + "cut.pep.xml:3: malformed XML: unclosed token\n"},
      {{"empty.pep.xml"}, 1, e + "empty.pep.xml:1: malformed XML: no element found\n"},
      {{"binary.pep.xml"}, 1, e + "binary.pep.xml:1: malformed XML: no element found\n"},
      {{"--qvalue-max", "0.01", fixture("BSA1.pep.xml.gz")}, 1,
       e + fixture("BSA1.pep.xml.gz") +
           ": no q-values in the file (looked for search_score or analysis_result qvalue, q-value, q_value, "
           "percolator_qvalue); use --fdr with target-decoy counting instead\n"},
      {{"--score", "Comet:xcorr", fixture("small_1.1.mzid")}, 1,
       e + fixture("small_1.1.mzid") + ": no PSM carries the score Comet:xcorr (MS:1002252); name one with --score\n"},
      {{"--scan-map", "absent_scans.csv", small}, 1, e + "absent_scans.csv: cannot open: No such file or directory\n"},
      {{"--scan-map", "wrong_scans.csv", small}, 1,
       e + "wrong_scans.csv:1: not a Corvid scan summary (<stem>_scans.csv): the first line should be "
           "\"Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount\"\n"},
      {{"--scan-map", "none_scans.csv", small}, 1,
       e + "none_scans.csv: none of the 4 kept PSMs is in this scan map; is it the summary of the searched file?\n"},
      {{"-o", "no/such/folder/x.reflist", small}, 1, e + "no/such/folder/x.reflist: cannot write: No such file or directory\n"},
  };
  for (const ErrorCase& errorCase : cases) {
    std::string joined;
    for (const std::string& argument : errorCase.arguments) joined += argument + " ";
    SCOPED_TRACE(joined);
    const RunResult result = run(temp, errorCase.arguments);
    EXPECT_EQ(result.status, errorCase.status);
    EXPECT_EQ(result.err, errorCase.message);
    EXPECT_EQ(result.out, "");
  }
  EXPECT_FALSE(std::filesystem::exists(temp.file("no")));
}

TEST(ReferenceListBinary, HelpAndVersion) {
  TempDir temp;
  RunResult result = run(temp, {"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("usage: corvid-reference-list [options] SEARCH_RESULT\n", 0), 0U) << result.out;
  EXPECT_NE(result.out.find("--qvalue-max X"), std::string::npos);
  EXPECT_EQ(result.err, "");
  result = run(temp, {"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("corvid-reference-list (Corvid) ", 0), 0U) << result.out;
}

// One reference-list line split into its four fields.
struct Line {
  long scan;
  double mz;
  int charge;
  std::string score;
};

std::vector<Line> parseLines(const std::string& text) {
  std::vector<Line> lines;
  std::istringstream in(text);
  Line line;
  while (in >> line.scan >> line.mz >> line.charge >> line.score) lines.push_back(line);
  return lines;
}

// Comet's pepXML of BSA1 (18 proteins + Sorangium proteome with reversed decoys) and OpenMS's
// mzIdentML made from it: the committed expected lists at 1 % FDR in Corvid's scan numbers.
TEST(ReferenceListBinary, RealBsa1SearchResults) {
  TempDir temp;
  for (const char* name : {"BSA1.pep.xml", "BSA1.mzid"}) {
    SCOPED_TRACE(name);
    const RunResult result =
        run(temp, {"--fdr", "0.01", "--scan-map", fixture("BSA1_scans.csv.gz"), fixture(std::string(name) + ".gz")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, readFile(fixture(std::string(name) + ".reflist")));
    EXPECT_NE(result.err.find("1120 spectrum queries, 869 rank-1 PSMs\n"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("869 spectra with a PSM: 491 targets, 378 decoys"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("kept 38 target PSMs\n"), std::string::npos) << result.err;
  }
  // The same PSMs in both: scans, charges and scores agree. The m/z differ by a constant electron
  // mass (0.000549 Th at every charge): OpenMS's experimentalMassToCharge for Comet's
  // precursor_neutral_mass lies that much above Corvid's (M + z * 1.007276) / z.
  const auto fromPepXml = parseLines(readFile(fixture("BSA1.pep.xml.reflist")));
  const auto fromMzIdentMl = parseLines(readFile(fixture("BSA1.mzid.reflist")));
  ASSERT_EQ(fromPepXml.size(), 38U);
  ASSERT_EQ(fromMzIdentMl.size(), fromPepXml.size());
  for (std::size_t i = 0; i < fromPepXml.size(); ++i) {
    EXPECT_EQ(fromPepXml[i].scan, fromMzIdentMl[i].scan);
    EXPECT_EQ(fromPepXml[i].charge, fromMzIdentMl[i].charge);
    EXPECT_EQ(fromPepXml[i].score, fromMzIdentMl[i].score);
    EXPECT_NEAR(fromMzIdentMl[i].mz - fromPepXml[i].mz, 0.000549, 2e-6) << i;
  }

  // Decompressed input reads the same as the .gz file.
  ASSERT_EQ(std::system(("gzip -dc " + corvid::testing::shellQuote(fixture("BSA1.pep.xml.gz")) + " > " +
                         corvid::testing::shellQuote(temp.file("BSA1.pep.xml")))
                            .c_str()),
            0);
  const RunResult plain = run(temp, {"--scan-map", fixture("BSA1_scans.csv.gz"), "BSA1.pep.xml"});
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_EQ(plain.out, readFile(fixture("BSA1.pep.xml.reflist")));
}

}  // namespace
}  // namespace corvid::reflist

#endif  // CORVID_REFERENCE_LIST_EXE
