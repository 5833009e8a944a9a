// isolation_from_file through the real binary: the extracted MS2 text carries each scan's stated
// window, a window equal to isolation_width changes nothing, and a file that states none falls
// back to isolation_width with one counted Alert.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const std::string kTarget = "name=\"isolation window target m/z\" value=\"";

// small.mzML with every isolation window stated as target - lower .. target + upper.
std::string smallWithWindows(const std::string& lower, const std::string& upper) {
  std::string text = readFile(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "small.mzML");
  for (std::size_t at = text.find(kTarget); at != std::string::npos; at = text.find(kTarget, at + 1)) {
    const std::size_t end = text.find("/>", at) + 2;
    const std::string offsets =
        "<cvParam cvRef=\"MS\" accession=\"MS:1000828\" name=\"isolation window lower offset\" value=\"" + lower +
        "\"/><cvParam cvRef=\"MS\" accession=\"MS:1000829\" name=\"isolation window upper " + "offset\" value=\"" +
        upper + "\"/>";
    text.insert(end, offsets);
  }
  return text;
}

struct RunOutputs {
  std::string log;
  std::string csv;
  std::string mgf;
  std::string ms2;
};

RunOutputs runOn(const std::string& mzml, const std::vector<std::string>& options) {
  TempDir dir;
  writeFile(dir.path() / "small.mzML", mzml);
  std::vector<std::string> arguments{"small.mzML"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  const RunResult result = runCorvid(dir.path(), arguments);
  EXPECT_EQ(result.status, 0) << result.out;
  std::string mgf;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    if (entry.path().extension() == ".mgf") mgf += readFile(entry.path());
  }
  return {result.out, readFile(dir.path() / "small.csv"), mgf, readFile(dir.path() / "small.ms2")};
}

TEST(IsolationFromFile, ExtractedTextCarriesTheStatedWindow) {
  const RunOutputs outputs = runOn(smallWithWindows("0.2", "1.5"), {});
  EXPECT_NE(
      outputs.ms2.find("I\tIsolationWindowLowerOffset\t0.200000\r\nI\tIsolationWindowUpperOffset\t1.500000\r\nZ\t"),
      std::string::npos)
      << outputs.ms2;
}

TEST(IsolationFromFile, FileWithoutWindowsFallsBackWithOneAlert) {
  const std::string plain = readFile(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "small.mzML");
  const RunOutputs on = runOn(plain, {"--isolation_from_file=1"});
  const RunOutputs off = runOn(plain, {});
  EXPECT_EQ(on.ms2.find("IsolationWindow"), std::string::npos);
  const std::string alert = "MS2 scans state no isolation window: isolation_width (2) is used for them.";
  ASSERT_NE(on.log.find(alert), std::string::npos) << on.log;
  EXPECT_EQ(on.log.find(alert), on.log.rfind(alert));
  EXPECT_EQ(off.log.find(alert), std::string::npos);
  EXPECT_EQ(on.csv, off.csv);
  EXPECT_EQ(on.mgf, off.mgf);
}

TEST(IsolationFromFile, StatedWindowOfTheIsolationWidthChangesNothing) {
  const RunOutputs stated = runOn(smallWithWindows("1", "1"), {"--isolation_from_file=1"});
  const RunOutputs fixed = runOn(smallWithWindows("1", "1"), {});
  // One MS2 scan of the fixture gives a selected ion but no isolation window at all.
  EXPECT_NE(stated.log.find("1 of 4 MS2 scans state no isolation window"), std::string::npos) << stated.log;
  EXPECT_EQ(stated.csv, fixed.csv);
  EXPECT_EQ(stated.mgf, fixed.mgf);
  EXPECT_FALSE(stated.mgf.empty());
}

}  // namespace
}  // namespace corvid
