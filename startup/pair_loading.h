#pragma once
// Loading one pair's spectra: from the pair its extraction handed over when there is one,
// otherwise from the .ms1/.ms2 files.
#include <optional>
#include <string>

#include "spectra/loaded_pair.h"
#include "spectra/spectrum_records.h"

namespace corvid {

void loadMS1(const std::string& ms1Path, std::optional<LoadedPair>& loaded, MS1File& ms1File);
// Takes the MS2 spectra and releases the handed-over pair.
void loadMS2(const std::string& ms2Path, std::optional<LoadedPair>& loaded, MS2File& ms2File);

}  // namespace corvid
