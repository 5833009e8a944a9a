#pragma once
// Helpers shared by the tests: temporary folders, captured console text, running the real
// binary, and golden files (CORVID_UPDATE_GOLDEN=1 rewrites them and fails: review, then rerun).
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace corvid::testing {

namespace fs = std::filesystem;

// A fresh folder under the system's temporary folder, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    static std::atomic<int> counter{0};
    path_ = fs::temp_directory_path() /
            ("corvid_test_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const fs::path& path() const { return path_; }
  // The folder with a trailing separator, as Corvid's folders are written.
  std::string folder() const { return path_.string() + "/"; }
  std::string file(std::string_view name) const { return (path_ / name).string(); }
  // Writes a file in the folder and returns its path.
  std::string write(std::string_view name, std::string_view content) const;

 private:
  fs::path path_;
};

inline std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

inline void writeFile(const fs::path& path, std::string_view content) {
  std::ofstream out(path, std::ios::binary);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  ASSERT_TRUE(out.good()) << path;
}

inline std::string TempDir::write(std::string_view name, std::string_view content) const {
  writeFile(path_ / name, content);
  return file(name);
}

// Replaces every occurrence of `from` by `to`.
inline std::string replaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

struct RunResult {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string shellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

// Runs a program in `workdir` with the given arguments; standard input from `input`.
inline RunResult runProgram(const std::string& program, const fs::path& workdir,
                            const std::vector<std::string>& arguments, const std::string& input = "") {
  const fs::path outPath = workdir / ".stdout";
  const fs::path errPath = workdir / ".stderr";
  const fs::path inPath = workdir / ".stdin";
  writeFile(inPath, input);
  std::string command = "cd " + shellQuote(workdir.string()) + " && " + shellQuote(program);
  for (const std::string& argument : arguments) command += " " + shellQuote(argument);
  command += " < " + shellQuote(inPath.string()) + " > " + shellQuote(outPath.string()) + " 2> " +
             shellQuote(errPath.string());
  int raw = std::system(command.c_str());
  RunResult result;
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = readFile(outPath);
  result.err = readFile(errPath);
  fs::remove(outPath);
  fs::remove(errPath);
  fs::remove(inPath);
  return result;
}

inline RunResult runCorvid(const fs::path& workdir, const std::vector<std::string>& arguments,
                           const std::string& input = "") {
  return runProgram(CORVID_EXE, workdir, arguments, input);
}

// BSA1.mzML of Debian's openms-doc, as tools/fetch_bsa1.sh caches it (CORVID_BSA1 overrides).
inline fs::path bsa1MzmlPath() {
  if (const char* path = std::getenv("CORVID_BSA1")) return path;
  const char* home = std::getenv("HOME");
  return fs::path(home == nullptr ? "/root" : home) / ".cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML";
}

// A private copy of the program with IPV.txt beside it (bin/) and an empty data/ folder, so that
// tools can be placed in, or left out of, the program's folder.
struct ProgramCopy {
  TempDir root;
  fs::path bin = root.path() / "bin";
  fs::path data = root.path() / "data";
  ProgramCopy() {
    fs::create_directories(bin);
    fs::create_directories(data);
    fs::copy_file(CORVID_EXE, bin / "corvid");
    fs::copy_file(fs::path(CORVID_EXE).parent_path() / "IPV.txt", bin / "IPV.txt");
  }
  RunResult run(const std::vector<std::string>& arguments) const {
    return runProgram((bin / "corvid").string(), root.path(), arguments);
  }
};

// The names in a folder, sorted.
inline std::vector<std::string> namesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// The console text with the elapsed seconds of the closing line blanked: they are the clock's.
inline std::string withoutElapsedSeconds(std::string text) {
  const std::size_t elapsed = text.find("Time elapsed: ");
  if (elapsed != std::string::npos) text.erase(elapsed + 14, text.find(' ', elapsed + 14) - elapsed - 14);
  return text;
}

// Runs an action with `folder` as the current folder, for code that writes to relative paths;
// the previous current folder is back afterwards, also when the action throws.
template <typename Action>
auto runInFolder(const fs::path& folder, Action action) {
  struct Restore {
    fs::path previous = fs::current_path();
    ~Restore() { fs::current_path(previous); }
  } restore;
  fs::current_path(folder);
  return action();
}

// Compares text with a golden file. CORVID_UPDATE_GOLDEN=1 rewrites the file instead and fails all
// the same, so that a switch left set can never make a run pass: the new file is to be reviewed as
// a diff and the suite rerun without the switch.
inline void expectGoldenFile(const std::string& actual, const fs::path& golden) {
  const char* update = std::getenv("CORVID_UPDATE_GOLDEN");
  if (update != nullptr && std::string(update) == "1") {
    const bool changed = !fs::exists(golden) || readFile(golden) != actual;
    fs::create_directories(golden.parent_path());
    writeFile(golden, actual);
    ADD_FAILURE() << "golden file " << golden.string() << " was updated (CORVID_UPDATE_GOLDEN=1"
                  << (changed ? ", content changed" : ", content unchanged")
                  << "): review it, then rerun the suite without CORVID_UPDATE_GOLDEN";
    return;
  }
  if (!fs::exists(golden)) {
    ADD_FAILURE() << "missing golden file " << golden.string();
    return;
  }
  EXPECT_EQ(readFile(golden), actual) << "differs from golden file " << golden.string();
}

// Compares text with tests/golden/<name> (see expectGoldenFile).
inline void expectGolden(const std::string& actual, const std::string& name) {
  expectGoldenFile(actual, fs::path(CORVID_GOLDEN_DIR) / name);
}

// Captures what the code under test prints on standard output (C stdio included).
class StdoutCapture {
 public:
  StdoutCapture() {
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
  }
  std::string text() {
    std::fflush(stdout);
    return ::testing::internal::GetCapturedStdout();
  }
};

}  // namespace corvid::testing
