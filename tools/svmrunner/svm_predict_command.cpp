#include "svm_predict_command.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include <libsvm/svm.h>

#include "option_values.h"
#include "prediction_tally.h"
#include "runner_error.h"
#include "svm_line_parser.h"
#include "svm_model_check.h"

namespace svmrunner {

namespace {

struct ModelDeleter {
  void operator()(svm_model* model) const { svm_free_and_destroy_model(&model); }
};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

using OutputFile = std::unique_ptr<std::FILE, FileCloser>;

void printSummary(const PredictionTally& tally, int svmType) {
  // With no test lines these divide by zero and print nan, as svm-predict does.
  const double total = tally.total;
  if (svmType == NU_SVR || svmType == EPSILON_SVR) {
    std::printf("Mean squared error = %g (regression)\n", meanSquaredError(tally));
    std::printf("Squared correlation coefficient = %g (regression)\n", squaredCorrelation(tally));
  } else {
    std::printf("Accuracy = %g%% (%d/%d) (classification)\n", tally.correct / total * 100, tally.correct, tally.total);
  }
}

// Loads the model after checking its layout; throws RunnerError when it cannot be used.
std::unique_ptr<svm_model, ModelDeleter> loadModel(const std::string& path) {
  if (const std::optional<std::string> damage = findModelFileDamage(path)) throw RunnerError(*damage);
  std::unique_ptr<svm_model, ModelDeleter> model(svm_load_model(path.c_str()));
  if (!model) throw RunnerError("can't open model file " + path);
  if (const std::optional<std::string> damage = findLoadedModelDamage(*model)) {
    throw RunnerError("model file " + path + " is damaged: " + *damage);
  }
  return model;
}

// Predicts every line of `input` into `output`: the label, then with probabilities one estimate
// per class in the order of the header's labels.
void predictLines(std::istream& input, std::FILE* output, const svm_model& model, const PredictOptions& options) {
  const int svmType = svm_get_svm_type(&model);
  const int classCount = svm_get_nr_class(&model);
  const bool writeProbabilities = options.probability && (svmType == C_SVC || svmType == NU_SVC);
  std::vector<double> estimates(static_cast<std::size_t>(classCount));
  if (options.probability) {
    if (svmType == NU_SVR || svmType == EPSILON_SVR) {
      if (!options.quiet) {
        std::printf("Prob. model for test data: target value = predicted value + z,\n"
                    "z: Laplace distribution e^(-|z|/sigma)/(2sigma),sigma=%g\n",
                    svm_get_svr_probability(&model));
      }
    } else {
      std::vector<int> labels(static_cast<std::size_t>(classCount));
      svm_get_labels(&model, labels.data());
      std::fputs("labels", output);
      for (int label : labels) std::fprintf(output, " %d", label);
      std::fputs("\n", output);
    }
  }

  const std::size_t neededLength = precomputedLineLength(model);
  PredictionTally tally;
  std::vector<svm_node> nodes;
  std::string line;
  while (std::getline(input, line)) {
    dropCarriageReturn(line);
    nodes.clear();
    const std::size_t lineNumber = static_cast<std::size_t>(tally.total) + 1;
    const std::optional<double> target = parseSvmLine(line, nodes);
    if (!target) {
      throw RunnerError("wrong input format in " + options.testFile + " at line " + std::to_string(lineNumber));
    }
    // A precomputed kernel value is looked up by position: a short line would be read past its end.
    if (nodes.size() - 1 < neededLength) {
      throw RunnerError("wrong input format in " + options.testFile + " at line " + std::to_string(lineNumber) +
                        ": the line holds fewer than " + std::to_string(neededLength - 1) + " kernel values");
    }
    double predicted = 0;
    if (writeProbabilities) {
      predicted = svm_predict_probability(&model, nodes.data(), estimates.data());
      std::fprintf(output, "%g", predicted);
      for (double estimate : estimates) std::fprintf(output, " %g", estimate);
      std::fputs("\n", output);
    } else {
      predicted = svm_predict(&model, nodes.data());
      // Full precision: a regression target is not a class label.
      std::fprintf(output, "%.17g\n", predicted);
    }
    tally.add(predicted, *target);
  }
  if (input.bad()) throw RunnerError("error while reading test file " + options.testFile);
  if (!options.quiet) printSummary(tally, svmType);
}

}  // namespace

PredictOptions parsePredictArguments(const std::vector<std::string>& arguments) {
  PredictOptions options;
  std::size_t i = 0;
  while (i < arguments.size() && arguments[i].starts_with('-')) {
    const std::string& option = arguments[i];
    if (option == "-q") {
      options.quiet = true;
      ++i;
    } else if (option == "-b") {
      if (i + 1 >= arguments.size()) throw RunnerError("option -b needs a value", Usage::Show);
      options.probability = parseIntOption(option, arguments[i + 1]) != 0;
      i += 2;
    } else {
      throw RunnerError("unknown option " + option, Usage::Show);
    }
  }
  if (arguments.size() - i < 3) throw RunnerError("expects test_file model_file output_file", Usage::Show);
  if (arguments.size() - i > 3) throw RunnerError("unexpected argument " + arguments[i + 3], Usage::Show);
  options.testFile = arguments[i];
  options.modelFile = arguments[i + 1];
  options.outputFile = arguments[i + 2];
  return options;
}

int runSvmPredict(const std::vector<std::string>& arguments) {
  const PredictOptions options = parsePredictArguments(arguments);
  // The order of svm-predict: test file, output file, then the model.
  std::error_code error;
  if (std::filesystem::is_directory(options.testFile, error)) {
    throw RunnerError("can't open input file " + options.testFile + ": it is a folder");
  }
  std::ifstream input(options.testFile, std::ios::binary);
  if (!input) throw RunnerError("can't open input file " + options.testFile);
  const OutputFile output(std::fopen(options.outputFile.c_str(), "w"));
  if (!output) throw RunnerError("can't open output file " + options.outputFile);
  const auto model = loadModel(options.modelFile);

  if (options.probability) {
    if (svm_check_probability_model(model.get()) == 0) {
      throw RunnerError("model file " + options.modelFile +
                        " does not support probability estimates (train it with -b 1)");
    }
  } else if (svm_check_probability_model(model.get()) != 0 && !options.quiet) {
    std::puts("Model supports probability estimates, but disabled in prediction.");
  }

  predictLines(input, output.get(), *model, options);
  // Write errors (a full disk) show up when the buffered output is flushed.
  if (std::fflush(output.get()) != 0 || std::ferror(output.get()) != 0) {
    throw RunnerError("can't write output file " + options.outputFile);
  }
  return 0;
}

}  // namespace svmrunner
