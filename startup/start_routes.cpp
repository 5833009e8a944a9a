#include "startup/start_routes.h"

#include <cctype>
#include <string>
#include <vector>

#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/input_formats.h"
#include "startup/command_line.h"
#include "startup/mgf_pipeline.h"
#include "startup/parameter_file.h"
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
  const DataCount data = readDataCount(table);
  if (!data.alert.empty()) logMessage(LogLabel::kAlert, data.alert);
  if (data.count < 0) return;
  RunResources resources;
  if (data.count == 0) {
    setBinPath(arguments, table);
    runOnce(readRunSettings(table), resources);
    return;
  }
  for (int i = 1; i <= data.count; ++i) {
    table["datapath"] = table["datapath" + std::to_string(i)];
    setBinPath(arguments, table);
    const RunSettings done = runOnce(readRunSettings(table), resources);
    // The log folder of the first data path stays for the following ones (each output folder is
    // its own data folder unless one was given).
    table["logfilepath"] = done.paths.log;
  }
}

void runFromOptions(int count, const char* const* arguments, RunResources& resources) {
  createRunLog();
  ParameterTable table;
  setDefaults(table);
  applyOptions(count, arguments, table);
  setBinPath(arguments, table);
  runOnce(readRunSettings(table), resources);
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
  RunResources resources;
  for (const char* dataPath : dataPaths) {
    std::vector<const char*> single = {arguments[0], "-D", dataPath};
    single.insert(single.end(), longOptions.begin(), longOptions.end());
    runFromOptions(static_cast<int>(single.size()), single.data(), resources);
  }
}

void runMGFConversion(int count, const char* const* arguments) {
  for (int i = 1; i < count; ++i) {
    // Only the first argument chose this route; the others are converted whatever their names.
    if (!hasExtension(arguments[i], InputFormat::kMGF)) {
      logMessage(LogLabel::kAlert, std::string("The argument ") + arguments[i] +
                              " is read as MGF because the first argument names an MGF file, not "
                              "because of its own extension.");
    }
    logMessage(LogLabel::kNote, "Loading MGF...");
    convertMGFToKX2(arguments[i]);
  }
}

}  // namespace corvid
