#include "spectra/mzml_parser.h"

#include <gtest/gtest.h>

#include <libmsnumpress/MSNumpress.hpp>

#include "tests/spectra/spectra_test_support.h"
#include "spectra/open_format_extractor.h"

namespace corvid {
namespace {

using namespace testing;

std::string base64Of(const std::vector<unsigned char>& bytes) {
  static const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t g = bytes[i] << 16;
    if (i + 1 < bytes.size()) g |= bytes[i + 1] << 8;
    if (i + 2 < bytes.size()) g |= bytes[i + 2];
    out += alphabet[(g >> 18) & 63];
    out += alphabet[(g >> 12) & 63];
    out += i + 1 < bytes.size() ? alphabet[(g >> 6) & 63] : '=';
    out += i + 2 < bytes.size() ? alphabet[g & 63] : '=';
  }
  return out;
}

std::vector<OpenSpectrum> readAll(const std::string& path, std::string& error) {
  std::vector<OpenSpectrum> spectra;
  SpectrumSink sink = [&](const OpenSpectrum& s, std::string&) {
    spectra.push_back(s);
    return true;
  };
  EXPECT_TRUE(readMzMLFile(path, sink, error)) << error;
  return spectra;
}

// Numpress linear m/z (fixed point 1e5 keeps five decimals exactly) and pic intensities
// (whole numbers exactly), declared through a referenceable parameter group.
TEST(ReadMzMLFile, NumpressArraysThroughParameterGroups) {
  using namespace ms::numpress::MSNumpress;
  std::vector<double> mz = {100.12345, 200.5, 445.98765};
  std::vector<double> intensity = {10.0, 2000.0, 123456.0};
  std::vector<unsigned char> mzBytes(64), intBytes(64);
  mzBytes.resize(encodeLinear(mz.data(), mz.size(), mzBytes.data(), 1e5));
  intBytes.resize(encodePic(intensity.data(), intensity.size(), intBytes.data()));
  std::string text = R"(<?xml version="1.0"?>
<mzML xmlns="http://psi.hupo.org/ms/mzml">
 <referenceableParamGroupList count="2">
  <referenceableParamGroup id="mzArray">
   <cvParam accession="MS:1000514" name="m/z array"/><cvParam accession="MS:1002312" name="MS-Numpress linear"/>
  </referenceableParamGroup>
  <referenceableParamGroup id="intArray">
   <cvParam accession="MS:1000515" name="intensity array"/><cvParam accession="MS:1002313" name="MS-Numpress pic"/>
  </referenceableParamGroup>
 </referenceableParamGroupList>
 <run id="r"><spectrumList count="1">
  <spectrum index="0" id="scan=9" defaultArrayLength="3">
   <cvParam accession="MS:1000511" name="ms level" value="1"/>
   <binaryDataArrayList count="2">
    <binaryDataArray><referenceableParamGroupRef ref="mzArray"/><binary>)" +
                     base64Of(mzBytes) + R"(</binary></binaryDataArray>
    <binaryDataArray><referenceableParamGroupRef ref="intArray"/><binary>)" +
                     base64Of(intBytes) + R"(</binary></binaryDataArray>
   </binaryDataArrayList>
  </spectrum>
 </spectrumList></run>
</mzML>
)";
  TempDir temp;
  writeFile(temp.file("np.mzML"), text);
  std::string error;
  std::vector<OpenSpectrum> spectra = readAll(temp.file("np.mzML"), error);
  ASSERT_EQ(spectra.size(), 1U);
  EXPECT_EQ(spectra[0].nativeId, "scan=9");
  ASSERT_EQ(spectra[0].mz.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(spectra[0].mz[i], mz[i], 1e-9);
    EXPECT_EQ(spectra[0].intensity[i], intensity[i]);
  }
  ASSERT_TRUE(extractOpenFormat(temp.file("np.mzML"), temp.folder(), "np"));
  EXPECT_EQ(readFile(temp.file("np.ms1")),
            "S\t000009\t000009\r\nI\tRetTime\t0.000000\r\nI\tInstrumentType\tITMS\r\n"
            "100.123450 10.0000\r\n200.500000 2000.0000\r\n445.987650 123456.0000\r\n");
}

