#pragma once
// The one way a command of svmrunner fails: main() prints the message as "svmrunner: <message>"
// on standard error, adds the command's usage text when the arguments were at fault, and exits
// with status 1 (as LIBSVM's programs do on every error).
#include <stdexcept>
#include <string>

namespace svmrunner {

enum class Usage { Omit, Show };

struct RunnerError : std::runtime_error {
  RunnerError(const std::string& message, Usage usage = Usage::Omit)
      : std::runtime_error(message), showUsage(usage == Usage::Show) {}
  bool showUsage;
};

}  // namespace svmrunner
