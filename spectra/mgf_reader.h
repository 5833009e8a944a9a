#pragma once
// MGF input: every BEGIN IONS ... END IONS block becomes one MS2Spectrum, with scan, charge and
// precursor index taken from titles of the form RAWName.scan.scan.charge[.k].dta.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "spectra/spectrum_records.h"

namespace corvid {

struct MGFFile {
  std::string path;
  std::vector<MS2Spectrum> spectra;    // one per TITLE line, file order
  std::int32_t currentIndex = -1;      // spectrum being filled; -1 before the first TITLE
  std::int32_t distinctScanCount = 0;  // times the scan changed from one title to the next
                                       // (the first title counts): the KX2 record count
  std::string rawName;                 // raw name of the first title
};

// Fills mgfFile from mgfFile.path. A file that cannot be opened prints "The MGF does not
// exist." and a title without a readable scan prints the title-format help; both end the process
// with status 255 (the run log is flushed by the handler the entry routine registers with atexit).
void readMGF(MGFFile& mgfFile);

// The parts of an MGF title (the text after "TITLE="), as the reader splits it.
struct MGFTitle {
  std::string_view rawName;  // before the first "."
  bool scanValid = false;    // the scan field holds a number in the 32-bit range
  std::int32_t scan = 0;
  std::int32_t precursorIndex = 0;  // fifth field k, 0 when the title ends in ".dta" after four
};

MGFTitle parseMGFTitle(std::string_view title);

}  // namespace corvid
