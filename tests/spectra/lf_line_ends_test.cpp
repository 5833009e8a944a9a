// MS1/MS2 text whose lines end with LF alone (as Debian's msconvert and other Linux tools write
// it) loads exactly as the same text with CR LF: same spectra, same numbers bit for bit, same
// activation and instrument recognition, and no alert. Mixed line ends read line by line the same.
#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <string>
#include <vector>

#include "spectra/ms1_reader.h"
#include "spectra/ms2_reader.h"
#include "spectra/ms2_splitter.h"
#include "spectra/ms_text_scanners.h"
#include "tests/spectra/ms_text_compare.h"
#include "tests/spectra/spectra_test_support.h"
#include "tests/support/table_adapters.h"

namespace corvid {
namespace {

using namespace testing;

const fs::path kPair = fs::path(CORVID_TEST_DATA_DIR) / "pair";

struct Loaded1 {
  MS1File file;
  std::vector<std::string> messages;
};
struct Loaded2 {
  MS2File file;
  std::vector<std::string> messages;
};

// The messages with the file's path replaced, so that two files' messages compare.
std::vector<std::string> withoutPath(std::vector<std::string> messages, const std::string& path) {
  for (std::string& message : messages) message = replaceAll(message, path, "<path>");
  return messages;
}

Loaded1 loadMs1(const TempDir& dir, const std::string& name, const std::string& text,
                std::int64_t chunkLimit = kSpectrumReadBufferBytes) {
  const std::string path = dir.file(name);
  writeFile(path, text);
  LogWatch log;
  Loaded1 loaded;
  loadMS1File(path, chunkLimit, loaded.file);
  loaded.messages = withoutPath(log.messages(), path);
  return loaded;
}

Loaded2 loadMs2(const TempDir& dir, const std::string& name, const std::string& text) {
  const std::string path = dir.file(name);
  writeFile(path, text);
  LogWatch log;
  Loaded2 loaded;
  loadMS2File(path, loaded.file);
  loaded.messages = withoutPath(log.messages(), path);
  return loaded;
}

TEST(LineFeedLineEnds, FixtureMS1LoadsTheSameRecordsAsWithCrLf) {
  TempDir dir;
  const std::string crlf = readFile(kPair / "run1.ms1");
  ASSERT_NE(crlf.find("\r\n"), std::string::npos);
  const Loaded1 original = loadMs1(dir, "crlf.ms1", crlf);
  const Loaded1 lineFeeds = loadMs1(dir, "lf.ms1", withLineFeeds(crlf));
  ASSERT_GT(original.file.spectra.size(), 10u);
  EXPECT_EQ(original.file.instrumentName, "FTMS");
  expectSameMs1(original.file, lineFeeds.file);
  EXPECT_EQ(original.messages, lineFeeds.messages);  // no alert for the LF file
}

TEST(LineFeedLineEnds, FixtureMS2LoadsTheSameRecordsAsWithCrLf) {
  TempDir dir;
  const std::string crlf = readFile(kPair / "run1.ms2");
  const Loaded2 original = loadMs2(dir, "crlf.ms2", crlf);
  const Loaded2 lineFeeds = loadMs2(dir, "lf.ms2", withLineFeeds(crlf));
  ASSERT_GT(original.file.spectra.size(), 5u);
  EXPECT_NE(original.file.spectra[0].activationCode, 0);
  expectSameMs2(original.file, lineFeeds.file);
  EXPECT_EQ(original.messages, lineFeeds.messages);
}

TEST(LineFeedLineEnds, MixedLineEndsReadLineByLineAsCrLf) {
  TempDir dir;
  for (const char* name : {"run1.ms1", "run1.ms2"}) {
    const std::string crlf = readFile(kPair / name);
    const std::string mixed = withLineFeeds(crlf, true);
    ASSERT_NE(mixed.find("\r\n"), std::string::npos);
    ASSERT_NE(mixed.find("0\n"), std::string::npos);
    if (std::string(name).ends_with(".ms1")) {
      const Loaded1 original = loadMs1(dir, "crlf.ms1", crlf);
      const Loaded1 read = loadMs1(dir, "mixed.ms1", mixed);
      expectSameMs1(original.file, read.file);
      EXPECT_EQ(original.messages, read.messages);
    } else {
      const Loaded2 original = loadMs2(dir, "crlf.ms2", crlf);
      const Loaded2 read = loadMs2(dir, "mixed.ms2", mixed);
      expectSameMs2(original.file, read.file);
      EXPECT_EQ(original.messages, read.messages);
    }
  }
}

// Every line kind and I key, with values that show which terminator each scan stopped at.
const char* const kEveryLineKind =
    "H\tCreationDate\tMon Jan 01 00:00:00 2024\r\n"
    "S\t000123\t000123\t500.250000\r\n"
    "I\tNumberOfPeaks\t3\r\n"
    "I\tRetTime\t61.25\r\n"
    "I\tIonInjectionTime\t35\r\n"
    "I\tActivationType\tHCD\r\n"
    "I\tInstrumentType\tFTMS\r\n"
    "I\tActivationCenter\t500.25\r\n"
    "I\tPrecursorScan\t120\r\n"
    "Z\t0\t0.0\r\n"
    "147.112804 1500.5\r\n"
    "175.118952\t2500.25\r\n"
    "800.4 12\r\n"
    "S\t000124\t000124\t600.0\r\n"
    "I\tRetTime\t62\r\n"
    "I\tActivationType\tETD\r\n"
    "I\tInstrumentType\tITMS\r\n"
    "Z\t3\t1799.5\r\n"
    "900.5 1.0";  // last line without a line end

TEST(LineFeedLineEnds, EveryMS2LineKindReadsTheSameWithLineFeeds) {
  TempDir dir;
  const Loaded2 original = loadMs2(dir, "crlf.ms2", kEveryLineKind);
  const Loaded2 lineFeeds = loadMs2(dir, "lf.ms2", withLineFeeds(kEveryLineKind));
  ASSERT_EQ(lineFeeds.file.spectra.size(), 2u);
  const MS2Spectrum& first = lineFeeds.file.spectra[0];
  EXPECT_EQ(first.retentionTime, 61.25);
  EXPECT_EQ(first.ionInjectionTime, 35.0);
  EXPECT_EQ(first.activationCode, 3);
  EXPECT_EQ(first.activationGroup, 5);
  EXPECT_EQ(first.precursorScan, 120);
  EXPECT_EQ(first.charge, 2);
  EXPECT_DOUBLE_EQ(first.precursorMH, 2 * 500.25 - 1.007276);
  ASSERT_EQ(first.peaks.size(), 3u);
  EXPECT_EQ(first.peaks[2].intensity, 120.0);  // no point: ten times larger, as with CR LF
  EXPECT_EQ(lineFeeds.file.spectra[1].retentionTime, 620.0);
  EXPECT_EQ(lineFeeds.file.spectra[1].activationGroup, 1);
  expectSameMs2(original.file, lineFeeds.file);
  EXPECT_EQ(original.messages, lineFeeds.messages);
}

TEST(LineFeedLineEnds, EveryMS1LineKindReadsTheSameWithLineFeeds) {
  TempDir dir;
  const std::string crlf =
      "H\tExtractor\tQuarry\r\nS\t000001\t000001\r\nI\tRetTime\t0.5\r\nI\tInstrumentType\tFTMS\r\n"
      "400.12345 1000.5\r\n401.5 20\r\nS\t000002\t000002\r\nI\tRetTime\t1\r\n500.0\t7.0\r\n";
  const Loaded1 original = loadMs1(dir, "crlf.ms1", crlf);
  const Loaded1 lineFeeds = loadMs1(dir, "lf.ms1", withLineFeeds(crlf));
  ASSERT_EQ(lineFeeds.file.spectra.size(), 2u);
  EXPECT_EQ(lineFeeds.file.spectra[0].retentionTime, 0.5);
  EXPECT_EQ(lineFeeds.file.spectra[1].retentionTime, 10.0);
  EXPECT_EQ(lineFeeds.file.instrumentName, "FTMS");
  expectSameMs1(original.file, lineFeeds.file);
  EXPECT_EQ(original.messages, lineFeeds.messages);
}

// Deterministic well-formed files with many scans and values of every width.
std::string generatedText(bool ms2, std::uint64_t seed) {
  std::uint64_t state = seed;
  auto next = [&state](std::uint64_t bound) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return (state >> 33) % bound;
  };
  std::string text = "H\tExtractor\tgenerated\r\n";
  char line[128];
  for (int scan = 1; scan <= 300; ++scan) {
    std::snprintf(line, sizeof line, "S\t%06d\t%06d%s\r\n", scan, scan, ms2 ? "\t500.25" : "");
    text += line;
    std::snprintf(line, sizeof line, "I\tRetTime\t%llu.%llu\r\n", static_cast<unsigned long long>(next(5000)),
                  static_cast<unsigned long long>(next(1000000)));
    text += line;
    if (ms2) {
      text += next(2) == 0 ? "I\tActivationType\tCID\r\n" : "I\tActivationType\tHCD\r\n";
      text += next(2) == 0 ? "I\tInstrumentType\tITMS\r\n" : "I\tInstrumentType\tFTMS\r\n";
      std::snprintf(line, sizeof line, "I\tIonInjectionTime\t%llu.%llu\r\nI\tActivationCenter\t%llu.%03llu\r\n"
                    "I\tPrecursorScan\t%d\r\nZ\t%llu\t%llu.%04llu\r\n",
                    static_cast<unsigned long long>(next(200)), static_cast<unsigned long long>(next(100)),
                    static_cast<unsigned long long>(300 + next(1500)), static_cast<unsigned long long>(next(1000)),
                    scan - 1, static_cast<unsigned long long>(next(6)),
                    static_cast<unsigned long long>(next(5000)), static_cast<unsigned long long>(next(10000)));
      text += line;
    } else {
      text += next(3) == 0 ? "I\tInstrumentType\tITMS\r\n" : "I\tInstrumentType\tFTMS\r\n";
    }
    const std::uint64_t peaks = next(60);
    for (std::uint64_t k = 0; k < peaks; ++k) {
      std::snprintf(line, sizeof line, "%llu.%06llu%c%llu.%llu\r\n",
                    static_cast<unsigned long long>(100 + next(1900)),
                    static_cast<unsigned long long>(next(1000000)), next(4) == 0 ? '\t' : ' ',
                    static_cast<unsigned long long>(next(10000000)), static_cast<unsigned long long>(next(10000)));
      text += line;
    }
  }
  return text;
}

TEST(LineFeedLineEnds, GeneratedFilesReadTheSameWithLineFeedsAndMixedLineEnds) {
  TempDir dir;
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    const std::string ms1 = generatedText(false, seed);
    const Loaded1 ms1Original = loadMs1(dir, "crlf.ms1", ms1);
    expectSameMs1(ms1Original.file, loadMs1(dir, "lf.ms1", withLineFeeds(ms1)).file);
    expectSameMs1(ms1Original.file, loadMs1(dir, "mixed.ms1", withLineFeeds(ms1, true)).file);
    const std::string ms2 = generatedText(true, seed + 100);
    const Loaded2 ms2Original = loadMs2(dir, "crlf.ms2", ms2);
    expectSameMs2(ms2Original.file, loadMs2(dir, "lf.ms2", withLineFeeds(ms2)).file);
    expectSameMs2(ms2Original.file, loadMs2(dir, "mixed.ms2", withLineFeeds(ms2, true)).file);
  }
}

