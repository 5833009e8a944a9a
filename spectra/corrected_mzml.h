#pragma once
// The input mzML rewritten with Corvid's precursors: every spectrum and chromatogram copied as it
// stands (peaks as encoded, ids, metadata), except that each MS2 spectrum with accepted
// precursors gets them as its selected ions, best first, with Corvid's score and rank as
// userParams and the instrument's selected ion kept as userParams of the first. The result is
// an indexed mzML 1.1 (offsets and SHA-1 checksum made anew) with Corvid named in its software
// and data processing lists. Streamed: memory holds one spectrum at a time.
#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvid {

struct CorrectedPrecursor {
  double mz = 0.0;
  int charge = 0;
  double score = 0.0;  // NaN when unscored
  int rank = 0;        // 1 = best
};

// Native spectrum id (as the summary holds it: XML entities resolved) -> precursors, best first.
using CorrectionsByNativeId = std::unordered_map<std::string, std::vector<CorrectedPrecursor>>;

struct CorrectedMzMLOutcome {
  bool written = false;
  std::size_t spectra = 0;        // spectra copied
  std::size_t corrected = 0;      // spectra given Corvid's precursors
  std::size_t withoutIonList = 0; // spectra with corrections but no selected ion list to put them in
  std::string error;              // why it was not written (already logged)
};

// Writes outputPath through a pending file. When it cannot be written (the input is unreadable
// or no mzML, the output cannot be created or written) it logs one Error naming outputPath and
// the cause, leaves no temporary file, and the outcome says written = false.
CorrectedMzMLOutcome writeCorrectedMzML(const std::string& inputPath, const CorrectionsByNativeId& corrections,
                                        const std::string& outputPath);

}  // namespace corvid
