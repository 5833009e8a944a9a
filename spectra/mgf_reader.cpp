#include "spectra/mgf_reader.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/text_pieces.h"
#include "spectra/mgf_read_notes.h"
#include "spectra/precursor_record.h"

namespace corvid {

// A progress line is printed for every scan number that is a multiple of this.
constexpr std::int64_t kProgressScanStep = 91;

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

std::string_view skipBlanks(std::string_view text) {
  std::size_t start = 0;
  while (start < text.size() && isBlank(text[start])) ++start;
  return text.substr(start);
}

// Leading digits after blanks and an optional sign; `found` tells whether any digit was read.
// The value saturates beyond the 64-bit range instead of overflowing.
std::int64_t readLeadingInteger(std::string_view text, bool& found) {
  text = skipBlanks(text);
  bool negative = false;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
  }
  constexpr std::int64_t kSaturation = std::int64_t{1} << 40;  // far beyond any 32-bit value
  std::int64_t value = 0;
  found = false;
  for (char c : text) {
    if (!isDigit(c)) break;
    found = true;
    if (value < kSaturation) value = value * 10 + (c - '0');
  }
  return negative ? -value : value;
}

// As the C library's lenient integer conversion: 0 without digits, clamped to the 32-bit range.
std::int32_t lenientInteger(std::string_view text) {
  bool found = false;
  std::int64_t value = readLeadingInteger(text, found);
  if (value > std::numeric_limits<std::int32_t>::max())
    return std::numeric_limits<std::int32_t>::max();
  // One above the 32-bit minimum, so that charge - 1 stays representable.
  if (value <= std::numeric_limits<std::int32_t>::min())
    return std::numeric_limits<std::int32_t>::min() + 1;
  return static_cast<std::int32_t>(value);
}

// As the C library's real conversion: leading blanks, then the longest number prefix, else 0.
double lenientReal(std::string_view text) {
  text = skipBlanks(text);
  if (!text.empty() && text[0] == '+') text.remove_prefix(1);
  double value = 0.0;
  std::from_chars_result done = std::from_chars(text.data(), text.data() + text.size(), value);
  if (done.ec == std::errc::result_out_of_range) {
    // Too large or too small for a double: the C library gives +-HUGE_VAL or a tiny value.
    char copy[kLinePiece + 1];
    std::size_t length = std::min(text.size(), kLinePiece);
    std::memcpy(copy, text.data(), length);
    copy[length] = '\0';
    return std::strtod(copy, nullptr);
  }
  return done.ec == std::errc() ? value : 0.0;
}

// The line as the C string functions see it: up to the first zero byte.
std::string_view asCString(std::string_view piece) {
  std::size_t zero = piece.find('\0');
  return zero == std::string_view::npos ? piece : piece.substr(0, zero);
}

// Drops the last `count` characters (the line feed, or "+" and line feed), as the reader always
// has.
std::string_view dropLast(std::string_view text, std::size_t count) {
  return text.substr(0, text.size() > count ? text.size() - count : 0);
}

// The text from position on; empty when the text is shorter.
std::string_view from(std::string_view text, std::size_t position) {
  return position < text.size() ? text.substr(position) : std::string_view();
}

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// The whole file as bytes; false when it cannot be opened (or is a folder).
bool loadFile(const std::string& path, std::string& content) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) return false;
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  content.clear();
  if (std::fseek(file, 0, SEEK_END) == 0) {
    long size = std::ftell(file);
    if (size > 0) content.reserve(static_cast<std::size_t>(size));
    std::fseek(file, 0, SEEK_SET);
  }
  char chunk[1 << 16];
  std::size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) content.append(chunk, got);
  std::fclose(file);
  return true;
}

// Text-mode reading: each CR LF pair becomes one LF, in place.
void dropCarriageReturns(std::string& text) {
  std::size_t out = 0;
  for (std::size_t in = 0; in < text.size(); ++in) {
    if (text[in] == '\r' && in + 1 < text.size() && text[in + 1] == '\n') continue;
    text[out++] = text[in];
  }
  text.resize(out);
}

