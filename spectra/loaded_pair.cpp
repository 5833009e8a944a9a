#include "spectra/loaded_pair.h"

#include <filesystem>
#include <utility>

#include "spectra/ms1_reader.h"
#include "spectra/ms_text_scanners.h"

namespace corvid {
namespace {

std::optional<FileStamp> stampOf(const std::string& path) {
  std::error_code code;
  FileStamp stamp;
  stamp.path = std::filesystem::absolute(path, code);
  if (code) return std::nullopt;
  stamp.size = std::filesystem::file_size(path, code);
  if (code) return std::nullopt;
  stamp.modified = std::filesystem::last_write_time(path, code);
  if (code) return std::nullopt;
  return stamp;
}

bool sameFile(const FileStamp& stamp, const std::string& path) {
  std::error_code code;
  if (!std::filesystem::equivalent(stamp.path, path, code) || code) return false;
  const std::optional<FileStamp> now = stampOf(path);
  return now && now->size == stamp.size && now->modified == stamp.modified;
}

// Frees the spectra: the pair will not be used.
void abandon(LoadedPair& pair) {
  pair.abandoned = true;
  pair.ms1 = MS1File{};
  pair.ms2 = MS2File{};
}

// Past the size limit, or past what the loaders read in one piece: given up.
void abandonWhenTooLarge(LoadedPair& pair) {
  if (pair.ms2Bytes > pair.ms2ByteLimit || pair.ms1Bytes >= kSpectrumReadBufferBytes) abandon(pair);
}

}  // namespace

void startLoadedPair(LoadedPair& pair) {
  pair.abandoned = false;
  pair.ms1 = MS1File{};
  pair.ms1Instrument.clear();
  pair.ms1Notes = MSTextNotes{};
  pair.ms1Bytes = 0;
  startMS2Load(pair.ms2);
  pair.ms2Notes = MSTextNotes{};
  pair.ms2GroupNotes = MS2GroupNotes{};
  pair.ms2Bytes = 0;
}

void addMS1Text(LoadedPair& pair, std::string_view piece) {
  if (pair.abandoned) return;
  scanMS1Chunk(piece, pair.ms1Bytes, pair.ms1, pair.ms1Instrument, pair.ms1Notes);
  pair.ms1Bytes += static_cast<std::int64_t>(piece.size());
  abandonWhenTooLarge(pair);
}

void addMS2Text(LoadedPair& pair, std::string_view piece) {
  if (pair.abandoned) return;
  scanMS2Text(piece, pair.ms2, pair.ms2Notes, pair.ms2GroupNotes);
  pair.ms2Bytes += static_cast<std::int64_t>(piece.size());
  abandonWhenTooLarge(pair);
}

bool loadsLikeTheFiles(const LoadedPair& pair) {
  // The MS1 loader cuts files above its buffer into chunks; the MS2 loader reads at most its
  // buffer and scans a 32-bit length of it.
  return !pair.abandoned && pair.ms1Bytes < kSpectrumReadBufferBytes && pair.ms2Bytes < kSpectrumReadBufferBytes &&
         ms2ScanLength(pair.ms2Bytes) == pair.ms2Bytes;
}

std::optional<HandedOverPair> handOverPair(const std::string& ms1Path, const std::string& ms2Path, LoadedPair pair) {
  const std::optional<FileStamp> ms1 = stampOf(ms1Path);
  const std::optional<FileStamp> ms2 = stampOf(ms2Path);
  if (!ms1 || !ms2 || !loadsLikeTheFiles(pair)) return std::nullopt;
  if (static_cast<std::int64_t>(ms1->size) != pair.ms1Bytes || static_cast<std::int64_t>(ms2->size) != pair.ms2Bytes) {
    return std::nullopt;
  }
  return HandedOverPair{*ms1, *ms2, std::move(pair)};
}

std::optional<LoadedPair> takeHandedOverPair(std::optional<HandedOverPair>& handed, const std::string& ms1Path,
                                             const std::string& ms2Path) {
  std::optional<LoadedPair> taken;
  if (handed && sameFile(handed->ms1, ms1Path) && sameFile(handed->ms2, ms2Path)) taken = std::move(handed->pair);
  handed.reset();
  return taken;
}

}  // namespace corvid
