// formatFixed must write exactly what std::to_chars writes in fixed notation.
#include "platform/fixed_decimal.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace corvid {
namespace {

std::string viaFormatFixed(double value, int decimals) {
  char text[kFixedDecimalRoom];
  return std::string(text, formatFixed(text, text + sizeof text, value, decimals));
}

std::string viaToChars(double value, int decimals) {
  char text[kFixedDecimalRoom];
  return std::string(text, std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals).ptr);
}

TEST(FixedDecimal, WritesTheUsualSpectrumValues) {
  EXPECT_EQ(viaFormatFixed(445.120025, 6), "445.120025");
  EXPECT_EQ(viaFormatFixed(1234.5, 4), "1234.5000");
  EXPECT_EQ(viaFormatFixed(0.0, 6), "0.000000");
  EXPECT_EQ(viaFormatFixed(7.0, 0), "7");
  EXPECT_EQ(viaFormatFixed(-2.25, 1), "-2.2");  // a tie goes to the even digit
  EXPECT_EQ(viaFormatFixed(-0.0, 2), "-0.00");
  EXPECT_EQ(viaFormatFixed(-1e-9, 6), "-0.000000");
}

TEST(FixedDecimal, RoundsExactTiesToEven) {
  // k/128 is exact in binary; at 6 decimals 1/128 = 0.0078125 is a tie.
  for (int k = 1; k < 4096; ++k) {
    const double value = k / 128.0;
    for (int decimals = 0; decimals <= 9; ++decimals) {
      ASSERT_EQ(viaFormatFixed(value, decimals), viaToChars(value, decimals)) << value << " " << decimals;
    }
  }
  EXPECT_EQ(viaFormatFixed(0.5, 0), "0");
  EXPECT_EQ(viaFormatFixed(1.5, 0), "2");
  EXPECT_EQ(viaFormatFixed(2.5, 0), "2");
  EXPECT_EQ(viaFormatFixed(0.0078125, 6), "0.007812");
}

TEST(FixedDecimal, EqualsToCharsOnRandomValuesOfEveryMagnitude) {
  std::mt19937_64 generator(20261124);
  std::uniform_int_distribution<std::uint64_t> anyBits;
  std::uniform_real_distribution<double> exponent(-12.0, 21.0);
  for (int i = 0; i < 400000; ++i) {
    // Half spread by decimal magnitude (the values spectra hold), half arbitrary bit patterns.
    const double value = (i % 2 == 0) ? std::pow(10.0, exponent(generator)) * ((i % 4 == 0) ? 1 : -1)
                                      : std::bit_cast<double>(anyBits(generator));
    const int decimals = i % 10;
    ASSERT_EQ(viaFormatFixed(value, decimals), viaToChars(value, decimals)) << std::hexfloat << value << " " << decimals;
  }
}

TEST(FixedDecimal, EqualsToCharsAtTheEdgesOfTheFastPath) {
  const double limits[] = {1e19, 1e18, 1e17, 1e16, 1e15, 1e14, 1e13, 1e12, 1e11, 1e10};
  for (int decimals = 0; decimals <= 9; ++decimals) {
    const double limit = limits[decimals];
    for (double value : {limit, std::nextafter(limit, 0.0), std::nextafter(limit, 1e300), limit / 2, 9007199254740993.0,
                         std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::min(),
                         5e-10, 4.9999999999999e-10, 0.9999999995, 999999.9999995}) {
      ASSERT_EQ(viaFormatFixed(value, decimals), viaToChars(value, decimals)) << value << " " << decimals;
      ASSERT_EQ(viaFormatFixed(-value, decimals), viaToChars(-value, decimals)) << -value << " " << decimals;
    }
  }
}

TEST(FixedDecimal, LeavesWhatItDoesNotTakeToToChars) {
  for (double value : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::max(), 1e300}) {
    EXPECT_EQ(viaFormatFixed(value, 6), viaToChars(value, 6));
  }
  EXPECT_EQ(viaFormatFixed(1.0 / 3.0, 12), viaToChars(1.0 / 3.0, 12));
  EXPECT_EQ(viaFormatFixed(123.456, 17), viaToChars(123.456, 17));
}

}  // namespace
}  // namespace corvid
