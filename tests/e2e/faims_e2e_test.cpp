// FAIMS runs through the real binary. Two different synthetic runs are merged scan by scan into
// one mzML run of two compensation voltages (tools/make_faims_run.py): each MS2 scan of the
// merged run must get exactly the precursors (m/z, charge, in order) that the same scan gets in
// its own run alone. The same merged run without its voltages shows that the rule matters: there
// the neighbouring MS1 scans of the other voltage change the answers of many scans.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

// Scan -> its exported precursors ("m/z charge"), in table order.
using PrecursorsByScan = std::map<long, std::vector<std::string>>;

std::vector<std::string> tabFields(const std::string& line) {
  std::vector<std::string> fields;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, '\t')) fields.push_back(field);
  return fields;
}

std::size_t columnOf(const std::vector<std::string>& header, const std::string& name) {
  for (std::size_t i = 0; i < header.size(); ++i)
    if (header[i] == name) return i;
  ADD_FAILURE() << "no column " << name;
  return 0;
}

PrecursorsByScan readPrecursors(const fs::path& table) {
  std::istringstream in(readFile(table));
  std::string line;
  std::getline(in, line);
  const std::vector<std::string> header = tabFields(line);
  const std::size_t scan = columnOf(header, "scan"), mz = columnOf(header, "mz"), charge = columnOf(header, "charge");
  PrecursorsByScan precursors;
  while (std::getline(in, line)) {
    const std::vector<std::string> fields = tabFields(line);
    precursors[std::stol(fields[scan])].push_back(fields[mz] + " " + fields[charge]);
  }
  return precursors;
}

// Merged scan -> (input, scan in that input), as the generator's map lists them.
std::vector<std::tuple<long, int, long>> readScanMap(const fs::path& path) {
  std::vector<std::tuple<long, int, long>> map;
  std::istringstream in(readFile(path));
  long merged = 0, source = 0;
  int input = 0;
  while (in >> merged >> input >> source) map.emplace_back(merged, input, source);
  return map;
}

void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

// Runs the generator (options, then the output name, then the inputs with their voltages) into
// folder/name and Corvid on the result; Corvid's console output.
std::string generateAndRun(const fs::path& folder, const std::string& options, const std::string& name,
                           const std::string& inputs) {
  fs::create_directories(folder);
  const std::string script = std::string(CORVID_SOURCE_DIR) + "/tools/make_faims_run.py";
  const std::string command = "cd " + shellQuote(folder.string()) + " && python3 " + shellQuote(script) + " " +
                              options + " " + shellQuote(name) + " " + inputs;
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  const RunResult result = runCorvid(folder, {name, "--output_table=1", "--output_qc=1"});
  EXPECT_EQ(result.status, 0) << result.out;
  return result.out;
}

// How many MS2 scans of the merged run (by the map) get the precursors of their own run alone,
// and how many do not.
std::pair<int, int> agreement(const PrecursorsByScan& merged, const std::vector<std::tuple<long, int, long>>& map,
                              const std::vector<PrecursorsByScan>& alone) {
  int same = 0, differ = 0;
  for (const auto& [scan, input, source] : map) {
    const PrecursorsByScan& own = alone[static_cast<std::size_t>(input)];
    const auto mergedRows = merged.find(scan);
    const auto ownRows = own.find(source);
    if (mergedRows == merged.end() && ownRows == own.end()) continue;  // an MS1 scan
    if (mergedRows != merged.end() && ownRows != own.end() && mergedRows->second == ownRows->second) {
      ++same;
    } else {
      ++differ;
    }
  }
  return {same, differ};
}

