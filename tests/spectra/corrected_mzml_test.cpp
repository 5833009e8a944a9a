#include "spectra/corrected_mzml.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/indexed_mzml_check.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
    "<indexedmzML xmlns=\"http://psi.hupo.org/ms/mzml\">\n"
    "<mzML xmlns=\"http://psi.hupo.org/ms/mzml\" version=\"1.1.0\">\n"
    "  <softwareList count=\"1\">\n    <software id=\"a\" version=\"1\"/>\n  </softwareList>\n"
    "  <dataProcessingList count=\"1\">\n    <dataProcessing id=\"p\"/>\n  </dataProcessingList>\n"
    "  <run id=\"r\">\n    <spectrumList count=\"3\">\n";

std::string ms2Spectrum(const std::string& id, bool withIonList) {
  std::string text = "      <spectrum index=\"0\" id=\"" + id + "\" defaultArrayLength=\"0\">\n"
                     "        <precursorList count=\"1\">\n          <precursor>\n";
  if (withIonList) {
    text += "            <selectedIonList count=\"1\">\n              <selectedIon>\n"
            "                <cvParam cvRef=\"MS\" accession=\"MS:1000744\" name=\"selected ion m/z\" value=\"500.3\"/>\n"
            "                <cvParam cvRef=\"MS\" accession=\"MS:1000041\" name=\"charge state\" value=\"2\"/>\n"
            "              </selectedIon>\n            </selectedIonList>\n";
  }
  text += "          </precursor>\n        </precursorList>\n"
          "        <binaryDataArrayList count=\"0\">AAAA&lt;</binaryDataArrayList>\n      </spectrum>\n";
  return text;
}

const std::string kTail =
    "    </spectrumList>\n    <chromatogramList count=\"1\">\n"
    "      <chromatogram index=\"0\" id=\"TIC\" defaultArrayLength=\"0\"></chromatogram>\n"
    "    </chromatogramList>\n  </run>\n</mzML>\n"
    "<indexList count=\"1\"><index name=\"spectrum\"><offset idRef=\"old\">1</offset></index></indexList>\n"
    "<indexListOffset>42</indexListOffset>\n<fileChecksum>0</fileChecksum>\n</indexedmzML>\n";

struct Written {
  CorrectedMzMLOutcome outcome;
  std::string text;
};

Written correct(const std::string& input, const CorrectionsByNativeId& corrections) {
  TempDir dir;
  writeFile(dir.path() / "in.mzML", input);
  Written written;
  written.outcome = writeCorrectedMzML(dir.file("in.mzML"), corrections, dir.file("out.mzML"));
  if (written.outcome.written) written.text = readFile(dir.path() / "out.mzML");
  EXPECT_EQ(fs::exists(dir.path() / "out.mzML"), written.outcome.written);
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    EXPECT_EQ(entry.path().filename().string().find(".corvid-tmp-"), std::string::npos) << entry.path();
  }
  return written;
}

TEST(CorrectedMzml, SelectedIonsReplacedBestFirstWithInstrumentIonKept) {
  const std::string input = kHead + ms2Spectrum("scan=1", true) + ms2Spectrum("scan=2", true) + kTail;
  const Written written = correct(input, {{"scan=1", {{500.25, 2, 0.75, 1}, {500.9, 3, std::nan(""), 2}}}});
  ASSERT_TRUE(written.outcome.written) << written.outcome.error;
  EXPECT_EQ(written.outcome.spectra, 2u);
  EXPECT_EQ(written.outcome.corrected, 1u);
  expectGolden(written.text, "corrected_mzml/two_precursors.mzML");
  expectConsistentIndexedMzML(written.text);
}

TEST(CorrectedMzml, UnindexedInputBecomesIndexed) {
  std::string input = kHead + ms2Spectrum("scan=1", true) + kTail;
  input.erase(input.find("<indexList"));
  input.replace(input.find("<indexedmzML xmlns=\"http://psi.hupo.org/ms/mzml\">\n"), 50, "");
  const Written written = correct(input, {});
  ASSERT_TRUE(written.outcome.written) << written.outcome.error;
  expectConsistentIndexedMzML(written.text);
  EXPECT_EQ(written.outcome.corrected, 0u);
}

TEST(CorrectedMzml, CorvidIsNamedInSoftwareAndDataProcessing) {
  const Written written = correct(kHead + ms2Spectrum("scan=1", true) + kTail, {});
  EXPECT_NE(written.text.find("<softwareList count=\"2\">"), std::string::npos);
  EXPECT_NE(written.text.find("<dataProcessingList count=\"2\">"), std::string::npos);
  EXPECT_NE(written.text.find("accession=\"MS:1000780\" name=\"precursor recalculation\""), std::string::npos);
}

TEST(CorrectedMzml, IdsWithEntitiesAreMatchedUnescaped) {
  const Written written = correct(kHead + ms2Spectrum("a&amp;b", true) + kTail, {{"a&b", {{600.0, 2, 1.0, 1}}}});
  EXPECT_EQ(written.outcome.corrected, 1u);
  EXPECT_NE(written.text.find("<offset idRef=\"a&amp;b\">"), std::string::npos);
  expectConsistentIndexedMzML(written.text);
}

TEST(CorrectedMzml, SpectrumWithoutSelectedIonListIsCountedAndKept) {
  const std::string spectrum = ms2Spectrum("scan=1", false);
  const Written written = correct(kHead + spectrum + kTail, {{"scan=1", {{600.0, 2, 1.0, 1}}}});
  EXPECT_EQ(written.outcome.withoutIonList, 1u);
  EXPECT_EQ(written.outcome.corrected, 0u);
  EXPECT_NE(written.text.find(spectrum), std::string::npos);
}

TEST(CorrectedMzml, UncorrectedSpectraAreCopiedByteForByte) {
  const std::string spectrum = ms2Spectrum("scan=2", true);
  const Written written = correct(kHead + ms2Spectrum("scan=1", true) + spectrum + kTail, {{"scan=1", {{1, 1, 1, 1}}}});
  EXPECT_NE(written.text.find(spectrum), std::string::npos);
}

TEST(CorrectedMzml, TruncatedInputWritesNothing) {
  const std::string input = kHead + ms2Spectrum("scan=1", true) + kTail;
  for (std::size_t cut : {std::size_t{10}, kHead.size() - 20, kHead.size() + 100, input.find("</mzML>") + 3}) {
    const Written written = correct(input.substr(0, cut), {});
    EXPECT_FALSE(written.outcome.written) << cut;
    EXPECT_FALSE(written.outcome.error.empty()) << cut;
  }
}

TEST(CorrectedMzml, NotAnMzmlFileIsRefused) {
  const Written written = correct("<?xml version=\"1.0\"?>\n<mzXML></mzXML>\n", {});
  EXPECT_FALSE(written.outcome.written);
  EXPECT_NE(written.outcome.error.find("not an mzML file"), std::string::npos);
}

TEST(CorrectedMzml, MissingInputIsAnError) {
  TempDir dir;
  const CorrectedMzMLOutcome outcome = writeCorrectedMzML(dir.file("none.mzML"), {}, dir.file("out.mzML"));
  EXPECT_FALSE(outcome.written);
  EXPECT_NE(outcome.error.find("cannot open"), std::string::npos);
  EXPECT_FALSE(fs::exists(dir.path() / "out.mzML"));
}

}  // namespace
}  // namespace corvid
