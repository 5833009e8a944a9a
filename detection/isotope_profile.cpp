#include "detection/isotope_profile.h"

#include <algorithm>
#include <cmath>

namespace corvid {
namespace {

// Distance between neighbouring isotope peaks, Da.
constexpr double kIsotopeSpacing = 1.003;
// Bins carrying at most this much are empty for the m/z error.
constexpr double kErrorIntensityFloor = 1e-6;
// A valley counts for a group only within its last four slots before the group end.
constexpr int kValleyReach = 5;
// Ten grid rows make the ten-value elution profiles.
constexpr int kElutionRows = 10;

}  // namespace

void binIsotopeProfile(const ProfileGrid& grid, const IsotopeProbe& probe, int firstIsotope,
                       int lastIsotope, int groupSize, double* profile, double* error,
                       std::int32_t* errorCount) {
  const int gridRows = std::min(grid.rows, kElutionRows);
  for (int isotope = firstIsotope; isotope <= lastIsotope; ++isotope) {
    const double offset = isotope * kIsotopeSpacing / probe.charge;
    // Bin positions stay doubles until they are known to lie inside the grid; truncation toward
    // zero then gives the bins (b0 >= 1 exactly when the position is at least 1).
    const double first = (probe.mz - probe.tolerance + offset - probe.center + grid.halfWidth) * grid.binsPerTh;
    const double end = (probe.mz + probe.tolerance + offset - probe.center + grid.halfWidth) * grid.binsPerTh;
    if (!(first < grid.bins)) break;  // the isotopes above lie further out (or nothing is finite)
    if (!(first >= 1.0)) continue;
    const auto b0 = static_cast<std::int64_t>(first);
    const std::int64_t last = end >= grid.bins - 1 ? grid.bins - 1 : static_cast<std::int64_t>(end);
    const int slot = isotope - firstIsotope;
    const double isotopeMz = probe.mz + offset;
    for (int row = 0; row < gridRows; ++row) {
      const double* cells = grid.matrix.data() + static_cast<std::size_t>(row) * grid.bins;
      double& target = profile[(row + 1) * groupSize + slot];
      for (std::int64_t bin = b0; bin <= last; ++bin) {
        const double value = cells[bin];
        target += value;
        if (error != nullptr && value > kErrorIntensityFloor) {
          const double binMz = static_cast<double>(bin) * (1.0 / grid.binsPerTh) - grid.halfWidth + probe.center;
          error[(row + 1) * groupSize + slot] += std::fabs(isotopeMz - binMz);
          ++errorCount[(row + 1) * groupSize + slot];
        }
      }
    }
  }
  if (error == nullptr) return;
  for (int i = 0; i < kProfileGroups * groupSize; ++i) {
    if (errorCount[i] > 0) error[i] /= errorCount[i];
  }
}

void normaliseProfile(double* values, int from, int size) {
  double sum = 0.0;
  for (int i = from; i < size; ++i) sum += values[i];
  if (sum == 0.0) return;
  for (int i = from; i < size; ++i) values[i] /= sum;
}

void findValleys(const double* values, int size, std::vector<std::int32_t>& valleys) {
  valleys.clear();
  for (int i = 1; i + 1 < size; ++i) {
    if (values[i - 1] >= values[i] && values[i] < values[i + 1]) valleys.push_back(i);
  }
}

void cutAfterFirstValley(double* values, int size, int groupSize, std::vector<std::int32_t>& valleys) {
  findValleys(values, size, valleys);
  const int groups = size / groupSize;
  int group = 0;
  std::size_t next = 0;
  while (group < groups && next < valleys.size()) {
    const int groupStart = group * groupSize;
    const int lower = groupStart + groupSize - kValleyReach;
    const int upper = groupStart + groupSize;
    const int valley = valleys[next];
    if (valley <= lower) {
      ++next;
    } else if (valley >= upper) {
      ++group;
    } else {
      std::fill(values + valley + 1, values + upper, 0.0);
      ++group;
      ++next;
    }
  }
}

std::int32_t isotopeLength(const double* profile) {
  std::int32_t longest = 0;
  for (int group = 0; group < kProfileGroups; ++group) {
    const double* slots = profile + group * kIsotopeGroupSize;
    std::int32_t run = 0;
    while (run < kIsotopeGroupSize - 1 && slots[run + 1] > 0.0) ++run;
    longest = std::max(longest, run);
  }
  return longest;
}

double elutionBoundaryCount(const double* profile, std::int32_t bestRow, std::vector<std::int32_t>& valleys) {
  std::int32_t lowest = 0;
  std::int32_t highest = 0;
  for (int slot = 1; slot <= 2; ++slot) {
    double elution[kElutionRows];
    for (int row = 0; row < kElutionRows; ++row) elution[row] = profile[(row + 1) * kIsotopeGroupSize + slot];
    findValleys(elution, kElutionRows, valleys);
    std::int32_t lower = 0;
    std::int32_t upper = kElutionRows - 1;
    for (const std::int32_t valley : valleys) {
      if (valley <= bestRow) {
        lower = valley;
      } else {
        upper = valley;
        break;
      }
    }
    lowest = slot == 1 ? lower : std::min(lowest, lower);
    highest = slot == 1 ? upper : std::max(highest, upper);
  }
  return static_cast<double>(highest - lowest);
}

}  // namespace corvid
