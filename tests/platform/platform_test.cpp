#include <gtest/gtest.h>

#include "platform/file_patterns.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/text_file.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using corvid::testing::readFile;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

TEST(Paths, BothSeparatorsAreSearched) {
  EXPECT_EQ(folderOf("C:\\data\\run.raw"), "C:\\data\\");
  EXPECT_EQ(folderOf("/data/x\\run.raw"), "/data/x\\");
  EXPECT_EQ(fileNameOf("/data/run.raw"), "run.raw");
  EXPECT_EQ(folderOf("run.raw"), "");
}

TEST(Paths, TrailingSeparatorAddedOnce) {
  EXPECT_EQ(withTrailingSeparator("/data"), "/data/");
  EXPECT_EQ(withTrailingSeparator("/data/"), "/data/");
  EXPECT_EQ(withTrailingSeparator("D:\\data\\"), "D:\\data\\");
}

TEST(Paths, ToolPathHasNoExeOnLinux) { EXPECT_EQ(toolPath("/opt/bin/", "quarry_raw"), "/opt/bin/quarry_raw"); }

TEST(Paths, LetterCaseIsResolvedLikeWindows) {
  TempDir dir;
  writeFile(dir.file("run1.ms1"), "x");
  EXPECT_EQ(resolveLetterCase(dir.file("run1.MS1")), dir.file("run1.ms1"));
  EXPECT_EQ(resolveLetterCase(dir.file("run1.ms1")), dir.file("run1.ms1"));
  EXPECT_EQ(resolveLetterCase(dir.file("run2.MS1")), dir.file("run2.MS1"));
}

TEST(WildcardMatch, StarMatchesAnyRun) {
  EXPECT_TRUE(wildcardMatch("run_ID_*_CIDIT.mgf", "run_ID_0_CIDIT.mgf"));
  EXPECT_TRUE(wildcardMatch("run_ID_*_CIDIT.mgf", "run_ID_12_CIDIT.mgf"));
  EXPECT_FALSE(wildcardMatch("run_ID_*_CIDIT.mgf", "run_ID_0_HCDFT.mgf"));
  EXPECT_TRUE(wildcardMatch("run_ID_*", "run_ID_"));
  EXPECT_FALSE(wildcardMatch("a*b", "ac"));
}

TEST(FilePatterns, ConcatenatesInNameOrderAndDeletes) {
  TempDir dir;
  writeFile(dir.file("s_ID_1.csv"), "one\r\n");
  writeFile(dir.file("s_ID_0.csv"), "zero\r\n");
  writeFile(dir.file("s_ID_10.csv"), "ten\r\n");
  writeFile(dir.file("other.csv"), "no\r\n");
  EXPECT_EQ(concatenateMatching(dir.file("s_ID_*.csv"), dir.file("s.csv")), 3);
  EXPECT_EQ(readFile(dir.file("s.csv")), "zero\r\none\r\nten\r\n");
  EXPECT_EQ(deleteMatching(dir.file("s_ID_*.csv")), 3);
  EXPECT_FALSE(std::filesystem::exists(dir.file("s_ID_0.csv")));
  EXPECT_TRUE(std::filesystem::exists(dir.file("other.csv")));
  EXPECT_EQ(deleteMatching(dir.file("other.csv")), 1);
  EXPECT_EQ(deleteMatching(dir.file("other.csv")), 0);
}

TEST(TextWriter, WritesCrLfLineEnds) {
  TempDir dir;
  TextWriter writer;
  ASSERT_TRUE(writer.open(dir.file("t.txt")));
  writer.write("a\nb\r\n");
  writer.print("%d,%s\n", 7, "x");
  EXPECT_TRUE(writer.close());
  EXPECT_EQ(readFile(dir.file("t.txt")), "a\r\nb\r\n7,x\r\n");
}

TEST(TextWriter, FailedOpenWritesNothing) {
  TextWriter writer;
  EXPECT_FALSE(writer.open("/nonexistent-corvid-folder/t.txt"));
  writer.write("ignored\n");
  EXPECT_TRUE(writer.close());
}

TEST(TextFile, CarriageReturnsOfPairsAreDropped) {
  EXPECT_EQ(withoutCarriageReturns("a\r\nb\rc\r\n"), "a\nb\rc\n");
}

TEST(ChildProcess, RunsAndReportsExitStatus) {
  TempDir dir;
  const std::string script = dir.file("tool");
  writeFile(script, "#!/bin/sh\necho \"$@\" > \"$(dirname \"$0\")/args.txt\"\nexit 3\n");
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  EXPECT_EQ(runChildProcess({script, {"-m", "5", "a b.raw"}}), 3);
  EXPECT_EQ(readFile(dir.file("args.txt")), "-m 5 a b.raw\n");
  EXPECT_EQ(runChildProcess({dir.file("missing-tool"), {}}), -1);
  EXPECT_EQ(describeCommand({"/bin/x", {"-ms", "a b.raw"}}), "/bin/x -ms \"a b.raw\"");
}

}  // namespace
}  // namespace corvid
