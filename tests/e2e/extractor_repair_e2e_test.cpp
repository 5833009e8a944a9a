// The extractor's repairs through the real binary: a file without MS1 spectra fails alone and the
// run ends normally; peaks out of m/z order give the same extraction and results as the same
// file in order (BSA1 with every spectrum's peaks shuffled, when BSA1 is cached).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "spectra/binary_array_decoder.h"
#include "tests/support/test_support.h"

namespace corvid {
namespace {

using namespace corvid::testing;

fs::path repairFixture(const std::string& name) {
  return fs::path(CORVID_TEST_DATA_DIR) / "mzml_repair" / name;
}

fs::path bsa1Path() {
  if (const char* path = std::getenv("CORVID_BSA1")) return path;
  const char* home = std::getenv("HOME");
  return fs::path(home == nullptr ? "/root" : home) /
         ".cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML";
}

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

void expectMs2OnlyRunEndsNormally(const std::string& fixture) {
  TempDir dir;
  const fs::path input = dir.path() / fixture;
  fs::copy_file(repairFixture(fixture), input);
  RunResult run = runCorvid(dir.path(), {"-D", input.string()});
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_EQ(occurrences(run.out, "[Corvid] No MS1 spectra in " + input.string() +
                                     ": nothing to detect precursors from. \n"),
            1U)
      << run.out;
  EXPECT_EQ(run.out.find("ITMS encountered"), std::string::npos) << run.out;
  const std::string stem = fixture.substr(0, fixture.rfind('.'));
  for (const char* suffix : {".quarry", ".ms1", ".ms2", "_scans.csv", ".csv"})
    EXPECT_FALSE(fs::exists(dir.path() / (stem + suffix))) << suffix;
}

TEST(ExtractorRepairEndToEnd, Ms2OnlyMzMLFailsCleanlyAndTheRunEndsNormally) {
  expectMs2OnlyRunEndsNormally("ms2_only.mzML");
}

TEST(ExtractorRepairEndToEnd, Ms2OnlyMzXMLFailsCleanlyAndTheRunEndsNormally) {
  expectMs2OnlyRunEndsNormally("ms2_only.mzXML");
}

// In a folder run the file without MS1 spectra is passed over and the next one processed.
TEST(ExtractorRepairEndToEnd, FolderRunGoesOnAfterAFileWithoutMS1Spectra) {
  TempDir dir;
  const fs::path data = dir.path() / "data";
  fs::create_directories(data);
  fs::copy_file(repairFixture("ms2_only.mzML"), data / "a_ms2_only.mzML");
  fs::copy_file(repairFixture("unsorted.mzML"), data / "b_unsorted.mzML");
  RunResult run = runCorvid(dir.path(), {"-D", data.string() + "/", "-F", "mzml"});
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_EQ(occurrences(run.out, "No MS1 spectra in " + data.string() +
                                     "/a_ms2_only.mzML: nothing to detect precursors from."),
            1U)
      << run.out;
  EXPECT_NE(run.out.find("b_unsorted.mzML: the peaks of 2 spectra were not in m/z order; they "
                         "were sorted by m/z"),
            std::string::npos)
      << run.out;
  EXPECT_FALSE(fs::exists(data / "a_ms2_only.quarry"));
  EXPECT_TRUE(fs::exists(data / "b_unsorted.quarry"));
  EXPECT_TRUE(fs::exists(data / "b_unsorted.csv"));
}

// A file whose peaks need repairs is processed to the end, the Alerts in the run log.
TEST(ExtractorRepairEndToEnd, RepairedFilesAreProcessedWithTheirAlertsLogged) {
  for (const char* fixture : {"unsorted.mzML", "bad_peaks.mzML", "bad_peaks.mzXML"}) {
    TempDir dir;
    const fs::path input = dir.path() / fixture;
    fs::copy_file(repairFixture(fixture), input);
    RunResult run = runCorvid(dir.path(), {"-D", input.string()});
    EXPECT_EQ(run.status, 0) << fixture << run.out << run.err;
    const std::string stem = std::string(fixture).substr(0, std::string(fixture).rfind('.'));
    EXPECT_TRUE(fs::exists(dir.path() / (stem + ".csv"))) << fixture << run.out;
    const std::string log = readFile(dir.path() / "CorvidPlusLog.txt");
    EXPECT_NE(log.find("sorted by m/z"), std::string::npos) << fixture;
    EXPECT_EQ(log.find("Cannot extract"), std::string::npos) << fixture;
  }
}

std::string encodeBase64(const std::string& bytes) {
  static const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    std::uint32_t group = (static_cast<std::uint8_t>(bytes[i]) << 16) |
                          (static_cast<std::uint8_t>(bytes[i + 1]) << 8) |
                          static_cast<std::uint8_t>(bytes[i + 2]);
    for (int k = 3; k >= 0; --k) text += alphabet[(group >> (6 * k)) & 63];
  }
  if (i < bytes.size()) {
    std::uint32_t group = static_cast<std::uint8_t>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) group |= static_cast<std::uint8_t>(bytes[i + 1]) << 8;
    text += alphabet[(group >> 18) & 63];
    text += alphabet[(group >> 12) & 63];
    text += i + 1 < bytes.size() ? alphabet[(group >> 6) & 63] : '=';
    text += '=';
  }
  return text;
}

