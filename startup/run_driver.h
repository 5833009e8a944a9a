#pragma once
// One run of Corvid's settings: validate the paths, find the input files and
// hand each to the pipeline of its format.
#include "startup/run_resources.h"
#include "startup/run_settings.h"

namespace corvid {

// Checks the data path (a folder, or one RAW/MGF/WIFF/mzML/mzXML file) and resolves the log and
// output folders (the data folder when not given). An invalid data path logs "Path Invalid!
// datapath = ..." and throws "Task abort!".
void resolveRunPaths(RunPaths& paths);

// Finds the input files of the run and calls the pipeline of their format. An invalid output or
// log folder logs an "Error" line and returns: that data path is skipped, the process goes on.
void dispatchRun(const RunSettings& settings, RunResources& resources);

// Resolves the paths, logs the value alerts, reads precision mode's classifier before any file is
// touched, and dispatches. Returns the settings as resolved.
RunSettings runOnce(RunSettings settings, RunResources& resources);

}  // namespace corvid
