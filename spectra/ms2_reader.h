#pragma once
// Loads an extracted .ms2 text file (S, Z, I and peak lines; CR LF line ends, or LF alone as
// Linux tools write them) into an MS2File.
#include <cstdint>
#include <string>
#include <string_view>

#include "spectra/ms_text_notes.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Clears the record, reads the whole file with one read and fills spectra, spectrumCount and the
// group flags. Throws RunFailure when the file is missing or cannot be read. Announces
// "Loading MS2 Spectra Number: <count>" with label "Infor".
void loadMS2File(const std::string& path, MS2File& ms2File);

// The length handed to the scanner: the byte count truncated to a 32-bit signed number. A file of
// 2147483648 bytes or more therefore gives a length of 0 or less and loads no spectra.
std::int32_t ms2ScanLength(std::int64_t byteCount);

// Everything loadMS2File does after reading: text holds the bytes read and byteCount their
// number (text may be empty when byteCount is too large to be scanned). Logs an "Alert" naming
// path when the length limit drops the file, and the count message.
void loadMS2Text(std::string_view text, std::int64_t byteCount, const std::string& path,
                 MS2File& ms2File);

// Counts of scans whose activation type was not CID, ETD or HCD at their InstrumentType line.
struct MS2GroupNotes {
  std::int64_t unknownActivation = 0;     // activationCode -1 or 0 when the group was computed
};

// Scans text (already limited to the scan length) into ms2File.spectra and groupPresent. The
// text's line ends are looked at once first: lines ending in LF alone read as with CR LF.
void scanMS2Text(std::string_view text, MS2File& ms2File, MSTextNotes& notes,
                 MS2GroupNotes& groupNotes);

// The two ends of loading for spectra scanned piece by piece (scanMS2Text appends): start clears
// the record as loading does; finish sets the count, reports the notes and announces the count.
void startMS2Load(MS2File& ms2File);
void finishMS2Load(const std::string& path, const MSTextNotes& notes, const MS2GroupNotes& groupNotes,
                   MS2File& ms2File);

}  // namespace corvid