[[noreturn]] void failOnTitle() {
  std::fputs(
      "[Error] Incorrect title format! correct format should be:\n"
      "\tRAWName.scan.scan.charge.dta, \n"
      "e.g.\n"
      "\thuman_SILAC.raw may contains a MS/MS spectrum with title like this:\n"
      "\t\thuman_SILAC.2345.2345.2.dta\n"
      "\tCorvid can parse scan = 2345 charge = 2 from this title.\n"
      "[Error] Sorry, Corvid fail to parse the title of the MGF, the program will exit!\n",
      stdout);
  std::fflush(stdout);
  throw RunFailure("MGF title without a readable scan", FailureKind::kEndedQuietly);
}

enum class ReadMode { Blocks, Peaks, SkipToEnd };

struct ReaderState {
  ReadMode mode = ReadMode::Blocks;
  std::int32_t charge = 2;  // default charge, and the last CHARGE read since
  double pendingMz = 0.0;   // PEPMASS of the current block
  std::int64_t previousScan = std::numeric_limits<std::int64_t>::min();  // no title yet
  std::int64_t swallowedTitles = 0;  // titles passed over while looking for END IONS
  std::int64_t orphanPeaks = 0;      // peak lines before the first title
  std::int64_t lineNumber = 0;       // 1-based line of the piece being read
  bool pieceStartsLine = true;       // the piece is the first (or only) piece of its line
  KeptAsReadNotes kept;
};

// Characters of an offending line quoted in the report.
constexpr std::size_t kQuotedLineLength = 40;

void noteEarlyEnd(std::string_view line, ReaderState& state) {
  KeptAsReadNotes& kept = state.kept;
  if (line == "BEGIN IONS\n" || startsWith(line, "TITLE=")) return;
  kept.skippingToEnd = true;
  if (kept.peakListsEndedEarly++ == 0) {
    kept.firstEarlyEndLine = state.lineNumber;
    std::string_view quoted = line.substr(0, std::min(line.size(), kQuotedLineLength));
    while (!quoted.empty() && (quoted.back() == '\n' || quoted.back() == '\r')) quoted.remove_suffix(1);
    kept.firstEarlyEndText = quoted;
  }
}

void readTitle(std::string_view line, MGFFile& mgfFile, ReaderState& state) {
  line = dropLast(line, 1);
  MGFTitle title = parseMGFTitle(from(line, 6));
  if (!title.scanValid) failOnTitle();
  MS2Spectrum spectrum;
  spectrum.scanNumber = static_cast<std::uint32_t>(title.scan);
  spectrum.sourceName = title.rawName;
  spectrum.precursorIndex = title.precursorIndex;
  mgfFile.spectra.push_back(std::move(spectrum));
  mgfFile.currentIndex = static_cast<std::int32_t>(mgfFile.spectra.size() - 1);
  if (title.scan != state.previousScan) ++mgfFile.distinctScanCount;
  state.previousScan = title.scan;
  if (mgfFile.rawName.empty()) mgfFile.rawName = title.rawName;
  if (title.scan % kProgressScanStep == 0) {
    std::printf("\r[Corvid] Extracting MS2, Scan Num = %d", title.scan);
  }
}

void readPeak(std::string_view line, MS2Spectrum& spectrum, KeptAsReadNotes& kept) {
  line = dropLast(line, 1);
  std::size_t separator = line.find_first_of("\t ");
  Peak peak;
  peak.mz = lenientReal(line.substr(0, separator));
  if (separator != std::string_view::npos) peak.intensity = lenientReal(line.substr(separator + 1));
  noteValue(peak.mz, kept);
  noteValue(peak.intensity, kept);
  spectrum.peaks.push_back(peak);
}

