#include "startup/command_line.h"

#include <cstdio>
#include <string>

#include "platform/paths.h"
#include "startup/run_failure.h"

namespace corvid {
namespace {

[[noreturn]] void rejectCommandLine(const std::string& consoleLine) {
  std::printf("%s\n", consoleLine.c_str());
  std::fflush(stdout);
  throw RunFailure(kIncorrectParameters);
}

}  // namespace

void setBinPath(const char* const* arguments, ParameterTable& table) {
  const std::string program = arguments[0] == nullptr ? std::string() : arguments[0];
  const std::string folder = folderOf(program);
  if (!folder.empty()) table["binpath"] = folder;
}

void applyOptions(int count, const char* const* arguments, ParameterTable& table) {
  if (count > 0) setBinPath(arguments, table);
  // Settings go into a copy first, so that nothing of a rejected command line is ever applied.
  ParameterTable updated = table;
  int index = 0;
  while (index < count) {
    const std::string argument = arguments[index];
    if (argument.size() == 2 && argument[0] == '-') {
      const char* key = keyForOption(argument[1]);
      if (key == nullptr) {
        rejectCommandLine("Invalid left value! Can not parse parameter \"" + argument + "\".  ");
      }
      if (index + 1 >= count) {
        rejectCommandLine("Option \"" + argument + "\" needs a value, but it is the last argument.");
      }
      updated[key] = arguments[index + 1];
      index += 2;
    } else if (index == 0) {
      ++index;
    } else if (argument.size() == 2) {
      rejectCommandLine("Invalid left value! Can not parse parameter \"" + argument + "\".");
    } else {
      rejectCommandLine("Error occurs in the options, empty option \"-\" occurred.");
    }
  }
  table = std::move(updated);
}

}  // namespace corvid
