#pragma once
// Inflates a gzip file as it is read: every member in turn (pigz and bgzip write several, each
// one complete gzip data), so the whole content comes out whatever tool compressed it. Damaged or
// truncated data is reported with the offset in the compressed file where it showed.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace corvid {

// The two bytes every gzip member starts with.
inline constexpr unsigned char kGzipMagic[2] = {0x1f, 0x8b};

class GzipInflater {
 public:
  // Reads the compressed bytes from file's current position; the file stays the caller's.
  explicit GzipInflater(std::FILE* file);
  ~GzipInflater();
  GzipInflater(const GzipInflater&) = delete;
  GzipInflater& operator=(const GzipInflater&) = delete;

  // Fills into with up to want inflated bytes; got < want only at the end of the last member.
  // False with error set ("the gzip data is damaged at byte N (...)", "the gzip data ends early at
  // byte N (truncated file)", "read error") when the data cannot be inflated.
  bool read(char* into, std::size_t want, std::size_t& got, std::string& error);

  // True once the last member has been read completely.
  bool finished() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// True when the file starts with the gzip magic bytes; the file position is left at its start.
bool startsWithGzipMagic(std::FILE* file);

}  // namespace corvid
