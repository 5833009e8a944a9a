#pragma once
// FAIMS runs step the compensation voltage from one MS1 scan to the next, and each voltage lets
// other ions through: an MS2 scan's precursors are only in the MS1 scans of its own voltage. The
// MS1 scans are therefore split into one file per voltage, each with its own detection input, and
// every MS2 scan is detected against its voltage's file alone, so that every neighbour rule of
// the gathering (related, preceding and following scans, the grids, recalibration, the precision
// mode's window) holds unchanged within one voltage.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "detection/detection_context.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Whether any MS1 scan names a compensation voltage.
bool hasCompensationVoltages(const MS1File& ms1);

struct VoltageViews {
  std::vector<double> voltages;        // distinct voltages of the MS1 scans, ascending; NaN (scans without one) last
  std::vector<MS1File> ms1;            // per voltage, then one empty file for MS2 scans of no MS1 scan's voltage
  std::vector<DetectionInput> inputs;  // parallel to ms1, each reading its own file
  std::vector<std::uint32_t> ms2View;  // per MS2 spectrum (file order): the index of its input
  std::size_t ms2WithoutMS1 = 0;       // MS2 scans whose voltage no MS1 scan has
};

// Moves the MS1 scans out of ms1 (which is left without spectra) into one file per voltage, in
// file order, and gives each MS2 scan the view of its precursor scan's voltage (its own voltage
// when its precursor scan is not among the MS1 scans). The inputs copy whole's settings and
// reference index; the MS1 files must not move while the inputs are used.
void splitByVoltage(const DetectionInput& whole, MS1File& ms1, const MS2File& ms2, VoltageViews& views);

// The Note naming the voltages found and, when some MS2 scans have no MS1 scan of their voltage,
// one counted Alert naming the file.
void reportVoltageViews(const VoltageViews& views, const std::string& ms2Name);

}  // namespace corvid
