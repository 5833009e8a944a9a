// svmrunner: LIBSVM's svm-train and svm-predict command-line programs in one executable, built on
// the system's libsvm. corvid runs it from its own folder as
//   svmrunner svm-train -b 1 TRAIN                 (writes TRAIN.model)
//   svmrunner svm-predict -b 1 TEST MODEL OUTPUT    (writes "labels a b", then "label p_a p_b" lines)
// Every error ends the run with one "svmrunner: ..." line on standard error and exit status 1.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "runner_error.h"
#include "svm_predict_command.h"
#include "svm_train_command.h"
#include "usage_text.h"

namespace {

using svmrunner::RunnerError;

struct Command {
  const char* name;
  int (*run)(const std::vector<std::string>&);
  void (*printUsage)();
};

constexpr Command kCommands[] = {
    {"svm-train", &svmrunner::runSvmTrain, &svmrunner::printTrainUsage},
    {"svm-predict", &svmrunner::runSvmPredict, &svmrunner::printPredictUsage},
};

int fail(const std::string& message) {
  std::fflush(stdout);
  std::fprintf(stderr, "svmrunner: %s\n", message.c_str());
  return 1;
}

int runCommand(const Command& command, const std::vector<std::string>& arguments) {
  if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-help")) {
    command.printUsage();
    return 0;
  }
  try {
    return command.run(arguments);
  } catch (const RunnerError& error) {
    const int status = fail(std::string(command.name) + ": " + error.what());
    if (error.showUsage) command.printUsage();
    return status;
  } catch (const std::exception& error) {  // out of memory, mostly
    return fail(std::string(command.name) + ": " + error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) {
    svmrunner::printProgramUsage();
    return 1;
  }
  const std::string& first = arguments[0];
  if (first == "--help" || first == "-h") {
    svmrunner::printProgramUsage();
    return 0;
  }
  if (first == "--version") {
    svmrunner::printVersion();
    return 0;
  }
  for (const Command& command : kCommands) {
    if (first == command.name) return runCommand(command, {arguments.begin() + 1, arguments.end()});
  }
  const int status = fail("unknown command '" + first + "' (expected svm-train or svm-predict)");
  svmrunner::printProgramUsage();
  return status;
}
