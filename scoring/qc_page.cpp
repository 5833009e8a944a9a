#include "scoring/qc_page.h"

#include <optional>

#include "platform/pending_file.h"
#include "platform/run_log.h"
#include "platform/support_files.h"
#include "platform/text_file.h"
#include "scoring/qc_page_assets.h"

namespace corvid {
namespace {

using nlohmann::json;

// Counts errors from the moment the body starts, the chart library's own included; the drawing
// script adds those it catches per chart.
constexpr const char* kErrorCounter =
    "window.qcErrors = 0;\n"
    "window.onerror = function () { window.qcErrors += 1; document.body.dataset.qcErrors = String(window.qcErrors); "
    "};\n";

// Nothing on the page may come from the network: everything it uses is inline.
constexpr const char* kContentPolicy =
    "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src data:";

void appendEscapedHtml(std::string& html, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&': html += "&amp;"; break;
      case '<': html += "&lt;"; break;
      case '>': html += "&gt;"; break;
      case '"': html += "&quot;"; break;
      case '\'': html += "&#39;"; break;
      default: html += c;
    }
  }
}

// The member as text: a string as it is, a number as JSON writes it, anything else empty.
std::string textOf(const json& object, const char* key) {
  if (!object.is_object()) return std::string();
  const auto found = object.find(key);
  if (found == object.end() || found->is_null() || found->is_structured()) return std::string();
  return found->is_string() ? found->get<std::string>() : found->dump();
}

const json& listOf(const json& object, const char* key) {
  static const json kNoList = json::array();
  if (!object.is_object()) return kNoList;
  const auto found = object.find(key);
  return found != object.end() && found->is_array() ? *found : kNoList;
}

void replaceEvery(std::string& text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

// JSON that no string inside can end the script block holding it: "</" is written "<\/" (the
// same string to JSON) and "<!--" as "\u003c!--" (which would otherwise change how HTML reads
// the rest of the block). Text that is not valid UTF-8 is replaced, not refused.
std::string embeddedJson(const json& page) {
  std::string text = page.dump(-1, ' ', false, json::error_handler_t::replace);
  replaceEvery(text, "</", "<\\/");
  replaceEvery(text, "<!--", "\\u003c!--");
  return text;
}

// JavaScript placed inline: any "</script" in it is written "<\/script", which reads the same
// inside JavaScript strings, regular expressions and comments, where alone it can occur.
void appendInlineScript(std::string& html, std::string_view script) {
  std::string code(script);
  for (std::size_t at = code.find("</"); at != std::string::npos; at = code.find("</", at + 2)) {
    std::string word = code.substr(at + 2, 6);
    for (char& c : word) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    if (word == "script") code.insert(at + 1, "\\");
  }
  html += "<script>\n";
  html += code;
  html += "\n</script>\n";
}

// open, then the text escaped, then close: an element (or attribute) holding document text.
void appendWithText(std::string& html, std::string_view open, std::string_view text, std::string_view close) {
  html += open;
  appendEscapedHtml(html, text);
  html += close;
}

void appendSummary(std::string& html, const json& page) {
  const json& rows = listOf(page, "summary");
  if (rows.empty()) return;
  html += "<table class=\"summary\"><tbody>\n";
  for (const json& row : rows) {
    appendWithText(html, "<tr><th scope=\"row\">", textOf(row, "label"), "</th>");
    const std::string key = textOf(row, "key");
    appendWithText(html, key.empty() ? "<td" : "<td data-key=\"", key, key.empty() ? ">" : "\">");
    appendWithText(html, "", textOf(row, "value"), "</td></tr>\n");
  }
  html += "</tbody></table>\n";
}

// A card: title, the canvas the drawing script draws on, the caption and the optional note.
void appendCard(std::string& html, const json& plot) {
  const std::string id = textOf(plot, "id");
  const std::string title = textOf(plot, "title");
  appendWithText(html, "<section class=\"card\" data-plot=\"", id, "\">\n");
  appendWithText(html, "<h2>", title, "</h2>\n");
  appendWithText(html, "<div class=\"chart\"><canvas id=\"", id, "\"");
  appendWithText(html, " role=\"img\" aria-label=\"", title, "\"></canvas></div>\n");
  appendWithText(html, "<p class=\"caption\">", textOf(plot, "caption"), "</p>\n");
  const std::string note = textOf(plot, "note");
  if (!note.empty()) appendWithText(html, "<p class=\"note\">", note, "</p>\n");
  html += "</section>\n";
}

// The library files joined in order; nullopt with the reason when one cannot be read.
std::optional<std::string> readChartLibrary(const std::string& programFolder, std::string& reason) {
  std::string library;
  for (const char* name : kQcChartLibraryFiles) {
    const std::string path = locateSupportFile(programFolder, name);
    const std::optional<std::string> code = readWholeFile(path);
    if (!code) {
      reason = "the chart library file " + path + " cannot be read";
      return std::nullopt;
    }
    library += *code;
    library += '\n';
  }
  return library;
}

}  // namespace

std::string qcPageHtml(const json& page, std::string_view chartLibrary) {
  const std::string title = textOf(page, "title");
  std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
  html += "<meta http-equiv=\"Content-Security-Policy\" content=\"";
  html += kContentPolicy;
  html += "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
  appendWithText(html, "<title>", title, "</title>\n<style>\n");
  html += kQcPageStyle;
  html += "</style>\n</head>\n<body>\n";
  appendInlineScript(html, kErrorCounter);
  appendWithText(html, "<main>\n<h1>", title, "</h1>\n");
  appendSummary(html, page);
  for (const json& plot : listOf(page, "plots")) appendCard(html, plot);
  html += "</main>\n<script type=\"application/json\" id=\"qc-data\">";
  html += embeddedJson(page);
  html += "</script>\n";
  appendInlineScript(html, chartLibrary);
  appendInlineScript(html, kQcPageScript);
  html += "</body>\n</html>\n";
  return html;
}

bool writeQcPage(const std::string& path, const json& page, const std::string& programFolder) {
  std::string reason;
  const std::optional<std::string> library = readChartLibrary(programFolder, reason);
  if (library) {
    std::string bytes;
    appendCrLf(bytes, qcPageHtml(page, *library));
    PendingFile pending;
    if (openPending(path, pending)) {
      putBytes(pending, bytes);
      if (commitPending(pending)) return true;
    }
    reason = pending.error;
  }
  logMessage(LogLabel::kError, "Fail to write the QC page " + path + ": " + reason);
  return false;
}

}  // namespace corvid
