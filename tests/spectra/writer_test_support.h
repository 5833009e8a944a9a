#pragma once
// Helpers shared by the spectrum writer and reader tests: a private temporary folder, whole-file
// bytes, little-endian byte building for expected binary files, and run-log inspection.
#include <unistd.h>

#include <atomic>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "spectra/spectrum_records.h"
#include "startup/run_log.h"

namespace corvid::testing_support {

// A unique folder under the system temporary folder, removed with everything in it.
struct TempFolder {
  std::filesystem::path path;
  TempFolder() {
    static std::atomic<int> counter{0};
    path = std::filesystem::temp_directory_path() /
           ("corvid_writers_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string file(std::string_view name) const { return (path / std::string(name)).string(); }
};

inline std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Builds the bytes a KX file should hold, field by field, little-endian.
struct ByteBuilder {
  std::string bytes;
  ByteBuilder& u32(std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>((value >> (8 * i)) & 0xFFu);
    return *this;
  }
  ByteBuilder& f64(double value) {
    std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
    for (int i = 0; i < 8; ++i) bytes += static_cast<char>((bits >> (8 * i)) & 0xFFu);
    return *this;
  }
  ByteBuilder& raw(std::string_view text) {
    bytes.append(text);
    return *this;
  }
  ByteBuilder& title(std::string_view text) {
    u32(static_cast<std::uint32_t>(text.size() + 1));
    bytes.append(text);
    bytes += '\0';
    return *this;
  }
};

// The log messages collected since `start` pieces (line-end pieces left out).
inline std::vector<std::string> logMessagesSince(std::size_t start) {
  std::vector<std::string> messages;
  const std::vector<std::string>& lines = runLogLines();
  for (std::size_t i = start; i < lines.size(); ++i) {
    if (lines[i] != "\n") messages.push_back(lines[i]);
  }
  return messages;
}

inline std::size_t logMark() { return runLogLines().size(); }

inline MS2Spectrum makeSpectrum(std::uint32_t scan, std::int32_t charge, double precursorMH,
                                std::vector<Peak> peaks) {
  MS2Spectrum spectrum;
  spectrum.scanNumber = scan;
  spectrum.charge = charge;
  spectrum.precursorMH = precursorMH;
  spectrum.peaks = std::move(peaks);
  return spectrum;
}

}  // namespace corvid::testing_support
