// libFuzzer entry of the gzip_input target (tools/fuzz.sh builds it; the test build does not).
#include "tests/fuzz/fuzz_targets.h"
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { return corvid::fuzz::fuzzGzipInput(data, size); }
