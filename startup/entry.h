#pragma once
// The entry routine: crash record, run log, banner, command line into the log, timer, start-up
// route, elapsed time, log closed once. Returns the process status (0, or 255 after a failure).
#include <functional>

namespace corvid {

int runEntry(int argc, char** argv);

// Runs a start-up route and logs the elapsed time; a failure is logged by its kind instead (text,
// out-of-range, other exception) and gives status 255. The caller closes the log.
int runRouteGuarded(const std::function<void()>& route);

}  // namespace corvid
