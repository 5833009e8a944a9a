#include "spectra/scan_summary.h"

#include <cstdio>
#include <string_view>

#include "spectra/ms_text_writer.h"

namespace corvid {

namespace {

// Quotes an id that holds a comma or a quote, doubling its quotes, as CSV readers expect.
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

bool writeScanSummary(const std::string& path, const std::vector<ExtractedScan>& scans,
                      const std::vector<std::uint32_t>& order, const std::string& ids) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  std::string text = std::string(kScanSummaryHeader) + "\r\n";
  bool ok = true;
  for (std::uint32_t index : order) {
    const ExtractedScan& scan = scans[index];
    text += std::to_string(scan.scan);
    text += ',';
    text += std::to_string(scan.nativeScan);
    text += ',';
    appendCsvText(text, std::string_view(ids).substr(scan.idOffset, scan.idLength));
    text += ',';
    text += std::to_string(scan.msLevel);
    text += ',';
    appendFixed(text, scan.retentionTime, kTimeDecimals);
    text += ',';
    text += std::to_string(scan.precursorScan);
    text += ',';
    appendFixed(text, scan.msLevel == 2 ? scan.isolationTarget : 0.0, kMzDecimals);
    text += ',';
    text += std::to_string(scan.charge);
    text += ',';
    text += std::to_string(scan.peakCount);
    text += "\r\n";
    if (text.size() >= (1 << 20)) {
      ok = std::fwrite(text.data(), 1, text.size(), file) == text.size() && ok;
      text.clear();
    }
  }
  ok = std::fwrite(text.data(), 1, text.size(), file) == text.size() && ok;
  ok = std::fclose(file) == 0 && ok;
  return ok;
}

}  // namespace corvid
