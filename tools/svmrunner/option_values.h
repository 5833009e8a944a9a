#pragma once
// Option values on the command line. LIBSVM reads them with atoi/atof, which turn a mistyped value
// into 0 without a word; here a value must be a whole number.
#include <string>

namespace svmrunner {

// The value of `option` as an int; throws RunnerError (with usage) when it is not one.
int parseIntOption(const std::string& option, const std::string& value);
// The value of `option` as a finite double; throws RunnerError (with usage) when it is not one.
double parseDoubleOption(const std::string& option, const std::string& value);

}  // namespace svmrunner
