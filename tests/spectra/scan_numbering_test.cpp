#include "spectra/scan_numbering.h"

#include <gtest/gtest.h>

namespace corvid {
namespace {

ScanKey scanOf(const std::string& id, int level, double rt, const std::string& ref = "") {
  ScanKey scan;
  scan.nativeScan = nativeScanNumber(id, 0);
  scan.idHash = nativeIdHash(id);
  scan.precursorRefHash = ref.empty() ? 0 : nativeIdHash(ref);
  scan.msLevel = level;
  scan.retentionTime = rt;
  return scan;
}

TEST(NativeScanNumber, ScanKeyThenLastNumberThenIndex) {
  EXPECT_EQ(nativeScanNumber("controllerType=0 controllerNumber=1 scan=4711", 0), 4711);
  EXPECT_EQ(nativeScanNumber("scan=12 extra=99", 0), 12);
  EXPECT_EQ(nativeScanNumber("spectrum=1011", 0), 1011);
  EXPECT_EQ(nativeScanNumber("sample=1 period=1 cycle=53 experiment=2", 0), 2);
  EXPECT_EQ(nativeScanNumber("index=7 x", 0), 7);
  EXPECT_EQ(nativeScanNumber("no digits here", 41), 42);
  EXPECT_EQ(nativeScanNumber("", 0), 1);
  EXPECT_EQ(nativeScanNumber("scan=99999999999999999999", 0), kLargestNativeScan + 1);
}

TEST(AssignScanNumbers, NativeNumbersKeptWhenTheyRiseWithRetentionTime) {
  std::vector<ScanKey> scans = {scanOf("scan=5", 1, 1.0), scanOf("scan=6", 2, 1.5, "scan=5"),
                                scanOf("scan=8", 2, 1.5), scanOf("scan=9", 1, 2.0),
                                scanOf("scan=10", 2, 2.5)};
  std::vector<std::uint32_t> order;
  EXPECT_FALSE(assignScanNumbers(scans, order));
  EXPECT_EQ(order, (std::vector<std::uint32_t>{0, 1, 2, 3, 4}));
  EXPECT_EQ(scans[2].scan, 8U);
  EXPECT_EQ(scans[1].precursorScan, 5);
  EXPECT_EQ(scans[2].precursorScan, 5);  // no reference: last MS1 scan
  EXPECT_EQ(scans[4].precursorScan, 9);
  EXPECT_EQ(scans[3].precursorScan, 0);
}

TEST(AssignScanNumbers, LevelsNumberedApartAreRenumberedByRetentionTime) {
  std::vector<ScanKey> scans = {scanOf("spectrum=1", 1, 1.0), scanOf("spectrum=2", 1, 3.0),
                                scanOf("spectrum=1", 2, 2.0), scanOf("spectrum=2", 2, 4.0)};
  scans[2].idHash = nativeIdHash("ms2 spectrum=1");
  scans[3].idHash = nativeIdHash("ms2 spectrum=2");
  std::vector<std::uint32_t> order;
  EXPECT_TRUE(assignScanNumbers(scans, order));
  EXPECT_EQ(order, (std::vector<std::uint32_t>{0, 2, 1, 3}));
  EXPECT_EQ(scans[0].scan, 1U);
  EXPECT_EQ(scans[2].scan, 2U);
  EXPECT_EQ(scans[1].scan, 3U);
  EXPECT_EQ(scans[3].scan, 4U);
  EXPECT_EQ(scans[2].precursorScan, 1);
  EXPECT_EQ(scans[3].precursorScan, 3);
}

TEST(AssignScanNumbers, RisingNumbersOutOfRetentionOrderAreRenumbered) {
  std::vector<ScanKey> scans = {scanOf("scan=1", 1, 5.0), scanOf("scan=2", 1, 4.0)};
  std::vector<std::uint32_t> order;
  EXPECT_TRUE(assignScanNumbers(scans, order));
  EXPECT_EQ(order, (std::vector<std::uint32_t>{1, 0}));
  EXPECT_EQ(scans[1].scan, 1U);
}

TEST(AssignScanNumbers, EqualRetentionTimesKeepFileOrder) {
  std::vector<ScanKey> scans = {scanOf("scan=3", 1, 2.0), scanOf("scan=1", 2, 2.0),
                                scanOf("scan=2", 2, 2.0)};
  std::vector<std::uint32_t> order;
  EXPECT_TRUE(assignScanNumbers(scans, order));  // numbers fall
  EXPECT_EQ(order, (std::vector<std::uint32_t>{0, 1, 2}));
  EXPECT_EQ(scans[2].scan, 3U);
}

TEST(AssignScanNumbers, RepeatedOrZeroOrHugeNumbersAreRenumbered) {
  for (const char* second : {"scan=1", "scan=0", "scan=4294967296"}) {
    std::vector<ScanKey> scans = {scanOf("scan=1", 1, 1.0), scanOf(second, 1, 2.0)};
    std::vector<std::uint32_t> order;
    EXPECT_TRUE(assignScanNumbers(scans, order)) << second;
    EXPECT_EQ(scans[1].scan, 2U);
  }
}

TEST(AssignScanNumbers, ReferenceToUnknownIdFallsBackToLastMS1) {
  std::vector<ScanKey> scans = {scanOf("scan=1", 1, 1.0), scanOf("scan=2", 2, 2.0, "scan=77")};
  std::vector<std::uint32_t> order;
  assignScanNumbers(scans, order);
  EXPECT_EQ(scans[1].precursorScan, 1);
}

TEST(AssignScanNumbers, MS2BeforeAnyMS1HasPrecursorScanZero) {
  std::vector<ScanKey> scans = {scanOf("scan=1", 2, 1.0), scanOf("scan=2", 1, 2.0)};
  std::vector<std::uint32_t> order;
  EXPECT_FALSE(assignScanNumbers(scans, order));
  EXPECT_EQ(scans[0].precursorScan, 0);
}

TEST(NativeIdHash, NeverZeroAndDistinguishesIds) {
  EXPECT_NE(nativeIdHash(""), 0U);
  EXPECT_NE(nativeIdHash("scan=1"), nativeIdHash("scan=2"));
  EXPECT_EQ(nativeIdHash("scan=1"), nativeIdHash("scan=1"));
}

}  // namespace
}  // namespace corvid
