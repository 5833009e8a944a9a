#include "platform/pending_file.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <process.h>
#define CORVID_PROCESS_ID _getpid
#else
#include <unistd.h>
#define CORVID_PROCESS_ID getpid
#endif

namespace corvid {

std::string lastErrorText() { return std::strerror(errno); }

std::string temporaryPathFor(const std::string& path) {
  static std::atomic<unsigned> counter{0};
  return path + ".corvid-tmp-" + std::to_string(static_cast<long>(CORVID_PROCESS_ID())) + "-" +
         std::to_string(counter.fetch_add(1));
}

bool openPending(const std::string& path, PendingFile& pending) {
  discardPending(pending);
  pending.path = path;
  pending.error.clear();
  std::error_code code;
  const auto status = std::filesystem::status(path, code);
  if (std::filesystem::is_directory(status)) {
    pending.error = "it is a folder";
    return false;
  }
  // A device or a pipe (/dev/stdout, a FIFO a workflow reads) is written in place: renaming a
  // file over it would replace the device instead of writing to it.
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    pending.file = std::fopen(path.c_str(), "wb");
    if (pending.file == nullptr) pending.error = lastErrorText();
    return pending.file != nullptr;
  }
  pending.temporaryPath = temporaryPathFor(path);
  pending.file = std::fopen(pending.temporaryPath.c_str(), "wb");
  if (pending.file == nullptr) {
    pending.error = lastErrorText();
    pending.temporaryPath.clear();
    return false;
  }
  return true;
}

bool commitPending(PendingFile& pending, bool writeFailed) {
  if (pending.file == nullptr) return false;
  if (writeFailed && pending.error.empty()) pending.error = lastErrorText();
  const bool closed = std::fclose(pending.file) == 0;
  pending.file = nullptr;
  if (!closed && pending.error.empty()) pending.error = lastErrorText();
  std::error_code code;
  if (pending.temporaryPath.empty()) return closed && !writeFailed;  // written in place
  if (!writeFailed && closed) {
    std::filesystem::rename(pending.temporaryPath, pending.path, code);
    if (!code) {
      pending.temporaryPath.clear();
      return true;
    }
    pending.error = code.message();
  }
  std::filesystem::remove(pending.temporaryPath, code);
  pending.temporaryPath.clear();
  return false;
}

void discardPending(PendingFile& pending) {
  if (pending.file != nullptr) {
    std::fclose(pending.file);
    pending.file = nullptr;
  }
  if (!pending.temporaryPath.empty()) {
    std::error_code ignored;
    std::filesystem::remove(pending.temporaryPath, ignored);
    pending.temporaryPath.clear();
  }
}

bool copyIntoPlace(const std::string& from, const std::string& to, std::string& error) {
  std::FILE* source = std::fopen(from.c_str(), "rb");
  if (source == nullptr) {
    error = "cannot open " + from + ": " + lastErrorText();
    return false;
  }
  PendingFile target;
  if (!openPending(to, target)) {
    std::fclose(source);
    error = target.error;
    return false;
  }
  char buffer[1 << 16];
  bool failed = false;
  std::size_t count = 0;
  while ((count = std::fread(buffer, 1, sizeof buffer, source)) > 0) {
    if (std::fwrite(buffer, 1, count, target.file) != count) failed = true;
  }
  if (std::ferror(source) != 0) {
    failed = true;
    target.error = "cannot read " + from;
  }
  std::fclose(source);
  const bool done = commitPending(target, failed);
  if (!done) error = target.error.empty() ? "cannot write " + to : target.error;
  return done;
}

}  // namespace corvid
