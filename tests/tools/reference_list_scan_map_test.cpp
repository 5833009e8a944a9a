// corvid-reference-list's scan map: Corvid's <stem>_scans.csv read back, and PSMs mapped to
// Corvid's scan numbers by native id or by MS2 native scan number.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_support.h"
#include "tools/reference_list/errors.h"
#include "tools/reference_list/scan_map.h"

namespace corvid::reflist {
namespace {

using corvid::testing::TempDir;
using corvid::testing::writeFile;

// As Corvid writes it: CR LF lines, MS1 and MS2 numbered on their own (native 12 names an MS1
// and an MS2 spectrum), an id with a comma quoted, native scan 22 shared by two MS2 spectra.
const std::string kSummary =
    "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount\r\n"
    "1,12,scan=12 kind=ms1,1,10.000000,0,0.000000,0,100\r\n"
    "2,10,controllerType=0 controllerNumber=1 scan=10,2,10.500000,1,501.007300,2,20\r\n"
    "3,12,scan=12 kind=ms2,2,11.000000,1,601.007300,2,20\r\n"
    "4,13,\"scan=13,ms2\",2,11.500000,1,468.007300,3,20\r\n"
    "5,22,a,2,12.000000,1,901.007300,1,20\r\n"
    "6,22,b,2,12.500000,1,901.007300,1,20\r\n";

Psm psmOf(long scan, const std::string& nativeId = "") {
  Psm psm;
  psm.scan = scan;
  psm.nativeId = nativeId;
  return psm;
}

TEST(ReferenceListScanMap, MapsByNativeIdThenByMs2NativeScan) {
  const ScanMap map = parseScanMap(kSummary, "x_scans.csv");
  EXPECT_EQ(mapToCorvidScan(map, psmOf(999, "controllerType=0 controllerNumber=1 scan=10")), 2);
  EXPECT_EQ(mapToCorvidScan(map, psmOf(0, "scan=13,ms2")), 4);
  EXPECT_EQ(mapToCorvidScan(map, psmOf(0, "scan=12 kind=ms1")), 1);
  // No native id (or one the map lacks): the MS2 spectrum of that native number.
  EXPECT_EQ(mapToCorvidScan(map, psmOf(12)), 3);
  EXPECT_EQ(mapToCorvidScan(map, psmOf(10, "unknown id")), 2);
  // Ambiguous or missing numbers map to nothing.
  EXPECT_EQ(mapToCorvidScan(map, psmOf(22)), std::nullopt);
  EXPECT_EQ(mapToCorvidScan(map, psmOf(20)), std::nullopt);
}

TEST(ReferenceListScanMap, LineFeedsAndGzipAreReadToo) {
  TempDir temp;
  writeFile(temp.file("lf_scans.csv"), corvid::testing::replaceAll(kSummary, "\r\n", "\n"));
  ASSERT_EQ(std::system(("gzip -c " + temp.file("lf_scans.csv") + " > " + temp.file("lf_scans.csv.gz")).c_str()), 0);
  for (const char* name : {"lf_scans.csv", "lf_scans.csv.gz"}) {
    const ScanMap map = loadScanMap(temp.file(name));
    EXPECT_EQ(mapToCorvidScan(map, psmOf(13)), 4) << name;
  }
}

TEST(ReferenceListScanMap, Errors) {
  const auto messageOf = [](const std::string& text) {
    try {
      parseScanMap(text, "m.csv");
    } catch (const InputError& error) {
      return std::string(error.what());
    }
    return std::string("no error");
  };
  EXPECT_EQ(messageOf(""), "m.csv: empty file, not a Corvid scan summary (<stem>_scans.csv)");
  EXPECT_EQ(messageOf("Scan,Mz\r\n1,2\r\n"),
            "m.csv:1: not a Corvid scan summary (<stem>_scans.csv): the first line should be "
            "\"Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount\"");
  const std::string header = kSummary.substr(0, kSummary.find("\r\n") + 2);
  EXPECT_EQ(messageOf(header + "1,2,x,2\r\n"), "m.csv:2: expected 9 comma-separated fields");
  EXPECT_EQ(messageOf(header + "1,2,\"x,2,1,1,1,1,1\r\n"), "m.csv:2: expected 9 comma-separated fields");
  EXPECT_EQ(messageOf(header + "one,2,x,2,1,1,1,1,1\r\n"), "m.csv:2: Scan, NativeScan or MSLevel is not a number");
  try {
    loadScanMap("/nonexistent/x_scans.csv");
    FAIL() << "no error";
  } catch (const InputError& error) {
    EXPECT_EQ(std::string(error.what()), "/nonexistent/x_scans.csv: cannot open: No such file or directory");
  }
}

}  // namespace
}  // namespace corvid::reflist
