#include "scoring/reference_list_loader.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/text_file.h"

namespace corvid {

namespace {

// Beyond this many skipped lines only a count is reported, so that a wrong file (say, a binary
// one) cannot flood the console and the log.
constexpr int kMaxLineAlerts = 10;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

// The start of a number as the C scanners see it: blanks skipped, one "+" dropped ("-" is left
// for from_chars, which reads it itself).
const char* numberStart(const char* first, const char* last) {
  while (first != last && isBlank(*first)) ++first;
  if (first != last && *first == '+' && first + 1 != last && *(first + 1) != '-') ++first;
  return first;
}

template <typename Number>
std::optional<Number> readLeadingNumber(std::string_view field) {
  const char* last = field.data() + field.size();
  const char* first = numberStart(field.data(), last);
  Number value{};
  const auto result = std::from_chars(first, last, value);
  if (result.ec != std::errc()) return std::nullopt;
  return value;
}

struct LineReport {
  int skipped = 0;
  const std::string* path = nullptr;
};

void reportSkippedLine(std::size_t lineNumber, const char* reason, LineReport& report) {
  ++report.skipped;
  if (report.skipped > kMaxLineAlerts) return;
  logMessage(LogLabel::kAlert, "Reference list " + *report.path + ", line " + std::to_string(lineNumber) +
                          ": " + reason + "; the line is skipped.");
}

// Blanks and a CR only; a line of tabs is a line with empty fields, not a blank one.
bool isBlankLine(std::string_view line) {
  for (const char c : line) {
    if (c != ' ' && c != '\r') return false;
  }
  return true;
}

// Parses one line into the list, or reports it and leaves the list as it was.
void parseLine(std::string_view line, std::size_t lineNumber, ReferencePrecursorList& list,
               LineReport& report) {
  std::string_view fields[4];
  std::size_t start = 0;
  for (int i = 0; i < 3; ++i) {
    const std::size_t tab = line.find('\t', start);
    if (tab == std::string_view::npos) {
      reportSkippedLine(lineNumber, "fewer than four tab-separated fields", report);
      return;
    }
    fields[i] = line.substr(start, tab - start);
    start = tab + 1;
  }
  fields[3] = line.substr(start);
  const auto scan = readLeadingNumber<std::int32_t>(fields[0]);
  const auto mz = readLeadingNumber<double>(fields[1]);
  const auto charge = readLeadingNumber<std::int32_t>(fields[2]);
  const auto value = readLeadingNumber<double>(fields[3]);
  if (!scan || !mz || !charge || !value) {
    reportSkippedLine(lineNumber, "a field holds no number or one out of range", report);
    return;
  }
  list.scans.push_back(*scan);
  list.mzs.push_back(*mz);
  list.charges.push_back(*charge);
  list.values.push_back(*value);
  list.found.push_back(0);
  list.training.push_back(1);
  list.pending.push_back(1);
}

}  // namespace

ReferencePrecursorList parseReferencePrecursorList(std::string_view text, const std::string& path) {
  ReferencePrecursorList list;
  LineReport report;
  report.path = &path;
  std::size_t lineNumber = 0;
  std::size_t start = 0;
  while (start < text.size()) {
    ++lineNumber;
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(start, end - start);
    if (!isBlankLine(line)) parseLine(line, lineNumber, list, report);
    start = end + 1;
  }
  if (report.skipped > kMaxLineAlerts) {
    logMessage(LogLabel::kAlert, "Reference list " + path + ": " + std::to_string(report.skipped) +
                            " lines skipped in all.");
  }
  return list;
}

ReferencePrecursorList loadReferencePrecursorList(const std::string& path) {
  const std::optional<std::string> content = readWholeFile(path);
  if (!content) {
    throw RunFailure("\nDear User:\n Corvid.exe failed to open " + path +
                     ", this file does not exist any more!\n");
  }
  return parseReferencePrecursorList(*content, path);
}

}  // namespace corvid
