#include "spectra/ms_text_scanners.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace corvid {
namespace {

struct Scanned {
  double value = 0.0;
  std::size_t stoppedAt = 0;
};

Scanned decimalUntilCr(const std::string& text) {
  const char* cursor = text.data();
  const double value = scanDecimal(cursor, text.data() + text.size(), StopAtCarriageReturn{});
  return {value, static_cast<std::size_t>(cursor - text.data())};
}

std::uint32_t integerUntilTab(const std::string& text, std::size_t* stoppedAt = nullptr) {
  const char* cursor = text.data();
  const std::uint32_t value = scanInteger(cursor, text.data() + text.size(), StopAtTab{});
  if (stoppedAt != nullptr) *stoppedAt = static_cast<std::size_t>(cursor - text.data());
  return value;
}

double ionInjectionTime(const std::string& text) {
  const char* cursor = text.data();
  return scanIonInjectionTime(cursor, text.data() + text.size(), StopAtCarriageReturn{});
}

TEST(ScanInteger, ReadsDigitsUpToTheTerminator) {
  std::size_t stop = 0;
  EXPECT_EQ(integerUntilTab("1234\t99", &stop), 1234u);
  EXPECT_EQ(stop, 4u);
}

TEST(ScanInteger, TakesNonDigitsAsDigitsWithoutCheck) {
  // 'a' - '0' is 49: 1 x 10 + 49.
  EXPECT_EQ(integerUntilTab("1a\t"), 59u);
  // A blank contributes ' ' - '0' = -16: 2 x 10 - 16.
  EXPECT_EQ(integerUntilTab("2 \t"), 4u);
}

TEST(ScanInteger, StopsAtTheBufferEndWithoutTerminator) {
  std::size_t stop = 0;
  EXPECT_EQ(integerUntilTab("42", &stop), 42u);
  EXPECT_EQ(stop, 2u);
  EXPECT_EQ(integerUntilTab(""), 0u);
}

TEST(ScanInteger, OverlongNumbersWrapAroundModulo2To32) {
  EXPECT_EQ(integerUntilTab("4294967296\t"), 0u);
  EXPECT_EQ(integerUntilTab("4294967297\t"), 1u);
  EXPECT_EQ(integerUntilTab("99999999999\t"), 1215752191u);
  EXPECT_EQ(integerUntilTab(std::string(100000, '9')), integerUntilTab(std::string(100000, '9')));
}

TEST(ScanDecimal, ReadsNumbersWithAPointAsWritten) {
  EXPECT_EQ(decimalUntilCr("12.34\r").value, 12.34);
  EXPECT_EQ(decimalUntilCr("12.34\r").stoppedAt, 5u);
  EXPECT_EQ(decimalUntilCr("12.0\r").value, 12.0);
  EXPECT_EQ(decimalUntilCr("0.5\r").value, 0.5);
  EXPECT_EQ(decimalUntilCr("123.456789\r").value, 123.456789);
  EXPECT_EQ(decimalUntilCr("12345.6\r").value, 12345.6);
}

TEST(ScanDecimal, TrailingPointReadsAsWholeNumber) { EXPECT_EQ(decimalUntilCr("5.\r").value, 5.0); }

TEST(ScanDecimal, NumberWithoutPointIsTenTimesTooLarge) {
  EXPECT_EQ(decimalUntilCr("5\r").value, 50.0);
  EXPECT_EQ(decimalUntilCr("12\r").value, 120.0);
}

TEST(ScanDecimal, EmptyFieldIsZero) { EXPECT_EQ(decimalUntilCr("\r").value, 0.0); }

TEST(ScanDecimal, RunsToTheBufferEndWhenNoTerminatorFollows) {
  const Scanned scanned = decimalUntilCr("7.25");
  EXPECT_EQ(scanned.value, 7.25);
  EXPECT_EQ(scanned.stoppedAt, 4u);
}

TEST(ScanDecimal, SecondPointLowersTheExponentAgain) {
  // '.' e=0, '2' e=-1, '.' e=-2, '3' e=-3: 123 x 10^-3.
  EXPECT_EQ(decimalUntilCr("1.2.3\r").value, 0.123);
}

// The same arithmetic done in doubles all the way, as the format defines it.
double plainDoubleDecimal(const std::string& text) {
  double value = 0.0;
  long exponent = 1;
  for (char c : text) {
    if (c == '.') {
      --exponent;
      continue;
    }
    value = value * 10.0 + static_cast<double>(digitValue(c));
    if (exponent != 1) --exponent;
  }
  if (exponent == 1) return value * 10.0;
  return value / std::pow(10.0, static_cast<double>(-exponent));
}

TEST(ScanDecimal, LongDigitStringsMatchPlainDoubleArithmetic) {
  for (const std::string text :
       {"12345678901234567890.5", "98765432109876543210987.25",
        "1-2-3-4-5-6-7-8-9-0-1-2-3-4-5-6-7-8.5", "0.000000000000000000000001", "4503599627370497.5",
        "562949953421312.9"}) {
    EXPECT_EQ(decimalUntilCr(text + "\r").value, plainDoubleDecimal(text)) << text;
  }
}

TEST(ScanDecimal, PlainNumbersGiveTheGeneralFormBitForBit) {
  std::uint64_t state = 12345;
  auto next = [&state] {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<unsigned>(state >> 40);
  };
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    const unsigned integerDigits = next() % 9;
    const unsigned fractionDigits = next() % 9;
    for (unsigned k = 0; k < integerDigits; ++k) text += static_cast<char>('0' + next() % 10);
    if (next() % 4 != 0) text += '.';
    for (unsigned k = 0; k < fractionDigits; ++k) text += static_cast<char>('0' + next() % 10);
    text += '\r';
    const char* fast = text.data();
    const char* general = text.data();
    const char* end = text.data() + text.size();
    const double fastValue = scanDecimal(fast, end, StopAtCarriageReturn{});
    const double generalValue = scanDecimalGeneral(general, end, StopAtCarriageReturn{});
    ASSERT_EQ(fastValue, generalValue) << text;
    ASSERT_EQ(fast, general) << text;
  }
}

