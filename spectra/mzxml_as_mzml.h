#pragma once
// An mzXML input written as a corrected mzML: every scan becomes an mzML spectrum with the same
// native id ("scan=N"), retention time, levels, filter line, analyzer, activation, isolation
// target and peaks (re-encoded as zlib-compressed 64-bit arrays, since mzXML interleaves m/z and
// intensity), and the precursors Corvid accepted as selected ions as in the mzML case.
#include <string>

#include "spectra/corrected_mzml.h"

namespace corvid {

// Reports a failure as writeCorrectedMzML does: one Error, no temporary file, written = false.
CorrectedMzMLOutcome writeCorrectedMzMLFromMzXML(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                                                 const std::string& outputPath);

}  // namespace corvid
