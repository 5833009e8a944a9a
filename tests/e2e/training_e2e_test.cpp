// Training export and the external SVM classifier through the real binary, on the fixture pair
// (two co-eluting peptides, 500.25 2+ and 500.90 3+, in every CID scan's window).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kFixture = fs::path(CORVID_TEST_DATA_DIR) / "pair";

// A private copy of the program with IPV.txt beside it and the fixture pair in data/.
struct TrainingRun : ProgramCopy {
  fs::path out = root.path() / "out";
  TrainingRun() {
    fs::create_directories(out);
    fs::copy_file(kFixture / "run1.ms1", data / "run1.ms1");
    fs::copy_file(kFixture / "run1.ms2", data / "run1.ms2");
    writeFile(reference(), "5\t500.25\t2\t1.5\n8\t500.9\t3\t2.0\n99\t500.25\t2\t0.0\n");
  }
  fs::path reference() const { return root.path() / "known.tsv"; }
  RunResult run(const std::vector<std::string>& extra) const {
    std::vector<std::string> arguments = {"-D", data.string(), "-F", "ms1", "-O", out.string()};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    return ProgramCopy::run(arguments);
  }
  std::string output(const std::string& name) const { return readFile(out / name); }
};

std::size_t lineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The fixture's MS2 text without its HCD scans: one activation group.
std::string cidOnlyMs2() {
  const std::string text = readFile(kFixture / "run1.ms2");
  std::string kept = text.substr(0, text.find("S\t"));
  for (std::size_t at = text.find("S\t"); at != std::string::npos;) {
    const std::size_t next = text.find("\r\nS\t", at);
    const std::size_t end = next == std::string::npos ? text.size() : next + 2;
    const std::string block = text.substr(at, end - at);
    if (block.find("ActivationType\tCID") != std::string::npos) kept += block;
    at = next == std::string::npos ? std::string::npos : next + 2;
  }
  return kept;
}

