// The extractor's MS1/MS2 text read back with the rules of Corvid's MS1/MS2 loaders: lines and
// keys recognised by fixed character positions, numbers read by the loaders' own digit scanners
// (a number without a decimal point reads ten times too large, an exponent is not understood).
// These tests show that every written value reaches the loaders unchanged.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/spectra/spectra_test_support.h"
#include "spectra/open_format_extractor.h"

namespace corvid {
namespace {

using namespace testing;

// The loaders' decimal scanner, up to a carriage return, blank or TAB.
double decimalScan(const char*& p) {
  double value = 0.0;
  int e = 1;
  while (*p != '\r' && *p != ' ' && *p != '\t' && *p != '\0') {
    if (*p == '.') {
      --e;
    } else {
      value = value * 10 + (*p - '0');
      if (e != 1) --e;
    }
    ++p;
  }
  return value * std::pow(10.0, e);
}

long integerScan(const char*& p) {
  long value = 0;
  while (*p != '\r' && *p != '\t' && *p != '\0') value = value * 10 + (*p++ - '0');
  return value;
}

double injectionScan(const char* p) {
  double value = 0.0, scale = 0.0;
  for (; *p != '\r'; ++p) {
    if (*p == '.') {
      scale = 0.1;
    } else if (scale == 0.0) {
      value = value * 10 + (*p - '0');
    } else {
      value += (*p - '0') * scale;
      scale *= 0.1;
    }
  }
  return value;
}

struct LoadedScan {
  long scan = 0;
  double retentionTime = 0.0, ionInjectionTime = 0.0, activationCenter = 0.0, mh = 0.0;
  std::string activationType, instrument;
  int activationCode = 0, instrumentCode = 0, charge = 0;
  long precursorScan = 0;
  std::vector<std::pair<double, double>> peaks;
};

std::vector<LoadedScan> loadLikeCorvid(const std::string& text, bool ms2) {
  std::vector<LoadedScan> scans;
  const char* p = text.c_str();
  while (*p != '\0') {
    const char* line = p;
    if (line[0] == 'S') {
      const char* q = line + 2;
      scans.emplace_back();
      scans.back().scan = integerScan(q);
    } else if (line[0] == 'I' && !scans.empty()) {
      LoadedScan& s = scans.back();
      const char* q = nullptr;
      if (line[2] == 'R') {
        q = line + 10;
        s.retentionTime = decimalScan(q);
      } else if (!ms2 && line[2] == 'I' && line[3] == 'n') {
        s.instrument = line[17] == 'F' || line[17] == 'Q' ? "FTMS"
                       : line[17] == 'I'                  ? "ITMS"
                                                          : "Unknown";
      } else if (ms2 && line[2] == 'I' && line[5] == 'I') {
        s.ionInjectionTime = injectionScan(line + 19);
      } else if (ms2 && line[2] == 'I' && line[12] == 'T') {
        s.instrument = line[17] == 'F' || line[17] == 'Q' ? "FT" : "IT";
        s.instrumentCode = s.instrument == "FT" ? 2 : 1;
      } else if (ms2 && line[2] == 'A' && line[12] == 'C') {
        q = line + 19;
        s.activationCenter = decimalScan(q);
      } else if (ms2 && line[2] == 'A' && line[12] == 'T') {
        s.activationType = std::string(line + 17, 3);
        s.activationCode = s.activationType == "CID"   ? 1
                           : s.activationType == "ETD" ? 2
                           : s.activationType == "HCD" ? 3
                                                       : -1;
      } else if (ms2 && line[2] == 'P' && line[11] == 'S') {
        q = line + 16;
        s.precursorScan = integerScan(q);
      }
    } else if (line[0] == 'Z' && ms2 && !scans.empty()) {
      LoadedScan& s = scans.back();
      const char* q = line + 2;
      s.charge = static_cast<int>(integerScan(q));
      if (s.charge == 0) s.charge = 2;
      ++q;
      s.mh = decimalScan(q);
      if (s.mh > -1e-5 && s.mh < 1e-5)
        s.mh = s.charge * s.activationCenter - (s.charge - 1) * 1.007276;
    } else if (line[0] >= '0' && line[0] <= '9' && !scans.empty()) {
      const char* q = line;
      double mz = decimalScan(q);
      EXPECT_TRUE(*q == ' ' || *q == '\t');
      ++q;
      double intensity = decimalScan(q);
      scans.back().peaks.emplace_back(mz, intensity);
    }
    while (*p != '\0' && *p != '\n') ++p;
    if (*p == '\n') ++p;
  }
  return scans;
}

TEST(LoaderEmulation, FixtureMS2ValuesReachTheLoader) {
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(fixturePath("small.mzML"), temp.folder(), "small"));
  std::vector<LoadedScan> scans = loadLikeCorvid(readFile(temp.file("small.ms2")), true);
  ASSERT_EQ(scans.size(), 4U);
  const LoadedScan& cid = scans[0];
  EXPECT_EQ(cid.scan, 2);
  EXPECT_NEAR(cid.retentionTime, 61.5, 1e-9);
  EXPECT_NEAR(cid.ionInjectionTime, 12.5, 1e-9);
  EXPECT_EQ(cid.activationCode, 1);
  EXPECT_EQ(cid.instrumentCode, 1);
  EXPECT_EQ(cid.precursorScan, 1);
  EXPECT_NEAR(cid.activationCenter, 445.12, 1e-9);
  EXPECT_EQ(cid.charge, 2);
  EXPECT_NEAR(cid.mh, 2 * 445.1234 - 1.007276, 1e-6);
  ASSERT_EQ(cid.peaks.size(), 2U);
  EXPECT_NEAR(cid.peaks[1].first, 300.75, 1e-9);
  EXPECT_NEAR(cid.peaks[1].second, 200.125, 1e-9);
  const LoadedScan& hcd = scans[1];
  EXPECT_EQ(hcd.activationCode, 3);
  EXPECT_EQ(hcd.instrumentCode, 2);
  EXPECT_EQ(hcd.charge, 2);  // unknown charge: the loader's fallback from the activation center
  EXPECT_NEAR(hcd.mh, 2 * 500.25 - 1.007276, 1e-6);
  EXPECT_EQ(scans[2].activationCode, -1);  // PQD: Corvid skips the scan, as the alert says
  EXPECT_EQ(scans[3].activationCode, 2);
  EXPECT_EQ(scans[3].charge, 3);
}

// Every retention time and peak of the BSA1 run reads back, through the loaders' scanners, as the
// value that was printed.
TEST(LoaderEmulation, BSA1ValuesReachTheLoader) {
  const char* fromEnvironment = std::getenv("CORVID_BSA1");
  std::string input = fromEnvironment != nullptr && *fromEnvironment != '\0'
                          ? fromEnvironment
                          : "/root/.cache/corvid/pkg/usr/share/doc/openms/examples/BSA/BSA1.mzML";
  if (!exists(input)) GTEST_SKIP() << "BSA1.mzML not found (set CORVID_BSA1)";
  TempDir temp;
  ASSERT_TRUE(extractOpenFormat(input, temp.folder(), "BSA1"));
  for (bool ms2 : {false, true}) {
    std::string text = readFile(temp.file(ms2 ? "BSA1.ms2" : "BSA1.ms1"));
    std::vector<LoadedScan> scans = loadLikeCorvid(text, ms2);
    ASSERT_EQ(scans.size(), ms2 ? 1120U : 564U);
    // The same values read with the C library, line by line.
    std::size_t peakCount = 0;
    const char* p = text.c_str();
    std::size_t scanIndex = static_cast<std::size_t>(-1), peakIndex = 0;
    while (*p != '\0') {
      if (*p == 'S') {
        ++scanIndex;
        peakIndex = 0;
      } else if (p[0] == 'I' && p[2] == 'R') {
        EXPECT_NEAR(scans[scanIndex].retentionTime, std::strtod(p + 10, nullptr), 1e-9);
      } else if (*p >= '0' && *p <= '9') {
        char* end = nullptr;
        double mz = std::strtod(p, &end);
        double intensity = std::strtod(end + 1, nullptr);
        const auto& peak = scans[scanIndex].peaks[peakIndex++];
        ASSERT_NEAR(peak.first, mz, mz * 1e-14);
        ASSERT_NEAR(peak.second, intensity, intensity * 1e-14 + 1e-12);
        ++peakCount;
      }
      while (*p != '\0' && *p != '\n') ++p;
      if (*p == '\n') ++p;
    }
    EXPECT_GT(peakCount, 1000U);
    for (const LoadedScan& scan : scans) EXPECT_EQ(scan.instrument, ms2 ? "IT" : "FTMS");
  }
}

}  // namespace
}  // namespace corvid
