#include "svm_problem_reader.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "runner_error.h"
#include "svm_line_parser.h"

namespace svmrunner {

namespace {

std::string atLine(const std::string& path, std::size_t lineNumber) {
  return path + " at line " + std::to_string(lineNumber);
}

// The number of features of a row, the end marker excluded.
std::size_t rowLength(const svm_node* row) {
  std::size_t length = 0;
  while (row[length].index != -1) ++length;
  return length;
}

}  // namespace

TrainingProblem readTrainingProblem(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) throw RunnerError("can't open input file " + path + ": it is a folder");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw RunnerError("can't open input file " + path);

  TrainingProblem problem;
  std::vector<std::size_t> rowStarts;
  std::string line;
  while (std::getline(in, line)) {
    dropCarriageReturn(line);
    rowStarts.push_back(problem.nodes.size());
    const std::optional<double> label = parseSvmLine(line, problem.nodes);
    if (!label) throw RunnerError("wrong input format in " + atLine(path, rowStarts.size()));
    problem.labels.push_back(*label);
    // The last feature of a line has its largest index (indices rise).
    const std::size_t last = problem.nodes.size() - 1;
    if (last > rowStarts.back() && problem.nodes[last - 1].index > problem.maxIndex) {
      problem.maxIndex = problem.nodes[last - 1].index;
    }
  }
  if (in.bad()) throw RunnerError("error while reading input file " + path);

  // Pointers only once `nodes` has stopped growing.
  problem.rows.reserve(rowStarts.size());
  for (std::size_t start : rowStarts) problem.rows.push_back(problem.nodes.data() + start);
  return problem;
}

void checkPrecomputedKernel(const TrainingProblem& problem, const std::string& path) {
  std::size_t longestSerial = 0;
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    const svm_node* row = problem.rows[i];
    if (row[0].index != 0) {
      throw RunnerError("wrong input format in " + atLine(path, i + 1) +
                        ": first column must be 0:sample_serial_number");
    }
    // Compared as double first: a huge or NaN value must not reach the int conversion.
    const double serial = row[0].value;
    if (!(serial >= 1.0 && serial < static_cast<double>(problem.maxIndex) + 1.0)) {
      throw RunnerError("wrong input format in " + atLine(path, i + 1) + ": sample_serial_number out of range");
    }
    longestSerial = std::max(longestSerial, static_cast<std::size_t>(serial));
  }
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    if (rowLength(problem.rows[i]) <= longestSerial) {
      throw RunnerError("wrong input format in " + atLine(path, i + 1) + ": the line holds fewer than " +
                        std::to_string(longestSerial) + " kernel values");
    }
  }
}

svm_problem problemView(TrainingProblem& problem) {
  svm_problem view{};
  view.l = static_cast<int>(problem.labels.size());
  view.y = problem.labels.data();
  view.x = problem.rows.data();
  return view;
}

}  // namespace svmrunner
