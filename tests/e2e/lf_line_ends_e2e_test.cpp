// MS1/MS2 text with LF line ends through the real binary: the fixture pair, Corvid's own BSA1
// extraction and Debian's msconvert output of BSA1, each against its CR LF copy. The msconvert
// files are also compared spectrum by spectrum with Corvid's own extraction of the same mzML.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"
#include "platform/run_log.h"
#include "tests/spectra/ms_text_compare.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

const fs::path kPair = fs::path(CORVID_TEST_DATA_DIR) / "pair";

// The console text with the run's folder replaced, so that runs in two folders compare.
std::string normalised(const std::string& text, const fs::path& folder) {
  return withoutElapsedSeconds(replaceAll(text, folder.string(), "<folder>"));
}

// Every file of the folder except the inputs and the log (which holds time stamps).
std::map<std::string, std::string> outputsOf(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(".ms1") || name.ends_with(".ms2") || name == "CorvidPlusLog.txt" || name.starts_with(".")) {
      continue;
    }
    files[name] = readFile(entry.path());
  }
  return files;
}

// Runs "corvid -D <folder> -F ms1" on the text pair written in both line-end styles and expects
// the same console text and byte-identical outputs. Returns the outputs.
std::map<std::string, std::string> expectSameRunForBothLineEnds(const TempDir& dir, const std::string& stem,
                                                                const std::string& ms1, const std::string& ms2,
                                                                std::string* console = nullptr) {
  const fs::path crlf = dir.path() / "crlf";
  const fs::path lf = dir.path() / "lf";
  fs::create_directories(crlf);
  fs::create_directories(lf);
  writeFile(crlf / (stem + ".ms1"), ms1);
  writeFile(crlf / (stem + ".ms2"), ms2);
  writeFile(lf / (stem + ".ms1"), withLineFeeds(ms1));
  writeFile(lf / (stem + ".ms2"), withLineFeeds(ms2));
  const RunResult crlfRun = runCorvid(dir.path(), {"-D", crlf.string(), "-F", "ms1"});
  const RunResult lfRun = runCorvid(dir.path(), {"-D", lf.string(), "-F", "ms1"});
  EXPECT_EQ(crlfRun.status, 0) << crlfRun.out;
  EXPECT_EQ(lfRun.status, 0) << lfRun.out;
  EXPECT_EQ(normalised(crlfRun.out, crlf), normalised(lfRun.out, lf));
  const std::map<std::string, std::string> crlfOutputs = outputsOf(crlf);
  const std::map<std::string, std::string> lfOutputs = outputsOf(lf);
  EXPECT_EQ(crlfOutputs.size(), lfOutputs.size());
  for (const auto& [name, bytes] : crlfOutputs) {
    const auto other = lfOutputs.find(name);
    EXPECT_TRUE(other != lfOutputs.end() && other->second == bytes)
        << name << " is missing or differs for the LF pair";
  }
  if (console != nullptr) *console = lfRun.out;
  return lfOutputs;
}

TEST(LineFeedEndToEnd, FixturePairGivesTheSameOutputsAsWithCrLf) {
  TempDir dir;
  std::string console;
  const auto outputs = expectSameRunForBothLineEnds(dir, "run1", readFile(kPair / "run1.ms1"),
                                                    readFile(kPair / "run1.ms2"), &console);
  ASSERT_TRUE(outputs.count("run1.csv") == 1) << console;
  EXPECT_NE(outputs.at("run1.csv").find("CID, IT, "), std::string::npos);
  EXPECT_TRUE(outputs.count("run1_CIDIT.mgf") == 1);
  EXPECT_EQ(console.find("line ends"), std::string::npos) << console;
}

fs::path bsa1Path() {
  if (const char* path = std::getenv("CORVID_BSA1")) return path;
  const char* home = std::getenv("HOME");
  return fs::path(home == nullptr ? "/root" : home) / ".cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML";
}

// msconvert from PATH, or empty when it is not installed (Debian package libpwiz-tools).
fs::path findMsconvert() {
  const char* path = std::getenv("PATH");
  std::stringstream folders(path == nullptr ? "/usr/bin" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const fs::path candidate = fs::path(folder) / "msconvert";
    if (!folder.empty() && fs::exists(candidate)) return candidate;
  }
  return {};
}

class Bsa1LineFeeds : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(bsa1Path())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1Path();
    fs::create_directories(own);
    fs::copy_file(bsa1Path(), own / "BSA1.mzML");
    // Corvid's own extraction (its MS1/MS2 text with CR LF, and the scan summary).
    const RunResult run = runCorvid(dir.path(), {"-D", (own / "BSA1.mzML").string()});
    ASSERT_EQ(run.status, 0) << run.out;
  }
  TempDir dir;
  fs::path own = dir.path() / "own";
};