void readPiece(std::string_view line, MGFFile& mgfFile, ReaderState& state) {
  MS2Spectrum* current = mgfFile.currentIndex >= 0
                             ? &mgfFile.spectra[static_cast<std::size_t>(mgfFile.currentIndex)]
                             : nullptr;
  if (state.mode == ReadMode::Peaks) {
    if (!line.empty() && isDigit(line[0])) {
      readPeak(line, *current, state.kept);
      return;
    }
    state.mode = ReadMode::SkipToEnd;
    if (line != "END IONS\n") noteEarlyEnd(line, state);
  }
  if (state.mode == ReadMode::SkipToEnd) {
    if (line == "END IONS\n") {
      state.mode = ReadMode::Blocks;
      state.kept.skippingToEnd = false;
      return;
    }
    if (startsWith(line, "TITLE="))
      ++state.swallowedTitles;
    else if (state.kept.skippingToEnd && state.pieceStartsLine)
      ++state.kept.linesSkippedToEnd;
    return;
  }
  if (line == "BEGIN IONS\n") {
    state.pendingMz = 0.0;
  } else if (startsWith(line, "TITLE=")) {
    readTitle(line, mgfFile, state);
  } else if (startsWith(line, "CHARGE=")) {
    std::int32_t charge = lenientInteger(from(dropLast(line, 2), 7));
    state.charge = charge == 0 ? 2 : charge;
    if (current != nullptr) current->charge = state.charge;
  } else if (startsWith(line, "PEPMASS=")) {
    state.pendingMz = lenientReal(from(dropLast(line, 1), 8));
  } else if (!line.empty() && isDigit(line[0])) {
    if (current == nullptr) {
      ++state.orphanPeaks;  // no spectrum to hold it: dropped, reported at the end
      return;
    }
    current->precursorMH = mhFromMz(state.pendingMz, state.charge);
    noteValue(state.pendingMz, state.kept);
    // A block without a CHARGE line is read with the charge its mass was computed with.
    if (current->charge == 0) current->charge = state.charge;
    state.mode = ReadMode::Peaks;
    readPeak(line, *current, state.kept);
  }
}

}  // namespace

MGFTitle parseMGFTitle(std::string_view title) {
  MGFTitle parts;
  std::size_t firstDot = title.find('.');
  parts.rawName = title.substr(0, firstDot);
  if (firstDot == std::string_view::npos) return parts;
  std::string_view rest = title.substr(firstDot + 1);
  // Checked conversion of the scan: a number must start the field and fit in 32 bits.
  bool found = false;
  std::int64_t scan = readLeadingInteger(rest.substr(0, rest.find('.')), found);
  if (!found || scan > std::numeric_limits<std::int32_t>::max() ||
      scan < std::numeric_limits<std::int32_t>::min()) {
    return parts;
  }
  parts.scanValid = true;
  parts.scan = static_cast<std::int32_t>(scan);
  // Skip the second scan and the charge; what follows is "dta" or "k.dta".
  std::string_view tail = title.substr(firstDot + 1);
  int dots = 0;
  for (std::size_t dot = 0; dots < 3 && (dot = tail.find('.')) != std::string_view::npos; ++dots) {
    tail = tail.substr(dot + 1);
  }
  if (dots == 3 && tail != "dta")
    parts.precursorIndex = lenientInteger(tail.substr(0, tail.find('.')));
  return parts;
}

void readMGF(MGFFile& mgfFile) {
  std::string text;
  if (!loadFile(mgfFile.path, text)) {
    std::fputs("The MGF does not exist.\n", stdout);
    std::fflush(stdout);
    throw RunFailure("MGF file missing", FailureKind::kEndedQuietly);
  }
  dropCarriageReturns(text);
  ReaderState state;
  std::string_view rest(text);
  std::int64_t piecesOfLine = 0;
  while (!rest.empty()) {
    std::size_t lineFeed = rest.substr(0, kLinePiece).find('\n');
    std::size_t length =
        lineFeed == std::string_view::npos ? std::min(rest.size(), kLinePiece) : lineFeed + 1;
    state.pieceStartsLine = piecesOfLine == 0;
    if (state.pieceStartsLine) ++state.lineNumber;
    ++piecesOfLine;
    readPiece(asCString(rest.substr(0, length)), mgfFile, state);
    rest.remove_prefix(length);
    if (lineFeed != std::string_view::npos || rest.empty()) {
      if (piecesOfLine > 1) {
        ++state.kept.overlongLines;
        state.kept.overlongPieces += piecesOfLine;
      }
      piecesOfLine = 0;
    }
  }
  if (state.swallowedTitles > 0 && !hasCarriageReturnsOnly(text)) {
    logMessage(LogLabel::kAlert, std::to_string(state.swallowedTitles) + " MGF blocks of " + mgfFile.path +
                            " were skipped: the block before them has no \"END IONS\" line");
  }
  if (state.orphanPeaks > 0) {
    logMessage(LogLabel::kAlert, std::to_string(state.orphanPeaks) + " peak lines of " + mgfFile.path +
                            " come before any TITLE and were ignored");
  }
  reportKeptAsRead(text, mgfFile, state.kept);
}

}  // namespace corvid
