#pragma once
// SHA-1, incremental: the checksum an indexed mzML file carries of its own bytes.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvid {

struct Sha1 {
  std::array<std::uint32_t, 5> state{0x67452301u, 0xEFCDAB89u, 0x98BADCFEu, 0x10325476u, 0xC3D2E1F0u};
  std::array<unsigned char, 64> block{};
  std::size_t blockFill = 0;
  std::uint64_t totalBytes = 0;
};

void sha1Update(Sha1& hash, std::string_view bytes);
// The digest as 40 lower-case hexadecimal digits; the hash is spent afterwards.
std::string sha1Hex(Sha1& hash);

}  // namespace corvid
