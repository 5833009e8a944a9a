#pragma once
// Loading one pair's spectra: from the pair its extraction handed over when there is one,
// otherwise from the .ms1/.ms2 files.
#include <optional>
#include <string>

#include "spectra/loaded_pair.h"
#include "spectra/spectrum_records.h"
#include "startup/run_settings.h"

namespace corvid {

// Spectra whose peaks are not in ascending m/z are sorted, with one Alert counting them.
void loadMS1(const std::string& ms1Path, std::optional<LoadedPair>& loaded, MS1File& ms1File);
// Takes the MS2 spectra and releases the handed-over pair.
void loadMS2(const std::string& ms2Path, std::optional<LoadedPair>& loaded, MS2File& ms2File);

// Whether precursors can be detected from the pair's MS1 scans. A file without MS1 spectra is an
// Error; ion-trap survey scans carry no isotope resolution, so the vendor extractor exports the
// MGF itself.
bool surveyScansAllowDetection(const RunSettings& settings, const std::string& ms1Path, const MS1File& ms1File);

}  // namespace corvid
