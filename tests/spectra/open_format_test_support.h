#pragma once
// Helpers of the open-format extractor tests: a unique temporary folder removed afterwards,
// whole-file reading and the log lines written since a mark.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "startup/run_log.h"

namespace corvid::testing {

struct TempFolder {
  std::filesystem::path path;
  TempFolder() {
    static std::atomic<int> counter{0};
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string("corvid_mzml_") + (info != nullptr ? info->name() : "test") +
                       "_" + std::to_string(std::random_device{}()) + "_" +
                       std::to_string(counter++);
    path = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(path);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string folder() const { return path.string() + "/"; }
  std::string file(const std::string& name) const { return (path / name).string(); }
};

inline std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
}

inline std::string fixturePath(const std::string& name) {
  return std::string(CORVID_TEST_DATA_DIR) + "/mzml/" + name;
}

inline bool exists(const std::string& path) { return std::filesystem::exists(path); }

// The messages logged after `mark` (a count taken with runLogLines().size()), joined by newlines.
inline std::string logSince(std::size_t mark) {
  const auto& lines = runLogLines();
  std::string text;
  for (std::size_t i = mark; i < lines.size(); ++i) text += lines[i];
  return text;
}

}  // namespace corvid::testing