struct PeakArray {
  std::size_t start = 0, end = 0;  // the base64 text between <binary> and </binary>
  std::size_t width = 8;           // bytes per value
  bool mz = false;
  std::string bytes;
};

// BSA1 with the peaks of every spectrum in a fixed pseudo-random order: the m/z and intensity
// arrays (plain little-endian floats) permuted alike and re-encoded at their own width, so every
// value stays exact. Counts the spectra that ended up out of m/z order.
std::string shufflePeaks(const std::string& text, std::size_t& unsorted) {
  std::mt19937 random(20240611);
  std::string out;
  out.reserve(text.size());
  std::size_t copied = 0;
  unsorted = 0;
  for (std::size_t list = text.find("<binaryDataArrayList"); list != std::string::npos;
       list = text.find("<binaryDataArrayList", list + 1)) {
    const std::size_t listEnd = text.find("</binaryDataArrayList>", list);
    std::vector<PeakArray> arrays;
    for (std::size_t at = text.find("<binaryDataArray ", list); at < listEnd;
         at = text.find("<binaryDataArray ", at + 1)) {
      const std::size_t end = text.find("</binaryDataArray>", at);
      const std::string head = text.substr(at, text.find("<binary>", at) - at);
      EXPECT_EQ(head.find("MS:1000574"), std::string::npos) << "zlib arrays are not shuffled here";
      PeakArray array;
      array.start = text.find("<binary>", at) + 8;
      array.end = text.find("</binary>", array.start);
      array.width = head.find("MS:1000523") != std::string::npos ? 8 : 4;
      array.mz = head.find("MS:1000514") != std::string::npos;
      std::string error;
      EXPECT_TRUE(decodeBase64(std::string_view(text).substr(array.start, array.end - array.start),
                               array.bytes, error))
          << error;
      arrays.push_back(std::move(array));
      at = end;
    }
    if (arrays.size() != 2) {
      ADD_FAILURE() << "spectrum with " << arrays.size() << " arrays at byte " << list;
      continue;
    }
    const std::size_t count = arrays[0].bytes.size() / arrays[0].width;
    EXPECT_EQ(arrays[1].bytes.size() / arrays[1].width, count);
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    for (PeakArray& array : arrays) {
      std::string permuted(array.bytes.size(), '\0');
      for (std::size_t k = 0; k < count; ++k)
        std::memcpy(&permuted[k * array.width], &array.bytes[order[k] * array.width], array.width);
      array.bytes = std::move(permuted);
      if (!array.mz) continue;
      std::vector<double> mz(count);
      for (std::size_t k = 0; k < count; ++k) {
        if (array.width == 8) {
          std::memcpy(&mz[k], &array.bytes[k * 8], 8);
        } else {
          float value;
          std::memcpy(&value, &array.bytes[k * 4], 4);
          mz[k] = value;
        }
      }
      if (!std::is_sorted(mz.begin(), mz.end())) ++unsorted;
    }
    for (const PeakArray& array : arrays) {
      out.append(text, copied, array.start - copied);
      out += encodeBase64(array.bytes);
      copied = array.end;
    }
  }
  out.append(text, copied, std::string::npos);
  return out;
}

// BSA1 as it comes and with its peaks shuffled give byte-identical extractions and results, the
// shuffled file with one Alert counting the spectra it sorted.
TEST(ExtractorRepairEndToEnd, Bsa1WithShuffledPeaksGivesTheSameResultsAsBsa1) {
  if (!fs::exists(bsa1Path())) GTEST_SKIP() << "BSA1.mzML not cached at " << bsa1Path();
  TempDir dir;
  const fs::path sorted = dir.path() / "sorted";
  const fs::path shuffled = dir.path() / "shuffled";
  fs::create_directories(sorted);
  fs::create_directories(shuffled);
  const std::string original = readFile(bsa1Path());
  std::size_t unsortedSpectra = 0;
  writeFile(sorted / "BSA1.mzML", original);
  writeFile(shuffled / "BSA1.mzML", shufflePeaks(original, unsortedSpectra));
  ASSERT_GT(unsortedSpectra, 1000U);

  RunResult first = runCorvid(sorted, {"-D", (sorted / "BSA1.mzML").string()});
  RunResult second = runCorvid(shuffled, {"-D", (shuffled / "BSA1.mzML").string()});
  ASSERT_EQ(first.status, 0) << first.out;
  ASSERT_EQ(second.status, 0) << second.out;
  EXPECT_NE(first.out.find("Exported 2498 precursors."), std::string::npos) << first.out;
  EXPECT_NE(second.out.find("Exported 2498 precursors."), std::string::npos) << second.out;
  EXPECT_EQ(occurrences(second.out, "BSA1.mzML: the peaks of " + std::to_string(unsortedSpectra) +
                                        " spectra were not in m/z order; they were sorted by m/z"),
            1U)
      << second.out;
  EXPECT_EQ(first.out.find("sorted by m/z"), std::string::npos);
  for (const char* name : {"BSA1.ms1", "BSA1.ms2", "BSA1_scans.csv", "BSA1.csv", "BSA1_CIDIT.mgf",
                           "BSA1_CIDIT.kx2", "BSA1.kx1"}) {
    const std::string expected = readFile(sorted / name);
    EXPECT_FALSE(expected.empty()) << name;
    EXPECT_TRUE(readFile(shuffled / name) == expected) << name << " differs";
  }
}

}  // namespace
}  // namespace corvid
