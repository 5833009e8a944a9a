#include "spectra/kx_format.h"

#include <bit>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <string_view>

#include "platform/paths.h"
#include "platform/reported_output.h"
#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/run_outcome.h"
#include "spectra/file_size.h"

namespace corvid {
namespace {

// Reads the whole file into buffer, which gets one trailing zero byte.
void loadKXFile(const std::string& path, std::int64_t& size, std::vector<char>& buffer) {
  size = fileSize(path);
  buffer.assign(static_cast<std::size_t>(size) + 1, '\0');
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) throw RunFailure("Fail to Open KX file");
  std::size_t got = std::fread(buffer.data(), 1, static_cast<std::size_t>(size), file);
  std::fclose(file);
  if (got != static_cast<std::size_t>(size)) throw RunFailure("Fail to Open KX file");
}

// Opens the data file and its index for writing; logs the failing one.
bool openPair(const std::string& dataPath, const std::string& indexPath, PendingFile& data, PendingFile& index) {
  return openReportedOutput(dataPath, "KX file", data) && openReportedOutput(indexPath, "KX index file", index);
}

// A KX file is its data and its index together: when one of them cannot be written, the other is
// not left behind either (a device written in place is never removed).
bool closePair(PendingFile& data, PendingFile& index) {
  const bool dataInPlace = data.temporaryPath.empty();
  if (!commitReportedOutput(data, "KX file")) {
    discardPending(index);
    return false;
  }
  if (commitReportedOutput(index, "KX index file")) return true;
  std::error_code ignored;
  if (!dataInPlace) std::filesystem::remove(data.path, ignored);
  return false;
}

void putHeader(std::uint32_t count, const std::string& title, PendingFile& data) {
  putU32(data, count);
  putU32(data, static_cast<std::uint32_t>(title.size() + 1));
  putBytes(data, title);
  putBytes(data, std::string_view("\0", 1));
}

// Keeps track of offsets that no longer fit the format: reported once per file.
struct OffsetGuard {
  bool reported = false;
};

void checkOffset(std::int64_t offset, std::int64_t scan, const std::string& path,
                 OffsetGuard& guard) {
  if (offset <= kKXOffsetLimit || guard.reported) return;
  guard.reported = true;
  logMessage(LogLabel::kAlert, "KX file " + path + " grows beyond " + std::to_string(kKXOffsetLimit) +
                          " bytes: the index offsets from scan " + std::to_string(scan) +
                          " on wrap around and do not point at their records");
}

// Index entry for the record about to be written at the data file's current position.
void putIndexEntry(std::uint32_t scan, PendingFile& data, PendingFile& index, OffsetGuard& guard) {
  std::int64_t offset = static_cast<std::int64_t>(positionOf(data));
  checkOffset(offset, scan, data.path, guard);
  putU32(index, scan);
  putU32(index, static_cast<std::uint32_t>(offset));
}

void putPeaks(const std::vector<Peak>& peaks, PendingFile& data) {
  putU32(data, static_cast<std::uint32_t>(peaks.size()));
  // On a little-endian machine the peaks in memory are already the file's bytes: m/z then
  // intensity, 8 little-endian bytes each.
  if constexpr (std::endian::native == std::endian::little && sizeof(Peak) == 2 * sizeof(double) &&
                offsetof(Peak, intensity) == sizeof(double)) {
    putBytes(data, std::string_view(reinterpret_cast<const char*>(peaks.data()),
                                    peaks.size() * sizeof(Peak)));
    return;
  }
  for (const Peak& peak : peaks) {
    putF64(data, peak.mz);
    putF64(data, peak.intensity);
  }
}

}  // namespace

