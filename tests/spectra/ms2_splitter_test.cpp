#include "spectra/ms2_splitter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/run_failure.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using namespace testing;

const char* const kHeader = "H\tCreationDate\tMon Jan 01 00:00:00 2024\r\nH\tExtractor\tQuarry\r\n";

std::string scanBlock(int scan) {
  const std::string number = std::to_string(scan);
  return "S\t" + number + "\t" + number + "\t500.25\r\nI\tRetTime\t" + number +
         ".5\r\nZ\t2\t999.49\r\n100.5 1.0\r\n200.25 2.5\r\n300.125 3.75\r\n";
}

std::string ms2Text(int scans) {
  std::string text = kHeader;
  for (int scan = 1; scan <= scans; ++scan) text += scanBlock(scan);
  return text;
}

int countScanLines(const std::string& text) {
  int count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == 'S' && (i == 0 || text[i - 1] == '\n')) ++count;
  }
  return count;
}

TEST(SplitMS2, TwentyScansInPartsOfEightGiveEightEightFour) {
  TempDir folder;
  const std::string path = folder.file("run1.ms2");
  const std::string text = ms2Text(20);
  writeFile(path, text);
  std::vector<std::string> parts;
  LogWatch log;
  ASSERT_EQ(splitMS2(path, 8, parts), 3);
  const std::vector<std::string> expectedPaths = {
      folder.file("run1_ID_0.ms2"), folder.file("run1_ID_1.ms2"), folder.file("run1_ID_2.ms2")};
  EXPECT_EQ(parts, expectedPaths);
  const std::string part0 = readFile(parts[0]);
  const std::string part1 = readFile(parts[1]);
  const std::string part2 = readFile(parts[2]);
  EXPECT_EQ(countScanLines(part0), 8);
  EXPECT_EQ(countScanLines(part1), 8);
  EXPECT_EQ(countScanLines(part2), 4);
  // Header only in part 0; later parts start with their first S line.
  EXPECT_EQ(part0.rfind(kHeader, 0), 0u);
  EXPECT_EQ(part1.find("H\t"), std::string::npos);
  EXPECT_EQ(part1.rfind("S\t9\t", 0), 0u);
  EXPECT_EQ(part2.rfind("S\t17\t", 0), 0u);
  EXPECT_EQ(part0 + part1 + part2, text);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{"File 0: " + expectedPaths[0] + " complete!",
                                      "File 1: " + expectedPaths[1] + " complete!",
                                      "File 2: " + expectedPaths[2] + " complete!"}));
}

TEST(SplitMS2, ExactMultipleOfThePartSizeMakesNoEmptyPart) {
  TempDir folder;
  const std::string path = folder.file("run.ms2");
  writeFile(path, ms2Text(16));
  std::vector<std::string> parts;
  EXPECT_EQ(splitMS2(path, 8, parts), 2);
  EXPECT_EQ(parts.size(), 2u);
}

TEST(SplitMS2, TwoHundredThousandScansGiveEightyEightyForty) {
  TempDir folder;
  const std::string path = folder.file("big.ms2");
  // About 18 MB: more than one 16 MiB read block, so a cut also has to work across blocks.
  const std::string text = ms2Text(200000);
  writeFile(path, text);
  ParameterTable parameters{{"input_format", "raw"}};
  std::vector<std::string> parts;
  ASSERT_EQ(splitMS2(parameters, path, parts), 3);
  std::string joined;
  const int expected[] = {80000, 80000, 40000};
  for (std::size_t k = 0; k < parts.size(); ++k) {
    const std::string part = readFile(parts[k]);
    EXPECT_EQ(countScanLines(part), expected[k]) << parts[k];
    joined += part;
  }
  EXPECT_TRUE(joined == text);
}

TEST(SplitMS2, ByteCopyKeepsEveryLineEndAndAMissingLastLineEnd) {
  TempDir folder;
  const std::string path = folder.file("mixed.ms2");
  const std::string text = "H\tx\r\nS\t1\t1\n1.5 2.5\r\n\r\nS\t2\t2\r\n3.5 4.5\nS\t3\t3\r\n5.5 6.5";
  writeFile(path, text);
  std::vector<std::string> parts;
  ASSERT_EQ(splitMS2(path, 1, parts), 3);
  EXPECT_EQ(readFile(parts[0]), "H\tx\r\nS\t1\t1\n1.5 2.5\r\n\r\n");
  EXPECT_EQ(readFile(parts[1]), "S\t2\t2\r\n3.5 4.5\n");
  EXPECT_EQ(readFile(parts[2]), "S\t3\t3\r\n5.5 6.5");
}

TEST(SplitMS2, EmptyFileGivesOneEmptyPart) {
  TempDir folder;
  const std::string path = folder.file("empty.ms2");
  writeFile(path, "");
  std::vector<std::string> parts;
  LogWatch log;
  EXPECT_EQ(splitMS2(path, 8, parts), 1);
  EXPECT_EQ(readFile(parts[0]), "");
  EXPECT_EQ(log.messages(),
            std::vector<std::string>{"File 0: " + folder.file("empty_ID_0.ms2") + " complete!"});
}

TEST(SplitMS2, MissingFileRaisesAClearFailure) {
  TempDir folder;
  const std::string path = folder.file("none.ms2");
  std::vector<std::string> parts;
  try {
    splitMS2(path, 8, parts);
    FAIL() << "no failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Fail to open MS2 file " + path + " for splitting!\n");
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("none_ID_0.ms2")));
}

TEST(SplitMS2, UnwritablePartRaisesAClearFailure) {
  TempDir folder;
  const std::string path = folder.file("run.ms2");
  writeFile(path, ms2Text(2));
  std::filesystem::create_directories(folder.file("run_ID_0.ms2"));  // a folder in the way
  std::vector<std::string> parts;
  try {
    splitMS2(path, 8, parts);
    FAIL() << "no failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Fail to create MS2 part " + folder.file("run_ID_0.ms2") + "!\n");
  }
}

TEST(MS2PartSize, WiffInputUsesFiveThousandOtherwiseEightyThousand) {
  EXPECT_EQ(ms2PartSizeFrom(ParameterTable{{"input_format", "wiff"}}), 5000);
  EXPECT_EQ(ms2PartSizeFrom(ParameterTable{{"input_format", "raw"}}), 80000);
  EXPECT_EQ(ms2PartSizeFrom(ParameterTable{{"input_format", "WIFF"}}), 80000);
  EXPECT_EQ(ms2PartSizeFrom(ParameterTable{{"input_format", "wiff "}}), 80000);
  const ParameterTable none;
  EXPECT_EQ(ms2PartSizeFrom(none), 80000);
  EXPECT_TRUE(none.empty());
}

TEST(MS2PartPath, ReplacesTheLastFourCharacters) {
  EXPECT_EQ(ms2PartPath("D:\\Data\\run1.ms2", 0), "D:\\Data\\run1_ID_0.ms2");
  EXPECT_EQ(ms2PartPath("/data/run1.MS2", 12), "/data/run1_ID_12.ms2");
  EXPECT_EQ(ms2PartPath("ab", 1), "_ID_1.ms2");
}

TEST(MS2SplitThreshold, IsThreeGibibytes) { EXPECT_EQ(kMS2SplitThreshold, 3221225472); }

}  // namespace
}  // namespace corvid
