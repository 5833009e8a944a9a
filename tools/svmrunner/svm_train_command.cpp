#include "svm_train_command.h"

#include <cstdio>
#include <memory>

#include "option_values.h"
#include "prediction_tally.h"
#include "runner_error.h"
#include "svm_problem_reader.h"

namespace svmrunner {

namespace {

// LIBSVM's defaults: C-SVC with an RBF kernel, gamma 1/num_features once the features are known.
svm_parameter defaultParameter() {
  svm_parameter parameter{};
  parameter.svm_type = C_SVC;
  parameter.kernel_type = RBF;
  parameter.degree = 3;
  parameter.gamma = 0;
  parameter.coef0 = 0;
  parameter.nu = 0.5;
  parameter.cache_size = 100;
  parameter.C = 1;
  parameter.eps = 1e-3;
  parameter.p = 0.1;
  parameter.shrinking = 1;
  parameter.probability = 0;
  parameter.nr_weight = 0;
  parameter.weight_label = nullptr;
  parameter.weight = nullptr;
  return parameter;
}

void printNothing(const char*) {}

struct ModelDeleter {
  void operator()(svm_model* model) const { svm_free_and_destroy_model(&model); }
};

// Prints what svm-train prints after cross validation: accuracy, or for regression the mean
// squared error and squared correlation coefficient.
void crossValidate(const svm_problem& problem, const svm_parameter& parameter, int folds) {
  std::vector<double> target(static_cast<std::size_t>(problem.l));
  svm_cross_validation(&problem, &parameter, folds, target.data());
  PredictionTally tally;
  for (int i = 0; i < problem.l; ++i) tally.add(target[static_cast<std::size_t>(i)], problem.y[i]);
  if (parameter.svm_type == EPSILON_SVR || parameter.svm_type == NU_SVR) {
    std::printf("Cross Validation Mean squared error = %g\n", meanSquaredError(tally));
    std::printf("Cross Validation Squared correlation coefficient = %g\n", squaredCorrelation(tally));
  } else {
    std::printf("Cross Validation Accuracy = %g%%\n", 100.0 * tally.correct / tally.total);
  }
}

}  // namespace

TrainOptions parseTrainArguments(const std::vector<std::string>& arguments) {
  TrainOptions options;
  options.parameter = defaultParameter();
  svm_parameter& parameter = options.parameter;
  std::size_t i = 0;
  while (i < arguments.size() && arguments[i].starts_with('-')) {
    const std::string& option = arguments[i];
    if (option == "-q") {
      options.quiet = true;
      ++i;
      continue;
    }
    // LIBSVM looks at the second character only ("-cost 2" would be -c 2); here an option is
    // exactly its letter, or -w followed by a class label.
    const bool isWeight = option.size() > 2 && option[1] == 'w';
    if (option.size() != 2 && !isWeight) throw RunnerError("unknown option " + option, Usage::Show);
    if (i + 1 >= arguments.size()) throw RunnerError("option " + option + " needs a value", Usage::Show);
    const std::string& value = arguments[i + 1];
    i += 2;
    switch (option[1]) {
      case 's': parameter.svm_type = parseIntOption(option, value); break;
      case 't': parameter.kernel_type = parseIntOption(option, value); break;
      case 'd': parameter.degree = parseIntOption(option, value); break;
      case 'g': parameter.gamma = parseDoubleOption(option, value); break;
      case 'r': parameter.coef0 = parseDoubleOption(option, value); break;
      case 'n': parameter.nu = parseDoubleOption(option, value); break;
      case 'm': parameter.cache_size = parseDoubleOption(option, value); break;
      case 'c': parameter.C = parseDoubleOption(option, value); break;
      case 'e': parameter.eps = parseDoubleOption(option, value); break;
      case 'p': parameter.p = parseDoubleOption(option, value); break;
      case 'h': parameter.shrinking = parseIntOption(option, value); break;
      case 'b': parameter.probability = parseIntOption(option, value); break;
      case 'v':
        options.crossValidationFolds = parseIntOption(option, value);
        if (options.crossValidationFolds < 2) {
          throw RunnerError("n-fold cross validation: n must >= 2 (got " + value + ")", Usage::Show);
        }
        break;
      case 'w':
        if (!isWeight) throw RunnerError("option -w needs a class label: -wi weight", Usage::Show);
        options.weightLabels.push_back(parseIntOption(option, option.substr(2)));
        options.weights.push_back(parseDoubleOption(option, value));
        break;
      default: throw RunnerError("unknown option " + option, Usage::Show);
    }
  }
  if (i >= arguments.size()) throw RunnerError("no training set file given", Usage::Show);
  options.trainingFile = arguments[i++];
  // Unlike LIBSVM's svm-train, which writes <name>.model into the current folder, the default
  // model goes beside the training file: corvid reads it from there.
  options.modelFile = i < arguments.size() ? arguments[i++] : options.trainingFile + ".model";
  if (i < arguments.size()) throw RunnerError("unexpected argument " + arguments[i], Usage::Show);
  return options;
}

int runSvmTrain(const std::vector<std::string>& arguments) {
  TrainOptions options = parseTrainArguments(arguments);
  // libsvm prints its progress through this function; null means standard output.
  svm_set_print_string_function(options.quiet ? &printNothing : nullptr);

  TrainingProblem problem = readTrainingProblem(options.trainingFile);
  // LIBSVM would train on nothing and write a model that predicts nothing sensible.
  if (problem.labels.empty()) throw RunnerError("training set file " + options.trainingFile + " holds no examples");

  svm_parameter& parameter = options.parameter;
  parameter.nr_weight = static_cast<int>(options.weights.size());
  parameter.weight_label = options.weightLabels.empty() ? nullptr : options.weightLabels.data();
  parameter.weight = options.weights.empty() ? nullptr : options.weights.data();
  if (parameter.gamma == 0 && problem.maxIndex > 0) parameter.gamma = 1.0 / problem.maxIndex;
  if (parameter.kernel_type == PRECOMPUTED) checkPrecomputedKernel(problem, options.trainingFile);

  const svm_problem view = problemView(problem);
  if (const char* error = svm_check_parameter(&view, &parameter)) throw RunnerError(error);

  if (options.crossValidationFolds > 0) {
    crossValidate(view, parameter, options.crossValidationFolds);
    return 0;
  }
  // The model points into `problem`, which outlives it.
  const std::unique_ptr<svm_model, ModelDeleter> model(svm_train(&view, &parameter));
  if (svm_save_model(options.modelFile.c_str(), model.get()) != 0) {
    throw RunnerError("can't save model to file " + options.modelFile);
  }
  return 0;
}

}  // namespace svmrunner