const char* kTwoSpectra = R"(<?xml version="1.0"?>
<mzML><run id="r" defaultInstrumentConfigurationRef="none"><spectrumList count="2">
 <spectrum index="0" id="scan=1" defaultArrayLength="0">
  <cvParam accession="MS:1000511" value="2"/>
  <scanList><scan><cvParam accession="MS:1000016" value="2.5" unitAccession="UO:0000031"/>
   <cvParam accession="MS:1000927" value="7.25"/></scan>
   <scan><cvParam accession="MS:1000016" value="9.0" unitAccession="UO:0000031"/></scan></scanList>
  <precursorList count="2">
   <precursor spectrumRef="scan=2"><selectedIonList><selectedIon>
    <cvParam accession="MS:1000744" value="610.5"/><cvParam accession="MS:1000041" value="2"/>
   </selectedIon></selectedIonList>
   <activation><cvParam accession="MS:1000598"/><cvParam accession="MS:1002678"/></activation></precursor>
   <precursor><isolationWindow><cvParam accession="MS:1000827" value="999.0"/></isolationWindow></precursor>
  </precursorList>
  <productList><product><isolationWindow><cvParam accession="MS:1000827" value="777.0"/></isolationWindow></product></productList>
 </spectrum>
 <spectrum index="1" id="scan=2" defaultArrayLength="0">
  <cvParam accession="MS:1000511" value="1"/>
  <scanList><scan><cvParam accession="MS:1000016" value="200.0" unitAccession="UO:0000010"/></scan></scanList>
 </spectrum>
</spectrumList></run></mzML>
)";

// The first scan, precursor and selected ion count; product windows do not; minutes become seconds.
TEST(ReadMzMLFile, FirstScanAndPrecursorOnly) {
  TempDir temp;
  writeFile(temp.file("two.mzML"), kTwoSpectra);
  std::string error;
  std::vector<OpenSpectrum> spectra = readAll(temp.file("two.mzML"), error);
  ASSERT_EQ(spectra.size(), 2U);
  const OpenSpectrum& s = spectra[0];
  EXPECT_EQ(s.msLevel, 2);
  EXPECT_DOUBLE_EQ(s.retentionTime, 150.0);
  EXPECT_DOUBLE_EQ(s.ionInjectionTime, 7.25);
  EXPECT_EQ(s.precursorRef, "scan=2");
  EXPECT_TRUE(s.hasSelectedMz);
  EXPECT_FALSE(s.hasIsolationTarget);
  EXPECT_EQ(s.charge, 2);
  EXPECT_EQ(s.activation, "ETD");
  EXPECT_EQ(s.analyzer, AnalyzerKind::Unknown);
  EXPECT_TRUE(s.mz.empty());
}

// A reference to a later spectrum is resolved once all spectra are known: the headers are then
// rewritten although the native numbers stand.
TEST(ExtractOpenFormat, ForwardPrecursorReferenceIsResolved) {
  TempDir temp;
  std::string text = kTwoSpectra;
  // Put the MS1 spectrum first in retention time but keep the reference pointing forward.
  text.replace(text.find("value=\"200.0\""), 13, "value=\"160.0\"");
  writeFile(temp.file("fwd.mzML"), text);
  ASSERT_TRUE(extractOpenFormat(temp.file("fwd.mzML"), temp.folder(), "fwd"));
  std::string ms2 = readFile(temp.file("fwd.ms2"));
  EXPECT_NE(ms2.find("I\tPrecursorScan\t2\r\n"), std::string::npos) << ms2;
  EXPECT_NE(ms2.find("S\t000001\t000001\t610.500000\r\n"), std::string::npos) << ms2;
  EXPECT_NE(ms2.find("I\tActivationCenter\t610.500000\r\n"), std::string::npos) << ms2;
  EXPECT_FALSE(testing::exists(temp.file("fwd.ms1.part")));
}

TEST(ReadMzMLFile, ActivationPreferences) {
  struct Case {
    const char* terms;
    const char* expected;
  };
  for (Case c : {Case{"MS:1000133 MS:1000422", "HCD"}, Case{"MS:1000422 MS:1000133", "HCD"},
                 Case{"MS:1000598 MS:1000422", "ETD"}, Case{"MS:1000599 MS:1000133", "CID"},
                 Case{"MS:1000599", "PQD"}, Case{"MS:1000045", ""}}) {
    std::string params;
    std::string terms = c.terms;
    for (std::size_t at = 0; at < terms.size(); at += 11)
      params += "<cvParam accession=\"" + terms.substr(at, 10) + "\"/>";
    std::string text =
        "<mzML><run><spectrumList><spectrum id=\"scan=1\" defaultArrayLength=\"0\">"
        "<cvParam accession=\"MS:1000511\" value=\"2\"/><precursorList><precursor><activation>" +
        params + "</activation></precursor></precursorList></spectrum></spectrumList></run></mzML>";
    TempDir temp;
    writeFile(temp.file("a.mzML"), text);
    std::string error;
    std::vector<OpenSpectrum> spectra = readAll(temp.file("a.mzML"), error);
    ASSERT_EQ(spectra.size(), 1U);
    EXPECT_EQ(spectra[0].activation, c.expected) << c.terms;
  }
}

}  // namespace
}  // namespace corvid
