#pragma once
// Buffered output for the spectrum writers. Records are formatted into one reused buffer and
// written in large blocks; text writers put CR LF line ends in themselves, binary writers put
// little-endian fields, one by one. The byte position counts everything written so far, so the
// KX writers can take record offsets from it without asking the C library.
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace corvid {

struct OutputFile {
  std::string path;
  std::FILE* file = nullptr;
  std::string buffer;          // pending bytes, written once it grows past the block size
  std::uint64_t position = 0;  // bytes written to the file plus bytes pending in the buffer
  bool failed = false;         // a write or the close failed

  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();
};

// Opens (truncating) path for binary writing; false when it cannot be created.
bool openOutputFile(const std::string& path, OutputFile& out);
// Writes the buffer to the file when it holds at least one block; call after each record.
void flushIfLarge(OutputFile& out);
// Writes what is pending and closes; false when any write or the close failed.
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
