#pragma once
// MGF input: each MGF file is read and converted to KX2 beside it; no precursor detection runs.
#include <string>
#include <vector>

namespace corvid {

// mgfNames are bare file names of `folder` (ending with a separator) in discovery order.
void runMGFPipeline(const std::string& folder, const std::vector<std::string>& mgfNames);

// The MGF-to-KX2 conversion route of the command line, for one MGF path.
void convertMGFToKX2(const std::string& mgfPath);

}  // namespace corvid
