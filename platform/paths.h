#pragma once
// Path conventions shared by every platform: both "/" and "\" are separators when searching a
// path; the separator appended to a folder and the prefix of a bare file name are the platform's.
#include <string>
#include <string_view>

namespace corvid {

#ifdef _WIN32
inline constexpr char kFolderSeparator = '\\';
inline constexpr std::string_view kBareNamePrefix = ".\\";
inline constexpr std::string_view kExecutableSuffix = ".exe";
#else
inline constexpr char kFolderSeparator = '/';
inline constexpr std::string_view kBareNamePrefix = "./";
inline constexpr std::string_view kExecutableSuffix = "";
#endif

inline bool isSeparator(char c) { return c == '/' || c == '\\'; }

// Position of the last "/" or "\", or npos.
std::size_t lastSeparator(std::string_view path);
// The folder part of a path including its last separator ("" when there is none).
std::string folderOf(std::string_view path);
// The text after the last separator.
std::string fileNameOf(std::string_view path);
// Appends the platform separator unless the text already ends with "/" or "\".
std::string withTrailingSeparator(std::string folder);
// The path itself when it exists; otherwise the entry of its folder whose name differs only in
// letter case (as a case-insensitive file system would open it); otherwise the path unchanged.
std::string resolveLetterCase(const std::string& path);
// True when the path can be opened for reading.
bool canOpenForReading(const std::string& path);
// The text less its last four characters (a three-letter extension with its dot), or empty text
// when it is shorter.
std::string withoutExtension(std::string_view name);
// The path of an external tool: folder + name (+ ".exe" on Windows), or where locateSupportFile
// finds it when it is not in that folder.
std::string toolPath(std::string_view binFolder, std::string_view toolName);

}  // namespace corvid
