// corvid-reference-list's small pieces: scan numbers from titles and ids, number parsing, the
// list's text, the atomic write and the command line.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/test_support.h"
#include "tools/reference_list/command_line.h"
#include "tools/reference_list/errors.h"
#include "tools/reference_list/number_text.h"
#include "tools/reference_list/reference_list_writer.h"
#include "tools/reference_list/spectrum_numbers.h"

namespace corvid::reflist {
namespace {

TEST(ReferenceListText, ScanFromTitle) {
  EXPECT_EQ(scanFromTitle("BSA1.00565.00565.2"), 565);
  EXPECT_EQ(scanFromTitle("my.run.00042.00043.3 File:\"my.run.raw\""), 42);
  EXPECT_EQ(scanFromTitle("x File:\"a.raw\", NativeID:\"controllerType=0 controllerNumber=1 scan=77\""), 77);
  EXPECT_EQ(scanFromTitle("Spectrum 5"), 0);
  EXPECT_EQ(scanFromTitle("a.b.c.2"), 0);
  EXPECT_EQ(scanFromTitle(""), 0);
}

TEST(ReferenceListText, ScanFromSpectrumId) {
  EXPECT_EQ(scanFromSpectrumId("controllerType=0 controllerNumber=1 scan=1234"), 1234);
  EXPECT_EQ(scanFromSpectrumId("index=0"), 1);
  EXPECT_EQ(scanFromSpectrumId("index=41"), 42);
  EXPECT_EQ(scanFromSpectrumId("spectrum=2442"), 2442);
  EXPECT_EQ(scanFromSpectrumId("sample=1 period=1 cycle=96 experiment=2"), 2);
  EXPECT_EQ(scanFromSpectrumId("nothing"), 0);
  EXPECT_EQ(scanFromSpectrumId("scan=99999999999999"), 0);
}

TEST(ReferenceListText, WholeNumbersOnly) {
  EXPECT_EQ(parseReal("4.55E+01"), 45.5);
  EXPECT_EQ(parseReal(" 1e-4 "), 1e-4);
  EXPECT_EQ(parseReal("+2"), 2.0);
  EXPECT_EQ(parseReal("12abc"), std::nullopt);
  EXPECT_EQ(parseReal(""), std::nullopt);
  EXPECT_EQ(parseReal("nan"), std::nullopt);
  EXPECT_EQ(parseInteger("3"), 3);
  EXPECT_EQ(parseInteger("+3"), 3);
  EXPECT_EQ(parseInteger("3.0"), std::nullopt);
}

TEST(ReferenceListText, ListSortedAndPrintedPlainly) {
  const std::string text = formatReferenceList(
      {{20, 401.007276, 2, 0.003}, {10, 501.007276, 3, 1e-10}, {10, 500.5, 2, 45.5}, {7, 1234.5, 1, 120}});
  EXPECT_EQ(text,
            "7\t1234.500000\t1\t120\n"
            "10\t500.500000\t2\t45.5\n"
            "10\t501.007276\t3\t1e-10\n"
            "20\t401.007276\t2\t0.003\n");
  EXPECT_EQ(formatReferenceList({}), "");
}

TEST(ReferenceListText, AtomicWriteLeavesOnlyTheFinishedFile) {
  corvid::testing::TempDir temp;
  writeFileAtomically(temp.file("out.reflist"), "1\t2.000000\t2\t3\n");
  EXPECT_EQ(corvid::testing::readFile(temp.file("out.reflist")), "1\t2.000000\t2\t3\n");
  writeFileAtomically(temp.file("out.reflist"), "replaced\n");
  EXPECT_EQ(corvid::testing::readFile(temp.file("out.reflist")), "replaced\n");
  int files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(temp.path())) ++files;
  EXPECT_EQ(files, 1);
  EXPECT_THROW(writeFileAtomically(temp.file("missing/out.reflist"), "x"), InputError);
  // A folder in the way: the rename fails and the temporary file is removed again.
  std::filesystem::create_directory(temp.file("folder"));
  EXPECT_THROW(writeFileAtomically(temp.file("folder"), "x"), InputError);
  files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(temp.path())) ++files;
  EXPECT_EQ(files, 2);
}

std::string usageErrorOf(const std::vector<std::string>& arguments) {
  try {
    parseCommandLine(arguments);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "no error";
}

TEST(ReferenceListCommandLine, OptionsAndDefaults) {
  Options options = parseCommandLine({"run.pep.xml"});
  EXPECT_EQ(options.inputPath, "run.pep.xml");
  EXPECT_EQ(options.fdr, 0.01);
  EXPECT_FALSE(options.qValueMax);
  EXPECT_EQ(options.decoyPrefix, "DECOY_");

  options = parseCommandLine({"--qvalue-max=0.05", "-o", "x.reflist", "--scan-map", "r_scans.csv", "--decoy-prefix",
                              "rev_", "--score", "hyperscore", "--higher-better", "r.mzid"});
  EXPECT_EQ(options.qValueMax, 0.05);
  EXPECT_FALSE(options.fdr);
  EXPECT_EQ(options.outputPath, "x.reflist");
  EXPECT_EQ(options.scanMapPath, "r_scans.csv");
  EXPECT_EQ(options.decoyPrefix, "rev_");
  EXPECT_EQ(options.scoreName, "hyperscore");
  EXPECT_EQ(options.lowerIsBetter, false);
  EXPECT_TRUE(parseCommandLine({"--help"}).help);
  EXPECT_TRUE(parseCommandLine({"--version"}).version);
}

TEST(ReferenceListCommandLine, UsageErrors) {
  EXPECT_EQ(usageErrorOf({}), "no search result file given (see --help)");
  EXPECT_EQ(usageErrorOf({"a", "b"}), "one search result file at a time, got 2");
  EXPECT_EQ(usageErrorOf({"--bogus", "a"}), "unknown option --bogus (see --help)");
  EXPECT_EQ(usageErrorOf({"a", "--fdr"}), "--fdr needs a value");
  EXPECT_EQ(usageErrorOf({"a", "--fdr", "1.5"}), "--fdr needs a number from 0 to 1 (0.01 = 1 %), not \"1.5\"");
  EXPECT_EQ(usageErrorOf({"a", "--qvalue-max", "x"}),
            "--qvalue-max needs a number from 0 to 1 (0.01 = 1 %), not \"x\"");
  EXPECT_EQ(usageErrorOf({"a", "--fdr", "0.01", "--qvalue-max", "0.01"}), "--fdr and --qvalue-max exclude each other");
  EXPECT_EQ(usageErrorOf({"a", "--lower-better"}), "--lower-better/--higher-better need --score");
  EXPECT_EQ(usageErrorOf({"a", "--help=yes"}), "--help takes no value");
  EXPECT_EQ(usageErrorOf({"a", "--decoy-prefix="}), "--decoy-prefix needs a non-empty prefix");
}

}  // namespace
}  // namespace corvid::reflist
