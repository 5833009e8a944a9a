#include "startup/parameter_file.h"

#include <gtest/gtest.h>

#include "platform/run_failure.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::readFile;
using corvid::testing::StdoutCapture;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

ParameterTable readText(const TempDir& dir, std::string_view text) {
  const std::string path = dir.file("run.para");
  writeFile(path, text);
  return readParameterFile(path);
}

TEST(ReadParameterFile, BlanksAroundKeyAndValueAreRemoved) {
  TempDir dir;
  ParameterTable table = readText(dir, "  mars_threshold   =  -0.5  \n");
  EXPECT_EQ(table["mars_threshold"], "-0.5");
}

TEST(ReadParameterFile, SplitsAtTheFirstEquals) {
  TempDir dir;
  ParameterTable table = readText(dir, "datapath = C:\\a=b\\\n");
  EXPECT_EQ(table["datapath"], "C:\\a=b\\");
}

TEST(ReadParameterFile, CommentsAndHeadingsAreSkippedButIndentedHashIsALine) {
  TempDir dir;
  ParameterTable table = readText(dir, "[Basic Options]\n; note\n# comment\n  # note\n");
  EXPECT_EQ(table.count("[Basic Options]"), 0u);
  EXPECT_EQ(table.count("; note"), 0u);
  EXPECT_EQ(table["# note"], "# note");
}

TEST(ReadParameterFile, TabBeforeEqualsStaysInTheKey) {
  TempDir dir;
  ParameterTable table = readText(dir, "co-elute\t= 0\n");
  EXPECT_EQ(table["co-elute"], "1");
  EXPECT_EQ(table["co-elute\t"], "0");
}

TEST(ReadParameterFile, LastLineWithoutLineEndIsApplied) {
  TempDir dir;
  ParameterTable table = readText(dir, "co-elute = 0\nisolation_width = 3");
  EXPECT_EQ(table["isolation_width"], "3");
}

TEST(ReadParameterFile, CrLfReadsAsOnWindows) {
  TempDir dir;
  ParameterTable table = readText(dir, "datapath = /data/\r\ndatanum = 2\r\n\r\n");
  EXPECT_EQ(table["datapath"], "/data/");
  EXPECT_EQ(table["datanum"], "2");
}

TEST(ReadParameterFile, DefaultsComeFirst) {
  TempDir dir;
  ParameterTable table = readText(dir, "co-elute = 0\n");
  EXPECT_EQ(table["mars_threshold"], "-0.34");
  EXPECT_EQ(table["co-elute"], "0");
}

TEST(ReadParameterFile, EmptyValueIsAnInvalidKey) {
  TempDir dir;
  try {
    readText(dir, "output_mgf =\n");
    FAIL() << "expected a failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "Corvid found invalid key in config file!");
  }
}

TEST(ReadParameterFile, LongLinesAreReadWhole) {
  TempDir dir;
  const std::string value(10 * 1024 * 1024, 'x');
  ParameterTable table = readText(dir, "datapath = " + value + "\nco-elute = 0\n");
  EXPECT_EQ(table["datapath"], value);
  EXPECT_EQ(table["co-elute"], "0");
}

TEST(ReadParameterFile, MissingFileIsReportedAndThrown) {
  TempDir dir;
  const std::string path = dir.file("absent.para");
  StdoutCapture capture;
  try {
    readParameterFile(path);
    FAIL() << "expected a failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "The file \"" + path + "\" does not exist!");
  }
  EXPECT_EQ(capture.text(), "[Error] The file \"" + path + "\" does not exist! \n");
}

TEST(ReadParameterFile, BinaryFileIsRejected) {
  TempDir dir;
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage += static_cast<char>((i * 7919) & 0xFF);
  const std::string path = dir.file("garbage.para");
  writeFile(path, garbage);
  try {
    readParameterFile(path);
    FAIL() << "expected a failure";
  } catch (const RunFailure& failure) {
    EXPECT_EQ(failure.text, "The file \"" + path + "\" is not a parameter file: it holds binary data.");
  }
}

TEST(TrimBlanks, RemovesSpacesOnlyAndRejectsBlankText) {
  std::string text = "  a\tb  ";
  trimBlanks(text);
  EXPECT_EQ(text, "a\tb");
  std::string blank = "   ";
  EXPECT_THROW(trimBlanks(blank), RunFailure);
  std::string empty;
  EXPECT_THROW(trimBlanks(empty), RunFailure);
}

TEST(TemplateFileName, NumbersWithoutLeadingZeros) {
  std::tm time{};
  time.tm_year = 2024 - 1900;
  time.tm_mon = 4;
  time.tm_mday = 3;
  time.tm_hour = 9;
  time.tm_min = 5;
  time.tm_sec = 7;
  EXPECT_EQ(templateFileName(time), "Corvid202453957.para");
}

TEST(ParameterTemplate, ReadsBackWithTheTemplateValues) {
  TempDir dir;
  ParameterTable table = readText(dir, parameterTemplateText());
  EXPECT_EQ(table["datapath"], "E:\\Data\\");
  EXPECT_EQ(table["ipv_file"], ".\\IPV.txt");
  EXPECT_EQ(table["trainingset"], "EmptyPath");
  EXPECT_EQ(table["cut_similiar_mono"], "1");
}

}  // namespace
}  // namespace corvid
