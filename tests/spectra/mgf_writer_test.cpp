#include "spectra/mgf_writer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "spectra/mgf_reader.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using namespace testing;

ParameterTable mgfOn() { return ParameterTable{{"output_mgf", "1"}}; }

MS2File twoPeakFile(std::vector<std::uint32_t> scans) {
  MS2File file;
  for (std::uint32_t scan : scans) {
    MS2Spectrum spectrum = makeSpectrum(scan, 2, 999.492724, {{100.5, 20.0}, {200.25, 3.5}});
    spectrum.retentionTime = 12.5;
    file.spectra.push_back(spectrum);
  }
  file.spectrumCount = static_cast<std::int32_t>(file.spectra.size());
  return file;
}

std::string writeAndRead(GroupExport& group, const MS2File& file, const ParameterTable& table,
                         const TempDir& folder) {
  std::string path = folder.file("out.mgf");
  ::testing::internal::CaptureStdout();
  bool written = writeMGF(group, file, table, path);
  ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(written);
  return readFile(path);
}

TEST(WriteMGF, AcceptedPrecursorGivesExactBlockWithCrLf) {
  TempDir folder;
  MS2File file = twoPeakFile({100});
  GroupExport group = wholeFileGroup(file, {{100.0, 3.0, 333.5}});
  EXPECT_EQ(writeAndRead(group, file, mgfOn(), folder),
            "BEGIN IONS\r\n"
            "TITLE=run1.100.100.3.0.dta\r\n"
            "CHARGE=3+\r\n"
            "RTINSECONDS=12.5000000\r\n"
            "PEPMASS=333.500000\r\n"
            "100.500000 20.0\r\n"
            "200.250000 3.5\r\n"
            "END IONS\r\n");
  EXPECT_EQ(group.writtenCount, 1);
}

TEST(WriteMGF, ScanWithoutAcceptedPrecursorUsesRecordedPrecursor) {
  TempDir folder;
  MS2File file = twoPeakFile({100});
  GroupExport group = wholeFileGroup(file, {});
  EXPECT_EQ(writeAndRead(group, file, mgfOn(), folder),
            "BEGIN IONS\r\n"
            "TITLE=run1.100.100.2.0.dta\r\n"
            "CHARGE=2+\r\n"
            "RTINSECONDS=12.5000000\r\n"
            "PEPMASS=500.250000\r\n"
            "100.500000 20.0\r\n"
            "200.250000 3.5\r\n"
            "END IONS\r\n");
  EXPECT_EQ(group.writtenCount, 1);
}

TEST(WriteMGF, ThreeAcceptedPrecursorsGiveThreeBlocksIndexedZeroToTwo) {
  TempDir folder;
  MS2File file = twoPeakFile({99, 100, 101});
  GroupExport group =
      wholeFileGroup(file, {{100.0, 2.0, 500.1}, {100.0, 3.0, 400.2}, {100.0, 4.0, 300.3}});
  std::string text = writeAndRead(group, file, mgfOn(), folder);
  EXPECT_NE(text.find("TITLE=run1.99.99.2.0.dta\r\n"), std::string::npos);
  std::size_t first = text.find("TITLE=run1.100.100.2.0.dta\r\nCHARGE=2+\r\n");
  std::size_t second = text.find("TITLE=run1.100.100.3.1.dta\r\nCHARGE=3+\r\n");
  std::size_t third = text.find("TITLE=run1.100.100.4.2.dta\r\nCHARGE=4+\r\n");
  ASSERT_NE(first, std::string::npos);
  ASSERT_NE(second, std::string::npos);
  ASSERT_NE(third, std::string::npos);
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_NE(text.find("PEPMASS=400.200000\r\n"), std::string::npos);
  EXPECT_NE(text.find("TITLE=run1.101.101.2.0.dta\r\n"), std::string::npos);
  EXPECT_EQ(group.writtenCount, 5);
}

TEST(WriteMGF, OutputSwitchOffLeavesEmptyFile) {
  TempDir folder;
  MS2File file = twoPeakFile({100, 101});
  GroupExport group = wholeFileGroup(file, {{100.0, 3.0, 333.5}});
  ParameterTable table{{"output_mgf", "0"}};
  std::string path = folder.file("off.mgf");
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(writeMGF(group, file, table, path));
  ::testing::internal::GetCapturedStdout();
  ASSERT_TRUE(std::filesystem::exists(path));
  EXPECT_EQ(std::filesystem::file_size(path), 0u);
  EXPECT_EQ(group.writtenCount, 2);  // the exported precursors are still counted
  // The switch is read without being inserted into the caller's table.
  EXPECT_EQ(table.size(), 1u);
}

TEST(WriteMGF, MissingSwitchCountsAsOff) {
  TempDir folder;
  MS2File file = twoPeakFile({100});
  GroupExport group = wholeFileGroup(file, {});
  EXPECT_EQ(writeAndRead(group, file, ParameterTable{}, folder), "");
}

TEST(WriteMGF, EmptyGroupGivesEmptyFileAndNoProgress) {
  TempDir folder;
  MS2File file;
  GroupExport group;
  group.writtenCount = 7;
  std::string path = folder.file("empty.mgf");
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(writeMGF(group, file, mgfOn(), path));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(readFile(path), "");
  EXPECT_EQ(group.writtenCount, 0);
}

