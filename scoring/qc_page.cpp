#include "scoring/qc_page.h"

#include "platform/pending_file.h"
#include "platform/run_log.h"

namespace corvid {
namespace {

std::string escapedHtml(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    switch (c) {
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '&': escaped += "&amp;"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

}  // namespace

bool writeQcPage(const std::string& path, const nlohmann::json& page, const std::string& /*programFolder*/) {
  const std::string title = escapedHtml(page.value("title", std::string("Corvid QC")));
  const std::string html = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + title +
                           "</title></head><body><h1>" + title + "</h1><pre>" + escapedHtml(page.dump(2)) +
                           "</pre></body></html>\n";
  PendingFile pending;
  bool written = openPending(path, pending);
  if (written) {
    putBytes(pending, html);
    written = commitPending(pending);
  }
  if (!written) logMessage(LogLabel::kError, "Fail to write the QC page " + path + ": " + pending.error);
  return written;
}

}  // namespace corvid
