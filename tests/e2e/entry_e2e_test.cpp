// The real binary, run in empty folders: console text, exit status and files, byte for byte.
#include <gtest/gtest.h>

#include <regex>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

// Stable text for golden files: the folder and the binary's path become placeholders, and the
// start time of every log block becomes <time>.
std::string normalised(std::string text, const TempDir& dir) {
  text = replaceAll(text, dir.path().string(), "<tmp>");
  text = replaceAll(text, CORVID_EXE, "<corvid>");
  static const std::regex startTime("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}\r\n");
  return std::regex_replace(text, startTime, "<time>\r\n");
}

std::string logOf(const TempDir& dir) { return normalised(readFile(dir.path() / "CorvidPlusLog.txt"), dir); }

TEST(EntryEndToEnd, NoArgumentsPrintsVersionWritesTemplateAndUsage) {
  TempDir dir;
  RunResult run = runCorvid(dir.path(), {});
  EXPECT_EQ(run.status, 0);
  expectGolden(run.out, "no_arguments/stdout.txt");
  EXPECT_EQ(run.err, "");
  std::vector<std::string> templates;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    const std::string name = entry.path().filename().string();
    if (name != "CorvidPlusLog.txt") templates.push_back(name);
  }
  ASSERT_EQ(templates.size(), 1u);
  EXPECT_TRUE(std::regex_match(templates[0], std::regex("Corvid20\\d{2}[1-9]\\d?[1-9]\\d?\\d{1,2}\\d{1,2}\\d{1,2}\\.para")))
      << templates[0];
  expectGolden(readFile(dir.path() / templates[0]), "no_arguments/template.para");
  expectGolden(logOf(dir), "no_arguments/CorvidPlusLog.txt");
}

TEST(EntryEndToEnd, SecondRunAppendsToTheLogAndKeepsAnExistingTemplate) {
  TempDir dir;
  runCorvid(dir.path(), {});
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    if (entry.path().extension() == ".para") writeFile(entry.path(), "kept\n");
  }
  runCorvid(dir.path(), {});
  int templates = 0;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    if (entry.path().extension() == ".para") {
      ++templates;
      // Two runs within the same second leave the first file untouched; a later second writes a new one.
      const std::string content = readFile(entry.path());
      EXPECT_TRUE(content == "kept\n" || content.starts_with("# Corvid.para params template\r\n"));
    }
  }
  EXPECT_GE(templates, 1);
  const std::string log = logOf(dir);
  EXPECT_EQ(std::count(log.begin(), log.end(), '<'), 4) << log;  // two blocks: <time> and <corvid> each
}

struct OptionErrorCase {
  const char* name;
  std::vector<std::string> arguments;
};

TEST(EntryEndToEnd, OptionErrorsEndWithStatus255) {
  const std::vector<OptionErrorCase> cases = {
      {"unknown_letter", {"-x", "1"}},
      {"three_characters", {"-Dfoo"}},
      {"lone_word", {"-W", "3", "ab"}},
      {"trailing_option", {"-W"}},
      {"empty_argument", {""}},
      {"upper_case_para", {"x.PARA"}},
      {"para_with_options", {"run.para", "-g", "1"}},
      {"mixed_case_mgf", {"a.Mgf"}},
  };
  for (const OptionErrorCase& item : cases) {
    TempDir dir;
    RunResult run = runCorvid(dir.path(), item.arguments);
    EXPECT_EQ(run.status, 255) << item.name;
    expectGolden(normalised(run.out, dir), std::string("option_errors/") + item.name + ".stdout.txt");
    expectGolden(logOf(dir), std::string("option_errors/") + item.name + ".log.txt");
  }
}

TEST(EntryEndToEnd, InvalidDataPathAbortsWith255) {
  TempDir dir;
  RunResult run = runCorvid(dir.path(), {"-D", dir.file("nowhere")});
  EXPECT_EQ(run.status, 255);
  expectGolden(normalised(run.out, dir), "invalid_datapath/stdout.txt");
  expectGolden(logOf(dir), "invalid_datapath/CorvidPlusLog.txt");
}

TEST(EntryEndToEnd, InvalidOutputFolderSkipsTheRunWithStatus0) {
  TempDir dir;
  fs::create_directories(dir.path() / "data");
  RunResult run = runCorvid(dir.path(), {"-D", dir.file("data"), "-O", dir.file("missing")});
  EXPECT_EQ(run.status, 0);
  expectGolden(normalised(run.out, dir), "invalid_output/stdout.txt");
}

TEST(EntryEndToEnd, ParameterFileWithTwoDataPaths) {
  TempDir dir;
  fs::create_directories(dir.path() / "first run");
  fs::create_directories(dir.path() / "second");
  writeFile(dir.path() / "two.para",
            "[Basic Options]\r\ndatanum = 2\r\ndatapath = /ignored/\r\ndatapath1 = " + dir.file("first run") +
                "\r\ndatapath2 = " + dir.file("second") + "\r\ninput_format = ms1\r\n");
  RunResult run = runCorvid(dir.path(), {"two.para"});
  EXPECT_EQ(run.status, 0);
  expectGolden(normalised(run.out, dir), "parameter_file_two_paths/stdout.txt");
  // The first run points the log at its folder; later runs keep logging there.
  expectGolden(normalised(readFile(dir.path() / "first run" / "CorvidPlusLog.txt"), dir),
               "parameter_file_two_paths/CorvidPlusLog.txt");
  EXPECT_FALSE(fs::exists(dir.path() / "second" / "CorvidPlusLog.txt"));
}

