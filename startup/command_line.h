#pragma once
// Single-letter command-line options into a parameter table that already holds the defaults.
#include <string_view>

#include "startup/parameter_table.h"

namespace corvid {

inline constexpr const char* kIncorrectParameters =
    "Incorrect parameters! Please check the options or the *.cfg files.";

// True for a GNU-style long option: "--" followed by a name (and "=value").
bool isLongOption(std::string_view argument);
// Arguments a long option takes up: 1 for "--KEY=VALUE", 2 for "--KEY VALUE".
inline int longOptionWidth(std::string_view argument) {
  return argument.find('=') == std::string_view::npos ? 2 : 1;
}

// Sets `binpath` from argument 0, each "-X value" pair and each long option "--KEY=VALUE" or
// "--KEY VALUE" (KEY any settable parameter key; an unknown KEY fails as a malformed option); a malformed command line prints its
// message on the console and throws RunFailure(kIncorrectParameters).
void applyOptions(int count, const char* const* arguments, ParameterTable& table);

// Sets `binpath` to argument 0 up to and including its last "/" or "\"; when argument 0 names no
// folder (a run found through PATH), to the folder of the running executable.
void setBinPath(const char* const* arguments, ParameterTable& table);

}  // namespace corvid
