#pragma once
// The bytes a reader streams from an input file: the file as it is or, when it starts with the
// gzip magic bytes (whatever its name says), its inflated content. Inflating runs on a second
// thread a few blocks ahead of the reader, so that a compressed file reads nearly as fast as the
// same file uncompressed; nothing inflated is ever written to disk.
#include <cstddef>
#include <memory>
#include <string>

namespace corvid {

class ByteSource {
 public:
  ByteSource();
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // False with error ("the file cannot be opened") when the file cannot be read.
  bool open(const std::string& path, std::string& error);

  // Fills into with up to want bytes; got < want only at the end of the content. False when the
  // content cannot be read; error() says why.
  bool read(char* into, std::size_t want, std::size_t& got);
  const std::string& error() const { return error_; }

  bool compressed() const;

  // For a reader that found the content bad: damaged compressed data explains bad content better
  // than the content itself, so the rest is inflated to look for it. False, with error() set, when
  // the compressed data is damaged or truncated.
  bool compressedRestIsSound();

 private:
  struct Plain;
  struct Inflating;
  std::unique_ptr<Plain> plain_;
  std::unique_ptr<Inflating> inflating_;
  std::string error_;
};

}  // namespace corvid