TEST(LineFeedLineEnds, MS1ChunksOfAnLfFileAreCutAtScanLinesToo) {
  TempDir dir;
  const std::string crlf = readFile(kPair / "run1.ms1");
  const Loaded1 original = loadMs1(dir, "crlf.ms1", crlf);
  // Chunks of 4 KiB: many cuts, each just before an S at a line start.
  const Loaded1 chunked = loadMs1(dir, "lf.ms1", withLineFeeds(crlf), 4096);
  expectSameMs1(original.file, chunked.file);
}

TEST(LineFeedLineEnds, SplitPartsOfAnLfFileLoadLikeThePartsOfItsCrLfCopy) {
  TempDir dir;
  const std::string crlf = generatedText(true, 7);
  const std::string crlfPath = dir.file("crlf.ms2");
  const std::string lfPath = dir.file("lf.ms2");
  writeFile(crlfPath, crlf);
  writeFile(lfPath, withLineFeeds(crlf));
  std::vector<std::string> crlfParts;
  std::vector<std::string> lfParts;
  ASSERT_EQ(splitMS2(crlfPath, 70, crlfParts), 5);
  ASSERT_EQ(splitMS2(lfPath, 70, lfParts), 5);
  for (std::size_t i = 0; i < crlfParts.size(); ++i) {
    // The parts are byte copies: the LF part is the CR LF part without its carriage returns.
    EXPECT_EQ(readFile(lfParts[i]), withLineFeeds(readFile(crlfParts[i]))) << i;
    MS2File a;
    MS2File b;
    loadMS2File(crlfParts[i], a);
    loadMS2File(lfParts[i], b);
    expectSameMs2(a, b);
  }
}

