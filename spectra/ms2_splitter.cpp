#include "spectra/ms2_splitter.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/run_failure.h"
#include "platform/run_log.h"
#include "spectra/file_size.h"

namespace corvid {
namespace {

// Reads and writes move in blocks of this size: large enough that the copy runs at disk speed,
// small enough to be negligible next to the loaders' buffers.
constexpr std::size_t kCopyBlockBytes = std::size_t{16} << 20;

struct PartWriter {
  FileHandle file;
  std::string path;
  int index = 0;
};

void openPart(const std::string& ms2Path, int index, PartWriter& part,
              std::vector<std::string>& partPaths) {
  part.index = index;
  part.path = ms2PartPath(ms2Path, index);
  part.file.reset(std::fopen(part.path.c_str(), "wb"));
  if (!part.file) throw RunFailure{"Fail to create MS2 part " + part.path + "!\n"};
  partPaths.push_back(part.path);
}

void writeBytes(PartWriter& part, const char* data, std::size_t count) {
  if (count == 0) return;
  if (std::fwrite(data, 1, count, part.file.get()) != count) {
    throw RunFailure{"Fail to write MS2 part " + part.path + "!\n"};
  }
}

void closePart(PartWriter& part) {
  std::FILE* file = part.file.release();
  if (std::fclose(file) != 0) throw RunFailure{"Fail to write MS2 part " + part.path + "!\n"};
  logMessage(LogLabel::kNote, "File " + std::to_string(part.index) + ": " + part.path + " complete!");
}

}  // namespace

std::int64_t ms2PartSize(bool wiffInput) { return wiffInput ? kSpectraPerWiffPart : kSpectraPerPart; }

std::string ms2PartPath(const std::string& ms2Path, int part) {
  const std::size_t stemLength = ms2Path.size() >= 4 ? ms2Path.size() - 4 : 0;
  return ms2Path.substr(0, stemLength) + "_ID_" + std::to_string(part) + ".ms2";
}

int splitMS2(const std::string& ms2Path, std::int64_t spectraPerPart,
             std::vector<std::string>& partPaths) {
  spectraPerPart = std::max<std::int64_t>(spectraPerPart, 1);
  partPaths.clear();
  FileHandle input(std::fopen(ms2Path.c_str(), "rb"));
  if (!input) throw RunFailure{"Fail to open MS2 file " + ms2Path + " for splitting!\n"};

  PartWriter part;
  openPart(ms2Path, 0, part, partPaths);
  auto block = std::make_unique_for_overwrite<char[]>(kCopyBlockBytes);
  std::int64_t scansCopied = 0;
  bool atLineStart = true;  // the next byte read begins a line
  for (;;) {
    const std::size_t got = std::fread(block.get(), 1, kCopyBlockBytes, input.get());
    if (got == 0) break;
    const char* const end = block.get() + got;
    const char* pending = block.get();  // first byte not yet written
    const char* p = block.get();
    while (p < end) {
      if (!atLineStart) {
        const void* lineFeed = std::memchr(p, '\n', static_cast<std::size_t>(end - p));
        if (lineFeed == nullptr) break;
        p = static_cast<const char*>(lineFeed) + 1;
        atLineStart = true;
        continue;
      }
      if (*p == 'S') {
        if (scansCopied > 0 && scansCopied % spectraPerPart == 0) {
          writeBytes(part, pending, static_cast<std::size_t>(p - pending));
          pending = p;
          closePart(part);
          openPart(ms2Path, part.index + 1, part, partPaths);
        }
        ++scansCopied;
      }
      atLineStart = false;
    }
    writeBytes(part, pending, static_cast<std::size_t>(end - pending));
  }
  if (std::ferror(input.get()) != 0) {
    throw RunFailure{"Fail to read MS2 file " + ms2Path + " for splitting!\n"};
  }
  closePart(part);
  return part.index + 1;
}

}  // namespace corvid
