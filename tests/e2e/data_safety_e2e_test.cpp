// How runs end when something goes wrong: a full disk, a killed extraction, a replaced input, two
// runs on one input. A result file exists only when its run finished, and nothing left behind
// by a failed or killed run is taken as finished later. BSA1.mzML (Debian's openms-doc) is the
// input; the tests are skipped when it is not cached.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <thread>

#include "tests/support/bsa1_copy.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

bool anyTemporaryFile(const fs::path& folder) {
  for (const std::string& name : namesIn(folder)) {
    if (name.find(".corvid-tmp-") != std::string::npos) return true;
  }
  return false;
}

// The result files a finished run of BSA1 leaves in its output folder.
const std::vector<std::string> kResults = {"BSA1.csv", "BSA1.kx1", "BSA1_CIDIT.kx2", "BSA1_CIDIT.kx2idx",
                                           "BSA1_CIDIT.mgf"};

class DataSafety : public Bsa1Copy {
 protected:
  // Runs in the output folder, so that runs at once keep their console files apart.
  RunResult run(const fs::path& output, std::vector<std::string> extra = {}) const {
    std::vector<std::string> arguments = {"-D", (data / "BSA1.mzML").string(), "-O", output.string()};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    return runCorvid(output, arguments);
  }
  // A clean run's results, made once per test that needs them.
  std::map<std::string, std::string> reference() {
    const fs::path folder = dir.path() / "reference";
    fs::create_directories(folder);
    RunResult clean = run(folder);
    EXPECT_EQ(clean.status, 0) << clean.out;
    std::map<std::string, std::string> files;
    for (const std::string& name : kResults) files[name] = readFile(folder / name);
    return files;
  }
  void expectResults(const fs::path& folder, const std::map<std::string, std::string>& expected) const {
    for (const auto& [name, bytes] : expected) {
      ASSERT_TRUE(fs::exists(folder / name)) << name;
      EXPECT_TRUE(readFile(folder / name) == bytes) << name << " differs from a clean run's";
    }
  }
};

// A 2 MB file system as the output folder: the spectrum files do not fit.
struct SmallDisk {
  fs::path path;
  bool mounted = false;
  explicit SmallDisk(fs::path folder) : path(std::move(folder)) {
    fs::create_directories(path);
    mounted = ::mount("tmpfs", path.c_str(), "tmpfs", 0, "size=2m") == 0;
  }
  ~SmallDisk() {
    if (mounted) ::umount(path.c_str());
  }
};

TEST_F(DataSafety, FullDiskLeavesNoReportAndTheNextRunProcessesAgain) {
  SmallDisk disk(dir.path() / "small");
  RunResult full;
  if (disk.mounted) {
    full = run(disk.path);
  } else {
    // No mount here: a 2 MB file-size limit has the same effect on each file (writes fail with
    // "File too large" once the signal the limit raises is ignored).
    const std::string command = "trap '' XFSZ; ulimit -f 2048; exec " + shellQuote(CORVID_EXE) + " -D " +
                                shellQuote((data / "BSA1.mzML").string()) + " -O " + shellQuote(disk.path.string()) +
                                " > " + shellQuote((dir.path() / "full.txt").string()) + " 2>&1";
    ASSERT_NE(std::system(("cd " + shellQuote(dir.path().string()) + " && " + command).c_str()), -1);
    full.out = readFile(dir.path() / "full.txt");
  }
  EXPECT_NE(full.out.find("[Corvid] Fail to write"), std::string::npos) << full.out;
  EXPECT_NE(full.out.find("[Corvid] Not all spectrum files of " + disk.path.string() + "/BSA1.csv" +
                          " could be written: the CSV report is not saved, so that a later run processes this file "
                          "again. \n"),
            std::string::npos)
      << full.out;
  EXPECT_FALSE(fs::exists(disk.path / "BSA1.csv"));
  EXPECT_FALSE(anyTemporaryFile(disk.path)) << ::testing::PrintToString(namesIn(disk.path));
  // Whatever was renamed into place is complete: the KX1 and KX2 files are not there at all, nor
  // their indexes, and the group whose files failed leaves none of its files.
  EXPECT_FALSE(fs::exists(disk.path / "BSA1.kx1"));
  EXPECT_FALSE(fs::exists(disk.path / "BSA1.kx1idx"));
  for (const char* name : {"BSA1_CIDIT.mgf", "BSA1_CIDIT.kx2", "BSA1_CIDIT.kx2idx"}) {
    EXPECT_FALSE(fs::exists(disk.path / name)) << name << ": " << ::testing::PrintToString(namesIn(disk.path));
  }

  RunResult again = run(disk.path);
  EXPECT_EQ(again.out.find("CSV file already exists"), std::string::npos) << again.out;
}

