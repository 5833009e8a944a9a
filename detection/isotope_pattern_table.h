#pragma once
// Theoretical relative abundances of the first five isotope peaks of an averagine peptide, one
// row per whole dalton of neutral mass: row i covers masses i <= m < i + 1.
#include <array>
#include <string>

namespace corvid {

inline constexpr int kIsotopeTableRows = 15000;
inline constexpr int kIsotopePeaks = 5;

using IsotopePattern = std::array<double, kIsotopePeaks>;

struct IsotopePatternTable {
  std::array<IsotopePattern, kIsotopeTableRows> rows{};  // zero where the file did not reach
};

// The process-wide table (loaded again for every file pair; rows are overwritten in place).
IsotopePatternTable& isotopePatternTable();

// Fills the process-wide table from a text file of numbers read five at a time.
void loadIsotopePatternTable(const std::string& path);

// The row of trunc(neutralMass).
IsotopePattern isotopePattern(double neutralMass);

}  // namespace corvid
