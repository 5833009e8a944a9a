#include "spectra/extraction_marker.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "platform/text_file.h"

namespace corvid {

namespace {

// Reading a megabyte at each end catches a replaced or rewritten file in milliseconds, whatever
// its size; size and modification time catch most of the rest.
constexpr std::uint64_t kChecksumSpan = std::uint64_t{1} << 20;
constexpr std::uint64_t kFnvOffset = 14695981039346656037ull;
constexpr std::uint64_t kFnvPrime = 1099511628211ull;

void addBytes(std::uint64_t& hash, const unsigned char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    hash ^= bytes[i];
    hash *= kFnvPrime;
  }
}

bool hashSpan(std::FILE* file, std::uint64_t offset, std::uint64_t length, std::uint64_t& hash) {
  std::vector<unsigned char> block(static_cast<std::size_t>(length));
#ifdef _WIN32
  if (_fseeki64(file, static_cast<long long>(offset), SEEK_SET) != 0) return false;
#else
  if (fseeko(file, static_cast<off_t>(offset), SEEK_SET) != 0) return false;
#endif
  if (std::fread(block.data(), 1, block.size(), file) != block.size()) return false;
  addBytes(hash, block.data(), block.size());
  return true;
}

}  // namespace

bool readInputIdentity(const std::string& path, InputIdentity& identity) {
  std::error_code code;
  identity.size = std::filesystem::file_size(path, code);
  if (code) return false;
  const auto modified = std::filesystem::last_write_time(path, code);
  if (code) return false;
  identity.modified = static_cast<std::int64_t>(modified.time_since_epoch().count());
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) return false;
  identity.checksum = kFnvOffset;
  const std::uint64_t head = std::min(identity.size, kChecksumSpan);
  if (!hashSpan(file.get(), 0, head, identity.checksum)) return false;
  if (identity.size > head) {
    const std::uint64_t tail = std::min(identity.size - head, kChecksumSpan);
    if (!hashSpan(file.get(), identity.size - tail, tail, identity.checksum)) return false;
  }
  return true;
}

std::string extractionMarkerText(const std::string& inputName, const InputIdentity& identity) {
  char text[256];
  std::snprintf(text, sizeof text, "size %" PRIu64 "\nmodified %" PRId64 "\nchecksum %016" PRIx64 "\n",
                identity.size, identity.modified, identity.checksum);
  std::string marker;
  appendCrLf(marker, "Extraction complete\ninput " + inputName + "\n" + text);
  return marker;
}

MarkerState checkExtractionMarker(const std::string& markerPath, const InputIdentity& identity) {
  const auto text = readWholeFile(markerPath);
  if (!text) return MarkerState::kMissing;
  const std::string expected = extractionMarkerText("", identity);
  // Everything from the size line on must match; the input's name is informative only.
  const std::size_t recorded = text->find("size ");
  const std::size_t wanted = expected.find("size ");
  if (recorded == std::string::npos) return MarkerState::kDiffers;
  return text->compare(recorded, std::string::npos, expected, wanted) == 0 ? MarkerState::kMatches
                                                                           : MarkerState::kDiffers;
}

}  // namespace corvid