TEST(LineFeedLineEnds, CarriageReturnsAloneReadAsOneLineWithAlert) {
  TempDir dir;
  const std::string crlf = readFile(kPair / "run1.ms1");
  const std::string crOnly = replaceAll(crlf, "\r\n", "\r");
  const Loaded1 loaded = loadMs1(dir, "cr.ms1", crOnly);
  ASSERT_EQ(loaded.file.spectra.size(), 0u);  // the file starts with an H line
  EXPECT_EQ(loaded.messages,
            (std::vector<std::string>{"The lines of <path> end with CR alone (the file has no line feed), so it "
                                      "reads as a single line: at most one spectrum, without peaks, was "
                                      "loaded from it.",
                                      "Loading MS1 Spectra Number: 0"}));
}

TEST(DetectLineEnds, TellsCrLfBareLineFeedsAndCarriageReturnsAlone) {
  auto shape = [](const std::string& text) { return detectLineEnds(text.data(), text.data() + text.size()); };
  EXPECT_EQ(shape("S\t1\r\nI\tRetTime\t1.0\r\n").ends, LineEnds::kCrLf);
  EXPECT_EQ(shape("").ends, LineEnds::kCrLf);
  EXPECT_EQ(shape("\n").ends, LineEnds::kBareLineFeeds);
  EXPECT_EQ(shape("S\t1\nX").ends, LineEnds::kBareLineFeeds);
  // One bare line feed far into a CR LF file, past the first search block.
  std::string late(3 * kLineEndBlockBytes, 'x');
  for (std::size_t i = 10; i < late.size(); i += 10) late.replace(i - 2, 2, "\r\n");
  EXPECT_EQ(shape(late).ends, LineEnds::kCrLf);
  late[late.size() - 5] = '\n';
  EXPECT_EQ(shape(late).ends, LineEnds::kBareLineFeeds);
  EXPECT_TRUE(shape("S\t1\rI\tRetTime\t1.0\r").carriageReturnsOnly);
  EXPECT_FALSE(shape("S\t1\r\n").carriageReturnsOnly);
  EXPECT_FALSE(shape("no line end").carriageReturnsOnly);
}

TEST(ScanPeakLine, BareLineFeedIsLeftForTheCallerWhenTheBufferHasBareLineFeeds) {
  const std::string line = "400.5 20.25\nS";
  Peak peak;
  bool bare = false;
  const char* next = scanPeakLine<LineEnds::kBareLineFeeds>(line.data(), line.data() + line.size(), peak, bare);
  EXPECT_EQ(*next, '\n');
  EXPECT_EQ(peak.intensity, 20.25);
  const std::string crlf = "400.5 20.25\r\nS";
  next = scanPeakLine<LineEnds::kBareLineFeeds>(crlf.data(), crlf.data() + crlf.size(), peak, bare);
  EXPECT_EQ(*next, '\n');  // a CR LF line in a mixed buffer: stepped over its CR as before
}

}  // namespace
}  // namespace corvid
