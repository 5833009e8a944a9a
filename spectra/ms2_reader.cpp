#include "spectra/ms2_reader.h"

#include <algorithm>
#include <cstdio>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "spectra/file_size.h"
#include "spectra/ms_text_scanners.h"
#include "spectra/precursor_record.h"
#include "spectra/read_buffer.h"

namespace corvid {
namespace {

// Positions inside an I line, counted from the "I" at 0. Keys are told apart by one or two
// letters: "I\tRetTime" by the R at 2, "I\tIonInjectionTime" by the I at 2 and 5,
// "I\tInstrumentType" by the I at 2 and the T at 12, "I\tActivationCenter" and
// "I\tActivationType" by the A at 2 and the C or T at 12, "I\tPrecursorScan" by the P at 2 and the
// S at 11. Each value starts right after the key's TAB.
constexpr std::int64_t kRetTimeValue = 10;
constexpr std::int64_t kIonInjectionTimeValue = 19;
constexpr std::int64_t kInstrumentTypeValue = 17;
constexpr std::int64_t kActivationCenterValue = 19;
constexpr std::int64_t kActivationTypeValue = 17;
constexpr std::int64_t kPrecursorScanValue = 16;
// "I\tIsolationWindowLowerOffset" and "I\tIsolationWindowUpperOffset": the I at 2 and the l at 5,
// then the L or U at 17.
constexpr std::int64_t kIsolationOffsetValue = 29;
// An activation type is its first three characters ("CID", "ETD", "HCD", "PQD").
constexpr std::int64_t kActivationTypeLength = 3;

// A recorded [M+H]+ this close to zero means the extractor had none: it is rebuilt from the
// isolation center and the charge.
constexpr double kMissingMassBound = 1e-5;

const char* valueAt(const char* line, std::int64_t position, const char* end) {
  return line + std::min(position, static_cast<std::int64_t>(end - line));
}

// Reads the decimal value of an I line into `field`; returns where the value starts.
template <LineEnds kEnds>
const char* readDecimalItem(const char* line, std::int64_t position, const char* end, double& field) {
  const char* value = valueAt(line, position, end);
  field = scanDecimal(value, end, StopAtValueEnd<kEnds>{});
  return value;
}

int activationCodeOf(const std::string& type) {
  for (std::size_t i = 0; i < kActivationNames.size(); ++i) {
    if (type == kActivationNames[i]) return static_cast<int>(i) + 1;
  }
  return -1;
}

// The InstrumentType line: "F" or "Q" at the value is an FT analyzer, anything else IT. The
// activation group is computed here, from the activation type read so far.
void readInstrumentType(char letter, MS2Spectrum& spectrum, MS2File& ms2File,
                        MS2GroupNotes& groupNotes) {
  const bool fourier = letter == 'F' || letter == 'Q';
  spectrum.instrumentType = fourier ? "FT" : "IT";
  spectrum.instrumentCode = fourier ? 2 : 1;
  // An unknown (or not yet read) activation must never land in an output group: the bare
  // formula would put PQD on an Orbitrap (-1 - 4 + 6) into the ETD/IT group.
  if (spectrum.activationCode < 1) {
    spectrum.activationGroup = kNoActivationGroup;
    ++groupNotes.unknownActivation;
    return;
  }
  spectrum.activationGroup = activationGroupOf(spectrum.activationCode, spectrum.instrumentCode);
  ms2File.groupPresent[static_cast<std::size_t>(spectrum.activationGroup)] = 1;
}

// One I line at p; returns the position from which to look for the line feed.
template <LineEnds kEnds>
const char* readItemLine(const char* p, const char* end, MS2Spectrum* spectrum, MS2File& ms2File,
                         MSTextNotes& notes, MS2GroupNotes& groupNotes) {
  const char key = byteAt(p, 2, end);
  const bool known = key == 'R' || key == 'I' || key == 'A' || key == 'P';
  if (spectrum == nullptr) {
    if (known) ++notes.linesBeforeFirstScan;
    return p;
  }
  if (key == 'R') return readDecimalItem<kEnds>(p, kRetTimeValue, end, spectrum->retentionTime);
  if (key == 'I' && byteAt(p, 5, end) == 'I') {
    const char* value = valueAt(p, kIonInjectionTimeValue, end);
    spectrum->ionInjectionTime = scanIonInjectionTime(value, end, StopAtValueEnd<kEnds>{});
    return value;
  }
  if (key == 'I' && byteAt(p, 5, end) == 'l') {
    const char side = byteAt(p, 17, end);
    if (side == 'L') return readDecimalItem<kEnds>(p, kIsolationOffsetValue, end, spectrum->isolationLower);
    if (side == 'U') return readDecimalItem<kEnds>(p, kIsolationOffsetValue, end, spectrum->isolationUpper);
    return p;
  }
  if (key == 'I' && byteAt(p, 12, end) == 'T') {
    readInstrumentType(byteAt(p, kInstrumentTypeValue, end), *spectrum, ms2File, groupNotes);
    return p;
  }
  if (key == 'A' && byteAt(p, 12, end) == 'C')
    return readDecimalItem<kEnds>(p, kActivationCenterValue, end, spectrum->activationCenter);
  if (key == 'A' && byteAt(p, 12, end) == 'T') {
    const char* value = valueAt(p, kActivationTypeValue, end);
    spectrum->activationType.assign(value, std::min(kActivationTypeLength, end - value));
    spectrum->activationCode = activationCodeOf(spectrum->activationType);
    return p;
  }
  if (key == 'F' && isCompensationVoltageLine(p, end))
    return readCompensationVoltage<kEnds>(p, end, spectrum->compensationVoltage);
  if (key == 'P' && byteAt(p, 11, end) == 'S') {
    const char* value = valueAt(p, kPrecursorScanValue, end);
    spectrum->precursorScan =
        static_cast<std::int32_t>(scanInteger(value, end, StopAtValueEnd<kEnds>{}));
    return value;
  }
  return p;
}

// One Z line at p: charge up to the TAB (0 becomes 2), [M+H]+ up to the carriage return, rebuilt
// from the activation center when it is missing. Returns where the mass scan stopped.
template <LineEnds kEnds>
const char* readChargeLine(const char* p, const char* end, MS2Spectrum* spectrum,
                           MSTextNotes& notes) {
  const char* value = valueAt(p, 2, end);
  auto charge = static_cast<std::int32_t>(scanInteger(value, end, StopAtTab{}));
  if (charge == 0) charge = 2;
  value = stepOver(value, end);
  double mass = scanDecimal(value, end, StopAtValueEnd<kEnds>{});
  if (spectrum == nullptr) {
    ++notes.linesBeforeFirstScan;
    return value;
  }
  if (mass > -kMissingMassBound && mass < kMissingMassBound) {
    const double z = static_cast<double>(charge);
    mass = z * spectrum->activationCenter - (z - 1.0) * kProtonMass;
  }
  spectrum->charge = charge;
  spectrum->precursorMH = mass;
  return value;
}

void reportGroupNotes(const std::string& path, const MS2File& ms2File, const MS2GroupNotes& groupNotes) {
  if (groupNotes.unknownActivation > 0) {
    logMessage(LogLabel::kAlert, std::to_string(groupNotes.unknownActivation) + " MS2 scans of " + path +
                            " have no CID, ETD or HCD activation type before their InstrumentType "
                            "line; they belong to no output group and are not processed.");
  }
  std::int64_t untyped = 0;
  for (const MS2Spectrum& spectrum : ms2File.spectra) untyped += spectrum.instrumentCode == 0 ? 1 : 0;
  if (untyped > 0) {
    logMessage(LogLabel::kAlert, std::to_string(untyped) + " MS2 scans of " + path +
                            " have no InstrumentType line; they stay in the CID/IT group.");
  }
}

template <LineEnds kEnds>
void scanMS2TextAs(std::string_view text, MS2File& ms2File, MSTextNotes& notes,
                   MS2GroupNotes& groupNotes) {
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  MS2Spectrum* current = ms2File.spectra.empty() ? nullptr : &ms2File.spectra.back();
  const char* p = begin;
  while (p < end && *p != '\0') {
    const char c = *p;
    if (isUpperLetter(c)) {
      const char* from = p;
      if (c == 'S') {
        const char* value = stepOver(findTab(p, end), end);
        const std::uint32_t scan = scanInteger(value, end, StopAtTab{});
        current = startScanSpectrum(ms2File.spectra, current, scan);
        from = value;
      } else if (c == 'Z') {
        from = readChargeLine<kEnds>(p, end, current, notes);
      } else if (c == 'I') {
        from = readItemLine<kEnds>(p, end, current, ms2File, notes, groupNotes);
      }
      p = skipToLineFeed(from, begin, end, notes.bareLineFeed);
    }
    if (p < end && isDigit(*p)) p = readPeakLineInto<kEnds>(p, end, current, notes);
    p = stepOver(p, end);
  }
  if (p < end && notes.zeroByteOffset < 0) notes.zeroByteOffset = p - begin;
}

}  // namespace

std::int32_t ms2ScanLength(std::int64_t byteCount) {
  // Conversion modulo 2^32, as the 32-bit length of the scanner has always been computed.
  return static_cast<std::int32_t>(
      static_cast<std::uint32_t>(static_cast<std::uint64_t>(byteCount)));
}

void scanMS2Text(std::string_view text, MS2File& ms2File, MSTextNotes& notes,
                 MS2GroupNotes& groupNotes) {
  const LineEndShape shape = detectLineEnds(text.data(), text.data() + text.size());
  notes.carriageReturnsOnly = notes.carriageReturnsOnly || shape.carriageReturnsOnly;
  if (shape.ends == LineEnds::kBareLineFeeds) {
    scanMS2TextAs<LineEnds::kBareLineFeeds>(text, ms2File, notes, groupNotes);
  } else {
    scanMS2TextAs<LineEnds::kCrLf>(text, ms2File, notes, groupNotes);
  }
}

void startMS2Load(MS2File& ms2File) {
  ms2File.spectra.clear();
  ms2File.groupPresent.fill(0);
  ms2File.scanTableSize = kScanTableSize;
  ms2File.scanTable.assign(static_cast<std::size_t>(kScanTableSize), 0);
  ms2File.spectrumCount = -1;
}

void finishMS2Load(const std::string& path, const MSTextNotes& notes, const MS2GroupNotes& groupNotes,
                   MS2File& ms2File) {
  ms2File.spectrumCount = static_cast<std::int32_t>(ms2File.spectra.size());
  reportTextNotes(path, notes);
  reportGroupNotes(path, ms2File, groupNotes);
  logMessage(LogLabel::kNote, "Loading MS2 Spectra Number: " + std::to_string(ms2File.spectrumCount));
}

void loadMS2Text(std::string_view text, std::int64_t byteCount, const std::string& path,
                 MS2File& ms2File) {
  startMS2Load(ms2File);
  const std::int32_t length = ms2ScanLength(byteCount);
  MSTextNotes notes;
  MS2GroupNotes groupNotes;
  if (length > 0) {
    const std::size_t scanned = std::min(static_cast<std::size_t>(length), text.size());
    scanMS2Text(text.substr(0, scanned), ms2File, notes, groupNotes);
  } else if (byteCount > 0) {
    logMessage(LogLabel::kAlert, "MS2 file " + path + " has " + std::to_string(byteCount) +
                            " bytes; the MS2 loader reads files below 2147483648 bytes only, so "
                            "no spectra were loaded from it.");
  }
  finishMS2Load(path, notes, groupNotes, ms2File);
}

void loadMS2File(const std::string& path, MS2File& ms2File) {
  const std::int64_t size = fileSize(path);
  // The read buffer holds at most 3 GiB; a larger file is split before it gets here.
  const std::int64_t readCount = std::min(size, kSpectrumReadBufferBytes);
  if (ms2ScanLength(readCount) <= 0) {
    // Nothing of it could be scanned: do not read it at all.
    loadMS2Text({}, readCount, path, ms2File);
    return;
  }
  FileHandle file(std::fopen(path.c_str(), "rb"));
  if (!file) throw RunFailure{"Fail to open MS2!\n"};
  const ReadBuffer buffer(static_cast<std::size_t>(readCount) + 1, path);
  const std::int64_t bytesRead = readBytesAt(file.get(), 0, buffer.data, readCount);
  file.reset();
  if (bytesRead < 0) throw RunFailure{"Fail to read MS2 file " + path + "!\n"};
  loadMS2Text(std::string_view(buffer.data, static_cast<std::size_t>(bytesRead)), bytesRead, path,
              ms2File);
}

}  // namespace corvid
