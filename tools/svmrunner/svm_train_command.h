#pragma once
// "svmrunner svm-train": LIBSVM's svm-train program on top of the library.
#include <string>
#include <vector>

#include <libsvm/svm.h>

namespace svmrunner {

struct TrainOptions {
  svm_parameter parameter{};        // weight_label/weight are set from the vectors below
  std::vector<int> weightLabels;    // -wi: the class labels i
  std::vector<double> weights;      // -wi: their weights
  bool quiet = false;               // -q
  int crossValidationFolds = 0;     // -v n; 0 trains and saves a model
  std::string trainingFile;
  std::string modelFile;
};

// Reads the arguments that follow "svm-train"; throws RunnerError (with usage) on bad ones.
TrainOptions parseTrainArguments(const std::vector<std::string>& arguments);

// Runs svm-train; returns the exit status, throws RunnerError on failure.
int runSvmTrain(const std::vector<std::string>& arguments);

}  // namespace svmrunner
