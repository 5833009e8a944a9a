#include "scoring/svm_classifier.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "platform/paths.h"
#include "platform/process.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"

namespace corvid {

namespace {

constexpr const char* kSvmTool = "svmrunner";

// Runs svmrunner and says plainly when it is missing or failed: the run goes on as the
// classifier's contract says, but a stale output file must not pass unnoticed.
void runSvmTool(const std::string& binPath, std::vector<std::string> arguments, const std::string& outputFile) {
  const std::string tool = toolPath(binPath, kSvmTool);
  std::error_code error;
  if (!std::filesystem::is_regular_file(tool, error)) {
    logMessage(LogLabel::kAlert, "The SVM tool " + std::string(kSvmTool) + " was not found: looked for " + tool + ".");
    return;
  }
  const ChildCommand command{tool, std::move(arguments)};
  const int status = runChildProcess(command);
  if (status != 0) {
    logMessage(LogLabel::kAlert, "The SVM tool failed (exit status " + std::to_string(status) + "): " +
                            describeCommand(command) + "; " + outputFile +
                            " may be missing or left from an earlier run.");
  }
}

}  // namespace

SvmJob makeSvmJob(const std::string& trainingPath, const std::string& testPath) {
  SvmJob job;
  job.trainingFile = trainingPath;
  job.testFile = testPath;
  job.outputFile = withoutExtension(trainingPath) + ".Output.txt";
  job.trainingCopy = withoutExtension(trainingPath) + ".SVMTrainingSet.txt";
  return job;
}

std::string svmModelPath(const SvmJob& job) { return job.trainingFile + ".model"; }

void trainSvm(const SvmJob& job, const std::string& binPath) {
  logMessage(LogLabel::kNote, "Training models, it may take a few minutes, please wait...");
  runSvmTool(binPath, {"svm-train", "-b", "1", job.trainingFile}, svmModelPath(job));
}

void predictSvm(const SvmJob& job, const std::string& binPath) {
  logMessage(LogLabel::kNote, "Classifing, it may take a few minutes, please wait...");
  runSvmTool(binPath, {"svm-predict", "-b", "1", job.testFile, svmModelPath(job), job.outputFile},
             job.outputFile);
}

std::vector<double> readSvmProbabilities(const SvmJob& job) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(job.outputFile.c_str(), "r"), std::fclose);
  if (!file) throw RunFailure("Fail to open SVM output file.");
  std::vector<double> probabilities;
  char word[64] = {};
  double firstLabel = 0.0;
  double secondLabel = 0.0;
  if (std::fscanf(file.get(), "%63s %lf %lf\n", word, &firstLabel, &secondLabel) != 3) {
    logMessage(LogLabel::kAlert, "The SVM output " + job.outputFile + " has no \"labels a b\" header: no probabilities read.");
    return probabilities;
  }
  const bool firstIsPositive = firstLabel == 1.0;
  while (std::feof(file.get()) == 0) {
    double label = 0.0;
    double first = 0.0;
    double second = 0.0;
    if (std::fscanf(file.get(), "%lf %lf %lf\n", &label, &first, &second) != 3) {
      // A line that is not three numbers would never be consumed: stop instead of spinning.
      logMessage(LogLabel::kAlert, "The SVM output " + job.outputFile + " holds a line that is not three numbers after " +
                              std::to_string(probabilities.size()) + " probabilities: the rest is ignored.");
      break;
    }
    probabilities.push_back(firstIsPositive ? first : second);
  }
  return probabilities;
}

}  // namespace corvid
