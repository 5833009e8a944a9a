#include "startup/parameter_checks.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "platform/run_log.h"

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

// A real setting that must be finite and lie in [lowest, +inf) (above lowest when open).
struct RealRule {
  const char* key;
  double lowest;
  bool openAtLowest;
  const char* range;  // how the range reads in the alert, empty when any finite value is fine
};

void checkReal(const ParameterTable& table, const RealRule& rule, std::vector<std::string>& alerts) {
  const std::string& value = valueOrEmpty(table, rule.key);
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

// isolation_width "4" replaces the threshold by -0.68 and output_all_mars_y "1" by -10000: the
// value given is then not used at all.
bool thresholdIsUsed(const ParameterTable& table) {
  return valueOrEmpty(table, "output_all_mars_y") != "1" && valueOrEmpty(table, "isolation_width") != "4";
}

void checkCoElute(const ParameterTable& table, std::vector<std::string>& alerts) {
  const std::string& value = valueOrEmpty(table, "co-elute");
  const int used = readInteger(value);
  const std::string usedText = std::to_string(used) + (used == 0 ? " (a single precursor per scan)"
                                                                 : " (all co-eluting precursors)");
  if (!readsWholeAsInteger(value)) {
    alerts.push_back(alertText("co-elute", value, integerProblem(value), usedText));
  } else if (used != 0 && used != 1) {
    alerts.push_back(alertText("co-elute", value, "is out of range (0 or 1)", usedText));
  }
}

// The model names that select a model of their own; anything else scores with the fallback.
constexpr std::string_view kMarsModelNames[] = {"1", "2", "3", "4", "5", "15", "250", "1024"};

void checkMarsModel(const ParameterTable& table, std::vector<std::string>& alerts) {
  const std::string& value = valueOrEmpty(table, "mars_model");
  for (std::string_view name : kMarsModelNames) {
    if (value == name) return;
  }
  alerts.push_back(alertText("mars_model", value,
                             "is not a known model (1, 2, 3, 4, 5, 15, 250 or 1024)",
                             "the fallback model"));
}

// samplenumberinsvmlight: the text "-1" draws every scan, a count of 1 or more that many scans;
// anything else draws none.
void checkSampleNumber(const ParameterTable& table, std::vector<std::string>& alerts) {
  const std::string& value = valueOrEmpty(table, "samplenumberinsvmlight");
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

// svmlight_charge_range: two whole numbers joined by "-". Without a "-" the export fails with its
// own message, so only the numbers are looked at here.
void checkChargeRange(const ParameterTable& table, std::vector<std::string>& alerts) {
  const std::string& value = valueOrEmpty(table, "svmlight_charge_range");
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

}  // namespace

std::vector<std::string> parameterValueAlerts(const ParameterTable& table) {
  std::vector<std::string> alerts;
  checkReal(table, {"isolation_width", 0.0, true, "above 0"}, alerts);
  checkCoElute(table, alerts);
  checkMarsModel(table, alerts);
  if (thresholdIsUsed(table)) {
    checkReal(table, {"mars_threshold", -HUGE_VAL, false, ""}, alerts);
  }
  checkReal(table, {"recalibrate_window", 0.0, false, "0 or more"}, alerts);
  if (isOn(valueOrEmpty(table, "outputsvmlight"))) {
    checkSampleNumber(table, alerts);
    checkChargeRange(table, alerts);
  }
  return alerts;
}

std::string dataCountAlert(const std::string& value, int count) {
  if (!readsWholeAsInteger(value)) {
    return alertText("datanum", value, integerProblem(value),
                     count == 0 ? std::string("0 (datapath)") : std::to_string(count));
  }
  if (count < 0) {
    return alertText("datanum", value, "is out of range (0 or more)",
                     std::to_string(count) + " (no data path is processed)");
  }
  return {};
}

void checkParameterValues(const ParameterTable& table) {
  for (const std::string& alert : parameterValueAlerts(table)) logMessage(LogLabel::kAlert, alert);
}

}  // namespace corvid
