// FAIMS compensation voltages through the extractor and the MS1/MS2 loaders: read from the
// spectrum's or the scan's cvParams of mzML and from mzXML's scan attribute, written as the
// "I FAIMS_CV" line and the summary's last column, and kept per scan on loading.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"
#include "spectra/mzml_parser.h"
#include "spectra/mzxml_parser.h"
#include "spectra/open_format_extractor.h"
#include "spectra/scan_summary.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;

// Two MS1 scans of two voltages (one given in the spectrum's cvParams, one in its scan's), an MS2
// scan of the first voltage naming the first MS1 scan, and an MS1 scan without a voltage.
const char* const kFaimsMzML = R"(<?xml version="1.0"?>
<mzML xmlns="http://psi.hupo.org/ms/mzml"><run id="r"><spectrumList count="4">
 <spectrum index="0" id="scan=1" defaultArrayLength="0">
  <cvParam accession="MS:1000511" value="1"/><cvParam accession="MS:1001581" value="-45" unitAccession="UO:0000218"/>
  <cvParam accession="MS:1000512" value="FTMS + p NSI Full ms"/>
  <scanList><scan><cvParam accession="MS:1000016" value="1.0" unitAccession="UO:0000010"/></scan></scanList>
 </spectrum>
 <spectrum index="1" id="scan=2" defaultArrayLength="0">
  <cvParam accession="MS:1000511" value="1"/><cvParam accession="MS:1000512" value="FTMS + p NSI Full ms"/>
  <scanList><scan><cvParam accession="MS:1000016" value="1.1" unitAccession="UO:0000010"/>
   <cvParam accession="MS:1001581" value="-65.5"/></scan></scanList>
 </spectrum>
 <spectrum index="2" id="scan=3" defaultArrayLength="0">
  <cvParam accession="MS:1000511" value="2"/><cvParam accession="MS:1000512" value="ITMS + c NSI d"/>
  <scanList><scan><cvParam accession="MS:1000016" value="1.2" unitAccession="UO:0000010"/>
   <cvParam accession="MS:1001581" value="-45"/></scan></scanList>
  <precursorList><precursor spectrumRef="scan=1"><selectedIonList><selectedIon>
   <cvParam accession="MS:1000744" value="500.25"/><cvParam accession="MS:1000041" value="2"/>
  </selectedIon></selectedIonList><activation><cvParam accession="MS:1000133"/></activation></precursor></precursorList>
 </spectrum>
 <spectrum index="3" id="scan=4" defaultArrayLength="0">
  <cvParam accession="MS:1000511" value="1"/><cvParam accession="MS:1000512" value="FTMS + p NSI Full ms"/>
  <scanList><scan><cvParam accession="MS:1000016" value="1.3" unitAccession="UO:0000010"/></scan></scanList>
 </spectrum>
</spectrumList></run></mzML>
)";

std::vector<OpenSpectrum> readAll(const std::string& path, bool mzXML) {
  std::vector<OpenSpectrum> spectra;
  std::string error;
  const SpectrumSink sink = [&](const OpenSpectrum& spectrum, std::string&) {
    spectra.push_back(spectrum);
    return true;
  };
  const bool ok = mzXML ? readMzXMLFile(path, sink, error) : readMzMLFile(path, sink, error);
  EXPECT_TRUE(ok) << error;
  return spectra;
}

TEST(FaimsVoltage, MzMLSpectrumAndScanParamsAreRead) {
  TempDir temp;
  writeFile(temp.file("f.mzML"), kFaimsMzML);
  const std::vector<OpenSpectrum> spectra = readAll(temp.file("f.mzML"), false);
  ASSERT_EQ(spectra.size(), 4u);
  EXPECT_TRUE(spectra[0].hasCompensationVoltage);
  EXPECT_EQ(spectra[0].compensationVoltage, -45.0);
  EXPECT_TRUE(spectra[1].hasCompensationVoltage);
  EXPECT_EQ(spectra[1].compensationVoltage, -65.5);
  EXPECT_TRUE(spectra[2].hasCompensationVoltage);
  EXPECT_EQ(spectra[2].compensationVoltage, -45.0);
  EXPECT_FALSE(spectra[3].hasCompensationVoltage);
}

TEST(FaimsVoltage, MzXMLAttributeIsRead) {
  TempDir temp;
  writeFile(temp.file("f.mzXML"), R"(<?xml version="1.0"?>
<mzXML><msRun scanCount="2">
 <scan num="1" msLevel="1" peaksCount="0" retentionTime="PT1S" compensationVoltage="-40.5"></scan>
 <scan num="2" msLevel="1" peaksCount="0" retentionTime="PT2S"></scan>
 <scan num="3" msLevel="1" peaksCount="0" retentionTime="PT3S" compensationVoltage="high"></scan>
</msRun></mzXML>
)");
  const std::vector<OpenSpectrum> spectra = readAll(temp.file("f.mzXML"), true);
  ASSERT_EQ(spectra.size(), 3u);
  EXPECT_TRUE(spectra[0].hasCompensationVoltage);
  EXPECT_EQ(spectra[0].compensationVoltage, -40.5);
  EXPECT_FALSE(spectra[1].hasCompensationVoltage);
  EXPECT_FALSE(spectra[2].hasCompensationVoltage);  // not a number: no voltage
}

