#pragma once
// An exclusive lock between Corvid processes, held through a lock file: runs that would write
// the same files (the extraction of one input) take turns instead of overwriting each other.
// The operating system releases the lock when its holder ends, even when it is killed, so a
// stale lock file never blocks a later run.
#include <string>

namespace corvid {

struct FileLock {
  std::string path;
  int descriptor = -1;
  FileLock() = default;
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;
  ~FileLock();
  bool held() const { return descriptor >= 0; }
};

// Takes the lock of path, waiting for another holder when there is one; onWait runs once before
// the first wait (to say so). Returns a lock that is not held when the lock file cannot be
// created (a read-only folder): the caller then goes on unprotected, as before locks existed.
FileLock acquireFileLock(const std::string& path, void (*onWait)(const std::string& path));
// Removes the lock file and releases the lock.
void releaseFileLock(FileLock& lock);

}  // namespace corvid
