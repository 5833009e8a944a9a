#include "spectra/ms_text_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace corvid {
namespace {

ExtractedScan ms2Scan() {
  ExtractedScan scan;
  scan.scan = 12;
  scan.msLevel = 2;
  scan.retentionTime = 1503.96166992188;
  scan.ionInjectionTime = 35.5;
  scan.analyzer = AnalyzerKind::IonTrap;
  scan.activation = {'C', 'I', 'D', '\0'};
  scan.precursorScan = 11;
  scan.isolationTarget = 500.25;
  scan.precursorMz = 500.2512;
  scan.charge = 3;
  return scan;
}

// The line of `text` that starts with `start`.
std::string lineStarting(const std::string& text, const std::string& start) {
  std::size_t at = text.find(start);
  if (at == std::string::npos) return {};
  return text.substr(at, text.find("\r\n", at) - at);
}

TEST(AppendMS2Header, ExactLinesInLoaderOrder) {
  std::string text;
  appendMS2Header(text, ms2Scan());
  EXPECT_EQ(text,
            "S\t000012\t000012\t500.251200\r\n"
            "I\tRetTime\t1503.961670\r\n"
            "I\tIonInjectionTime\t35.500000\r\n"
            "I\tActivationType\tCID\r\n"
            "I\tInstrumentType\tITMS\r\n"
            "I\tPrecursorScan\t11\r\n"
            "I\tActivationCenter\t500.250000\r\n"
            "Z\t3\t1498.739048\r\n");
}

// The loaders recognise keys by fixed character positions and read values from fixed columns.
TEST(AppendMS2Header, KeysSitAtTheLoaderPositions) {
  std::string text;
  appendMS2Header(text, ms2Scan());
  std::string line = lineStarting(text, "I\tRetTime");
  EXPECT_EQ(line[2], 'R');
  EXPECT_EQ(line.substr(10), "1503.961670");
  line = lineStarting(text, "I\tIonInjectionTime");
  EXPECT_EQ(line[2], 'I');
  EXPECT_EQ(line[5], 'I');
  EXPECT_EQ(line.substr(19), "35.500000");
  line = lineStarting(text, "I\tActivationType");
  EXPECT_EQ(line[2], 'A');
  EXPECT_EQ(line[12], 'T');
  EXPECT_EQ(line.substr(17, 3), "CID");
  line = lineStarting(text, "I\tInstrumentType");
  EXPECT_EQ(line[2], 'I');
  EXPECT_EQ(line[12], 'T');
  EXPECT_NE(line[5], 'I');  // not mistaken for IonInjectionTime, which is tested first
  EXPECT_EQ(line[17], 'I');
  line = lineStarting(text, "I\tPrecursorScan");
  EXPECT_EQ(line[2], 'P');
  EXPECT_EQ(line[11], 'S');
  EXPECT_EQ(line.substr(16), "11");
  line = lineStarting(text, "I\tActivationCenter");
  EXPECT_EQ(line[2], 'A');
  EXPECT_EQ(line[12], 'C');
  EXPECT_EQ(line.substr(19), "500.250000");
  EXPECT_LT(text.find("I\tActivationType"), text.find("I\tInstrumentType"));
  EXPECT_LT(text.find("I\tActivationCenter"), text.find("Z\t"));
}

TEST(AppendMS2Header, UnknownChargeWritesZeroMassForTheLoaderFallback) {
  ExtractedScan scan = ms2Scan();
  scan.charge = 0;
  scan.activation = {};
  std::string text;
  appendMS2Header(text, scan);
  EXPECT_EQ(lineStarting(text, "Z\t"), "Z\t0\t0.000000");
  EXPECT_EQ(lineStarting(text, "I\tActivationType"), "I\tActivationType\tUNK");
}

TEST(AppendMS2Header, AnalyzerTexts) {
  ExtractedScan scan = ms2Scan();
  std::string text;
  for (auto [kind, name] :
       {std::pair{AnalyzerKind::FourierTransform, "FTMS"},
        std::pair{AnalyzerKind::TimeOfFlight, "QTOF"}, std::pair{AnalyzerKind::IonTrap, "ITMS"}}) {
    scan.analyzer = kind;
    text.clear();
    appendMS2Header(text, scan);
    EXPECT_EQ(lineStarting(text, "I\tInstrumentType"), std::string("I\tInstrumentType\t") + name);
  }
}

TEST(AppendMS1Header, ExactLinesAndPositions) {
  ExtractedScan scan;
  scan.scan = 1234567;  // wider than six digits: written in full
  scan.retentionTime = 60.0;
  scan.analyzer = AnalyzerKind::FourierTransform;
  std::string text;
  appendMS1Header(text, scan);
  EXPECT_EQ(text, "S\t1234567\t1234567\r\nI\tRetTime\t60.000000\r\nI\tInstrumentType\tFTMS\r\n");
  std::string line = lineStarting(text, "I\tInstrumentType");
  EXPECT_EQ(line.substr(2, 2), "In");
  EXPECT_EQ(line[17], 'F');
}

TEST(AppendPeakLines, EveryNumberHasADecimalPointAndNoExponent) {
  std::vector<double> mz = {100.0, 1e-9, 123456.5, 5.0};
  std::vector<double> intensity = {5.0, 1e12, 0.0, -0.0};
  std::string text;
  std::size_t negative = 0;
  ASSERT_TRUE(appendPeakLines(text, mz, intensity, negative));
  EXPECT_EQ(text,
            "100.000000 5.0000\r\n"
            "0.000000 1000000000000.0000\r\n"
            "123456.500000 0.0000\r\n"
            "5.000000 0.0000\r\n");
  EXPECT_EQ(text.find_first_of("eE-"), std::string::npos);
  EXPECT_EQ(negative, 0U);
}

TEST(AppendPeakLines, NegativeIntensityWrittenAsZeroAndCounted) {
  std::string text;
  std::size_t negative = 0;
  ASSERT_TRUE(appendPeakLines(text, {200.0}, {-3.5}, negative));
  EXPECT_EQ(text, "200.000000 0.0000\r\n");
  EXPECT_EQ(negative, 1U);
}

TEST(AppendPeakLines, NonFiniteOrNegativeMzRefused) {
  std::string text;
  std::size_t negative = 0;
  EXPECT_FALSE(appendPeakLines(text, {NAN}, {1.0}, negative));
  EXPECT_FALSE(appendPeakLines(text, {1.0}, {INFINITY}, negative));
  EXPECT_FALSE(appendPeakLines(text, {-1.0}, {1.0}, negative));
}

// The written text, read back, is the value rounded to the printed decimals: 32-bit float
// intensities and 64-bit m/z values over the whole range met in practice.
TEST(AppendPeakLines, ValuesPreservedToThePrintedPrecision) {
  std::uint32_t state = 7;
  std::vector<double> mz, intensity;
  for (int i = 0; i < 20000; ++i) {
    state = state * 1664525U + 1013904223U;
    double unit = state / 4294967296.0;
    mz.push_back(50.0 + unit * 4950.0);
    intensity.push_back(static_cast<double>(static_cast<float>(std::pow(10.0, unit * 11.0 - 2.0))));
  }
  std::string text;
  std::size_t negative = 0;
  ASSERT_TRUE(appendPeakLines(text, mz, intensity, negative));
  const char* p = text.c_str();
  for (std::size_t i = 0; i < mz.size(); ++i) {
    char* end = nullptr;
    double m = std::strtod(p, &end);
    ASSERT_EQ(*end, ' ');
    double v = std::strtod(end + 1, &end);
    ASSERT_EQ(std::strncmp(end, "\r\n", 2), 0);
    EXPECT_LE(std::fabs(m - mz[i]), 0.5e-6 * (1 + 1e-9)) << i;
    EXPECT_LE(std::fabs(v - intensity[i]), 0.5e-4 * (1 + 1e-9) + intensity[i] * 1e-15) << i;
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.6f %.4f\r\n", mz[i], intensity[i]);
    ASSERT_EQ(std::string(p, static_cast<const char*>(end) + 2), expected) << i;
    p = end + 2;
  }
}

TEST(AppendFixed, NonFiniteBecomesZero) {
  std::string text;
  appendFixed(text, NAN, 2);
  EXPECT_EQ(text, "0.00");
}

}  // namespace
}  // namespace corvid