TEST(FaimsVoltage, ExtractedTextAndSummaryCarryTheVoltage) {
  TempDir temp;
  writeFile(temp.file("f.mzML"), kFaimsMzML);
  ASSERT_TRUE(extractOpenFormat(temp.file("f.mzML"), temp.folder(), "f"));
  EXPECT_EQ(readFile(temp.file("f.ms1")),
            "S\t000001\t000001\r\nI\tRetTime\t1.000000\r\nI\tInstrumentType\tFTMS\r\nI\tFAIMS_CV\t-45\r\n"
            "S\t000002\t000002\r\nI\tRetTime\t1.100000\r\nI\tInstrumentType\tFTMS\r\nI\tFAIMS_CV\t-65.5\r\n"
            "S\t000004\t000004\r\nI\tRetTime\t1.300000\r\nI\tInstrumentType\tFTMS\r\n");
  const std::string ms2 = readFile(temp.file("f.ms2"));
  EXPECT_NE(ms2.find("I\tInstrumentType\tITMS\r\nI\tFAIMS_CV\t-45\r\nI\tPrecursorScan\t1\r\n"), std::string::npos)
      << ms2;
  const std::string summary = readFile(temp.file("f_scans.csv"));
  EXPECT_TRUE(summary.starts_with(std::string(kScanSummaryHeader) + ",CompensationVoltage\r\n")) << summary;
  EXPECT_NE(summary.find("\r\n1,1,scan=1,1,1.000000,0,0.000000,0,0,-45\r\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("\r\n2,2,scan=2,1,1.100000,0,0.000000,0,0,-65.5\r\n"), std::string::npos) << summary;
  EXPECT_TRUE(summary.ends_with("\r\n4,4,scan=4,1,1.300000,0,0.000000,0,0,\r\n")) << summary;

  MS1File ms1;
  loadMS1File(temp.file("f.ms1"), ms1);
  ASSERT_EQ(ms1.spectra.size(), 3u);
  EXPECT_EQ(ms1.spectra[0].compensationVoltage, -45.0);
  EXPECT_EQ(ms1.spectra[1].compensationVoltage, -65.5);
  EXPECT_TRUE(std::isnan(ms1.spectra[2].compensationVoltage));
  MS2File ms2File;
  loadMS2File(temp.file("f.ms2"), ms2File);
  ASSERT_EQ(ms2File.spectra.size(), 1u);
  EXPECT_EQ(ms2File.spectra[0].compensationVoltage, -45.0);
  EXPECT_EQ(ms2File.spectra[0].precursorScan, 1);
  EXPECT_TRUE(anyCompensationVoltage(ms2File));
}

TEST(FaimsVoltage, FilesWithoutVoltagesKeepTheirText) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  EXPECT_EQ(readFile(temp.file("small.ms1")).find("FAIMS"), std::string::npos);
  EXPECT_EQ(readFile(temp.file("small.ms2")).find("FAIMS"), std::string::npos);
  EXPECT_TRUE(readFile(temp.file("small_scans.csv")).starts_with(std::string(kScanSummaryHeader) + "\r\n"));
  MS2File ms2File;
  loadMS2File(temp.file("small.ms2"), ms2File);
  EXPECT_FALSE(anyCompensationVoltage(ms2File));
}

// Line feeds alone, a plus sign, a value that is not a number, and a line before the first scan.
TEST(FaimsVoltage, LoadersReadTheLineWithEitherLineEnd) {
  TempDir temp;
  writeFile(temp.file("v.ms1"),
            "I\tFAIMS_CV\t-1\nS\t1\t1\nI\tFAIMS_CV\t+35.25\n100.0 1.0\nS\t2\t2\nI\tFAIMS_CV\tx\n100.0 1.0\n");
  MS1File ms1;
  loadMS1File(temp.file("v.ms1"), ms1);
  ASSERT_EQ(ms1.spectra.size(), 2u);
  EXPECT_EQ(ms1.spectra[0].compensationVoltage, 35.25);
  EXPECT_TRUE(std::isnan(ms1.spectra[1].compensationVoltage));
  writeFile(temp.file("v.ms2"),
            "S\t1\t1\t500.0\r\nI\tFAIMS_CV\t-70\r\nZ\t2\t999.0\r\n100.0 1.0\r\n"
            "S\t2\t2\t500.0\nI\tFAIMS_CV\t-30.5\nZ\t2\t999.0\n");
  MS2File ms2;
  loadMS2File(temp.file("v.ms2"), ms2);
  ASSERT_EQ(ms2.spectra.size(), 2u);
  EXPECT_EQ(ms2.spectra[0].compensationVoltage, -70.0);
  EXPECT_EQ(ms2.spectra[1].compensationVoltage, -30.5);
  EXPECT_EQ(ms2.spectra[0].peaks.size(), 1u);
}

}  // namespace
}  // namespace corvid
