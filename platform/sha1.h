#pragma once
// SHA-1, incremental: the checksum an indexed mzML file carries of its own bytes. OpenSSL's
// implementation uses the processor's SHA instructions where it has them (about ten times the
// speed of portable code), which matters for files of many gigabytes.
#include <memory>
#include <string>
#include <string_view>

namespace corvid {

struct Sha1Context;
struct Sha1ContextDeleter {
  void operator()(Sha1Context* context) const;
};

struct Sha1 {
  std::unique_ptr<Sha1Context, Sha1ContextDeleter> context;  // made at the first update
};

void sha1Update(Sha1& hash, std::string_view bytes);
// The digest as 40 lower-case hexadecimal digits; the hash is spent afterwards.
std::string sha1Hex(Sha1& hash);

// The SHA-1 of a whole file, read in 1 MiB blocks; false when it cannot be opened or read.
bool fileSha1(const std::string& path, std::string& digest);

}  // namespace corvid
