#include "spectra/kx_format.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <random>

#include "spectra/precursor_record.h"
#include "platform/run_failure.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/failure_text.h"

namespace corvid {
namespace {

using namespace testing;

using corvid::testing::failureText;

TEST(WriteKX2, GoldenBytesForAcceptedAndRecordedPrecursors) {
  TempDir folder;
  MS2File file;
  file.spectra = {makeSpectrum(100, 2, 999.492724, {{100.5, 20.0}, {200.25, 3.5}}),
                  makeSpectrum(101, 3, 1500.0, {{50.0, 1.0}})};
  GroupExport group = wholeFileGroup(file, {{100.0, 2.0, 500.1}, {100.0, 3.0, 400.2}}, "run1");
  std::string path = folder.file("g.kx2");
  ASSERT_TRUE(writeKX2(group, file, path));
  ByteBuilder data;
  data.u32(2).title("run1");
  data.u32(100).u32(2).f64(100.5).f64(20.0).f64(200.25).f64(3.5);
  data.u32(2).f64(500.1).u32(2).f64(400.2).u32(3);
  data.u32(101).u32(1).f64(50.0).f64(1.0);
  data.u32(1).f64((1500.0 + 2 * kProtonMass) / 3).u32(3);
  EXPECT_EQ(readFile(path), data.bytes);
  ByteBuilder index;
  index.u32(100).u32(13).u32(101).u32(81);
  EXPECT_EQ(readFile(path + "idx"), index.bytes);
  EXPECT_EQ(group.writtenCount, 3);
}

TEST(WriteKX2, EmptyGroupGivesHeaderOnlyAndEmptyIndex) {
  TempDir folder;
  MS2File file;
  GroupExport group;
  group.rawName = "abc";
  group.writtenCount = 9;
  std::string path = folder.file("e.kx2");
  ASSERT_TRUE(writeKX2(group, file, path));
  std::string data = readFile(path);
  EXPECT_EQ(data.size(), 8u + 4u);
  EXPECT_EQ(data, ByteBuilder().u32(0).title("abc").bytes);
  EXPECT_TRUE(std::filesystem::exists(path + "idx"));
  EXPECT_EQ(readFile(path + "idx"), "");
  EXPECT_EQ(group.writtenCount, 0);
}

TEST(WriteKX2, ThreeAcceptedPrecursorsGiveOneRecord) {
  TempDir folder;
  MS2File file;
  file.spectra = {makeSpectrum(7, 2, 800.0, {})};
  GroupExport group = wholeFileGroup(file, {{7.0, 2.0, 401.0}, {7.0, 3.0, 301.0}, {7.0, 4.0, 201.0}}, "r");
  std::string path = folder.file("t.kx2");
  ASSERT_TRUE(writeKX2(group, file, path));
  ByteBuilder data;
  data.u32(1).title("r").u32(7).u32(0).u32(3);
  data.f64(401.0).u32(2).f64(301.0).u32(3).f64(201.0).u32(4);
  EXPECT_EQ(readFile(path), data.bytes);
  EXPECT_EQ(readFile(path + "idx"), ByteBuilder().u32(7).u32(10).bytes);
  EXPECT_EQ(group.writtenCount, 3);
}

TEST(WriteKX2, SmallerScanUnderCursorGivesRecordWithoutPrecursorsAndAlert) {
  TempDir folder;
  MS2File file;
  file.spectra = {makeSpectrum(5, 2, 800.0, {}), makeSpectrum(9, 2, 800.0, {})};
  GroupExport group = wholeFileGroup(file, {{6.0, 2.0, 401.0}}, "r");
  std::string path = folder.file("b.kx2");
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  ASSERT_TRUE(writeKX2(group, file, path));
  ::testing::internal::GetCapturedStdout();
  ByteBuilder data;
  data.u32(2).title("r");
  data.u32(5).u32(0).u32(1).f64(mzFromMH(800.0, 2)).u32(2);
  data.u32(9).u32(0).u32(0);
  EXPECT_EQ(readFile(path), data.bytes);
  EXPECT_EQ(group.writtenCount, 1);
  EXPECT_EQ(logMessagesSince(mark),
            std::vector<std::string>{"1 spectra written without precursors in " + path +
                                     ": the accepted precursor of scan 6 has no spectrum at its "
                                     "place in the group (first spectrum affected: scan 9)"});
}

TEST(WriteKX2, UncreatableFileLogsErrorAndReturnsFalse) {
  TempDir folder;
  MS2File file;
  GroupExport group;
  std::string path = folder.file("nowhere/x.kx2");
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(writeKX2(group, file, path));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[Corvid] Fail to create KX file " + path + ": No such file or directory \n");
  EXPECT_EQ(logMessagesSince(mark),
            std::vector<std::string>{"Fail to create KX file " + path + ": No such file or directory"});
}

TEST(WriteKX2, EmptyPathWritesTheFallbackPair) {
  TempDir folder;
  MS2File file;
  GroupExport group;
  bool written = runInFolder(folder.path(), [&] { return writeKX2(group, file, ""); });
  EXPECT_TRUE(written);
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "F:\\test.kx"));
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "F:\\test.kxidx"));
}