TEST_F(DataSafety, KilledExtractionIsNeverTakenAsFinished) {
  const auto expected = reference();
  fs::remove_all(data);
  fs::create_directories(data);
  fs::copy_file(bsa1MzmlPath(), data / "BSA1.mzML");
  // Kill the run at several points of its extraction and detection.
  for (int delayMs : {20, 60, 120, 200, 300}) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::chdir(dir.path().c_str());
      std::freopen("/dev/null", "w", stdout);
      ::execl(CORVID_EXE, CORVID_EXE, "-D", (data / "BSA1.mzML").c_str(), "-O", out.c_str(), "-r", "1",
              static_cast<char*>(nullptr));
      ::_exit(127);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    // The marker exists only for a complete extraction, and files under final names are whole.
    if (fs::exists(data / "BSA1.quarry")) {
      EXPECT_TRUE(fs::exists(data / "BSA1.ms1") && fs::exists(data / "BSA1.ms2")) << delayMs;
    }
    for (const char* name : {"BSA1.ms1", "BSA1.ms2", "BSA1_scans.csv"}) {
      if (!fs::exists(data / name)) continue;
      const std::string text = readFile(data / name);
      ASSERT_FALSE(text.empty()) << name << " at " << delayMs << " ms";
      EXPECT_EQ(text.substr(text.size() - 2), "\r\n") << name << " at " << delayMs << " ms";
    }
    if (fs::exists(out / "BSA1.csv")) {
      for (const std::string& name : kResults) EXPECT_TRUE(fs::exists(out / name)) << name << " at " << delayMs;
    }
  }
  // Processing the killed run's folder as extracted text takes only complete pairs, and a later
  // run of the mzML ends with a clean run's results.
  fs::remove_all(out);
  fs::create_directories(out);
  RunResult later = run(out);
  ASSERT_EQ(later.status, 0) << later.out;
  expectResults(out, expected);
  for (const std::string& name : namesIn(data)) {
    if (name.find(".corvid-tmp-") != std::string::npos) continue;  // the killed runs' own, never read
    EXPECT_TRUE(name.rfind("BSA1", 0) == 0 || name == "CorvidPlusLog.txt") << name;
  }
}

TEST_F(DataSafety, ReplacedInputIsExtractedAgainAndItsResultsMadeAgain) {
  RunResult first = run(out);
  ASSERT_EQ(first.status, 0) << first.out;
  const std::string firstCsv = readFile(out / "BSA1.csv");
  // Another run under the same name: BSA1 without its last MS2 spectra.
  std::string text = readFile(data / "BSA1.mzML");
  const std::size_t lastSpectrum = text.rfind("<spectrum ");
  const std::size_t listEnd = text.find("</spectrumList>");
  ASSERT_NE(lastSpectrum, std::string::npos);
  ASSERT_NE(listEnd, std::string::npos);
  text.erase(lastSpectrum, listEnd - lastSpectrum);
  writeFile(data / "BSA1.mzML", text);

  RunResult second = run(out);
  ASSERT_EQ(second.status, 0) << second.out;
  EXPECT_NE(second.out.find("[Corvid] BSA1.mzML is not the file that was extracted (size, time or content "
                            "differ): extracting it again. \n"),
            std::string::npos)
      << second.out;
  EXPECT_NE(second.out.find("was made from an earlier extraction, not from the file just extracted"), std::string::npos)
      << second.out;
  EXPECT_EQ(second.out.find("CSV file already exists"), std::string::npos);
  const std::string secondCsv = readFile(out / "BSA1.csv");
  EXPECT_NE(secondCsv, firstCsv);
  EXPECT_EQ(std::count(secondCsv.begin(), secondCsv.end(), '\n') + 1, std::count(firstCsv.begin(), firstCsv.end(), '\n'));

  // With -r 1 the same holds: the changed input is extracted again, not reused.
  writeFile(data / "BSA1.mzML", readFile(bsa1MzmlPath()));
  RunResult third = run(out, {"-r", "1"});
  ASSERT_EQ(third.status, 0) << third.out;
  EXPECT_NE(third.out.find("extracting it again"), std::string::npos) << third.out;
  EXPECT_EQ(readFile(out / "BSA1.csv"), firstCsv);
}

TEST_F(DataSafety, TwoRunsAtOnceOnOneInputBothGiveTheSingleRunResult) {
  const auto expected = reference();
  fs::remove_all(data);
  fs::create_directories(data);
  fs::copy_file(bsa1MzmlPath(), data / "BSA1.mzML");
  const fs::path outA = dir.path() / "a";
  const fs::path outB = dir.path() / "b";
  fs::create_directories(outA);
  fs::create_directories(outB);
  RunResult a;
  RunResult b;
  std::thread first([&] { a = run(outA); });
  std::thread second([&] { b = run(outB); });
  first.join();
  second.join();
  ASSERT_EQ(a.status, 0) << a.out;
  ASSERT_EQ(b.status, 0) << b.out;
  expectResults(outA, expected);
  expectResults(outB, expected);
  EXPECT_TRUE(fs::exists(data / "BSA1.ms1"));
  EXPECT_TRUE(fs::exists(data / "BSA1.ms2"));
  EXPECT_FALSE(fs::exists(data / "BSA1.quarry.lock"));
  EXPECT_FALSE(anyTemporaryFile(data));
  // One of them extracted, the other waited or came after and reused the extraction.
  const std::string both = a.out + b.out;
  EXPECT_NE(both.find("Reusing the earlier extraction of BSA1.mzML"), std::string::npos) << both;
}

}  // namespace
}  // namespace corvid
