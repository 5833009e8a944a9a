// The extractor writes every usable peak of a spectrum, in m/z order: peaks out of order are
// sorted (stably), peaks with a NaN, infinite or negative value are left out, each repair counted
// in one Alert per file; a file without MS1 spectra fails with nothing written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "spectra/open_format_extractor.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

std::string repairFixture(const std::string& name) {
  return std::string(CORVID_TEST_DATA_DIR) + "/mzml_repair/" + name;
}

std::size_t filesIn(const std::filesystem::path& folder) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    files += entry.is_regular_file() ? 1 : 0;
  return files;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

// Extracts a fixture as `stem`, compares .ms1, .ms2 and the summary with expected/<stem>.* byte
// for byte, and returns the log text of the extraction.
std::string extractLikeExpected(const std::string& fixture, const std::string& stem) {
  TempDir temp;
  std::size_t mark = logMark();
  EXPECT_TRUE(extractOpenFormat(repairFixture(fixture), temp.folder(), stem));
  for (const char* suffix : {".ms1", ".ms2", "_scans.csv"}) {
    std::string expected = readFile(repairFixture("expected/" + stem + suffix));
    EXPECT_FALSE(expected.empty()) << stem << suffix;
    EXPECT_EQ(readFile(temp.file(stem + suffix)), expected) << stem << suffix;
  }
  EXPECT_TRUE(exists(temp.file(stem + ".quarry")));
  EXPECT_EQ(filesIn(temp.path()), 4U);
  return logSince(mark);
}

// Peak lines of one scan of MS1/MS2 text: the lines after "S" that start with a digit.
std::vector<std::string> peakLinesOf(const std::string& text, const std::string& scanLine) {
  std::vector<std::string> lines;
  std::size_t at = text.find(scanLine);
  if (at == std::string::npos) return lines;
  at = text.find("\r\n", at) + 2;
  while (at < text.size() && text[at] != 'S') {
    std::size_t end = text.find("\r\n", at);
    std::string line = text.substr(at, end - at);
    if (!line.empty() && line[0] >= '0' && line[0] <= '9') lines.push_back(line);
    at = end + 2;
  }
  return lines;
}

// Two spectra out of order, one in order: sorted by m/z, the two peaks at 400.5 in file order
// (intensity 1 before 4), a zero intensity kept, one Alert with the count.
TEST(ExtractorPeakRepair, UnsortedMzMLPeaksAreWrittenInMzOrder) {
  std::string log = extractLikeExpected("unsorted.mzML", "unsorted");
  std::string alert =
      "unsorted.mzML: the peaks of 2 spectra were not in m/z order; they were sorted by m/z";
  EXPECT_EQ(occurrences(log, alert), 1U) << log;
  EXPECT_EQ(occurrences(log, "sorted by m/z"), 1U) << log;
  EXPECT_EQ(log.find("left out"), std::string::npos) << log;
}

TEST(ExtractorPeakRepair, UnsortedMzXMLPeaksAreWrittenInMzOrder) {
  std::string log = extractLikeExpected("unsorted.mzXML", "unsorted_mzxml");
  EXPECT_EQ(occurrences(log, "unsorted.mzXML: the peaks of 2 spectra were not in m/z order; "
                             "they were sorted by m/z"),
            1U)
      << log;
}

TEST(ExtractorPeakRepair, EqualMzKeepTheirFileOrder) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(repairFixture("unsorted.mzML"), temp.folder(), "unsorted"));
  std::vector<std::string> peaks =
      peakLinesOf(readFile(temp.file("unsorted.ms1")), "S\t000001\t000001\r\n");
  EXPECT_EQ(peaks, (std::vector<std::string>{"400.500000 1.0000", "400.500000 4.0000",
                                             "450.125000 2.0000", "500.250000 3.0000"}));
}

