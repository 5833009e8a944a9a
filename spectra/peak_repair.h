#pragma once
// Peaks are written finite, non-negative (zero intensity kept) and in m/z order, as the
// detection's sorted searches need them, whatever order and values the input file holds.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace corvid {

// The buffers a repair reuses from spectrum to spectrum, and what the repairs did so far.
struct PeakRepair {
  std::vector<std::uint32_t> peakOrder;
  std::vector<double> keptMz, keptIntensity;
  std::size_t unsortedSpectra = 0;     // spectra whose peaks were sorted by m/z
  std::size_t droppedPeaks = 0;        // non-finite or negative peaks left out
  std::size_t spectraWithDropped = 0;  // spectra that lost at least one such peak
};

// A spectrum is copied (into the repair's buffers, with mz and intensity pointed at the copy) only
// when it needs a repair. Returns the peaks kept.
std::size_t repairPeaks(PeakRepair& repair, const std::vector<double>*& mz, const std::vector<double>*& intensity);

}  // namespace corvid
