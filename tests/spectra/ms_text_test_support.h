#pragma once
// Helpers for the spectrum text tests: a private temporary folder, file writing and the log
// messages a call produced.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "startup/run_log.h"

namespace corvid::testing_support {

// A unique folder under the system temporary folder, removed with everything in it.
struct TempFolder {
  std::filesystem::path path;
  TempFolder() {
    static std::atomic<int> counter{0};
    path = std::filesystem::temp_directory_path() /
           ("corvid_ms_text_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  std::string file(const std::string& name) const { return (path / name).string(); }
};

inline void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(out.good()) << path;
}

inline std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Marks the log so that the messages logged afterwards can be listed.
struct LogWatch {
  std::size_t start = runLogLines().size();
  // The messages logged since construction (the line-end pieces left out).
  std::vector<std::string> messages() const {
    std::vector<std::string> result;
    const std::vector<std::string>& lines = runLogLines();
    for (std::size_t i = start; i < lines.size(); ++i) {
      if (lines[i] != "\n") result.push_back(lines[i]);
    }
    return result;
  }
};

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

}  // namespace corvid::testing_support
