#pragma once
// The start-up routes chosen from the shape of the command line.
#include <string_view>

#include "startup/run_resources.h"

namespace corvid {

// True when text is strictly longer than suffix and ends with it. Without case sensitivity, the
// tail and the suffix are compared lower-cased from their second character on.
bool endsWith(std::string_view text, std::string_view suffix, bool caseSensitive);

// Argument 1 names a ".cfg"/".para" file: one run per data path of the file (`datanum`). Long
// options after it override the file's settings.
void runFromParameterFile(int count, const char* const* arguments);
// Options on the command line: one run, on the resources of the route that calls it.
void runFromOptions(int count, const char* const* arguments, RunResources& resources);
// Every argument from 1 on is a data path run as "-D <argument>"; long options among them are
// given to every run.
void runEachAsDataPath(int count, const char* const* arguments);
// Every argument from 1 on is an MGF file converted to KX2.
void runMGFConversion(int count, const char* const* arguments);

}  // namespace corvid
