#pragma once
// How Corvid recognises mzML and mzXML files by name.
#include <array>
#include <string_view>

namespace corvid {

// The accepted spellings of the open formats' extensions, mzML's first.
inline constexpr std::array<std::string_view, 6> kOpenFormatSpellings = {".mzML",  ".mzml",  ".MZML",
                                                                         ".mzXML", ".mzxml", ".MZXML"};

// True when the path contains ".mzML", ".mzml", ".MZML", ".mzXML", ".mzxml" or ".MZXML".
bool isOpenFormatPath(std::string_view path);
// True when the name ends with one of those six spellings (folder listings).
bool isOpenFormatName(std::string_view name);
// True when the name ends with ".mzXML", ".mzxml" or ".MZXML".
bool isMzXMLName(std::string_view name);
// True when the text contains ".mzXML", ".mzxml" or ".MZXML".
bool containsMzXMLSpelling(std::string_view text);

}  // namespace corvid
