#include "startup/debug_scan_input.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/text_file.h"
#include "spectra/file_size.h"

namespace corvid {

std::uint32_t askDebugScan() {
  logMessage(LogLabel::kNote, "This is for Debug, please input the Scan of MS2 you need to check:");
  long long scan = 0;
  if (std::scanf("%lld", &scan) != 1 || scan < 0) {
    throw RunFailure("Debug mode 1 needs an MS2 scan number on standard input.");
  }
  return static_cast<std::uint32_t>(scan);
}

std::vector<std::uint32_t> parseScanList(const std::string& text) {
  std::vector<std::uint32_t> scans;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = text.find_first_of("\r\n", at);
    const std::string token = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
    if (!token.empty()) {
      const double value = std::atof(token.c_str());
      scans.push_back(value > 0.0 && value < 4294967296.0 ? static_cast<std::uint32_t>(value) : 0u);
    }
    if (end == std::string::npos) break;
    at = text.find_first_not_of("\r\n", end);
    if (at == std::string::npos) break;
  }
  return scans;
}

std::vector<std::uint32_t> askDebugScanList() {
  logMessage(LogLabel::kNote, "Please input the scan file");
  char line[4096] = {0};
  if (std::fgets(line, sizeof line, stdin) == nullptr) {
    throw RunFailure("Debug mode 2 needs the path of a scan-list file on standard input.");
  }
  std::string path(line);
  while (!path.empty() && (path.back() == '\n' || path.back() == '\r')) path.pop_back();
  logMessage(LogLabel::kNote, "Loading scan list from " + path);
  fileSize(path);  // a missing file ends the run with the usual "does not exist" text
  std::optional<std::string> content = readWholeFile(path);
  if (!content) throw RunFailure("Fail to read the scan list " + path);
  return parseScanList(*content);
}

}  // namespace corvid
