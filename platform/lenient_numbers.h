#pragma once
// Numbers read from settings text with the C library's lenient prefix rules: leading blanks
// skipped, digits read up to the first that does not belong, 0 when there is no number.
#include <cstdlib>
#include <string>
#include <string_view>

namespace corvid {

// std::string guarantees a terminator, so the C conversions see a bounded text.
inline int readInteger(std::string_view text) { return std::atoi(std::string(text).c_str()); }
inline long long readInteger64(std::string_view text) { return std::atoll(std::string(text).c_str()); }
inline double readReal(std::string_view text) { return std::atof(std::string(text).c_str()); }

}  // namespace corvid
