#include "detection/precursor_feature_vector.h"

#include <algorithm>
#include <cmath>

#include "detection/detection_context.h"

namespace corvid {
namespace {

// The spread is measured within 20 ppm of the candidate's m/z.
constexpr double kSpreadTolerance = 2e-5;
// Below this intensity sum there is no peak to measure.
constexpr double kSpreadMinimumIntensity = 1e-11;
// Profile rows 1..10 are the ten MS1 scans (row 0 stays empty).
constexpr int kFirstElutionGroup = 1;
constexpr int kLastElutionGroup = 10;

}  // namespace

double pearsonCorrelation(const double* x, const double* y, std::size_t n) {
  double sx = 0.0, sy = 0.0, sxy = 0.0, sxx = 0.0, syy = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    sx += x[i];
    sy += y[i];
    sxy += x[i] * y[i];
    sxx += x[i] * x[i];
    syy += y[i] * y[i];
  }
  const double count = static_cast<double>(n);
  const double mx = sx == 0.0 ? 0.0 : sx / count;
  const double my = sy == 0.0 ? 0.0 : sy / count;
  const double numerator = sxy - count * mx * my;
  const double denominator = std::sqrt((syy - count * my * my) * (sxx - count * mx * mx));
  if (numerator == 0.0 || denominator == 0.0) return 0.0;
  return numerator / denominator;
}

double elutionCosine(const double* profile, int groupSize, int slotA, int slotB) {
  double inner = 0.0, normA = 0.0, normB = 0.0;
  for (int group = kFirstElutionGroup; group <= kLastElutionGroup; ++group) {
    const double a = profile[group * groupSize + slotA];
    const double b = profile[group * groupSize + slotB];
    inner += a * b;
    normA += a * a;
    normB += b * b;
  }
  if (inner == 0.0) return 0.0;
  return inner / std::sqrt(normA * normB);
}

double mzSpread(const std::vector<Peak>& ascendingPeaks, double mz) {
  const double tolerance = mz * kSpreadTolerance;
  const double low = mz - tolerance;
  const double high = mz + tolerance;
  auto peak = std::lower_bound(ascendingPeaks.begin(), ascendingPeaks.end(), low,
                               [](const Peak& p, double value) { return p.mz < value; });
  double s = 0.0, a = 0.0, b = 0.0;
  for (; peak != ascendingPeaks.end() && peak->mz <= high; ++peak) {
    s += peak->intensity;
    a += peak->intensity * peak->mz;
    b += peak->intensity * peak->mz * peak->mz;
  }
  if (std::fabs(s) < kSpreadMinimumIntensity) return 0.0;
  const double meanMz = a / s;
  return std::sqrt(std::fabs(b / s - meanMz * meanMz)) / mz * 1e6;
}

}  // namespace corvid
