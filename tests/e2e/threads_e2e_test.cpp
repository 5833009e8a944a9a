// The threads key through the real binary: every output file and the console are byte-identical
// for 1, 2 and 8 threads, on BSA1 (in both detection modes and with a training reference list), on
// a run generated from it and on the co-eluting fixture.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

// Every file of a folder (name -> bytes), the log left out: it records the command line. The
// creation time in MS2 headers is the clock's, so it is blanked.
std::map<std::string, std::string> filesOf(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (!entry.is_regular_file() || name == "CorvidPlusLog.txt") continue;
    std::string bytes = readFile(entry.path());
    if (bytes.starts_with("H\tCreationDate\t")) bytes.erase(15, bytes.find('\r') - 15);
    files[name] = bytes;
  }
  return files;
}

// Runs input once per thread count into its own folder (the extraction made once, shared) and
// compares everything with the single-threaded run. `extra`: more options for every run; `singleRun`,
// when given, receives the single-threaded run's files and console.
void expectSameForAnyThreadCount(const fs::path& input, const TempDir& dir, std::size_t expectedFiles,
                                 const std::vector<std::string>& extra = {},
                                 std::map<std::string, std::string>* singleRun = nullptr) {
  const std::string extract = dir.folder() + "extract";
  // The extraction is made once beforehand, so every compared run reuses it alike.
  ASSERT_EQ(runCorvid(dir.path(), {"-D", input.string(), "-O", dir.folder(), "--extract_path=" + extract}).status, 0);
  std::map<std::string, std::string> single;
  for (int threads : {1, 2, 8}) {
    const fs::path out = dir.path() / ("threads" + std::to_string(threads));
    fs::create_directories(out);
    std::vector<std::string> arguments = {"-D", input.string(), "-O", out.string(), "-L", out.string(),
                                          "--extract_path=" + extract, "--threads=" + std::to_string(threads),
                                          "--output_table=1", "--output_mzml=1", "--output_ms2=1"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    const RunResult result = runCorvid(out, arguments);
    ASSERT_EQ(result.status, 0) << result.out;
    std::map<std::string, std::string> files = filesOf(out);
    files["console"] = withoutElapsedSeconds(result.out);
    if (threads == 1) {
      single = files;
      if (singleRun != nullptr) *singleRun = files;
      EXPECT_GE(single.size(), expectedFiles);
      continue;
    }
    ASSERT_EQ(files.size(), single.size()) << threads;
    for (const auto& [name, bytes] : single) EXPECT_TRUE(files[name] == bytes) << name << " differs with " << threads << " threads";
  }
}

TEST(ThreadsEndToEnd, Bsa1OutputsAreIdenticalForAnyThreadCount) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  expectSameForAnyThreadCount(bsa1MzmlPath(), dir, 8);
}

TEST(ThreadsEndToEnd, Bsa1PrecisionModeOutputsAreIdenticalForAnyThreadCount) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  expectSameForAnyThreadCount(bsa1MzmlPath(), dir, 8, {"--precision_mode=1"});
}

// Detection marks the reference entries it finds; every worker does so for its own scans, and the
// training tables, the found counts and every other output are those of one thread.
TEST(ThreadsEndToEnd, Bsa1WithAReferenceListOutputsAreIdenticalForAnyThreadCount) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  const fs::path reference = fs::path(CORVID_TEST_DATA_DIR) / "search" / "BSA1.pep.xml.reflist";
  std::map<std::string, std::string> single;
  expectSameForAnyThreadCount(bsa1MzmlPath(), dir, 10, {"-T", reference.string(), "-s", "1"}, &single);
  const std::string& console = single["console"];
  EXPECT_NE(console.find("[Corvid] Writing TrainingSet... \n[Corvid] Check 38 Precursors.  \n"), std::string::npos)
      << console;
  EXPECT_NE(console.find("[Corvid] Writing CSV... \n[Corvid] Check 38 Precursors. \n"), std::string::npos);
  EXPECT_FALSE(single["Positive.csv"].empty());
  EXPECT_FALSE(single["Negative.csv"].empty());
}

TEST(ThreadsEndToEnd, GeneratedRunOutputsAreIdenticalForAnyThreadCount) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  const fs::path generated = dir.path() / "generated.mzML";
  const std::string make = "python3 " + shellQuote(std::string(CORVID_SOURCE_DIR) + "/bench/make_large_mzml.py") + " " +
                           shellQuote(bsa1MzmlPath().string()) + " " + shellQuote(generated.string()) + " 40000000 >/dev/null";
  ASSERT_EQ(std::system(make.c_str()), 0);
  expectSameForAnyThreadCount(generated, dir, 8);
}

TEST(ThreadsEndToEnd, CoElutingFixtureOutputsAreIdenticalForAnyThreadCount) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "coeluting.mzML", dir.path() / "coeluting.mzML");
  expectSameForAnyThreadCount(dir.path() / "coeluting.mzML", dir, 8);
}

// The KX2 file is written beside the MGF when there are threads to spare; when it cannot be
// written, its error must still show where a single thread shows it.
TEST(ThreadsEndToEnd, AnUnwritableKx2FileReadsTheSameForAnyThreadCount) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "coeluting.mzML", dir.path() / "coeluting.mzML");
  const std::string input = (dir.path() / "coeluting.mzML").string();
  const std::string extract = dir.folder() + "extract";
  ASSERT_EQ(runCorvid(dir.path(), {"-D", input, "-O", dir.folder(), "--extract_path=" + extract}).status, 0);
  std::string kx2Name;
  for (const auto& entry : fs::directory_iterator(dir.path()))
    if (entry.path().extension() == ".kx2") kx2Name = entry.path().filename().string();
  ASSERT_FALSE(kx2Name.empty());
  std::map<std::string, std::string> single;
  for (int threads : {1, 2}) {
    const fs::path out = dir.path() / ("blocked" + std::to_string(threads));
    fs::create_directories(out / kx2Name);  // a folder where the file should go
    const RunResult result = runCorvid(out, {"-D", input, "-O", out.string(), "-L", out.string(),
                                             "--extract_path=" + extract, "--threads=" + std::to_string(threads)});
    std::map<std::string, std::string> files = filesOf(out);
    std::string console = withoutElapsedSeconds(result.out);
    for (std::size_t at; (at = console.find(out.string())) != std::string::npos;)
      console.replace(at, out.string().size(), "<out>");  // the folders differ by name only
    files["console"] = console;
    files["status"] = std::to_string(result.status);
    EXPECT_NE(files["console"].find(kx2Name), std::string::npos) << files["console"];
    if (threads == 1) {
      single = files;
      continue;
    }
    EXPECT_TRUE(files == single) << files["console"] << "\n---\n" << single["console"];
  }
}

}  // namespace
}  // namespace corvid
