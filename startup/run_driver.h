#pragma once
// One run of a parameter table: validate the paths, find the input files, call the pipelines.
#include "startup/parameter_table.h"

namespace corvid {

// Checks `datapath` (a folder, or one RAW/MGF/WIFF/mzML/mzXML file) and fills `logfilepath` and
// `outputpath`. An invalid data path logs "Path Invalid! datapath = ..." and throws "Task abort!".
void validatePaths(ParameterTable& table);

// Finds the input files of the run and calls the pipeline of their format. An invalid output or
// log folder logs an "Error" line and returns: that data path is skipped, the process goes on.
void dispatchRun(ParameterTable& table);

// setBinPath (by the caller), validatePaths, dispatchRun; then, when `Resetpath` is "1",
// `outputpath` goes back to "EmptyPath" so that the next data path gets its own output folder.
void runOnce(ParameterTable& table);

}  // namespace corvid
