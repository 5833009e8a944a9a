#pragma once
// Output files that appear only when complete: bytes go to a temporary file in the target's
// folder, which is renamed over the target once everything was written and closed. A killed or
// failed run therefore leaves either the previous complete file or none, never a truncated one
// under the real name; its temporary file has a name no lister of Corvid's inputs matches.
#include <cstdio>
#include <string>

namespace corvid {

struct PendingFile {
  std::string path;           // the name the file gets when it is complete
  std::string temporaryPath;  // where the bytes go until then
  std::FILE* file = nullptr;
  std::string error;          // why opening, writing or committing failed
};

// "<path>.corvid-tmp-<process>-<n>": unique per process and call, in the target's folder, so the
// final rename never crosses file systems.
std::string temporaryPathFor(const std::string& path);

// Creates the temporary file. Fails (with error set) when the target is a folder or the
// temporary file cannot be created. A target that exists and is no regular file (a device, a
// pipe) is opened and written in place instead.
bool openPending(const std::string& path, PendingFile& pending);
// Closes the temporary file and renames it over the target. When any earlier write failed
// (writeFailed), the close fails or the rename fails, the temporary file is removed, error says
// why, and the result is false.
bool commitPending(PendingFile& pending, bool writeFailed);
// Closes and removes the temporary file: the target is left as it was.
void discardPending(PendingFile& pending);

// Copies the file `from` to `to` through a pending file: `to` appears only complete. False with
// error set when reading or writing fails.
bool copyIntoPlace(const std::string& from, const std::string& to, std::string& error);

// The C library's text for the last error, for messages that name the cause.
std::string lastErrorText();

}  // namespace corvid
