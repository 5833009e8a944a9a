#include "spectra/ms2_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/spectra/spectra_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using namespace testing;

constexpr std::string_view kHeaderAfterDate =
    "H\tExtractor\tCorvid\r\n"
    "H\tExtractorVersion\t2.0.1\r\n"
    "H\tComments\tOwned by Halcyon Studio, 2016\r\n"
    "H\tDataType\tCentroided\r\n";

MS2Spectrum hcdSpectrum(std::uint32_t scan) {
  MS2Spectrum spectrum = makeSpectrum(scan, 2, 999.492724, {{100.5, 20.0}, {200.25, 3.5}});
  spectrum.retentionTime = 33.25;
  spectrum.ionInjectionTime = 1.5;
  spectrum.activationType = "HCD";
  spectrum.instrumentType = "FT";
  spectrum.precursorScan = static_cast<std::int32_t>(scan) - 1;
  spectrum.activationCenter = 500.256;
  return spectrum;
}

// Writes the file and returns it with the creation-date line checked and removed.
std::string writeWithoutDate(GroupExport& group, const MS2File& file, const ParameterTable& table,
                             const std::string& path, std::string* console = nullptr) {
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(writeMS2(group, file, table, path));
  std::string printed = ::testing::internal::GetCapturedStdout();
  if (console != nullptr) *console = printed;
  std::string text = readFile(path);
  std::size_t lineEnd = text.find("\r\n");
  EXPECT_NE(lineEnd, std::string::npos);
  std::string dateLine = text.substr(0, lineEnd);
  // "H\tCreationDate\t" and the 24-character ascii time text, e.g. "Sun Nov 22 09:05:01 2026".
  EXPECT_EQ(dateLine.substr(0, 15), "H\tCreationDate\t");
  EXPECT_EQ(dateLine.size(), 15u + 24u) << dateLine;
  EXPECT_EQ(dateLine[15 + 3], ' ');
  EXPECT_EQ(dateLine[15 + 13], ':');
  return text.substr(lineEnd + 2);
}

TEST(WriteMS2, GoldenFileApartFromTheCreationDate) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(12), hcdSpectrum(1234567)};
  file.spectra[1].peaks.clear();
  GroupExport group = wholeFileGroup(file, {{1234567.0, 3.0, 500.0}});
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "1"}}, folder.file("g.ms2"));
  EXPECT_EQ(text, std::string(kHeaderAfterDate) +
                      "S\t000012\t000012\t500.25\r\n"
                      "I\tNumberOfPeaks\t2\r\n"
                      "I\tRetTime\t33.250000\r\n"
                      "I\tIonInjectionTime\t1.500000\r\n"
                      "I\tActivationType\tHCD\r\n"
                      "I\tInstrumentType\tFT\r\n"
                      "I\tPrecursorScan\t11\r\n"
                      "I\tActivationCenter\t500.26\r\n"
                      "I\tMonoiosotopicMz\t500.25\r\n"
                      "Z\t2\t999.492724\r\n"
                      "100.500000 20.0\r\n"
                      "200.250000 3.5\r\n"
                      "S\t1234567\t1234567\t500\r\n"
                      "I\tNumberOfPeaks\t0\r\n"
                      "I\tRetTime\t33.250000\r\n"
                      "I\tIonInjectionTime\t1.500000\r\n"
                      "I\tActivationType\tHCD\r\n"
                      "I\tInstrumentType\tFT\r\n"
                      "I\tPrecursorScan\t1234566\r\n"
                      "I\tActivationCenter\t500.26\r\n"
                      "I\tMonoiosotopicMz\t500\r\n"
                      "Z\t3\t1497.985448\r\n");
  EXPECT_EQ(group.writtenCount, 2);
}

TEST(WriteMS2, ScanTwelveIsZeroPaddedInBothFields) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(12)};
  GroupExport group = wholeFileGroup(file, {});
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "1"}}, folder.file("s.ms2"));
  EXPECT_NE(text.find("\r\nS\t000012\t000012\t"), std::string::npos);
}

TEST(WriteMS2, RowWithChargeThreeGivesItsMass) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(40)};
  GroupExport group = wholeFileGroup(file, {{40.0, 3.0, 500.0}, {40.0, 2.0, 612.5}});
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "1"}}, folder.file("z.ms2"));
  std::size_t first = text.find("Z\t3\t1497.985448\r\n");
  std::size_t second = text.find("Z\t2\t1223.992724\r\n");
  ASSERT_NE(first, std::string::npos);
  ASSERT_NE(second, std::string::npos);
  EXPECT_LT(first, second);
  EXPECT_EQ(group.writtenCount, 2);
}

