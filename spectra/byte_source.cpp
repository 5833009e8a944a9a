#include "spectra/byte_source.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "spectra/gzip_inflater.h"

namespace corvid {

namespace {

// Inflated bytes handed over at a time, and how many such blocks the inflating thread may run
// ahead of the reader: enough to smooth out uneven parsing, little memory.
constexpr std::size_t kInflatedBlock = std::size_t{1} << 20;
constexpr std::size_t kBlocksAhead = 4;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace

struct ByteSource::Plain {
  FileHandle file;
};

// The inflating thread fills a ring of blocks; the reader copies out of the oldest filled one.
struct ByteSource::Inflating {
  struct Block {
    std::vector<char> bytes = std::vector<char>(kInflatedBlock);
    std::size_t size = 0;
    bool last = false;    // nothing follows: the end of the content, or failed
    bool failed = false;  // error says why
    std::string error;
  };

  FileHandle file;
  GzipInflater inflater;
  std::array<Block, kBlocksAhead> ring;
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t filled = 0;  // blocks filled so far (the ring index is the count modulo its size)
  std::size_t taken = 0;   // blocks the reader has finished with
  bool stopping = false;
  std::size_t readFrom = 0;  // position in the oldest filled block
  bool ended = false;
  std::thread worker;

  explicit Inflating(FileHandle handle) : file(std::move(handle)), inflater(file.get()) {
    worker = std::thread([this] { inflateAll(); });
  }

  ~Inflating() {
    {
      std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
    }
    changed.notify_all();
    worker.join();
  }

  void inflateAll() {
    for (bool last = false; !last;) {
      {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return stopping || filled - taken < ring.size(); });
        if (stopping) return;
      }
      Block& block = ring[filled % ring.size()];
      block.failed = !inflater.read(block.bytes.data(), block.bytes.size(), block.size, block.error);
      last = block.last = block.failed || block.size < block.bytes.size();
      {
        std::lock_guard<std::mutex> lock(mutex);
        ++filled;
      }
      changed.notify_all();
    }
  }

  bool read(char* into, std::size_t want, std::size_t& got, std::string& error) {
    got = 0;
    while (got < want && !ended) {
      {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return filled > taken; });
      }
      Block& block = ring[taken % ring.size()];
      const std::size_t count = std::min(want - got, block.size - readFrom);
      std::memcpy(into + got, block.bytes.data() + readFrom, count);
      got += count;
      readFrom += count;
      if (readFrom < block.size) break;
      if (block.failed) {
        error = block.error;
        return false;
      }
      ended = block.last;
      readFrom = 0;
      {
        std::lock_guard<std::mutex> lock(mutex);
        ++taken;
      }
      changed.notify_all();
    }
    return true;
  }
};

ByteSource::ByteSource() = default;
ByteSource::~ByteSource() = default;

bool ByteSource::open(const std::string& path, std::string& error) {
  FileHandle file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    error = "the file cannot be opened";
    return false;
  }
  if (startsWithGzipMagic(file.get())) {
    try {
      inflating_ = std::make_unique<Inflating>(std::move(file));
    } catch (const std::system_error&) {
      error = "no thread can be started to inflate the file";
      return false;
    }
  } else {
    plain_ = std::make_unique<Plain>(Plain{std::move(file)});
  }
  return true;
}

bool ByteSource::compressed() const { return inflating_ != nullptr; }

bool ByteSource::read(char* into, std::size_t want, std::size_t& got) {
  if (inflating_) return inflating_->read(into, want, got, error_);
  got = std::fread(into, 1, want, plain_->file.get());
  if (std::ferror(plain_->file.get())) {
    error_ = "read error";
    return false;
  }
  return true;
}

bool ByteSource::compressedRestIsSound() {
  if (!inflating_) return true;
  std::vector<char> scratch(kInflatedBlock);
  for (std::size_t got = scratch.size(); got == scratch.size();) {
    if (!read(scratch.data(), scratch.size(), got)) return false;
  }
  return true;
}

}  // namespace corvid