bool writeKX2(GroupExport& group, const MS2File& ms2File, const std::string& path) {
  const std::string target = path.empty() ? std::string(kKXFallbackPath) : path;
  group.writtenCount = 0;
  PendingFile data;
  PendingFile index;
  if (!openPair(target, target + "idx", data, index)) return false;
  putHeader(static_cast<std::uint32_t>(group.spectrumPositions.size()), group.rawName, data);
  std::size_t cursor = 0;
  SkippedSpectra skipped;
  OffsetGuard guard;
  for (std::size_t position : group.spectrumPositions) {
    const MS2Spectrum& spectrum = ms2File.spectra.at(position);
    putIndexEntry(spectrum.scanNumber, data, index, guard);
    putU32(data, spectrum.scanNumber);
    putPeaks(spectrum.peaks, data);
    std::size_t rowCount = 0;
    RowMatch match = matchRows(group.accepted, cursor, spectrum.scanNumber, rowCount);
    if (match == RowMatch::None) {
      putU32(data, 1);
      putF64(data, recordedMz(spectrum));
      putU32(data, static_cast<std::uint32_t>(spectrum.charge));
      ++group.writtenCount;
    } else if (match == RowMatch::BehindCursor) {
      noteSkipped(spectrum.scanNumber, scanOfRow(group.accepted[cursor]), skipped);
      putU32(data, 0);
    } else {
      putU32(data, static_cast<std::uint32_t>(rowCount));
      for (std::size_t k = 0; k < rowCount; ++k, ++cursor) {
        putF64(data, group.accepted[cursor].mz);
        putU32(data, static_cast<std::uint32_t>(chargeOfRow(group.accepted[cursor])));
        ++group.writtenCount;
      }
    }
    flushIfLarge(data);
    flushIfLarge(index);
  }
  reportSkippedSpectra(target, skipped, "written without precursors");
  return closePair(data, index);
}

bool writeKX1(const MS1File& ms1File, const std::string& path) {
  const std::string target = path.empty() ? std::string(kKXFallbackPath) : path;
  PendingFile data;
  PendingFile index;
  if (!openPair(target, target + "idx", data, index)) return false;
  // The count written is the number of records that follow, so the file is always consistent.
  putHeader(static_cast<std::uint32_t>(ms1File.spectra.size()), ms1File.rawName, data);
  OffsetGuard guard;
  for (const MS1Spectrum& spectrum : ms1File.spectra) {
    putIndexEntry(spectrum.scanNumber, data, index, guard);
    putU32(data, spectrum.scanNumber);
    putPeaks(spectrum.peaks, data);
    // MS1 records reuse the MS2 layout: one precursor slot holding the retention time, charge 1.
    putU32(data, 1);
    putF64(data, spectrum.retentionTime);
    putU32(data, 1);
    flushIfLarge(data);
    flushIfLarge(index);
  }
  return closePair(data, index);
}

void writeKX2FromMGF(const MGFFile& mgfFile) {
  const std::string base = withoutExtension(mgfFile.path);
  PendingFile data;
  PendingFile index;
  if (!openPair(base + ".kx2", base + ".kx2idx", data, index)) return;
  putHeader(static_cast<std::uint32_t>(mgfFile.distinctScanCount), mgfFile.rawName, data);
  struct Precursor {
    double mz = 0.0;
    std::int32_t charge = 0;
  };
  std::vector<Precursor> gathered;
  std::int64_t overwritten = 0;
  OffsetGuard guard;
  const std::vector<MS2Spectrum>& spectra = mgfFile.spectra;
  for (std::size_t i = 0; i < spectra.size();) {
    const MS2Spectrum& first = spectra[i];
    putIndexEntry(first.scanNumber, data, index, guard);
    putU32(data, first.scanNumber);
    putPeaks(first.peaks, data);
    gathered.clear();
    for (; i < spectra.size() && spectra[i].scanNumber == first.scanNumber; ++i) {
      const MS2Spectrum& block = spectra[i];
      Precursor precursor{(block.precursorMH - kProtonMass) / block.charge + kProtonMass,
                          block.charge};
      std::int32_t k = block.precursorIndex;
      if (k >= 0 && static_cast<std::size_t>(k) < gathered.size()) {
        gathered[static_cast<std::size_t>(k)] = precursor;
        ++overwritten;
      } else {
        gathered.push_back(precursor);
      }
    }
    putU32(data, static_cast<std::uint32_t>(gathered.size()));
    for (const Precursor& precursor : gathered) {
      putF64(data, precursor.mz);
      putU32(data, static_cast<std::uint32_t>(precursor.charge));
    }
    flushIfLarge(data);
    flushIfLarge(index);
  }
  if (overwritten > 0) {
    logMessage(LogLabel::kAlert, std::to_string(overwritten) + " precursors of " + mgfFile.path +
                            " replaced an earlier block of the same scan with the same precursor "
                            "index and are missing from " +
                            data.path);
  }
  closePair(data, index);
}

std::uint32_t readKXValue(const std::vector<char>& buffer, std::int64_t size, std::int64_t offset,
                          const std::string& path) {
  if (buffer.empty()) {
    std::fputs("Error", stdout);
    return 0;
  }
  if (offset < 0 || offset + 4 > size) {
    throw RunFailure("KX file " + path + " is damaged: a value at byte " + std::to_string(offset) +
                     " lies beyond its end (" + std::to_string(size) + " bytes)");
  }
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) {
    value = (value << 8) | static_cast<unsigned char>(buffer[static_cast<std::size_t>(offset + i)]);
  }
  return value;
}

