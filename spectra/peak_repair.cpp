#include "spectra/peak_repair.h"

#include <algorithm>
#include <cmath>

namespace corvid {

namespace {

bool usablePeak(double mz, double intensity) {
  return std::isfinite(mz) && std::isfinite(intensity) && mz >= 0.0 && intensity >= 0.0;
}

}  // namespace

std::size_t repairPeaks(PeakRepair& repair, const std::vector<double>*& mz, const std::vector<double>*& intensity) {
  std::size_t count = std::min(mz->size(), intensity->size());
  std::size_t usable = 0;
  bool ordered = true;
  double lastMz = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    double m = (*mz)[i];
    double v = (*intensity)[i];
    if (!usablePeak(m, v)) continue;
    if (usable++ > 0 && m < lastMz) ordered = false;
    lastMz = m;
  }
  if (usable != count || !ordered) {
    repair.peakOrder.clear();
    for (std::size_t i = 0; i < count; ++i) {
      double m = (*mz)[i];
      double v = (*intensity)[i];
      if (usablePeak(m, v)) repair.peakOrder.push_back(static_cast<std::uint32_t>(i));
    }
    if (!ordered)
      std::stable_sort(repair.peakOrder.begin(), repair.peakOrder.end(),
                       [mz](std::uint32_t a, std::uint32_t b) { return (*mz)[a] < (*mz)[b]; });
    repair.keptMz.resize(usable);
    repair.keptIntensity.resize(usable);
    for (std::size_t k = 0; k < usable; ++k) {
      repair.keptMz[k] = (*mz)[repair.peakOrder[k]];
      repair.keptIntensity[k] = (*intensity)[repair.peakOrder[k]];
    }
    mz = &repair.keptMz;
    intensity = &repair.keptIntensity;
    if (!ordered) ++repair.unsortedSpectra;
    if (usable != count) {
      repair.droppedPeaks += count - usable;
      ++repair.spectraWithDropped;
    }
  }
  return usable;
}

}  // namespace corvid
