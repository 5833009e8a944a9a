#include "spectra/open_format_extractor.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

// Extracts a fixture into a fresh folder and compares the three text outputs byte for byte.
void expectExtractsLikeExpected(const std::string& fixture, const std::string& stem) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(fixturePath(fixture), temp.folder(), stem));
  for (const char* suffix : {".ms1", ".ms2", "_scans.csv"}) {
    std::string expected = readFile(fixturePath("expected/" + stem + suffix));
    ASSERT_FALSE(expected.empty()) << stem << suffix;
    EXPECT_EQ(readFile(temp.file(stem + suffix)), expected) << stem << suffix;
  }
  EXPECT_TRUE(exists(temp.file(stem + ".quarry")));
  for (const char* work : {".ms1.part", ".ms2.part", ".scans.part", ".ids.part"})
    EXPECT_FALSE(exists(temp.file(stem + work))) << work;
  // Nothing else is left in the folder.
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(temp.path()))
    files += entry.is_regular_file() ? 1 : 0;
  EXPECT_EQ(files, 4U);
}

// Both array widths, zlib and plain arrays, minutes converted to seconds, an MS2 scan without an
// isolation window and without a precursor reference, PQD and ETD activations, an MS3 scan
// skipped, an MS1 scan without peaks.
TEST(ExtractOpenFormat, MzMLFixtureGivesExpectedText) {
  expectExtractsLikeExpected("small.mzML", "small");
}

// mzXML with an MS2 scan nested in its MS1 scan, network byte order, both widths, zlib, an
// activation taken from the filter line, a retention time in minutes.
TEST(ExtractOpenFormat, MzXMLFixtureGivesExpectedText) {
  expectExtractsLikeExpected("nested.mzXML", "nested");
}

// MS1 spectra listed before MS2 spectra, each level numbered on its own: renumbered by
// retention time, the precursor reference honoured over the last MS1 scan.
TEST(ExtractOpenFormat, UnorderedSpectraAreRenumberedByRetentionTime) {
  expectExtractsLikeExpected("unordered.mzML", "unordered");
}

TEST(ExtractOpenFormat, EveryLineEndsWithCarriageReturnLineFeed) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  for (const char* suffix : {".ms1", ".ms2", "_scans.csv"}) {
    std::string text = readFile(temp.file(std::string("small") + suffix));
    for (std::size_t i = 0; i < text.size(); ++i)
      if (text[i] == '\n') {
        ASSERT_TRUE(i > 0 && text[i - 1] == '\r') << suffix << " byte " << i;
      }
    EXPECT_TRUE(text.ends_with("\r\n"));
  }
}

TEST(ExtractOpenFormat, AlertsNameSkippedLevelsAndUnknownActivations) {
  TempDir temp;
  std::size_t mark = runLogLines().size();
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  std::string log = logSince(mark);
  EXPECT_NE(log.find("small.mzML: 1 spectra with an MS level other than 1 or 2 were skipped"),
            std::string::npos);
  EXPECT_NE(log.find("small.mzML: 1 MS2 scans have an activation other than CID, ETD or HCD; "
                     "Corvid skips them"),
            std::string::npos);
  EXPECT_EQ(log.find("numbered from 1"), std::string::npos);
}

TEST(ExtractOpenFormat, RenumberingIsAnnouncedOnce) {
  TempDir temp;
  std::size_t mark = runLogLines().size();
  ASSERT_TRUE(extractOpenFormat(fixturePath("unordered.mzML"), temp.folder(), "unordered"));
  std::string log = logSince(mark);
  std::string alert =
      "unordered.mzML: scan numbers do not rise with retention time; 4 spectra were ordered by "
      "retention time and numbered from 1 (native ids in unordered_scans.csv)";
  std::size_t first = log.find(alert);
  ASSERT_NE(first, std::string::npos) << log;
  EXPECT_EQ(log.find(alert, first + 1), std::string::npos);
}

TEST(ExtractOpenFormat, SecondRunGivesIdenticalFiles) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  std::string ms2 = readFile(temp.file("small.ms2"));
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  EXPECT_EQ(readFile(temp.file("small.ms2")), ms2);
}

