#include "detection/isotope_pattern_table.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "platform/text_file.h"

namespace corvid {
namespace {

// Numbers a full table holds: 15000 rows of five abundances.
constexpr std::size_t kTableNumbers = static_cast<std::size_t>(kIsotopeTableRows) * kIsotopePeaks;
// A bad token is quoted in the error message up to this length, so that a file of random bytes
// or one endless line cannot flood the console.
constexpr std::size_t kQuotedTokenLength = 40;

// The white space the C library's number reading skips: blank, tab, LF, CR, VT, FF.
bool isBlankOrLineEnd(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Converts one whole token; returns nullptr on success or the reason it is not accepted.
// A leading '+' is allowed, as the C library's "%lf" allows it; infinities, NaN and values beyond
// the range of a double are refused because a table row holding them would make every
// correlation with that row meaningless.
const char* parseAbundance(std::string_view token, double& value) {
  const char* first = token.data();
  const char* last = token.data() + token.size();
  if (first != last && *first == '+') {
    ++first;
    if (first != last && (*first == '-' || *first == '+')) return "is not a number";
  }
  double parsed = 0.0;
  std::from_chars_result result = std::from_chars(first, last, parsed);
  if (result.ec == std::errc::result_out_of_range) return "is out of the range of a double";
  if (result.ec != std::errc() || result.ptr != last) return "is not a number";
  if (parsed != parsed || parsed - parsed != 0.0) return "is not a finite number";
  value = parsed;
  return nullptr;
}

// 1-based line number of a position in the buffer (only computed for error messages).
std::size_t lineAt(std::string_view text, std::size_t position) {
  return 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + position, '\n'));
}

// The token as it may be printed: shortened, with control and non-ASCII bytes shown as '?'.
std::string printableToken(std::string_view token) {
  std::string shown;
  for (char c : token.substr(0, kQuotedTokenLength)) {
    shown += (c >= ' ' && c <= '~') ? c : '?';
  }
  if (token.size() > kQuotedTokenLength) shown += "...";
  return shown;
}

// Reads the numbers of the file in order, at most kTableNumbers of them; sets cut when more follow.
void readAbundances(const std::string& path, std::string_view text, std::vector<double>& values,
                    bool& cut) {
  std::size_t at = 0;
  while (true) {
    while (at < text.size() && isBlankOrLineEnd(text[at])) ++at;
    if (at == text.size()) return;
    std::size_t end = at;
    while (end < text.size() && !isBlankOrLineEnd(text[end])) ++end;
    if (values.size() == kTableNumbers) {
      cut = true;
      return;
    }
    std::string_view token = text.substr(at, end - at);
    double value = 0.0;
    if (const char* problem = parseAbundance(token, value)) {
      throw RunFailure{"Isotope pattern file " + path + ", line " +
                       std::to_string(lineAt(text, at)) + ": \"" + printableToken(token) + "\" " +
                       problem + "."};
    }
    values.push_back(value);
    at = end;
  }
}

}  // namespace

void loadIsotopePatternTable(const std::string& path, IsotopePatternTable& table) {
  std::optional<std::string> text = readWholeFile(path);
  if (!text) throw RunFailure{"Please make sure the IPV.txt is with this Program.^_^"};
  std::vector<double> values;
  values.reserve(kTableNumbers);
  bool cut = false;
  // Everything is read before the table changes, so a bad file leaves the table as it was.
  readAbundances(path, *text, values, cut);
  for (std::size_t k = 0; k < values.size(); ++k) {
    table.rows[k / kIsotopePeaks][k % kIsotopePeaks] = values[k];
  }
  if (cut) {
    logMessage(LogLabel::kAlert, "The isotope pattern file " + path + " has more than " +
                            std::to_string(kIsotopeTableRows) + " rows; only the first " +
                            std::to_string(kIsotopeTableRows) + " rows are used.");
  } else if (values.size() < kTableNumbers) {
    // Rows the file does not reach keep their previous values (zero after start-up), and every
    // candidate whose mass falls there scores a pattern similarity of 0: say so.
    logMessage(LogLabel::kAlert, "The isotope pattern file " + path + " fills only " +
                            std::to_string(values.size() / kIsotopePeaks) + " of the " +
                            std::to_string(kIsotopeTableRows) + " rows (" +
                            std::to_string(values.size()) +
                            " numbers); the other rows keep their previous values.");
  }
}

IsotopePattern isotopePattern(const IsotopePatternTable& table, double neutralMass) {
  if (!(neutralMass >= 0.0)) return IsotopePattern{};  // negative or NaN: no row
  if (neutralMass >= static_cast<double>(kIsotopeTableRows)) {
    return table.rows[kIsotopeTableRows - 1];
  }
  return table.rows[static_cast<std::size_t>(neutralMass)];
}

}  // namespace corvid
