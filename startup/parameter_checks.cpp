#include "startup/parameter_checks.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "platform/lenient_numbers.h"

namespace corvid {
namespace {

bool onlyBlanks(const char* text) {
  for (; *text != '\0'; ++text) {
    if (*text != ' ' && *text != '\t') return false;
  }
  return true;
}

// Whether the whole text (blanks around it aside) is one number for the C conversions that its
// users apply: a prefix such as the 2 of "2abc" is read by them, but the text is no number.
bool readsWholeAsReal(const std::string& text) {
  const char* start = text.c_str();
  char* stop = nullptr;
  std::strtod(start, &stop);
  return stop != start && onlyBlanks(stop);
}

bool readsWholeAsInteger(const std::string& text) {
  const char* start = text.c_str();
  char* stop = nullptr;
  std::strtol(start, &stop, 10);
  return stop != start && onlyBlanks(stop);
}

// The value as the run holds it: the shortest text that reads back as the same double.
std::string formatReal(double value) {
  if (std::isnan(value)) return "nan";
  char digits[64];
  const auto done = std::to_chars(digits, digits + sizeof digits, value);
  return std::string(digits, done.ptr);
}

// What is wrong with a text that does not read whole as an integer: a real such as "1.5" is not
// a whole number, anything else is not a number.
std::string_view integerProblem(const std::string& text) {
  return readsWholeAsReal(text) ? "is not a whole number" : "is not a number";
}

std::string alertText(const std::string& key, const std::string& value, std::string_view problem,
                      const std::string& used) {
  return key + " = " + value + " " + std::string(problem) + ": the run uses " + used;
}

}  // namespace

void checkReal(const std::string& value, const RealRule& rule, std::vector<std::string>& alerts) {
  const double used = readReal(value);
  std::string_view problem;
  std::string outOfRange;
  if (!readsWholeAsReal(value) || std::isnan(used)) {
    problem = "is not a number";
  } else if (std::isinf(used)) {
    problem = "is not finite";
  } else if (used < rule.lowest || (rule.openAtLowest && used == rule.lowest)) {
    outOfRange = std::string("is out of range (") + rule.range + ")";
    problem = outOfRange;
  } else {
    return;
  }
  alerts.push_back(alertText(rule.key, value, problem, formatReal(used)));
}

void checkCoElute(const std::string& value, std::vector<std::string>& alerts) {
  const int used = readInteger(value);
  const std::string usedText = std::to_string(used) + (used == 0 ? " (a single precursor per scan)"
                                                                 : " (all co-eluting precursors)");
  if (!readsWholeAsInteger(value)) {
    alerts.push_back(alertText("co-elute", value, integerProblem(value), usedText));
  } else if (used != 0 && used != 1) {
    alerts.push_back(alertText("co-elute", value, "is out of range (0 or 1)", usedText));
  }
}

namespace {
// The model names that select a model of their own; anything else scores with the fallback.
constexpr std::string_view kMarsModelNames[] = {"1", "2", "3", "4", "5", "15", "250", "1024"};
}  // namespace

void checkMarsModel(const std::string& value, std::vector<std::string>& alerts) {
  for (std::string_view name : kMarsModelNames) {
    if (value == name) return;
  }
  alerts.push_back(alertText("mars_model", value,
                             "is not a known model (1, 2, 3, 4, 5, 15, 250 or 1024)",
                             "the fallback model"));
}

void checkSampleNumber(const std::string& value, std::vector<std::string>& alerts) {
  if (value == "-1") return;
  const int used = readInteger(value);
  const std::string usedText = used >= 1 ? std::to_string(used) : std::to_string(used) + " (no scan is drawn)";
  if (!readsWholeAsInteger(value)) {
    alerts.push_back(alertText("samplenumberinsvmlight", value, integerProblem(value), usedText));
  } else if (used < 1) {
    alerts.push_back(alertText("samplenumberinsvmlight", value,
                               "is out of range (-1 for every scan, or 1 or more)", usedText));
  }
}

void checkChargeRange(const std::string& value, std::vector<std::string>& alerts) {
  const std::size_t dash = value.find('-');
  if (value.empty() || dash == std::string::npos) return;
  const std::string low = value.substr(0, dash);
  const std::string high = value.substr(dash + 1);
  const int lowest = readInteger(low);
  const int highest = readInteger(high);
  const std::string usedText = std::to_string(lowest) + " to " + std::to_string(highest);
  if (!readsWholeAsInteger(low) || !readsWholeAsInteger(high)) {
    alerts.push_back(alertText("svmlight_charge_range", value,
                               "is not two whole numbers joined by \"-\"", usedText));
  } else if (lowest > highest) {
    alerts.push_back(alertText("svmlight_charge_range", value,
                               "is out of range (the first charge not above the second)",
                               usedText + " (no charge)"));
  }
}

std::string dataCountAlert(const std::string& value, int count) {
  if (!readsWholeAsInteger(value)) {
    return alertText("datanum", value, integerProblem(value),
                     count == 0 ? std::string("0 (datapath)") : std::to_string(count));
  }
  // A negative count is a documented value: no data path is processed, and nothing is wrong.
  return {};
}

}  // namespace corvid
