// The corrected mzML (output_mzml) through the real binary: a golden file of the co-eluting
// fixture, validation by OpenMS's FileInfo (schema and semantic rules) where Debian's topp is
// installed, and on BSA1 the input's spectra and ids with the MGF's precursors as selected ions.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>

#include "tests/support/indexed_mzml_check.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

bool fileInfoInstalled() { return std::system("command -v FileInfo >/dev/null 2>&1") == 0; }

// The indexed mzML schema that OpenMS ships (Debian's openms-common), for xmllint offline.
const fs::path kIndexedMzmlSchema = "/usr/share/openms/SCHEMAS/mzML_idx_1_10.xsd";

// xmllint's verdict on the file against the indexed mzML 1.1 schema; skipped (true) where
// xmllint or the schema is missing.
void expectValidByXmllint(const fs::path& file) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0 || !fs::exists(kIndexedMzmlSchema)) return;
  const std::string command = "xmllint --noout --schema " + shellQuote(kIndexedMzmlSchema.string()) + " " +
                              shellQuote(file.string()) + " >/dev/null 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0) << file << " does not validate against " << kIndexedMzmlSchema;
}

// FileInfo -v's verdict lines and its errors, counted by text.
struct Validation {
  bool schemaValid = false;
  bool semanticallyValid = false;
  std::map<std::string, int> errors;
};

Validation validate(const fs::path& file) {
  Validation validation;
  const fs::path report = file.string() + ".fileinfo.txt";
  std::system(("FileInfo -v -in " + shellQuote(file.string()) + " > " + shellQuote(report.string()) + " 2>&1").c_str());
  std::istringstream lines(readFile(report));
  for (std::string line; std::getline(lines, line);) {
    if (line == "Success - the file is valid!") validation.schemaValid = true;
    if (line == "Success - the file is semantically valid!") validation.semanticallyValid = true;
    if (line.starts_with("Error") || line.starts_with("Validation error")) ++validation.errors[line];
  }
  return validation;
}

TEST(CorrectedMzmlEndToEnd, CoElutingFixtureGoldenAndValid) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "coeluting.mzML", dir.path() / "coeluting.mzML");
  const RunResult result = runCorvid(dir.path(), {"coeluting.mzML", "--output_mzml=1", "--output_table=1", "--strict_exit=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  EXPECT_NE(result.out.find("Corrected mzML: 36 spectra, 24 with Corvid's precursors."), std::string::npos) << result.out;
  const std::string corrected = readFile(dir.path() / "coeluting.corrected.mzML");
  expectGolden(corrected, "corrected_mzml/coeluting.corrected.mzML");
  expectConsistentIndexedMzML(corrected);
  // Both peptides of every CID scan, best first, as in the MGF.
  EXPECT_NE(corrected.find("<selectedIonList count=\"2\">"), std::string::npos);
  expectValidByXmllint(dir.path() / "coeluting.corrected.mzML");
  if (!fileInfoInstalled()) GTEST_SKIP() << "FileInfo not installed (Debian package topp): validation skipped";
  const Validation input = validate(dir.path() / "coeluting.mzML");
  const Validation output = validate(dir.path() / "coeluting.corrected.mzML");
  EXPECT_TRUE(input.schemaValid && input.semanticallyValid);
  EXPECT_TRUE(output.schemaValid);
  EXPECT_TRUE(output.semanticallyValid);
  EXPECT_TRUE(output.errors.empty());
}

TEST(CorrectedMzmlEndToEnd, OffByDefaultAndForOtherInputs) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "small.mzML", dir.path() / "small.mzML");
  ASSERT_EQ(runCorvid(dir.path(), {"small.mzML"}).status, 0);
  EXPECT_FALSE(fs::exists(dir.path() / "small.corrected.mzML"));
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "pair" / "run1.ms1", dir.path() / "run1.ms1");
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "pair" / "run1.ms2", dir.path() / "run1.ms2");
  const RunResult pair = runCorvid(dir.path(), {"-D", dir.folder(), "-F", "ms1", "--output_mzml=1"});
  EXPECT_NE(pair.out.find("output_mzml: no corrected mzML for run1: it is written for mzML and mzXML inputs only."),
            std::string::npos) << pair.out;
  // Results that already exist are not redone, so no corrected mzML can be made from them.
  const RunResult again = runCorvid(dir.path(), {"small.mzML", "--output_mzml=1"});
  EXPECT_NE(again.out.find("is not written because the results of small already existed"), std::string::npos);
  EXPECT_FALSE(fs::exists(dir.path() / "small.corrected.mzML"));
}

// MGF blocks of one file: scan -> (PEPMASS, charge) in file order.
std::map<long, std::vector<std::pair<double, int>>> mgfPrecursors(const std::string& mgf) {
  std::map<long, std::vector<std::pair<double, int>>> blocks;
  std::istringstream lines(mgf);
  long scan = 0;
  int charge = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("TITLE=")) {
      const std::size_t first = line.find('.');
      scan = std::stol(line.substr(first + 1));
    } else if (line.starts_with("CHARGE=")) {
      charge = std::stoi(line.substr(7));
    } else if (line.starts_with("PEPMASS=")) {
      blocks[scan].push_back({std::stod(line.substr(8)), charge});
    }
  }
  return blocks;
}

// Native id -> Corvid scan, from an extraction summary.
std::map<std::string, long> scansOfSummary(const fs::path& summaryPath) {
  std::map<std::string, long> scanOf;
  std::istringstream summary(readFile(summaryPath));
  std::string line;
  std::getline(summary, line);
  while (std::getline(summary, line)) {
    std::vector<std::string> fields;
    std::istringstream cells(line);
    for (std::string cell; std::getline(cells, cell, ',');) fields.push_back(cell);
    scanOf[fields[2]] = std::stol(fields[0]);
  }
  return scanOf;
}

