// Compressed input: any bytes read through the byte source end in content or an error, never a
// crash or a hang; the bytes compressed in one member or in several, and read back, are the bytes.
#include <string>
#include <string_view>

#include "spectra/byte_source.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/gzip_support.h"
#include "tests/support/test_support.h"

namespace corvid::fuzz {

namespace {

// Everything the source gives in pieces of the given size; false when reading fails.
bool readThrough(const std::string& path, std::size_t piece, std::string& content) {
  ByteSource source;
  std::string error;
  if (!source.open(path, error)) return false;
  std::string buffer(piece, '\0');
  content.clear();
  for (std::size_t got = piece; got == piece;) {
    if (!source.read(buffer.data(), piece, got)) {
      if (source.error().empty()) __builtin_trap();  // a failure always says why
      return false;
    }
    content.append(buffer, 0, got);
  }
  return true;
}

}  // namespace

int fuzzGzipInput(const std::uint8_t* data, std::size_t size) {
  static corvid::testing::TempDir dir;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // The first byte picks a piece size, so that reads end anywhere in the inflated blocks.
  const std::size_t piece = size > 0 ? 1 + data[0] % 97 : 1;
  const std::string path = dir.file("fuzz.gz");
  std::string content;
  corvid::testing::writeFile(path, bytes);
  readThrough(path, piece, content);
  for (std::size_t members : {std::size_t{1}, std::size_t{3}}) {
    corvid::testing::writeFile(path, corvid::testing::gzipMembers(bytes, members));
    if (!readThrough(path, piece, content) || content != bytes) __builtin_trap();
  }
  return 0;
}

}  // namespace corvid::fuzz