TEST(WriteKX1, GoldenBytesWithRetentionTimeInThePrecursorSlot) {
  TempDir folder;
  MS1File ms1;
  ms1.rawName = "ms1run";
  MS1Spectrum first;
  first.scanNumber = 1;
  first.retentionTime = 0.5;
  first.peaks = {{300.0, 10.0}};
  MS1Spectrum second;
  second.scanNumber = 2;
  second.retentionTime = 1.0;
  ms1.spectra = {first, second};
  ms1.spectrumCount = 2;
  std::string path = folder.file("m.kx1");
  ASSERT_TRUE(writeKX1(ms1, path));
  ByteBuilder data;
  data.u32(2).title("ms1run");
  data.u32(1).u32(1).f64(300.0).f64(10.0).u32(1).f64(0.5).u32(1);
  data.u32(2).u32(0).u32(1).f64(1.0).u32(1);
  EXPECT_EQ(readFile(path), data.bytes);
  EXPECT_EQ(readFile(path + "idx"), ByteBuilder().u32(1).u32(15).u32(2).u32(55).bytes);
}

TEST(WriteKX2FromMGF, BlocksOfOneScanMergeByPrecursorIndex) {
  TempDir folder;
  std::string mgfPath = folder.file("sample.MGF");
  writeFile(
      mgfPath,
      "BEGIN IONS\nTITLE=sample.100.100.2.0.dta\nCHARGE=2+\nPEPMASS=500.5\n10.0 1.0\n20.0 2.0\nEND "
      "IONS\n"
      "BEGIN IONS\nTITLE=sample.100.100.3.1.dta\nCHARGE=3+\nPEPMASS=333.25\n30.0 3.0\nEND IONS\n"
      "BEGIN IONS\nTITLE=sample.101.101.2.dta\nCHARGE=2+\nPEPMASS=600.0\n40.0 4.0\nEND IONS\n");
  MGFFile mgf;
  mgf.path = mgfPath;
  readMGF(mgf);
  writeKX2FromMGF(mgf);
  auto mzOf = [](double pepMass, int charge) {
    return (mhFromMz(pepMass, charge) - kProtonMass) / charge + kProtonMass;
  };
  ByteBuilder data;
  data.u32(2).title("sample");
  data.u32(100).u32(2).f64(10.0).f64(1.0).f64(20.0).f64(2.0);
  data.u32(2).f64(mzOf(500.5, 2)).u32(2).f64(mzOf(333.25, 3)).u32(3);
  data.u32(101).u32(1).f64(40.0).f64(4.0).u32(1).f64(mzOf(600.0, 2)).u32(2);
  std::string base = folder.file("sample");
  EXPECT_EQ(readFile(base + ".kx2"), data.bytes);
  EXPECT_EQ(readFile(base + ".kx2idx"), ByteBuilder().u32(100).u32(15).u32(101).u32(83).bytes);
}

