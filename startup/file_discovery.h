#pragma once
// Whether a path names a folder, and the data files of one kind in a folder. Names come in
// ascending byte order, so a listing never depends on the file system.
#include <optional>
#include <string>
#include <vector>

namespace corvid {

enum class EntryKind { Folder, RegularFile, Other };

struct DirectoryEntry {
  std::string name;  // at most 259 bytes; "?" for a name that cannot be represented
  EntryKind kind = EntryKind::Other;
};

// The open enumeration of one folder: every entry, read at open time, handed out in name order.
struct DirectoryReader {
  std::vector<DirectoryEntry> entries;
  std::size_t next = 0;
};

// The longest path accepted, as on Windows (259 wide characters with the terminator).
inline constexpr std::size_t kMaxDirectoryPath = 258;
inline constexpr std::size_t kMaxEntryName = 259;

std::optional<DirectoryReader> openDirectory(const std::string& path);
std::optional<DirectoryEntry> readDirectory(DirectoryReader& reader);
int closeDirectory(std::optional<DirectoryReader>& reader);
bool isDirectory(const std::string& path);

std::vector<std::string> listMGFFiles(const std::string& folder);
std::vector<std::string> listRawFiles(const std::string& folder);
std::vector<std::string> listMS1Files(const std::string& folder);
std::vector<std::string> listWiffFiles(const std::string& folder);
// Files with an open-format ending (".mzML", ".mzml", ".MZML", ".mzXML", ".mzxml", ".MZXML").
std::vector<std::string> listOpenFormatFiles(const std::string& folder);

}  // namespace corvid
