// Installs the crash record and then fails in the way its argument names, so that the test can
// check what an uncaught failure leaves behind.
#include <csignal>
#include <cstring>
#include <stdexcept>

#include "platform/crash_record.h"

int main(int argc, char** argv) {
  corvid::installCrashRecord();
  if (argc > 1 && std::strcmp(argv[1], "throw") == 0) throw std::runtime_error("probe failure");
  if (argc > 1 && std::strcmp(argv[1], "segv") == 0) std::raise(SIGSEGV);
  return 0;
}