TEST_F(Bsa1LineFeeds, OwnExtractionWithLineFeedsGivesTheSameCsvAndSpectra) {
  TempDir runs;
  const auto outputs = expectSameRunForBothLineEnds(runs, "BSA1", readFile(own / "BSA1.ms1"),
                                                    readFile(own / "BSA1.ms2"));
  ASSERT_TRUE(outputs.count("BSA1.csv") == 1);
  // One row per MS2 scan after the header line.
  const std::string& csv = outputs.at("BSA1.csv");
  std::size_t rows = 0;
  for (std::size_t at = csv.find("\r\n"); at != std::string::npos; at = csv.find("\r\n", at + 2)) ++rows;
  EXPECT_EQ(rows, 1121u);
  // The data folder's own run wrote the same report from the CR LF files.
  EXPECT_TRUE(readFile(own / "BSA1.csv") == csv);
  EXPECT_TRUE(readFile(own / "BSA1_CIDIT.mgf") == outputs.at("BSA1_CIDIT.mgf"));
}

// What Debian's msconvert writes for BSA1 and how it relates to Corvid's own extraction:
// - LF line ends: read exactly as with CR LF (checked here on the loaded records and the run);
// - the same spectra in mzML order (MS1 first, then MS2), which for each MS level is Corvid's
//   order of native scan numbers; every peak list, charge and [M+H]+ agree within msconvert's
//   printed precision, except numbers printed without a decimal point, which Corvid's digit
//   scanner reads ten times too large (a kept rule of the format);
// - no scan numbers for BSA1's "spectrum=N" ids (msconvert writes 0), the retention time as
//   "RTime" in minutes (Corvid reads "RetTime" in seconds), and no ActivationType,
//   InstrumentType, ActivationCenter or PrecursorScan items. Without an InstrumentType line the
//   MS1 file is not FTMS for Corvid, so the per-file driver stops at "ITMS encountered.." for the
//   LF files and their CR LF copy alike, and no report can be compared.
class MsconvertLineFeeds : public Bsa1LineFeeds {
 protected:
  void SetUp() override {
    msconvert = findMsconvert();
    if (msconvert.empty()) GTEST_SKIP() << "msconvert not installed (Debian package libpwiz-tools)";
    Bsa1LineFeeds::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    fs::create_directories(converted);
    fs::copy_file(bsa1Path(), converted / "BSA1.mzML");
    for (const char* format : {"--ms1", "--ms2"}) {
      const RunResult run = runProgram(msconvert.string(), converted, {format, "BSA1.mzML", "-o", "."});
      ASSERT_EQ(run.status, 0) << run.out << run.err;
    }
    fs::remove(converted / "BSA1.mzML");
  }
  fs::path msconvert;
  fs::path converted = dir.path() / "msconvert";
};

struct Ms2Order {
  std::vector<int> ms1Scans;  // Corvid's scan numbers in native order, per MS level
  std::vector<int> ms2Scans;
};

// Corvid's scan numbers of the summary (Scan, NativeScan, NativeId, MSLevel, ...) in native order.
Ms2Order nativeOrder(const fs::path& summaryPath) {
  std::map<long, std::pair<int, int>> byNative;  // native scan -> (level, Corvid's scan)
  std::stringstream lines(readFile(summaryPath));
  std::string line;
  std::getline(lines, line);  // header
  while (std::getline(lines, line)) {
    std::vector<std::string> columns;
    std::stringstream fields(line);
    for (std::string column; std::getline(fields, column, ',');) columns.push_back(column);
    if (columns.size() < 4) continue;
    byNative[std::atol(columns[1].c_str())] = {std::atoi(columns[3].c_str()), std::atoi(columns[0].c_str())};
  }
  Ms2Order order;
  for (const auto& [native, levelAndScan] : byNative) {
    (levelAndScan.first == 1 ? order.ms1Scans : order.ms2Scans).push_back(levelAndScan.second);
  }
  return order;
}

// Numbers of msconvert's peak lines written without a decimal point (read ten times too large)
// and in exponent notation (the digit scanner knows no exponent: such a value reads as garbage).
struct PeakNumberShapes {
  long withoutPoint = 0;
  long withExponent = 0;
};

PeakNumberShapes peakNumberShapes(const std::string& text) {
  PeakNumberShapes shapes;
  std::stringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] < '0' || line[0] > '9') continue;
    const std::size_t blank = line.find(' ');
    for (const std::string& number : {line.substr(0, blank), blank == std::string::npos ? std::string("0.0") : line.substr(blank + 1)}) {
      shapes.withoutPoint += number.find('.') == std::string::npos ? 1 : 0;
      shapes.withExponent += number.find('e') != std::string::npos ? 1 : 0;
    }
  }
  return shapes;
}

// a agrees with the reference b within msconvert's printing (7 significant digits) and Corvid's
// own (6 decimals for m/z, 4 for intensities); tenfold is set when a is ten times that instead.
bool agrees(double a, double b, bool& tenfold) {
  auto close = [](double x, double y) { return std::fabs(x - y) <= 1e-6 * std::fabs(y) + 1e-4; };
  tenfold = !close(a, b) && close(a, 10.0 * b);
  return close(a, b) || tenfold;
}

