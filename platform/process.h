#pragma once
// Running an external tool as a child process and waiting for it.
#include <string>
#include <vector>

namespace corvid {

// The program path and its arguments, also shown as one command line in messages.
struct ChildCommand {
  std::string program;
  std::vector<std::string> arguments;
};

// Command line as a user would type it: every element that holds a blank is double-quoted.
std::string describeCommand(const ChildCommand& command);

// Runs the program (no shell: arguments reach it as given, blanks included) and waits for it.
// Returns its exit status, 128 + signal number when a signal ended it, or -1 when it could not
// be started.
int runChildProcess(const ChildCommand& command);

}  // namespace corvid
