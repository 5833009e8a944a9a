#include "scoring/reference_list_loader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

#include "platform/run_failure.h"
#include "tests/support/failure_text.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::TempDir;

// Parses text and returns the list; printed console text goes to printed.
ReferencePrecursorList parse(const std::string& text, std::string& printed) {
  ::testing::internal::CaptureStdout();
  ReferencePrecursorList list = parseReferencePrecursorList(text, "ref.txt");
  printed = ::testing::internal::GetCapturedStdout();
  return list;
}

TEST(LoadReferencePrecursorList, ReadsFourTabSeparatedFieldsPerLine) {
  TempDir folder;
  const std::string path = folder.write("ref.txt", "1201\t612.345678\t2\t1.5e3\n1305\t400.5\t3\t-0.25\n");
  const ReferencePrecursorList list = loadReferencePrecursorList(path);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{1201, 1305}));
  EXPECT_EQ(list.mzs, (std::vector<double>{612.345678, 400.5}));
  EXPECT_EQ(list.charges, (std::vector<std::int32_t>{2, 3}));
  EXPECT_EQ(list.values, (std::vector<double>{1500.0, -0.25}));
  EXPECT_EQ(list.found, (std::vector<std::int32_t>{0, 0}));
  EXPECT_EQ(list.training, (std::vector<std::int32_t>{1, 1}));
  EXPECT_EQ(list.pending, (std::vector<std::int32_t>{1, 1}));
}

TEST(LoadReferencePrecursorList, MissingFileThrowsDearUserText) {
  TempDir folder;
  const std::string path = (folder.path() / "absent.txt").string();
  EXPECT_EQ(corvid::testing::failureText([&] { loadReferencePrecursorList(path); }),
            corvid::testing::missingFileText(path));
}

TEST(LoadReferencePrecursorList, FolderInsteadOfFileThrows) {
  TempDir folder;
  EXPECT_THROW(loadReferencePrecursorList(folder.path().string()), RunFailure);
}

TEST(LoadReferencePrecursorList, EmptyFileGivesEmptyList) {
  TempDir folder;
  std::string printed;
  ::testing::internal::CaptureStdout();
  const ReferencePrecursorList list = loadReferencePrecursorList(folder.write("empty.txt", ""));
  printed = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(printed, "");
}

TEST(ParseReferencePrecursorList, CrLfLinesReadLikeLfLines) {
  std::string printed;
  const ReferencePrecursorList crlf = parse("10\t500.25\t2\t1e-3\r\n11\t600.5\t3\t7\r\n", printed);
  EXPECT_EQ(printed, "");
  const ReferencePrecursorList lf = parse("10\t500.25\t2\t1e-3\n11\t600.5\t3\t7\n", printed);
  EXPECT_EQ(crlf.scans, lf.scans);
  EXPECT_EQ(crlf.mzs, lf.mzs);
  EXPECT_EQ(crlf.charges, lf.charges);
  EXPECT_EQ(crlf.values, lf.values);
  EXPECT_EQ(crlf.values, (std::vector<double>{1e-3, 7.0}));
}

TEST(ParseReferencePrecursorList, LineMissingATabIsReportedAndSkipped) {
  std::string printed;
  const ReferencePrecursorList list =
      parse("10\t500.25\t2\t1\n11\t600.5 3\t7\n12\t700.75\t4\t2\n", printed);
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{10, 12}));
  EXPECT_EQ(list.mzs, (std::vector<double>{500.25, 700.75}));
  EXPECT_EQ(printed,
            "[Corvid] Reference list ref.txt, line 2: fewer than four tab-separated fields; the line "
            "is skipped. \n");
}

TEST(ParseReferencePrecursorList, LastLineWithoutLineFeedIsRead) {
  std::string printed;
  const ReferencePrecursorList list = parse("10\t500.25\t2\t1\n11\t600.5\t3\t7", printed);
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{10, 11}));
  EXPECT_EQ(list.values.back(), 7.0);
}

