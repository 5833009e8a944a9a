#pragma once
// The one buffer a spectrum loader reads a file (or a chunk of it) into.
//
// Loaders fill gigabytes at a time. On Linux the buffer is mapped directly and asks for
// transparent huge pages, so that filling it costs one page fault per 2 MiB instead of one per
// 4 KiB; elsewhere (and under AddressSanitizer) it is plain heap memory. The contents start
// undefined.
#include <cstddef>
#include <string>

namespace corvid {

struct ReadBuffer {
  char* data = nullptr;
  std::size_t size = 0;

  // Throws RunFailure naming path when the memory cannot be obtained.
  ReadBuffer(std::size_t bytes, const std::string& path);
  ~ReadBuffer();
  ReadBuffer(const ReadBuffer&) = delete;
  ReadBuffer& operator=(const ReadBuffer&) = delete;

 private:
  void* mapping_ = nullptr;
  std::size_t mappingBytes_ = 0;
};

}  // namespace corvid
