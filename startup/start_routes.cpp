#include "startup/start_routes.h"

#include <cctype>
#include <string>
#include <vector>

#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "startup/command_line.h"
#include "startup/parameter_checks.h"
#include "startup/parameter_file.h"
#include "startup/pipelines.h"
#include "startup/run_driver.h"

namespace corvid {
namespace {

std::string lowerFromSecond(std::string_view text) {
  std::string lowered(text);
  for (std::size_t i = 1; i < lowered.size(); ++i) {
    lowered[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(lowered[i])));
  }
  return lowered;
}

void setResetPath(ParameterTable& table) {
  table["Resetpath"] = table["outputpath"] == kEmptyPath ? "1" : "0";
}

}  // namespace

bool endsWith(std::string_view text, std::string_view suffix, bool caseSensitive) {
  if (text.size() <= suffix.size()) return false;
  std::string_view tail = text.substr(text.size() - suffix.size());
  if (caseSensitive) return tail == suffix;
  return lowerFromSecond(tail) == lowerFromSecond(suffix);
}

void runFromParameterFile(int count, const char* const* arguments) {
  ParameterTable table = readParameterFile(arguments[1]);
  if (count > 2) {
    // Long options after the file override its settings: argument 1 is skipped like argument 0.
    std::vector<const char*> options(arguments + 1, arguments + count);
    applyOptions(static_cast<int>(options.size()), options.data(), table);
  }
  if (isOn(valueOrEmpty(table, "strict_exit"))) requestStrictExit();
  const int dataCount = readInteger(table["datanum"]);
  const std::string dataCountProblem = dataCountAlert(table["datanum"], dataCount);
  if (!dataCountProblem.empty()) logMessage(LogLabel::kAlert, dataCountProblem);
  setResetPath(table);
  if (dataCount < 0) return;
  if (dataCount == 0) {
    setBinPath(arguments, table);
    runOnce(table);
    return;
  }
  for (int i = 1; i <= dataCount; ++i) {
    table["datapath"] = table["datapath" + std::to_string(i)];
    setBinPath(arguments, table);
    runOnce(table);
  }
}

void runFromOptions(int count, const char* const* arguments) {
  createRunLog();
  ParameterTable table;
  setDefaults(table);
  applyOptions(count, arguments, table);
  setResetPath(table);
  setBinPath(arguments, table);
  runOnce(table);
}

void runEachAsDataPath(int count, const char* const* arguments) {
  // Long options among the data paths apply to every run.
  std::vector<const char*> dataPaths;
  std::vector<const char*> longOptions;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    if (!isLongOption(argument)) {
      dataPaths.push_back(arguments[i]);
      continue;
    }
    longOptions.push_back(arguments[i]);
    if (longOptionWidth(argument) == 2 && i + 1 < count) longOptions.push_back(arguments[++i]);
  }
  for (const char* dataPath : dataPaths) {
    std::vector<const char*> single = {arguments[0], "-D", dataPath};
    single.insert(single.end(), longOptions.begin(), longOptions.end());
    runFromOptions(static_cast<int>(single.size()), single.data());
  }
}

void runMGFConversion(int count, const char* const* arguments) {
  for (int i = 1; i < count; ++i) {
    // Only the first argument chose this route; the others are converted whatever their names.
    if (!endsWith(arguments[i], ".mgf", true) && !endsWith(arguments[i], ".MGF", true)) {
      logMessage(LogLabel::kAlert, std::string("The argument ") + arguments[i] +
                              " is read as MGF because the first argument names an MGF file, not "
                              "because of its own extension.");
    }
    logMessage(LogLabel::kNote, "Loading MGF...");
    convertMGFToKX2(arguments[i]);
  }
}

}  // namespace corvid
