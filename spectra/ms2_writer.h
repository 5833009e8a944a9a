#pragma once
// MS2 text output: one activation group's spectra after precursor detection, one scan block per
// accepted precursor (or one with the recorded precursor), in the line syntax the MS2 loader
// reads back: CR LF line ends, ActivationType before InstrumentType.
#include <string>

#include "spectra/group_export.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Writes the five header lines and, when `output_ms2` is "1", the scan blocks (to the fixed name
// C:\test.ms2 when path is empty).
// group.writtenCount gets the number of blocks the group exports, counted with the switch off too.
// When the file cannot be created, prints "Fail to Create MS2 file! Please Check your disk!" on
// standard error and returns false.
bool writeMS2(GroupExport& group, const MS2File& ms2File, bool writeBlocks,
              const std::string& path);

}  // namespace corvid
