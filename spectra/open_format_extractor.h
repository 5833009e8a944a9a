#pragma once
// Corvid's own extractor for open formats: converts an mzML or mzXML file into the .ms1/.ms2 text
// pair that the RAW pipeline processes, an extraction summary and the completion marker.
#include <string>
#include <string_view>

#include "spectra/input_formats.h"
#include "spectra/open_format_spectrum.h"

namespace corvid {

struct LoadedPair;

// Extracts the file into folder + stem + ".ms1", ".ms2", "_scans.csv" and, last, ".quarry"
// (folder ends with a separator; stem is the file name less its gzip ending and extension, see
// openFormatStem). A gzip-compressed input is inflated as it is read. Every file is written under
// a temporary name and renamed into place when complete; the marker records the input's identity.
// On failure logs an "Error" line naming the file and the problem, removes its temporary files and
// the marker and returns false.
inline constexpr std::string_view kExtractionSummarySuffix = "_scans.csv";

// With threads above 1, the file is parsed on this thread and written on a second one. With
// `loaded`, the .ms1/.ms2 text is also scanned into it as it is written (see loaded_pair.h); it
// holds the final files' spectra when the extraction succeeds.
// limits bound what one spectrum may decode to (see OpenFormatLimits).
bool extractOpenFormat(const std::string& inputPath, const std::string& folder, const std::string& stem,
                       unsigned threads = 1, LoadedPair* loaded = nullptr, const OpenFormatLimits& limits = {});

// True when an earlier extraction of the input is complete (marker, summary, .ms1 and .ms2) and
// its marker records the input as it is now (size, modification time, checksum of the first and
// last megabyte; of the compressed bytes for a gzip file). A marker that records another input, or
// an incomplete extraction, gives an "Alert" and false.
bool openFormatAlreadyExtracted(const std::string& inputPath, const std::string& folder,
                                const std::string& stem);

}  // namespace corvid
