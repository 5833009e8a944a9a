#pragma once
// Loads an extracted .ms1 text file (S, I and peak lines; CR LF line ends, or LF alone as Linux
// tools write them) into an MS1File.
#include <cstdint>
#include <string>
#include <string_view>

#include "spectra/ms_text_notes.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Fills spectra, spectrumCount and instrumentName, reading the file in chunks of at most
// 3 GiB. Throws RunFailure when the file is missing or cannot be opened or read. Announces
// "Loading MS1 Spectra Number: <count>" with label "Infor".
void loadMS1File(const std::string& path, MS1File& ms1File);

// The same with another chunk limit (bytes per read); chunk boundaries move with it.
void loadMS1File(const std::string& path, std::int64_t chunkLimit, MS1File& ms1File);

// Length of the chunk to scan out of bytesRead bytes just read. A read that filled the whole
// limit is cut back to the last "S" that follows a line feed, so that no spectrum is split
// between chunks; 0 when the read filled the limit and no such "S" exists.
std::int64_t ms1ChunkLength(std::string_view bytesRead, std::int64_t chunkLimit);

// Scans one chunk into ms1File. fileName collects the first instrument name met (it is only
// written while empty); chunkOffset is the chunk's position in the file, for the notes. The
// chunk's line ends are looked at once first: lines ending in LF alone read as with CR LF.
void scanMS1Chunk(std::string_view chunk, std::int64_t chunkOffset, MS1File& ms1File,
                  std::string& fileName, MSTextNotes& notes);

// Sorts the peaks of every spectrum whose peaks are not in ascending m/z (stable: equal m/z keep
// their order); returns how many spectra were sorted.
std::size_t sortPeaksByMz(MS1File& ms1File);

// What loading does once every chunk is scanned: sets the instrument name and the count, reports
// the notes (and, with uncutChunkLimit above 0, a spectrum split between chunks of that size) and
// announces the count. For spectra scanned from text held in memory as well.
void finishMS1Load(const std::string& path, const std::string& fileName, const MSTextNotes& notes,
                   std::int64_t uncutChunkLimit, MS1File& ms1File);

}  // namespace corvid
