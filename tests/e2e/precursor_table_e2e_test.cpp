// The per-precursor table (output_table) through the real binary: golden tables of the
// co-eluting fixture pair and of the small mzML fixture (with native ids), and on BSA1 one row
// per MGF block with every field named.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

std::vector<std::string> tabFields(const std::string& line) {
  std::vector<std::string> fields;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, '\t')) fields.push_back(field);
  if (!line.empty() && line.back() == '\t') fields.emplace_back();
  return fields;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  std::istringstream in(text);
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

std::size_t count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

// Every row has the header's field count, the header names are unique, no CR anywhere.
void expectTidy(const std::string& table) {
  const std::vector<std::string> lines = linesOf(table);
  ASSERT_FALSE(lines.empty());
  const std::vector<std::string> header = tabFields(lines[0]);
  EXPECT_EQ(header.size(), 25u);
  EXPECT_EQ(std::set<std::string>(header.begin(), header.end()).size(), header.size());
  for (std::size_t i = 1; i < lines.size(); ++i) EXPECT_EQ(tabFields(lines[i]).size(), header.size()) << lines[i];
  EXPECT_EQ(table.find('\r'), std::string::npos);
}

TEST(PrecursorTableEndToEnd, CoElutingPairGolden) {
  TempDir dir;
  const fs::path data = dir.path() / "data";
  fs::create_directories(data);
  const fs::path fixture = fs::path(CORVID_TEST_DATA_DIR) / "pair";
  fs::copy_file(fixture / "run1.ms1", data / "run1.ms1");
  fs::copy_file(fixture / "run1.ms2", data / "run1.ms2");
  writeFile(data / "run1.quarry", "");
  const RunResult result = runCorvid(dir.path(), {"-D", data.string() + "/", "-F", "ms1", "--output_table=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string table = readFile(data / "run1.precursors.tsv");
  expectTidy(table);
  expectGolden(table, "table/run1.precursors.tsv");
  EXPECT_EQ(linesOf(table).size() - 1, count(readFile(data / "run1_CIDIT.mgf"), "BEGIN IONS") +
                                           count(readFile(data / "run1_HCDFT.mgf"), "BEGIN IONS") +
                                           count(readFile(data / "run1_ETDIT.mgf"), "BEGIN IONS") +
                                           count(readFile(data / "run1_CIDFT.mgf"), "BEGIN IONS") +
                                           count(readFile(data / "run1_HCDIT.mgf"), "BEGIN IONS") +
                                           count(readFile(data / "run1_ETDFT.mgf"), "BEGIN IONS"));
}

TEST(PrecursorTableEndToEnd, SmallMzmlGoldenWithNativeIds) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "small.mzML", dir.path() / "small.mzML");
  const RunResult result = runCorvid(dir.path(), {"small.mzML", "--output_table=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string table = readFile(dir.path() / "small.precursors.tsv");
  expectTidy(table);
  expectGolden(table, "table/small.precursors.tsv");
  EXPECT_NE(table.find("controllerType=0 controllerNumber=1 scan=2\t2\t"), std::string::npos);
}

TEST(PrecursorTableEndToEnd, OffByDefault) {
  TempDir dir;
  fs::copy_file(fs::path(CORVID_TEST_DATA_DIR) / "mzml" / "small.mzML", dir.path() / "small.mzML");
  ASSERT_EQ(runCorvid(dir.path(), {"-D", "small.mzML"}).status, 0);
  EXPECT_TRUE(fs::exists(dir.path() / "small.csv"));
  EXPECT_FALSE(fs::exists(dir.path() / "small.precursors.tsv"));
}

TEST(PrecursorTableEndToEnd, Bsa1HasOneRowPerMgfBlock) {
  if (!fs::exists(bsa1MzmlPath())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1MzmlPath();
  TempDir dir;
  const RunResult result = runCorvid(dir.path(), {"-D", bsa1MzmlPath().string(), "--outputpath=" + dir.folder(),
                                                  "--extract_path=" + dir.folder() + "x", "--output_table=1"});
  ASSERT_EQ(result.status, 0) << result.out;
  const std::string table = readFile(dir.path() / "BSA1.precursors.tsv");
  expectTidy(table);
  const std::vector<std::string> lines = linesOf(table);
  EXPECT_EQ(lines.size() - 1, count(readFile(dir.path() / "BSA1_CIDIT.mgf"), "BEGIN IONS"));
  // Python's csv.DictReader names every field of every row and counts the same rows.
  if (std::system("command -v python3 >/dev/null 2>&1") == 0) {
    const std::string check =
        "python3 -c \"import csv,sys; rows=list(csv.DictReader(open(sys.argv[1]), delimiter='\\t')); "
        "assert rows and all(None not in r and None not in r.values() for r in rows), 'unnamed field'; "
        "print(len(rows))\" " + shellQuote(dir.file("BSA1.precursors.tsv")) + " > " + shellQuote(dir.file("rows.txt"));
    ASSERT_EQ(std::system(check.c_str()), 0);
    EXPECT_EQ(std::stoul(readFile(dir.path() / "rows.txt")), lines.size() - 1);
  }
  // Native ids are the instrument's, scan numbers Corvid's renumbered ones.
  const std::vector<std::string> first = tabFields(lines[1]);
  EXPECT_TRUE(first[0].starts_with("spectrum=")) << lines[1];
  const std::string summary = readFile(dir.path() / "BSA1_scans.csv");
  EXPECT_NE(summary.find("\r\n" + first[1] + ",") , std::string::npos);
  EXPECT_NE(summary.find("," + first[0] + ","), std::string::npos);
}

}  // namespace
}  // namespace corvid
