#pragma once
// The entry routine: crash record, run log, banner, command line into the log, timer, start-up
// route, elapsed time, log closed once. Returns the process status (0, or 255 after a failure).
namespace corvid {

int runEntry(int argc, char** argv);

}  // namespace corvid
