#include "spectra/ms1_reader.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "spectra/file_size.h"
#include "spectra/ms_text_scanners.h"
#include "spectra/read_buffer.h"

namespace corvid {
namespace {

// Positions inside an I line, counted from the "I": "I\tRetTime\t" puts the value at 10 and
// "I\tInstrumentType\t" puts the analyzer's first letter at 17.
constexpr std::int64_t kRetTimeValue = 10;
constexpr std::int64_t kInstrumentLetter = 17;

// "F" or "Q" (Fourier-transform or quadrupole time-of-flight analyzers) is an FTMS scan, "I" an
// ion trap scan, anything else unknown.
void readInstrumentLetter(char letter, MS1Spectrum& spectrum, std::string& fileName) {
  char shortName = 'U';
  std::string_view longName = "Unknown";
  if (letter == 'F' || letter == 'Q') {
    shortName = 'F';
    longName = "FTMS";
  } else if (letter == 'I') {
    shortName = 'I';
    longName = "ITMS";
  }
  spectrum.instrumentLetter.assign(1, shortName);
  if (fileName.empty()) fileName.assign(longName);
}

template <LineEnds kEnds>
void scanMS1ChunkAs(std::string_view chunk, std::int64_t chunkOffset, MS1File& ms1File,
                    std::string& fileName, MSTextNotes& notes) {
  const char* const begin = chunk.data();
  const char* const end = begin + chunk.size();
  MS1Spectrum* current = ms1File.spectra.empty() ? nullptr : &ms1File.spectra.back();
  const char* p = begin;
  while (p < end && *p != '\0') {
    const char c = *p;
    if (isUpperLetter(c)) {
      if (c == 'S') {
        const char* value = p + std::min<std::int64_t>(2, end - p);
        const std::uint32_t scan = scanInteger(value, end, StopAtTab{});
        current = startScanSpectrum(ms1File.spectra, current, scan);
        p = skipToLineFeed(value, begin, end, notes.bareLineFeed);
      } else if (c == 'I' && byteAt(p, 1, end) == '\t' && byteAt(p, 2, end) == 'R') {
        const char* value = p + std::min(kRetTimeValue, end - p);
        const double retentionTime = scanDecimal(value, end, StopAtValueEnd<kEnds>{});
        if (current != nullptr) {
          current->retentionTime = retentionTime;
        } else {
          ++notes.linesBeforeFirstScan;
        }
        p = skipToLineFeed(value, begin, end, notes.bareLineFeed);
      } else if (c == 'I' && byteAt(p, 1, end) == '\t' && byteAt(p, 2, end) == 'I' &&
                 byteAt(p, 3, end) == 'n') {
        if (current != nullptr) {
          readInstrumentLetter(byteAt(p, kInstrumentLetter, end), *current, fileName);
        } else {
          ++notes.linesBeforeFirstScan;
        }
        p = skipToLineFeed(p, begin, end, notes.bareLineFeed);
      } else if (current != nullptr && isCompensationVoltageLine(p, end)) {
        p = readCompensationVoltage<kEnds>(p, end, current->compensationVoltage);
        p = skipToLineFeed(p, begin, end, notes.bareLineFeed);
      } else {
        p = skipToLineFeed(p, begin, end, notes.bareLineFeed);
      }
    }
    if (p < end && isDigit(*p)) p = readPeakLineInto<kEnds>(p, end, current, notes);
    p = stepOver(p, end);
  }
  if (p < end && notes.zeroByteOffset < 0) notes.zeroByteOffset = chunkOffset + (p - begin);
}

}  // namespace

std::int64_t ms1ChunkLength(std::string_view bytesRead, std::int64_t chunkLimit) {
  const auto length = static_cast<std::int64_t>(bytesRead.size());
  if (length < chunkLimit) return length;
  for (std::int64_t p = length - 1; p >= 1; --p) {
    if (bytesRead[p] == 'S' && bytesRead[p - 1] == '\n') return p;
  }
  return 0;
}

void scanMS1Chunk(std::string_view chunk, std::int64_t chunkOffset, MS1File& ms1File,
                  std::string& fileName, MSTextNotes& notes) {
  const LineEndShape shape = detectLineEnds(chunk.data(), chunk.data() + chunk.size());
  notes.carriageReturnsOnly = notes.carriageReturnsOnly || shape.carriageReturnsOnly;
  if (shape.ends == LineEnds::kBareLineFeeds) {
    scanMS1ChunkAs<LineEnds::kBareLineFeeds>(chunk, chunkOffset, ms1File, fileName, notes);
  } else {
    scanMS1ChunkAs<LineEnds::kCrLf>(chunk, chunkOffset, ms1File, fileName, notes);
  }
}

void loadMS1File(const std::string& path, MS1File& ms1File) {
  loadMS1File(path, kSpectrumReadBufferBytes, ms1File);
}

void loadMS1File(const std::string& path, std::int64_t chunkLimit, MS1File& ms1File) {
  const std::int64_t size = fileSize(path);
  FileHandle file(std::fopen(path.c_str(), "rb"));
  if (!file) throw RunFailure{"Fail to open MS1!\n"};
  chunkLimit = std::max<std::int64_t>(chunkLimit, 1);
  // Only what the file needs: a small file never costs a 3 GiB buffer.
  const std::int64_t capacity = std::max<std::int64_t>(1, std::min(size, chunkLimit));
  auto buffer = std::make_unique<ReadBuffer>(static_cast<std::size_t>(capacity) + 1, path);

  ms1File.spectra.clear();
  std::string fileName;
  MSTextNotes notes;
  bool uncutChunk = false;
  std::int64_t offset = 0;
  for (;;) {
    const std::int64_t bytesRead = readBytesAt(file.get(), offset, buffer->data, capacity);
    if (bytesRead < 0) throw RunFailure{"Fail to read MS1 file " + path + "!\n"};
    if (bytesRead == 0) break;
    const std::string_view readText(buffer->data, static_cast<std::size_t>(bytesRead));
    std::int64_t chunkLength = ms1ChunkLength(readText, chunkLimit);
    if (chunkLength == 0) {
      // No scan starts inside a full chunk: one spectrum is larger than the chunk. Take the
      // whole chunk rather than stop, and say that the spectrum was split.
      chunkLength = bytesRead;
      uncutChunk = true;
    }
    scanMS1Chunk(readText.substr(0, static_cast<std::size_t>(chunkLength)), offset, ms1File,
                 fileName, notes);
    offset += chunkLength;
  }
  file.reset();
  buffer.reset();
  finishMS1Load(path, fileName, notes, uncutChunk ? chunkLimit : 0, ms1File);
}

std::size_t sortPeaksByMz(MS1File& ms1File) {
  const auto byMz = [](const Peak& a, const Peak& b) { return a.mz < b.mz; };
  std::size_t sorted = 0;
  for (MS1Spectrum& spectrum : ms1File.spectra) {
    if (std::is_sorted(spectrum.peaks.begin(), spectrum.peaks.end(), byMz)) continue;
    std::stable_sort(spectrum.peaks.begin(), spectrum.peaks.end(), byMz);
    ++sorted;
  }
  return sorted;
}

void finishMS1Load(const std::string& path, const std::string& fileName, const MSTextNotes& notes,
                   std::int64_t uncutChunkLimit, MS1File& ms1File) {
  ms1File.instrumentName = fileName;
  ms1File.spectrumCount = static_cast<std::int64_t>(ms1File.spectra.size());
  reportTextNotes(path, notes);
  if (uncutChunkLimit > 0) {
    logMessage(LogLabel::kAlert, "A spectrum of " + path + " is larger than the read chunk of " +
                            std::to_string(uncutChunkLimit) + " bytes and was split between chunks.");
  }
  logMessage(LogLabel::kNote, "Loading MS1 Spectra Number: " + std::to_string(ms1File.spectrumCount));
}

}  // namespace corvid
