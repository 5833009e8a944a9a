#include "scoring/precursor_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

namespace fs = std::filesystem;

using corvid::testing::StdoutCapture;
using corvid::testing::TempDir;
using corvid::testing::writeFile;

PrecursorFeatures featuresWithScore(double base, double score) {
  PrecursorFeatures features;
  for (std::size_t i = 0; i < kDetectedFeatureCount; ++i) features.push_back(base + static_cast<double>(i));
  features.push_back(score);
  return features;
}

TEST(PrecursorTable, HeaderNamesAreUniqueAndTabSeparated) {
  const std::string header = precursorTableHeader();
  ASSERT_EQ(header.back(), '\n');
  EXPECT_EQ(std::count(header.begin(), header.end(), '\t'), 24);
  EXPECT_TRUE(header.starts_with("native_id\tscan\tretention_time_s\t"));
  EXPECT_TRUE(header.ends_with("\trecorded_precursor_kept\n"));
}

TEST(PrecursorTable, KeptRecordsFindTheirOwnFeatures) {
  const std::vector<PrecursorRecord> candidates = {{10, 2, 500.25}, {10, 3, 500.9}, {10, 2, 500.25}, {12, 2, 600.0}};
  const std::vector<PrecursorFeatures> features = {featuresWithScore(0, 0.1), featuresWithScore(100, 0.9),
                                                   featuresWithScore(200, 0.5), featuresWithScore(300, 0.7)};
  // Ranked within scan 10 by score, the identical pair both kept: each takes its own candidate.
  const std::vector<PrecursorRecord> kept = {{10, 3, 500.9}, {10, 2, 500.25}, {10, 2, 500.25}, {12, 2, 600.0}};
  const std::vector<PrecursorFeatures> found = featuresOfKept(candidates, features, kept);
  ASSERT_EQ(found.size(), 4u);
  EXPECT_EQ(found[0][0], 100.0);
  EXPECT_EQ(found[1][0], 0.0);
  EXPECT_EQ(found[2][0], 200.0);
  EXPECT_EQ(found[3][0], 300.0);
}

TEST(PrecursorTable, AKeptRecordWithoutCandidateGetsNoFeatures) {
  const std::vector<PrecursorFeatures> found =
      featuresOfKept({{10, 2, 500.25}}, {featuresWithScore(0, 0.1)}, {{10, 2, 500.26}});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(found[0].empty());
}

TEST(PrecursorTable, FeaturesAtTheKeptPositions) {
  const std::vector<PrecursorFeatures> features = {featuresWithScore(0, 0.1), featuresWithScore(100, 0.9),
                                                   featuresWithScore(200, 0.5)};
  const std::vector<PrecursorFeatures> found = featuresAt(features, {2, 0, 7});
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0][0], 200.0);
  EXPECT_EQ(found[1][0], 0.0);
  EXPECT_TRUE(found[2].empty());  // no such candidate
}

TEST(PrecursorTable, NativeIdsFromTheSummaryIncludingQuotedOnes) {
  TempDir dir;
  writeFile(dir.path() / "s_scans.csv",
            "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount\r\n"
            "1,5,scan=5,1,1.0,0,0,0,3\r\n"
            "2,6,\"a,b \"\"c\"\"\",2,1.5,1,400,2,2\r\n"
            "x,7,broken,2,1,1,1,1,1\r\n");
  const auto ids = readNativeIds(dir.file("s_scans.csv"));
  EXPECT_EQ(ids.size(), 2u);
  EXPECT_EQ(ids.at(1), "scan=5");
  EXPECT_EQ(ids.at(2), "a,b \"c\"");
  EXPECT_TRUE(readNativeIds(dir.file("missing.csv")).empty());
}

MS2Spectrum spectrumAt(std::uint32_t scan, double mz, int charge) {
  MS2Spectrum spectrum;
  spectrum.scanNumber = scan;
  spectrum.charge = charge;
  spectrum.precursorMH = mhFromMz(mz, charge);
  spectrum.retentionTime = 60.5 + scan;
  spectrum.activationCode = 1;
  spectrum.instrumentCode = 1;
  return spectrum;
}

TEST(PrecursorTable, RowsFollowTheMgfBlocks) {
  MS2File file;
  file.spectra = {spectrumAt(3, 500.25, 2), spectrumAt(4, 700.0, 3)};
  GroupExport group;
  group.spectrumPositions = {0, 1};
  // Scan 3: two co-eluting precursors, the recorded one second; scan 4: nothing accepted.
  group.accepted = {{3, 3, 500.9}, {3, 2, 500.251}};
  const std::vector<PrecursorFeatures> features = {featuresWithScore(1, 0.75), featuresWithScore(2, std::nan(""))};
  std::string table;
  StdoutCapture capture;
  appendPrecursorTableRows(group, file, features, {{3, "scan=30"}}, table);
  capture.text();
  const std::string expected =
      "scan=30\t3\t63.500000\tCID\tIT\t500.250000\t2\t1\t500.900000\t3\t0.750000\t1.000000\t2.000000\t3.000000\t"
      "4.000000\t5.000000\t6.000000\t7.000000\t8.000000\t9.000000\t10.000000\t11.000000\t12.000000\t13.000000\t1\n"
      "scan=30\t3\t63.500000\tCID\tIT\t500.250000\t2\t2\t500.251000\t2\t\t2.000000\t3.000000\t4.000000\t"
      "5.000000\t6.000000\t7.000000\t8.000000\t9.000000\t10.000000\t11.000000\t12.000000\t13.000000\t14.000000\t1\n"
      "\t4\t64.500000\tCID\tIT\t700.000000\t3\t0\t700.000000\t3\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t1\n";
  EXPECT_EQ(table, expected);
}

