#include "platform/crash_record.h"

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <typeinfo>

namespace corvid {
namespace {

// Distinct from 255, the status of a failure the entry routine caught and reported.
constexpr int kCrashExitStatus = 3;
constexpr const char* kNotice = " Unhandled Exception! \n You can check Corvid.dmp\n";

// Only async-signal-safe calls from here on: write(2), open(2), backtrace_symbols_fd.
void writeText(int fd, const char* text) {
  if (fd < 0 || text == nullptr) return;
  ssize_t ignored = ::write(fd, text, std::strlen(text));
  (void)ignored;
}

[[noreturn]] void writeRecordAndExit(const char* what, const char* detail) {
  int fd = ::open(kCrashRecordName, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  writeText(fd, "Corvid post-mortem record\nFailure: ");
  writeText(fd, what);
  if (detail != nullptr) {
    writeText(fd, ": ");
    writeText(fd, detail);
  }
  writeText(fd, "\nBacktrace:\n");
  void* frames[64];
  int depth = ::backtrace(frames, 64);
  if (fd >= 0) ::backtrace_symbols_fd(frames, depth, fd);
  if (fd >= 0) ::close(fd);
  writeText(STDERR_FILENO, kNotice);
  ::_exit(kCrashExitStatus);
}

void onFatalSignal(int signal) {
  const char* name = "signal";
  switch (signal) {
    case SIGSEGV: name = "signal SIGSEGV (invalid memory access)"; break;
    case SIGBUS: name = "signal SIGBUS (bus error)"; break;
    case SIGFPE: name = "signal SIGFPE (arithmetic error)"; break;
    case SIGILL: name = "signal SIGILL (illegal instruction)"; break;
    case SIGABRT: name = "signal SIGABRT (abort)"; break;
    default: break;
  }
  writeRecordAndExit(name, nullptr);
}

void onTerminate() {
  const char* detail = "no active exception";
  if (std::exception_ptr current = std::current_exception()) {
    try {
      std::rethrow_exception(current);
    } catch (const std::exception& error) {
      detail = error.what();
    } catch (...) {
      detail = "exception of a type that is not a standard exception";
    }
  }
  std::signal(SIGABRT, SIG_DFL);
  writeRecordAndExit("uncaught exception (std::terminate)", detail);
}

}  // namespace

void installCrashRecord() {
  // The first backtrace() loads the unwinder, which allocates: do it now, not in a signal handler.
  void* frame = nullptr;
  ::backtrace(&frame, 1);
  struct sigaction action {};
  action.sa_handler = onFatalSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESETHAND;
  for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) sigaction(signal, &action, nullptr);
  std::set_terminate(onTerminate);
}

}  // namespace corvid
