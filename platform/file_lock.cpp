#include "platform/file_lock.h"

#include <utility>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace corvid {

FileLock::FileLock(FileLock&& other) noexcept
    : path(std::move(other.path)), descriptor(std::exchange(other.descriptor, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  if (this != &other) {
    releaseFileLock(*this);
    path = std::move(other.path);
    descriptor = std::exchange(other.descriptor, -1);
  }
  return *this;
}

FileLock::~FileLock() { releaseFileLock(*this); }

#ifndef _WIN32

namespace {

// The lock is only good if the file it was taken on is still the one under the name: a holder
// that finished removes the file, and a waiter that had opened it must then start again.
bool stillNamed(int descriptor, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  if (::fstat(descriptor, &opened) != 0 || ::stat(path.c_str(), &named) != 0) return false;
  return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

FileLock acquireFileLock(const std::string& path, void (*onWait)(const std::string& path)) {
  FileLock lock;
  bool told = false;
  for (;;) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) return lock;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
      if (!told && onWait != nullptr) onWait(path);
      told = true;
      if (::flock(descriptor, LOCK_EX) != 0) {
        ::close(descriptor);
        return lock;
      }
    }
    if (stillNamed(descriptor, path)) {
      lock.path = path;
      lock.descriptor = descriptor;
      return lock;
    }
    ::close(descriptor);
  }
}

void releaseFileLock(FileLock& lock) {
  if (lock.descriptor < 0) return;
  // Removed while still locked, so that no waiter can take a lock on a file that is gone.
  ::unlink(lock.path.c_str());
  ::close(lock.descriptor);
  lock.descriptor = -1;
}

#else

// Windows builds run unprotected until a LockFileEx version is written.
FileLock acquireFileLock(const std::string&, void (*)(const std::string&)) { return FileLock{}; }
void releaseFileLock(FileLock& lock) { lock.descriptor = -1; }

#endif

}  // namespace corvid