TEST(WriteMGF, SmallerScanUnderCursorWritesNothingAndAlertsOnce) {
  TempDir folder;
  MS2File file = twoPeakFile({100, 200, 300});
  // Scan 150 has no spectrum: once the cursor reaches it, 200 and 300 find it behind them.
  GroupExport group = wholeFileGroup(file, {{150.0, 2.0, 410.0}});
  std::size_t mark = logMark();
  std::string text = writeAndRead(group, file, mgfOn(), folder);
  EXPECT_NE(text.find("TITLE=run1.100.100.2.0.dta"), std::string::npos);
  EXPECT_EQ(text.find("TITLE=run1.200."), std::string::npos);
  EXPECT_EQ(text.find("TITLE=run1.300."), std::string::npos);
  EXPECT_EQ(group.writtenCount, 1);
  std::vector<std::string> messages = logMessagesSince(mark);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0],
            "2 spectra not written in " + folder.file("out.mgf") +
                ": the accepted precursor of scan 150 has no spectrum at its place in the group "
                "(first spectrum affected: scan 200)");
}

TEST(WriteMGF, ProgressEveryFortyOneSpectraAndAtTheLast) {
  TempDir folder;
  std::vector<std::uint32_t> scans;
  for (std::uint32_t scan = 1; scan <= 42; ++scan) scans.push_back(scan);
  MS2File file = twoPeakFile(scans);
  GroupExport group = wholeFileGroup(file, {});
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(writeMGF(group, file, mgfOn(), folder.file("p.mgf")));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "\r[Corvid] <Writing MGF>: 0%\r[Corvid] <Writing MGF>: 98%");
  MS2File three = twoPeakFile({1, 2, 3});
  GroupExport small = wholeFileGroup(three, {});
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(writeMGF(small, three, mgfOn(), folder.file("q.mgf")));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "\r[Corvid] <Writing MGF>: 0%\r[Corvid] <Writing MGF>: 67%");
}

TEST(WriteMGF, UncreatableFileLogsErrorAndReturnsFalse) {
  TempDir folder;
  MS2File file = twoPeakFile({100});
  GroupExport group = wholeFileGroup(file, {});
  std::string path = folder.file("no_such_folder/out.mgf");
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(writeMGF(group, file, mgfOn(), path));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[Corvid] Fail to create MGF file " + path + ": No such file or directory \n");
  EXPECT_EQ(logMessagesSince(mark),
            std::vector<std::string>{"Fail to create MGF file " + path + ": No such file or directory"});
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(WriteMGF, FullDiskLogsWriteErrorAndReturnsFalse) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
  MS2File file = twoPeakFile({100});
  GroupExport group = wholeFileGroup(file, {});
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(writeMGF(group, file, mgfOn(), "/dev/full"));
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(logMessagesSince(mark),
            std::vector<std::string>{"Fail to write MGF file /dev/full: No space left on device"});
  // A device is written in place, never replaced by a file renamed over it.
  EXPECT_FALSE(std::filesystem::is_regular_file("/dev/full"));
}

TEST(WriteMGF, EmptyPathWritesTheFallbackFile) {
  TempDir folder;
  MS2File file = twoPeakFile({100});
  GroupExport group = wholeFileGroup(file, {});
  ::testing::internal::CaptureStdout();
  bool written = runInFolder(folder.path(), [&] { return writeMGF(group, file, mgfOn(), ""); });
  ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(written);
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "F:\\test.mgf"));
}

TEST(WriteMGF, OnlyTheGroupPositionsAreWritten) {
  TempDir folder;
  MS2File file = twoPeakFile({10, 11, 12});
  GroupExport group;
  group.rawName = "g";
  group.spectrumPositions = {0, 2};
  std::string text = writeAndRead(group, file, mgfOn(), folder);
  EXPECT_NE(text.find("TITLE=g.10.10.2.0.dta"), std::string::npos);
  EXPECT_EQ(text.find("TITLE=g.11."), std::string::npos);
  EXPECT_NE(text.find("TITLE=g.12.12.2.0.dta"), std::string::npos);
}

TEST(WriteMGF, RoundTripThroughReadMGF) {
  TempDir folder;
  MS2File file = twoPeakFile({7, 8, 9});
  GroupExport group = wholeFileGroup(file, {{8.0, 3.0, 612.345678}, {8.0, 2.0, 918.0}});
  std::string path = folder.file("trip.mgf");
  ::testing::internal::CaptureStdout();
  ASSERT_TRUE(writeMGF(group, file, mgfOn(), path));
  MGFFile read;
  read.path = path;
  readMGF(read);
  ::testing::internal::GetCapturedStdout();
  ASSERT_EQ(read.spectra.size(), 4u);
  EXPECT_EQ(read.rawName, "run1");
  EXPECT_EQ(read.distinctScanCount, 3);
  const std::uint32_t scans[] = {7, 8, 8, 9};
  const std::int32_t charges[] = {2, 3, 2, 2};
  const std::int32_t indices[] = {0, 0, 1, 0};
  const double mzs[] = {500.25, 612.345678, 918.0, 500.25};
  for (std::size_t i = 0; i < 4; ++i) {
    const MS2Spectrum& spectrum = read.spectra[i];
    EXPECT_EQ(spectrum.scanNumber, scans[i]);
    EXPECT_EQ(spectrum.charge, charges[i]);
    EXPECT_EQ(spectrum.precursorIndex, indices[i]);
    EXPECT_EQ(spectrum.sourceName, "run1");
    EXPECT_NEAR(mzFromMH(spectrum.precursorMH, spectrum.charge), mzs[i], 1e-6) << i;
    EXPECT_EQ(spectrum.peaks.size(), 2u);
  }
  ASSERT_EQ(read.spectra[0].peaks.size(), 2u);
  EXPECT_DOUBLE_EQ(read.spectra[0].peaks[1].mz, 200.25);
  EXPECT_DOUBLE_EQ(read.spectra[0].peaks[1].intensity, 3.5);
}

}  // namespace
}  // namespace corvid