TEST(WriteMS2, SwitchOffLeavesOnlyTheFiveHeaderLines) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(12), hcdSpectrum(13)};
  GroupExport group = wholeFileGroup(file, {});
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "0"}}, folder.file("o.ms2"));
  EXPECT_EQ(text, kHeaderAfterDate);
  EXPECT_EQ(group.writtenCount, 2);
}

TEST(WriteMS2, SpectrumWithoutPeaksHasZeroPeakCountAndNoPeakLines) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(12)};
  file.spectra[0].peaks.clear();
  GroupExport group = wholeFileGroup(file, {});
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "1"}}, folder.file("e.ms2"));
  EXPECT_NE(text.find("I\tNumberOfPeaks\t0\r\n"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 42), "I\tMonoiosotopicMz\t500.25\r\nZ\t2\t999.492724\r\n");
}

TEST(WriteMS2, LinesSitWhereTheMS2LoaderLooks) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(12)};
  GroupExport group = wholeFileGroup(file, {});
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "1"}}, folder.file("l.ms2"));
  std::size_t activation = text.find("I\tActivationType\t");
  std::size_t instrument = text.find("I\tInstrumentType\t");
  ASSERT_LT(activation, instrument);  // the loader computes the group at InstrumentType
  EXPECT_EQ(text.substr(activation + 17, 3), "HCD");
  EXPECT_EQ(text[instrument + 12], 'T');
  EXPECT_EQ(text[instrument + 17], 'F');
  std::size_t center = text.find("I\tActivationCenter\t");
  EXPECT_EQ(text[center + 12], 'C');
  EXPECT_EQ(text.substr(center + 19, 8), "500.26\r\n");
  std::size_t injection = text.find("I\tIonInjectionTime\t");
  EXPECT_EQ(text[injection + 5], 'I');
  EXPECT_EQ(text.substr(injection + 19, 10), "1.500000\r\n");
  std::size_t retention = text.find("I\tRetTime\t");
  EXPECT_EQ(text.substr(retention + 10, 11), "33.250000\r\n");
  std::size_t precursorScan = text.find("I\tPrecursorScan\t");
  EXPECT_EQ(text[precursorScan + 11], 'S');
  EXPECT_EQ(text.substr(precursorScan + 16, 4), "11\r\n");
}

TEST(WriteMS2, UncreatableFilePrintsDiskMessageOnStandardError) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(12)};
  GroupExport group = wholeFileGroup(file, {});
  std::string path = folder.file("missing/x.ms2");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(writeMS2(group, file, ParameterTable{{"output_ms2", "1"}}, path));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Fail to Create MS2 file! Please Check your disk!\n");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(WriteMS2, EmptyPathWritesTheFallbackFile) {
  TempDir folder;
  MS2File file;
  GroupExport group;
  bool written = runInFolder(folder.path(), [&] { return writeMS2(group, file, ParameterTable{}, ""); });
  EXPECT_TRUE(written);
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "C:\\test.ms2"));
}

TEST(WriteMS2, ProgressTextAndSkippedSpectraAlert) {
  TempDir folder;
  MS2File file;
  file.spectra = {hcdSpectrum(10), hcdSpectrum(20), hcdSpectrum(30)};
  GroupExport group = wholeFileGroup(file, {{15.0, 2.0, 400.0}});
  std::size_t mark = logMark();
  std::string console;
  std::string path = folder.file("p.ms2");
  std::string text =
      writeWithoutDate(group, file, ParameterTable{{"output_ms2", "1"}}, path, &console);
  EXPECT_EQ(console,
            "\r[Corvid] <Writing MS2>: 0%\r[Corvid] <Writing MS2>: 67%[Corvid] 2 spectra not "
            "written in " +
                path +
                ": the accepted precursor of scan 15 has no spectrum at its "
                "place in the group (first spectrum affected: scan 20) \n");
  EXPECT_EQ(logMessagesSince(mark).size(), 1u);
  EXPECT_NE(text.find("S\t000010\t"), std::string::npos);
  EXPECT_EQ(text.find("S\t000020\t"), std::string::npos);
  EXPECT_EQ(text.find("S\t000030\t"), std::string::npos);
}

}  // namespace
}  // namespace corvid
