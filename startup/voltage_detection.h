#pragma once
// Detection of one activation group's MS2 scans for the per-file driver: against the pair's one
// detection input, or in FAIMS runs against the MS1 scans of each scan's own compensation voltage.
#include <cstddef>
#include <string>
#include <vector>

#include "detection/detection_context.h"
#include "detection/voltage_views.h"
#include "spectra/spectrum_records.h"
#include "startup/pair_run.h"

namespace corvid {

// FAIMS runs (MS1 scans with voltages): moves the MS1 scans into one file per voltage, with the
// Note naming the voltages and the Alert for MS2 scans of no MS1 scan's voltage. Call it after
// everything that needs the MS1 file whole (the KX file). Runs without voltages are left as
// they are and views stays empty.
void splitFaimsRun(const DetectionInput& whole, MS1File& ms1File, const MS2File& ms2File, const std::string& ms2Path,
                   VoltageViews& views);

// Detects the group's scans into run.detected (against run.voltageViews when it has inputs) and
// returns the positions of the group's spectra.
std::vector<std::size_t> detectGroupScans(PairRun& run, int group);

}  // namespace corvid