TEST(OpenFormatAlreadyExtracted, NeedsMarkerSummaryAndTextPair) {
  TempDir temp;
  const std::string input = fixturePath("small.mzML");
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "small"));
  EXPECT_TRUE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
  std::filesystem::remove(temp.file("small_scans.csv"));
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
  testing::writeFile(temp.file("small_scans.csv"), "x");
  EXPECT_TRUE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
  std::filesystem::remove(temp.file("small.ms2"));
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "small"));
  std::filesystem::remove(temp.file("small.quarry"));
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "small"));
}

TEST(OpenFormatAlreadyExtracted, MarkerRecordsTheInputsIdentity) {
  TempDir temp;
  const std::string input = temp.file("run.mzML");
  std::filesystem::copy_file(fixturePath("small.mzML"), input);
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "run"));
  const std::string marker = testing::readFile(temp.file("run.quarry"));
  EXPECT_EQ(marker.rfind("Extraction complete\r\ninput run.mzML\r\nsize " +
                             std::to_string(std::filesystem::file_size(input)) + "\r\nmodified ",
                         0),
            0u)
      << marker;
  EXPECT_NE(marker.find("\r\nchecksum "), std::string::npos);
  // A marker of the old kind, without a record of its input, is not trusted.
  testing::writeFile(temp.file("run.quarry"), "Extraction complete\r\n");
  std::size_t mark = runLogLines().size();
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "run"));
  std::string log;
  for (std::size_t i = mark; i < runLogLines().size(); ++i) log += runLogLines()[i];
  EXPECT_NE(log.find("run.mzML is not the file that was extracted (size, time or content differ): extracting it "
                     "again."),
            std::string::npos)
      << log;
}

TEST(OpenFormatAlreadyExtracted, ReplacedOrTouchedInputIsExtractedAgain) {
  TempDir temp;
  const std::string input = temp.file("run.mzML");
  std::filesystem::copy_file(fixturePath("small.mzML"), input);
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "run"));
  ASSERT_TRUE(openFormatAlreadyExtracted(input, temp.folder(), "run"));
  // Same size, one byte changed in the middle of the file, time kept.
  const auto time = std::filesystem::last_write_time(input);
  std::string text = testing::readFile(input);
  const std::size_t at = text.find("<cvList");
  ASSERT_NE(at, std::string::npos);
  text[at + 1] = 'C';
  testing::writeFile(input, text);
  std::filesystem::last_write_time(input, time);
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "run"));
  // The content back, another time: extracted again too.
  text[at + 1] = 'c';
  testing::writeFile(input, text);
  std::filesystem::last_write_time(input, time + std::chrono::seconds(5));
  EXPECT_FALSE(openFormatAlreadyExtracted(input, temp.folder(), "run"));
  std::filesystem::last_write_time(input, time);
  EXPECT_TRUE(openFormatAlreadyExtracted(input, temp.folder(), "run"));
}

TEST(IsOpenFormatPath, KnowsTheSixSpellings) {
  for (const char* path :
       {"a.mzML", "a.mzml", "a.MZML", "a.mzXML", "a.mzxml", "a.MZXML", "/d/run.mzML.gz"})
    EXPECT_TRUE(isOpenFormatPath(path)) << path;
  for (const char* path : {"a.raw", "a.MzMl", "mzML", "a.mgf", ""})
    EXPECT_FALSE(isOpenFormatPath(path)) << path;
}

// At the end, or followed by a gzip ending alone.
TEST(IsOpenFormatName, NeedsTheSpellingAtTheEnd) {
  for (const char* name : {"a.mzML", "a.mzml", "a.MZML", "a.mzXML", "a.mzxml", "a.MZXML", "a.mzML.gz", "a.mzXML.GZ"})
    EXPECT_TRUE(isOpenFormatName(name)) << name;
  for (const char* name : {"a.mzML.tmp", "a.MzXml", "a.ms1", "a.mzML.Gz", "a.mzML.gz.tmp", "a.gz"})
    EXPECT_FALSE(isOpenFormatName(name)) << name;
}

}  // namespace
}  // namespace corvid
