#pragma once
// Whole-text number parsing for attribute values and option arguments: the text must be exactly
// one number (surrounding blanks allowed), so "12abc" or "" are rejected rather than read as 12 or 0.
#include <optional>
#include <string_view>

namespace corvid::reflist {

std::optional<double> parseReal(std::string_view text);
std::optional<long> parseInteger(std::string_view text);

}  // namespace corvid::reflist
