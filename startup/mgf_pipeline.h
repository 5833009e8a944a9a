#pragma once
// MGF input: each MGF file of the data folder is read and converted to KX2 beside it; no
// precursor detection runs.
#include <string>
#include <vector>

#include "startup/parameter_table.h"

namespace corvid {

// mgfNames are bare file names in discovery order; the folder is the value of `datapath`.
void runMGFPipeline(const ParameterTable& parameters, const std::vector<std::string>& mgfNames);

}  // namespace corvid
