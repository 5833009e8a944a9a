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

// Fills the table from a text file of numbers read five at a time.
// The numbers are separated by white space (blanks, tabs, LF or CR LF line ends); the k-th number
// goes to row k / 5, column k % 5. Rows past the file's last number keep their previous values,
// as does the rest of a last, incomplete row. Throws RunFailure when the file cannot be opened
// ("Please make sure the IPV.txt is with this Program.^_^") or when a token is not a finite
// decimal number (message names the file, line and token). Numbers past row 14999 are ignored
// with an "Alert" log line; a file that fills fewer than 15000 rows is also reported by an "Alert".
void loadIsotopePatternTable(const std::string& path, IsotopePatternTable& table);

// The row of trunc(neutralMass). Masses of 15000 Da or more (infinity included) read the last
// row, 14999; negative and NaN masses have no row and give five zeros.
IsotopePattern isotopePattern(const IsotopePatternTable& table, double neutralMass);

}  // namespace corvid
