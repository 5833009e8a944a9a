#pragma once
// Digit scanners and line helpers shared by the MS1 and MS2 text loaders.
//
// The loaders never use the C library to read numbers: each value is accumulated character by
// character up to a terminator, without any check that a character is a digit (a stray letter
// simply contributes its code minus '0'). Every scanner is bounded by the end of the buffer, so a
// value running to the end of a file, a truncated file or random bytes never read past the data.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "platform/text_pieces.h"
#include "spectra/ms_text_notes.h"
#include "spectra/spectrum_records.h"

namespace corvid {

// Spectrum text files are read into one buffer of at most 3 GiB: the size Corvid has always used
// for its read buffer, so chunk boundaries and size limits fall at the same bytes everywhere.
inline constexpr std::int64_t kSpectrumReadBufferBytes = 3221225472;

inline bool isUpperLetter(char c) { return c >= 'A' && c <= 'Z'; }

// The contribution of one character: its code minus '0', taken as a signed byte so that every
// platform gives the same value for bytes above 127.
inline int digitValue(char c) { return static_cast<int>(static_cast<signed char>(c)) - '0'; }

// How the lines of a buffer end. The extractors write CR LF, and the values of I and Z lines run
// to the carriage return; tools on Linux (Debian's msconvert among them) write LF alone. A buffer
// with any line ended by LF alone is read with line feeds as value ends too, and the peak line's
// terminating line feed is not stepped over, so that every line reads exactly as it would with
// CR LF. A buffer whose lines all end with CR LF takes the CR LF path, byte for byte as before.
enum class LineEnds { kCrLf, kBareLineFeeds };

// What one pass over a buffer found about its line ends.
struct LineEndShape {
  LineEnds ends = LineEnds::kCrLf;
  bool carriageReturnsOnly = false;  // CRs but no line feed at all: the whole buffer is one line
};

// Bytes looked at per step of the search for a bare line feed: a block of fixed length has no
// early exit and no remainder, so the compiler vectorises it (at -O2 too); a hit ends the search
// at the end of its block.
inline constexpr std::size_t kLineEndBlockBytes = 4096;

// Whether one of the count bytes at b is a line feed without a carriage return before it; b[-1]
// must be readable.
inline bool hasBareLineFeed(const unsigned char* b, std::size_t count) {
  unsigned bare = 0;
  const unsigned char* before = b - 1;  // before[i] is b[i - 1], without wrapping i - 1 at i = 0
  for (std::size_t i = 0; i < count; ++i) {
    bare |= (b[i] == '\n' ? 1u : 0u) & (before[i] != '\r' ? 1u : 0u);
  }
  return bare != 0;
}

// One pass over the buffer, decided before scanning it.
inline LineEndShape detectLineEnds(const char* begin, const char* end) {
  LineEndShape shape;
  if (begin >= end) return shape;
  const auto* bytes = reinterpret_cast<const unsigned char*>(begin);
  const auto size = static_cast<std::size_t>(end - begin);
  bool bare = bytes[0] == '\n';
  std::size_t start = 1;
  for (; !bare && start + kLineEndBlockBytes <= size; start += kLineEndBlockBytes) {
    bare = hasBareLineFeed(bytes + start, kLineEndBlockBytes);
  }
  if (!bare && start < size) bare = hasBareLineFeed(bytes + start, size - start);
  if (bare) {
    shape.ends = LineEnds::kBareLineFeeds;
  } else {
    shape.carriageReturnsOnly =
        std::memchr(begin, '\n', size) == nullptr && std::memchr(begin, '\r', size) != nullptr;
  }
  return shape;
}

// Terminator sets of the scanners.
struct StopAtTab {
  bool operator()(char c) const { return c == '\t'; }
};
// The value of an I or Z line ends at its carriage return; in a buffer with bare line feeds also
// at a line feed (on a CR LF line the carriage return comes first, so that line reads the same).
template <LineEnds kEnds>
struct StopAtValueEnd {
  bool operator()(char c) const {
    return c == '\r' || (kEnds == LineEnds::kBareLineFeeds && c == '\n');
  }
};
using StopAtCarriageReturn = StopAtValueEnd<LineEnds::kCrLf>;
// The m/z of a peak line ends at its separator: one blank or one TAB.
struct StopAtPeakSeparator {
  bool operator()(char c) const { return c == '\t' || c == ' '; }
};
// The intensity of a peak line ends at a carriage return, TAB, line feed or blank.
struct StopAtIntensityEnd {
  bool operator()(char c) const { return c == '\r' || c == '\t' || c == '\n' || c == ' '; }
};

// Integer scanner (scan numbers, charge, precursor scan): value = value x 10 + (c - '0') for every
// character before the terminator. Unsigned arithmetic, so an over-long digit string wraps
// around modulo 2^32 instead of overflowing. Leaves the cursor on the terminator (or at end).
template <typename Stop>
inline std::uint32_t scanInteger(const char*& cursor, const char* end, Stop isStop) {
  std::uint32_t value = 0;
  const char* p = cursor;
  for (; p != end && !isStop(*p); ++p) {
    value = value * 10u + static_cast<std::uint32_t>(digitValue(*p));
  }
  cursor = p;
  return value;
}

// Divisors 10^k that are exact in a double; beyond them the power is computed.
inline constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                               1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                               1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Decimal scanner (retention time, activation center, [M+H]+, peak m/z and intensity).
// Starts with value 0 and exponent e = 1. A '.' lowers e by one; any other character gives
// value = value x 10 + (c - '0') and lowers e by one unless e is 1. The result is value x 10^e.
// A number with a point reads as written (12.34, and "5." as 5); a number without any point keeps
// e = 1 and comes out ten times too large ("5" reads as 50). The extractor always writes a point,
// and files written that way must keep reading the same, so this is kept on purpose.
//
// This general form handles any characters. While the accumulated integer stays below 2^49 it is
// kept in an integer register: every step value x 10 + digit is then exact, exactly as in double
// arithmetic. Larger values continue in double arithmetic (an endless digit string ends as
// infinity, never UB). A negative e divides by 10^-e, which equals value x 10^e and is correctly
// rounded for the usual widths.
template <typename Stop>
inline double scanDecimalGeneral(const char*& cursor, const char* end, Stop isStop) {
  constexpr std::int64_t kExactLimit = std::int64_t{1} << 49;
  std::int64_t whole = 0;
  std::int64_t exponent = 1;
  const char* p = cursor;
  for (; p != end && !isStop(*p); ++p) {
    const char c = *p;
    if (c == '.') {
      --exponent;
      continue;
    }
    whole = whole * 10 + digitValue(c);
    if (exponent != 1) --exponent;
    if (whole > kExactLimit || whole < -kExactLimit) break;
  }
  double value = static_cast<double>(whole);
  if (p != end && !isStop(*p)) {
    // The integer part would no longer be exact: continue in doubles from the next character.
    for (++p; p != end && !isStop(*p); ++p) {
      const char c = *p;
      if (c == '.') {
        --exponent;
        continue;
      }
      value = value * 10.0 + static_cast<double>(digitValue(c));
      if (exponent != 1) --exponent;
    }
  }
  cursor = p;
  if (exponent == 1) return value * 10.0;
  const std::int64_t places = -exponent;
  if (places <= 22) return value / kExactPowersOfTen[places];
  return value / std::pow(10.0, static_cast<double>(places));
}

// The decimal scanner. Nearly every number in a spectrum file is plain digits with one point and
// at most 15 digits; those take a tight loop that gives bit for bit the result of the general
// form (the digits then form an integer below 2^53, exact in both). Anything else, such as a
// missing terminator after the digits or a longer number, goes through the general form.
template <typename Stop>
inline double scanDecimal(const char*& cursor, const char* end, Stop isStop) {
  constexpr std::ptrdiff_t kFastDigits = 15;
  const char* p = cursor;
  std::uint64_t whole = 0;
  while (p != end && isDigit(*p)) whole = whole * 10 + static_cast<std::uint64_t>(*p++ - '0');
  const std::ptrdiff_t integerDigits = p - cursor;
  std::ptrdiff_t fractionDigits = -1;  // -1: no point
  if (p != end && *p == '.') {
    const char* fractionStart = ++p;
    while (p != end && isDigit(*p)) whole = whole * 10 + static_cast<std::uint64_t>(*p++ - '0');
    fractionDigits = p - fractionStart;
  }
  if ((p == end || isStop(*p)) &&
      integerDigits + std::max<std::ptrdiff_t>(fractionDigits, 0) <= kFastDigits) {
    cursor = p;
    const auto value = static_cast<double>(whole);
    if (fractionDigits < 0) return value * 10.0;
    return value / kExactPowersOfTen[fractionDigits];
  }
  return scanDecimalGeneral(cursor, end, isStop);
}

// Ion injection time: digits before the '.' accumulate as value x 10 + digit; after it the k-th
// character adds digit x 0.1^k. No tenfold rule here: "12" reads as 12.
template <typename Stop>
inline double scanIonInjectionTime(const char*& cursor, const char* end, Stop isStop) {
  double value = 0.0;
  double scale = 1.0;
  bool afterPoint = false;
  const char* p = cursor;
  for (; p != end && !isStop(*p); ++p) {
    const char c = *p;
    if (c == '.') {
      afterPoint = true;
      continue;
    }
    if (afterPoint) {
      scale *= 0.1;
      value += static_cast<double>(digitValue(c)) * scale;
    } else {
      value = value * 10.0 + static_cast<double>(digitValue(c));
    }
  }
  cursor = p;
  return value;
}

// The position of the next line feed at or after p, or end when there is none.
inline const char* findLineFeed(const char* p, const char* end) {
  if (p >= end) return end;
  const void* hit = std::memchr(p, '\n', static_cast<std::size_t>(end - p));
  return hit != nullptr ? static_cast<const char*>(hit) : end;
}

// The position of the next TAB at or after p, or end when there is none.
inline const char* findTab(const char* p, const char* end) {
  if (p >= end) return end;
  const void* hit = std::memchr(p, '\t', static_cast<std::size_t>(end - p));
  return hit != nullptr ? static_cast<const char*>(hit) : end;
}

// Room for the peaks of a new spectrum, guessed from the one before: neighbouring scans of a run
// have similar peak counts, so most spectra then fill their list without reallocating it.
inline std::size_t expectedPeakCount(std::size_t previousCount) {
  return previousCount + previousCount / 8;
}

// One step forward that never leaves the buffer.
inline const char* stepOver(const char* p, const char* end) { return p < end ? p + 1 : end; }

// The byte at p + offset, or 0 when that lies outside the buffer (positions of a short line at
// the end of a file read as nothing rather than past the data).
inline char byteAt(const char* p, std::int64_t offset, const char* end) {
  return offset < end - p ? p[offset] : '\0';
}

// Reads one peak line starting at p (a digit): the m/z up to a TAB or blank, one step over that
// separator, the intensity up to a carriage return, TAB, line feed or blank, and one step over
// that terminator. Returns the position after the terminator. sawBareLineFeed is set when the
// intensity ended at a line feed: on the CR LF path the caller's own step then skips the next
// line's first byte. With bare line feeds a line feed that ends the intensity is not stepped
// over: it stands where the CR LF pair's line feed would be, and the caller's step leaves it.
template <LineEnds kEnds = LineEnds::kCrLf>
inline const char* scanPeakLine(const char* p, const char* end, Peak& peak, bool& sawBareLineFeed) {
  peak.mz = scanDecimal(p, end, StopAtPeakSeparator{});
  p = stepOver(p, end);
  peak.intensity = scanDecimal(p, end, StopAtIntensityEnd{});
  if (p != end && *p == '\n') {
    sawBareLineFeed = true;
    if constexpr (kEnds == LineEnds::kBareLineFeeds) return p;
  }
  return stepOver(p, end);
}

// Starts the spectrum of an S line at the end of the file's list, with room for about as many
// peaks as the spectrum before it, and returns it as the spectrum being read.
template <typename Spectrum>
inline Spectrum* startScanSpectrum(std::vector<Spectrum>& spectra, const Spectrum* current,
                                   std::uint32_t scan) {
  const std::size_t previousPeaks = current != nullptr ? current->peaks.size() : 0;
  Spectrum* started = &spectra.emplace_back();
  started->peaks.reserve(expectedPeakCount(previousPeaks));
  started->scanNumber = scan;
  return started;
}

// Reads the peak line at p (a digit) into the spectrum being read; before the first S line there
// is none and the line is only counted. Returns the position after the line's terminator.
template <LineEnds kEnds, typename Spectrum>
inline const char* readPeakLineInto(const char* p, const char* end, Spectrum* current,
                                    MSTextNotes& notes) {
  Peak peak;
  p = scanPeakLine<kEnds>(p, end, peak, notes.bareLineFeed);
  if (current != nullptr) {
    current->peaks.push_back(peak);
  } else {
    ++notes.linesBeforeFirstScan;
  }
  return p;
}

// Moves from p to the line feed ending its line; notes a line feed without a carriage return.
// begin is the start of the buffer, so the byte before the line feed is only looked at inside it.
inline const char* skipToLineFeed(const char* p, const char* begin, const char* end,
                                  bool& sawBareLineFeed) {
  const char* lineFeed = findLineFeed(p, end);
  if (lineFeed != end && (lineFeed == begin || lineFeed[-1] != '\r')) sawBareLineFeed = true;
  return lineFeed;
}

// Corvid's own FAIMS line, "I\tFAIMS_CV\t<volts>": whether the line at p is one, and its value.
inline constexpr std::string_view kCompensationVoltageLineStart = "I\tFAIMS_CV\t";

inline bool isCompensationVoltageLine(const char* p, const char* end) {
  return static_cast<std::size_t>(end - p) >= kCompensationVoltageLineStart.size() &&
         std::memcmp(p, kCompensationVoltageLineStart.data(), kCompensationVoltageLineStart.size()) == 0;
}

// Unlike the legacy keys, the voltage is signed and read as ordinary decimal text; NaN when the
// value up to the line end is not a number. Returns where the value starts.
template <LineEnds kEnds>
inline const char* readCompensationVoltage(const char* p, const char* end, double& voltage) {
  const char* value = p + kCompensationVoltageLineStart.size();
  const char* last = value;
  while (last != end && !StopAtValueEnd<kEnds>{}(*last)) ++last;
  if (value != last && *value == '+') ++value;
  const auto [stop, error] = std::from_chars(value, last, voltage);
  if (error != std::errc() || stop != last || value == last) voltage = kNoCompensationVoltage;
  return value;
}

}  // namespace corvid