TEST(EntryEndToEnd, NegativeDatanumProcessesNothing) {
  TempDir dir;
  writeFile(dir.path() / "none.cfg", "datanum = -1\n");
  RunResult run = runCorvid(dir.path(), {"none.cfg"});
  EXPECT_EQ(run.status, 0);
  expectGolden(normalised(run.out, dir), "datanum_negative/stdout.txt");
}

TEST(EntryEndToEnd, InvalidSecondDataPathEndsTheWholeProcess) {
  TempDir dir;
  fs::create_directories(dir.path() / "one");
  fs::create_directories(dir.path() / "three");
  writeFile(dir.path() / "three.para", "datanum = 3\ninput_format = ms1\ndatapath1 = " + dir.file("one") +
                                           "\ndatapath2 = " + dir.file("two") + "\ndatapath3 = " +
                                           dir.file("three") + "\n");
  RunResult run = runCorvid(dir.path(), {"three.para"});
  EXPECT_EQ(run.status, 255);
  expectGolden(normalised(run.out, dir), "datanum_invalid_second/stdout.txt");
  EXPECT_EQ(run.out.find("three"), std::string::npos);
}

TEST(EntryEndToEnd, MissingParameterFile) {
  TempDir dir;
  RunResult run = runCorvid(dir.path(), {"absent.cfg"});
  EXPECT_EQ(run.status, 255);
  expectGolden(normalised(run.out, dir), "missing_parameter_file/stdout.txt");
}

TEST(EntryEndToEnd, BinaryParameterFile) {
  TempDir dir;
  std::string garbage;
  for (int i = 0; i < 65536; ++i) garbage += static_cast<char>((i * 2654435761u) >> 24);
  writeFile(dir.path() / "garbage.para", garbage);
  RunResult run = runCorvid(dir.path(), {"garbage.para"});
  EXPECT_EQ(run.status, 255);
  expectGolden(normalised(run.out, dir), "binary_parameter_file/stdout.txt");
}

TEST(EntryEndToEnd, TenMegabyteLineInParameterFile) {
  TempDir dir;
  writeFile(dir.path() / "long.para", "datapath = " + std::string(10 * 1024 * 1024, 'a') + "\n");
  RunResult run = runCorvid(dir.path(), {"long.para"});
  EXPECT_EQ(run.status, 255);
  EXPECT_NE(run.out.find("[Corvid] Path Invalid! datapath = aaaa"), std::string::npos);
  EXPECT_NE(run.out.find("[Corvid] Task abort! \n"), std::string::npos);
}

TEST(EntryEndToEnd, PathWithBlanksReachesTheRunDriver) {
  TempDir dir;
  fs::create_directories(dir.path() / "my data");
  RunResult run = runCorvid(dir.path(), {"-D", dir.file("my data"), "-F", "ms1"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("[Corvid] No MS1 files in datapath! Corvid exits! \n"), std::string::npos) << run.out;
  EXPECT_TRUE(fs::exists(dir.path() / "my data" / "CorvidPlusLog.txt"));
}

TEST(EntryEndToEnd, InvalidLogFolderAtCloseIsReported) {
  TempDir dir;
  fs::create_directories(dir.path() / "data");
  RunResult run = runCorvid(dir.path(), {"-D", dir.file("data"), "-L", dir.file("nolog"), "-F", "ms1"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("[Corvid] Invalid log path: " + dir.file("nolog") + "/ \n"), std::string::npos);
  EXPECT_TRUE(fs::exists(dir.path() / "CorvidPlusLog.txt"));
}

}  // namespace
}  // namespace corvid

namespace corvid {
namespace {

using namespace corvid::testing;

TEST(EntryEndToEnd, DatanumZeroProcessesDatapath) {
  TempDir dir;
  fs::create_directories(dir.path() / "data");
  writeFile(dir.path() / "zero.para", "datanum = 0\ninput_format = ms1\ndatapath = " + dir.file("data") + "\n");
  RunResult run = runCorvid(dir.path(), {"zero.para"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("[Corvid] No MS1 files in datapath! Corvid exits! \n"), std::string::npos) << run.out;
  EXPECT_TRUE(fs::exists(dir.path() / "data" / "CorvidPlusLog.txt"));
}

TEST(EntryEndToEnd, InvalidOutputFolderSkipsOnlyThatDataPath) {
  TempDir dir;
  fs::create_directories(dir.path() / "one");
  fs::create_directories(dir.path() / "two");
  fs::create_directories(dir.path() / "out");
  // The first run fills outputpath; with an output folder given, it is kept for both runs.
  writeFile(dir.path() / "skip.para", "datanum = 2\ninput_format = ms1\noutputpath = " + dir.file("missing") +
                                          "\ndatapath1 = " + dir.file("one") + "\ndatapath2 = " + dir.file("two") + "\n");
  RunResult run = runCorvid(dir.path(), {"skip.para"});
  EXPECT_EQ(run.status, 0);
  const std::string expected = "[Corvid] Invalid output path: " + dir.file("missing") + "/ \n";
  const std::size_t first = run.out.find(expected);
  ASSERT_NE(first, std::string::npos) << run.out;
  EXPECT_NE(run.out.find(expected, first + 1), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("Time elapsed"), std::string::npos);
}

}  // namespace
}  // namespace corvid
