#include "platform/file_patterns.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/paths.h"
#include "platform/pending_file.h"

namespace corvid {

bool wildcardMatch(const std::string& pattern, const std::string& name) {
  // Greedy matcher with one backtrack point: linear in practice, no recursion.
  std::size_t p = 0, n = 0, star = std::string::npos, resume = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = n;
    } else if (p < pattern.size() && pattern[p] == name[n]) {
      ++p;
      ++n;
    } else if (star != std::string::npos) {
      p = star + 1;
      n = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

std::vector<std::string> filesMatching(const std::string& pattern) {
  namespace fs = std::filesystem;
  std::string folder = folderOf(pattern);
  std::string namePattern = fileNameOf(pattern);
  std::vector<std::string> names;
  std::error_code error;
  fs::directory_iterator entries(folder.empty() ? fs::path(".") : fs::path(folder), error);
  if (error) return {};
  for (const fs::directory_entry& entry : entries) {
    if (!entry.is_regular_file(error)) continue;
    std::string name = entry.path().filename().string();
    if (wildcardMatch(namePattern, name)) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  for (std::string& name : names) name = folder + name;
  return names;
}

int concatenateMatching(const std::string& pattern, const std::string& target) {
  std::vector<std::string> sources = filesMatching(pattern);
  // The joined file appears only once complete.
  PendingFile pending;
  if (!openPending(target, pending)) return -1;
  std::vector<char> block(1 << 20);
  int joined = 0;
  for (const std::string& source : sources) {
    if (source == target) continue;
    std::FILE* in = std::fopen(source.c_str(), "rb");
    if (in == nullptr) continue;
    std::size_t got = 0;
    while ((got = std::fread(block.data(), 1, block.size(), in)) > 0) {
      putBytes(pending, std::string_view(block.data(), got));
    }
    std::fclose(in);
    ++joined;
  }
  return commitPending(pending) ? joined : -1;
}

int deleteMatching(const std::string& pattern) {
  namespace fs = std::filesystem;
  std::error_code error;
  if (fileNameOf(pattern).find('*') == std::string::npos) {
    return fs::remove(pattern, error) ? 1 : 0;
  }
  int removed = 0;
  for (const std::string& path : filesMatching(pattern)) {
    if (fs::remove(path, error)) ++removed;
  }
  return removed;
}

}  // namespace corvid
