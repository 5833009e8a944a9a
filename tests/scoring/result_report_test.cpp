#include "scoring/result_report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "platform/run_log.h"
#include "platform/text_file.h"
#include "tests/support/failure_text.h"
#include "tests/support/reference_list_support.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

MS2Spectrum scanOf(std::uint32_t scan, double mh, std::int32_t charge) {
  MS2Spectrum spectrum;
  spectrum.scanNumber = scan;
  spectrum.precursorMH = mh;
  spectrum.charge = charge;
  return spectrum;
}

// Scans 100, 101, 102 with [M+H]+ 1000, 1200.5 and 1500.25.
MS2File threeScans() {
  MS2File file;
  file.spectra = {scanOf(100, 1000.0, 2), scanOf(101, 1200.5, 2), scanOf(102, 1500.25, 3)};
  file.spectrumCount = 3;
  return file;
}

const std::vector<std::size_t> kAllPositions{0, 1, 2};

using corvid::testing::referenceOf;

using corvid::testing::TempDir;

TEST(ReportHeader, IsTheExactHeaderLine) {
  EXPECT_STREQ(reportHeader(),
               "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, "
               "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, "
               "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, "
               "PrecursorIdentifier, MZ, Charge\n");
}

TEST(StartReportText, ReservesAndWritesHeader) {
  std::string text;
  startReportText(text);
  EXPECT_EQ(text, reportHeader());
  EXPECT_GE(text.capacity(), 16777216u);
}

TEST(WriteReportRows, ScanWithoutKeptPrecursorGetsItsRecordedOne) {
  std::string text;
  const std::size_t stalled = writeReportRows(threeScans(), {0}, {}, 0, nullptr, nullptr, text);
  EXPECT_EQ(text, "CID, IT, 100, 500.503638, 2, 1, 1, 500.503638, 2, \n");
  EXPECT_EQ(stalled, 0u);
}

TEST(WriteReportRows, TwoPrecursorsComeInKeptOrder) {
  std::string text;
  const std::vector<PrecursorRecord> kept{{101, 3, 400.5}, {101, 2, 600.123456789}};
  writeReportRows(threeScans(), {1}, kept, 0, nullptr, nullptr, text);
  EXPECT_EQ(text, "CID, IT, 101, 600.753638, 2, 2, 1, 400.500000, 3, 2, 600.123457, 2, \n");
}

TEST(WriteReportRows, AllThreeCasesAndTypeNames) {
  std::string text;
  // Scan 100 has nothing kept, 101 two precursors, 102 one; group 4 is ETD on FT.
  const std::vector<PrecursorRecord> kept{{101, 2, 600.75}, {101, 4, 300.5}, {102, 3, 500.75}};
  const std::size_t stalled = writeReportRows(threeScans(), kAllPositions, kept, 4, nullptr, nullptr, text);
  EXPECT_EQ(text,
            "ETD, FT, 100, 500.503638, 2, 1, 1, 500.503638, 2, \n"
            "ETD, FT, 101, 600.753638, 2, 2, 1, 600.750000, 2, 2, 300.500000, 4, \n"
            "ETD, FT, 102, 500.754851, 3, 1, 1, 500.750000, 3, \n");
  EXPECT_EQ(stalled, 0u);
}

TEST(WriteReportRows, WithoutTheRecordedStandInAScanWithoutKeptPrecursorListsNone) {
  std::string text;
  const std::vector<PrecursorRecord> kept{{101, 2, 600.75}};
  auto reference = referenceOf({{100, 500.503638, 2, 0.0}});
  const std::size_t stalled =
      writeReportRows(threeScans(), kAllPositions, kept, 0, nullptr, &reference, text, false);
  // Not a stalled cursor: scan 101 still gets its precursor.
  EXPECT_EQ(text,
            "CID, IT, 100, 500.503638, 2, 0, \n"
            "CID, IT, 101, 600.753638, 2, 1, 1, 600.750000, 2, \n"
            "CID, IT, 102, 500.754851, 3, 0, \n");
  EXPECT_EQ(stalled, 0u);
  // The recorded precursor was not written, so it matches no reference entry.
  EXPECT_EQ(countFound(reference), 0);
}

