// MS1 text that Corvid's own extractor never writes, through the real binary: peaks out of m/z
// order are sorted with one counted Alert, and a file without MS1 spectra gets the message an
// mzML file without them gets.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kPair = fs::path(CORVID_TEST_DATA_DIR) / "pair";

// The MS1 text with the peak lines of every spectrum in reverse order; header lines stay.
std::string withPeaksReversed(const std::string& text) {
  std::string out;
  std::vector<std::string> peaks;
  const auto flush = [&] {
    for (auto line = peaks.rbegin(); line != peaks.rend(); ++line) out += *line;
    peaks.clear();
  };
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    const std::size_t next = end == std::string::npos ? text.size() : end + 1;
    const std::string line = text.substr(start, next - start);
    if (!line.empty() && line[0] >= '0' && line[0] <= '9') {
      peaks.push_back(line);
    } else {
      flush();
      out += line;
    }
    start = next;
  }
  flush();
  return out;
}

// Runs the pair folder and returns every output file's bytes, named, and the console.
struct PairOutputs {
  std::string console;
  std::vector<std::pair<std::string, std::string>> files;
};

PairOutputs runPair(const std::string& ms1Text) {
  TempDir dir;
  fs::create_directories(dir.path() / "data");
  fs::create_directories(dir.path() / "out");
  writeFile(dir.path() / "data" / "run1.ms1", ms1Text);
  fs::copy_file(kPair / "run1.ms2", dir.path() / "data" / "run1.ms2");
  const RunResult run =
      runCorvid(dir.path(), {"-D", dir.file("data"), "-F", "ms1", "-O", dir.file("out"), "-L", dir.file("out")});
  EXPECT_EQ(run.status, 0) << run.out;
  PairOutputs outputs{run.out, {}};
  for (const char* name : {"run1.csv", "run1_CIDIT.mgf", "run1_CIDIT.kx2", "run1_HCDFT.mgf", "run1.kx1"}) {
    if (fs::exists(dir.path() / "out" / name)) outputs.files.emplace_back(name, readFile(dir.path() / "out" / name));
  }
  return outputs;
}

TEST(MS1TextInput, PeaksOutOfOrderAreSortedWithACountedAlert) {
  const std::string sorted = readFile(kPair / "run1.ms1");
  const std::string reversed = withPeaksReversed(sorted);
  ASSERT_NE(reversed, sorted);
  const PairOutputs expected = runPair(sorted);
  const PairOutputs unsorted = runPair(reversed);
  ASSERT_FALSE(expected.files.empty());
  EXPECT_EQ(unsorted.files, expected.files);
  // Sorted input says nothing; the reversed file names how many spectra were sorted.
  EXPECT_EQ(expected.console.find("m/z order"), std::string::npos) << expected.console;
  EXPECT_NE(unsorted.console.find("[Corvid] run1.ms1: the peaks of "), std::string::npos) << unsorted.console;
  EXPECT_NE(unsorted.console.find(" spectra were not in m/z order; they were sorted by m/z \n"), std::string::npos)
      << unsorted.console;
}

TEST(MS1TextInput, PairWithoutMS1SpectraGetsTheOpenFormatMessage) {
  TempDir dir;
  writeFile(dir.path() / "run1.ms1", "H\tExtractor\tCorvid test fixture\r\n");
  fs::copy_file(kPair / "run1.ms2", dir.path() / "run1.ms2");
  const RunResult run = runCorvid(dir.path(), {"-D", dir.folder(), "-F", "ms1", "--strict_exit=1"});
  EXPECT_NE(
      run.out.find("[Corvid] No MS1 spectra in " + dir.folder() + "run1.ms1: nothing to detect precursors from. \n"),
      std::string::npos)
      << run.out;
  EXPECT_EQ(run.out.find("ITMS encountered"), std::string::npos) << run.out;
  EXPECT_EQ(run.status, 11) << run.out;
  EXPECT_FALSE(fs::exists(dir.path() / "run1.csv"));
}

}  // namespace
}  // namespace corvid
