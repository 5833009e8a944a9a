#pragma once
// The similarity measures of the candidate feature vector: Pearson correlation against a
// theoretical isotope pattern, cosines between elution profiles, and the m/z spread.
#include <cstddef>
#include <vector>

#include "spectra/spectrum_records.h"

namespace corvid {

// Pearson correlation of x (theoretical, length n) and y (observed). A mean is 0 when its sum is
// exactly 0; the result is 0 when the numerator is exactly 0 or the denominator is 0.
double pearsonCorrelation(const double* x, const double* y, std::size_t n);

// Cosine of two columns (slotA, slotB) of a grouped profile over groups 1..10: inner product over
// the square root of the product of the squared norms; 0 when the inner product is exactly 0.
double elutionCosine(const double* profile, int groupSize, int slotA, int slotB);

// Intensity-weighted standard deviation, in ppm of mz, of the m/z of the peaks of an ascending
// list that lie within mz +- mz x 2e-5; 0 when their intensity sum is below 1e-11.
double mzSpread(const std::vector<Peak>& ascendingPeaks, double mz);

}  // namespace corvid