TEST(PrecursorTable, PrecisionModeAddsTheWindowShareColumn) {
  const std::string header = precursorTableHeader(true);
  EXPECT_TRUE(header.ends_with("\tf_shifted_similarity_two\tf_window_share\trecorded_precursor_kept\n")) << header;
  MS2File file;
  file.spectra = {spectrumAt(3, 500.25, 2), spectrumAt(4, 700.0, 3)};
  GroupExport group;
  group.spectrumPositions = {0, 1};
  group.accepted = {{3, 3, 500.9}};
  PrecursorFeatures features = featuresWithScore(1, 0.75);
  features.push_back(0.125);  // the window share, after the score
  std::string table;
  StdoutCapture capture;
  appendPrecursorTableRows(group, file, {features}, {}, table, true);
  capture.text();
  const std::string expected =
      "\t3\t63.500000\tCID\tIT\t500.250000\t2\t1\t500.900000\t3\t0.750000\t1.000000\t2.000000\t3.000000\t"
      "4.000000\t5.000000\t6.000000\t7.000000\t8.000000\t9.000000\t10.000000\t11.000000\t12.000000\t13.000000\t"
      "0.125000\t0\n"
      "\t4\t64.500000\tCID\tIT\t700.000000\t3\t0\t700.000000\t3\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t1\n";
  EXPECT_EQ(table, expected);
  // Every row has as many fields as the header.
  const auto fields = [](std::string_view line) { return std::count(line.begin(), line.end(), '\t'); };
  EXPECT_EQ(fields(table.substr(0, table.find('\n'))), fields(header));
  EXPECT_EQ(fields(table.substr(table.find('\n') + 1)), fields(header));
}

TEST(PrecursorTable, RecordedPrecursorNotAmongTheExported) {
  MS2File file;
  file.spectra = {spectrumAt(3, 500.25, 2)};
  GroupExport group;
  group.spectrumPositions = {0};
  group.accepted = {{3, 2, 500.30}};  // 100 ppm away
  std::string table;
  StdoutCapture capture;
  appendPrecursorTableRows(group, file, {featuresWithScore(0, 0.5)}, {}, table);
  capture.text();
  ASSERT_FALSE(table.empty());
  EXPECT_TRUE(table.ends_with("\t0\n")) << table;
}

TEST(PrecursorTable, WrittenAsLineFeedBytes) {
  TempDir dir;
  ASSERT_TRUE(writePrecursorTable(dir.file("t.tsv"), "a\tb\n1\t2\n"));
  EXPECT_EQ(corvid::testing::readFile(dir.path() / "t.tsv"), "a\tb\n1\t2\n");
}

TEST(PrecursorTable, PartsJoinWithOneHeader) {
  TempDir dir;
  const std::string stem = dir.folder() + "run";
  writeFile(stem + "_ID_0.precursors.tsv", "h\n1\n");
  writeFile(stem + "_ID_1.precursors.tsv", "h\n2\n3\n");
  joinPrecursorTableParts(stem);
  EXPECT_EQ(corvid::testing::readFile(stem + ".precursors.tsv"), "h\n1\n2\n3\n");
  EXPECT_FALSE(fs::exists(stem + "_ID_0.precursors.tsv"));
}

// FAIMS runs: the compensation voltage is the last column, only when a scan of the file names one.
TEST(PrecursorTable, VoltageColumnOnlyForFilesWithVoltages) {
  EXPECT_EQ(precursorTableHeader().find("compensation_voltage"), std::string::npos);
  const std::string header = precursorTableHeader(false, true);
  EXPECT_TRUE(header.ends_with("\trecorded_precursor_kept\tcompensation_voltage\n")) << header;
  MS2File file;
  file.spectra = {spectrumAt(3, 500.25, 2), spectrumAt(4, 700.0, 3)};
  GroupExport group;
  group.spectrumPositions = {0, 1};
  group.accepted = {{3, 2, 500.25}};
  std::string plain;
  StdoutCapture capture;
  appendPrecursorTableRows(group, file, {featuresWithScore(0, 0.5)}, {}, plain);
  EXPECT_FALSE(anyCompensationVoltage(file));
  EXPECT_TRUE(plain.ends_with("\t1\n")) << plain;
  file.spectra[0].compensationVoltage = -45.0;
  file.spectra[1].compensationVoltage = -65.5;
  EXPECT_TRUE(anyCompensationVoltage(file));
  std::string faims;
  appendPrecursorTableRows(group, file, {featuresWithScore(0, 0.5)}, {}, faims);
  capture.text();
  const auto fields = [](std::string_view line) { return std::count(line.begin(), line.end(), '\t'); };
  const std::string first = faims.substr(0, faims.find('\n'));
  const std::string second = faims.substr(faims.find('\n') + 1);
  EXPECT_TRUE(first.ends_with("\t1\t-45.000000")) << first;
  EXPECT_TRUE(second.ends_with("\t1\t-65.500000\n")) << second;
  EXPECT_EQ(fields(first), fields(header));
  EXPECT_EQ(faims.size(), plain.size() + std::string("\t-45.000000\t-65.500000").size());
}

}  // namespace
}  // namespace corvid