// NaN m/z, infinite intensity, negative intensity, negative m/z, a peak negative in both, a
// spectrum whose only peak is NaN: six peaks in five spectra left out, zero intensities kept,
// the summary's peak counts those written; the rest of the file is intact.
TEST(ExtractorPeakRepair, BadMzMLPeaksAreLeftOutAndCounted) {
  std::string log = extractLikeExpected("bad_peaks.mzML", "bad_peaks");
  std::string alert =
      "bad_peaks.mzML: 6 peaks in 5 spectra had a non-finite or negative m/z or intensity and "
      "were left out";
  EXPECT_EQ(occurrences(log, alert), 1U) << log;
  EXPECT_EQ(occurrences(log, "left out"), 1U) << log;
  EXPECT_EQ(occurrences(log, "bad_peaks.mzML: the peaks of 1 spectra were not in m/z order"), 1U)
      << log;
  EXPECT_EQ(log.find("Cannot extract"), std::string::npos) << log;
}

TEST(ExtractorPeakRepair, BadMzXMLPeaksAreLeftOutAndCounted) {
  std::string log = extractLikeExpected("bad_peaks.mzXML", "bad_peaks_mzxml");
  EXPECT_EQ(occurrences(log, "bad_peaks.mzXML: 6 peaks in 5 spectra had a non-finite or negative "
                             "m/z or intensity and were left out"),
            1U)
      << log;
}

// The summary's PeakCount column (the last) equals the peak lines written for each scan.
TEST(ExtractorPeakRepair, SummaryPeakCountsMatchThePeaksWritten) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(repairFixture("bad_peaks.mzML"), temp.folder(), "bad"));
  std::string ms1 = readFile(temp.file("bad.ms1"));
  std::string ms2 = readFile(temp.file("bad.ms2"));
  std::string summary = readFile(temp.file("bad_scans.csv"));
  std::size_t rows = 0;
  for (std::size_t at = summary.find("\r\n") + 2; at < summary.size();
       at = summary.find("\r\n", at) + 2) {
    std::string row = summary.substr(at, summary.find("\r\n", at) - at);
    int scan = std::stoi(row);
    std::size_t peakCount = std::stoul(row.substr(row.rfind(',') + 1));
    char scanLine[32];
    std::snprintf(scanLine, sizeof scanLine, "S\t%06d\t%06d", scan, scan);
    std::size_t written = peakLinesOf(ms1, scanLine).size() + peakLinesOf(ms2, scanLine).size();
    EXPECT_EQ(peakCount, written) << row;
    ++rows;
  }
  EXPECT_EQ(rows, 6U);
}

// Well-formed files give neither repair Alert.
TEST(ExtractorPeakRepair, SortedFiniteFilesGiveNoRepairAlert) {
  TempDir temp;
  std::size_t mark = logMark();
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  std::string log = logSince(mark);
  EXPECT_EQ(log.find("sorted by m/z"), std::string::npos) << log;
  EXPECT_EQ(log.find("left out"), std::string::npos) << log;
}

// No MS1 spectra: the exact Error and nothing written, working files included.
void expectNoMS1Failure(const std::string& fixture) {
  TempDir temp;
  std::string input = temp.file(fixture);
  std::filesystem::copy_file(repairFixture(fixture), input);
  std::string stem = fixture.substr(0, fixture.rfind('.'));
  std::size_t mark = logMark();
  EXPECT_FALSE(extractOpenFormat(input, temp.folder(), stem));
  std::vector<std::string> messages = logMessagesSince(mark);
  std::string error = "No MS1 spectra in " + input + ": nothing to detect precursors from.";
  EXPECT_EQ(std::count(messages.begin(), messages.end(), error), 1) << logSince(mark);
  EXPECT_EQ(logSince(mark).find("Cannot extract"), std::string::npos);
  EXPECT_EQ(filesIn(temp.path()), 1U);  // the input alone
}

TEST(ExtractorPeakRepair, MzMLWithoutMS1SpectraFailsWithNothingWritten) {
  expectNoMS1Failure("ms2_only.mzML");
}

TEST(ExtractorPeakRepair, MzXMLWithoutMS1SpectraFailsWithNothingWritten) {
  expectNoMS1Failure("ms2_only.mzXML");
}

}  // namespace
}  // namespace corvid
