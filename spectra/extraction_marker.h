#pragma once
// The completion marker of an mzML/mzXML extraction records which input it was made from, so a
// replaced or changed input is extracted again instead of its old extraction being reused.
#include <cstdint>
#include <string>

namespace corvid {

struct InputIdentity {
  std::uint64_t size = 0;
  std::int64_t modified = 0;   // modification time, in the file system clock's ticks
  std::uint64_t checksum = 0;  // FNV-1a over the first and the last megabyte
};

// False when the file cannot be read.
bool readInputIdentity(const std::string& path, InputIdentity& identity);

// The marker's text: the input's name and its identity, one "key value" per line, CR LF.
std::string extractionMarkerText(const std::string& inputName, const InputIdentity& identity);

// What an existing marker says about the input as it is now.
enum class MarkerState { kMissing, kMatches, kDiffers };
MarkerState checkExtractionMarker(const std::string& markerPath, const InputIdentity& identity);

}  // namespace corvid
