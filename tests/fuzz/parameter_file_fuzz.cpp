#include <filesystem>
#include <string>

#include "startup/parameter_file.h"
#include "platform/run_failure.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/test_support.h"

namespace corvid::fuzz {

int fuzzParameterFile(const std::uint8_t* data, std::size_t size) {
  static corvid::testing::TempDir dir;
  const std::string path = dir.file("fuzz.para");
  corvid::testing::writeFile(path, std::string_view(reinterpret_cast<const char*>(data), size));
  try {
    ParameterTable table = readParameterFile(path);
    // Whatever was read, the defaults are all there.
    if (table.count("mars_threshold") == 0) __builtin_trap();
  } catch (const RunFailure&) {
    // Rejected input is a valid outcome.
  }
  return 0;
}

}  // namespace corvid::fuzz