TEST_F(MsconvertLineFeeds, LineFeedFilesReadAsTheirCrLfCopies) {
  ASSERT_NE(readFile(converted / "BSA1.ms2").find("\n"), std::string::npos);
  ASSERT_EQ(readFile(converted / "BSA1.ms2").find("\r\n"), std::string::npos) << "msconvert wrote CR LF";
  TempDir runs;
  std::string console;
  const auto outputs = expectSameRunForBothLineEnds(runs, "BSA1", readFile(converted / "BSA1.ms1"),
                                                    readFile(converted / "BSA1.ms2"), &console);
  EXPECT_NE(console.find("Loading MS1 Spectra Number: 564 \n"), std::string::npos) << console;
  EXPECT_NE(console.find("ITMS encountered.. use quarry_raw.exe..."), std::string::npos) << console;

  MS1File lf1, crlf1;
  MS2File lf2, crlf2;
  loadMS1File((runs.path() / "lf" / "BSA1.ms1").string(), lf1);
  loadMS1File((runs.path() / "crlf" / "BSA1.ms1").string(), crlf1);
  loadMS2File((runs.path() / "lf" / "BSA1.ms2").string(), lf2);
  loadMS2File((runs.path() / "crlf" / "BSA1.ms2").string(), crlf2);
  discardRunLog();
  EXPECT_EQ(lf1.spectrumCount, 564);
  EXPECT_EQ(lf2.spectrumCount, 1120);
  expectSameMs1(crlf1, lf1);
  expectSameMs2(crlf2, lf2);
}

TEST_F(MsconvertLineFeeds, SpectraAgreeWithCorvidsOwnExtraction) {
  MS1File theirs1, ours1;
  MS2File theirs2, ours2;
  loadMS1File((converted / "BSA1.ms1").string(), theirs1);
  loadMS2File((converted / "BSA1.ms2").string(), theirs2);
  loadMS1File((own / "BSA1.ms1").string(), ours1);
  loadMS2File((own / "BSA1.ms2").string(), ours2);
  discardRunLog();
  const Ms2Order order = nativeOrder(own / "BSA1_scans.csv");
  ASSERT_EQ(theirs1.spectra.size(), order.ms1Scans.size());
  ASSERT_EQ(theirs2.spectra.size(), order.ms2Scans.size());
  std::map<int, const MS1Spectrum*> ours1ByScan;
  for (const MS1Spectrum& spectrum : ours1.spectra) ours1ByScan[static_cast<int>(spectrum.scanNumber)] = &spectrum;
  std::map<int, const MS2Spectrum*> ours2ByScan;
  for (const MS2Spectrum& spectrum : ours2.spectra) ours2ByScan[static_cast<int>(spectrum.scanNumber)] = &spectrum;

  long tenfoldValues = 0;
  long disagreeing = 0;
  bool tenfold = false;
  auto comparePeaks = [&](const std::vector<Peak>& theirs, const std::vector<Peak>& ours) {
    ASSERT_EQ(theirs.size(), ours.size());
    for (std::size_t k = 0; k < theirs.size(); ++k) {
      disagreeing += agrees(theirs[k].mz, ours[k].mz, tenfold) ? 0 : 1;
      tenfoldValues += tenfold ? 1 : 0;
      disagreeing += agrees(theirs[k].intensity, ours[k].intensity, tenfold) ? 0 : 1;
      tenfoldValues += tenfold ? 1 : 0;
    }
  };
  for (std::size_t i = 0; i < theirs1.spectra.size(); ++i) {
    comparePeaks(theirs1.spectra[i].peaks, ours1ByScan.at(order.ms1Scans[i])->peaks);
  }
  for (std::size_t i = 0; i < theirs2.spectra.size(); ++i) {
    const MS2Spectrum& theirs = theirs2.spectra[i];
    const MS2Spectrum& ours = *ours2ByScan.at(order.ms2Scans[i]);
    EXPECT_EQ(theirs.charge, ours.charge) << "MS2 spectrum " << i;
    EXPECT_TRUE(agrees(theirs.precursorMH, ours.precursorMH, tenfold) && !tenfold) << "MS2 spectrum " << i;
    comparePeaks(theirs.peaks, ours.peaks);
  }
  const PeakNumberShapes ms1Shapes = peakNumberShapes(readFile(converted / "BSA1.ms1"));
  const PeakNumberShapes ms2Shapes = peakNumberShapes(readFile(converted / "BSA1.ms2"));
  EXPECT_EQ(disagreeing, ms1Shapes.withExponent + ms2Shapes.withExponent);
  EXPECT_EQ(tenfoldValues, ms1Shapes.withoutPoint + ms2Shapes.withoutPoint);
  std::printf("msconvert BSA1 against Corvid's extraction: %zu MS1 and %zu MS2 spectra, %ld values read "
              "tenfold (no decimal point), %ld in exponent notation\n",
              theirs1.spectra.size(), theirs2.spectra.size(), tenfoldValues, disagreeing);
}

}  // namespace
}  // namespace corvid
