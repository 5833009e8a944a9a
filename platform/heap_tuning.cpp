#include "platform/heap_tuning.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace corvid {
namespace {

constexpr const char* kTunable = "glibc.malloc.hugetlb=1";
// Marks the re-executed process, so that it never executes itself again.
constexpr const char* kMarker = "CORVID_HEAP_TUNED";

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitizerAllocator = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitizerAllocator = true;
#else
constexpr bool kSanitizerAllocator = false;
#endif
#else
constexpr bool kSanitizerAllocator = false;
#endif

}  // namespace

void useHugePageHeap(char** argv) {
#if defined(__GLIBC__) && defined(__linux__)
  if (kSanitizerAllocator || argv == nullptr || std::getenv(kMarker) != nullptr) return;
  const char* current = std::getenv("GLIBC_TUNABLES");
  std::string tunables = current == nullptr ? std::string() : std::string(current);
  if (tunables.find("glibc.malloc.hugetlb") != std::string::npos) return;
  tunables = tunables.empty() ? kTunable : tunables + ":" + kTunable;
  if (setenv("GLIBC_TUNABLES", tunables.c_str(), 1) != 0 || setenv(kMarker, "1", 1) != 0) return;
  execv("/proc/self/exe", argv);
  // Not reached unless the re-execution failed: go on with the ordinary heap.
  unsetenv(kMarker);
#else
  (void)argv;
#endif
}

}  // namespace corvid
