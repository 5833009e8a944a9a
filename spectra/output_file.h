#pragma once
// Buffered output for the spectrum writers. Records are formatted into one reused buffer and
// written in large blocks; text writers put CR LF line ends in themselves, binary writers put
// little-endian fields, one by one. The byte position counts everything written so far, so the
// KX writers can take record offsets from it without asking the C library.
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/pending_file.h"

namespace corvid {

// Bytes go to a temporary file that closeOutputFile renames over path when everything was
// written; a file destroyed without being closed leaves path as it was.
struct OutputFile {
  std::string path;
  PendingFile pending;         // the temporary file and why it failed, if it did
  std::FILE* file = nullptr;   // pending.file while open
  std::string buffer;          // pending bytes, written once it grows past the block size
  std::uint64_t position = 0;  // bytes written to the file plus bytes pending in the buffer
  bool failed = false;         // a write or the close failed

  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();
};

// Opens a temporary file for path; false when it cannot be created (out.pending.error says why).
bool openOutputFile(const std::string& path, OutputFile& out);
// Writes the buffer to the file when it holds at least one block; call after each record.
void flushIfLarge(OutputFile& out);
// Writes what is pending, closes and renames the file into place; false when any write, the
// close or the rename failed (path is then left as it was; out.pending.error says why).
bool closeOutputFile(OutputFile& out);

// Appends bytes and keeps the position.
void putBytes(OutputFile& out, std::string_view bytes);
// Little-endian binary fields.
void putU32(OutputFile& out, std::uint32_t value);
void putF64(OutputFile& out, double value);

// Text pieces (no line-end translation: callers write "\r\n" themselves).
void putText(OutputFile& out, std::string_view text);
void putLineEnd(OutputFile& out);
void putInt(OutputFile& out, std::int64_t value);
// As printf "%.<precision>f" (fixed) and "%.<precision>g" (general), byte for byte.
void putFixed(OutputFile& out, double value, int precision);
void putGeneral(OutputFile& out, double value, int precision);
// As printf "%0<width>d": zero-padded to width, wider numbers in full.
void putZeroPadded(OutputFile& out, std::int64_t value, int width);

}  // namespace corvid
