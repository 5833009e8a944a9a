#include "tools/reference_list/reference_list_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <tuple>

#include "tools/reference_list/errors.h"

namespace corvid::reflist {

std::string formatReferenceList(std::vector<ReferenceEntry> entries) {
  std::stable_sort(entries.begin(), entries.end(), [](const ReferenceEntry& a, const ReferenceEntry& b) {
    return std::tie(a.scan, a.precursorMz, a.charge) < std::tie(b.scan, b.precursorMz, b.charge);
  });
  std::string text;
  char line[128];
  for (const ReferenceEntry& entry : entries) {
    const int length = std::snprintf(line, sizeof line, "%ld\t%.6f\t%d\t%g\n", entry.scan, entry.precursorMz,
                                     entry.charge, entry.score);
    if (length > 0) text.append(line, std::min(static_cast<std::size_t>(length), sizeof line - 1));
  }
  return text;
}

void writeFileAtomically(const std::string& path, const std::string& text) {
  const std::filesystem::path target(path);
  // Hidden and named after this process, so two runs writing into one folder do not collide.
  const std::filesystem::path temporary =
      target.parent_path() / ("." + target.filename().string() + ".partial-" + std::to_string(::getpid()));
  std::FILE* file = std::fopen(temporary.c_str(), "wb");
  if (file == nullptr) throw InputError(path + ": cannot write: " + std::strerror(errno));
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  const int writeErrno = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written || !closed) {
    std::remove(temporary.c_str());
    throw InputError(path + ": cannot write: " + std::strerror(written ? errno : writeErrno));
  }
  if (std::rename(temporary.c_str(), target.c_str()) != 0) {
    const int renameErrno = errno;
    std::remove(temporary.c_str());
    throw InputError(path + ": cannot write: " + std::strerror(renameErrno));
  }
}

}  // namespace corvid::reflist