TEST(ScanDecimal, HugeDigitStringsOverflowToInfinityWithoutUndefinedBehaviour) {
  EXPECT_TRUE(std::isinf(decimalUntilCr(std::string(400, '9') + ".\r").value));
  EXPECT_EQ(decimalUntilCr("0." + std::string(400, '0') + "1\r").value, 0.0);
  // A 10 MB run of digits after a point: no crash, no hang, a value that is not finite.
  const Scanned long_run = decimalUntilCr("1." + std::string(10'000'000, '7'));
  EXPECT_FALSE(std::isfinite(long_run.value));
}

TEST(ScanIonInjectionTime, HasNoTenfoldRule) {
  EXPECT_EQ(ionInjectionTime("12\r"), 12.0);
  EXPECT_EQ(ionInjectionTime("12.5\r"), 12.5);
  EXPECT_EQ(ionInjectionTime("0.25\r"), 0.25);
  EXPECT_EQ(ionInjectionTime("7."), 7.0);
  EXPECT_EQ(ionInjectionTime(""), 0.0);
}

TEST(ScanPeakLine, ReadsMzAndIntensityAndStepsOverTheCarriageReturn) {
  const std::string line = "123.456789 12345.6\r\nX";
  Peak peak;
  bool bare = false;
  const char* next = scanPeakLine(line.data(), line.data() + line.size(), peak, bare);
  EXPECT_EQ(peak.mz, 123.456789);
  EXPECT_EQ(peak.intensity, 12345.6);
  EXPECT_EQ(*next, '\n');
  EXPECT_FALSE(bare);
}

TEST(ScanPeakLine, TabSeparatorWorksLikeABlank) {
  const std::string line = "400.5\t20.25\r\n";
  Peak peak;
  bool bare = false;
  scanPeakLine(line.data(), line.data() + line.size(), peak, bare);
  EXPECT_EQ(peak.mz, 400.5);
  EXPECT_EQ(peak.intensity, 20.25);
}

TEST(ScanPeakLine, BareLineFeedIsSteppedOverAndNoted) {
  const std::string line = "400.5 20.25\nS";
  Peak peak;
  bool bare = false;
  const char* next = scanPeakLine(line.data(), line.data() + line.size(), peak, bare);
  EXPECT_EQ(*next, 'S');
  EXPECT_TRUE(bare);
}

TEST(ScanPeakLine, TruncatedLineStopsAtTheBufferEnd) {
  const std::string line = "400.5";
  Peak peak;
  bool bare = false;
  const char* end = line.data() + line.size();
  EXPECT_EQ(scanPeakLine(line.data(), end, peak, bare), end);
  EXPECT_EQ(peak.mz, 400.5);
  EXPECT_EQ(peak.intensity, 0.0);
}

TEST(ByteAt, ReadsZeroOutsideTheBuffer) {
  const std::string text = "I\tR";
  const char* end = text.data() + text.size();
  EXPECT_EQ(byteAt(text.data(), 2, end), 'R');
  EXPECT_EQ(byteAt(text.data(), 3, end), '\0');
  EXPECT_EQ(byteAt(text.data(), 17, end), '\0');
}

TEST(SkipToLineFeed, NotesLineFeedWithoutCarriageReturn) {
  const std::string crlf = "S\t1\r\nX";
  const std::string lf = "S\t1\nX";
  bool bare = false;
  skipToLineFeed(crlf.data(), crlf.data(), crlf.data() + crlf.size(), bare);
  EXPECT_FALSE(bare);
  const char* at = skipToLineFeed(lf.data(), lf.data(), lf.data() + lf.size(), bare);
  EXPECT_TRUE(bare);
  EXPECT_EQ(at - lf.data(), 3);
  const std::string noLineFeed = "S\t1";
  EXPECT_EQ(skipToLineFeed(noLineFeed.data(), noLineFeed.data(), noLineFeed.data() + 3, bare),
            noLineFeed.data() + 3);
}

}  // namespace
}  // namespace corvid