TEST(TrainingEndToEnd, ReferenceListLabelsTheCandidatesBeforeAndAfterScoring) {
  TrainingRun training;
  writeFile(training.data / "run1.ms2", cidOnlyMs2());
  RunResult run = training.run({"-T", training.reference().string(), "-s", "1"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Writing TrainingSet... \n[Corvid] Check 2 Precursors.  \n"
                         "[Corvid] Evaluting by the classifier... \n"
                         "[Corvid] Writing TrainingSet... \n[Corvid] Check 2 Precursors.  \n"
                         "[Corvid] Filtering by the threshold... \n"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("[Corvid] Writing CSV... \n[Corvid] Check 2 Precursors. \n"), std::string::npos);
  // The two known precursors (scan 5: 500.25 2+, scan 8: 500.90 3+) are the positives; the
  // second call's last column is the MARS score, not feature 12 again.
  const std::string positive = training.output("Positive.csv");
  ASSERT_EQ(lineCount(positive), 2u) << positive;
  EXPECT_EQ(positive.rfind("5, 2.000000, ", 0), 0u) << positive;
  EXPECT_NE(positive.find("\r\n8, 3.000000, "), std::string::npos) << positive;
  const std::string negative = training.output("Negative.csv");
  EXPECT_GT(lineCount(negative), 20u);
  const std::string firstLine = positive.substr(0, positive.find("\r\n"));
  std::vector<std::string> values;
  for (std::size_t start = 0, comma = 0; comma != std::string::npos; start = comma + 2) {
    comma = firstLine.find(", ", start);
    values.push_back(firstLine.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
  }
  ASSERT_EQ(values.size(), 15u) << firstLine;
  EXPECT_NE(values[14], values[13]) << firstLine;
  EXPECT_EQ(run.out.find("Alert"), std::string::npos) << run.out;
  EXPECT_EQ(run.out.find("were overwritten"), std::string::npos) << run.out;
}

TEST(TrainingEndToEnd, TablesHoldTheLastGroupAndSayWhatWasOverwritten) {
  TrainingRun training;
  RunResult run = training.run({"-T", training.reference().string(), "-s", "1"});
  ASSERT_EQ(run.status, 0) << run.out;
  // HCD/FT comes after CID/IT: its candidates (scans 3, 6, ... 36) are all that is left.
  EXPECT_EQ(training.output("Positive.csv"), "");
  const std::string negative = training.output("Negative.csv");
  EXPECT_EQ(lineCount(negative), 84u);
  EXPECT_EQ(negative.rfind("3, ", 0), 0u);
  EXPECT_NE(run.out.find("[Corvid] Positive.csv and Negative.csv in " + training.out.string() +
                         "/ now hold the candidates of run1_HCDFT only: those of run1_CIDIT were overwritten. \n"),
            std::string::npos)
      << run.out;
}

TEST(TrainingEndToEnd, WithoutOutputTrainingDataTheTablesAreEmpty) {
  TrainingRun training;
  RunResult run = training.run({"-T", training.reference().string()});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_TRUE(fs::exists(training.out / "Positive.csv"));
  EXPECT_EQ(training.output("Positive.csv"), "");
  EXPECT_EQ(training.output("Negative.csv"), "");
  EXPECT_EQ(run.out.find("were overwritten"), std::string::npos);
}

TEST(TrainingEndToEnd, SvmWithoutTheToolEndsWithTheOutputFileText) {
  TrainingRun training;
  RunResult run = training.run({"-v", "1"});
  EXPECT_EQ(run.status, 255);
  const std::string alert = "[Corvid] The SVM tool svmrunner was not found: looked for " + (training.bin / "svmrunner").string() + ". \n";
  const std::size_t alertAt = run.out.find(alert);
  const std::size_t failureAt = run.out.find("[Corvid] Fail to open SVM output file. \n");
  ASSERT_NE(alertAt, std::string::npos) << run.out;
  ASSERT_NE(failureAt, std::string::npos) << run.out;
  EXPECT_LT(alertAt, failureAt);
  EXPECT_FALSE(fs::exists(training.out / "run1.csv"));
}

#ifdef CORVID_SVMRUNNER
// The last of the 15 comma-separated values of every table line.
std::vector<double> lastColumn(const std::string& table) {
  std::vector<double> values;
  for (std::size_t start = 0, end = 0; (end = table.find("\r\n", start)) != std::string::npos; start = end + 2) {
    const std::string line = table.substr(start, end - start);
    values.push_back(std::stod(line.substr(line.rfind(", ") + 2)));
  }
  return values;
}

TEST(TrainingEndToEnd, SvmRunnerTrainsAndItsProbabilitiesAreTheScores) {
  TrainingRun training;
  fs::copy_file(CORVID_SVMRUNNER, training.bin / "svmrunner");
  RunResult run = training.run({"-v", "1", "-T", training.reference().string(), "-s", "1"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] Training models, it may take a few minutes, please wait... \n"), std::string::npos);
  EXPECT_NE(run.out.find("[Corvid] Classifing, it may take a few minutes, please wait... \n"), std::string::npos);
  EXPECT_EQ(run.out.find("Alert"), std::string::npos) << run.out;
  ASSERT_TRUE(fs::exists(training.out / "SVMlightTrainingSet.txt.model"));
  ASSERT_TRUE(fs::exists(training.out / "run1.csv"));
  ASSERT_TRUE(fs::exists(training.out / "run1_CIDIT.mgf"));
  // The output of the last group (HCD/FT) has a header and one probability per test line.
  const std::string output = training.output("SVMlightTrainingSet.Output.txt");
  const std::string test = training.output("SVMlightTestSet.txt");
  EXPECT_EQ(output.rfind("labels ", 0), 0u) << output;
  EXPECT_EQ(lineCount(output), lineCount(test) + 1);
  // The tables written after scoring carry the probabilities as their last column: each lies in
  // 0..1 and is the probability of label 1 of its candidate's output line.
  std::vector<double> probabilities;
  const bool firstIsOne = output.rfind("labels 1 ", 0) == 0;
  for (std::size_t start = output.find('\n') + 1, end = 0; (end = output.find('\n', start)) != std::string::npos;
       start = end + 1) {
    double label = 0;
    double first = 0;
    double second = 0;
    ASSERT_EQ(std::sscanf(output.c_str() + start, "%lf %lf %lf", &label, &first, &second), 3);
    probabilities.push_back(firstIsOne ? first : second);
  }
  std::vector<double> scored = lastColumn(training.output("Negative.csv"));
  const std::vector<double> positive = lastColumn(training.output("Positive.csv"));
  scored.insert(scored.end(), positive.begin(), positive.end());
  ASSERT_EQ(scored.size(), probabilities.size());
  std::sort(scored.begin(), scored.end());
  std::sort(probabilities.begin(), probabilities.end());
  for (std::size_t i = 0; i < scored.size(); ++i) {
    EXPECT_NEAR(scored[i], probabilities[i], 1.000001e-6) << i;  // tables print six decimals
    EXPECT_GE(scored[i], 0.0);
    EXPECT_LE(scored[i], 1.0);
  }
}

TEST(TrainingEndToEnd, FewerProbabilitiesThanCandidatesDropsTheRestWithAnAlert) {
  TrainingRun training;
  writeFile(training.data / "run1.ms2", cidOnlyMs2());
  // A stand-in classifier that answers for two candidates only.
  writeFile(training.bin / "svmrunner",
            "#!/bin/sh\n[ \"$1\" = svm-predict ] && printf 'labels 1 -1\\n1 0.9 0.1\\n-1 0.2 0.8\\n' > \"$6\"\nexit 0\n");
  fs::permissions(training.bin / "svmrunner", fs::perms::owner_all);
  RunResult run = training.run({"-v", "1"});
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("[Corvid] The SVM output " + training.out.string() +
                         "/SVMlightTrainingSet.Output.txt holds 2 probabilities for "),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find(" candidates: candidates without one are dropped. \n"), std::string::npos) << run.out;
  // Both probabilities pass the default threshold; the first scan keeps its two candidates.
  const std::string csv = training.output("run1.csv");
  EXPECT_NE(csv.find("CID, IT, 2, "), std::string::npos) << csv;
}

// An output holding its header alone gives no score to filter by: every candidate stays, in
// detection order, exactly as when every candidate gets the same probability (the filter's sort
// is stable), and an Alert says so.
TEST(TrainingEndToEnd, HeaderOnlyOutputKeepsEveryCandidateInDetectionOrder) {
  const auto runWith = [](const std::string& predict) {
    TrainingRun training;
    writeFile(training.data / "run1.ms2", cidOnlyMs2());
    writeFile(training.bin / "svmrunner", "#!/bin/sh\n[ \"$1\" = svm-predict ] || exit 0\n" + predict + "exit 0\n");
    fs::permissions(training.bin / "svmrunner", fs::perms::owner_all);
    RunResult run = training.run({"-v", "1"});
    EXPECT_EQ(run.status, 0) << run.out;
    return std::make_pair(run.out, training.output("run1.csv") + training.output("run1_CIDIT.mgf"));
  };
  const auto [headerOnlyLog, headerOnly] = runWith("printf 'labels 1 -1\\n' > \"$6\"\n");
  const auto [equalLog, equal] =
      runWith("printf 'labels 1 -1\\n' > \"$6\"\nwhile read -r line; do echo '1 1 0' >> \"$6\"; done < \"$4\"\n");
  EXPECT_NE(headerOnlyLog.find("/SVMlightTrainingSet.Output.txt holds 0 probabilities for "), std::string::npos)
      << headerOnlyLog;
  EXPECT_NE(headerOnlyLog.find(" candidates: every candidate is kept unscored, in detection order. \n"),
            std::string::npos)
      << headerOnlyLog;
  EXPECT_EQ(equalLog.find("Alert"), std::string::npos) << equalLog;
  EXPECT_NE(headerOnly.find("CID, IT, 2, "), std::string::npos) << headerOnly;
  EXPECT_EQ(headerOnly, equal);
}
#endif

}  // namespace
}  // namespace corvid