TEST(WriteKX2FromMGF, RepeatedPrecursorIndexReplacesWithAlert) {
  TempDir folder;
  MGFFile mgf;
  mgf.path = folder.file("rep.mgf");
  mgf.rawName = "rep";
  mgf.distinctScanCount = 1;
  MS2Spectrum first = makeSpectrum(5, 2, 1000.0, {});
  first.precursorIndex = 1;
  MS2Spectrum second = makeSpectrum(5, 3, 1200.0, {});
  second.precursorIndex = 0;
  mgf.spectra = {first, second};
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  writeKX2FromMGF(mgf);
  ::testing::internal::GetCapturedStdout();
  ByteBuilder data;
  data.u32(1)
      .title("rep")
      .u32(5)
      .u32(0)
      .u32(1)
      .f64((1200.0 - kProtonMass) / 3 + kProtonMass)
      .u32(3);
  EXPECT_EQ(readFile(folder.file("rep.kx2")), data.bytes);
  EXPECT_EQ(logMessagesSince(mark).size(), 1u);
}

TEST(WriteKX2FromMGF, UncreatableOutputLogsError) {
  TempDir folder;
  std::filesystem::create_directories(folder.file("c.kx2"));  // a folder where the file should go
  MGFFile mgf;
  mgf.path = folder.file("c.mgf");
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  writeKX2FromMGF(mgf);
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(logMessagesSince(mark),
            std::vector<std::string>{"Fail to create KX file " + folder.file("c.kx2") + ": it is a folder"});
}

TEST(OpenKX, RoundTripOfWriteKX2) {
  TempDir folder;
  MS2File file;
  for (std::uint32_t scan = 20; scan < 26; ++scan) {
    file.spectra.push_back(
        makeSpectrum(scan, 2, 900.0, std::vector<Peak>(scan - 19, Peak{1.0, 2.0})));
  }
  GroupExport group = wholeFileGroup(file, {{22.0, 3.0, 300.0}}, "roundtrip");
  std::string path = folder.file("rt.kx2");
  ASSERT_TRUE(writeKX2(group, file, path));
  KXReader reader;
  ::testing::internal::CaptureStdout();
  openKX(reader, path);
  std::string console = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(console, "[Corvid] <Loading KX file " + path + "> \n[Corvid] <Loading KXIDX file " +
                         path + "idx> \n");
  readKXHeader(reader);
  EXPECT_EQ(reader.spectrumCount, 6);
  EXPECT_EQ(reader.title, "roundtrip");
  EXPECT_EQ(reader.titleLength, 10u);
  EXPECT_EQ(reader.headerLength, 18);
  EXPECT_EQ(reader.dataSize, static_cast<std::int64_t>(std::filesystem::file_size(path)));
  EXPECT_EQ(reader.data.size(), static_cast<std::size_t>(reader.dataSize) + 1);
  ASSERT_EQ(reader.indexSize, 6 * 8);
  for (std::int64_t entry = 0; entry < 6; ++entry) {
    std::uint32_t scan = readKXValue(reader.index, reader.indexSize, entry * 8, path);
    std::uint32_t offset = readKXValue(reader.index, reader.indexSize, entry * 8 + 4, path);
    EXPECT_EQ(scan, 20u + entry);
    EXPECT_EQ(readKXValue(reader.data, reader.dataSize, offset, path), scan);
    EXPECT_EQ(readKXValue(reader.data, reader.dataSize, offset + 4, path), scan - 19);
  }
}

