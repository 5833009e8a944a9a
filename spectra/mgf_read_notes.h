#pragma once
// What the MGF reader keeps as read although it changes or drops data (non-finite or negative
// values, overlong lines, peak lists ended early, a file without line feeds), counted while the
// file is read and reported in one Alert per file.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "spectra/mgf_reader.h"

namespace corvid {

// The line reader takes at most this many characters per piece (a 1024-byte line buffer with its
// terminating zero); longer lines arrive in several pieces, which are not recognised.
inline constexpr std::size_t kLinePiece = 1023;

// Values and lines that the reader keeps as it has always read them although they change or
// drop data; reported together, once per file.
struct KeptAsReadNotes {
  std::int64_t nonFiniteValues = 0;  // nan or inf in a peak or in the PEPMASS of a peak list
  std::int64_t negativeValues = 0;   // negative intensity or PEPMASS
  std::int64_t overlongLines = 0;    // lines longer than kLinePiece characters
  std::int64_t overlongPieces = 0;   // the pieces they were read in
  // Peak lists left by a line that is not a peak, END IONS or the start of the next block (a
  // missing END IONS has its own report: the blocks it swallows).
  std::int64_t peakListsEndedEarly = 0;
  std::int64_t linesSkippedToEnd = 0;  // that line and the lines after it up to END IONS
  bool skippingToEnd = false;          // such a line was met and END IONS is not yet reached
  std::int64_t firstEarlyEndLine = 0;  // line number of the first such line
  std::string firstEarlyEndText;       // and its beginning
};

// Counts a value copied into a peak or precursor mass that is not finite or is negative.
inline void noteValue(double value, KeptAsReadNotes& kept) {
  if (!std::isfinite(value)) {
    ++kept.nonFiniteValues;
  } else if (value < 0.0) {
    ++kept.negativeValues;
  }
}

// Lines ended by CR alone, without any line feed: the whole file is one line for the reader.
bool hasCarriageReturnsOnly(std::string_view text);

// One "Alert" per file listing what was kept as read; nothing when all was read as it stands.
void reportKeptAsRead(std::string_view text, const MGFFile& mgfFile, const KeptAsReadNotes& kept);

}  // namespace corvid
