// Runs the built svmrunner: training and prediction on small SVMlight sets, the files it writes
// compared byte for byte with Debian's own svm-train and svm-predict (same libsvm underneath),
// CR LF input, and every way its arguments or input files can be wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/test_support.h"

#ifdef CORVID_SVMRUNNER

namespace corvid {
namespace {

using namespace corvid::testing;

const std::string kSvmrunner = CORVID_SVMRUNNER;
const fs::path kDebianTrain = "/usr/bin/svm-train";
const fs::path kDebianPredict = "/usr/bin/svm-predict";

std::string fixture(const std::string& name) { return readFile(fs::path(CORVID_TEST_DATA_DIR) / "svm" / name); }

RunResult svmrunner(const TempDir& dir, const std::vector<std::string>& arguments) {
  return runProgram(kSvmrunner, dir.path(), arguments);
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<double> numbersOf(const std::string& line) {
  std::vector<double> numbers;
  std::istringstream in(line);
  for (double number; in >> number;) numbers.push_back(number);
  return numbers;
}

// A noisy two-class set shaped like corvid's: 13 features scaled to 0..1 (the last one 0 or 1),
// written as corvid writes it ("<label> 1:v ... 13:v \r\n"). Deterministic, so runs compare.
std::string syntheticSet(int lines, std::uint32_t seed, bool withLabels) {
  std::uint32_t state = seed;
  const auto next = [&state] {
    state = state * 1664525u + 1013904223u;
    return static_cast<double>(state >> 8) / static_cast<double>(1u << 24);
  };
  std::string text;
  char value[32];
  for (int i = 0; i < lines; ++i) {
    const bool positive = next() < 0.4;
    text += withLabels ? (positive ? "1" : "-1") : "0";
    for (int feature = 1; feature <= 13; ++feature) {
      double v = 0.6 * next() + (positive ? 0.3 * next() : 0.0);
      if (feature == 13) v = next() < (positive ? 0.7 : 0.3) ? 1.0 : 0.0;
      std::snprintf(value, sizeof value, " %d:%.8f", feature, v);
      text += value;
    }
    text += " \r\n";
  }
  return text;
}

void expectFailure(const RunResult& run, const std::string& what) {
  // 1 as LIBSVM's programs; -1 or 128+ would mean a crash.
  EXPECT_EQ(run.status, 1) << what << "\nstderr: " << run.err;
  EXPECT_TRUE(run.err.starts_with("svmrunner: ")) << what << "\nstderr: " << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << what << "\nstderr: " << run.err;
  EXPECT_EQ(run.err.find("Sanitizer"), std::string::npos) << what;
  EXPECT_EQ(run.err.find("runtime error"), std::string::npos) << what;
}

// A folder holding the separable fixture pair and a probability model trained on it.
struct TrainedFolder {
  TempDir dir;
  TrainedFolder() {
    writeFile(dir.path() / "train.txt", fixture("separable_train.txt"));
    writeFile(dir.path() / "test.txt", fixture("separable_test.txt"));
    const RunResult run = svmrunner(dir, {"svm-train", "-b", "1", "-q", "train.txt"});
    EXPECT_EQ(run.status, 0) << run.err;
  }
};

TEST(SvmrunnerUsage, NoArgumentsListsBothCommands) {
  TempDir dir;
  const RunResult run = svmrunner(dir, {});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.out.find("svmrunner svm-train [options] training_set_file [model_file]"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("svmrunner svm-predict [options] test_file model_file output_file"), std::string::npos);
}

TEST(SvmrunnerUsage, HelpVersionAndCommandHelp) {
  TempDir dir;
  const RunResult help = svmrunner(dir, {"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("svm-train"), std::string::npos);
  EXPECT_NE(help.out.find("svm-predict"), std::string::npos);

  const RunResult version = svmrunner(dir, {"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(version.out.starts_with("svmrunner ")) << version.out;
  EXPECT_NE(version.out.find("(LIBSVM 3."), std::string::npos) << version.out;

  const RunResult trainHelp = svmrunner(dir, {"svm-train", "--help"});
  EXPECT_EQ(trainHelp.status, 0);
  EXPECT_NE(trainHelp.out.find("-b probability_estimates"), std::string::npos);
  EXPECT_NE(trainHelp.out.find("-wi weight"), std::string::npos);
  const RunResult predictHelp = svmrunner(dir, {"svm-predict", "--help"});
  EXPECT_EQ(predictHelp.status, 0);
  EXPECT_NE(predictHelp.out.find("-b probability_estimates"), std::string::npos);
}

TEST(SvmrunnerTrainPredict, SeparableSetGetsSensibleProbabilities) {
  TrainedFolder folder;
  const TempDir& dir = folder.dir;
  const std::string model = readFile(dir.path() / "train.txt.model");
  EXPECT_TRUE(model.starts_with("svm_type c_svc\nkernel_type rbf\n")) << model.substr(0, 200);
  EXPECT_NE(model.find("\ngamma 0.076923076923076927\n"), std::string::npos) << "default gamma is 1/13";
  EXPECT_NE(model.find("\nprobA "), std::string::npos);
  EXPECT_NE(model.find("\nprobB "), std::string::npos);

  const RunResult run = svmrunner(dir, {"svm-predict", "-b", "1", "test.txt", "train.txt.model", "out.txt"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "Accuracy = 100% (20/20) (classification)\n");
  const std::vector<std::string> output = linesOf(readFile(dir.path() / "out.txt"));
  const std::vector<std::string> test = linesOf(fixture("separable_test.txt"));
  ASSERT_EQ(output.size(), test.size() + 1);
  // The labels in the order training met them: the training set starts with a 1.
  EXPECT_EQ(output[0], "labels 1 -1");
  for (std::size_t i = 1; i < output.size(); ++i) {
    const std::vector<double> fields = numbersOf(output[i]);
    ASSERT_EQ(fields.size(), 3u) << output[i];
    const double truth = numbersOf(test[i - 1])[0];
    EXPECT_EQ(fields[0], truth) << output[i];
    EXPECT_GE(fields[1], 0.0);
    EXPECT_GE(fields[2], 0.0);
    EXPECT_NEAR(fields[1] + fields[2], 1.0, 1e-5) << output[i];
    const double ofTruth = truth == 1.0 ? fields[1] : fields[2];
    EXPECT_GT(ofTruth, 0.8) << output[i];
  }
}

TEST(SvmrunnerTrainPredict, DefaultModelGoesBesideTheTrainingFile) {
  TempDir dir;
  fs::create_directories(dir.path() / "sub");
  writeFile(dir.path() / "sub" / "train.txt", fixture("separable_train.txt"));
  const RunResult run = svmrunner(dir, {"svm-train", "-b", "1", "sub/train.txt"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(fs::exists(dir.path() / "sub" / "train.txt.model"));
  EXPECT_FALSE(fs::exists(dir.path() / "train.txt.model"));
  // libsvm reports its optimisation on standard output.
  EXPECT_NE(run.out.find("optimization finished"), std::string::npos) << run.out;
}

TEST(SvmrunnerTrainPredict, QuietModeAndExplicitModelFile) {
  TempDir dir;
  writeFile(dir.path() / "train.txt", fixture("separable_train.txt"));
  writeFile(dir.path() / "test.txt", fixture("separable_test.txt"));
  const RunResult train = svmrunner(dir, {"svm-train", "-q", "-b", "1", "train.txt", "my.model"});
  ASSERT_EQ(train.status, 0) << train.err;
  EXPECT_EQ(train.out, "");
  EXPECT_TRUE(fs::exists(dir.path() / "my.model"));
  EXPECT_FALSE(fs::exists(dir.path() / "train.txt.model"));
  const RunResult predict = svmrunner(dir, {"svm-predict", "-q", "-b", "1", "test.txt", "my.model", "out.txt"});
  ASSERT_EQ(predict.status, 0) << predict.err;
  EXPECT_EQ(predict.out, "");
  EXPECT_EQ(linesOf(readFile(dir.path() / "out.txt")).size(), 21u);
}

TEST(SvmrunnerTrainPredict, CrLfLfAndNoFinalLineBreakReadAlike) {
  TempDir dir;
  const std::string crlfTrain = syntheticSet(150, 5, true);
  const std::string crlfTest = syntheticSet(300, 6, false);
  const std::string lfTrain = replaceAll(crlfTrain, "\r\n", "\n");
  const std::string lfTest = replaceAll(crlfTest, "\r\n", "\n");
  writeFile(dir.path() / "crlf_train.txt", crlfTrain);
  writeFile(dir.path() / "lf_train.txt", lfTrain);
  writeFile(dir.path() / "open_train.txt", lfTrain.substr(0, lfTrain.size() - 1));
  writeFile(dir.path() / "open_crlf_train.txt", crlfTrain.substr(0, crlfTrain.size() - 2));
  writeFile(dir.path() / "crlf_test.txt", crlfTest);
  writeFile(dir.path() / "lf_test.txt", lfTest);
  writeFile(dir.path() / "open_test.txt", lfTest.substr(0, lfTest.size() - 2));  // no blank, no line break
  for (const char* name : {"crlf_train.txt", "lf_train.txt", "open_train.txt", "open_crlf_train.txt"}) {
    const RunResult run = svmrunner(dir, {"svm-train", "-q", "-b", "1", name});
    ASSERT_EQ(run.status, 0) << name << ": " << run.err;
  }
  const std::string model = readFile(dir.path() / "lf_train.txt.model");
  EXPECT_EQ(readFile(dir.path() / "crlf_train.txt.model"), model);
  EXPECT_EQ(readFile(dir.path() / "open_train.txt.model"), model);
  EXPECT_EQ(readFile(dir.path() / "open_crlf_train.txt.model"), model);

  for (const char* name : {"crlf_test.txt", "lf_test.txt", "open_test.txt"}) {
    const RunResult run =
        svmrunner(dir, {"svm-predict", "-b", "1", name, "lf_train.txt.model", std::string(name) + ".out"});
    ASSERT_EQ(run.status, 0) << name << ": " << run.err;
  }
  const std::string output = readFile(dir.path() / "lf_test.txt.out");
  EXPECT_EQ(linesOf(output).size(), 301u);
  EXPECT_EQ(readFile(dir.path() / "crlf_test.txt.out"), output);
  EXPECT_EQ(readFile(dir.path() / "open_test.txt.out"), output);
}

TEST(SvmrunnerTrainPredict, LabelOnlyLinesWithCrLf) {
  // A line without features is valid; with CR LF LIBSVM's own readers would reject it.
  TempDir dir;
  writeFile(dir.path() / "train.txt", "1 1:0.9 2:0.8 \r\n-1 1:0.1 2:0.2 \r\n-1\r\n1 1:0.8 2:0.9\r\n");
  const RunResult run = svmrunner(dir, {"svm-train", "-q", "train.txt"});
  EXPECT_EQ(run.status, 0) << run.err;
}

// Both programs on the same files, each in its own folder so the default file names match.
struct Comparison {
  TempDir ours;
  TempDir theirs;
  void write(const std::string& name, const std::string& content) {
    writeFile(ours.path() / name, content);
    writeFile(theirs.path() / name, content);
  }
  void expectSameRun(const std::string& debianTool, const std::vector<std::string>& command,
                     const std::vector<std::string>& files) {
    std::vector<std::string> ourArguments = command;
    ourArguments.insert(ourArguments.begin(), fs::path(debianTool).filename().string());
    const RunResult mine = runProgram(kSvmrunner, ours.path(), ourArguments);
    const RunResult reference = runProgram(debianTool, theirs.path(), command);
    std::string described;
    for (const std::string& argument : ourArguments) described += argument + " ";
    EXPECT_EQ(mine.status, reference.status) << described << mine.err << reference.err;
    EXPECT_EQ(mine.out, reference.out) << described;
    for (const std::string& file : files) {
      ASSERT_TRUE(fs::exists(theirs.path() / file)) << described << file;
      EXPECT_EQ(readFile(ours.path() / file), readFile(theirs.path() / file)) << described << file;
    }
  }
};

bool haveDebianTools() { return fs::exists(kDebianTrain) && fs::exists(kDebianPredict); }

TEST(SvmrunnerMatchesLibsvmTools, ModelAndProbabilityOutputByteForByte) {
  if (!haveDebianTools()) GTEST_SKIP() << "Debian's svm-train/svm-predict (libsvm-tools) are not installed";
  Comparison both;
  both.write("train.txt", syntheticSet(250, 1, true));
  both.write("test.txt", syntheticSet(600, 2, false));
  // corvid's own calls: the default model name, then probability output.
  both.expectSameRun(kDebianTrain, {"-b", "1", "train.txt"}, {"train.txt.model"});
  both.expectSameRun(kDebianPredict, {"-b", "1", "test.txt", "train.txt.model", "out.txt"}, {"out.txt"});
  both.expectSameRun(kDebianPredict, {"test.txt", "train.txt.model", "plain.txt"}, {"plain.txt"});
}

TEST(SvmrunnerMatchesLibsvmTools, OtherOptionsPassThrough) {
  if (!haveDebianTools()) GTEST_SKIP() << "Debian's svm-train/svm-predict (libsvm-tools) are not installed";
  Comparison both;
  both.write("train.txt", syntheticSet(200, 3, true));
  both.write("test.txt", syntheticSet(300, 4, false));
  // Values exact in float: Debian's build reads option values as float, LIBSVM itself as double.
  const std::vector<std::vector<std::string>> optionSets = {
      {"-b", "1", "-c", "2", "-g", "0.5"},
      {"-b", "1", "-e", "0.01", "-h", "0", "-w1", "2", "-w-1", "0.5", "-m", "20"},
      {"-s", "1", "-n", "0.25", "-b", "1"},
      {"-s", "3", "-p", "0.125", "-b", "1"},
      {"-s", "4"},
      {"-s", "2"},
      {"-t", "0", "-b", "1"},
      {"-t", "1", "-d", "2", "-r", "1"},
  };
  for (const std::vector<std::string>& options : optionSets) {
    std::vector<std::string> train = options;
    train.insert(train.end(), {"train.txt", "m.model"});
    both.expectSameRun(kDebianTrain, train, {"m.model"});
    both.expectSameRun(kDebianPredict, {"-b", "1", "test.txt", "m.model", "p1.txt"}, {"p1.txt"});
    both.expectSameRun(kDebianPredict, {"test.txt", "m.model", "p0.txt"}, {"p0.txt"});
  }
  both.expectSameRun(kDebianTrain, {"-v", "5", "-b", "1", "train.txt"}, {});
  both.expectSameRun(kDebianTrain, {"-v", "4", "-s", "3", "train.txt"}, {});
}

TEST(SvmrunnerMatchesLibsvmTools, PrecomputedKernel) {
  if (!haveDebianTools()) GTEST_SKIP() << "Debian's svm-train/svm-predict (libsvm-tools) are not installed";
  Comparison both;
  both.write("train.txt", "1 0:1 1:1 2:0.5 3:0.2 \n-1 0:2 1:0.5 2:1 3:0.1 \n1 0:3 1:0.2 2:0.1 3:1 \n");
  both.expectSameRun(kDebianTrain, {"-t", "4", "train.txt"}, {"train.txt.model"});
  both.expectSameRun(kDebianPredict, {"train.txt", "train.txt.model", "out.txt"}, {"out.txt"});
}

TEST(SvmrunnerProbabilities, ModelWithoutProbabilitiesIsRefusedForMinusB1) {
  TempDir dir;
  writeFile(dir.path() / "train.txt", fixture("separable_train.txt"));
  writeFile(dir.path() / "test.txt", fixture("separable_test.txt"));
  ASSERT_EQ(svmrunner(dir, {"svm-train", "-q", "train.txt"}).status, 0);
  EXPECT_EQ(readFile(dir.path() / "train.txt.model").find("probA"), std::string::npos);
  const RunResult run = svmrunner(dir, {"svm-predict", "-b", "1", "test.txt", "train.txt.model", "out.txt"});
  expectFailure(run, "svm-predict -b 1 on a model without probabilities");
  EXPECT_NE(run.err.find("does not support probability estimates"), std::string::npos) << run.err;
  if (fs::exists(kDebianPredict)) {
    const RunResult reference = runProgram(kDebianPredict, dir.path(), {"-b", "1", "test.txt", "train.txt.model", "x"});
    EXPECT_EQ(reference.status, run.status);
  }
}

TEST(SvmrunnerProbabilities, ProbabilityModelWithoutMinusBWritesLabelsOnly) {
  TrainedFolder folder;
  const RunResult run = svmrunner(folder.dir, {"svm-predict", "test.txt", "train.txt.model", "out.txt"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.starts_with("Model supports probability estimates, but disabled in prediction.\n")) << run.out;
  const std::vector<std::string> output = linesOf(readFile(folder.dir.path() / "out.txt"));
  ASSERT_EQ(output.size(), 20u);
  for (const std::string& line : output) EXPECT_TRUE(line == "1" || line == "-1") << line;
}

TEST(SvmrunnerProbabilities, EmptyTestFileGivesTheHeaderOnly) {
  TrainedFolder folder;
  writeFile(folder.dir.path() / "empty.txt", "");
  const RunResult run = svmrunner(folder.dir, {"svm-predict", "-b", "1", "empty.txt", "train.txt.model", "out.txt"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(readFile(folder.dir.path() / "out.txt"), "labels 1 -1\n");
}

TEST(SvmrunnerErrors, BadArgumentsAndUnreadableFiles) {
  TrainedFolder folder;
  const std::vector<std::vector<std::string>> cases = {
      {"frobnicate"},
      {"svm-train"},
      {"svm-train", "-q"},
      {"svm-train", "-c"},
      {"svm-train", "-c", "abc", "train.txt"},
      {"svm-train", "-c", "1e999", "train.txt"},
      {"svm-train", "-b", "1.5", "train.txt"},
      {"svm-train", "-x", "1", "train.txt"},
      {"svm-train", "-cost", "1", "train.txt"},
      {"svm-train", "-", "1", "train.txt"},
      {"svm-train", "-v", "1", "train.txt"},
      {"svm-train", "-w", "2", "train.txt"},
      {"svm-train", "-wx", "2", "train.txt"},
      {"svm-train", "train.txt", "m.model", "extra"},
      {"svm-train", "missing.txt"},
      {"svm-train", "."},
      {"svm-train", "-s", "9", "train.txt"},
      {"svm-train", "-b", "1", "-s", "2", "train.txt"},
      {"svm-train", "-m", "-5", "train.txt"},
      {"svm-train", "train.txt", "no/such/folder/m.model"},
      {"svm-predict"},
      {"svm-predict", "-b"},
      {"svm-predict", "-b", "x", "test.txt", "train.txt.model", "out.txt"},
      {"svm-predict", "test.txt", "train.txt.model"},
      {"svm-predict", "test.txt", "train.txt.model", "out.txt", "extra"},
      {"svm-predict", "-z", "1", "test.txt", "train.txt.model", "out.txt"},
      {"svm-predict", "missing.txt", "train.txt.model", "out.txt"},
      {"svm-predict", ".", "train.txt.model", "out.txt"},
      {"svm-predict", "test.txt", "missing.model", "out.txt"},
      {"svm-predict", "test.txt", "train.txt.model", "no/such/folder/out.txt"},
  };
  for (const std::vector<std::string>& arguments : cases) {
    std::string described;
    for (const std::string& argument : arguments) described += argument + " ";
    expectFailure(svmrunner(folder.dir, arguments), described);
  }
}

TEST(SvmrunnerErrors, UsageFollowsArgumentErrors) {
  TempDir dir;
  const RunResult train = svmrunner(dir, {"svm-train", "-c", "abc", "train.txt"});
  EXPECT_EQ(train.err, "svmrunner: svm-train: option -c needs a number, got 'abc'\n");
  EXPECT_TRUE(train.out.starts_with("Usage: svmrunner svm-train")) << train.out;
  const RunResult predict = svmrunner(dir, {"svm-predict", "test.txt"});
  EXPECT_TRUE(predict.out.starts_with("Usage: svmrunner svm-predict")) << predict.out;
  // A missing file is not a usage error.
  const RunResult missing = svmrunner(dir, {"svm-train", "missing.txt"});
  EXPECT_EQ(missing.err, "svmrunner: svm-train: can't open input file missing.txt\n");
  EXPECT_EQ(missing.out, "");
}

TEST(SvmrunnerErrors, MalformedLinesNameTheFileAndLine) {
  TrainedFolder folder;
  const std::string good = "1 1:0.9 2:0.8 \r\n-1 1:0.1 2:0.2 \r\n";
  const std::vector<std::string> badLines = {
      "abc 1:0.5",        // label not a number
      "1x 1:0.5",         // label with trailing text
      "1 2:0.5 1:0.3",    // indices must rise
      "1 1:0.5 1:0.6",    // nor repeat
      "1 -2:0.5",         // below 0
      "1 a:0.5",          // index not a number
      "1 1.5:0.5",        // index not whole
      "1 1:x",            // value not a number
      "1 1:0.5:3",        // value with trailing text
      "1 1:1e999",        // value out of range
      "",                 // empty line
      "   ",              // blank line
      std::string("1 1:0.5\0 2:0.3", 14),  // NUL byte
  };
  for (const std::string& bad : badLines) {
    const std::string content = good + bad + "\r\n" + good;
    writeFile(folder.dir.path() / "bad.txt", content);
    const RunResult train = svmrunner(folder.dir, {"svm-train", "bad.txt"});
    expectFailure(train, "training line '" + bad + "'");
    EXPECT_NE(train.err.find("bad.txt at line 3"), std::string::npos) << train.err;
    const RunResult predict = svmrunner(folder.dir, {"svm-predict", "-b", "1", "bad.txt", "train.txt.model", "o.txt"});
    expectFailure(predict, "test line '" + bad + "'");
    EXPECT_NE(predict.err.find("bad.txt at line 3"), std::string::npos) << predict.err;
  }
}

TEST(SvmrunnerErrors, EmptyTrainingFile) {
  TempDir dir;
  writeFile(dir.path() / "empty.txt", "");
  const RunResult run = svmrunner(dir, {"svm-train", "-b", "1", "empty.txt"});
  expectFailure(run, "empty training file");
  EXPECT_NE(run.err.find("holds no examples"), std::string::npos) << run.err;
  EXPECT_FALSE(fs::exists(dir.path() / "empty.txt.model"));
}

TEST(SvmrunnerErrors, DamagedModelFiles) {
  TrainedFolder folder;
  const std::string model = readFile(folder.dir.path() / "train.txt.model");
  const std::size_t supportVectors = model.find("SV\n");
  ASSERT_NE(supportVectors, std::string::npos);
  const std::size_t firstVectorEnd = model.find('\n', supportVectors + 3);
  const std::vector<std::pair<std::string, std::string>> damaged = {
      {"cut short", model.substr(0, firstVectorEnd + 1)},
      {"no nr_class", replaceAll(model, "nr_class 2\n", "")},
      {"no total_sv", std::regex_replace(model, std::regex("total_sv \\d+\n"), "")},
      {"no rho", std::regex_replace(model, std::regex("rho [^\n]*\n"), "")},
      {"no nr_sv", std::regex_replace(model, std::regex("nr_sv [^\n]*\n"), "")},
      {"nr_sv mismatch", std::regex_replace(model, std::regex("nr_sv \\d+"), "nr_sv 999")},
      {"huge nr_class", replaceAll(model, "nr_class 2\n", "nr_class 99999999999\n")},
      {"blank vector line", model.substr(0, supportVectors + 3) + "\n" + model.substr(supportVectors + 3)},
      {"empty", ""},
      {"not a model", "hello world\n"},
  };
  for (const auto& [what, content] : damaged) {
    writeFile(folder.dir.path() / "bad.model", content);
    const RunResult run = svmrunner(folder.dir, {"svm-predict", "-b", "1", "test.txt", "bad.model", "out.txt"});
    expectFailure(run, what);
  }
}

TEST(SvmrunnerErrors, PrecomputedKernelLinesTooShort) {
  TempDir dir;
  writeFile(dir.path() / "train.txt", "1 0:1 1:1 2:0.5 3:0.2\n-1 0:2 1:0.5 2:1 3:0.1\n1 0:3 1:0.2 2:0.1 3:1\n");
  ASSERT_EQ(svmrunner(dir, {"svm-train", "-q", "-t", "4", "train.txt"}).status, 0);
  writeFile(dir.path() / "short.txt", "1 0:1 1:1\n");
  expectFailure(svmrunner(dir, {"svm-predict", "short.txt", "train.txt.model", "out.txt"}), "short test line");

  writeFile(dir.path() / "short_train.txt", "1 0:1 1:1 2:0.5 3:0.2\n-1 0:2 1:0.5\n1 0:3 1:0.2 2:0.1 3:1\n");
  expectFailure(svmrunner(dir, {"svm-train", "-t", "4", "short_train.txt"}), "short training line");
  writeFile(dir.path() / "no_serial.txt", "1 1:1 2:0.5\n-1 0:2 1:0.5 2:1\n");
  expectFailure(svmrunner(dir, {"svm-train", "-t", "4", "no_serial.txt"}), "no serial number");
  writeFile(dir.path() / "bad_serial.txt", "1 0:9 1:1 2:0.5\n-1 0:2 1:0.5 2:1\n");
  expectFailure(svmrunner(dir, {"svm-train", "-t", "4", "bad_serial.txt"}), "serial number out of range");
}

}  // namespace
}  // namespace corvid

#endif  // CORVID_SVMRUNNER
