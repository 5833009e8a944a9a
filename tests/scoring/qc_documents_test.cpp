// The QC page document and the mzQC document rendered from planted figures: the page keeps the
// renderer's contract for every plot kind, both documents show the same figures, and an empty
// run gives complete documents without data.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "scoring/qc_mzqc.h"
#include "scoring/qc_page_document.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using nlohmann::json;

QcPrecursorRow plantedRow(std::uint32_t scan, int recordedCharge, double mz, int charge, int rank) {
  QcPrecursorRow row;
  row.scan = scan;
  row.retentionTime = 30.0 * scan;
  row.activation = "HCD";
  row.analyzer = "FT";
  row.recordedMz = 600.0;
  row.recordedCharge = recordedCharge;
  row.mz = mz;
  row.charge = charge;
  row.rank = rank;
  row.score = 0.1 * scan;
  row.precursorIonFraction = 0.5;
  return row;
}

QcFigures plantedFigures() {
  QcRunFacts facts;
  facts.label = "planted";
  facts.inputPath = "/data/planted run.mzML";
  facts.inputFormat = "mzML";
  facts.inputSha1 = std::string(40, 'a');
  facts.version = "2.0.8";
  facts.completionTime = "2026-01-02T03:04:05Z";
  facts.ms1Spectra = 10;
  facts.ms2Spectra = 4;
  facts.scoreThreshold = -0.34;
  facts.nonDefaultSettings = {{"output_qc", "1"}};
  std::vector<QcPrecursorRow> rows = {plantedRow(1, 2, 600.0, 2, 1), plantedRow(1, 2, 700.0, 3, 2),
                                      plantedRow(2, 2, 600.2, 2, 1), plantedRow(3, 2, 620.0, 3, 1),
                                      plantedRow(4, 2, 600.0, 2, 0)};
  rows.back().kind = QcRowKind::kRecordedStandIn;
  return computeQcFigures(rows, facts);
}

// The fields each kind must carry, and that the texts are there.
void expectContract(const json& page) {
  ASSERT_TRUE(page["title"].is_string());
  for (const json& row : page["summary"]) {
    EXPECT_TRUE(row["label"].is_string());
    EXPECT_TRUE(row["value"].is_string()) << row.dump();
  }
  ASSERT_EQ(page["plots"].size(), 7u);
  for (const json& plot : page["plots"]) {
    for (const char* field : {"id", "kind", "title", "caption", "x_title", "y_title"}) {
      EXPECT_TRUE(plot[field].is_string() && !plot[field].get<std::string>().empty()) << field << plot.dump();
    }
    const std::string kind = plot["kind"];
    if (kind == "histogram") {
      EXPECT_EQ(plot["bin_edges"].size(), plot["counts"].empty() ? 0 : plot["counts"].size() + 1);
    }
    if (kind == "bars") {
      EXPECT_EQ(plot["categories"].size(), plot["values"].size());
    }
    if (kind == "stacked_bars") {
      for (const json& series : plot["series"]) EXPECT_EQ(series["values"].size(), plot["categories"].size());
    }
    if (kind == "lines") {
      for (const json& series : plot["series"]) EXPECT_EQ(series["values"].size(), plot["x"].size());
    }
    if (kind == "heatmap") {
      for (const json& cell : plot["cells"]) {
        EXPECT_LT(cell[0].get<std::size_t>(), plot["x_labels"].size());
        EXPECT_LT(cell[1].get<std::size_t>(), plot["y_labels"].size());
      }
    }
    if (kind == "scatter") {
      EXPECT_TRUE(plot["points"].is_array());
    }
  }
}

std::string summaryValue(const json& page, const std::string& key) {
  for (const json& row : page["summary"]) {
    if (row.value("key", "") == key) return row["value"];
  }
  return "missing " + key;
}

TEST(QcDocuments, PageDocumentKeepsTheContractAndShowsTheFigures) {
  const QcFigures figures = plantedFigures();
  const json page = qcPageDocument(figures);
  expectContract(page);
  EXPECT_EQ(page["title"], "Corvid QC: planted");
  EXPECT_EQ(page["summary"][0]["value"], "planted run.mzML");
  EXPECT_EQ(summaryValue(page, "precursors_exported"), "5");
  EXPECT_EQ(summaryValue(page, "precursors_per_scan"), "1.250");
  EXPECT_EQ(summaryValue(page, "same"), "1 (25.0%)");
  EXPECT_EQ(summaryValue(page, "charge_changed"), "1 (25.0%)");
  EXPECT_EQ(summaryValue(page, "mz_refined"), "1 (25.0%)");
  EXPECT_EQ(summaryValue(page, "no_own_precursor"), "1 (25.0%)");
  EXPECT_EQ(summaryValue(page, "co_isolated_share"), "25.0% (1 of 4 MS2 scans)");
  EXPECT_EQ(summaryValue(page, "settings"), "output_qc=1");
  EXPECT_EQ(page["plots"][5]["marker"]["value"], -0.34);
  EXPECT_EQ(page["plots"][2]["x_labels"], json({"2"}));
  EXPECT_EQ(page["plots"][2]["y_labels"], json({"2", "3"}));
}

TEST(QcDocuments, MzqcShowsTheSameFigures) {
  const QcFigures figures = plantedFigures();
  const nlohmann::ordered_json mzqc = mzqcDocument(figures);
  const auto& run = mzqc["mzQC"]["runQualities"][0];
  EXPECT_EQ(run["metadata"]["label"], "planted");
  EXPECT_EQ(run["metadata"]["inputFiles"][0]["location"], "file:///data/planted%20run.mzML");
  EXPECT_EQ(run["metadata"]["inputFiles"][0]["fileFormat"]["accession"], "MS:1000584");
  std::map<std::string, nlohmann::ordered_json> metrics;
  for (const auto& metric : run["qualityMetrics"]) metrics[metric["accession"]] = metric["value"];
  EXPECT_EQ(metrics["CORVID:0000005"], 5);
  EXPECT_EQ(metrics["CORVID:0000008"], 1);
  EXPECT_EQ(metrics["CORVID:0000001"]["CORVID:0000012"][0], 1);
  EXPECT_EQ(metrics["CORVID:0000003"]["CORVID:0000012"], nlohmann::ordered_json({0, 3, 1}));
  EXPECT_EQ(metrics["MS:4000063"]["MS:1000041"], nlohmann::ordered_json({2, 3}));
  EXPECT_DOUBLE_EQ(metrics["MS:4000063"]["UO:0000191"][0].get<double>(), 0.6);
}

TEST(QcDocuments, EmptyRunGivesCompleteDocumentsThatValidate) {
  QcRunFacts facts;
  facts.label = "empty";
  facts.inputPath = "/data/empty.ms1";
  facts.inputFormat = "MS1";
  facts.version = "2.0.8";
  facts.completionTime = "2026-01-02T03:04:05Z";
  const QcFigures figures = computeQcFigures({}, facts);
  const json page = qcPageDocument(figures);
  expectContract(page);
  for (const json& plot : page["plots"]) EXPECT_EQ(plot.dump().find("null"), std::string::npos) << plot.dump();
  testing::TempDir dir;
  const std::string path = dir.file("empty.mzQC");
  testing::writeFile(path, mzqcDocument(figures).dump(2));
  const std::string source = CORVID_SOURCE_DIR;
  const std::string command = "python3 " + source + "/tests/scripts/check_mzqc.py " + source +
                              "/tests/data/qc/mzqc_schema.json " + source + "/tests/data/qc/psi-ms.obo " + source +
                              "/data/corvid-qc.obo -- " + path + " >/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
}

}  // namespace
}  // namespace corvid
