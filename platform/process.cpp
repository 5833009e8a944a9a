#include "platform/process.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>

extern char** environ;

namespace corvid {

std::string describeCommand(const ChildCommand& command) {
  auto quoted = [](const std::string& text) {
    if (text.find(' ') == std::string::npos) return text;
    std::string wrapped;
    wrapped.reserve(text.size() + 2);
    wrapped += '"';
    wrapped += text;
    wrapped += '"';
    return wrapped;
  };
  std::string line = quoted(command.program);
  for (const std::string& argument : command.arguments) {
    line += ' ';
    line += quoted(argument);
  }
  return line;
}

int runChildProcess(const ChildCommand& command) {
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(command.program.c_str()));
  for (const std::string& argument : command.arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  // Our own buffered console text must appear before the child's.
  std::fflush(stdout);
  std::fflush(stderr);
  pid_t child = 0;
  if (posix_spawn(&child, command.program.c_str(), nullptr, nullptr, argv.data(), environ) != 0) {
    return -1;
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return -1;
}

}  // namespace corvid
