#pragma once
// The whole detection job for one extracted MS1/MS2 pair: load, walk every MS2 scan per
// activation group, gather MS1 signal, detect, score, filter, write spectra and the CSV report.
#include <string>
#include <vector>

#include "startup/parameter_table.h"

namespace corvid {

// Outputs go to `outputpath` named after the MS2 file; `outputList` collects the spectrum files
// written. Failures (missing files, unreadable data) are thrown as RunFailure.
void processSpectrumPair(ParameterTable parameters, const std::string& ms1Path, const std::string& ms2Path,
                         std::vector<std::string>& outputList);

}  // namespace corvid
