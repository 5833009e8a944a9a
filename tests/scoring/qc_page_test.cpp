// The QC page's HTML: self-contained (nothing to load from the network), the page document
// embedded so that no text inside can end its block, one card per plot in page order; and
// writeQcPage, which refuses to write a page without its chart library. The browser test
// (tests/scripts/qc_page_browser_test.sh) checks that the charts are really drawn.
#include "scoring/qc_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <regex>
#include <string>
#include <vector>

#include "build_config.h"
#include "platform/run_log.h"
#include "tests/support/test_support.h"

namespace corvid::testing {
namespace {

using nlohmann::json;

constexpr const char* kDataBlockStart = "<script type=\"application/json\" id=\"qc-data\">";

json fixtureDocument() { return json::parse(readFile(fs::path(CORVID_TEST_DATA_DIR) / "qc" / "page_document.json")); }

json smallDocument() {
  return json::parse(R"json({
    "title": "Corvid QC: <BSA1> & co",
    "summary": [{"label": "Input file", "value": "BSA1.mzML", "key": "input_file"},
                {"label": "Version", "value": "2.0.8"}],
    "plots": [
      {"id": "b", "kind": "bars", "title": "Second id first", "caption": "Read it left to right.",
       "x_title": "Precursors (count)", "y_title": "Scans (count)", "categories": ["1"], "values": [3]},
      {"id": "a", "kind": "scatter", "title": "Map", "caption": "One point per precursor.",
       "x_title": "RT (min)", "y_title": "m/z (Th)", "points": [[1, 400]], "note": "1 of 1 shown"}]
})json");
}

// The text of the embedded data block: from its start tag to the first "</script" after it, the
// place where a browser ends the block.
std::string dataBlockOf(const std::string& html) {
  const std::size_t start = html.find(kDataBlockStart);
  if (start == std::string::npos) return std::string();
  const std::size_t from = start + std::string(kDataBlockStart).size();
  std::string lower = html.substr(from);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  return html.substr(from, lower.find("</script"));
}

std::vector<std::string> matchesOf(const std::string& text, const std::regex& pattern) {
  std::vector<std::string> found;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), pattern); it != std::sregex_iterator(); ++it) {
    found.push_back((*it)[1].str());
  }
  return found;
}

std::size_t occurrences(const std::string& text, const std::string& piece) {
  std::size_t count = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++count;
  return count;
}

TEST(QcPage, NothingOnThePageIsLoadedFromTheNetwork) {
  const std::string html = qcPageHtml(fixtureDocument(), "/* the chart library */");
  EXPECT_EQ(html.find("http://"), std::string::npos);
  EXPECT_EQ(html.find("https://"), std::string::npos);
  EXPECT_FALSE(std::regex_search(html, std::regex(R"((src|href)\s*=)", std::regex::icase)));
  EXPECT_EQ(html.find("url("), std::string::npos);
  EXPECT_EQ(html.find("@import"), std::string::npos);
  EXPECT_NE(html.find("default-src 'none'"), std::string::npos) << "the page forbids loading anything";
}

TEST(QcPage, TheRealChartLibraryIsInlinedAndItsLicenceCommentsHoldTheOnlyAddresses) {
  std::string library;
  for (const char* name : kQcChartLibraryFiles) library += readFile(fs::path(CORVID_QC_LIBRARY_DIR) / name) + "\n";
  ASSERT_GT(library.size(), 100000u) << "the chart library was not placed in " << CORVID_QC_LIBRARY_DIR;
  const std::string html = qcPageHtml(fixtureDocument(), library);
  for (const char* scheme : {"http://", "https://"}) {
    EXPECT_EQ(occurrences(html, scheme), occurrences(library, scheme)) << "every address is the library's own";
  }
  EXPECT_NE(html.find(library), std::string::npos) << "the library is inlined unchanged";
}

TEST(QcPage, TheEmbeddedDocumentIsTheDocumentEvenWhenItsTextsEndScripts) {
  json page = smallDocument();
  page["summary"][0]["value"] = "</script><script>document.title = 'broken'</script>";
  page["plots"][0]["caption"] = "<!-- <script> </SCRIPT>";
  const std::string html = qcPageHtml(page, "");
  EXPECT_EQ(json::parse(dataBlockOf(html)), page);
  EXPECT_EQ(occurrences(html, kDataBlockStart), 1u);
}

TEST(QcPage, TheFixtureDocumentIsEmbeddedWhole) {
  const json page = fixtureDocument();
  EXPECT_EQ(json::parse(dataBlockOf(qcPageHtml(page, ""))), page);
}

TEST(QcPage, OneCardPerPlotInPageOrderWithTitleCanvasCaptionAndNote) {
  const json page = fixtureDocument();
  const std::string html = qcPageHtml(page, "");
  std::vector<std::string> ids;
  for (const json& plot : page["plots"]) ids.push_back(plot["id"]);
  ASSERT_EQ(ids.size(), 7u);
  EXPECT_EQ(matchesOf(html, std::regex("<section class=\"card\" data-plot=\"([^\"]*)\"")), ids);
  EXPECT_EQ(matchesOf(html, std::regex("<canvas id=\"([^\"]*)\"")), ids);
  const std::vector<std::string> titles = matchesOf(html, std::regex("<h2>([^<]*)</h2>"));
  const std::vector<std::string> captions = matchesOf(html, std::regex("<p class=\"caption\">([^<]*)</p>"));
  ASSERT_EQ(titles.size(), ids.size());
  ASSERT_EQ(captions.size(), ids.size());
  for (std::size_t i = 0; i < ids.size(); ++i) {
    EXPECT_EQ(titles[i], page["plots"][i]["title"]);
    EXPECT_EQ(captions[i], replaceAll(page["plots"][i]["caption"], "'", "&#39;"));
  }
  EXPECT_EQ(matchesOf(html, std::regex("<p class=\"note\">([^<]*)</p>")),
            std::vector<std::string>{"20 000 of 65 112 precursors shown"});
}

