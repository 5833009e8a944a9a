#include "startup/file_discovery.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <system_error>

#include "spectra/input_formats.h"

namespace corvid {
namespace {

// The names of the folder's entries that end with one of the formats' spellings and are longer
// than it: exact, case-sensitive endings; the entry's kind is deliberately not tested.
std::vector<std::string> listByExtension(const std::string& folder, std::initializer_list<InputFormat> formats) {
  std::optional<DirectoryReader> reader = openDirectory(folder);
  if (!reader) {
    std::printf("[Error] Fail to get directory. \n");
    std::fflush(stdout);
    return {};
  }
  std::vector<std::string> names;
  while (std::optional<DirectoryEntry> entry = readDirectory(*reader)) {
    for (InputFormat format : formats) {
      if (hasExtension(entry->name, format)) {
        names.push_back(entry->name);
        break;
      }
    }
  }
  closeDirectory(reader);
  return names;
}

}  // namespace

std::optional<DirectoryReader> openDirectory(const std::string& path) {
  namespace fs = std::filesystem;
  if (path.empty() || path.size() > kMaxDirectoryPath) return std::nullopt;
  std::error_code error;
  fs::directory_iterator iterator(path, error);
  if (error) return std::nullopt;
  DirectoryReader reader;
  // Windows lists "." and ".." in every folder; keep them so listings look the same.
  reader.entries.push_back({".", EntryKind::Folder});
  reader.entries.push_back({"..", EntryKind::Folder});
  for (const fs::directory_entry& entry : iterator) {
    DirectoryEntry item;
    item.name = entry.path().filename().string();
    if (item.name.empty() || item.name.size() > kMaxEntryName) item.name = "?";
    if (entry.is_directory(error)) {
      item.kind = EntryKind::Folder;
    } else if (entry.is_regular_file(error)) {
      item.kind = EntryKind::RegularFile;
    } else {
      item.kind = EntryKind::Other;
    }
    reader.entries.push_back(std::move(item));
  }
  std::sort(reader.entries.begin() + 2, reader.entries.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
  return reader;
}

std::optional<DirectoryEntry> readDirectory(DirectoryReader& reader) {
  if (reader.next >= reader.entries.size()) return std::nullopt;
  return reader.entries[reader.next++];
}

int closeDirectory(std::optional<DirectoryReader>& reader) {
  if (!reader) return -1;
  reader.reset();
  return 0;
}

bool isDirectory(const std::string& path) {
  std::optional<DirectoryReader> reader = openDirectory(path);
  return closeDirectory(reader) == 0;
}

std::vector<std::string> listMGFFiles(const std::string& folder) {
  return listByExtension(folder, {InputFormat::kMGF});
}
std::vector<std::string> listRawFiles(const std::string& folder) {
  return listByExtension(folder, {InputFormat::kRaw});
}
std::vector<std::string> listMS1Files(const std::string& folder) {
  return listByExtension(folder, {InputFormat::kMS1});
}
std::vector<std::string> listWiffFiles(const std::string& folder) {
  return listByExtension(folder, {InputFormat::kWiff});
}
std::vector<std::string> listOpenFormatFiles(const std::string& folder) {
  return listByExtension(folder, {InputFormat::kMzML, InputFormat::kMzXML});
}

}  // namespace corvid
