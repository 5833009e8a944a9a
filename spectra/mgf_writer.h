#pragma once
// MGF output: one file per activation group, one block per accepted precursor of each MS2 scan,
// or one block with the instrument's recorded precursor when detection kept none.
#include <string>

#include "spectra/group_export.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Writes the group's MGF file (CR LF line ends), to the fixed name F:\test.mgf when path is empty.
// Blocks are written only when `output_mgf` is "1"; otherwise the file is created empty.
// group.writtenCount gets the number of blocks the group exports (one per accepted precursor or
// recorded precursor), counted with the switch off too. Returns false, after an "Error" log line
// naming the file, when the file cannot be written.
bool writeMGF(GroupExport& group, const MS2File& ms2File, bool writeBlocks,
              const std::string& path);

}  // namespace corvid