// Writes a part of n spectra starting at firstScan; returns its path.
std::string writePart(const TempDir& folder, const std::string& name, std::uint32_t firstScan,
                      int count, const std::string& title) {
  MS2File file;
  for (int i = 0; i < count; ++i) {
    file.spectra.push_back(
        makeSpectrum(firstScan + i, 2, 700.0 + i,
                     std::vector<Peak>(static_cast<std::size_t>(i % 3), Peak{5.0, 6.0})));
  }
  GroupExport group = wholeFileGroup(file, {}, title);
  std::string path = folder.file(name);
  EXPECT_TRUE(writeKX2(group, file, path));
  return path;
}

TEST(MergeKX2Parts, TenAndFiveSpectraGiveFifteenWithShiftedOffsets) {
  TempDir folder;
  std::string first = writePart(folder, "run_ID_0_HCDFT.kx2", 1, 10, "run");
  std::string second = writePart(folder, "run_ID_1_HCDFT.kx2", 11, 5, "other");
  std::string target = folder.file("run_HCDFT.kx2");
  ::testing::internal::CaptureStdout();
  ASSERT_TRUE(mergeKX2Parts({first, second}, target));
  std::string console = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(console, "[Corvid] <Loading KX file " + first + "> \n[Corvid] <Loading KXIDX file " +
                         first + "idx> \n[Corvid] <Loading KX file " + second +
                         "> \n[Corvid] <Loading KXIDX file " + second +
                         "idx> \n2 Number of file will merge \nrunTitle\n");
  std::string firstData = readFile(first);
  std::string secondData = readFile(second);
  const std::size_t firstHeader = 8 + 4;   // "run" and its zero byte
  const std::size_t secondHeader = 8 + 6;  // "other" and its zero byte
  std::string merged = readFile(target);
  EXPECT_EQ(merged, ByteBuilder().u32(15).title("run").bytes + firstData.substr(firstHeader) +
                        secondData.substr(secondHeader));
  std::string firstIndex = readFile(first + "idx");
  std::string secondIndex = readFile(second + "idx");
  ByteBuilder expectedIndex;
  expectedIndex.raw(firstIndex);
  const std::uint32_t shift = static_cast<std::uint32_t>(firstData.size() - secondHeader);
  for (std::size_t entry = 0; entry < 5; ++entry) {
    std::vector<char> bytes(secondIndex.begin(), secondIndex.end());
    std::uint32_t scan = readKXValue(bytes, 40, static_cast<std::int64_t>(entry * 8), second);
    std::uint32_t offset = readKXValue(bytes, 40, static_cast<std::int64_t>(entry * 8 + 4), second);
    expectedIndex.u32(scan).u32(offset + shift);
  }
  EXPECT_EQ(readFile(target + "idx"), expectedIndex.bytes);
  // Every merged index entry points at its own record.
  KXReader reader;
  ::testing::internal::CaptureStdout();
  openKX(reader, target);
  readKXHeader(reader);
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(reader.spectrumCount, 15);
  for (std::int64_t entry = 0; entry < 15; ++entry) {
    std::uint32_t scan = readKXValue(reader.index, reader.indexSize, entry * 8, target);
    std::uint32_t offset = readKXValue(reader.index, reader.indexSize, entry * 8 + 4, target);
    EXPECT_EQ(scan, static_cast<std::uint32_t>(entry + 1));
    EXPECT_EQ(readKXValue(reader.data, reader.dataSize, offset, target), scan);
  }
}

TEST(MergeKX2Parts, NoPartIsAnError) {
  TempDir folder;
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(mergeKX2Parts({}, folder.file("t.kx2")));
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(logMessagesSince(mark),
            std::vector<std::string>{"No KX2 part to merge into " + folder.file("t.kx2")});
}

