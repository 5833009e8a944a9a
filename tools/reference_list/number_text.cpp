#include "tools/reference_list/number_text.h"

#include <charconv>
#include <cmath>
#include <system_error>

#include "platform/text_pieces.h"

namespace corvid::reflist {

namespace {

// Blanks around the number are not part of it.
std::string_view numberText(std::string_view text) {
  text = trimmed(text);
  // from_chars does not take a leading '+', which some writers put on charges.
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  return text;
}

}  // namespace

std::optional<double> parseReal(std::string_view text) {
  text = numberText(text);
  double value = 0.0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<long> parseInteger(std::string_view text) {
  text = numberText(text);
  long value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace corvid::reflist