TEST(WriteReportRows, TypeNamesForEveryGroup) {
  const char* expected[] = {"CID, IT, ", "ETD, IT, ", "HCD, IT, ", "CID, FT, ", "ETD, FT, ", "HCD, FT, "};
  for (int k = 0; k < 6; ++k) {
    std::string text;
    writeReportRows(threeScans(), {0}, {}, k, nullptr, nullptr, text);
    EXPECT_EQ(text.rfind(expected[k], 0), 0u) << text;
  }
  std::string text;
  EXPECT_TRUE(corvid::testing::failsAsOutOfBounds([&] { writeReportRows(threeScans(), {0}, {}, 6, nullptr, nullptr, text); }));
}

TEST(WriteReportRows, EarlierScanUnderCursorWritesZeroAndStalls) {
  std::string text;
  // A kept record of scan 99, which is not in the group's list, stops the cursor for good.
  const std::vector<PrecursorRecord> kept{{99, 2, 450.0}, {101, 2, 600.75}};
  const std::size_t stalled = writeReportRows(threeScans(), kAllPositions, kept, 0, nullptr, nullptr, text);
  EXPECT_EQ(text,
            "CID, IT, 100, 500.503638, 2, 0, \n"
            "CID, IT, 101, 600.753638, 2, 0, \n"
            "CID, IT, 102, 500.754851, 3, 0, \n");
  EXPECT_EQ(stalled, 3u);
}

TEST(WriteReportRows, PositionBeyondTheScanListThrowsOutOfRange) {
  std::string text;
  // The spectrum lookup is the standard library's checked at(): the entry maps it the same way.
  EXPECT_THROW(writeReportRows(threeScans(), {0, 3}, {}, 0, nullptr, nullptr, text), std::out_of_range);
}

TEST(WriteReportRows, CursorStartsAtZeroForEachCall) {
  const std::vector<PrecursorRecord> kept{{100, 2, 500.5}};
  std::string first;
  std::string second;
  writeReportRows(threeScans(), {0}, kept, 0, nullptr, nullptr, first);
  writeReportRows(threeScans(), {0}, kept, 0, nullptr, nullptr, second);
  EXPECT_EQ(first, second);
  EXPECT_EQ(first, "CID, IT, 100, 500.503638, 2, 1, 1, 500.500000, 2, \n");
}

TEST(WriteReportRows, AppendsToExistingText) {
  std::string text = "head\n";
  writeReportRows(threeScans(), {0}, {}, 0, nullptr, nullptr, text);
  EXPECT_EQ(text, "head\nCID, IT, 100, 500.503638, 2, 1, 1, 500.503638, 2, \n");
}

TEST(WriteReportRows, DebugScanListLimitsRows) {
  std::string text;
  const std::vector<std::uint32_t> debugScans{102, 100};
  const std::vector<PrecursorRecord> kept{{101, 2, 600.75}, {102, 3, 500.75}};
  writeReportRows(threeScans(), kAllPositions, kept, 0, &debugScans, nullptr, text);
  // Scan 101 gets no row; its kept record still sits under the cursor, so scan 102 sees an
  // earlier scan and is written with count 0.
  EXPECT_EQ(text,
            "CID, IT, 100, 500.503638, 2, 1, 1, 500.503638, 2, \n"
            "CID, IT, 102, 500.754851, 3, 0, \n");
}

TEST(WriteReportRows, MarksFirstMatchingReferenceEntry) {
  ReferencePrecursorList reference = referenceOf({
      {101, 600.75, 2, 1.0},   // matches the first kept precursor
      {101, 600.75, 2, 2.0},   // duplicate: stays unmatched
      {101, 300.5, 3, 3.0},    // right m/z, wrong charge
      {102, 500.75, 3, 4.0},   // wrong scan for the group below
      {100, 500.5036, 2, 5.0}, // the recorded precursor of scan 100, within 1 ppm
  });
  reference.found[3] = 1;  // stale flag from an earlier use: reset first
  std::string text;
  const std::vector<PrecursorRecord> kept{{101, 2, 600.75}, {101, 4, 300.5}};
  writeReportRows(threeScans(), {0, 1}, kept, 0, nullptr, &reference, text);
  EXPECT_EQ(reference.found, (std::vector<std::int32_t>{1, 0, 0, 0, 1}));
  EXPECT_EQ(reference.pending, (std::vector<std::int32_t>{0, 1, 1, 1, 0}));
  EXPECT_EQ(reference.training, (std::vector<std::int32_t>{1, 1, 1, 1, 1}));
  EXPECT_EQ(countFound(reference), 2);
}

