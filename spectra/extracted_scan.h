#pragma once
// What the open-format extractor records of each spectrum once its peaks are written: the header
// values of its MS1/MS2 block and where its peak lines lie. Fixed size and trivially copyable: the
// extractor keeps these records in a working file, not in memory, and reads them back by position.
#include <array>
#include <cstdint>
#include <type_traits>

#include "spectra/open_format_spectrum.h"

namespace corvid {

struct ExtractedScan {
  std::int64_t nativeScan = 0;     // from the native id ("scan=N", last number, or index + 1)
  std::uint32_t scan = 0;          // number written; nativeScan unless the file is renumbered
  std::int32_t precursorScan = 0;  // 0 for MS1 scans and MS2 scans before any MS1 scan
  int msLevel = 1;                 // 1 or 2
  int charge = 0;                  // 0 when unknown
  double retentionTime = 0.0;      // seconds
  double ionInjectionTime = 0.0;   // milliseconds
  double isolationTarget = 0.0;    // isolation window target, else the selected ion m/z
  double precursorMz = 0.0;        // selected ion m/z, else the isolation window target
  double isolationLower = 0.0;     // isolation window offsets the file states, 0 when none
  double isolationUpper = 0.0;
  AnalyzerKind analyzer = AnalyzerKind::Unknown;
  bool hasCompensationVoltage = false;
  double compensationVoltage = 0.0;    // FAIMS volts, when the spectrum names one
  std::array<char, 4> activation{};    // "CID", "ETD", "HCD" or another three letters; NUL-ended
  std::uint64_t idHash = 0;            // hash of the native id, for precursor references
  std::uint64_t precursorRefHash = 0;  // hash of the referenced precursor id, 0 when none
  std::uint64_t idOffset = 0;          // native id text in the extractor's id file
  std::uint32_t idLength = 0;
  std::uint32_t peakCount = 0;
  std::uint64_t peakOffset = 0;  // peak lines in the level's working file
  std::uint64_t peakBytes = 0;
};

static_assert(std::is_trivially_copyable_v<ExtractedScan>, "records are stored as bytes");

}  // namespace corvid
