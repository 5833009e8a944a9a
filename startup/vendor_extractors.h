#pragma once
// The external extraction tools that turn vendor files into .ms1/.ms2 text.
#include <string>

#include "platform/process.h"
#include "startup/run_settings.h"

namespace corvid {

// "<binpath>quarry_raw -m <m/z> -i <Intensity> -a -ms <folder><rawName>"
ChildCommand rawExtractorCommand(const RunSettings& settings, const std::string& folder, const std::string& rawName);
// "<binpath>quarry_wiff -ms <folder><wiffName>"
ChildCommand wiffExtractorCommand(const RunSettings& settings, const std::string& folder, const std::string& wiffName);

// Runs a tool and waits; a tool that cannot be started or that fails is reported in the log.
void runExtractorTool(const ChildCommand& command);

}  // namespace corvid
