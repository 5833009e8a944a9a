#include "option_values.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>

#include "runner_error.h"

namespace svmrunner {

namespace {

[[noreturn]] void badValue(const std::string& option, const std::string& value, const char* kind) {
  throw RunnerError("option " + option + " needs " + kind + ", got '" + value + "'", Usage::Show);
}

}  // namespace

int parseIntOption(const std::string& option, const std::string& value) {
  const char* begin = value.c_str();
  char* end = nullptr;
  errno = 0;
  const long parsed = std::strtol(begin, &end, 10);
  if (value.empty() || end == begin || *end != '\0' || errno != 0 || parsed < INT_MIN || parsed > INT_MAX) {
    badValue(option, value, "a whole number");
  }
  return static_cast<int>(parsed);
}

double parseDoubleOption(const std::string& option, const std::string& value) {
  const char* begin = value.c_str();
  char* end = nullptr;
  errno = 0;
  // strtod, as atof does, so every value LIBSVM accepts reads to the same double.
  const double parsed = std::strtod(begin, &end);
  if (value.empty() || end == begin || *end != '\0' || !std::isfinite(parsed)) {
    badValue(option, value, "a number");
  }
  return parsed;
}

}  // namespace svmrunner