TEST(MarkReferenceMatch, TwentyPpmIsStrictOnBothSides) {
  // 50000 * 2e-5 is exactly 1.0, so a difference of exactly 1.0 is exactly 20 ppm.
  ASSERT_EQ(50000.0 * 2e-5, 1.0);
  ReferencePrecursorList reference = referenceOf({{7, 50000.0, 2, 0.0}});
  EXPECT_FALSE(markReferenceMatch(7, 2, 50001.0, reference));
  EXPECT_FALSE(markReferenceMatch(7, 2, 49999.0, reference));
  EXPECT_EQ(reference.found[0], 0);
  EXPECT_TRUE(markReferenceMatch(7, 2, 50000.999, reference));
  EXPECT_TRUE(markReferenceMatch(7, 2, 49999.001, reference));
  EXPECT_FALSE(markReferenceMatch(8, 2, 50000.0, reference));
  EXPECT_FALSE(markReferenceMatch(7, 3, 50000.0, reference));
  EXPECT_EQ(reference.found[0], 1);
  EXPECT_EQ(reference.pending[0], 0);
}

TEST(MarkReferenceMatch, RealisticMassJustInsideAndOutside) {
  ReferencePrecursorList reference = referenceOf({{7, 500.0, 2, 0.0}});
  EXPECT_TRUE(markReferenceMatch(7, 2, 500.0 * (1 + 19.9e-6), reference));
  EXPECT_FALSE(markReferenceMatch(7, 2, 500.0 * (1 + 20.1e-6), reference));
  EXPECT_FALSE(markReferenceMatch(7, 2, 500.0 * (1 - 20.1e-6), reference));
}

TEST(ResetFound, ClearsOnlyFoundFlags) {
  ReferencePrecursorList reference = referenceOf({{1, 100.0, 2, 0.0}, {2, 200.0, 2, 0.0}});
  reference.found = {1, 1};
  reference.pending = {0, 1};
  resetFound(reference);
  EXPECT_EQ(reference.found, (std::vector<std::int32_t>{0, 0}));
  EXPECT_EQ(reference.pending, (std::vector<std::int32_t>{0, 1}));
  EXPECT_EQ(countFound(reference), 0);
}

TEST(WriteUncheckedList, WritesUnfoundEntriesWithCrLf) {
  TempDir folder;
  ReferencePrecursorList reference =
      referenceOf({{100, 500.123456, 2, 1500.0}, {101, 600.5, 3, 0.000123}, {102, 700.25, 4, -2.5}});
  reference.found = {0, 1, 0};
  const std::string path = (folder.path() / "run_unchecked.csv").string();
  writeUncheckedList(reference, path);
  EXPECT_EQ(readWholeFile(path).value(),
            "100, 500.12346, 2, 1.500000e+03\r\n"
            "102, 700.25000, 4, -2.500000e+00\r\n");
  // Written from empty every time.
  reference.found = {1, 1, 1};
  writeUncheckedList(reference, path);
  EXPECT_EQ(readWholeFile(path).value(), "");
}

TEST(WriteUncheckedList, UnwritablePathIsLoggedAsError) {
  TempDir folder;
  const ReferencePrecursorList reference = referenceOf({{100, 500.0, 2, 1.0}});
  const std::string path = (folder.path() / "missing" / "x_unchecked.csv").string();
  ::testing::internal::CaptureStdout();
  writeUncheckedList(reference, path);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed, "[Corvid] Can not write the unchecked precursor list " + path + " \n");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(WriteReportRows, HugeRecordedMassStillFormats) {
  MS2File file;
  file.spectra = {scanOf(5, 1e200, 1)};
  std::string text;
  writeReportRows(file, {0}, {}, 0, nullptr, nullptr, text);
  // 1e200 in "%lf" is 201 digits and 6 decimals: beyond any fixed row buffer.
  char mz[400];
  std::snprintf(mz, sizeof mz, "%lf", 1e200);
  ASSERT_GT(std::string(mz).size(), 200u);
  EXPECT_EQ(text, std::string("CID, IT, 5, ") + mz + ", 1, 1, 1, " + mz + ", 1, \n");
}

}  // namespace
}  // namespace corvid
