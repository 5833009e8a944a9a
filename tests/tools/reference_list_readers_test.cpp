// corvid-reference-list's readers on hand-written pepXML and mzIdentML (1.1 and 1.2): which PSM
// each spectrum query yields, its scan, m/z, charge, decoy status, score and q-value.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"
#include "tools/reference_list/errors.h"
#include "tools/reference_list/mzidentml_reader.h"
#include "tools/reference_list/pepxml_reader.h"

namespace corvid::reflist {
namespace {

using corvid::testing::TempDir;
using corvid::testing::writeFile;

std::string fixture(const std::string& name) { return std::string(CORVID_TEST_DATA_DIR) + "/search/" + name; }

struct Expected {
  long scan;
  double mz;
  int charge;
  bool decoy;
  double score;
  double qValue;
};

void expectPsms(const SearchResults& results, const std::vector<Expected>& expected) {
  ASSERT_EQ(results.psms.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE("PSM " + std::to_string(i));
    const Psm& psm = results.psms[i];
    EXPECT_EQ(psm.scan, expected[i].scan);
    EXPECT_NEAR(psm.precursorMz, expected[i].mz, 1e-9);
    EXPECT_EQ(psm.charge, expected[i].charge);
    EXPECT_EQ(psm.isDecoy, expected[i].decoy);
    EXPECT_DOUBLE_EQ(psm.score, expected[i].score);
    EXPECT_DOUBLE_EQ(psm.qValue, expected[i].qValue);
  }
}

TEST(ReferenceListPepXml, RankOnePerQueryWithDecoysScoresAndQValues) {
  const SearchResults results = readPepXml(fixture("small.pep.xml"), ReadSettings{});
  EXPECT_EQ(results.format, SearchFormat::PepXml);
  EXPECT_EQ(results.queries, 9);
  EXPECT_EQ(results.runs, 1);
  ASSERT_TRUE(results.score);
  EXPECT_EQ(results.score->name, "expect");
  EXPECT_TRUE(results.score->lowerIsBetter);
  ASSERT_TRUE(results.qValue);
  EXPECT_EQ(results.qValue->name, "percolator_qvalue");
  // m/z = (M + z * 1.007276) / z. The query without hits yields nothing; of the tied rank-1 hits
  // of scan 22 the first (a target) is taken; a decoy protein with a target alternative is a target.
  expectPsms(results, {{10, 501.007276, 2, false, 1e-4, 0.001},
                       {11, 501.007276, 3, true, 0.5, 0.3},
                       {12, 601.007276, 2, false, 0.002, 0.004},
                       {13, 701.007276, 2, false, 0.5, 0.2},
                       {13, 468.007276, 3, false, 0.01, 0.008},
                       {20, 401.007276, 2, false, 0.003, 0.009},
                       {22, 901.007276, 1, false, 0.004, 0.01},
                       {23, 551.007276, 2, true, 0.006, 0.02}});
  // Queries of one spectrum share a key; the native id is the key when the file names one.
  EXPECT_EQ(results.psms[0].spectrumKey, "controllerType=0 controllerNumber=1 scan=10");
  EXPECT_EQ(results.psms[0].nativeId, "controllerType=0 controllerNumber=1 scan=10");
  EXPECT_EQ(results.psms[3].spectrumKey, "run.00013.00013");
  EXPECT_EQ(results.psms[4].spectrumKey, "run.00013.00013");
  EXPECT_EQ(results.psms[1].nativeId, "");
}

TEST(ReferenceListPepXml, NamedScoreAndDecoyPrefix) {
  ReadSettings settings;
  settings.score = ScoreName{"xcorr", "", false};
  settings.decoyPrefix = "P";  // every protein here starts with P or D
  const SearchResults results = readPepXml(fixture("small.pep.xml"), settings);
  ASSERT_EQ(results.psms.size(), 8U);
  EXPECT_DOUBLE_EQ(results.psms[0].score, 3.5);
  EXPECT_TRUE(results.psms[0].isDecoy);   // P1
  EXPECT_FALSE(results.psms[1].isDecoy);  // DECOY_P2, DECOY_P3
  EXPECT_FALSE(results.psms[2].isDecoy);  // DECOY_P4 with P5
}

TEST(ReferenceListPepXml, QValueFromAnalysisResultAndGzipInput) {
  TempDir temp;
  const std::string text =
      "<?xml version=\"1.0\"?>\n<msms_pipeline_analysis><msms_run_summary base_name=\"r\">\n"
      "<spectrum_query spectrum=\"r.00007.00007.2\" start_scan=\"7\" precursor_neutral_mass=\"998\" "
      "assumed_charge=\"2\"><search_result>\n"
      "<search_hit hit_rank=\"1\" protein=\"P1\"><search_score name=\"expect\" value=\"0.1\"/>\n"
      "<analysis_result analysis=\"percolator\"><percolator_result probability=\"0.9\" q-value=\"0.004\"/>"
      "</analysis_result></search_hit>\n"
      "</search_result></spectrum_query>\n"
      "<spectrum_query spectrum=\"r.00008.00008.2\" start_scan=\"8\" precursor_neutral_mass=\"998\" "
      "assumed_charge=\"2\"><search_result>\n"
      "<search_hit hit_rank=\"1\" protein=\"P1\"><search_score name=\"expect\" value=\"0.2\"/>\n"
      "<analysis_result analysis=\"other\"><parameter name=\"q-value\" value=\"0.04\"/></analysis_result>"
      "</search_hit>\n</search_result></spectrum_query></msms_run_summary></msms_pipeline_analysis>\n";
  writeFile(temp.file("q.pep.xml"), text);
  ASSERT_EQ(std::system(("gzip -c " + temp.file("q.pep.xml") + " > " + temp.file("q.pep.xml.gz")).c_str()), 0);
  for (const char* name : {"q.pep.xml", "q.pep.xml.gz"}) {
    SCOPED_TRACE(name);
    const SearchResults results = readPepXml(temp.file(name), ReadSettings{});
    expectPsms(results, {{7, 500.007276, 2, false, 0.1, 0.004}, {8, 500.007276, 2, false, 0.2, 0.04}});
  }
}

TEST(ReferenceListPepXml, MissingChargeIsAnInputErrorWithLine) {
  TempDir temp;
  writeFile(temp.file("bad.pep.xml"),
            "<msms_pipeline_analysis>\n<msms_run_summary>\n"
            "<spectrum_query spectrum=\"r.1.1.2\" precursor_neutral_mass=\"998\"/>\n"
            "</msms_run_summary></msms_pipeline_analysis>\n");
  try {
    readPepXml(temp.file("bad.pep.xml"), ReadSettings{});
    FAIL() << "no error";
  } catch (const InputError& error) {
    EXPECT_EQ(std::string(error.what()),
              temp.file("bad.pep.xml") + ":3: spectrum_query \"r.1.1.2\" has no usable assumed_charge");
  }
}

// Both namespaces, one by accession prefix and one by isDecoy flags, give the same PSMs.
TEST(ReferenceListMzIdentMl, Versions11And12GiveTheSamePsms) {
  for (const char* name : {"small_1.1.mzid", "small_1.2.mzid"}) {
    SCOPED_TRACE(name);
    const SearchResults results = readMzIdentMl(fixture(name), ReadSettings{});
    EXPECT_EQ(results.format, SearchFormat::MzIdentMl);
    EXPECT_EQ(results.queries, 8);
    EXPECT_EQ(results.runs, 1);
    ASSERT_TRUE(results.score);
    EXPECT_EQ(results.score->accession, "MS:1002052");
    // Scans: "scan=" in the id; a title's stem.SCAN.SCAN.Z; "index=12" -> 13; a scan-number cvParam.
    // The PSM-level q-value wins over the peptide-level one of the first item.
    expectPsms(results, {{10, 501.007276, 2, false, 1e-4, 0.001},
                         {11, 501.007276, 3, true, 0.5, 0.3},
                         {12, 601.007276, 2, false, 0.002, 0.004},
                         {13, 468.007276, 3, false, 0.01, 0.008},
                         {20, 401.007276, 2, false, 0.003, 0.009},
                         {22, 901.007276, 1, false, 0.004, 0.01},
                         {23, 551.007276, 2, true, 0.006, 0.02}});
    EXPECT_EQ(results.psms[2].nativeId, "index=11");
    EXPECT_EQ(results.psms[4].nativeId, "spectrum=77");
  }
  EXPECT_EQ(readMzIdentMl(fixture("small_1.1.mzid"), ReadSettings{}).qValue->accession, "MS:1002354");
  EXPECT_EQ(readMzIdentMl(fixture("small_1.2.mzid"), ReadSettings{}).qValue->accession, "MS:1002054");
}

TEST(ReferenceListMzIdentMl, ScoreByAccessionOrName) {
  ReadSettings byAccession;
  byAccession.score = ScoreName{"", "MS:1002354", true};
  EXPECT_DOUBLE_EQ(readMzIdentMl(fixture("small_1.1.mzid"), byAccession).psms[0].score, 0.001);
  ReadSettings byName;
  byName.score = ScoreName{"distinct peptide-level q-value", "", true};
  const SearchResults results = readMzIdentMl(fixture("small_1.1.mzid"), byName);
  EXPECT_DOUBLE_EQ(results.psms[0].score, 0.3);
  EXPECT_TRUE(std::isnan(results.psms[1].score));
}

TEST(ReferenceListMzIdentMl, MissingMassToChargeIsAnInputError) {
  TempDir temp;
  writeFile(temp.file("bad.mzid"),
            "<MzIdentML><DataCollection><AnalysisData><SpectrumIdentificationList>\n"
            "<SpectrumIdentificationResult spectrumID=\"scan=3\">\n"
            "<SpectrumIdentificationItem id=\"SII_9\" rank=\"1\" chargeState=\"2\"/>\n"
            "</SpectrumIdentificationResult></SpectrumIdentificationList></AnalysisData></DataCollection>"
            "</MzIdentML>\n");
  try {
    readMzIdentMl(temp.file("bad.mzid"), ReadSettings{});
    FAIL() << "no error";
  } catch (const InputError& error) {
    EXPECT_EQ(std::string(error.what()),
              temp.file("bad.mzid") + ":3: SpectrumIdentificationItem \"SII_9\" has no usable experimentalMassToCharge");
  }
}

}  // namespace
}  // namespace corvid::reflist