TEST(FaimsEndToEnd, PrecursorsOfTheMergedRunEqualThoseOfEachRunAlone) {
  if (std::system("command -v python3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "python3 is not installed";
  TempDir dir;
  const std::string synthetic = shellQuote(CORVID_MAKE_SYNTHETIC_RUN);
  const std::string inputs = dir.folder();
  run("cd " + shellQuote(inputs) + " && " + synthetic + " runA 40 3 400 1 && " + synthetic + " runB 40 3 400 2");
  const std::string a = shellQuote(inputs + "runA");
  const std::string b = shellQuote(inputs + "runB");

  const std::string both = a + " -45 " + b + " -65";
  const std::string mergedLog = generateAndRun(dir.path() / "merged", "--map map.tsv", "merged.mzML", both);
  generateAndRun(dir.path() / "plain", "--no-voltages", "plain.mzML", both);
  generateAndRun(dir.path() / "a", "", "runA.mzML", a + " none");
  generateAndRun(dir.path() / "b", "", "runB.mzML", b + " none");
  EXPECT_NE(mergedLog.find("FAIMS: 2 compensation voltages (-65, -45); precursors are sought in MS1 scans of each "
                           "MS2 scan's own voltage."),
            std::string::npos)
      << mergedLog;
  EXPECT_EQ(mergedLog.find("no MS1 scan has"), std::string::npos) << mergedLog;

  const auto map = readScanMap(dir.path() / "merged" / "map.tsv");
  const std::vector<PrecursorsByScan> alone = {readPrecursors(dir.path() / "a" / "runA.precursors.tsv"),
                                               readPrecursors(dir.path() / "b" / "runB.precursors.tsv")};
  const auto [same, differ] = agreement(readPrecursors(dir.path() / "merged" / "merged.precursors.tsv"), map, alone);
  EXPECT_EQ(same, 240);  // every MS2 scan of both runs
  EXPECT_EQ(differ, 0);

  // Without the voltages the nearest MS1 scan is the other run's: a good share of the scans change.
  const auto [plainSame, plainDiffer] =
      agreement(readPrecursors(dir.path() / "plain" / "plain.precursors.tsv"), map, alone);
  EXPECT_EQ(plainSame + plainDiffer, 240);
  EXPECT_GE(plainDiffer, 24) << plainSame << " scans agree";

  // The voltage is the table's last column and the summary's, only for the run with voltages.
  const std::string table = readFile(dir.path() / "merged" / "merged.precursors.tsv");
  EXPECT_NE(table.find("\trecorded_precursor_kept\tcompensation_voltage\n"), std::string::npos);
  EXPECT_NE(table.find("\t-45.000000\n"), std::string::npos);
  EXPECT_NE(table.find("\t-65.000000\n"), std::string::npos);
  EXPECT_EQ(readFile(dir.path() / "plain" / "plain.precursors.tsv").find("compensation_voltage"), std::string::npos);
  EXPECT_NE(readFile(dir.path() / "merged" / "merged_scans.csv").find(",CompensationVoltage\r\n"), std::string::npos);
  EXPECT_EQ(readFile(dir.path() / "a" / "runA_scans.csv").find("CompensationVoltage"), std::string::npos);

  // The QC report names the voltages and their MS2 scans; a run without them does not.
  EXPECT_NE(readFile(dir.path() / "merged" / "merged.qc.html").find("-65 V: 120 MS2 scans; -45 V: 120 MS2 scans"),
            std::string::npos);
  EXPECT_EQ(readFile(dir.path() / "plain" / "plain.qc.html").find("FAIMS compensation voltages"), std::string::npos);
  const std::string mzqc = readFile(dir.path() / "merged" / "merged.mzQC");
  EXPECT_NE(mzqc.find("MS2 scans per FAIMS compensation voltage"), std::string::npos);
  EXPECT_EQ(readFile(dir.path() / "plain" / "plain.mzQC").find("FAIMS"), std::string::npos);
  const fs::path source(CORVID_SOURCE_DIR);
  const std::string check = "python3 " + shellQuote((source / "tests/scripts/check_mzqc.py").string()) + " " +
                            shellQuote((source / "tests/data/qc/mzqc_schema.json").string()) + " " +
                            shellQuote((source / "tests/data/qc/psi-ms.obo").string()) + " " +
                            shellQuote((source / "data/corvid-qc.obo").string()) + " -- " +
                            shellQuote((dir.path() / "merged" / "merged.mzQC").string());
  EXPECT_EQ(std::system(check.c_str()), 0) << check;
}

}  // namespace
}  // namespace corvid
