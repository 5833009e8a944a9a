#pragma once
// What the spectrum tests need beyond tests/support/test_support.h (temporary folders, whole-file
// bytes, console capture): the log messages a call produced, pseudo-random bytes, little-endian
// byte building for expected binary files, small MS2 spectra and the open-format fixtures.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/run_log.h"
#include "spectra/group_export.h"
#include "spectra/spectrum_records.h"
#include "tests/support/test_support.h"

namespace corvid::testing {

inline std::size_t logMark() { return runLogLines().size(); }

// The log messages collected since `start` pieces (line-end pieces left out).
inline std::vector<std::string> logMessagesSince(std::size_t start) {
  std::vector<std::string> messages;
  const std::vector<std::string>& lines = runLogLines();
  for (std::size_t i = start; i < lines.size(); ++i) {
    if (lines[i] != "\n") messages.push_back(lines[i]);
  }
  return messages;
}

// Marks the log so that the messages logged afterwards can be listed.
struct LogWatch {
  std::size_t start = logMark();
  // The messages logged since construction (the line-end pieces left out).
  std::vector<std::string> messages() const { return logMessagesSince(start); }
};

// The messages logged after `mark` (a count taken with runLogLines().size()), joined by newlines.
inline std::string logSince(std::size_t mark) {
  const auto& lines = runLogLines();
  std::string text;
  for (std::size_t i = mark; i < lines.size(); ++i) text += lines[i];
  return text;
}

// Deterministic pseudo-random bytes (a 64-bit linear congruential generator).
inline std::string pseudoRandomBytes(std::size_t count, std::uint64_t seed, bool allowZero) {
  std::string bytes(count, '\0');
  std::uint64_t state = seed;
  for (char& b : bytes) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    auto value = static_cast<unsigned char>(state >> 56);
    if (!allowZero && value == 0) value = 1;
    b = static_cast<char>(value);
  }
  return bytes;
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

inline MS2Spectrum makeSpectrum(std::uint32_t scan, std::int32_t charge, double precursorMH,
                                std::vector<Peak> peaks) {
  MS2Spectrum spectrum;
  spectrum.scanNumber = scan;
  spectrum.charge = charge;
  spectrum.precursorMH = precursorMH;
  spectrum.peaks = std::move(peaks);
  return spectrum;
}

// Spectrum positions 0..n-1 of the file as one group of the given run, with its accepted precursors.
inline GroupExport wholeFileGroup(const MS2File& file, std::vector<PrecursorRecord> accepted,
                                  std::string rawName = "run1") {
  GroupExport group;
  group.rawName = std::move(rawName);
  for (std::size_t i = 0; i < file.spectra.size(); ++i) group.spectrumPositions.push_back(i);
  group.accepted = std::move(accepted);
  return group;
}

inline std::string fixturePath(const std::string& name) {
  return std::string(CORVID_TEST_DATA_DIR) + "/mzml/" + name;
}

inline bool exists(const std::string& path) { return std::filesystem::exists(path); }

}  // namespace corvid::testing
