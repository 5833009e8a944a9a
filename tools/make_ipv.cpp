// make_ipv: writes the isotope pattern table IPV.txt.
//
// Usage: make_ipv <output path>
//
// Row i (i = 0 .. 14999) holds the relative abundances of the monoisotopic peak and of the
// isotope peaks +1 .. +4 of an averagine peptide whose neutral mass is i + 0.5 Da, the centre of
// the one-dalton range i <= m < i + 1 that Corvid looks the row up for.
//
// Composition. The averagine of Senko, Beu and McLafferty (J. Am. Soc. Mass Spectrom. 1995,
// 6, 229) is the average amino-acid residue C 4.9384, H 7.7583, N 1.3577, O 1.4773, S 0.0417 of
// average mass 111.1254 Da. For a mass m the unit is scaled by m / 111.1254, every atom count is
// rounded to the nearest integer, and the hydrogen count is then changed by the number of
// hydrogen atoms (rounded, never below zero hydrogens in total) that brings the formula's average
// mass closest to m. The average element masses are those the averagine was defined with
// (C 12.011, H 1.00794, N 14.00674, O 15.9994, S 32.066), so that 111.1254 Da is one unit.
//
// Abundances. IUPAC representative isotopic compositions (Rosman and Taylor, Pure Appl. Chem.
// 1998, 70, 217): 1H 0.999885, 2H 0.000115; 12C 0.9893, 13C 0.0107; 14N 0.99636, 15N 0.00364;
// 16O 0.99757, 17O 0.00038, 18O 0.00205; 32S 0.9499, 33S 0.0075, 34S 0.0425, 36S 0.0001.
//
// Method. Isotope peaks are aggregated by nominal mass shift: an element is the polynomial
// sum_k a_k x^k (a_k = abundance of the isotope k daltons above the lightest one), a formula
// with n atoms of it is that polynomial to the power n, and the molecule is the product over its
// elements. Only the coefficients of x^0 .. x^4 are wanted, and a product's low coefficients
// never depend on higher ones, so every product is truncated after x^4 without any loss; powers
// are taken by repeated squaring. The result is exact up to double rounding (well below 1e-12
// relative for the peaks printed). Each row is finally scaled so that its largest value is 1
// (Corvid only uses the rows through Pearson correlation, which ignores scale) and printed with
// ten significant digits, which reproduces every value to 5e-10 relative.
//
// The output is deterministic: plain IEEE double arithmetic, no library functions beyond
// rounding, LF line ends written in binary mode.
#include <array>
#include <cmath>
#include <cstdio>

namespace {

// Rows of the table: Corvid's table holds 15000 rows, one per whole dalton.
constexpr int kRows = 15000;
// Monoisotopic peak plus the isotope peaks +1 .. +4.
constexpr int kPeaks = 5;

using Polynomial = std::array<double, kPeaks>;  // coefficients of x^0 .. x^4

struct Element {
  double unitCount;     // atoms per averagine unit
  double averageMass;   // Da, as used for the averagine's 111.1254 Da
  Polynomial isotopes;  // abundance by nominal shift from the lightest isotope
};

// The averagine's average mass per unit (Da).
constexpr double kAveragineUnitMass = 111.1254;
// Index of hydrogen in kElements: the element whose count is adjusted to fit the mass.
constexpr int kHydrogen = 1;

constexpr std::array<Element, 5> kElements{{
    {4.9384, 12.011, {0.9893, 0.0107, 0.0, 0.0, 0.0}},                // C: 12C 13C
    {7.7583, 1.00794, {0.999885, 0.000115, 0.0, 0.0, 0.0}},           // H: 1H 2H
    {1.3577, 14.00674, {0.99636, 0.00364, 0.0, 0.0, 0.0}},            // N: 14N 15N
    {1.4773, 15.9994, {0.99757, 0.00038, 0.00205, 0.0, 0.0}},         // O: 16O 17O 18O
    {0.0417, 32.066, {0.9499, 0.0075, 0.0425, 0.0, 0.0001}},          // S: 32S 33S 34S 36S
}};

using Formula = std::array<long, kElements.size()>;  // atom counts in kElements order

Polynomial multiply(const Polynomial& a, const Polynomial& b) {
  Polynomial product{};
  for (int i = 0; i < kPeaks; ++i) {
    for (int j = 0; i + j < kPeaks; ++j) product[i + j] += a[i] * b[j];
  }
  return product;
}

Polynomial power(const Polynomial& base, long exponent) {
  Polynomial result{1.0, 0.0, 0.0, 0.0, 0.0};
  Polynomial square = base;
  while (exponent > 0) {
    if (exponent & 1) result = multiply(result, square);
    exponent >>= 1;
    if (exponent > 0) square = multiply(square, square);
  }
  return result;
}

Formula averagineFormula(double mass) {
  double units = mass / kAveragineUnitMass;
  Formula formula{};
  double formulaMass = 0.0;
  for (std::size_t e = 0; e < kElements.size(); ++e) {
    formula[e] = std::lround(kElements[e].unitCount * units);
    formulaMass += static_cast<double>(formula[e]) * kElements[e].averageMass;
  }
  long extraHydrogens = std::lround((mass - formulaMass) / kElements[kHydrogen].averageMass);
  formula[kHydrogen] += extraHydrogens;
  if (formula[kHydrogen] < 0) formula[kHydrogen] = 0;
  return formula;
}

Polynomial isotopeDistribution(const Formula& formula) {
  Polynomial distribution{1.0, 0.0, 0.0, 0.0, 0.0};
  for (std::size_t e = 0; e < kElements.size(); ++e) {
    distribution = multiply(distribution, power(kElements[e].isotopes, formula[e]));
  }
  return distribution;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: make_ipv <output path>\n", stderr);
    return 2;
  }
  std::FILE* out = std::fopen(argv[1], "wb");
  if (out == nullptr) {
    std::fprintf(stderr, "make_ipv: cannot open %s for writing\n", argv[1]);
    return 1;
  }
  for (int row = 0; row < kRows; ++row) {
    // The row's centre: row i stands for the masses i <= m < i + 1.
    Polynomial peaks = isotopeDistribution(averagineFormula(row + 0.5));
    double largest = 0.0;
    for (double value : peaks) largest = value > largest ? value : largest;
    // largest >= peaks[0] > 0: the lightest isotope of every element has a positive abundance.
    std::fprintf(out, "%.10g %.10g %.10g %.10g %.10g\n", peaks[0] / largest, peaks[1] / largest,
                 peaks[2] / largest, peaks[3] / largest, peaks[4] / largest);
  }
  bool failed = std::ferror(out) != 0;
  if (std::fclose(out) != 0 || failed) {
    std::fprintf(stderr, "make_ipv: writing %s failed\n", argv[1]);
    return 1;
  }
  return 0;
}
