#pragma once
// The input formats Corvid takes and every spelling of their names: the extensions of data paths
// and folder listings, and the values of `input_format`. One table, so that the routes, the
// folder listings and the argument checks cannot disagree.
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvid {

enum class InputFormat { kRaw, kWiff, kMGF, kMS1, kMzML, kMzXML };

// The accepted spellings of a format's extension, in the order the routes look for them.
std::span<const std::string_view> extensionSpellings(InputFormat format);

// The spellings of both open formats, mzML's first.
std::span<const std::string_view> openFormatSpellings();

// The path holds one of the format's spellings anywhere (the routes' old rule: folder names count).
bool containsExtension(std::string_view path, InputFormat format);
// The first spelling of the format found in the path and where: npos when none.
struct SpellingFound {
  std::string_view spelling;
  std::size_t at = std::string_view::npos;
};
SpellingFound firstSpellingIn(std::string_view path, std::span<const std::string_view> spellings);
// The name ends with one of the format's spellings and is longer than it (folder listings); for
// mzML and mzXML a gzip ending (".gz", ".GZ") may follow.
bool hasExtension(std::string_view name, InputFormat format);

// The same in any letter case (".RAW", ".rAw"): how a first argument is recognised as an input file.
bool hasExtensionInAnyCase(std::string_view name, InputFormat format);

// True when the path contains ".mzML", ".mzml", ".MZML", ".mzXML", ".mzxml" or ".MZXML".
bool isOpenFormatPath(std::string_view path);
// True when the name ends with one of those six spellings, alone or followed by ".gz" or ".GZ".
bool isOpenFormatName(std::string_view name);
// True when the name ends with ".mzXML", ".mzxml" or ".MZXML", alone or followed by ".gz" or ".GZ".
bool isMzXMLName(std::string_view name);
// True when the name is an open-format name with a gzip ending ("BSA1.mzML.gz").
bool isGzipOpenFormatName(std::string_view name);
// The name less the gzip ending of a gzip open-format name; any other name as it is.
std::string_view withoutGzipEnding(std::string_view name);
// What the outputs of an open-format file are named from: the name less its gzip ending, then less
// its extension ("BSA1.mzML.gz" and "BSA1.mzML" -> "BSA1").
std::string openFormatStem(std::string_view name);

// The folder format `input_format` names ("raw", "Raw", "RAW", "mgf", "MGF", "wiff", "Wiff",
// "WIFF", "mzml", "mzML", "MZML", "mzxml", "mzXML", "MZXML"); nothing for any other value, which
// reads a folder of MS1/MS2 pairs.
std::optional<InputFormat> formatFromOption(std::string_view value);

// The `input_format` value as the run holds it: the folder format it names and the text given.
struct InputFormatChoice {
  std::optional<InputFormat> folderFormat;
  std::string givenText;  // for messages
};

}  // namespace corvid