TEST(AppendKX, OffsetsPastTwoGibibytesRaiseAnAlert) {
  TempDir folder;
  KXReader part;
  part.path = folder.file("p.kx2");
  std::string data = ByteBuilder().u32(1).title("t").u32(7).bytes;
  part.data.assign(data.begin(), data.end());
  part.data.push_back('\0');
  part.dataSize = static_cast<std::int64_t>(data.size());
  std::string index = ByteBuilder().u32(7).u32(10).bytes;
  part.index.assign(index.begin(), index.end());
  part.index.push_back('\0');
  part.indexSize = 8;
  readKXHeader(part);
  PendingFile outData;
  PendingFile outIndex;
  ASSERT_TRUE(openPending(folder.file("m.kx2"), outData));
  ASSERT_TRUE(openPending(folder.file("m.kx2idx"), outIndex));
  std::int64_t outPosition = kKXOffsetLimit + 100;
  std::size_t mark = logMark();
  ::testing::internal::CaptureStdout();
  appendKX(part, outData, outIndex, outPosition, part.headerLength);
  ::testing::internal::GetCapturedStdout();
  ASSERT_TRUE(commitPending(outData));
  ASSERT_TRUE(commitPending(outIndex));
  EXPECT_EQ(outPosition, kKXOffsetLimit + 104);
  EXPECT_EQ(readFile(folder.file("m.kx2")), ByteBuilder().u32(7).bytes);
  EXPECT_EQ(readFile(folder.file("m.kx2idx")),
            ByteBuilder().u32(7).u32(static_cast<std::uint32_t>(kKXOffsetLimit + 100)).bytes);
  std::vector<std::string> messages = logMessagesSince(mark);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0], "KX file " + folder.file("m.kx2") +
                             " grows beyond 2147483647 bytes: the index offsets from scan 7 on "
                             "wrap around and do not point at their records");
}

TEST(OpenKX, MissingFilesRaiseTheMissingFileText) {
  TempDir folder;
  std::string path = folder.file("absent.kx2");
  KXReader reader;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(failureText([&] { openKX(reader, path); }), missingFileText(path));
  writeFile(path, ByteBuilder().u32(0).title("x").bytes);
  EXPECT_EQ(failureText([&] { openKX(reader, path); }), missingFileText(path + "idx"));
  ::testing::internal::GetCapturedStdout();
}

TEST(OpenKX, DamagedFilesRaiseAClearFailure) {
  TempDir folder;
  std::string path = folder.file("short.kx2");
  writeFile(path, "abc");
  writeFile(path + "idx", "");
  KXReader reader;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(failureText([&] { openKX(reader, path); }),
            "KX file " + path + " is damaged: a value at byte 0 lies beyond its end (3 bytes)");
  writeFile(path, ByteBuilder().u32(1).u32(4000000000u).raw("xyz").bytes);
  KXReader second;
  openKX(second, path);
  EXPECT_EQ(
      failureText([&] { readKXHeader(second); }),
      "KX file " + path + " is damaged: its title length 4000000000 exceeds the file size 11");
  ::testing::internal::GetCapturedStdout();
}

TEST(MergeKX2Parts, RandomBytesFailCleanlyOrMerge) {
  TempDir folder;
  std::mt19937 generator(7);
  ::testing::internal::CaptureStdout();
  for (int round = 0; round < 40; ++round) {
    std::string path = folder.file("noise.kx2");
    std::string data(generator() % 64, '\0');
    for (char& c : data) c = static_cast<char>(generator() % 8);  // small values: short titles
    std::string index(generator() % 40, '\0');
    for (char& c : index) c = static_cast<char>(generator());
    writeFile(path, data);
    writeFile(path + "idx", index);
    std::string outcome = failureText([&] {
      mergeKX2Parts({path, path}, folder.file("merged.kx2"));
    });
    EXPECT_TRUE(outcome == "(no failure)" || outcome.find("is damaged") != std::string::npos)
        << outcome;
  }
  ::testing::internal::GetCapturedStdout();
}

TEST(ReadKXValue, MissingBufferPrintsError) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(readKXValue({}, 0, 0, "none"), 0u);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Error");
}

}  // namespace
}  // namespace corvid
