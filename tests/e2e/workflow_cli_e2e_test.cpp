// What a workflow engine relies on, through the real binary: --help and --version, long options,
// plain file arguments, a strict exit status per failure cause, and extract_path for read-only
// inputs. The input is the small mzML fixture, so every test runs in well under a second.
#include <gtest/gtest.h>

#include <sys/mount.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kSmallMzML = fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "small.mzML";

class WorkflowCli : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(data);
    fs::create_directories(out);
    fs::copy_file(kSmallMzML, data / "small.mzML");
  }
  RunResult run(const std::vector<std::string>& arguments) const { return runCorvid(work.path(), arguments); }
  TempDir work;
  fs::path data = work.path() / "data";
  fs::path out = work.path() / "out";
};

TEST_F(WorkflowCli, HelpPrintsUsageAndWritesNothing) {
  const RunResult result = run({"--help"});
  EXPECT_EQ(result.status, 0);
  expectGolden(result.out, "cli/help.txt");
  EXPECT_EQ(namesIn(work.path()), (std::vector<std::string>{"data", "out"}));
  // Anywhere on the command line, before anything is run.
  const RunResult later = run({"-D", (data / "small.mzML").string(), "--help"});
  EXPECT_EQ(later.status, 0);
  EXPECT_EQ(later.out, result.out);
  EXPECT_EQ(namesIn(data), (std::vector<std::string>{"small.mzML"}));
}

TEST_F(WorkflowCli, VersionPrintsTheVersionAndWritesNothing) {
  const RunResult result = run({"--version"});
  EXPECT_EQ(result.status, 0);
  expectGolden(result.out, "cli/version.txt");
  EXPECT_EQ(namesIn(work.path()), (std::vector<std::string>{"data", "out"}));
}

TEST_F(WorkflowCli, UnknownLongOptionKeepsTheUsualError) {
  const RunResult result = run({"-D", (data / "small.mzML").string(), "--foo=1"});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.out.find("Error occurs in the options, empty option \"-\" occurred.\n"), std::string::npos);
  EXPECT_NE(result.out.find("Incorrect parameters! Please check the options or the *.cfg files."), std::string::npos);
}

TEST_F(WorkflowCli, SingleLetterErrorIsUnchanged) {
  const RunResult result = run({"-x", "1"});
  EXPECT_EQ(result.status, 255);
  EXPECT_NE(result.out.find("Invalid left value! Can not parse parameter \"-x\".  \n"), std::string::npos);
}

TEST_F(WorkflowCli, LongOptionsSetKeysWithoutAParameterFile) {
  const RunResult equals = run({"-D", (data / "small.mzML").string(), "--outputpath=" + out.string(), "--output_ms2=1"});
  ASSERT_EQ(equals.status, 0) << equals.out;
  EXPECT_TRUE(fs::exists(out / "small_HCDFT.ms2")) << equals.out;
  fs::remove_all(out);
  fs::create_directories(out);
  const RunResult separate = run({"-D", (data / "small.mzML").string(), "--outputpath", out.string(), "--output_mgf", "0"});
  ASSERT_EQ(separate.status, 0) << separate.out;
  EXPECT_TRUE(fs::exists(out / "small.csv"));
  EXPECT_FALSE(fs::exists(out / "small_HCDFT.mgf"));
}

TEST_F(WorkflowCli, ParameterFileSettingsCanBeOverridden) {
  writeFile(work.path() / "run.para", "datanum = 1\ndatapath1 = " + (data / "small.mzML").string() +
                                          "\noutputpath = " + out.string() + "/\noutput_mgf = 1\n");
  const RunResult result = run({"run.para", "--output_mgf=0", "--output_ms2", "1"});
  ASSERT_EQ(result.status, 0) << result.out;
  EXPECT_TRUE(fs::exists(out / "small.csv"));
  EXPECT_FALSE(fs::exists(out / "small_HCDFT.mgf"));
  EXPECT_TRUE(fs::exists(out / "small_HCDFT.ms2"));
}

