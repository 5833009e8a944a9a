#pragma once
// "svmrunner svm-predict": LIBSVM's svm-predict program on top of the library.
#include <string>
#include <vector>

namespace svmrunner {

struct PredictOptions {
  bool probability = false;  // -b 1: write the class probabilities after each label
  bool quiet = false;        // -q
  std::string testFile;
  std::string modelFile;
  std::string outputFile;
};

// Reads the arguments that follow "svm-predict"; throws RunnerError (with usage) on bad ones.
PredictOptions parsePredictArguments(const std::vector<std::string>& arguments);

// Runs svm-predict; returns the exit status, throws RunnerError on failure.
int runSvmPredict(const std::vector<std::string>& arguments);

}  // namespace svmrunner
