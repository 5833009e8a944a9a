#include "spectra/gzip_inflater.h"

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace corvid {

namespace {

// Compressed bytes read at a time.
constexpr std::size_t kCompressedBlock = std::size_t{256} << 10;
// 15 bits of window, plus 16: gzip wrapping only (no zlib header, no raw deflate).
constexpr int kGzipWindowBits = 15 + 16;

}  // namespace

struct GzipInflater::State {
  std::FILE* file = nullptr;
  z_stream stream{};
  std::vector<unsigned char> input = std::vector<unsigned char>(kCompressedBlock);
  std::uint64_t bytesRead = 0;  // compressed bytes taken from the file so far
  bool fileEnded = false;
  bool inMember = true;  // a member has begun and its end has not been seen
  bool finished = false;
  bool failed = false;

  // Offset in the compressed file of the next byte zlib would take.
  std::uint64_t offset() const { return bytesRead - stream.avail_in; }

  // Reads the next compressed block once zlib has taken all of the last one.
  bool refill(std::string& error) {
    if (stream.avail_in > 0 || fileEnded) return true;
    const std::size_t count = std::fread(input.data(), 1, input.size(), file);
    if (std::ferror(file)) {
      error = "read error";
      return false;
    }
    if (count < input.size()) fileEnded = true;
    bytesRead += count;
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(count);
    return true;
  }

  bool damaged(std::string& error) {
    error = "the gzip data is damaged at byte " + std::to_string(offset()) + " (" +
            (stream.msg != nullptr ? stream.msg : "invalid data") + ")";
    return false;
  }
};

GzipInflater::GzipInflater(std::FILE* file) : state_(std::make_unique<State>()) {
  state_->file = file;
  if (inflateInit2(&state_->stream, kGzipWindowBits) != Z_OK) state_->failed = true;
}

GzipInflater::~GzipInflater() { inflateEnd(&state_->stream); }

bool GzipInflater::finished() const { return state_->finished; }

bool GzipInflater::read(char* into, std::size_t want, std::size_t& got, std::string& error) {
  State& s = *state_;
  got = 0;
  if (s.failed) {
    error = "out of memory while inflating";
    return false;
  }
  while (got < want && !s.finished) {
    if (!s.refill(error)) return false;
    if (s.stream.avail_in == 0) {
      if (!s.inMember) {
        s.finished = true;
        break;
      }
      error = "the gzip data ends early at byte " + std::to_string(s.bytesRead) + " (truncated file)";
      return false;
    }
    if (!s.inMember) {  // more bytes after a member: the next member
      inflateReset(&s.stream);
      s.inMember = true;
    }
    s.stream.next_out = reinterpret_cast<unsigned char*>(into + got);
    s.stream.avail_out = static_cast<uInt>(std::min<std::size_t>(want - got, UINT_MAX));
    const uInt before = s.stream.avail_out;
    const int status = inflate(&s.stream, Z_NO_FLUSH);
    got += before - s.stream.avail_out;
    if (status == Z_STREAM_END) {
      s.inMember = false;
    } else if (status == Z_MEM_ERROR) {
      error = "out of memory while inflating";
      return false;
    } else if (status != Z_OK && status != Z_BUF_ERROR) {
      return s.damaged(error);
    }
  }
  return true;
}

bool startsWithGzipMagic(std::FILE* file) {
  unsigned char head[2] = {0, 0};
  const std::size_t count = std::fread(head, 1, 2, file);
  std::rewind(file);
  return count == 2 && head[0] == kGzipMagic[0] && head[1] == kGzipMagic[1];
}

}  // namespace corvid
