// The QC report (output_qc) through the real binary: its page document and its mzQC file agree
// with each other and with the per-precursor table and the CSV report of the same run, figure
// for figure; the mzQC file validates against the schema with known terms only; a split MS2 file
// gets one report for the whole input; output_qc = 0 changes no byte.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;
using nlohmann::json;

std::vector<std::string> splitText(const std::string& line, char separator) {
  std::vector<std::string> fields;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, separator)) fields.push_back(field);
  return fields;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::string line : splitText(text, '\n')) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

// The figures counted here from the precursor table and the CSV report, independently of Corvid.
struct CountedFigures {
  std::int64_t scans = 0;       // CSV rows
  std::int64_t precursors = 0;  // table rows
  std::int64_t coIsolated = 0;  // scans with two or more table rows
  std::int64_t csvCoIsolated = 0;
  std::map<std::int64_t, std::int64_t> scansByCount;
  std::vector<std::int64_t> classes = std::vector<std::int64_t>(11, 0);
};

// Class of a scan's first table row, by the definitions the README gives.
std::size_t classOf(double recordedMz, int recordedCharge, double mz, int charge, int rank) {
  if (rank == 0) return 10;
  if (recordedCharge <= 0) return 9;
  if (charge != recordedCharge) return 8;
  const double tolerance = recordedMz * 10e-6;
  if (std::abs(mz - recordedMz) <= tolerance) return 0;
  const std::size_t moved[] = {1, 2, 3, 0, 4, 5, 6};
  for (int k = -3; k <= 3; ++k) {
    if (k != 0 && std::abs(mz - recordedMz - k * 1.0033548 / charge) <= tolerance) return moved[k + 3];
  }
  return 7;
}

CountedFigures countFigures(const std::string& table, const std::string& csv) {
  CountedFigures counted;
  // A report joined from the parts of a split file repeats the header before each part.
  for (const std::string& line : linesOf(csv)) {
    if (line.starts_with("ActivationType,")) continue;
    ++counted.scans;
    if (std::stoi(splitText(line, ',')[5]) >= 2) ++counted.csvCoIsolated;
  }
  const std::vector<std::string> rows = linesOf(table);
  std::map<std::string, std::int64_t> perScan;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    const std::vector<std::string> f = splitText(rows[i], '\t');
    ++counted.precursors;
    if (perScan[f[1]]++ == 0) {
      ++counted.classes[classOf(std::stod(f[5]), std::stoi(f[6]), std::stod(f[8]), std::stoi(f[9]), std::stoi(f[7]))];
    }
  }
  for (const auto& [scan, count] : perScan) {
    ++counted.scansByCount[count];
    if (count >= 2) ++counted.coIsolated;
  }
  counted.scansByCount[0] += counted.scans - static_cast<std::int64_t>(perScan.size());
  counted.classes[10] += counted.scans - static_cast<std::int64_t>(perScan.size());
  return counted;
}

const json& metricOf(const json& mzqc, const std::string& accession) {
  for (const json& metric : mzqc["mzQC"]["runQualities"][0]["qualityMetrics"]) {
    if (metric["accession"] == accession) return metric;
  }
  static const json kMissing;
  ADD_FAILURE() << "no metric " << accession;
  return kMissing;
}

// The page document inside the page: the renderer's data block, or the stand-in's <pre> block.
json pageDocumentOf(const std::string& html) {
  std::string text;
  const std::size_t block = html.find("id=\"qc-data\">");
  if (block != std::string::npos) {
    const std::size_t start = block + 13;
    text = html.substr(start, html.find("</script>", start) - start);
    for (std::size_t at = text.find("<\\/"); at != std::string::npos; at = text.find("<\\/", at)) text.erase(at + 1, 1);
  } else {
    const std::size_t start = html.find("<pre>") + 5;
    text = html.substr(start, html.find("</pre>", start) - start);
    for (const auto& [entity, character] : {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}}) {
      for (std::size_t at = text.find(entity); at != std::string::npos; at = text.find(entity, at + 1)) {
        text.replace(at, std::string(entity).size(), character);
      }
    }
  }
  return json::parse(text);
}

std::string summaryValue(const json& page, const std::string& key) {
  for (const json& row : page["summary"]) {
    if (row.value("key", "") == key) return row["value"];
  }
  ADD_FAILURE() << "no summary row " << key;
  return "";
}

const json& plotOf(const json& page, const std::string& id) {
  for (const json& plot : page["plots"]) {
    if (plot["id"] == id) return plot;
  }
  static const json kMissing;
  ADD_FAILURE() << "no plot " << id;
  return kMissing;
}

