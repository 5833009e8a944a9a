#pragma once
// Streaming mzXML reader: hands each scan to a sink in file order (a parent scan before the scans
// nested in it) while the file is read in fixed-size blocks.
#include <string>

#include "spectra/open_format_spectrum.h"

namespace corvid {

// Returns false with a reason when the file cannot be read, is not well-formed mzXML, holds a
// corrupt or wrongly sized peak list, or when the sink refuses a scan.
// A scan of more than limits.maxSpectrumValues peaks is refused with its name, its declared and its
// encoded size.
bool readMzXMLFile(const std::string& path, const SpectrumSink& sink, std::string& error,
                   const OpenFormatLimits& limits = {});

}  // namespace corvid