TEST(ParseReferencePrecursorList, FieldsReadLikeScanfConversions) {
  std::string printed;
  // Leading blanks and "+" accepted, text after the number ignored, "12.9" read as 12 by "%d",
  // extra fields after the fourth ignored.
  const ReferencePrecursorList list =
      parse(" +10\t  +500.25x\t2.9\t+1.5e2 kept\textra\n12.9\t-1\t-3\t.5\n", printed);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{10, 12}));
  EXPECT_EQ(list.mzs, (std::vector<double>{500.25, -1.0}));
  EXPECT_EQ(list.charges, (std::vector<std::int32_t>{2, -3}));
  EXPECT_EQ(list.values, (std::vector<double>{150.0, 0.5}));
}

TEST(ParseReferencePrecursorList, BlankLinesAreSkippedQuietly) {
  std::string printed;
  const ReferencePrecursorList list = parse("\n10\t500.25\t2\t1\n\r\n  \n11\t600.5\t3\t7\n\n", printed);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{10, 11}));
}

TEST(ParseReferencePrecursorList, FieldWithoutNumberIsReportedAndSkipped) {
  std::string printed;
  const ReferencePrecursorList list = parse("scan\tmz\tcharge\tvalue\n\t\t\t\n10\t500.25\t2\t1\n", printed);
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{10}));
  EXPECT_EQ(printed,
            "[Corvid] Reference list ref.txt, line 1: a field holds no number or one out of range; "
            "the line is skipped. \n"
            "[Corvid] Reference list ref.txt, line 2: a field holds no number or one out of range; "
            "the line is skipped. \n");
}

TEST(ParseReferencePrecursorList, HugeNumbersAreReportedAndSkipped) {
  std::string printed;
  const ReferencePrecursorList list = parse(
      "99999999999\t500.25\t2\t1\n"       // scan beyond 32 bits
      "10\t1e999\t2\t1\n"                 // m/z beyond double
      "11\t500.25\t3000000000\t1\n"       // charge beyond 32 bits
      "12\t500.25\t2\t-1e400\n"           // value beyond double
      "2147483647\t1e308\t-2147483648\t1e-300\n",
      printed);
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{2147483647}));
  EXPECT_EQ(list.charges, (std::vector<std::int32_t>{-2147483648}));
  EXPECT_EQ(list.mzs, (std::vector<double>{1e308}));
  for (const char* line : {"line 1:", "line 2:", "line 3:", "line 4:"}) {
    EXPECT_NE(printed.find(line), std::string::npos) << line;
  }
  EXPECT_EQ(printed.find("line 5:"), std::string::npos);
}

TEST(ParseReferencePrecursorList, RandomBytesNeverCrashAndAlertsAreCapped) {
  std::mt19937 generator(7);
  std::string bytes(1 << 16, '\0');
  for (char& c : bytes) c = static_cast<char>(generator() & 0xff);
  std::string printed;
  const ReferencePrecursorList list = parse(bytes, printed);
  EXPECT_EQ(list.scans.size(), list.mzs.size());
  EXPECT_EQ(list.scans.size(), list.pending.size());
  // At most ten line alerts and one summary line.
  std::size_t lines = 0;
  for (const char c : printed) lines += c == '\n';
  EXPECT_LE(lines, 11u);
  EXPECT_NE(printed.find("lines skipped in all."), std::string::npos);
}

TEST(ParseReferencePrecursorList, OverLongLineIsOneLine) {
  std::string printed;
  const std::string text = std::string(1 << 20, '7') + "\n10\t500.25\t2\t1\n";
  const ReferencePrecursorList list = parse(text, printed);
  EXPECT_EQ(list.scans, (std::vector<std::int32_t>{10}));
  EXPECT_NE(printed.find("line 1: fewer than four"), std::string::npos);
}

}  // namespace
}  // namespace corvid
