#include "startup/command_line.h"

#include <cstdio>
#include <string>

#include "platform/paths.h"
#include "platform/support_files.h"
#include "platform/run_failure.h"

namespace corvid {
namespace {

constexpr const char* kEmptyOptionMessage = "Error occurs in the options, empty option \"-\" occurred.";

[[noreturn]] void rejectCommandLine(const std::string& consoleLine) {
  std::printf("%s\n", consoleLine.c_str());
  std::fflush(stdout);
  throw RunFailure(kIncorrectParameters);
}

// "--KEY=VALUE", or "--KEY VALUE" with the value in the next argument. Returns the index of the
// argument after the option.
int applyLongOption(int index, int count, const char* const* arguments, ParameterTable& table) {
  const std::string_view argument = arguments[index];
  const std::size_t equals = argument.find('=');
  const std::string key(argument.substr(2, equals == std::string_view::npos ? std::string_view::npos : equals - 2));
  // An unknown long option fails as every other argument that is no single-letter option does.
  if (!isSettableKey(key)) rejectCommandLine(kEmptyOptionMessage);
  if (longOptionWidth(argument) == 1) {
    table[key] = std::string(argument.substr(equals + 1));
    return index + 1;
  }
  if (index + 1 >= count) {
    rejectCommandLine("Option \"" + std::string(argument) + "\" needs a value, but it is the last argument.");
  }
  table[key] = arguments[index + 1];
  return index + 2;
}

}  // namespace

bool isLongOption(std::string_view argument) { return argument.size() > 2 && argument.starts_with("--"); }

void setBinPath(const char* const* arguments, ParameterTable& table) {
  const std::string program = arguments[0] == nullptr ? std::string() : arguments[0];
  std::string folder = folderOf(program);
  // A program found through PATH gets a bare name as argument 0: its folder is where it runs from.
  if (folder.empty()) folder = runningExecutableFolder();
  if (!folder.empty()) table["binpath"] = folder;
}

void applyOptions(int count, const char* const* arguments, ParameterTable& table) {
  if (count > 0) setBinPath(arguments, table);
  // Settings go into a copy first, so that nothing of a rejected command line is ever applied.
  ParameterTable updated = table;
  int index = 0;
  while (index < count) {
    const std::string argument = arguments[index];
    if (index > 0 && isLongOption(argument)) {
      index = applyLongOption(index, count, arguments, updated);
    } else if (argument.size() == 2 && argument[0] == '-') {
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
      rejectCommandLine(kEmptyOptionMessage);
    }
  }
  table = std::move(updated);
}

}  // namespace corvid
