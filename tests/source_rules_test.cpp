// Rules every product source file (platform, spectra, scoring, detection, startup) keeps, read
// from the sources themselves:
// - only the start-up files that turn options and parameter files into typed settings read the
//   parameter table; everything else works on those settings;
// - no file-scope mutable state holds one run's data, so runs side by side in one process cannot
//   see each other's;
// - no file over 400 lines (the per-file driver at most 200) and no function over 60 lines.
// Each failure names file:line and the rule. The scanner they use is tested on its own
// (tests/support/source_scanner_test.cpp).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/source_scanner.h"
#include "tests/support/test_support.h"

namespace corvid::testing {
namespace {

// The files allowed to read the parameter table: the table itself, the entry and its routes, the
// command-line and parameter-file readers, and the conversion of the table into typed run
// settings. Any other product file takes typed settings.
const std::set<std::string> kParameterTableReaders = {
    "startup/parameter_table.h", "startup/parameter_table.cpp", "startup/entry.h",        "startup/entry.cpp",
    "startup/start_routes.h",    "startup/start_routes.cpp",    "startup/command_line.h", "startup/command_line.cpp",
    "startup/parameter_file.h",  "startup/parameter_file.cpp",  "startup/run_settings.h", "startup/run_settings.cpp"};

// Process-wide state that is not one run's data, the only mutable variables allowed at file
// scope or as static locals. thread_local variables are not counted: each belongs to one thread
// (a worker's scratch buffer, the deferred log a worker's messages go to), so it is never shared
// between threads, and the thread that sets it is the one that uses it.
struct AllowedState {
  std::string file;
  std::string variable;
  std::string reason;
};
const std::vector<AllowedState> kAllowedState = {
    {"platform/run_log.cpp", "log", "the process's one run log, which every message goes to"},
    {"platform/run_outcome.cpp", "state", "the process's outcome behind strict_exit's exit status"},
    {"platform/pending_file.cpp", "counter",
     "the process's count of temporary names, so that no two pending files of one process share one"},
};

constexpr int kMostFileLines = 400;
constexpr int kMostPerFileDriverLines = 200;
constexpr int kMostFunctionLines = 60;

struct SourceFile {
  std::string name;  // "folder/file.cpp"
  std::string text;
  std::string code;  // comments, literals and preprocessor lines blanked
};

const std::vector<SourceFile>& productFiles() {
  static const std::vector<SourceFile> files = [] {
    std::vector<SourceFile> read;
    for (const char* folder : {"platform", "spectra", "scoring", "detection", "startup"}) {
      for (const auto& entry : fs::directory_iterator(fs::path(CORVID_SOURCE_DIR) / folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".h" && extension != ".cpp") continue;
        const std::string text = readFile(entry.path());
        read.push_back(
            {std::string(folder) + "/" + entry.path().filename().string(), text, blankCommentsAndLiterals(text)});
      }
    }
    std::sort(read.begin(), read.end(), [](const SourceFile& a, const SourceFile& b) { return a.name < b.name; });
    return read;
  }();
  return files;
}

int lineCount(const std::string& text) {
  const auto feeds = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  return feeds + (!text.empty() && text.back() != '\n' ? 1 : 0);
}

// "file:line: what" for each line of code that reads the parameter table.
std::vector<std::string> parameterTableUses(const SourceFile& file) {
  static const std::regex kTableUse(R"(\bParameterTable\b|\bvalueOrEmpty\s*\()");
  static const std::regex kLiteralKey(
      R"(\w*(parameter|table)\w*\s*(\[\s*"|(\.|->)\s*(find|at|count|contains)\s*\(\s*"))", std::regex::icase);
  std::vector<std::string> uses;
  std::istringstream code(file.code);
  std::istringstream text(file.text);
  int number = 0;
  for (std::string line, original; std::getline(code, line) && std::getline(text, original);) {
    ++number;
    if (std::regex_search(line, kTableUse) || std::regex_search(line, kLiteralKey)) {
      uses.push_back(file.name + ":" + std::to_string(number) + ": " +
                     original.substr(original.find_first_not_of(' ')));
    }
  }
  return uses;
}

bool isAllowedState(const std::string& file, const std::string& variable) {
  return std::any_of(kAllowedState.begin(), kAllowedState.end(),
                     [&](const AllowedState& allowed) { return allowed.file == file && allowed.variable == variable; });
}

struct FoundState {
  std::string file;
  int line;
  std::string variable;
};

std::vector<FoundState> mutableState() {
  std::vector<FoundState> found;
  for (const SourceFile& file : productFiles()) {
    for (const SourceStatement& statement : outlineSource(file.code).statements) {
      const std::string variable = mutableStaticVariable(statement);
      if (!variable.empty()) found.push_back({file.name, statement.line, variable});
    }
  }
  return found;
}

TEST(SourceRules, TheScannerReadsEveryProductFile) {
  ASSERT_GT(productFiles().size(), 50u) << "the sources were not found under " << CORVID_SOURCE_DIR;
  std::size_t functions = 0;
  for (const SourceFile& file : productFiles()) {
    const SourceOutline outline = outlineSource(file.code);
    EXPECT_TRUE(outline.balanced) << file.name << ": braces or parentheses the scanner cannot match";
    functions += outline.functions.size();
  }
  EXPECT_GT(functions, 500u) << "the scanner found too few functions to be reading the code";
}

TEST(SourceRules, OnlyTheStartUpReadersReadTheParameterTable) {
  for (const SourceFile& file : productFiles()) {
    if (kParameterTableReaders.count(file.name) != 0) continue;
    for (const std::string& use : parameterTableUses(file)) {
      ADD_FAILURE() << use << "\n  rule: only the start-up readers read the parameter table; take typed settings";
    }
  }
}

TEST(SourceRules, TheParameterTableCheckSeesItsThreeKindsOfUse) {
  const std::string text =
      "void f(const ParameterTable& p);\n"
      "std::string a = valueOrEmpty(table, \"x\");\n"
      "if (run.parameters[\"output_mgf\"] == \"1\") {}\n"
      "auto b = table.find(\"x\");\n"
      "auto c = window.find(\"<run\");  // table[\"x\"]\n"
      "const char* d = \"ParameterTable\";\n";
  const std::vector<std::string> uses = parameterTableUses({"x.cpp", text, blankCommentsAndLiterals(text)});
  EXPECT_EQ(uses,
            (std::vector<std::string>{
                "x.cpp:1: void f(const ParameterTable& p);", "x.cpp:2: std::string a = valueOrEmpty(table, \"x\");",
                "x.cpp:3: if (run.parameters[\"output_mgf\"] == \"1\") {}", "x.cpp:4: auto b = table.find(\"x\");"}));
}

TEST(SourceRules, NoFileScopeMutableStateHoldsRunData) {
  for (const FoundState& state : mutableState()) {
    if (isAllowedState(state.file, state.variable)) continue;
    ADD_FAILURE() << state.file << ":" << state.line << ": mutable variable '" << state.variable
                  << "'\n  rule: no non-const static or namespace-scope variable holds run data";
  }
}

TEST(SourceRules, EveryAllowedStateStillExists) {
  const std::vector<FoundState> found = mutableState();
  for (const AllowedState& allowed : kAllowedState) {
    EXPECT_TRUE(std::any_of(
        found.begin(), found.end(),
        [&](const FoundState& state) { return state.file == allowed.file && state.variable == allowed.variable; }))
        << allowed.file << ": '" << allowed.variable << "' is allowed but no longer exists: take it off the list";
  }
}

TEST(SourceRules, NoFileIsTooLong) {
  for (const SourceFile& file : productFiles()) {
    const int lines = lineCount(file.text);
    const int most = file.name == "startup/per_file_driver.cpp" ? kMostPerFileDriverLines : kMostFileLines;
    EXPECT_LE(lines, most) << file.name << ":" << most + 1 << ": the file has " << lines
                           << " lines\n  rule: a file has at most " << most << " lines";
  }
}

TEST(SourceRules, NoFunctionIsTooLong) {
  for (const SourceFile& file : productFiles()) {
    for (const FunctionSpan& function : outlineSource(file.code).functions) {
      EXPECT_LE(function.lines(), kMostFunctionLines)
          << file.name << ":" << function.firstLine << ": function " << function.name << " has " << function.lines()
          << " lines (to line " << function.lastLine << ")\n  rule: a function has at most " << kMostFunctionLines
          << " lines, signature to closing brace";
    }
  }
}

}  // namespace
}  // namespace corvid::testing
