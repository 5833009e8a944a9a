#pragma once
// The training file of svm-train, read into the arrays libsvm's svm_problem points to.
#include <string>
#include <vector>

#include <libsvm/svm.h>

namespace svmrunner {

struct TrainingProblem {
  std::vector<double> labels;
  std::vector<svm_node> nodes;    // every example's features, each list ended by index -1
  std::vector<svm_node*> rows;    // where each example starts in `nodes`
  int maxIndex = 0;               // the largest feature index, for the default gamma
};

// Reads an SVMlight file; throws RunnerError naming the file (and line) when it cannot be read or
// a line is malformed. Accepts LF and CR LF line ends and a last line without one.
TrainingProblem readTrainingProblem(const std::string& path);

// The checks LIBSVM makes on a precomputed kernel ("0:<serial number>" first on every line, serial
// numbers within range), plus one it leaves out: every line must hold as many kernel values as the
// largest serial number, or libsvm would read past the end of the line.
void checkPrecomputedKernel(const TrainingProblem& problem, const std::string& path);

// The view libsvm takes; valid while `problem` lives and is not changed.
svm_problem problemView(TrainingProblem& problem);

}  // namespace svmrunner