TEST(QcPage, TitleAndSummaryRowsAreEscapedAndKeyed) {
  const std::string html = qcPageHtml(smallDocument(), "");
  EXPECT_NE(html.find("<title>Corvid QC: &lt;BSA1&gt; &amp; co</title>"), std::string::npos);
  EXPECT_NE(html.find("<h1>Corvid QC: &lt;BSA1&gt; &amp; co</h1>"), std::string::npos);
  EXPECT_NE(html.find("<tr><th scope=\"row\">Input file</th><td data-key=\"input_file\">BSA1.mzML</td></tr>"),
            std::string::npos);
  EXPECT_NE(html.find("<tr><th scope=\"row\">Version</th><td>2.0.8</td></tr>"), std::string::npos);
  EXPECT_LT(html.find("Input file"), html.find("Version")) << "rows keep the document's order";
  EXPECT_LT(html.find("class=\"summary\""), html.find("class=\"card\"")) << "the summary comes first";
}

TEST(QcPage, ScriptsComeInOrderAndTheLibraryCannotEndItsBlock) {
  const std::string html = qcPageHtml(smallDocument(), "var text = '</script>'; var upper = '</SCRIPT>';");
  EXPECT_TRUE(html.starts_with("<!DOCTYPE html>\n<html lang=\"en\">"));
  EXPECT_NE(html.find("var text = '<\\/script>'; var upper = '<\\/SCRIPT>';"), std::string::npos);
  const std::size_t errorCounter = html.find("window.onerror");
  const std::size_t data = html.find(kDataBlockStart);
  const std::size_t library = html.find("var text");
  const std::size_t drawing = html.find("new Chart(");
  EXPECT_LT(errorCounter, data);
  EXPECT_LT(data, library);
  EXPECT_LT(library, drawing);
  EXPECT_NE(drawing, std::string::npos);
  EXPECT_NE(html.find("animation: false"), std::string::npos) << "charts are drawn finished, not animated";
  EXPECT_TRUE(html.ends_with("</body>\n</html>\n"));
}

TEST(QcPage, ADocumentWithoutSummaryOrPlotsStillGivesAPage) {
  const std::string html = qcPageHtml(json::object(), "");
  EXPECT_EQ(html.find("class=\"card\""), std::string::npos);
  EXPECT_EQ(html.find("class=\"summary\""), std::string::npos);
  EXPECT_EQ(json::parse(dataBlockOf(html)), json::object());
}

TEST(WriteQcPage, WritesThePageWithTheLibraryFromTheProgramFolder) {
  TempDir dir;
  fs::create_directories(dir.path() / "qc");
  dir.write(kQcChartLibraryFiles[0], "/* first library file */");
  dir.write(kQcChartLibraryFiles[1], "/* second library file */");
  const std::string path = dir.file("BSA1_qc.html");
  discardRunLog();
  StdoutCapture capture;
  ASSERT_TRUE(writeQcPage(path, smallDocument(), dir.folder()));
  EXPECT_EQ(capture.text(), "");
  const std::string html = readFile(path);
  EXPECT_LT(html.find("/* first library file */"), html.find("/* second library file */"));
  EXPECT_NE(html.find("</html>\r\n"), std::string::npos) << "lines end with CR LF as in Corvid's other text files";
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 2) << "no temporary file";
}

TEST(WriteQcPage, AMissingLibraryFileGivesTheErrorAndNoPage) {
  if (fs::exists(fs::path(build::kInstalledDataFolder) / kQcChartLibraryFiles[1])) {
    GTEST_SKIP() << "an installed chart library in " << build::kInstalledDataFolder << " would be found";
  }
  TempDir dir;
  fs::create_directories(dir.path() / "qc");
  dir.write(kQcChartLibraryFiles[0], "/* only the first library file */");
  const std::string path = dir.file("BSA1_qc.html");
  discardRunLog();
  StdoutCapture capture;
  EXPECT_FALSE(writeQcPage(path, smallDocument(), dir.folder()));
  const std::string printed = capture.text();
  EXPECT_TRUE(printed.starts_with("[Corvid] Fail to write the QC page " + path + ": the chart library file "))
      << printed;
  EXPECT_NE(printed.find("chartjs-chart-matrix.min.js cannot be read"), std::string::npos) << printed;
  EXPECT_FALSE(fs::exists(path));
  discardRunLog();
}

TEST(WriteQcPage, AFolderThatCannotHoldThePageGivesTheError) {
  TempDir dir;
  fs::create_directories(dir.path() / "qc");
  for (const char* name : kQcChartLibraryFiles) dir.write(name, "/* library */");
  const std::string path = dir.file("missing_folder/BSA1_qc.html");
  discardRunLog();
  StdoutCapture capture;
  EXPECT_FALSE(writeQcPage(path, smallDocument(), dir.folder()));
  EXPECT_TRUE(capture.text().starts_with("[Corvid] Fail to write the QC page " + path + ": ")) << capture.text();
  EXPECT_FALSE(fs::exists(path));
  discardRunLog();
}

}  // namespace
}  // namespace corvid::testing