// Every MS2 spectrum of the corrected file carries the MGF's precursors of its scan, in order.
void expectMgfPrecursorsAsSelectedIons(const std::string& corrected, const fs::path& summaryPath, const fs::path& mgfPath,
                                       std::size_t expectedMs2) {
  const std::map<std::string, long> scanOf = scansOfSummary(summaryPath);
  const auto mgf = mgfPrecursors(readFile(mgfPath));
  std::size_t compared = 0;
  for (std::size_t at = corrected.find("<spectrum "); at != std::string::npos; at = corrected.find("<spectrum ", at + 1)) {
    const std::size_t end = corrected.find("</spectrum>", at);
    const std::string element = corrected.substr(at, end - at);
    const std::string id = attributeValues(element, "spectrum", "id").at(0);
    const auto blocks = mgf.find(scanOf.at(id));
    if (blocks == mgf.end()) continue;  // an MS1 spectrum
    std::vector<std::pair<double, int>> ions;
    for (std::size_t ion = element.find("<selectedIon>"); ion != std::string::npos; ion = element.find("<selectedIon>", ion + 1)) {
      const std::size_t mz = element.find("name=\"selected ion m/z\" value=\"", ion) + 31;
      const std::size_t charge = element.find("name=\"charge state\" value=\"", ion) + 27;
      ions.push_back({std::stod(element.substr(mz)), std::stoi(element.substr(charge))});
    }
    ASSERT_EQ(ions.size(), blocks->second.size()) << id;
    for (std::size_t i = 0; i < ions.size(); ++i) {
      // The MGF prints six decimals; the instrument's own ions are compared at its precision.
      EXPECT_NEAR(ions[i].first, blocks->second[i].first, 2e-4) << id;
      EXPECT_EQ(ions[i].second, blocks->second[i].second) << id;
    }
    ++compared;
  }
  EXPECT_EQ(compared, expectedMs2);
}

TEST(CorrectedMzmlEndToEnd, Bsa1KeepsEverySpectrumAndCarriesTheMgfPrecursors) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  const RunResult result = runCorvid(dir.path(), {"-D", bsa1MzmlPath().string(), "--outputpath=" + dir.folder(),
                                                  "--extract_path=" + dir.folder() + "x", "--output_mzml=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string input = readFile(bsa1MzmlPath());
  const std::string corrected = readFile(dir.path() / "BSA1.corrected.mzML");
  const std::vector<std::string> ids = attributeValues(corrected, "spectrum", "id");
  EXPECT_EQ(ids.size(), 1684u);
  EXPECT_EQ(ids, attributeValues(input, "spectrum", "id"));
  expectConsistentIndexedMzML(corrected);
  expectMgfPrecursorsAsSelectedIons(corrected, dir.path() / "x" / "BSA1_scans.csv", dir.path() / "BSA1_CIDIT.mgf", 1120);
  expectValidByXmllint(dir.path() / "BSA1.corrected.mzML");
  if (!fileInfoInstalled()) GTEST_SKIP() << "FileInfo not installed (Debian package topp): validation skipped";
  // BSA1 itself breaks semantic rules (m/z terms without units); the corrected copy adds none.
  fs::copy_file(bsa1MzmlPath(), dir.path() / "BSA1.mzML");
  const Validation original = validate(dir.path() / "BSA1.mzML");
  const Validation output = validate(dir.path() / "BSA1.corrected.mzML");
  EXPECT_TRUE(output.schemaValid);
  EXPECT_EQ(output.errors, original.errors);
}

TEST(CorrectedMzmlEndToEnd, NestedMzxmlGoldenAndValid) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "nested.mzXML", dir.path() / "nested.mzXML");
  const RunResult result = runCorvid(dir.path(), {"nested.mzXML", "--output_mzml=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string corrected = readFile(dir.path() / "nested.corrected.mzML");
  expectGolden(corrected, "corrected_mzml/nested.corrected.mzML");
  expectConsistentIndexedMzML(corrected);
  expectValidByXmllint(dir.path() / "nested.corrected.mzML");
  if (!fileInfoInstalled()) GTEST_SKIP() << "FileInfo not installed (Debian package topp): validation skipped";
  const Validation output = validate(dir.path() / "nested.corrected.mzML");
  EXPECT_TRUE(output.schemaValid && output.semanticallyValid) << output.errors.size();
}

TEST(CorrectedMzmlEndToEnd, Bsa1AsMzxmlBecomesAValidMzmlWithTheMgfPrecursors) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  if (std::system("command -v FileConverter >/dev/null 2>&1") != 0) GTEST_SKIP() << "FileConverter (topp) not installed";
  TempDir dir;
  const std::string convert = "FileConverter -in " + shellQuote(bsa1MzmlPath().string()) + " -out " +
                              shellQuote(dir.file("BSA1.mzXML")) + " >/dev/null 2>&1";
  ASSERT_EQ(std::system(convert.c_str()), 0);
  const RunResult result = runCorvid(dir.path(), {"BSA1.mzXML", "--extract_path=x", "--output_mzml=1", "--strict_exit=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string corrected = readFile(dir.path() / "BSA1.corrected.mzML");
  EXPECT_EQ(attributeValues(corrected, "spectrum", "id").size(), 1684u);
  expectConsistentIndexedMzML(corrected);
  expectMgfPrecursorsAsSelectedIons(corrected, dir.path() / "x" / "BSA1_scans.csv", dir.path() / "BSA1_CIDIT.mgf", 1120);
  const Validation output = validate(dir.path() / "BSA1.corrected.mzML");
  EXPECT_TRUE(output.schemaValid && output.semanticallyValid) << output.errors.size();
}

}  // namespace
}  // namespace corvid
