#pragma once
// What the MS1/MS2 text scanners noticed about a file while loading it, and the "Alert" lines
// that tell the user when the file's shape makes values read wrongly or lines go unread.
#include <cstdint>
#include <string>

namespace corvid {

struct MSTextNotes {
  bool bareLineFeed = false;              // a line ended with LF alone: read as if it were CR LF
  bool carriageReturnsOnly = false;       // CR line ends without any LF: read as one line
  std::int64_t zeroByteOffset = -1;       // file offset of the first zero byte that ended a scan
  std::int64_t linesBeforeFirstScan = 0;  // peak, I or Z lines met before any S line (ignored)
};

// One "Alert" line per kind of problem noted, naming the file.
void reportTextNotes(const std::string& path, const MSTextNotes& notes);

}  // namespace corvid
