#pragma once
// Single-letter command-line options into a parameter table that already holds the defaults.
#include "startup/parameter_table.h"

namespace corvid {

inline constexpr const char* kIncorrectParameters =
    "Incorrect parameters! Please check the options or the *.cfg files.";

// Sets `binpath` from argument 0 and each "-X value" pair; a malformed command line prints its
// message on the console and throws RunFailure(kIncorrectParameters).
void applyOptions(int count, const char* const* arguments, ParameterTable& table);

// Sets `binpath` to argument 0 up to and including its last "/" or "\" (unchanged without one).
void setBinPath(const char* const* arguments, ParameterTable& table);

}  // namespace corvid