TEST_F(WorkflowCli, PlainMzmlArgumentsRunOneByOne) {
  fs::copy_file(data / "small.mzML", data / "copy.mzML");
  const RunResult result = run({(data / "small.mzML").string(), (data / "copy.mzML").string(),
                                "--outputpath=" + out.string()});
  ASSERT_EQ(result.status, 0) << result.out;
  EXPECT_TRUE(fs::exists(out / "small.csv"));
  EXPECT_TRUE(fs::exists(out / "copy.csv"));
  // The same spectra under each file's own name.
  EXPECT_EQ(replaceAll(readFile(out / "copy_HCDFT.mgf"), "copy.", "small."), readFile(out / "small_HCDFT.mgf"));
}

TEST_F(WorkflowCli, PlainBsa1ArgumentsRunOneByOne) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  fs::copy_file(bsa1MzmlPath(), data / "BSA1.mzML");
  fs::copy_file(bsa1MzmlPath(), data / "BSA1-copy.mzML");
  const RunResult result = runCorvid(data, {"BSA1.mzML", "BSA1-copy.mzML", "--strict_exit=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  EXPECT_EQ(replaceAll(readFile(data / "BSA1-copy_CIDIT.mgf"), "BSA1-copy.", "BSA1."), readFile(data / "BSA1_CIDIT.mgf"));
  EXPECT_NE(readFile(data / "BSA1.csv").size(), 0u);
}

TEST_F(WorkflowCli, PlainWiffArgumentIsADataPath) {
  // Runs exactly as "-D c.wiff" does, instead of failing as a malformed option.
  writeFile(data / "c.wiff", "not really a wiff file");
  const RunResult plain = run({(data / "c.wiff").string()});
  const RunResult asOption = run({"-D", (data / "c.wiff").string()});
  EXPECT_EQ(plain.status, 0);
  EXPECT_EQ(plain.out.find("Error occurs in the options"), std::string::npos) << plain.out;
  EXPECT_NE(plain.out.find("names a WIFF file"), std::string::npos) << plain.out;
  EXPECT_EQ(plain.out, asOption.out);
}

// A read-only view of a folder (a bind mount remounted read-only), where the system allows it;
// otherwise the folder itself, and the tests check that nothing was written into it.
struct ReadOnlyView {
  fs::path path;
  bool mounted = false;
  ReadOnlyView(const fs::path& source, const fs::path& view) : path(view) {
    fs::create_directories(view);
    if (::mount(source.c_str(), view.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      path = source;
      return;
    }
    mounted = ::mount(nullptr, view.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    if (!mounted) ::umount(view.c_str());
    if (!mounted) path = source;
  }
  ~ReadOnlyView() {
    if (mounted) ::umount(path.c_str());
  }
};

TEST_F(WorkflowCli, ExtractPathLeavesTheInputFolderUntouched) {
  const fs::path extract = work.path() / "scratch" / "extract";
  const ReadOnlyView store(data, work.path() / "store");
  if (store.mounted) {
    std::error_code refused;
    EXPECT_FALSE(fs::create_directory(store.path / "probe", refused)) << "the view is not read-only";
  }
  const RunResult result = run({(store.path / "small.mzML").string(), "--extract_path", extract.string(),
                                "--outputpath=" + out.string(), "--logfilepath=" + out.string(), "--strict_exit=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  EXPECT_EQ(namesIn(data), (std::vector<std::string>{"small.mzML"}));
  EXPECT_EQ(namesIn(extract), (std::vector<std::string>{"small.ms1", "small.ms2", "small.quarry", "small_scans.csv"}));
  // The summary travels with the results, so scans map back to native ids.
  EXPECT_EQ(readFile(out / "small_scans.csv"), readFile(extract / "small_scans.csv"));
  EXPECT_TRUE(fs::exists(out / "small.csv"));
  // A second run reuses the extraction and the finished results.
  const RunResult again = run({(store.path / "small.mzML").string(), "--extract_path=" + extract.string(),
                               "--outputpath=" + out.string(), "--strict_exit=1"});
  EXPECT_EQ(again.status, 0) << again.out;
  EXPECT_NE(again.out.find("Reusing the earlier extraction of small.mzML"), std::string::npos);
}

TEST_F(WorkflowCli, SummaryIsNotCopiedOntoItself) {
  const RunResult result = run({"-D", (data / "small.mzML").string()});
  ASSERT_EQ(result.status, 0) << result.out;
  EXPECT_TRUE(fs::exists(data / "small_scans.csv"));
  EXPECT_EQ(result.out.find("extraction summary"), std::string::npos) << result.out;
}

// One failure cause per case: the strict status, and the usual 0 without strict_exit.
struct StrictCase {
  const char* name;
  int strictStatus;
};

class StrictExit : public WorkflowCli {
 protected:
  int statusOf(std::vector<std::string> arguments, bool strict) {
    if (strict) arguments.push_back("--strict_exit=1");
    const RunResult result = run(arguments);
    if (strict && result.status >= 10 && result.status <= 13) {
      EXPECT_NE(result.out.find("strict_exit: exit status " + std::to_string(result.status)), std::string::npos)
          << result.out;
    }
    return result.status;
  }
};

TEST_F(StrictExit, GoodRunEndsWithZero) {
  EXPECT_EQ(statusOf({"-D", (data / "small.mzML").string(), "-O", out.string()}, true), 0);
}

TEST_F(StrictExit, SkippedDataPathIs10) {
  const std::vector<std::string> noFiles = {"-D", out.string(), "-F", "mzml"};
  EXPECT_EQ(statusOf(noFiles, false), 0);
  EXPECT_EQ(statusOf(noFiles, true), 10);
  const std::vector<std::string> badOutput = {"-D", (data / "small.mzML").string(), "-O", (work.path() / "nowhere").string()};
  EXPECT_EQ(statusOf(badOutput, false), 0);
  EXPECT_EQ(statusOf(badOutput, true), 10);
}

TEST_F(StrictExit, UnreadableInputIs11) {
  const std::string text = readFile(data / "small.mzML");
  writeFile(data / "cut.mzML", text.substr(0, text.size() / 2));
  const std::vector<std::string> cut = {"-D", (data / "cut.mzML").string(), "-O", out.string()};
  EXPECT_EQ(statusOf(cut, false), 0);
  EXPECT_EQ(statusOf(cut, true), 11);
}

TEST_F(StrictExit, UnwritableOutputIs12) {
  // A folder where the MGF must go: the file cannot be created.
  fs::create_directories(out / "small_HCDFT.mgf");
  const std::vector<std::string> blocked = {"-D", (data / "small.mzML").string(), "-O", out.string(), "-r", "1"};
  EXPECT_EQ(statusOf(blocked, false), 0);
  EXPECT_EQ(statusOf(blocked, true), 12);
}

TEST_F(StrictExit, NoMs2ScanProcessedIs13) {
  writeFile(data / "empty.mgf", "");
  const std::vector<std::string> empty = {(data / "empty.mgf").string()};
  EXPECT_EQ(statusOf(empty, false), 0);
  // The MGF route takes every argument as a file: the key comes from a parameter file instead.
  writeFile(work.path() / "strict.para", "datanum = 1\ndatapath1 = " + (data / "empty.mgf").string() +
                                             "\nstrict_exit = 1\n");
  const RunResult result = run({"strict.para"});
  EXPECT_EQ(result.status, 13) << result.out;
}

TEST_F(StrictExit, FailureStatusStays255) {
  EXPECT_EQ(statusOf({"-D", (work.path() / "missing.txt").string()}, true), 255);
}

}  // namespace
}  // namespace corvid
