#pragma once
// The isolation window of one MS2 scan as candidate detection sees it: the gathered peaks inside
// it, their summed intensity, and the measures taken on a (peak, charge) pair against it.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "detection/detection_context.h"

namespace corvid {

// Distance between neighbouring isotope peaks, Da.
inline constexpr double kIsotopeSpacing = 1.003;
// 20 ppm: tolerance of every m/z match, relative to the activation center.
inline constexpr double kRelativeTolerance = 2e-5;
// Margin around the isolation window for isotope peaks that sit on its edge, Th.
inline constexpr double kWindowMargin = 0.05;

// What stays the same for every pair of a scan.
struct ScanWindow {
  std::int32_t scanNumber = 0;
  double center = 0.0;
  double tolerance = 0.0;
  double width = 0.0;          // lowerHalf + upperHalf
  double lowerHalf = 0.0;      // the window reaches center - lowerHalf ...
  double upperHalf = 0.0;      // ... to center + upperHalf; each W/2 unless the scan states its own
  double total = 0.0;          // intensity in center +- W/2, bounds included
  std::size_t innerFirst = 0;  // gathered peaks strictly inside center +- W/2
  std::size_t innerLast = 0;
  bool trace = false;
  // Precision mode: the related MS1 scan's peaks inside center +- W/2 (bounds included), ascending,
  // and their summed intensity.
  const std::vector<Peak>* relatedPeaks = nullptr;
  double relatedTotal = 0.0;
};

// peaks: the scan's gathered peaks, ascending. In precision mode the related scan's window peaks
// are collected into the scratch, which the window then points to.
ScanWindow makeScanWindow(const DetectionInput& input, DetectionScratch& scratch, double center,
                          std::int32_t scanNumber, const std::vector<Peak>& peaks, const StatedIsolation& stated = {});

// The share of the related scan's window current on isotopes 0..3 of (mz, charge): the peaks
// within the match tolerance of each isotope. 0 when the window holds no current.
double windowShare(const ScanWindow& window, double mz, std::int32_t charge);

// One of isotopes 0..3 of (mz, charge) lies at the activation center.
bool coversCenter(const ScanWindow& window, double mz, std::int32_t charge);

// Intensity of the gathered peaks strictly inside the window that lie within the tolerance of
// isotopes 0..isoLen-1; a peak matching two isotopes counts twice. Peaks are visited in order.
double matchedIntensity(const ScanWindow& window, const std::vector<Peak>& peaks, double mz, std::int32_t charge,
                        std::int32_t isoLen, bool positiveOnly);

// The precursor ion fraction of a matched intensity: 0 when the window holds no intensity.
double precursorIonFraction(const ScanWindow& window, double matched);

}  // namespace corvid
