// Damaged inputs: the fixtures with bytes overwritten at fixed pseudo-random places. Every
// extraction must end (no crash, no hang), and a failed one must leave no completion marker.
#include <gtest/gtest.h>

#include "tests/spectra/spectra_test_support.h"
#include "spectra/open_format_extractor.h"

namespace corvid {
namespace {

using namespace testing;

void runMutations(const std::string& fixture, const std::string& name) {
  std::string original = readFile(fixturePath(fixture));
  ASSERT_FALSE(original.empty());
  TempDir temp;
  std::string stem = name.substr(0, name.rfind('.'));
  std::uint32_t state = 2024;
  int failures = 0;
  std::string lastMs2;
  bool extractedBefore = false;
  for (int round = 0; round < 300; ++round) {
    std::string damaged = original;
    int flips = 1 + round % 4;
    for (int k = 0; k < flips; ++k) {
      state = state * 1664525U + 1013904223U;  // fixed sequence: the same damage every run
      std::size_t at = state % damaged.size();
      state = state * 1664525U + 1013904223U;
      damaged[at] = static_cast<char>(state >> 24);
    }
    writeFile(temp.file(name), damaged);
    bool ok = extractOpenFormat(temp.file(name), temp.folder(), stem);
    if (!ok) {
      ++failures;
      // No marker, and the text under the final name is still the last complete extraction's.
      ASSERT_FALSE(exists(temp.file(stem + ".quarry"))) << round;
      ASSERT_EQ(exists(temp.file(stem + ".ms2")), extractedBefore) << round;
      if (extractedBefore) {
        ASSERT_TRUE(readFile(temp.file(stem + ".ms2")) == lastMs2) << round;
      }
    } else {
      ASSERT_TRUE(exists(temp.file(stem + ".quarry"))) << round;
      lastMs2 = readFile(temp.file(stem + ".ms2"));
      extractedBefore = true;
    }
  }
  EXPECT_GT(failures, 0);  // the damage does reach the parser
}

TEST(ExtractOpenFormatDamagedInput, MzMLNeverCrashes) {
  runMutations("small.mzML", "damaged.mzML");
}

TEST(ExtractOpenFormatDamagedInput, MzXMLNeverCrashes) {
  runMutations("nested.mzXML", "damaged.mzXML");
}

TEST(ExtractOpenFormatDamagedInput, TruncatedMzXMLIsReported) {
  std::string text = readFile(fixturePath("nested.mzXML"));
  TempDir temp;
  writeFile(temp.file("cut.mzXML"), text.substr(0, text.size() - 40));
  std::size_t mark = runLogLines().size();
  EXPECT_FALSE(extractOpenFormat(temp.file("cut.mzXML"), temp.folder(), "cut"));
  EXPECT_NE(testing::logSince(mark).find("malformed or truncated XML"), std::string::npos);
  EXPECT_FALSE(exists(temp.file("cut.quarry")));
}

TEST(ExtractOpenFormat, UnknownAnalyzerIsWrittenAsITMSWithAnAlert) {
  TempDir temp;
  writeFile(
      temp.file("plain.mzML"),
      "<mzML><run><spectrumList><spectrum id=\"scan=4\" defaultArrayLength=\"0\">"
      "<cvParam accession=\"MS:1000511\" value=\"1\"/></spectrum></spectrumList></run></mzML>");
  std::size_t mark = runLogLines().size();
  ASSERT_TRUE(extractOpenFormat(temp.file("plain.mzML"), temp.folder(), "plain"));
  EXPECT_NE(testing::logSince(mark).find(
                "plain.mzML: 1 spectra name no known mass analyzer; they were written as ITMS"),
            std::string::npos);
  EXPECT_EQ(readFile(temp.file("plain.ms1")),
            "S\t000004\t000004\r\nI\tRetTime\t0.000000\r\nI\tInstrumentType\tITMS\r\n");
  EXPECT_EQ(readFile(temp.file("plain.ms2")), "");
}

}  // namespace
}  // namespace corvid
