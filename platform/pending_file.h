#pragma once
// Output files that appear only when complete: bytes go to a temporary file in the target's
// folder, which is renamed over the target once everything was written and closed. A killed or
// failed run therefore leaves either the previous complete file or none, never a truncated one
// under the real name; its temporary file has a name no lister of Corvid's inputs matches.
//
// Every file Corvid writes goes through a PendingFile. Writers collect bytes in its buffer and
// hand them to the system in large blocks; the position counts every byte written so far, so
// binary writers can take record offsets from it without asking the C library.
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace corvid {

struct PendingFile {
  std::string path;           // the name the file gets when it is complete
  std::string temporaryPath;  // where the bytes go until then (empty when written in place)
  std::FILE* file = nullptr;  // open between openPending and commitPending
  std::string buffer;         // bytes not yet handed to the file
  std::uint64_t flushed = 0;  // bytes handed to the file
  bool failed = false;        // a write failed
  std::string error;          // why opening, writing or committing failed

  PendingFile() = default;
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  // Whatever ends the writing early, a failure or an exception, leaves no temporary file behind.
  ~PendingFile();
};

// "<path>.corvid-tmp-<process>-<n>": unique per process and call, in the target's folder, so the
// final rename never crosses file systems.
std::string temporaryPathFor(const std::string& path);

// Creates the temporary file. Fails (with error set) when the target is a folder or the
// temporary file cannot be created. A target that exists and is no regular file (a device, a
// pipe) is opened and written in place instead.
bool openPending(const std::string& path, PendingFile& pending);

// Appends bytes to the buffer; a piece of a block or more goes straight to the file.
void putBytes(PendingFile& pending, std::string_view bytes);
// Hands the buffer to the file when it holds at least one block; call after each record.
void flushIfLarge(PendingFile& pending);
// Hands the whole buffer to the file.
void flushPending(PendingFile& pending);
// Bytes written so far, the buffered ones included.
std::uint64_t positionOf(const PendingFile& pending);
// Records a write that failed (the first failure's cause is kept as the error).
void noteWriteFailure(PendingFile& pending);

// Writes what is buffered, closes the temporary file and renames it over the target. When any
// write failed, the close fails or the rename fails, the temporary file is removed, error says
// why, and the result is false. A file that is not open (never opened, or already committed)
// gives whether no write failed.
bool commitPending(PendingFile& pending);
// Closes and removes the temporary file: the target is left as it was.
void discardPending(PendingFile& pending);

// Copies the file `from` to `to` through a pending file: `to` appears only complete. False with
// error set when reading or writing fails.
bool copyIntoPlace(const std::string& from, const std::string& to, std::string& error);

// The C library's text for the last error, for messages that name the cause.
std::string lastErrorText();

}  // namespace corvid
