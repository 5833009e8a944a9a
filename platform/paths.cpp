#include "platform/paths.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/support_files.h"

namespace corvid {

std::size_t lastSeparator(std::string_view path) { return path.find_last_of("/\\"); }

std::string folderOf(std::string_view path) {
  std::size_t at = lastSeparator(path);
  return at == std::string_view::npos ? std::string() : std::string(path.substr(0, at + 1));
}

std::string fileNameOf(std::string_view path) {
  std::size_t at = lastSeparator(path);
  return std::string(at == std::string_view::npos ? path : path.substr(at + 1));
}

std::string withTrailingSeparator(std::string folder) {
  if (folder.empty() || !isSeparator(folder.back())) folder += kFolderSeparator;
  return folder;
}

bool canOpenForReading(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  std::fclose(file);
  return true;
}

std::string resolveLetterCase(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (fs::exists(path, error)) return path;
  std::string folder = folderOf(path);
  std::string name = fileNameOf(path);
  auto lower = [](std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
  };
  const std::string wanted = lower(name);
  fs::directory_iterator entries(folder.empty() ? fs::path(".") : fs::path(folder), error);
  if (error) return path;
  std::string best;
  for (const fs::directory_entry& entry : entries) {
    std::string candidate = entry.path().filename().string();
    // Ascending byte order decides between several matches, so the choice is deterministic.
    if (lower(candidate) == wanted && (best.empty() || candidate < best)) best = candidate;
  }
  return best.empty() ? path : folder + best;
}

std::string toolPath(std::string_view binFolder, std::string_view toolName) {
  std::string name(toolName);
  name += kExecutableSuffix;
  return locateSupportFile(binFolder, name);
}

std::string withoutExtension(std::string_view name) {
  return name.size() >= 4 ? std::string(name.substr(0, name.size() - 4)) : std::string();
}

}  // namespace corvid
