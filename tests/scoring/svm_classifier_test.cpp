// The external SVM classifier: job paths, the tool's command lines, and reading its probability
// output.
#include <gtest/gtest.h>

#include "scoring/svm_classifier.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

std::string loggedText() {
  std::string text;
  for (const std::string& piece : runLogLines()) text += piece;
  return text;
}

TEST(SvmJob, PathsFollowTheTrainingFile) {
  const SvmJob job = makeSvmJob("/out/SVMlightTrainingSet.txt", "/out/SVMlightTestSet.txt");
  EXPECT_EQ(job.trainingFile, "/out/SVMlightTrainingSet.txt");
  EXPECT_EQ(job.testFile, "/out/SVMlightTestSet.txt");
  EXPECT_EQ(job.outputFile, "/out/SVMlightTrainingSet.Output.txt");
  EXPECT_EQ(job.trainingCopy, "/out/SVMlightTrainingSet.SVMTrainingSet.txt");
  EXPECT_EQ(svmModelPath(job), "/out/SVMlightTrainingSet.txt.model");
}

SvmJob jobIn(const TempDir& dir) {
  return makeSvmJob(dir.file("SVMlightTrainingSet.txt"), dir.file("SVMlightTestSet.txt"));
}

TEST(SvmProbabilities, MinusOneFirstSelectsTheSecondColumn) {
  TempDir dir;
  const SvmJob job = jobIn(dir);
  writeFile(job.outputFile, "labels -1 1\n-1 0.8 0.2\n1 0.25 0.75\n");
  EXPECT_EQ(readSvmProbabilities(job), (std::vector<double>{0.2, 0.75}));
}

TEST(SvmProbabilities, OneFirstSelectsTheFirstColumn) {
  TempDir dir;
  const SvmJob job = jobIn(dir);
  writeFile(job.outputFile, "labels 1 -1\r\n1 0.9 0.1\r\n-1 0.375 0.625\r\n");
  EXPECT_EQ(readSvmProbabilities(job), (std::vector<double>{0.9, 0.375}));
}

TEST(SvmProbabilities, HeaderOnlyGivesNothing) {
  TempDir dir;
  const SvmJob job = jobIn(dir);
  writeFile(job.outputFile, "labels 1 -1\n");
  EXPECT_TRUE(readSvmProbabilities(job).empty());
  writeFile(job.outputFile, "labels 1 -1");
  EXPECT_TRUE(readSvmProbabilities(job).empty());
}

TEST(SvmProbabilities, MissingFileThrows) {
  TempDir dir;
  try {
    readSvmProbabilities(jobIn(dir));
    FAIL() << "no failure thrown";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Fail to open SVM output file.");
  }
}

TEST(SvmProbabilities, DamagedLineStopsReadingWithAnAlert) {
  discardRunLog();
  createRunLog();
  TempDir dir;
  const SvmJob job = jobIn(dir);
  writeFile(job.outputFile, "labels 1 -1\n1 0.9 0.1\n1 garbage\n1 0.5 0.5\n");
  EXPECT_EQ(readSvmProbabilities(job), (std::vector<double>{0.9}));
  EXPECT_NE(loggedText().find("is not three numbers after 1 probabilities"), std::string::npos) << loggedText();
  writeFile(job.outputFile, std::string("\x01\x02\x03 binary", 10));
  EXPECT_TRUE(readSvmProbabilities(job).empty());
  EXPECT_NE(loggedText().find("has no \"labels a b\" header"), std::string::npos);
  discardRunLog();
}

TEST(SvmTool, MissingToolIsNamedInAnAlert) {
  discardRunLog();
  createRunLog();
  TempDir dir;
  const SvmJob job = jobIn(dir);
  {
    StdoutCapture capture;
    trainSvm(job, dir.folder());
    predictSvm(job, dir.folder());
    capture.text();
  }
  const std::string log = loggedText();
  EXPECT_NE(log.find("Training models, it may take a few minutes, please wait...\n"), std::string::npos);
  EXPECT_NE(log.find("Classifing, it may take a few minutes, please wait...\n"), std::string::npos);
  EXPECT_NE(log.find("The SVM tool svmrunner was not found: looked for " + dir.folder() + "svmrunner.\n"),
            std::string::npos)
      << log;
  discardRunLog();
}

TEST(SvmTool, CommandLinesAreLibsvmsAndFailuresAreReported) {
  discardRunLog();
  createRunLog();
  TempDir dir;
  const SvmJob job = jobIn(dir);
  // A stand-in that records its arguments and fails on prediction.
  writeFile(dir.path() / "svmrunner",
            "#!/bin/sh\necho \"$@\" >> \"$(dirname \"$0\")/calls.txt\"\n[ \"$1\" = svm-train ]\n");
  fs::permissions(dir.path() / "svmrunner", fs::perms::owner_all);
  {
    StdoutCapture capture;
    trainSvm(job, dir.folder());
    predictSvm(job, dir.folder());
    capture.text();
  }
  EXPECT_EQ(readFile(dir.path() / "calls.txt"),
            "svm-train -b 1 " + job.trainingFile + "\n" + "svm-predict -b 1 " + job.testFile + " " +
                job.trainingFile + ".model " + job.outputFile + "\n");
  const std::string log = loggedText();
  EXPECT_EQ(log.find("svm-train -b 1 " + job.trainingFile + ";"), std::string::npos) << log;
  EXPECT_NE(log.find("The SVM tool failed (exit status 1): " + dir.folder() + "svmrunner svm-predict -b 1"),
            std::string::npos)
      << log;
  discardRunLog();
}

}  // namespace
}  // namespace corvid
