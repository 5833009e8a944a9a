// End-to-end extraction of the BSA1 example run (an LTQ Orbitrap file listing all MS1 spectra
// before the MS2 spectra, each level numbered on its own). The expected values are read from the
// mzML text here by plain string search, independently of the extractor's XML reader.
#include <gtest/gtest.h>

#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <map>

#include "tests/spectra/spectra_test_support.h"
#include "spectra/open_format_extractor.h"

namespace corvid {
namespace {

using namespace testing;

std::string bsa1Path() {
  const char* fromEnvironment = std::getenv("CORVID_BSA1");
  if (fromEnvironment != nullptr && *fromEnvironment != '\0') return fromEnvironment;
  return "/root/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML";
}

std::string decode64(std::string_view text) {
  std::string out;
  std::uint32_t group = 0;
  int bits = 0;
  for (char c : text) {
    int v = c >= 'A' && c <= 'Z'   ? c - 'A'
            : c >= 'a' && c <= 'z' ? c - 'a' + 26
            : c >= '0' && c <= '9' ? c - '0' + 52
            : c == '+'             ? 62
            : c == '/'             ? 63
                                   : -1;
    if (v < 0) continue;
    group = (group << 6) | static_cast<std::uint32_t>(v);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((group >> bits) & 0xFF);
    }
  }
  return out;
}

std::vector<double> floatsOf(const std::string& bytes, bool wide) {
  std::vector<double> values;
  for (std::size_t i = 0; i + (wide ? 8 : 4) <= bytes.size(); i += wide ? 8 : 4) {
    if (wide) {
      double d;
      std::memcpy(&d, bytes.data() + i, 8);
      values.push_back(d);
    } else {
      float f;
      std::memcpy(&f, bytes.data() + i, 4);
      values.push_back(f);
    }
  }
  return values;
}

struct Expected {
  std::string id;
  int level = 0;
  double seconds = 0.0;
  std::string peakText;  // "%.6f %.4f\r\n" per peak
};

std::string attribute(std::string_view element, std::string_view name) {
  std::size_t at = element.find(std::string(name) + "=\"");
  if (at == std::string_view::npos) return {};
  at += name.size() + 2;
  return std::string(element.substr(at, element.find('"', at) - at));
}

std::vector<Expected> expectedSpectra(const std::string& xml) {
  std::vector<Expected> result;
  std::size_t at = 0;
  while ((at = xml.find("<spectrum ", at)) != std::string::npos) {
    std::size_t end = xml.find("</spectrum>", at);
    std::string_view block(xml.data() + at, end - at);
    Expected e;
    e.id = attribute(block.substr(0, block.find('>')), "id");
    e.level = std::atoi(attribute(block.substr(block.find("name=\"ms level\"")), "value").c_str());
    std::string_view time = block.substr(block.find("name=\"scan start time\""));
    EXPECT_NE(time.substr(0, 200).find("unitName=\"second\""), std::string_view::npos);
    e.seconds = std::strtod(attribute(time, "value").c_str(), nullptr);
    std::vector<double> mz, intensity;
    std::size_t arrayAt = 0;
    while ((arrayAt = block.find("<binaryDataArray ", arrayAt)) != std::string_view::npos) {
      std::string_view array =
          block.substr(arrayAt, block.find("</binaryDataArray>", arrayAt) - arrayAt);
      EXPECT_NE(array.find("no compression"), std::string_view::npos);
      std::size_t open = array.find("<binary>") + 8;
      std::vector<double> values =
          floatsOf(decode64(array.substr(open, array.find("</binary>") - open)),
                   array.find("64-bit float") != std::string_view::npos);
      (array.find("m/z array") != std::string_view::npos ? mz : intensity) = values;
      arrayAt += array.size();
    }
    EXPECT_EQ(mz.size(), intensity.size()) << e.id;
    char line[128];
    for (std::size_t i = 0; i < mz.size(); ++i) {
      std::snprintf(line, sizeof line, "%.6f %.4f\r\n", mz[i], intensity[i]);
      e.peakText += line;
    }
    result.push_back(e);
    at = end;
  }
  return result;
}

struct Written {
  std::string header;
  std::string peakText;
};

// Splits MS text into scan blocks by scan number: header lines (S, I, Z) and peak lines.
std::map<std::uint32_t, Written> writtenBlocks(const std::string& text,
                                               std::vector<std::uint32_t>& order) {
  std::map<std::uint32_t, Written> blocks;
  Written* current = nullptr;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find("\r\n", at) + 2;
    std::string_view line(text.data() + at, end - at);
    if (line[0] == 'S') {
      std::uint32_t scan =
          static_cast<std::uint32_t>(std::strtoul(text.c_str() + at + 2, nullptr, 10));
      order.push_back(scan);
      current = &blocks[scan];
    }
    if (current != nullptr)
      (line[0] >= '0' && line[0] <= '9' ? current->peakText : current->header) += line;
    at = end;
  }
  return blocks;
}

