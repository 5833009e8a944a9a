// The analyzer table against the PSI-MS vocabulary it was printed from, every analyzer term's
// family, and the Alert for an analyzer Corvid knows no family for.
#include "spectra/mass_analyzer_terms.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "spectra/open_format_extractor.h"
#include "spectra/open_format_terms.h"
#include "tests/spectra/spectra_test_support.h"

namespace corvid {
namespace {

using namespace testing;
using Relation = std::tuple<std::string, std::string, std::string>;  // accession, name, is_a parent

// Every non-obsolete term below "mass analyzer type" by is_a, as (accession, name, parent) rows.
std::set<Relation> analyzerRelationsOfVocabulary() {
  struct Term {
    std::string name;
    std::vector<std::string> parents;
    bool obsolete = false;
  };
  std::map<std::string, Term> terms;
  std::ifstream obo(std::string(CORVID_TEST_DATA_DIR) + "/qc/psi-ms.obo");
  std::string line;
  Term* term = nullptr;
  while (std::getline(obo, line)) {
    if (line.starts_with("[")) term = nullptr;
    if (line.starts_with("id: ")) term = &terms[line.substr(4)];
    if (term == nullptr) continue;
    if (line.starts_with("name: ")) term->name = line.substr(6);
    if (line.starts_with("is_a: ")) term->parents.push_back(line.substr(6, line.find(' ', 6) - 6));
    if (line == "is_obsolete: true") term->obsolete = true;
  }
  auto below = [&terms](const std::string& accession) {
    std::vector<std::string> pending{accession};
    for (std::size_t guard = 0; !pending.empty() && guard < 1000; ++guard) {
      const std::string next = pending.back();
      pending.pop_back();
      for (const std::string& parent : terms[next].parents) {
        if (parent == "MS:1000443") return true;
        pending.push_back(parent);
      }
    }
    return false;
  };
  std::set<Relation> relations;
  for (const auto& [accession, found] : terms) {
    if (found.obsolete || !below(accession)) continue;
    for (const std::string& parent : found.parents) relations.emplace(accession, found.name, parent);
  }
  return relations;
}

TEST(MassAnalyzerTerms, TableHoldsEveryAnalyzerTermOfTheVocabulary) {
  std::set<Relation> table;
  for (const MassAnalyzerTerm& term : massAnalyzerTerms())
    table.emplace(std::string(term.accession), std::string(term.name), std::string(term.parent));
  const std::set<Relation> vocabulary = analyzerRelationsOfVocabulary();
  ASSERT_GE(vocabulary.size(), 12u);
  EXPECT_EQ(table, vocabulary);
}

// The family each analyzer term reads as; a term the vocabulary gains must be added here.
const std::map<std::string, const char*>& expectedFamilies() {
  static const std::map<std::string, const char*> families = {
      {"MS:1000078", "ITMS"},  // axial ejection linear ion trap
      {"MS:1000079", "FTMS"},  // fourier transform ion cyclotron resonance
      {"MS:1000080", ""},      // magnetic sector
      {"MS:1000081", ""},      // quadrupole
      {"MS:1000082", "ITMS"},  // quadrupole ion trap
      {"MS:1000083", "ITMS"},  // radial ejection linear ion trap
      {"MS:1000084", "QTOF"},  // time-of-flight
      {"MS:1000254", ""},      // electrostatic energy analyzer
      {"MS:1000264", "ITMS"},  // ion trap
      {"MS:1000291", "ITMS"},  // linear ion trap
      {"MS:1000484", "FTMS"},  // orbitrap
      {"MS:1003379", "FTMS"},  // asymmetric track lossless time-of-flight analyzer (Astral)
  };
  return families;
}

TEST(MassAnalyzerTerms, EveryTermReadsAsItsFamily) {
  std::set<std::string> vocabularyTerms;
  for (const auto& [accession, name, parent] : analyzerRelationsOfVocabulary()) vocabularyTerms.insert(accession);
  for (const std::string& accession : vocabularyTerms) {
    const auto expected = expectedFamilies().find(accession);
    ASSERT_NE(expected, expectedFamilies().end()) << accession << " has no expected family";
    const AnalyzerKind kind = analyzerFromAccession(accession);
    const std::string family = kind == AnalyzerKind::Unknown ? "" : analyzerText(kind);
    EXPECT_EQ(family, expected->second) << accession;
  }
  EXPECT_EQ(analyzerFromAccession("MS:1009999"), AnalyzerKind::Unknown);
  EXPECT_EQ(analyzerFromAccession("MS:1000443"), AnalyzerKind::Unknown);
  EXPECT_EQ(massAnalyzerTermName("MS:1000081"), "quadrupole");
  EXPECT_EQ(massAnalyzerTermName("MS:1009999"), "");
}

std::string mzMLWithAnalyzers(std::string_view analyzerParams) {
  return "<mzML><instrumentConfigurationList><instrumentConfiguration id=\"IC\"><componentList>" +
         std::string(analyzerParams) +
         "</componentList></instrumentConfiguration></instrumentConfigurationList>"
         "<run defaultInstrumentConfigurationRef=\"IC\"><spectrumList><spectrum id=\"scan=4\" "
         "defaultArrayLength=\"0\"><cvParam accession=\"MS:1000511\" value=\"1\"/></spectrum></spectrumList>"
         "</run></mzML>";
}

std::string extractedMS1Of(const TempDir& temp, const std::string& text, std::string& log) {
  writeFile(temp.file("run.mzML"), text);
  const std::size_t mark = runLogLines().size();
  EXPECT_TRUE(extractOpenFormat(temp.file("run.mzML"), temp.folder(), "run"));
  log = logSince(mark);
  return readFile(temp.file("run.ms1"));
}

TEST(MassAnalyzerTerms, ChildTermOfAFamilyIsWrittenAsTheFamily) {
  TempDir temp;
  std::string log;
  const std::string ms1 = extractedMS1Of(
      temp, mzMLWithAnalyzers("<analyzer order=\"2\"><cvParam accession=\"MS:1003379\"/></analyzer>"), log);
  EXPECT_NE(ms1.find("I\tInstrumentType\tFTMS\r\n"), std::string::npos);
  EXPECT_EQ(log.find("no known mass analyzer"), std::string::npos);
}

TEST(MassAnalyzerTerms, QuadrupoleBeforeTimeOfFlightReadsAsTheTimeOfFlight) {
  TempDir temp;
  std::string log;
  const std::string ms1 = extractedMS1Of(temp,
                                         mzMLWithAnalyzers("<analyzer order=\"2\"><cvParam accession=\"MS:1000081\"/>"
                                                           "</analyzer><analyzer order=\"3\"><cvParam "
                                                           "accession=\"MS:1000084\"/></analyzer>"),
                                         log);
  EXPECT_NE(ms1.find("I\tInstrumentType\tQTOF\r\n"), std::string::npos);
  EXPECT_EQ(log.find("no known mass analyzer"), std::string::npos);
}

TEST(MassAnalyzerTerms, AnalyzerWithoutFamilyGetsOneAlertNamingTheTerm) {
  TempDir temp;
  std::string log;
  const std::string ms1 = extractedMS1Of(
      temp, mzMLWithAnalyzers("<analyzer order=\"2\"><cvParam accession=\"MS:1000080\"/></analyzer>"), log);
  EXPECT_NE(ms1.find("I\tInstrumentType\tITMS\r\n"), std::string::npos);
  EXPECT_NE(log.find("run.mzML: 1 spectra name no known mass analyzer (MS:1000080 magnetic sector); they "
                     "were written as ITMS"),
            std::string::npos)
      << log;
}

TEST(MassAnalyzerTerms, AccessionMissingFromTheTableIsNamedByItsAccession) {
  TempDir temp;
  std::string log;
  extractedMS1Of(temp, mzMLWithAnalyzers("<analyzer order=\"2\"><cvParam accession=\"MS:1009999\"/></analyzer>"), log);
  EXPECT_NE(log.find("run.mzML: 1 spectra name no known mass analyzer (MS:1009999); they were written as ITMS"),
            std::string::npos)
      << log;
}

TEST(MassAnalyzerTerms, UnknownMzXMLAnalyzerIsNamedByItsValue) {
  TempDir temp;
  writeFile(temp.file("run.mzXML"),
            "<mzXML><msRun><msInstrument msInstrumentID=\"1\"><msMassAnalyzer category=\"massAnalyzer\" "
            "value=\"Sector\"/></msInstrument><scan num=\"3\" msLevel=\"1\" peaksCount=\"0\" msInstrumentID=\"1\">"
            "</scan></msRun></mzXML>");
  const std::size_t mark = runLogLines().size();
  ASSERT_TRUE(extractOpenFormat(temp.file("run.mzXML"), temp.folder(), "run"));
  EXPECT_NE(logSince(mark).find("run.mzXML: 1 spectra name no known mass analyzer (Sector); they were written as ITMS"),
            std::string::npos)
      << logSince(mark);
}

}  // namespace
}  // namespace corvid
