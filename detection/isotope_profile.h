#pragma once
// Isotope profiles of a (start peak, charge) pair read from the filtered grid: for every grid row
// the binned intensity at each isotope position, normalised and cut after each envelope's first
// dip.
#include <cstdint>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

// The pair whose isotope positions are binned: isotope k sits at mz + k x 1.003 / charge.
struct IsotopeProbe {
  double mz = 0.0;
  std::int32_t charge = 2;
  double tolerance = 0.0;  // 20 ppm of the activation center
  double center = 0.0;
};

// Adds, for grid rows 0..9 and isotopes firstIsotope..lastIsotope, the grid bins that the isotope
// position +- tolerance covers into profile[(row + 1) x groupSize + isotope - firstIsotope]. When
// error and errorCount are given, the absolute distance between the isotope m/z and each bin
// m/z holding more than 1e-6 is summed and counted per slot. The profile must start zeroed.
void binIsotopeProfile(const ProfileGrid& grid, const IsotopeProbe& probe, int firstIsotope,
                       int lastIsotope, int groupSize, double* profile, double* error,
                       std::int32_t* errorCount);

// Divides values [from, size) by their sum (left unchanged when the sum is 0).
void normaliseProfile(double* values, int from, int size);

// Indices i (1 <= i <= size - 2) with values[i - 1] >= values[i] < values[i + 1], ascending.
void findValleys(const double* values, int size, std::vector<std::int32_t>& valleys);

// Zeroes, in every group, the slots after the group's first valley that lies strictly between
// group start + groupSize - 5 and group start + groupSize.
void cutAfterFirstValley(double* values, int size, int groupSize, std::vector<std::int32_t>& valleys);

// The longest run of positive slots 1, 2, ... of any group of a 6-slot profile, at most 5.
std::int32_t isotopeLength(const double* profile);

// Feature 9: from the elution profiles of M and M+1 (slots 1 and 2 of groups 1..10), the span
// between the valleys that enclose bestRow.
double elutionBoundaryCount(const double* profile, std::int32_t bestRow, std::vector<std::int32_t>& valleys);

}  // namespace corvid
