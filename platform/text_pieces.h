#pragma once
// Character tests and trimming shared by every reader of text, so each rule is written once.
#include <string_view>

namespace corvid {

// An ASCII decimal digit, whatever the locale says.
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Text without the leading and trailing characters listed in `blanks` (by default space, tab, CR
// and LF); empty when it holds nothing else.
inline std::string_view trimmed(std::string_view text, std::string_view blanks = " \t\r\n") {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace corvid
