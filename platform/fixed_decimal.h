#pragma once
// Fixed-notation decimal text of a double, byte for byte what std::to_chars(first, last, value,
// std::chars_format::fixed, decimals) writes, but several times faster for the values spectra
// hold: every peak of an extracted run goes through here twice. The exact binary value is scaled
// by 10^decimals in 128-bit integers and rounded half to even, as to_chars rounds; magnitudes
// whose scaled value does not fit 64 bits, and more than 9 decimals, go to std::to_chars itself.
#include <cstddef>

namespace corvid {

// Room that is always enough for formatFixed with at most 9 decimals (and for its fallback, the
// longest fixed-notation double: 309 integer digits, sign, point and decimals).
inline constexpr std::size_t kFixedDecimalRoom = 330;

// Writes `value` with `decimals` digits after the point (none and no point for 0) from `first`;
// returns the end. [first, last) must hold kFixedDecimalRoom characters. Infinities and NaN are
// written as to_chars writes them.
char* formatFixed(char* first, char* last, double value, int decimals);

}  // namespace corvid
