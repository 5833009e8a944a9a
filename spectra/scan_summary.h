#pragma once
// The extraction summary <stem>_scans.csv: one line per written scan, in output order, with the
// number written and the native number and id it came from.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "spectra/extracted_scan.h"

namespace corvid {

// First line of the summary, without its line end.
inline constexpr std::string_view kScanSummaryHeader =
    "Scan,NativeScan,NativeId,MSLevel,RetentionTime,PrecursorScan,IsolationTarget,Charge,PeakCount";

// FAIMS runs: the header's last column when any spectrum of the file names a compensation voltage
// (the field is empty for a scan that names none); files without voltages keep the header above.
inline constexpr std::string_view kScanSummaryVoltageColumn = ",CompensationVoltage";

// Appends the summary line of one scan with a CR LF line end; an id holding a comma or a quote is
// quoted as CSV readers expect. withVoltage adds the compensation voltage field.
void appendScanSummaryLine(std::string& out, const ExtractedScan& scan, std::string_view nativeId,
                           bool withVoltage = false);

// The fields of one summary line (its line end already removed): a quoted field may hold commas
// and doubled quotes. nullopt for a quote that is never closed. Inline, so that tools reading the
// summary need nothing else of Corvid's.
inline std::optional<std::vector<std::string>> splitScanSummaryLine(std::string_view line) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted) {
      if (c != '"') {
        fields.back() += c;
      } else if (i + 1 < line.size() && line[i + 1] == '"') {
        fields.back() += '"';
        ++i;
      } else {
        quoted = false;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  if (quoted) return std::nullopt;
  return fields;
}

}  // namespace corvid
