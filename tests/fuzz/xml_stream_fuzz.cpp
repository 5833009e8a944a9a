// Differential target: the streamer reading spectrum content itself must give the handlers what
// expat alone gives them, with the same result and message, for any bytes and any block size.
#include <string>
#include <string_view>

#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/test_support.h"
#include "tests/support/xml_event_log.h"

namespace corvid::fuzz {

int fuzzXmlStream(const std::uint8_t* data, std::size_t size) {
  static corvid::testing::TempDir dir;
  const std::string path = dir.file("fuzz.xml");
  corvid::testing::writeFile(path, std::string_view(reinterpret_cast<const char*>(data), size));
  // The first byte picks a block size, so that tags and content cross block ends anywhere.
  const std::size_t block = size > 0 ? 1 + data[0] % 64 : 1;
  for (const char* element : {"spectrum", "binary"}) {
    for (std::size_t blockSize : {block, std::size_t{1} << 20}) {
      const XmlStreamLimits limits{blockSize, 4096};
      const corvid::testing::XmlStreamOutcome alone =
          corvid::testing::streamAndLog(path, nullptr, limits);
      const corvid::testing::XmlStreamOutcome direct =
          corvid::testing::streamAndLog(path, element, limits);
      if (!(alone == direct)) __builtin_trap();
    }
  }
  return 0;
}

}  // namespace corvid::fuzz