TEST(ExtractBSA1, EverySpectrumWrittenExactlyInAcquisitionOrder) {
  std::string input = bsa1Path();
  if (!exists(input)) GTEST_SKIP() << "BSA1.mzML not found (set CORVID_BSA1)";
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "BSA1"));
  std::vector<Expected> spectra = expectedSpectra(readFile(input));
  ASSERT_EQ(spectra.size(), 1684U);

  // Native id -> written scan from the summary.
  std::string summary = readFile(temp.file("BSA1_scans.csv"));
  std::map<std::string, std::uint32_t> scanOfId;
  std::size_t at = summary.find("\r\n") + 2;
  while (at < summary.size()) {
    std::size_t end = summary.find("\r\n", at);
    std::string line = summary.substr(at, end - at);
    std::size_t c1 = line.find(','), c2 = line.find(',', c1 + 1), c3 = line.find(',', c2 + 1);
    scanOfId[line.substr(c2 + 1, c3 - c2 - 1)] =
        static_cast<std::uint32_t>(std::stoul(line.substr(0, c1)));
    at = end + 2;
  }
  ASSERT_EQ(scanOfId.size(), spectra.size());

  std::vector<std::uint32_t> ms1Order, ms2Order;
  auto ms1 = writtenBlocks(readFile(temp.file("BSA1.ms1")), ms1Order);
  auto ms2 = writtenBlocks(readFile(temp.file("BSA1.ms2")), ms2Order);
  EXPECT_EQ(ms1.size() + ms2.size(), spectra.size());
  EXPECT_TRUE(std::is_sorted(ms1Order.begin(), ms1Order.end()));
  EXPECT_TRUE(std::is_sorted(ms2Order.begin(), ms2Order.end()));

  std::map<std::uint32_t, double> timeOfScan;
  for (const Expected& e : spectra) {
    ASSERT_TRUE(scanOfId.count(e.id)) << e.id;
    std::uint32_t scan = scanOfId[e.id];
    auto& blocks = e.level == 1 ? ms1 : ms2;
    ASSERT_TRUE(blocks.count(scan)) << e.id;
    const Written& w = blocks[scan];
    EXPECT_EQ(w.peakText, e.peakText) << e.id;
    char time[64];
    std::snprintf(time, sizeof time, "I\tRetTime\t%.6f\r\n", e.seconds);
    EXPECT_NE(w.header.find(time), std::string::npos) << e.id;
    if (e.level == 1) {
      EXPECT_NE(w.header.find("I\tInstrumentType\tFTMS\r\n"), std::string::npos) << e.id;
    } else {
      EXPECT_NE(w.header.find("I\tInstrumentType\tITMS\r\n"), std::string::npos) << e.id;
      EXPECT_NE(w.header.find("I\tActivationType\tCID\r\n"), std::string::npos) << e.id;
    }
    timeOfScan[scan] = e.seconds;
  }
  // Scan numbers 1..N follow retention time across both levels.
  ASSERT_EQ(timeOfScan.size(), spectra.size());
  EXPECT_EQ(timeOfScan.begin()->first, 1U);
  EXPECT_EQ(timeOfScan.rbegin()->first, spectra.size());
  double previous = -1.0;
  for (const auto& [scan, seconds] : timeOfScan) {
    EXPECT_GE(seconds, previous) << scan;
    previous = seconds;
  }
}

}  // namespace
}  // namespace corvid
