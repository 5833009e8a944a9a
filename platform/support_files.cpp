#include "platform/support_files.h"

#include <array>
#include <filesystem>
#include <system_error>

#include "build_config.h"
#include "platform/paths.h"

namespace corvid {
namespace {

bool isRegularFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

bool isAbsolute(std::string_view name) {
  if (!name.empty() && isSeparator(name.front())) return true;
  // A Windows drive letter path such as "C:\IPV.txt".
  return name.size() > 2 && name[1] == ':' && isSeparator(name[2]);
}

}  // namespace

std::string runningExecutableFolder() {
  std::error_code error;
#ifdef _WIN32
  return std::string();
#else
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error || executable.empty()) return std::string();
  return withTrailingSeparator(executable.parent_path().string());
#endif
}

std::string locateSupportFile(std::string_view binFolder, std::string_view name) {
  if (isAbsolute(name)) return std::string(name);
  std::string expected(binFolder);
  expected += name;
  if (isRegularFile(expected)) return expected;
  const std::string executableFolder = runningExecutableFolder();
  std::array<std::string, 3> fallbacks;
  if (!executableFolder.empty()) {
    fallbacks[0] = executableFolder;
    fallbacks[1] = executableFolder + "../share/corvid/";
  }
  fallbacks[2] = build::kInstalledDataFolder;
  for (const std::string& folder : fallbacks) {
    if (folder.empty()) continue;
    std::string candidate = folder + std::string(name);
    if (isRegularFile(candidate)) return candidate;
  }
  return expected;
}

}  // namespace corvid