void openKX(KXReader& reader, const std::string& path) {
  reader.path = path;
  logMessage(LogLabel::kInfo, "Loading KX file " + path);
  loadKXFile(path, reader.dataSize, reader.data);
  const std::string indexPath = path + "idx";
  logMessage(LogLabel::kInfo, "Loading KXIDX file " + indexPath);
  loadKXFile(indexPath, reader.indexSize, reader.index);
  reader.spectrumCount =
      static_cast<std::int32_t>(readKXValue(reader.data, reader.dataSize, 0, path));
}

void readKXHeader(KXReader& reader) {
  reader.spectrumCount =
      static_cast<std::int32_t>(readKXValue(reader.data, reader.dataSize, 0, reader.path));
  reader.titleLength = readKXValue(reader.data, reader.dataSize, 4, reader.path);
  reader.headerLength = static_cast<std::int64_t>(reader.titleLength) + 8;
  if (reader.headerLength > reader.dataSize) {
    throw RunFailure("KX file " + reader.path + " is damaged: its title length " +
                     std::to_string(reader.titleLength) + " exceeds the file size " +
                     std::to_string(reader.dataSize));
  }
  std::string_view field(reader.data.data() + 8, reader.titleLength);
  reader.title = std::string(field.substr(0, field.find('\0')));
}

std::int64_t writeMergedHeader(const KXReader& reader, PendingFile& out, std::int64_t totalCount) {
  putU32(out, static_cast<std::uint32_t>(totalCount));
  putU32(out, reader.titleLength);
  putBytes(out, std::string_view(reader.data.data() + 8, reader.titleLength));
  std::printf("%sTitle\n", reader.title.c_str());
  return reader.headerLength;
}

void appendKX(const KXReader& reader, PendingFile& outData, PendingFile& outIndex, std::int64_t& outPosition,
              std::int64_t headerLength) {
  const std::int64_t shift = outPosition - headerLength;
  putBytes(outData, std::string_view(reader.data.data() + headerLength,
                                     static_cast<std::size_t>(reader.dataSize - headerLength)));
  OffsetGuard guard;
  const std::int64_t entries = reader.indexSize / 8;
  for (std::int64_t entry = 0; entry < entries; ++entry) {
    std::uint32_t scan =
        readKXValue(reader.index, reader.indexSize, entry * 8, reader.path + "idx");
    std::uint32_t offset =
        readKXValue(reader.index, reader.indexSize, entry * 8 + 4, reader.path + "idx");
    std::int64_t merged = static_cast<std::int64_t>(offset) + shift;
    checkOffset(merged, scan, outData.path, guard);
    putU32(outIndex, scan);
    putU32(outIndex, static_cast<std::uint32_t>(merged));
    flushIfLarge(outIndex);
  }
  if (reader.indexSize % 8 != 0) {
    logMessage(LogLabel::kAlert, "KX index file " + reader.path + "idx ends with " +
                            std::to_string(reader.indexSize % 8) +
                            " stray bytes; they are ignored");
  }
  outPosition += reader.dataSize - headerLength;
}

bool mergeKX2Parts(const std::vector<std::string>& partPaths, const std::string& targetPath) {
  if (partPaths.empty()) {
    logMessage(LogLabel::kError, "No KX2 part to merge into " + targetPath);
    noteRunProblem(RunProblem::kOutputUnwritable);
    return false;
  }
  std::vector<KXReader> parts(partPaths.size());
  std::int64_t total = 0;
  for (std::size_t k = 0; k < partPaths.size(); ++k) {
    openKX(parts[k], partPaths[k]);
    readKXHeader(parts[k]);
    total += parts[k].spectrumCount;
  }
  std::printf("%zu Number of file will merge \n", parts.size());
  PendingFile data;
  PendingFile index;
  if (!openPair(targetPath, targetPath + "idx", data, index)) return false;
  std::int64_t outPosition = writeMergedHeader(parts.front(), data, total);
  for (KXReader& part : parts) {
    appendKX(part, data, index, outPosition, part.headerLength);
    std::vector<char>().swap(part.data);  // each part's bytes are done with once appended
    std::vector<char>().swap(part.index);
  }
  return closePair(data, index);
}

}  // namespace corvid
