#include "spectra/scan_summary.h"

#include "spectra/ms_text_writer.h"

namespace corvid {

namespace {

void appendCsvText(std::string& out, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += text;
    return;
  }
  out += '"';
  for (char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

}  // namespace

void appendScanSummaryLine(std::string& out, const ExtractedScan& scan, std::string_view nativeId, bool withVoltage) {
  out += std::to_string(scan.scan);
  out += ',';
  out += std::to_string(scan.nativeScan);
  out += ',';
  appendCsvText(out, nativeId);
  out += ',';
  out += std::to_string(scan.msLevel);
  out += ',';
  appendFixed(out, scan.retentionTime, kTimeDecimals);
  out += ',';
  out += std::to_string(scan.precursorScan);
  out += ',';
  appendFixed(out, scan.msLevel == 2 ? scan.isolationTarget : 0.0, kMzDecimals);
  out += ',';
  out += std::to_string(scan.charge);
  out += ',';
  out += std::to_string(scan.peakCount);
  if (withVoltage) {
    out += ',';
    if (scan.hasCompensationVoltage) appendShortestNumber(out, scan.compensationVoltage);
  }
  out += "\r\n";
}

}  // namespace corvid
