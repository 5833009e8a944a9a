#pragma once
// Streaming mzML reader (indexed or not): hands each spectrum to a sink in file order while the
// file is read in fixed-size blocks, so memory does not grow with the file.
#include <string>

#include "spectra/open_format_spectrum.h"

namespace corvid {

// Returns false with a reason when the file cannot be read, is not well-formed mzML, holds a
// corrupt or wrongly sized peak array, or when the sink refuses a spectrum.
// A peak array past limits.maxSpectrumValues is refused with the spectrum's name, its declared and
// its encoded size.
bool readMzMLFile(const std::string& path, const SpectrumSink& sink, std::string& error,
                  const OpenFormatLimits& limits = {});

}  // namespace corvid
