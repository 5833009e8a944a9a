#include "spectra/input_formats.h"

#include <array>
#include <cctype>

namespace corvid {
namespace {

constexpr std::array<std::string_view, 3> kRawSpellings = {".RAW", ".raw", ".Raw"};
constexpr std::array<std::string_view, 3> kWiffSpellings = {".WIFF", ".wiff", ".Wiff"};
constexpr std::array<std::string_view, 2> kMGFSpellings = {".MGF", ".mgf"};
constexpr std::array<std::string_view, 3> kMS1Spellings = {".ms1", ".MS1", ".Ms1"};
constexpr std::array<std::string_view, 6> kOpenFormatSpellings = {".mzML",  ".mzml",  ".MZML",
                                                                  ".mzXML", ".mzxml", ".MZXML"};
const std::span<const std::string_view> kMzMLSpellings(kOpenFormatSpellings.data(), 3);
const std::span<const std::string_view> kMzXMLSpellings(kOpenFormatSpellings.data() + 3, 3);

struct OptionSpelling {
  std::string_view value;
  InputFormat format;
};
constexpr std::array<OptionSpelling, 14> kOptionSpellings{{
    {"Raw", InputFormat::kRaw},
    {"RAW", InputFormat::kRaw},
    {"raw", InputFormat::kRaw},
    {"MGF", InputFormat::kMGF},
    {"mgf", InputFormat::kMGF},
    {"Wiff", InputFormat::kWiff},
    {"WIFF", InputFormat::kWiff},
    {"wiff", InputFormat::kWiff},
    {"mzml", InputFormat::kMzML},
    {"mzML", InputFormat::kMzML},
    {"MZML", InputFormat::kMzML},
    {"mzxml", InputFormat::kMzXML},
    {"mzXML", InputFormat::kMzXML},
    {"MZXML", InputFormat::kMzXML},
}};

constexpr std::array<std::string_view, 2> kGzipSpellings = {".gz", ".GZ"};

bool endsWithAny(std::string_view name, std::span<const std::string_view> spellings) {
  for (std::string_view spelling : spellings) {
    if (name.ends_with(spelling)) return true;
  }
  return false;
}

// The name less a gzip ending, whatever it ends with (the callers test what is left).
std::string_view lessGzipEnding(std::string_view name) {
  return endsWithAny(name, kGzipSpellings) ? name.substr(0, name.size() - kGzipSpellings[0].size()) : name;
}

bool isOpenFormat(InputFormat format) { return format == InputFormat::kMzML || format == InputFormat::kMzXML; }

}  // namespace

std::span<const std::string_view> extensionSpellings(InputFormat format) {
  switch (format) {
    case InputFormat::kRaw: return kRawSpellings;
    case InputFormat::kWiff: return kWiffSpellings;
    case InputFormat::kMGF: return kMGFSpellings;
    case InputFormat::kMS1: return kMS1Spellings;
    case InputFormat::kMzML: return kMzMLSpellings;
    case InputFormat::kMzXML: return kMzXMLSpellings;
  }
  return {};
}

std::span<const std::string_view> openFormatSpellings() { return kOpenFormatSpellings; }

SpellingFound firstSpellingIn(std::string_view path, std::span<const std::string_view> spellings) {
  for (std::string_view spelling : spellings) {
    const std::size_t at = path.find(spelling);
    if (at != std::string_view::npos) return {spelling, at};
  }
  return {};
}

bool containsExtension(std::string_view path, InputFormat format) {
  return firstSpellingIn(path, extensionSpellings(format)).at != std::string_view::npos;
}

bool hasExtension(std::string_view name, InputFormat format) {
  if (isOpenFormat(format)) name = lessGzipEnding(name);
  for (std::string_view spelling : extensionSpellings(format)) {
    if (name.size() > spelling.size() && name.ends_with(spelling)) return true;
  }
  return false;
}

bool hasExtensionInAnyCase(std::string_view name, InputFormat format) {
  const std::string_view spelling = extensionSpellings(format).front();
  if (name.size() <= spelling.size()) return false;
  const std::string_view tail = name.substr(name.size() - spelling.size());
  for (std::size_t i = 0; i < tail.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(tail[i])) != std::tolower(static_cast<unsigned char>(spelling[i]))) {
      return false;
    }
  }
  return true;
}

bool isOpenFormatPath(std::string_view path) {
  return containsExtension(path, InputFormat::kMzML) || containsExtension(path, InputFormat::kMzXML);
}

bool isOpenFormatName(std::string_view name) { return endsWithAny(lessGzipEnding(name), kOpenFormatSpellings); }

bool isMzXMLName(std::string_view name) { return endsWithAny(lessGzipEnding(name), kMzXMLSpellings); }

bool isGzipOpenFormatName(std::string_view name) {
  return lessGzipEnding(name).size() < name.size() && isOpenFormatName(name);
}

std::string_view withoutGzipEnding(std::string_view name) {
  return isGzipOpenFormatName(name) ? lessGzipEnding(name) : name;
}

std::string openFormatStem(std::string_view name) {
  const std::string_view plain = withoutGzipEnding(name);
  return std::string(plain.substr(0, plain.rfind('.')));
}

std::optional<InputFormat> formatFromOption(std::string_view value) {
  for (const OptionSpelling& row : kOptionSpellings) {
    if (value == row.value) return row.format;
  }
  return std::nullopt;
}

}  // namespace corvid
