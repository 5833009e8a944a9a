#pragma once
// An extracted MS1/MS2 pair already loaded while it was written: the extraction scans each piece
// of .ms1/.ms2 text as it leaves for the disk, with the loaders' own scanners, so the run that
// extracted a file need not read the same text back. The result is exactly what loading the
// files would give; files the loaders would read differently (beyond their size limits) are not
// loaded here and are read from disk as before.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "spectra/ms2_reader.h"
#include "spectra/ms_text_notes.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// The pair is given up, and its memory freed, once its MS2 text passes this size: runs that large
// are split or read in parts, and holding all their spectra would cost more memory than loading
// them later does.
inline constexpr std::int64_t kLoadedPairMS2Limit = std::int64_t{1} << 29;

struct LoadedPair {
  std::int64_t ms2ByteLimit = kLoadedPairMS2Limit;  // kept by startLoadedPair
  bool abandoned = false;  // given up: the files are to be loaded from disk
  MS1File ms1;
  std::string ms1Instrument;  // the first instrument name met, as the MS1 loader keeps it
  MSTextNotes ms1Notes;
  std::int64_t ms1Bytes = 0;
  MS2File ms2;
  MSTextNotes ms2Notes;
  MS2GroupNotes ms2GroupNotes;
  std::int64_t ms2Bytes = 0;
};

// Empties the pair, ready for the first piece (its byte limit stays).
void startLoadedPair(LoadedPair& pair);

// Scans the next piece of .ms1 / .ms2 text (whole lines, in file order); nothing once abandoned.
void addMS1Text(LoadedPair& pair, std::string_view piece);
void addMS2Text(LoadedPair& pair, std::string_view piece);

// Whether the pair is whole and the loaders would read files of these sizes exactly as the
// pieces were scanned: in one chunk each, within the MS2 scanner's length limit.
bool loadsLikeTheFiles(const LoadedPair& pair);

// A file as it was when a pair was handed over: where, how large, when last written.
struct FileStamp {
  std::filesystem::path path;
  std::uintmax_t size = 0;
  std::filesystem::file_time_type modified;
};

// A loaded pair on its way from the extraction to the per-file driver, with the files it stands for.
struct HandedOverPair {
  FileStamp ms1, ms2;
  LoadedPair pair;
};

// The pair of the files ms1Path and ms2Path (as written just now), to go with the job that
// processes them; nothing when the pair does not read like the files (see loadsLikeTheFiles).
std::optional<HandedOverPair> handOverPair(const std::string& ms1Path, const std::string& ms2Path, LoadedPair pair);

// The handed-over pair when it stands for exactly these files and they are still the files it
// was made from (same size and modification time); otherwise nothing, and the files are to be
// loaded from disk. Either way `handed` is released.
std::optional<LoadedPair> takeHandedOverPair(std::optional<HandedOverPair>& handed, const std::string& ms1Path,
                                             const std::string& ms2Path);

}  // namespace corvid
