#include "spectra/open_format_names.h"

namespace corvid {

namespace {

constexpr std::array<std::string_view, 3> kMzMLSpellings = {kOpenFormatSpellings[0], kOpenFormatSpellings[1],
                                                            kOpenFormatSpellings[2]};
constexpr std::array<std::string_view, 3> kMzXMLSpellings = {kOpenFormatSpellings[3], kOpenFormatSpellings[4],
                                                             kOpenFormatSpellings[5]};

bool containsAny(std::string_view text, const std::array<std::string_view, 3>& spellings) {
  for (std::string_view spelling : spellings)
    if (text.find(spelling) != std::string_view::npos) return true;
  return false;
}

bool endsWithAny(std::string_view text, const std::array<std::string_view, 3>& spellings) {
  for (std::string_view spelling : spellings)
    if (text.ends_with(spelling)) return true;
  return false;
}

}  // namespace

bool isOpenFormatPath(std::string_view path) {
  return containsAny(path, kMzMLSpellings) || containsAny(path, kMzXMLSpellings);
}

bool isOpenFormatName(std::string_view name) {
  return endsWithAny(name, kMzMLSpellings) || endsWithAny(name, kMzXMLSpellings);
}

bool isMzXMLName(std::string_view name) { return endsWithAny(name, kMzXMLSpellings); }

bool containsMzXMLSpelling(std::string_view text) { return containsAny(text, kMzXMLSpellings); }

}  // namespace corvid
