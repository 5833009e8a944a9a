#pragma once
// Size of a spectrum file, measured the way the loaders and the KX2 reader need it (also their
// check that the file still exists), and the positioned binary read the loaders use.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace corvid {

// Opens the file for binary reading and returns its size in bytes. Throws RunFailure with the
// "does not exist any more" text when it cannot be opened; when seeking to its end fails it prints
// "Error in 180filesize" on standard output and throws "Fail to find end of file. Corvid exits.".
std::int64_t fileSize(const std::string& path);

// An open C file that closes itself.
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

// Reads up to count bytes from offset into buffer with 64-bit positioning; returns the number of
// bytes read (less than count only at end of file), or -1 when seeking or reading failed.
std::int64_t readBytesAt(std::FILE* file, std::int64_t offset, char* buffer, std::int64_t count);

}  // namespace corvid
