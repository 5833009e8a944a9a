#pragma once
// Whole-file reading and CR LF text writing. Every text file Corvid writes ends its lines with
// CR LF on every platform, so outputs are byte-identical across platforms.
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "platform/pending_file.h"

namespace corvid {

// Reads the whole file as bytes; nullopt when it cannot be opened or read.
std::optional<std::string> readWholeFile(const std::string& path);

// Text as read in text mode: every CR LF pair becomes one LF.
std::string withoutCarriageReturns(std::string_view text);

// Appends text to out with every LF written as CR LF (a CR already before an LF is kept single).
void appendCrLf(std::string& out, std::string_view text);

// A text output file: collects text with CR LF line ends and writes it in large blocks to a
// temporary file that close() renames over the target. A failed open leaves it closed and nothing
// is written; a writer destroyed without close() leaves the target as it was.
class TextWriter {
 public:
  TextWriter() = default;
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  bool open(const std::string& path);
  bool isOpen() const { return pending_.file != nullptr; }
  void write(std::string_view text);
  // printf-style formatting into the same buffer.
  void print(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Flushes, closes and renames the file into place; returns false when any write, the close or
  // the rename failed (the target is then left as it was and error() says why).
  bool close();
  const std::string& error() const { return pending_.error; }

 private:
  PendingFile pending_;
};

// Writes the whole text (LF line ends become CR LF) to a new file; false on failure.
bool writeTextFile(const std::string& path, std::string_view text);

}  // namespace corvid
