#pragma once
// The external extraction tools that turn vendor files into .ms1/.ms2 text.
#include <string>

#include "platform/process.h"
#include "startup/parameter_table.h"

namespace corvid {

// "<binpath>quarry_raw -m <m/z> -i <Intensity> -a -ms <datapath><rawName>"
ChildCommand rawExtractorCommand(ParameterTable& parameters, const std::string& rawName);
// "<binpath>quarry_wiff -ms <datapath><wiffName>"
ChildCommand wiffExtractorCommand(ParameterTable& parameters, const std::string& wiffName);

// Runs a tool and waits; a tool that cannot be started or that fails is reported in the log.
void runExtractorTool(const ChildCommand& command);

}  // namespace corvid
