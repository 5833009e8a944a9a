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

// Buffered bytes are handed to the system once this much has collected: few, large writes keep
// the writers disk-bound rather than call-bound.
constexpr std::size_t kWriteBlock = std::size_t{1} << 20;

PendingFile::~PendingFile() { discardPending(*this); }

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
  pending.buffer.clear();
  pending.flushed = 0;
  pending.failed = false;
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

void noteWriteFailure(PendingFile& pending) {
  if (!pending.failed && pending.error.empty()) pending.error = lastErrorText();
  pending.failed = true;
}

static void writeToFile(PendingFile& pending, std::string_view bytes) {
  if (pending.file == nullptr || bytes.empty()) return;
  if (std::fwrite(bytes.data(), 1, bytes.size(), pending.file) != bytes.size()) noteWriteFailure(pending);
  pending.flushed += bytes.size();
}

void flushPending(PendingFile& pending) {
  writeToFile(pending, pending.buffer);
  pending.buffer.clear();
}

void flushIfLarge(PendingFile& pending) {
  if (pending.buffer.size() >= kWriteBlock) flushPending(pending);
}

void putBytes(PendingFile& pending, std::string_view bytes) {
  if (bytes.size() < kWriteBlock) {
    pending.buffer.append(bytes);
    return;
  }
  // A large piece (a whole KX part being merged) goes straight to the file, not via the buffer.
  flushPending(pending);
  writeToFile(pending, bytes);
}

std::uint64_t positionOf(const PendingFile& pending) { return pending.flushed + pending.buffer.size(); }

bool commitPending(PendingFile& pending) {
  if (pending.file == nullptr) return !pending.failed;
  flushPending(pending);
  const bool closed = std::fclose(pending.file) == 0;
  pending.file = nullptr;
  if (!closed && pending.error.empty()) pending.error = lastErrorText();
  if (!closed) pending.failed = true;
  std::error_code code;
  if (pending.temporaryPath.empty()) return !pending.failed;  // written in place
  if (!pending.failed) {
    std::filesystem::rename(pending.temporaryPath, pending.path, code);
    if (!code) {
      pending.temporaryPath.clear();
      return true;
    }
    pending.error = code.message();
    pending.failed = true;
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
  std::size_t count = 0;
  while ((count = std::fread(buffer, 1, sizeof buffer, source)) > 0)
    writeToFile(target, std::string_view(buffer, count));
  if (std::ferror(source) != 0) {
    target.failed = true;
    target.error = "cannot read " + from;
  }
  std::fclose(source);
  const bool done = commitPending(target);
  if (!done) error = target.error.empty() ? "cannot write " + to : target.error;
  return done;
}

}  // namespace corvid