void expectValidMzqc(const fs::path& mzqc) {
  const fs::path source(CORVID_SOURCE_DIR);
  const std::string command = "python3 " + shellQuote((source / "tests/scripts/check_mzqc.py").string()) + " " +
                              shellQuote((source / "tests/data/qc/mzqc_schema.json").string()) + " " +
                              shellQuote((source / "tests/data/qc/psi-ms.obo").string()) + " " +
                              shellQuote((source / "data/corvid-qc.obo").string()) + " -- " + shellQuote(mzqc.string());
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

// Every figure of the page and of the mzQC file against the counts of the table and the report.
void expectAgreement(const fs::path& folder, const std::string& stem) {
  const CountedFigures counted =
      countFigures(readFile(folder / (stem + ".precursors.tsv")), readFile(folder / (stem + ".csv")));
  const json mzqc = json::parse(readFile(folder / (stem + ".mzQC")));
  const json page = pageDocumentOf(readFile(folder / (stem + ".qc.html")));
  EXPECT_EQ(counted.coIsolated, counted.csvCoIsolated);
  EXPECT_EQ(metricOf(mzqc, "CORVID:0000007")["value"], counted.scans);
  EXPECT_EQ(metricOf(mzqc, "CORVID:0000005")["value"], counted.precursors);
  EXPECT_EQ(metricOf(mzqc, "CORVID:0000008")["value"], counted.coIsolated);
  EXPECT_DOUBLE_EQ(metricOf(mzqc, "CORVID:0000002")["value"].get<double>(),
                   static_cast<double>(counted.coIsolated) / static_cast<double>(counted.scans));
  EXPECT_EQ(metricOf(mzqc, "CORVID:0000001")["value"]["CORVID:0000012"].get<std::vector<std::int64_t>>(),
            counted.classes);
  const json& perScan = metricOf(mzqc, "CORVID:0000003")["value"];
  const json& bars = plotOf(page, "precursors_per_scan");
  for (std::size_t n = 0; n < perScan["CORVID:0000013"].size(); ++n) {
    const std::int64_t expected =
        counted.scansByCount.contains(std::int64_t(n)) ? counted.scansByCount.at(std::int64_t(n)) : 0;
    EXPECT_EQ(perScan["CORVID:0000012"][n], expected) << n;
    EXPECT_EQ(bars["values"][n], expected) << n;
  }
  EXPECT_EQ(summaryValue(page, "ms2_scans"), std::to_string(counted.scans));
  EXPECT_EQ(summaryValue(page, "precursors_exported"), std::to_string(counted.precursors));
  EXPECT_NE(summaryValue(page, "co_isolated_share").find("(" + std::to_string(counted.coIsolated) + " of "),
            std::string::npos);
  const char* classKeys[] = {"same",           "iso_minus_3",   "iso_minus_2",     "iso_minus_1",
                             "iso_plus_1",     "iso_plus_2",    "iso_plus_3",      "mz_refined",
                             "charge_changed", "none_recorded", "no_own_precursor"};
  std::int64_t stacked = 0;
  for (std::size_t c = 0; c < 11; ++c) {
    EXPECT_TRUE(summaryValue(page, classKeys[c]).starts_with(std::to_string(counted.classes[c]) + " (")) << c;
    std::int64_t sum = 0;
    for (const json& value : plotOf(page, "correction_classes")["series"][c]["values"])
      sum += value.get<std::int64_t>();
    EXPECT_EQ(sum, counted.classes[c]) << c;
    stacked += sum;
  }
  EXPECT_EQ(stacked, counted.scans);
  const json& scatter = plotOf(page, "mz_vs_rt");
  EXPECT_EQ(scatter["points"].size(), std::min<std::size_t>(20000, static_cast<std::size_t>(counted.precursors)));
  EXPECT_EQ(scatter.contains("note"), counted.precursors > 20000);
  expectValidMzqc(folder / (stem + ".mzQC"));
}

void copyCoElutingPair(const fs::path& data) {
  fs::create_directories(data);
  const fs::path fixture = fs::path(CORVID_TEST_DATA_DIR) / "pair";
  fs::copy_file(fixture / "run1.ms1", data / "run1.ms1");
  fs::copy_file(fixture / "run1.ms2", data / "run1.ms2");
  writeFile(data / "run1.quarry", "");
}

TEST(QcReportEndToEnd, CoElutingPairFiguresAgreeWithTableAndReport) {
  TempDir dir;
  const fs::path data = dir.path() / "data";
  copyCoElutingPair(data);
  const RunResult result =
      runCorvid(dir.path(), {"-D", data.string() + "/", "-F", "ms1", "--output_table=1", "--output_qc=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  expectAgreement(data, "run1");
  const json page = pageDocumentOf(readFile(data / "run1.qc.html"));
  EXPECT_EQ(page["title"], "Corvid QC: run1");
  EXPECT_EQ(summaryValue(page, "input_file"), "run1.ms1");
  EXPECT_EQ(page["plots"].size(), 7u);
  // The non-default settings name what was given, not where.
  EXPECT_NE(summaryValue(page, "settings").find("output_qc=1"), std::string::npos);
  EXPECT_EQ(summaryValue(page, "settings").find("datapath"), std::string::npos);
  const json mzqc = json::parse(readFile(data / "run1.mzQC"));
  const json& input = mzqc["mzQC"]["runQualities"][0]["metadata"]["inputFiles"][0];
  EXPECT_EQ(input["fileProperties"][0]["value"], "553c03946a0bdac28d19e6e26401dcd4e4b2d7ba");
  EXPECT_EQ(input["location"], "file://" + (data / "run1.ms1").string());
}

// Split into parts of 5 scans, the file gets one QC report with the figures of the whole.
TEST(QcReportEndToEnd, SplitMs2FileGetsOneReportForTheWholeInput) {
  TempDir whole;
  copyCoElutingPair(whole.path() / "data");
  ASSERT_EQ(runCorvid(whole.path(), {"-D", whole.folder() + "data/", "-F", "ms1", "--output_qc=1"}).status, 0);
  TempDir split;
  const fs::path data = split.path() / "data";
  copyCoElutingPair(data);
  writeFile(split.path() / "split.para", "datapath = " + data.string() +
                                             "/\ninput_format = ms1\nms2_split_threshold = 1000\nms2_part_scans = 5"
                                             "\noutput_qc = 1\noutput_table = 1\n");
  const RunResult result = runCorvid(split.path(), {"split.para"});
  ASSERT_EQ(result.status, 0) << result.out;
  ASSERT_NE(result.out.find("Start spliting MS2"), std::string::npos);
  for (const auto& entry : fs::directory_iterator(data)) {
    EXPECT_EQ(entry.path().filename().string().find("_ID_"), std::string::npos) << entry.path();
  }
  expectAgreement(data, "run1");
  const json splitMetrics = json::parse(readFile(data / "run1.mzQC"))["mzQC"]["runQualities"][0]["qualityMetrics"];
  const json wholeMetrics =
      json::parse(readFile(whole.path() / "data" / "run1.mzQC"))["mzQC"]["runQualities"][0]["qualityMetrics"];
  EXPECT_EQ(splitMetrics, wholeMetrics);
}

// Every file of a run with output_qc = 0 given is the file of the default run, byte for byte.
TEST(QcReportEndToEnd, OffGivenExplicitlyChangesNoByte) {
  TempDir plain;
  TempDir off;
  copyCoElutingPair(plain.path() / "data");
  copyCoElutingPair(off.path() / "data");
  ASSERT_EQ(runCorvid(plain.path(), {"-D", plain.folder() + "data/", "-F", "ms1", "--output_table=1"}).status, 0);
  ASSERT_EQ(
      runCorvid(off.path(), {"-D", off.folder() + "data/", "-F", "ms1", "--output_table=1", "--output_qc=0"}).status,
      0);
  std::size_t compared = 0;
  for (const auto& entry : fs::directory_iterator(plain.path() / "data")) {
    const std::string name = entry.path().filename().string();
    if (name == "CorvidPlusLog.txt") continue;  // holds the run's times
    EXPECT_TRUE(fs::exists(off.path() / "data" / name)) << name;
    EXPECT_EQ(readFile(entry.path()), readFile(off.path() / "data" / name)) << name;
    ++compared;
  }
  EXPECT_GE(compared, 8u);
  EXPECT_FALSE(fs::exists(off.path() / "data" / "run1.mzQC"));
  EXPECT_FALSE(fs::exists(off.path() / "data" / "run1.qc.html"));
}

// A QC file that cannot be written is an Error, and the CSV report is not saved: a later run
// processes the file again.
TEST(QcReportEndToEnd, UnwritableQcFileLeavesNoReport) {
  TempDir dir;
  const fs::path data = dir.path() / "data";
  copyCoElutingPair(data);
  fs::create_directories(data / "run1.mzQC" / "taken");  // a folder where the file should go
  const RunResult result = runCorvid(dir.path(), {"-D", data.string() + "/", "-F", "ms1", "--output_qc=1"});
  EXPECT_NE(result.out.find("Fail to write the mzQC file " + (data / "run1.mzQC").string() + ": "), std::string::npos)
      << result.out;
  EXPECT_FALSE(fs::exists(data / "run1.csv"));
  EXPECT_TRUE(fs::is_directory(data / "run1.mzQC" / "taken"));
}

TEST(QcReportEndToEnd, Bsa1FiguresAgreeWithTableAndReport) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  const RunResult result =
      runCorvid(dir.path(), {"-D", bsa1MzmlPath().string(), "--outputpath=" + dir.folder(),
                             "--extract_path=" + dir.folder() + "x", "--output_table=1", "--output_qc=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  expectAgreement(dir.path(), "BSA1");
  const json mzqc = json::parse(readFile(dir.path() / "BSA1.mzQC"));
  const json& input = mzqc["mzQC"]["runQualities"][0]["metadata"]["inputFiles"][0];
  EXPECT_EQ(input["name"], "BSA1.mzML");
  EXPECT_EQ(input["fileFormat"]["accession"], "MS:1000584");
  EXPECT_EQ(input["fileProperties"][0]["value"].get<std::string>().size(), 40u);
}

}  // namespace
}  // namespace corvid
