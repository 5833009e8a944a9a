#include "platform/fixed_decimal.h"

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace corvid {
namespace {

#if defined(__SIZEOF_INT128__)
// GCC and Clang's 128-bit integers; elsewhere every value goes to std::to_chars.
__extension__ typedef unsigned __int128 Wide;
constexpr bool kFastPathBuilt = true;
#else
typedef std::uint64_t Wide;
constexpr bool kFastPathBuilt = false;
#endif

constexpr std::uint64_t kPowersOfTen[10] = {1,      10,      100,      1000,      10000,
                                            100000, 1000000, 10000000, 100000000, 1000000000};

// Largest magnitude taken by the fast path for each count of decimals: the scaled value must stay
// below 2^64 with room for rounding up.
constexpr double kFastLimit[10] = {1e19, 1e18, 1e17, 1e16, 1e15, 1e14, 1e13, 1e12, 1e11, 1e10};

// round(value * 10^Decimals), half to even, from the exact binary value (value finite, >= 0).
template <int Decimals>
std::uint64_t scaledAndRounded(std::uint64_t bits) {
  const int biased = static_cast<int>((bits >> 52) & 0x7FF);
  const std::uint64_t fraction = bits & ((std::uint64_t{1} << 52) - 1);
  const std::uint64_t mantissa = biased == 0 ? fraction : fraction | (std::uint64_t{1} << 52);
  const int exponent = (biased == 0 ? 1 : biased) - 1075;  // value = mantissa * 2^exponent
  const Wide scaled = static_cast<Wide>(mantissa) * kPowersOfTen[Decimals];
  if (exponent >= 0) return static_cast<std::uint64_t>(scaled << exponent);
  const int shift = -exponent;
  if (shift >= 127) return 0;  // below 2^-74 * 10^-decimals: rounds to zero
  const Wide quotient = scaled >> shift;
  const Wide remainder = scaled - (quotient << shift);
  const Wide half = Wide{1} << (shift - 1);
  std::uint64_t rounded = static_cast<std::uint64_t>(quotient);
  if (remainder > half || (remainder == half && (rounded & 1) != 0)) ++rounded;
  return rounded;
}

// The digits of a value the fast path takes. Decimals is a constant here, so that dividing by
// 10^Decimals compiles to a multiplication: the division instruction dominated the formatting.
template <int Decimals>
char* formatScaled(char* out, char* last, std::uint64_t magnitudeBits) {
  constexpr std::uint64_t unit = kPowersOfTen[Decimals];
  const std::uint64_t scaled = scaledAndRounded<Decimals>(magnitudeBits);
  out = std::to_chars(out, last, scaled / unit).ptr;
  if constexpr (Decimals > 0) {
    *out++ = '.';
    std::uint64_t digits = scaled % unit;
    for (int i = Decimals - 1; i >= 0; --i) {
      out[i] = static_cast<char>('0' + digits % 10);
      digits /= 10;
    }
  }
  return out + Decimals;
}

}  // namespace

char* formatFixed(char* first, char* last, double value, int decimals) {
  const std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
  const std::uint64_t magnitudeBits = bits & ~(std::uint64_t{1} << 63);
  const double magnitude = std::bit_cast<double>(magnitudeBits);
  // Also false for infinities and NaN.
  if (!kFastPathBuilt || decimals < 0 || decimals > 9 || !(magnitude < kFastLimit[decimals])) {
    return std::to_chars(first, last, value, std::chars_format::fixed, decimals).ptr;
  }
  char* out = first;
  if (bits >> 63) *out++ = '-';  // to_chars keeps the sign of -0.0 and of what rounds to zero
  switch (decimals) {
    case 0: return formatScaled<0>(out, last, magnitudeBits);
    case 1: return formatScaled<1>(out, last, magnitudeBits);
    case 2: return formatScaled<2>(out, last, magnitudeBits);
    case 3: return formatScaled<3>(out, last, magnitudeBits);
    case 4: return formatScaled<4>(out, last, magnitudeBits);
    case 5: return formatScaled<5>(out, last, magnitudeBits);
    case 6: return formatScaled<6>(out, last, magnitudeBits);
    case 7: return formatScaled<7>(out, last, magnitudeBits);
    case 8: return formatScaled<8>(out, last, magnitudeBits);
    default: return formatScaled<9>(out, last, magnitudeBits);
  }
}

}  // namespace corvid
