#include "spectra/file_size.h"

#include <cstdio>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include "platform/run_failure.h"

namespace corvid {
namespace {

// 64-bit seek and tell: spectrum files are routinely larger than 2 GiB.
int seekToEnd(std::FILE* file) {
#ifdef _WIN32
  return _fseeki64(file, 0, SEEK_END);
#else
  return fseeko(file, 0, SEEK_END);
#endif
}

int seekTo(std::FILE* file, std::int64_t offset) {
#ifdef _WIN32
  return _fseeki64(file, offset, SEEK_SET);
#else
  return fseeko(file, static_cast<off_t>(offset), SEEK_SET);
#endif
}

std::int64_t tellPosition(std::FILE* file) {
#ifdef _WIN32
  return _ftelli64(file);
#else
  return static_cast<std::int64_t>(ftello(file));
#endif
}

// The code printed when the size check fails; the message is kept exactly as users know it.
constexpr int kSeekFailureCode = 180;

[[noreturn]] void failSeek() {
  std::printf("Error in %d%s\n", kSeekFailureCode, "filesize");
  std::fflush(stdout);
  throw RunFailure{"Fail to find end of file. Corvid exits."};
}

// POSIX lets a folder be opened like a file (and then reports an absurd size); Windows refuses.
// Treat it as Windows does: it is not a spectrum file that can be opened.
bool isFolder(std::FILE* file) {
#ifdef _WIN32
  (void)file;
  return false;
#else
  struct stat status {};
  return fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode);
#endif
}

}  // namespace

std::int64_t fileSize(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file != nullptr && isFolder(file)) {
    std::fclose(file);
    file = nullptr;
  }
  if (file == nullptr) {
    throw RunFailure{"\nDear User:\n Corvid.exe failed to open " + path +
                     ", this file does not exist any more!\n"};
  }
  if (seekToEnd(file) != 0) {
    std::fclose(file);
    failSeek();
  }
  const std::int64_t size = tellPosition(file);
  std::fclose(file);
  if (size < 0) failSeek();
  return size;
}

std::int64_t readBytesAt(std::FILE* file, std::int64_t offset, char* buffer, std::int64_t count) {
  if (seekTo(file, offset) != 0) return -1;
  // One fread may deliver less than asked for very large counts: loop until done or end of file.
  std::int64_t total = 0;
  while (total < count) {
    const std::size_t got =
        std::fread(buffer + total, 1, static_cast<std::size_t>(count - total), file);
    if (got == 0) break;
    total += static_cast<std::int64_t>(got);
  }
  return std::ferror(file) != 0 ? -1 : total;
}

}  // namespace corvid
