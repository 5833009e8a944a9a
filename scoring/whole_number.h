#pragma once
// Whole numbers stored as doubles (scan numbers, charges) read back as int, truncating toward
// zero like a C cast. Values a C cast cannot represent (NaN, beyond the int range) give 0
// instead of undefined behaviour.
#include <cmath>
#include <limits>

namespace corvid {

inline int truncatedToInt(double value) {
  constexpr double kLowest = static_cast<double>(std::numeric_limits<int>::min());
  // One above the largest int, exactly representable as a double.
  constexpr double kBeyond = static_cast<double>(std::numeric_limits<int>::max()) + 1.0;
  if (!(value > kLowest - 1.0 && value < kBeyond)) return 0;
  return static_cast<int>(value);
}

}  // namespace corvid
